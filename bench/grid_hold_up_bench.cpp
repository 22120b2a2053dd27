// How long a scroll waits while another request opens a row of the same grid whose children take the provider
// two seconds, beside scrolls of a grid at rest.

#include "basekit/ref_counted.h"
#include "basekit/variant_bag.h"
#include "filter/ifilter_mgr.h"
#include "grid_profiles.h"
#include "handlers/request_handlers.h"
#include "ratio_report.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

using namespace panedeck;
using namespace panedeck::bench;
using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

using RowPtr = bk2::sptr_t<dataface1::ITableRow>;
using RowIterator = bk2::iterator_ptr_t<RowPtr>;

/// A row whose children take two seconds.
class SlowRow final : public bk2::ref_counted_t<SlowRow, bk2::mt_ref_count_impl_t, dataface1::ITableRow> {
public:
    explicit SlowRow(RowPtr row) : m_row(std::move(row)) {}

    bk2::sptr_t<dataface1::IQuery> getQuery() const override { return m_row->getQuery(); }
    RowPtr getParentRow() const override { return nullptr; }
    bk2::sptr_t<dataface1::ITableTree> getTableTree() const override { return m_row->getTableTree(); }
    bool getValue(const dataface1::IColumnInfo* column, int contents, variant_t& value) const override {
        return m_row->getValue(column, contents, value);
    }
    int getChildRows(RowIterator& children, notifykit2::IProgress* progress, bool all) const override {
        if (!all) return m_is_made ? ecsfAtHand : ecsfUnknown;
        if (!m_is_made.exchange(true)) std::this_thread::sleep_for(std::chrono::seconds(2));
        return m_row->getChildRows(children, progress, true);
    }

private:
    RowPtr m_row;
    mutable std::atomic<bool> m_is_made = false;
};

/// The engine's tree with slow top rows.
class SlowTree final : public bk2::ref_counted_t<SlowTree, bk2::mt_ref_count_impl_t, dataface1::ITableTree> {
public:
    explicit SlowTree(bk2::sptr_t<dataface1::ITableTree> tree) : m_tree(std::move(tree)) {
        for (auto row = m_tree->getRows(nullptr); !row->at_end(); row->next())
            m_rows.push_back(bk2::make_sptr<SlowRow>(row->current()));
    }

    RowIterator getRows(notifykit2::IProgress*) const override { return bk2::make_vector_iterator(m_rows); }
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
    getColumns(notifykit2::IProgress* progress) const override {
        return m_tree->getColumns(progress);
    }

private:
    bk2::sptr_t<dataface1::ITableTree> m_tree;
    std::vector<RowPtr> m_rows;
};

bk2::sptr_t<dataface1::ITableTree> offered_tree;

/// Answers the tree that is on offer, whatever is asked.
class OfferingQuery final
    : public bk2::ref_counted_t<OfferingQuery, bk2::mt_ref_count_impl_t, slicerkit1::ITableTreeQuery> {
public:
    using QueryPtr = bk2::sptr_t<dataface1::IQuery>;

    error_code_t addInputData(const bk2::sptr_t<dataface1::IInputData>&) override { return {}; }
    error_code_t setFilterName(const std::string&) override { return {}; }
    error_code_t prepare() override { return {}; }
    error_code_t getTableTree(bk2::sptr_t<dataface1::ITableTree>& tree, notifykit2::IProgress*,
                              int) override {
        tree = offered_tree;
        return {};
    }
    error_code_t setFocusObject(const QueryPtr&, const variant_t&) override { return {}; }
    error_code_t setSortQuery(const QueryPtr&) override { return {}; }
    error_code_t setGroupingQuery(const QueryPtr&) override { return {}; }
    error_code_t addColumnQuery(const QueryPtr&) override { return {}; }

    static bk2::sptr_t<ITableTreeQuery> make() { return bk2::make_sptr<OfferingQuery>(); }
};

class SilentDispatcher : public IEventDispatcher {
public:
    error_code_t sendEvent(const char*, const variant_bag_t*) override { return {}; }
};

/// A grid that was just refreshed, behind the handler of its domain.
class GridHost {
public:
    explicit GridHost(const OpenProfile& profile) {
        m_handler = createGridViewRequestHandler(
            profile.library, nullptr, IFilterMgr::create(profile.library, profile.input, nullptr),
            &m_dispatcher, m_data_lock, profile.input, nullptr, nullptr, nullptr);
        variant_bag_t request = window();
        request.put<variant_t>("queryType", variant_t("topDown"));
        request.add_variant_bag("columns").put_own_value("column", variant_t("/Metrics"));
        ask("refresh", request);
    }

    void scroll() { ask("scroll", window()); }

    void expandFirstRow() {
        variant_bag_t request;
        request.put_own_value("gridid", variant_t("g"));
        request.put_own_value("row", variant_t(0));
        ask("expand", request);
    }

private:
    static variant_bag_t window() {
        variant_bag_t request;
        request.put_own_value("gridid", variant_t("g"));
        request.put_own_value("grouping", variant_t("/Function/CallStack"));
        request.put_own_value("row", variant_t(0));
        request.put_own_value("count", variant_t(100));
        return request;
    }

    void ask(const char* operation, const variant_bag_t& request) {
        variant_bag_t answer;
        if (m_handler->handleRequest(operation, request, answer, nullptr).failed()) std::abort();
        if (!answer.get<variant_bag_t>("rows")) std::abort();
    }

    SilentDispatcher m_dispatcher;
    boost::shared_mutex m_data_lock;
    std::shared_ptr<IRequestHandler> m_handler;
};

std::unique_ptr<GridHost> makeHost() {
    static const OpenProfile profile(makeDeepProfile(100'000, 2));
    static const auto tree = profile.tree("/Function/CallStack", slicerkit1::query_top_down, {"/Metrics"});
    slicerkit1::ITableTreeQuery::setFactory(&OfferingQuery::make);
    offered_tree = bk2::make_sptr<SlowTree>(tree);
    return std::make_unique<GridHost>(profile);
}

template <class Work>
double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The longest of the scrolls that a pane asks for as long as `goes_on`.
template <class Condition>
double longestScroll(GridHost& host, const Condition& goes_on) {
    double longest = 0;
    while (goes_on()) {
        longest = std::max(longest, secondsOf([&] { host.scroll(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return longest;
}

void longestScrollAtRest(benchmark::State& state) {
    for (auto _ : state) {
        const auto host = makeHost();
        int scrolls = 0;
        state.SetIterationTime(longestScroll(*host, [&] { return scrolls++ < 500; }));
    }
}

void longestScrollBesideExpand(benchmark::State& state) {
    for (auto _ : state) {
        const auto host = makeHost();
        std::atomic<bool> is_open = false;
        double expansion = 0;
        std::thread opening([&] {
            expansion = secondsOf([&] { host->expandFirstRow(); });
            is_open = true;
        });
        state.SetIterationTime(longestScroll(*host, [&] { return !is_open; }));
        opening.join();
        if (expansion < 2) state.SkipWithError("opening the row took no time");
    }
}

} // namespace

BENCHMARK(longestScrollAtRest)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(longestScrollBesideExpand)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=3";
    arguments.insert(arguments.begin() + 1, repetitions);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    // The best of the runs: another process that takes the core away for some milliseconds is not what is
    // asked.
    const double hold_up = report.best("longestScrollBesideExpand") - report.best("longestScrollAtRest");
    if (report.best("longestScrollBesideExpand") > 0)
        report.print("longestScrollBesideExpand more than longestScrollAtRest: ms", hold_up * 1e3, 5);
    return report.allReached() ? 0 : 1;
}
