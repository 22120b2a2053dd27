#include "query/query_catalog.h"
#include "support/engine_session.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::tests {
namespace {

using namespace dataface1;

class QueryLibraryTest : public testing::Test {
protected:
    bk2::sptr_t<IQuery> find(const std::string& name) const { return session.library->findQuery(name); }

    std::vector<std::string> membersOf(const std::string& name) const {
        std::vector<std::string> names;
        const auto vector = IVectorQuery::cast(find(name));
        if (!vector) return names;
        for (auto member = vector->getQueryIterator(); !member->at_end(); member->next())
            names.push_back(member->current()->getName());
        return names;
    }

    EngineSession session{"f 1,2.5\n"};
};

TEST_F(QueryLibraryTest, PathsNameEveryCombination) {
    const auto path = find("/Thread/Function/ParentCallStack");
    ASSERT_TRUE(path);
    EXPECT_EQ(membersOf("/Thread/Function/ParentCallStack"),
              (std::vector<std::string>{"/Thread", "/Function", "/ParentCallStack"}));
    std::vector<std::string> levels, own;
    for (auto level = path; level; level = level->getLevelBelow()) {
        levels.push_back(level->getName());
        own.push_back(throughVector(level)->getName());
    }
    EXPECT_EQ(levels, (std::vector<std::string>{"/Thread/Function/ParentCallStack",
                                                "/Function/ParentCallStack", "/ParentCallStack"}));
    EXPECT_EQ(own, (std::vector<std::string>{"/Thread", "/Function", "/ParentCallStack"}));
    EXPECT_EQ(path->getDisplayName(), "Thread / Function / Call Stack");
    EXPECT_EQ(find("/Thread/Function/ParentCallStack").get(), path.get()) << "made once";
    EXPECT_EQ(path->getLevelBelow().get(), find("/Function/ParentCallStack").get());
    EXPECT_EQ(session.library->getWellKnownGrouping("RootGrouping", 0).get(), find("/Function").get());
    EXPECT_TRUE(session.library->getWellKnownGrouping("Other", 0).is_null());
}

TEST_F(QueryLibraryTest, RefusesWhatMakesNoSense) {
    for (const char* name :
         {"", "/", "Function", "/function", "/Function/", "//Function", "/Function/Function",
          "/CallStack/Function", "/CallStack/ParentCallStack", "/Metrics/", "/Metrics/none",
          "/Metrics/samples/CallStack", "/Metrics/samples/none", "/Metrics/Thread",
          "/Samples/ParentCallStack", "/Info", "/Info/None", "/Thread/Metrics"})
        EXPECT_TRUE(find(name).is_null()) << name;
}

TEST_F(QueryLibraryTest, DescribesLevels) {
    const struct {
        const char* path;
        const char* table;
        bool recurs;
    } cases[] = {
        {"/Function", "dd_function", false},       {"/Module", "dd_module_file", false},
        {"/SourceFile", "dd_source_file", false},  {"/Thread", "dd_thread", false},
        {"/Process", "dd_process", false},         {"/CallStack", "dd_callsite", true},
        {"/ParentCallStack", "dd_callsite", true},
    };
    for (const auto& [path, table, recurs] : cases) {
        const auto info = session.level(path);
        ASSERT_TRUE(info) << path;
        EXPECT_EQ(info->getTableName(), table);
        EXPECT_EQ(!info->getRecursionText().empty(), recurs);
        EXPECT_EQ(info->getAliasForUnknown(), "[unknown]");
    }
}

TEST_F(QueryLibraryTest, MetricsAndTheirExpansions) {
    EXPECT_EQ(membersOf("/Metrics"), (std::vector<std::string>{"/Metrics/samples", "/Metrics/metric1"}));
    const auto metric = find("/Metrics/samples");
    EXPECT_EQ(find("/Metrics/metric1")->getPercentBaseMetrics().at(0).get(), metric.get());
    EXPECT_EQ(metric->getPercentBaseMetrics().at(0).get(), metric.get());
    const auto expanded = find("/Metrics/samples/Thread");
    ASSERT_TRUE(expanded);
    EXPECT_FALSE(expanded->isSame(*metric));
    EXPECT_TRUE(IQuery::combineExpansion(expanded, nullptr)->isSame(*metric));
    EXPECT_TRUE(IQuery::combineExpansion(metric, find("/Thread"))->isSame(*expanded));
    EXPECT_TRUE(IQuery::combineExpansion(metric, find("/CallStack")).is_null());
    EXPECT_TRUE(IQuery::combineExpansion(find("/Function"), nullptr)->isSame(*find("/Function")));
}

TEST_F(QueryLibraryTest, UnitsBecomeValueTypes) {
    engine::ProfileData data = profileFromText("f 1,2,3,4,5.5\n");
    data.metrics[1].unit = engine::MetricUnit::nanoseconds;
    data.metrics[2].unit = engine::MetricUnit::microseconds;
    data.metrics[3].unit = engine::MetricUnit::bytes;
    const EngineSession units(std::move(data));
    const struct {
        const char* name;
        query_value_type_t type;
        double unit;
    } cases[] = {{"/Metrics/samples", query_value_type_t::count, 0},
                 {"/Metrics/metric1", query_value_type_t::time, 1e-9},
                 {"/Metrics/metric2", query_value_type_t::time, 1e-6},
                 {"/Metrics/metric3", query_value_type_t::bytes, 0},
                 {"/Metrics/metric4", query_value_type_t::number, 0},
                 {"/Samples", query_value_type_t::count, 0}};
    for (const auto& [name, type, unit] : cases) {
        const auto query = units.library->findQuery(name);
        EXPECT_EQ(query->getValueType(), type) << name;
        EXPECT_EQ(query->getAttribute("timeUnit", 0.0), bk2::variant_t(unit)) << name;
        EXPECT_EQ(!ITimeQuery::cast(query).is_null(), type == query_value_type_t::time) << name;
    }
}

TEST_F(QueryLibraryTest, MetricNamesMayHoldSlashes) {
    engine::ProfileData data = profileFromText("f 1\n");
    data.metrics[0].name = "cpu/cycles/Thread";
    const EngineSession slashes(std::move(data));
    EXPECT_EQ(slashes.library->findQuery("/Metrics/cpu/cycles/Thread")->getName(),
              "/Metrics/cpu/cycles/Thread");
    EXPECT_EQ(slashes.library->findQuery("/Metrics/cpu/cycles/Thread/Module")->getName(),
              "/Metrics/cpu/cycles/Thread/Module");
    EXPECT_TRUE(slashes.library->findQuery("/Metrics/cpu/cycles").is_null());
}

TEST_F(QueryLibraryTest, TakesChoicesFromTheConfiguration) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "queries");
    std::ofstream(folder / "queries/a.xml")
        << R"(<queries><metric name="metric1" displayName="Cost" format="percent" primary="true"/>)"
        << R"(<level segment="Function" displayName="Routine" aliasForUnknown="?"/>)"
        << R"(<column name="/Info/Module" displayName="Binary"/></queries>)";
    bk2::sptr_t<IQueryLibrary> library;
    ASSERT_TRUE(engine::createQueryLibrary(session.inputs[0], nullptr, folder.path(), library).succeeded());
    EXPECT_EQ(throughVector(library->findQuery("/Metrics"))->getName(), "/Metrics/metric1");
    EXPECT_EQ(library->findQuery("/Metrics/metric1")->getDisplayName(), "Cost");
    EXPECT_EQ(library->findQuery("/Metrics/metric1")->getAttribute("format", {}), bk2::variant_t("percent"));
    EXPECT_EQ(library->findQuery("/Function")->getDisplayName(), "Routine");
    EXPECT_EQ(IInfoQuery::cast(throughVector(library->findQuery("/Function")))->getAliasForUnknown(), "?");
    EXPECT_EQ(library->findQuery("/Info/Module")->getDisplayName(), "Binary");

    for (const char* broken :
         {"<queries><metric", "<other/>", R"(<queries><level segment="None"/></queries>)",
          R"(<queries><column name="/Info/None"/></queries>)"}) {
        std::ofstream(folder / "queries/b.xml") << broken;
        const auto error = engine::createQueryLibrary(session.inputs[0], nullptr, folder.path(), library);
        EXPECT_TRUE(error.failed());
        EXPECT_NE(error.message().find("b.xml"), std::string::npos) << error.message();
        EXPECT_TRUE(library.is_null());
    }
}

