// What the socket client costs beside bare sockets: the way of a request and its answer, and the memory of a
// long frame.

#include "transport/isocket_client.h"
#include "transport/isocket_event_handler.h"

#include <benchmark/benchmark.h>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;
using tcp = boost::asio::ip::tcp;

constexpr std::size_t request_size = 300;
constexpr std::size_t answer_size = 40'000;
constexpr double most_added_microseconds = 150;
constexpr double most_memory_ratio = 5;
constexpr double most_kept_ratio = 0.5;

tcp::acceptor listen(boost::asio::io_context& io) {
    return {io, {boost::asio::ip::address_v4::loopback(), 0}};
}

/// Reads up to the end of a frame and forgets it; gives its size with the terminator.
std::size_t skip_frame(tcp::socket& socket) {
    static std::array<char, 1 << 20> chunk;
    std::size_t size = 0;
    for (;;) {
        const std::size_t read = socket.read_some(boost::asio::buffer(chunk));
        size += read;
        if (chunk[read - 1] == '\x0B') return size;
    }
}

/// The other side of the bare connection: reads a request, writes an answer.
class BareEcho {
public:
    explicit BareEcho(const tcp::endpoint& server) : m_socket(m_io) {
        m_socket.connect(server);
        m_socket.set_option(tcp::no_delay(true));
        m_answer.back() = '\x0B';
        read();
        m_thread = std::thread([this] { m_io.run(); });
    }
    ~BareEcho() {
        m_io.stop();
        m_thread.join();
    }

private:
    void read() {
        boost::asio::async_read(m_socket, boost::asio::buffer(m_request), [this](auto error, std::size_t) {
            if (!error) write();
        });
    }
    void write() {
        boost::asio::async_write(m_socket, boost::asio::buffer(m_answer), [this](auto error, std::size_t) {
            if (!error) read();
        });
    }

    boost::asio::io_context m_io;
    tcp::socket m_socket;
    std::array<char, request_size> m_request;
    std::string m_answer = std::string(answer_size, 'x');
    std::thread m_thread;
};

/// Answers each request with the bag that lies ready for it: making it is not the transport's work.
class AnsweringHandler : public panedeck::ISocketEventHandler {
public:
    bk2::error_code_t onRequest(const char* id, const char* type, variant_bag_t&) override {
        return client->sendResponse(id, type, &answer);
    }
    bk2::error_code_t onEvent(const char*, variant_bag_t&) override { return {}; }
    void onConnectionLost() override {}
    void onConnected() override {}

    variant_bag_t answer;
    bk2::sptr_t<panedeck::ISocketClient> client;
};

/// A client that is connected to `acceptor`, and the server's end of it.
struct Connected {
    Connected(boost::asio::io_context& io, tcp::acceptor& acceptor) : peer(io) {
        handler.client = panedeck::ISocketClient::create(&handler);
        if (handler.client->connectToServer("127.0.0.1", acceptor.local_endpoint().port(), "bench", nullptr)
                .failed())
            std::abort();
        acceptor.accept(peer);
        peer.set_option(tcp::no_delay(true));
        skip_frame(peer);
    }
    ~Connected() { (void)handler.client->closeConnection(); }

    AnsweringHandler handler;
    tcp::socket peer;
};

