#include "dispatch/ievent_dispatcher.h"
#include "filter/filter_names.h"
#include "filter/ifilter_mgr.h"
#include "support/bag_from_xml.h"
#include "support/fake_filters.h"
#include "support/fake_queries.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

/// Two open results, a library of a few queries, and the manager over them.
class FilterMgrTest : public testing::Test {
protected:
    FilterMgrTest() {
        for (const char* name : {"/Function", "/Thread", "/Process", "refused"})
            library->queries[name] = bk2::make_sptr<FakeInfoQuery>(name);
        library->queries["/Thread/Process"] =
            makeVector({library->queries["/Thread"], library->queries["/Process"]});
        library->queries["/Metrics"] = makeMetric("/Metrics");
        library->queries["empty"] = makeVector({makeMetric("/Metrics")});
    }

    /// What is left under the temporary name, or the failure's text.
    std::string created(const std::string& xml) { return created(bagFromXml(xml)); }
    std::string created(const variant_bag_t& config) {
        TempFilter temporary(manager);
        const auto error = manager->createFilter(temporary, config);
        if (error.failed()) return error.as_string(1);
        EXPECT_EQ(first->filters.count(temporary), second->filters.count(temporary));
        return first->filters.count(temporary) ? first->filters[temporary] : "none";
    }

    std::string referencesOf(const std::string& xml) {
        std::list<filter_reference_t> references;
        const auto error = manager->getFilterReferences(bagFromXml(xml), references);
        if (error.failed()) return error.as_string(1);
        std::string text;
        for (const auto& [name, invert] : references)
            text += (invert ? "!" : "") + name + " ";
        return text;
    }

    bk2::sptr_t<FakeInputData> first = bk2::make_sptr<FakeInputData>();
    bk2::sptr_t<FakeInputData> second = bk2::make_sptr<FakeInputData>();
    bk2::sptr_t<FakeQueryLibrary> library = bk2::make_sptr<FakeQueryLibrary>();
    std::shared_ptr<IFilterMgr> manager = IFilterMgr::create(library, first, second);
};

std::string item(const std::string& grouping, const std::string& row) {
    return "<item><grouping><_>" + grouping + "</_></grouping><row>" + row + "</row></item>";
}

std::string reference(const std::string& name, const std::string& rest = "") {
    return "<reference>" + name + "</reference>" + rest;
}

constexpr char invert[] = R"(<invert type="bool">true</invert>)";

struct filter_case_t {
    std::string config;
    std::string result;
};

TEST_F(FilterMgrTest, CompilesFilterBags) {
    const std::string f17 = item("/Function", "<_>17</_>");
    const filter_case_t cases[] = {
        {"", "none"},
        {R"(<unknown><item type="bag"/></unknown><and type="bag"/>)", "none"},
        {f17, "/Function=17"},
        {"<and>" + f17 + item("/Thread", "<_>3</_>") + "</and>", "and(/Function=17 /Thread=3)"},
        {"<or>" + f17 + "<and>" + item("/Thread", "<_>3</_>") + "</and></or>",
         "or(/Function=17 and(/Thread=3))"},
        {"<filter><filter>" + f17 + "</filter></filter>", "/Function=17"},
        {item("/Thread/Process", "<_>1</_>"), "or(/Thread=1 /Process=1)"},
        // Rows as object ids: numbers, numbers as text, and what no row has.
        {item("/Function", R"(<_ type="double">2.5</_>)"), "/Function=2.5"},
        {item("/Function", R"(<_ type="null"/>)"), "/Function=null"},
        {item("/Function", "<x/>"), "/Function=null"},
        {item("/Function", "<_>-5</_>"), "/Function=-5"},
        {item("/Function", "<_>2147483648</_>"), "/Function=-1"},
        {item("/Function", "<_>main</_>"), "/Function=-1"},
        {item("/Function", "<_>17 </_>"), "/Function=-1"},
        // Rows as values.
        {"<valueType>value</valueType>" + f17, "values:/Function='17'"},
        {"<valueType>value</valueType>" + item("/Function", R"(<_ type="s32_t">17</_>)"),
         "values:/Function=17"},
        {"<valueType>index</valueType>" + f17, "/Function=17"},
        {R"(<valueType type="bool">true</valueType>)" + f17, "/Function=17"},
    };
    for (const auto& [config, result] : cases)
        EXPECT_EQ(created(config), result) << config;
}