TEST_F(QueryLibraryTest, InstalledChoicesCanBeRead) {
    const auto folder = std::filesystem::path(__FILE__).parent_path() / "../../../config";
    if (!std::filesystem::exists(folder / "queries"))
        GTEST_SKIP() << "tests were moved away from their sources";
    bk2::sptr_t<IQueryLibrary> library;
    const auto error = engine::createQueryLibrary(session.inputs[0], nullptr, folder.string(), library);
    EXPECT_TRUE(error.succeeded()) << error.as_string(1);
}

TEST_F(QueryLibraryTest, QueriesRefuseForeignParts) {
    const auto query = slicerkit1::ITableTreeQuery::create();
    EXPECT_TRUE(query->addInputData(nullptr).failed());
    EXPECT_TRUE(query->addColumnQuery(nullptr).failed());
    EXPECT_TRUE(query->addColumnQuery(find("/Function")).failed()) << "a grouping is no column";
    EXPECT_TRUE(query->setGroupingQuery(nullptr).failed());
    EXPECT_TRUE(query->setGroupingQuery(find("/Metrics")).failed());
    EXPECT_TRUE(query->setFocusObject(nullptr, 1).failed());
    bk2::sptr_t<ITableTree> tree;
    EXPECT_TRUE(query->getTableTree(tree, nullptr, 0).failed());
    ASSERT_TRUE(query->addInputData(session.inputs[0]).succeeded());
    EXPECT_TRUE(query->getTableTree(tree, nullptr, 0).failed()) << "no grouping";
}

} // namespace
} // namespace panedeck::tests
