#include "filter/ifilter_mgr.h"
#include "grid/basegridrequesthandler.h"
#include "grid/table_tree_query_steps.h"
#include "handlers/request_handlers.h"
#include "support/bag_from_xml.h"
#include "support/fake_filters.h"
#include "support/fake_table_tree.h"
#include "support/fake_table_tree_query.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using calls_t = std::vector<std::string>;

/// The `grid` handler over a provider that answers a small tree.
class GridHandlerTest : public testing::Test {
protected:
    GridHandlerTest() {
        for (const char* name : {"/Function", "/Thread"})
            library->queries[name] = bk2::make_sptr<FakeInfoQuery>(name);
        library->queries["RootGrouping"] = library->queries["/Function"];
        library->queries["/Metrics"] = makeVector({makeMetric("cycles<+/Thread>"), makeMetric("misses")});
        library->queries["/Metrics/cycles"] = makeMetric("cycles");
        engine.tree =
            makeTree({{makeMetric("cycles"), dataface1::column_data, "Cycles:Self"}},
                     "main | 10\n  parse | 7\nidle | 3", {bk2::make_sptr<FakeInfoQuery>("/Function")});
    }

    std::shared_ptr<IRequestHandler> handler() {
        return createGridRequestHandler(library, filterMgr, nullptr, dataLock, input, extraInput);
    }

    error_code_t handle(const variant_bag_t& request) {
        answer.clear();
        engine.calls.clear();
        return handler()->handleRequest("get", request, answer, progress.get());
    }
    error_code_t handle(const std::string& xml) { return handle(bagFromXml(xml)); }

    std::size_t rowCount() { return answer.get<variant_bag_t>("rows")->count<variant_bag_t>("row"); }
    bool isFullContent() { return answer.get_own_value("fullContent")->get<bool>(); }

    FakeQueryEngine engine;
    boost::shared_mutex dataLock;
    bk2::sptr_t<FakeInputData> input = bk2::make_sptr<FakeInputData>();
    bk2::sptr_t<FakeInputData> extraInput;
    bk2::sptr_t<FakeQueryLibrary> library = bk2::make_sptr<FakeQueryLibrary>();
    std::shared_ptr<IFilterMgr> filterMgr = IFilterMgr::create(library, input, nullptr);
    bk2::sptr_t<notifykit2::IProgress> progress = notifykit2::IDevNullProgress::create();
    variant_bag_t answer;
};

constexpr char columns[] = "<columns><column><_>/Metrics</_></column></columns>";

struct failure_case_t {
    std::string request;
    std::string failure;
};

TEST_F(GridHandlerTest, TellsWhatIsWrongWithARequest) {
    const std::string some = columns;
    const failure_case_t cases[] = {
        {R"(<limit type="u32_t">5</limit>)" + some,
         "FailedTo.Process.This.Operation: Invalid grid limit value"},
        {"<limit>all</limit>", "FailedTo.Process.This.Operation: Invalid grid limit value"},
        {"<limit></limit>", "FailedTo.Process.This.Operation: Invalid grid limit value"},
        {"<grouping><x/></grouping>" + some, "IsNot.Valid.Argument: Invalid grouping value"},
        {R"(<columns><expand type="double">1</expand></columns>)", "IsNot.Valid.Argument: expand"},
        {"<columns><column><x/></column></columns>", "IsNot.Valid.Argument: Invalid column value"},
        {"<sorting><x/></sorting>" + some, "IsNot.Valid.Argument: Invalid sort value"},
        {some + "<filter><or><reference>g</reference></or></filter>",
         "IsNot.Valid.Argument: Filter reference on 2+ levels or not under AND group is not supported"},
    };
    for (const auto& [request, failure] : cases) {
        EXPECT_EQ(handle(request).as_string(1), failure) << request;
        EXPECT_TRUE(answer.is_empty()) << request;
    }
    library->queries.erase("RootGrouping");
    EXPECT_EQ(handle(some).as_string(1), "FailedTo.Create.The.Query: RootGrouping");
}

TEST_F(GridHandlerTest, PassesOnWhatTheProviderRefuses) {
    const std::string request = columns + std::string("<sorting><_>/Metrics</_></sorting>");
    const failure_case_t cases[] = {
        {"input", "FailedTo: input"},
        {"column cycles<+/Thread>,misses", "FailedTo: column cycles<+/Thread>,misses"},
        {"sort cycles,misses", "FailedTo: sort cycles,misses"},
        {"group /Function", "FailedTo.Set.The.Query: grouping"},
        {"run 1", "FailedTo: run 1"},
    };
    for (const auto& [call, failure] : cases) {
        engine.failingCall = call;
        EXPECT_EQ(handle(request).as_string(1), failure);
    }
    engine.failingCall = "prepare";
    EXPECT_TRUE(handle(request).succeeded()) << "its result does not count";

    const auto stubborn = makeMetric("stubborn");
    stubborn->refusesExpansion = true;
    library->queries["stubborn"] = stubborn;
    EXPECT_EQ(handle("<sorting><_>stubborn</_></sorting>").as_string(1),
              "FailedTo.Process.This.Operation: combineExpansion");
    slicerkit1::ITableTreeQuery::setFactory(nullptr);
    EXPECT_EQ(handle(request).as_string(1), "FailedTo.Create.This.Query");
}