TEST_F(FilterMgrTest, JoinsReferencesToTheCompiledFilter) {
    for (auto* input : {first.get(), second.get()})
        input->filters = {{"global", "G"}, {"mine", "M"}};
    const std::string f17 = item("/Function", "<_>17</_>");
    const filter_case_t cases[] = {
        {reference("global"), "[G]"},
        {reference("global", invert), "![G]"},
        {reference("global", R"(<invert type="s32_t">1</invert>)"), "![G]"},
        {reference("global", "<invert>true</invert>"), "[G]"},
        {reference("global", f17), "[G]"},
        {reference("unknown"), "none"},
        {R"(<reference type="bool">true</reference>)" + f17, "/Function=17"},
        {"<and>" + reference("global") + "</and>" + f17, "and() /Function=17 & [G]"},
        {"<filter>" + reference("global") + "</filter><filter>" + reference("mine") + "</filter>",
         "[G] & [M]"},
        {"<type><_>mine</_></type>" + f17, "/Function=17 & [M]"},
        {"<or><and><type><_>mine</_></type></and></or>", "[M]"},
        {"<type>mine</type><type><other/></type>", "none"},
        // A `filter` behind a group is read as if inside it, with its own level.
        {"<and>" + f17 + "</and><filter>" + reference("mine") + "</filter>", "and(/Function=17) & [M]"},
    };
    for (const auto& [config, result] : cases)
        EXPECT_EQ(created(config), result) << config;
}

TEST_F(FilterMgrTest, RecordsEachMerge) {
    TempFilter temporary(manager);
    ASSERT_TRUE(manager->createFilter(temporary, bagFromXml("<type><_>a</_></type><type><_>a</_></type>"))
                    .succeeded());
    EXPECT_EQ(second->merges[temporary], (std::vector<std::string>{"a", "a"}));
    first->closedTarget = "closed";
    ASSERT_TRUE(manager->mergeFilter("a", "closed", true).succeeded());
    EXPECT_EQ(first->merges.count("closed"), 0u);
    EXPECT_EQ(second->merges["closed"], std::vector<std::string>{"!a"});
}

TEST_F(FilterMgrTest, TellsWhatIsWrongWithABag) {
    const std::string misplaced =
        "IsNot.Valid.Argument: Filter reference on 2+ levels or not under AND group is not supported";
    const std::string row = "<row><_>1</_></row>";
    const filter_case_t cases[] = {
        {"<or>" + reference("g") + "</or>", misplaced},
        {"<and><and>" + reference("g") + "</and></and>", misplaced},
        {R"(<or type="bag"/><filter>)" + reference("g") + "</filter>", misplaced},
        {"<item>" + row + "</item>", "FailedTo.Get.The.Object: item.grouping"},
        {"<item><grouping><x/></grouping>" + row + "</item>",
         "FailedTo.Get.The.Object: item.grouping is not string"},
        {R"(<item><grouping><_ type="bool">true</_></grouping>)" + row + "</item>",
         "FailedTo.Get.The.Object: item.grouping is not string"},
        {"<item><grouping><_>/Function</_></grouping></item>", "FailedTo.Get.The.Object: item.row"},
        {item("/Function", R"(<_ type="binary">AAAA</_>)"),
         "FailedTo.Get.The.Object: item.row has invalid type"},
        {"<and><or>" + item("/Nowhere", "<_>1</_>") + "</or></and>",
         "FailedTo.Get.The.Object: invalid query specified: /Nowhere"},
        {item("", "<_>1</_>"), "FailedTo.Get.The.Object: invalid query specified: "},
        {item("/Metrics", "<_>1</_>"), "FailedTo.Get.The.Object: infoQuery"},
        {item("empty", "<_>1</_>"), "FailedTo.Get.The.Object: infoQuery"},
        {item("refused", "<_>1</_>"), "FailedTo.Compile.The.Filter"},
    };
    for (const auto& [config, failure] : cases) {
        EXPECT_EQ(created(config), failure) << config;
        const bool isFoundByReading = !failure.ends_with("Compile.The.Filter");
        EXPECT_EQ(referencesOf(config), isFoundByReading ? failure : "") << config;
        EXPECT_TRUE(first->filters.empty()) << "nothing may be registered: " << config;
    }
    EXPECT_EQ(referencesOf("<valueType>value</valueType>" + item("/Function", "<_>main</_>") +
                           reference("g", invert)),
              "!g ");
}

TEST_F(FilterMgrTest, ReadsBagsOfAnyDepth) {
    variant_bag_t config;
    variant_bag_t* innermost = &config;
    for (int depth = 0; depth < 100000; ++depth)
        innermost = &innermost->add_variant_bag(depth % 2 ? "and" : "filter");
    variant_bag_t& leaf = innermost->add_variant_bag("item");
    leaf.put_own_value("grouping", variant_t("/Function"));
    leaf.put_own_value("row", variant_t("1"));
    EXPECT_EQ(created(config).substr(0, 8), "and(and(");
}

