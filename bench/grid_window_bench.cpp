// A window of 100 rows by 12 columns, from the request's bag to the answer's JSON text, beside RapidJSON's
// writer driven directly with the same values; at the beginning, in the midst and at the end of grids of many
// sizes.

#include "basekit/variant_bag.h"
#include "filter/ifilter_mgr.h"
#include "grid_profiles.h"
#include "handlers/request_handlers.h"
#include "ratio_report.h"
#include "transport/json_serialization.h"

#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <map>
#include <memory>

namespace {

using namespace panedeck;
using namespace panedeck::bench;
using bk2::variant_bag_t;
using bk2::variant_t;

constexpr int window_rows = 100;
constexpr std::size_t column_count = 12;

class SilentDispatcher : public IEventDispatcher {
public:
    bk2::error_code_t sendEvent(const char*, const variant_bag_t*) override { return {}; }
};

/// The grid `g` behind the handler of its domain.
class GridHost {
public:
    explicit GridHost(std::size_t rows) : m_profile(makeWideProfile(rows, 5)) {
        m_handler = createGridViewRequestHandler(
            m_profile.library, nullptr, IFilterMgr::create(m_profile.library, m_profile.input, nullptr),
            &m_dispatcher, m_data_lock, m_profile.input, nullptr, nullptr, nullptr);
        variant_bag_t request = window(0);
        request.put<variant_t>("queryType", variant_t("flatProfile"));
        variant_bag_t& columns = request.add_variant_bag("columns");
        for (const char* name : {"/Info/Module", "/Metrics"})
            columns.put_own_value("column", variant_t(name));
        variant_bag_t answer;
        if (m_handler->handleRequest("refresh", request, answer, nullptr).failed()) std::abort();
        if (answer.get<variant_bag_t>("columns")->count<variant_bag_t>(nullptr) != column_count) std::abort();
    }

    static variant_bag_t window(int first) {
        variant_bag_t request;
        request.put_own_value("gridid", variant_t("g"));
        request.put_own_value("grouping", variant_t("/Function"));
        request.put_own_value("row", variant_t(first));
        request.put_own_value("count", variant_t(window_rows));
        return request;
    }

    void scroll(const variant_bag_t& request, ustring8& text) const {
        variant_bag_t answer;
        if (m_handler->handleRequest("scroll", request, answer, nullptr).failed()) std::abort();
        text.clear();
        (void)save_variant_bag_to_json_string(answer, text, JSONFormat::compact);
    }

private:
    OpenProfile m_profile;
    SilentDispatcher m_dispatcher;
    boost::shared_mutex m_data_lock;
    std::shared_ptr<IRequestHandler> m_handler;
};

const GridHost& host(std::size_t rows) {
    static std::map<std::size_t, std::unique_ptr<GridHost>> hosts;
    auto& made = hosts[rows];
    if (!made) made = std::make_unique<GridHost>(rows);
    return *made;
}

int firstRow(std::size_t rows, std::int64_t percent) {
    return static_cast<int>(static_cast<std::int64_t>(rows - window_rows) * percent / 100);
}

void scroll(benchmark::State& state) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    const GridHost& grid = host(rows);
    const variant_bag_t request = GridHost::window(firstRow(rows, state.range(1)));
    ustring8 text;
    for (auto _ : state)
        grid.scroll(request, text);
    state.counters["KB"] = static_cast<double>(text.size()) / 1e3;
}

/// The calls that write a JSON text, as they come out of a reader.
class JsonCalls : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, JsonCalls> {
public:
    explicit JsonCalls(const ustring8& text) {
        rapidjson::Reader reader;
        rapidjson::StringStream stream(text.c_str());
        if (reader.Parse(stream, *this).IsError()) std::abort();
    }

    bool Null() { return add({Kind::null, {}, {}}); }
    bool Bool(bool value) { return add({Kind::boolean, value, {}}); }
    bool Int(int value) { return add({Kind::integer, value, {}}); }
    bool Uint(unsigned value) { return add({Kind::integer, value, {}}); }
    bool Int64(std::int64_t value) { return add({Kind::integer, value, {}}); }
    bool Uint64(std::uint64_t value) { return add({Kind::integer, static_cast<std::int64_t>(value), {}}); }
    bool Double(double value) { return add({Kind::number, {}, value}); }
    bool String(const char* text, rapidjson::SizeType size, bool) { return addText(Kind::text, text, size); }
    bool Key(const char* text, rapidjson::SizeType size, bool) { return addText(Kind::key, text, size); }
    bool StartObject() { return add({Kind::start_object, {}, {}}); }
    bool EndObject(rapidjson::SizeType) { return add({Kind::end_object, {}, {}}); }
    bool StartArray() { return add({Kind::start_array, {}, {}}); }
    bool EndArray(rapidjson::SizeType) { return add({Kind::end_array, {}, {}}); }

    void writeTo(rapidjson::StringBuffer& buffer) const {
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        for (const Call& call : m_calls)
            write(call, writer);
    }

private:
    enum class Kind {
        null,
        boolean,
        integer,
        number,
        text,
        key,
        start_object,
        end_object,
        start_array,
        end_array
    };
    struct Call {
        Kind kind;
        std::int64_t integer; ///< of a text its length
        double number;
        const char* text = nullptr;
    };

    bool add(Call call) {
        m_calls.push_back(call);
        return true;
    }
    bool addText(Kind kind, const char* text, rapidjson::SizeType size) {
        m_texts.push_back(std::make_unique<std::string>(text, size));
        return add({kind, size, {}, m_texts.back()->data()});
    }

    static void write(const Call& call, rapidjson::Writer<rapidjson::StringBuffer>& writer) {
        const auto size = static_cast<rapidjson::SizeType>(call.integer);
        switch (call.kind) {
        case Kind::null:
            writer.Null();
            break;
        case Kind::boolean:
            writer.Bool(call.integer != 0);
            break;
        case Kind::integer:
            writer.Int64(call.integer);
            break;
        case Kind::number:
            writer.Double(call.number);
            break;
        case Kind::text:
            writer.String(call.text, size);
            break;
        case Kind::key:
            writer.Key(call.text, size);
            break;
        case Kind::start_object:
            writer.StartObject();
            break;
        case Kind::end_object:
            writer.EndObject();
            break;
        case Kind::start_array:
            writer.StartArray();
            break;
        case Kind::end_array:
            writer.EndArray();
            break;
        }
    }

    std::vector<Call> m_calls;
    std::vector<std::unique_ptr<std::string>> m_texts;
};

void writeDirectly(benchmark::State& state) {
    ustring8 text;
    host(static_cast<std::size_t>(state.range(0))).scroll(GridHost::window(0), text);
    const JsonCalls calls(text);
    std::size_t size = 0;
    for (auto _ : state) {
        rapidjson::StringBuffer buffer;
        calls.writeTo(buffer);
        size = buffer.GetSize();
        benchmark::DoNotOptimize(buffer.GetString());
    }
    state.counters["KB"] = static_cast<double>(size) / 1e3;
}

} // namespace

BENCHMARK(writeDirectly)->Arg(10'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(scroll)->ArgsProduct({{10'000, 100'000, 1'000'000}, {0, 50, 100}})->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    initializeRepeated(argc, argv, 5);
    RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    for (const char* rows : {"10000", "100000", "1000000"})
        for (const char* percent : {"0", "50", "100"})
            report.check(std::string("scroll/") + rows + "/" + percent, "writeDirectly/10000", 3);
    return report.allReached() ? 0 : 1;
}