TEST_F(GridHandlerTest, BuildsTheQueryInBagOrder) {
    extraInput = bk2::make_sptr<FakeInputData>();
    ASSERT_TRUE(
        handle(
            std::string("<sorting><_>/Metrics/cycles</_></sorting>") + columns +
            "<other/><grouping><_>/Thread</_></grouping>"
            R"(<columns><expand type="s32_t">0</expand><column><_>/Metrics</_></column><skipped/></columns>)")
            .succeeded());
    EXPECT_EQ(engine.calls, (calls_t{"input", "input", "sort cycles", "column cycles<+/Thread>,misses",
                                     "column cycles,misses", "group /Thread", "prepare", "run 1"}));
}

TEST_F(GridHandlerTest, SetsTheFirstSortBeforeItRefusesTheSecond) {
    EXPECT_TRUE(
        handle("<sorting><_>/Metrics/cycles</_></sorting><sorting><_>/Metrics</_></sorting>").failed());
    EXPECT_EQ(engine.calls, (calls_t{"input", "sort cycles"}));
}

TEST_F(GridHandlerTest, CombinesTypeAndFlags) {
    struct {
        const char* keys;
        const char* run;
    } const cases[] = {
        {"", "run 1"},
        {"<queryType>flatProfile</queryType>", "run 4"},
        {"<queryType>auto</queryType>", "run 0"},
        {"<queryType>topDown</queryType>", "run 2"},
        {"<queryType>selectionParentTree</queryType>", "run 8"},
        {"<queryType>selectionChildTree</queryType>", "run 16"},
        {"<queryType>bogus</queryType>", "run 1"},
        {"<queryFlags>allRows,noLeafExpansion</queryFlags>", "run 12289"},
        {"<queryFlags>tabularBottomUp,unknown</queryFlags>", "run 16385"},
        {"<queryFlags>allRow</queryFlags>", "run 1"},
        {"<queryFlags>allRows, noLeafExpansion</queryFlags>", "run 8193"},
        {"<queryFlags></queryFlags>", "run 1"},
    };
    for (const auto& [keys, run] : cases) {
        EXPECT_TRUE(handle(std::string(keys) + columns).succeeded());
        EXPECT_EQ(engine.calls.back(), run) << keys;
    }
}

TEST_F(GridHandlerTest, KeepsTheFilterForTheLengthOfTheRequest) {
    std::string text;
    engine.whileRunning = [&] {
        ASSERT_EQ(input->filters.size(), 1u);
        EXPECT_EQ(engine.calls[engine.calls.size() - 2], "filter " + input->filters.begin()->first);
        text = input->filters.begin()->second;
    };
    EXPECT_TRUE(handle(columns + std::string("<filter><item><grouping><_>/Function</_></grouping>"
                                             "<row><_>4</_></row></item></filter>"))
                    .succeeded());
    EXPECT_EQ(text, "/Function=4");
    EXPECT_TRUE(input->filters.empty());
}

TEST_F(GridHandlerTest, AnswersTheWholeTable) {
    for (const char* operation : {"get", "", "anything:else"}) {
        answer.clear();
        ASSERT_TRUE(handler()->handleRequest(operation, bagFromXml(columns), answer, nullptr).succeeded());
        EXPECT_EQ(rowCount(), 3u);
        EXPECT_TRUE(isFullContent());
    }
    auto column = answer.get<variant_bag_t>("columns")->begin<variant_bag_t>();
    EXPECT_EQ(column.get_value().get_variant("fullName").text(), "/Function");
    EXPECT_EQ(column.get_value().get_variant("aliasForUnknown").text(), "[Unknown]");
    column.next();
    EXPECT_EQ(column.get_value().get_variant("fullName").text(), "Cycles:Self");
    EXPECT_FALSE(column.get_value().has<variant_t>("aliasForUnknown"));
    EXPECT_EQ(handler()->getDomainName(), "grid");
}

TEST_F(GridHandlerTest, CutsAtTheLimit) {
    struct {
        const char* limit;
        std::size_t rows;
        bool full;
    } const cases[] = {
        {"0", 0, false},     {"2", 2, false}, {"3", 3, true},
        {" 4rows", 3, true}, {"-1", 3, true}, {"4294967296", 0, false},
    };
    for (const auto& [limit, rows, full] : cases) {
        ASSERT_TRUE(handle(std::string("<limit>") + limit + "</limit>" + columns).succeeded()) << limit;
        EXPECT_EQ(rowCount(), rows) << limit;
        EXPECT_EQ(isFullContent(), full) << limit;
    }
}