TEST_F(FilterMgrTest, FansOutInOrderAndStopsAtTheFirstFailure) {
    const bk2::sptr_t<dataface1::IQueryFilter> filter = bk2::make_sptr<FakeFilter>("F");
    struct {
        const char* name;
        int steps; ///< per registry
        std::function<error_code_t()> run;
    } const operations[] = {
        {"clear", 2, [&] { return manager->clearFilter("a"); }},
        {"register", 2, [&] { return manager->registerQueryFilter("a", filter); }},
        {"copy", 1, [&] { return manager->copyQueryFilter("a", "b", 1); }},
        {"merge", 2, [&] { return manager->mergeFilter("a", "b", false); }},
    };
    for (const auto& [name, steps, run] : operations) {
        for (auto* failing : {first.get(), second.get()}) {
            for (int step = 0; step < steps; ++step) {
                first->steps = second->steps = 0;
                failing->failingStep = step;
                LogCapture log;
                EXPECT_EQ(run().as_string(1), "FailedTo: step " + std::to_string(step)) << name;
                EXPECT_EQ(failing->steps, step + 1) << name;
                EXPECT_EQ((failing == first.get() ? second : first)->steps,
                          failing == first.get() ? 0 : steps)
                    << name;
                EXPECT_EQ(log.size(), 1u) << name;
            }
            failing->failingStep = -1;
        }
        EXPECT_TRUE(run().succeeded()) << name;
    }
}

TEST_F(FilterMgrTest, CreatesAFilterOrFailsAtEveryStep) {
    for (int step = 0;; ++step) {
        first->filters = second->filters = {{"g", "G"}};
        second->steps = 0;
        second->failingStep = step;
        TempFilter temporary(manager);
        const auto error = manager->createFilter(
            temporary, bagFromXml("<type><_>g</_></type>" + item("/Function", "<_>1</_>")));
        second->failingStep = -1;
        if (error.succeeded()) {
            EXPECT_EQ(step, 4) << "clear, set, copy, merge";
            EXPECT_EQ(second->filters[temporary], "/Function=1 & [G]");
            break;
        }
        EXPECT_EQ(error.as_string(1), "FailedTo: step " + std::to_string(step));
    }
}

/// Keeps the events that were sent.
struct Events : IEventDispatcher {
    error_code_t sendEvent(const char* name, const variant_bag_t* payload) override {
        const auto filterName = payload ? payload->get_variant("filterName") : variant_t();
        sent.push_back(std::string(name) + " " + std::string(filterName.text()));
        return error_code_t::success();
    }
    std::vector<std::string> sent;
};

TEST_F(FilterMgrTest, AppliesAPanesSelection) {
    Events events;
    EXPECT_EQ(manager->getSelectionFilterName("p1"), "selection-p1");
    EXPECT_EQ(manager->applySelectionFilter("", &events).as_string(1), "IsNot.Valid.Argument: paneId");
    first->filters[filter_names::selection] = "old";
    EXPECT_TRUE(manager->applySelectionFilter("p1", nullptr).succeeded());
    EXPECT_EQ(first->filters["selection"], "old") << "nothing is selected in that pane";

    first->filters["selection-p1"] = second->filters["selection-p1"] = "S";
    EXPECT_TRUE(manager->applySelectionFilter("p1", &events).succeeded());
    EXPECT_EQ(first->filters["selection"], "[S]");
    EXPECT_EQ(second->filters["selection"], "[S]");
    EXPECT_EQ(events.sent, std::vector<std::string>{"FilterChangedEvent selection"});
    EXPECT_EQ(manager->applySelectionFilter("p1", nullptr).as_string(1),
              "IsNot.Valid.Argument: eventDispatcher");
}

TEST_F(FilterMgrTest, GivesTemporaryFiltersNamesOfTheirOwn) {
    auto one = std::make_unique<TempFilter>(manager);
    const TempFilter two(manager);
    EXPECT_NE(one->name, two.name);
    EXPECT_EQ(one->name.size(), std::string("tempFilter").size() + 36);
    EXPECT_TRUE(one->name.starts_with("tempFilter"));
    for (const std::string& name : {one->name, two.name})
        first->filters[name] = "F";
    const std::string gone = one->name;
    one.reset();
    EXPECT_EQ(first->filters.count(gone), 0u);
    EXPECT_EQ(first->filters.count(two), 1u);
}

} // namespace
} // namespace panedeck::tests
