#include "filter/ifilter_mgr.h"
#include "grid/grid_task_displacement_strategy.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace panedeck {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using tests::LogCapture;

/// Knows nothing but the references of a bag: the names of its values.
struct References : IFilterMgr {
    error_code_t getFilterReferences(const variant_bag_t& config,
                                     std::list<filter_reference_t>& references) override {
        for (const char* name : {"a", "b", "unusual, name"})
            if (config.has<bk2::variant_t>(name)) references.emplace_back(name, false);
        return config.has<bk2::variant_t>("bad") ? error_code_t::failure("bad filter")
                                                 : error_code_t::success();
    }

    error_code_t clearFilter(const std::string&) override { return unexpected(); }
    error_code_t mergeFilter(const std::string&, const std::string&, bool) override { return unexpected(); }
    error_code_t registerQueryFilter(const std::string&, bk2::sptr_t<dataface1::IQueryFilter>) override {
        return unexpected();
    }
    error_code_t createFilter(TempFilter&, const variant_bag_t&) override { return unexpected(); }
    bool isFilterEmpty(const std::string&) override { return unexpected().succeeded(); }
    error_code_t copyQueryFilter(const std::string&, const std::string&, int) override {
        return unexpected();
    }
    std::string getSelectionFilterName(const std::string&) override { return unexpected().as_string(); }
    error_code_t applySelectionFilter(const std::string&, IEventDispatcher*) override { return unexpected(); }

    static error_code_t unexpected() {
        ADD_FAILURE() << "naming a task must not change or compile filters";
        return error_code_t::failure("unexpected");
    }
};

std::string nameOf(const std::shared_ptr<IFilterMgr>& filterMgr, std::initializer_list<const char*> filters) {
    variant_bag_t request;
    auto& filter = request.add_variant_bag("filter");
    for (const char* name : filters)
        filter.put(name, bk2::variant_t(1));
    return GridTaskDisplacementStrategy(filterMgr).buildTaskName("gridview:scroll", request);
}

TEST(GridTaskDisplacementStrategy, NamesTasksByTheirFilters) {
    const auto filterMgr = std::make_shared<References>();
    EXPECT_EQ(nameOf(filterMgr, {"a", "b"}), "gridview:scroll:,a,b,");
    EXPECT_EQ(nameOf(filterMgr, {"a"}), "gridview:scroll:,a,");
    EXPECT_EQ(nameOf(filterMgr, {}), "gridview:scroll:,");
    EXPECT_EQ(GridTaskDisplacementStrategy(filterMgr).buildTaskName("gridview:scroll", variant_bag_t()),
              "gridview:scroll:");
}

TEST(GridTaskDisplacementStrategy, NameOfABadFilterHoldsWhatCouldBeRead) {
    LogCapture log;
    EXPECT_EQ(nameOf(std::make_shared<References>(), {"bad", "b"}), "gridview:scroll:,b,");
    EXPECT_EQ(log.count("err.succeeded(), at file: "), 1);
    EXPECT_EQ(nameOf(nullptr, {"a"}), "gridview:scroll:,");
    EXPECT_EQ(log.count("m_filterMgr, at file: "), 1);
}

TEST(GridTaskDisplacementStrategy, Displacement) {
    GridTaskDisplacementStrategy strategy(nullptr);
    const struct {
        const char* taskName;
        const char* byTaskName;
        bool displaced;
    } cases[] = {
        {"gridview:scroll:", "gridview:search:", false}, // a search displaces searches only
        {"gridview:search:,f,", "gridview:search:", true}, {"gridview:search:", "gridview:refresh:,f,", true},
        {"gridview:scroll:", "gridview:refresh:", true},   {"gridview:refresh:", "gridview:refresh:", true},
        {"grid:x:", "gridview:refresh:", false},           {"gridview:scroll:", "gridview:scroll:", false},
        {"gridview:refresh:", "grid:refresh:", false},     {"knob:set", "gridview:search:", false},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(strategy.isDisplacedBy(expected.taskName, expected.byTaskName), expected.displaced)
            << expected.taskName << " by " << expected.byTaskName;
}

TEST(GridTaskDisplacementStrategy, MineExclusiveAndKnobChange) {
    GridTaskDisplacementStrategy strategy(nullptr);
    const struct {
        const char* taskName;
        bool mine;
        bool exclusive;
    } cases[] = {
        {"grid:x:", true, false},
        {"gridview:y:", true, false},
        {"gridview:search:", true, true},
        {"gridview:refresh:", true, true},
        {"grid", true, false},
        {"grids:x", false, false},
        {"knob:z", false, false},
        {"filter:gridview:search", false, false},
    };
    for (const auto& expected : cases) {
        EXPECT_EQ(strategy.isMine(expected.taskName), expected.mine) << expected.taskName;
        EXPECT_EQ(strategy.isDisplacedOnKnobChange(expected.taskName), expected.mine) << expected.taskName;
        EXPECT_EQ(strategy.isExclusive(expected.taskName), expected.exclusive) << expected.taskName;
    }
}

TEST(GridTaskDisplacementStrategy, FilterChange) {
    GridTaskDisplacementStrategy strategy(nullptr);
    const struct {
        const char* taskName;
        const char* filterName;
        bool displaced;
    } cases[] = {
        {"gridview:scroll:,ab,", "a", false}, {"gridview:scroll:,ab,", "ab", true},
        {"grid:x:,a,b,", "b", true},          {"gridview:scroll:,abc,", "ab", false},
        {"gridview:scroll:", "", false},      {"filter:x,a,", "a", false},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(strategy.isDisplacedOnFilterChange(expected.taskName, expected.filterName),
                  expected.displaced)
            << expected.taskName << " on " << expected.filterName;
}

} // namespace
} // namespace panedeck