TEST_F(GridHandlerTest, AnswersNothingForAnEmptyResult) {
    engine.result = error_code_t::empty_result();
    EXPECT_TRUE(handle(columns).succeeded()) << "whatever the tree";
    EXPECT_TRUE(answer.is_empty());
    engine.result = error_code_t::success();
    engine.tree.reset();
    EXPECT_TRUE(handle(columns).succeeded());
    EXPECT_TRUE(answer.is_empty());
    engine.result = error_code_t::nothing_done();
    EXPECT_TRUE(handle(columns).succeeded());
    EXPECT_TRUE(answer.is_empty());
    engine.tree = makeTree({}, "");
    EXPECT_TRUE(handle(columns).succeeded());
    EXPECT_TRUE(answer.is_empty()) << "a tree without rows";
}

TEST_F(GridHandlerTest, PassesOnFailuresOfTheTree) {
    static_cast<FakeTableTree&>(*engine.tree).row("main").fails = true;
    EXPECT_EQ(handle(columns).as_string(1), "FailedTo.Get.The.Object: child rows");
}

TEST_F(GridHandlerTest, StopsWhenCancelled) {
    engine.whileRunning = [&] { progress->cancel(); };
    EXPECT_TRUE(handle(columns).is_canceled()) << "while the query runs";
    engine.tree.reset();
    EXPECT_TRUE(handle(columns).is_canceled()) << "before it";
    EXPECT_EQ(engine.calls.back(), "group /Function") << "nothing was prepared or run";
    EXPECT_TRUE(handler()->handleRequest("get", bagFromXml(columns), answer, nullptr).succeeded());
}

TEST_F(GridHandlerTest, ReadsUnderTheSharedLock) {
    engine.whileRunning = [&] {
        EXPECT_FALSE(dataLock.try_lock());
        EXPECT_TRUE(dataLock.try_lock_shared());
        dataLock.unlock_shared();
    };
    EXPECT_TRUE(handle(columns).succeeded());
    EXPECT_TRUE(dataLock.try_lock()) << "and lets go of it";
    // A request that is refused takes no lock: this one would wait for ever.
    EXPECT_TRUE(handle("").failed());
    dataLock.unlock();
}

TEST_F(GridHandlerTest, NamesTasksAfterTheFiltersThatTheyDependOn) {
    const std::string two = "<type><_>a</_></type><filter><reference>b</reference></filter>";
    struct {
        std::string request;
        const char* name;
    } const cases[] = {
        {"", "grid:get:"},
        {R"(<filter type="bag"/>)", "grid:get:,"},
        {"<filter>" + two + "</filter>", "grid:get:,a,b,"},
        {"<filter>named value</filter>", "grid:get:"},
    };
    for (const auto& [request, expected] : cases) {
        std::string name;
        EXPECT_TRUE(handler()->buildTaskName("grid:get", bagFromXml(request), name).succeeded());
        EXPECT_EQ(name, expected) << request;
        EXPECT_EQ(handler()->getTaskDisplacementStrategy()->buildTaskName("grid:get", bagFromXml(request)),
                  expected);
    }
    std::string name;
    EXPECT_EQ(handler()
                  ->buildTaskName("grid:get", bagFromXml(R"(<filter><item type="bag"/></filter>)"), name)
                  .as_string(1),
              "FailedTo.Get.The.Object: item.grouping");
}

TEST_F(GridHandlerTest, NamesTasksOfLargeFilters) {
    variant_bag_t request;
    variant_bag_t& any = request.add_variant_bag("filter").add_variant_bag("or");
    for (int i = 0; i < 100000; ++i) {
        variant_bag_t& leaf = any.add_variant_bag("item");
        leaf.put_own_value("grouping", variant_t("/Function"));
        leaf.put_own_value("row", variant_t(i));
    }
    std::string name;
    EXPECT_TRUE(handler()->buildTaskName("grid:get", request, name).succeeded());
    EXPECT_EQ(name, "grid:get:,");
}

TEST(TableTreeQuerySteps, NeedAVectorWithMembers) {
    bk2::sptr_t<dataface1::IVectorQuery> vector;
    EXPECT_EQ(removeExpansion(vector).as_string(1), "FailedTo.Process.This.Operation: getQueryIterator");
    vector = makeVector({makeMetric("a<+/Thread>")});
    EXPECT_TRUE(removeExpansion(vector).succeeded());
    EXPECT_EQ(vector->getName(), "a");
    EXPECT_EQ(createVectorQuery(bk2::make_sptr<FakeQueryLibrary>(), "a"), nullptr);
}

} // namespace
} // namespace panedeck::tests