double round_trip(tcp::socket& peer, const std::string& request) {
    const auto start = std::chrono::steady_clock::now();
    boost::asio::write(peer, boost::asio::buffer(request));
    skip_frame(peer);
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string request_of_size(const std::string& type) {
    std::string front = "<msg><request><id>17</id><type>" + type + "</type><padding>";
    const std::string back = "</padding></request></msg>";
    return front + std::string(request_size - front.size() - back.size(), 'p') + back;
}

/// One round trip of each kind in turn, so that both meet the machine in the same state.
void compare_round_trips(benchmark::State& state, const std::string& type, const variant_bag_t& answer) {
    boost::asio::io_context io;
    tcp::acceptor acceptor = listen(io);
    BareEcho echo(acceptor.local_endpoint());
    tcp::socket bare = acceptor.accept();
    bare.set_option(tcp::no_delay(true));
    Connected library(io, acceptor);
    const std::string request = request_of_size(type);
    std::vector<double> bare_times;
    std::vector<double> library_times;
    for (auto _ : state) {
        bare_times.push_back(round_trip(bare, request));
        library.handler.answer = answer;
        library_times.push_back(round_trip(library.peer, request));
    }
    const double added = median(library_times) - median(bare_times);
    state.counters["bare_p50_us"] = median(bare_times);
    state.counters["library_p50_us"] = median(library_times);
    state.counters["added_p50_us"] = added;
    if (added > most_added_microseconds)
        state.SkipWithError(("the library adds " + std::to_string(added) + " us at the median").c_str());
}

/// 40 KB as 40 texts.
variant_bag_t texts_of(std::size_t size, std::size_t count) {
    variant_bag_t bag;
    for (std::size_t index = 0; index < count; ++index)
        bag.put<variant_t>("text" + std::to_string(index), variant_t(std::string(size / count, 'x')));
    return bag;
}

/// 40 KB as a grid's window: 40 rows of 12 cells.
variant_bag_t rows_of_answer() {
    variant_bag_t bag;
    bag.put<variant_t>("arrayOf", variant_t("row"));
    for (int row = 0; row < 40; ++row) {
        variant_bag_t& cells = bag.add_variant_bag("row");
        for (int cell = 0; cell < 12; ++cell)
            cells.add_variant_bag("c" + std::to_string(cell))
                .put<variant_t>("value", variant_t(std::string(66, 'v')));
    }
    return bag;
}

/// A grid's rows as they are answered: a name and two numbers. A window tells more of each than a table.
template <class AppendRow, class AppendCell>
variant_bag_t many_rows(unsigned count, const AppendRow& append_row, const AppendCell& append_cell) {
    variant_bag_t bag;
    variant_bag_t& rows = bag.add_variant_bag("rows");
    rows.put<variant_t>("arrayOf", variant_t("row"));
    for (unsigned row = 0; row < count; ++row) {
        variant_bag_t& stored = rows.add_variant_bag("row");
        append_row(stored, row);
        stored.reserve_children(1);
        variant_bag_t& cells = stored.add_variant_bag("cells");
        cells.reserve_children(3);
        append_cell(cells.add_variant_bag("c0"),
                    variant_t("panedeck::sample::function_number_" + std::to_string(row)));
        append_cell(cells.add_variant_bag("c1"), variant_t(bk2::s64_t(row) * 31 % 100'000));
        append_cell(cells.add_variant_bag("c2"), variant_t(bk2::s64_t(row) * 17 % 10'000));
    }
    return bag;
}

variant_bag_t rows_of_table() {
    return many_rows(
        480'000, [](variant_bag_t& row, unsigned) { row.append_value("level", variant_t(0u)); },
        [](variant_bag_t& cell, variant_t&& value) { cell.append_value("value", std::move(value)); });
}

variant_bag_t rows_of_window() {
    const auto append_row = [](variant_bag_t& row, unsigned number) {
        row.reserve_values(6);
        row.append_value("level", variant_t(0u));
        row.append_value("state", variant_t::borrow(" "));
        row.append_value("id", variant_t(std::to_string(94'000'000'000'000 + number)));
        row.append_value("selected", variant_t(false));
        row.append_value("isDivable", variant_t(true));
        row.append_value("objectid", variant_t(number));
    };
    const auto append_cell = [](variant_bag_t& cell, variant_t&& value) {
        cell.reserve_values(5);
        cell.append_value("value", std::move(value));
        cell.append_value("percentageBaseDefault", variant_t(123'456'789u));
        cell.append_value("percentageBaseCustomMetric", variant_t());
        cell.append_value("issueMask", variant_t());
        cell.append_value("isReliable", variant_t(true));
    };
    return many_rows(185'000, append_row, append_cell);
}

void round_trip_json_texts(benchmark::State& state) {
    compare_round_trips(state, "options:get", texts_of(answer_size, 40));
}
void round_trip_json_rows(benchmark::State& state) {
    compare_round_trips(state, "gridview:scroll", rows_of_answer());
}
void round_trip_xml_texts(benchmark::State& state) {
    compare_round_trips(state, "grid:get", texts_of(answer_size, 40));
}

std::size_t status_kilobytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t value = 0;
        if (word == key + ":" && status >> value) return value;
    }
    return 0;
}

void reset_peak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// From before the bag is filled until the last byte has gone, and what stays after that.
void measure_long_frame(benchmark::State& state, const std::string& type, variant_bag_t (*make)()) {
    boost::asio::io_context io;
    tcp::acceptor acceptor = listen(io);
    Connected library(io, acceptor);
    double peak = 0, kept = 0;
    std::size_t size = 0;
    for (auto _ : state) {
        reset_peak();
        const double before = static_cast<double>(status_kilobytes("VmRSS"));
        const auto above = [&](const char* key) { return double(status_kilobytes(key)) - before; };
        variant_bag_t answer = make();
        if (library.handler.client->sendResponse("1", type.c_str(), &answer).failed())
            return state.SkipWithError("the frame was refused");
        size = skip_frame(library.peer);
        peak = std::max(peak, above("VmHWM") * 1024 / double(size));
        // The frame itself goes when the client has seen that it is written: with the next answer at latest.
        round_trip(library.peer, request_of_size(type));
        kept = std::max(kept, above("VmRSS") * 1024 / double(size));
    }
    state.counters["frame_bytes"] = double(size);
    state.counters["peak_per_byte"] = peak;
    state.counters["kept_per_byte"] = kept;
    if (peak > most_memory_ratio) state.SkipWithError("the peak of memory is above 5 times the frame");
    if (kept > most_kept_ratio) state.SkipWithError("more than half a frame stays in memory");
}

void long_frame_json(benchmark::State& state) {
    measure_long_frame(state, "gridview:scroll", rows_of_window);
}
void long_frame_xml(benchmark::State& state) {
    measure_long_frame(state, "grid:get", rows_of_table);
}

BENCHMARK(round_trip_json_texts)->UseRealTime()->Iterations(3000);
BENCHMARK(round_trip_json_rows)->UseRealTime()->Iterations(3000);
BENCHMARK(round_trip_xml_texts)->UseRealTime()->Iterations(3000);
BENCHMARK(long_frame_json)->UseRealTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(long_frame_xml)->UseRealTime()->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
