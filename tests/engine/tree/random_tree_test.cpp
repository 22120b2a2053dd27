#include "engine/tree/random_profile.h"
#include "engine/tree/tree_oracle.h"
#include "support/engine_session.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using engine::Segment;

engine::GroupingPath randomPath(std::mt19937& random) {
    std::vector<Segment> levels{Segment::process, Segment::thread, Segment::module, Segment::source_file,
                                Segment::function};
    std::ranges::shuffle(levels, random);
    levels.resize(random() % 4);
    if (levels.empty() || random() % 2) levels.push_back(random() % 2 ? Segment::callees : Segment::callers);
    return levels;
}

// A sample's thread and process names are unique per number here, so that rows show bare names.
TEST(RandomTree, AgreesWithTheObviousWay) {
    for (unsigned seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const engine::ProfileData data = randomProfile(random);
        const engine::GroupingPath path = randomPath(random);
        constexpr int types[] = {slicerkit1::query_bottom_up, slicerkit1::query_top_down,
                                 slicerkit1::query_flat_profile};
        const int type = types[random() % 3];
        const bool is_bottom_up = type == slicerkit1::query_bottom_up;
        const bool from_leaf = is_bottom_up && path.back() != Segment::callees;
        const int depth = 1 + static_cast<int>(random() % 6);

        const EngineSession session(data);
        std::vector<bool> selected(data.sample_records(), true);
        TreeQuestion question;
        question.grouping = engine::groupingPathText(path);
        question.type = type;
        if (random() % 2) {
            // One thread, by the number of its row.
            const auto thread = static_cast<engine::ThreadIndex>(random() % data.threads.size());
            const auto builder = session.registry().createQueryFilterBuilder();
            ASSERT_TRUE(builder
                            ->addExpression(session.level("/Thread"), dataface1::filter_equal,
                                            bk2::variant_t(bk2::s64_t{thread}))
                            .succeeded());
            ASSERT_TRUE(session.registry().setQueryFilter("f", builder->compile()).succeeded());
            question.filter = "f";
            for (std::size_t sample = 0; sample < selected.size(); ++sample)
                selected[sample] = (data.sample_threads.empty() ? 0 : data.sample_threads[sample]) == thread;
        }
        const TreeOracle oracle(data, path, from_leaf, !is_bottom_up, selected);
        ASSERT_EQ(session.print(question, depth), oracle.print(depth))
            << question.grouping << " type " << type << " filter " << question.filter;
    }
}

/// All rows of a tree, at most `depth` levels deep.
std::vector<bk2::sptr_t<dataface1::ITableRow>> allRows(const bk2::sptr_t<dataface1::ITableTree>& tree,
                                                       int depth) {
    std::vector<bk2::sptr_t<dataface1::ITableRow>> rows;
    std::size_t begin = 0;
    for (auto row = tree->getRows(nullptr); !row->at_end(); row->next())
        rows.push_back(row->current());
    for (int level = 1; level < depth; ++level) {
        const std::size_t end = rows.size();
        for (; begin < end; ++begin) {
            bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> children;
            EXPECT_NE(rows[begin]->getChildRows(children, nullptr, true), dataface1::ITreeNode::ecsfError);
            for (; !children->at_end(); children->next())
                rows.push_back(children->current());
        }
    }
    return rows;
}

std::int64_t numberIn(const dataface1::ITableRow& row, const dataface1::IColumnInfo& column) {
    bk2::variant_t value;
    EXPECT_TRUE(row.getValue(&column, dataface1::cell_value, value));
    return value.get<bk2::s64_t>();
}

TEST(RandomTree, ExpansionsAddUpToTheirMetric) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const EngineSession session(randomProfile(random));
        constexpr const char* levels[] = {"Thread", "Process", "Module", "SourceFile", "Function"};
        TreeQuestion question;
        question.grouping = engine::groupingPathText(randomPath(random));
        question.type = random() % 2 ? slicerkit1::query_bottom_up : slicerkit1::query_flat_profile;
        question.columns = {std::string("/Metrics/metric1/") + levels[random() % 5]};
        bk2::sptr_t<dataface1::ITableTree> tree;
        ASSERT_TRUE(session.run(question, tree).succeeded());
        auto column = tree->getColumns(nullptr);
        for (column->next(); !column->at_end(); column->next())
            for (const auto& row : allRows(tree, 4)) {
                std::int64_t sum = 0;
                bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>> part;
                column->current()->getChildColumns(part, nullptr, true);
                for (; !part->at_end(); part->next())
                    sum += numberIn(*row, *part->current());
                ASSERT_EQ(sum, numberIn(*row, *column->current()))
                    << question.grouping << question.columns[0];
            }
    }
}

TEST(RandomTree, FiltersOfRowsLetThroughWhatTheyWeigh) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const EngineSession session(randomProfile(random));
        const engine::GroupingPath path = randomPath(random);
        const bool is_bottom_up = random() % 2 && path.back() != Segment::callees;
        TreeQuestion question;
        question.grouping = engine::groupingPathText(path);
        question.type = is_bottom_up ? slicerkit1::query_bottom_up : slicerkit1::query_flat_profile;
        bk2::sptr_t<dataface1::ITableTree> tree;
        ASSERT_TRUE(session.run(question, tree).succeeded());
        auto column = tree->getColumns(nullptr);
        column->next();
        const auto rows = allRows(tree, 4);
        const auto row = rows[random() % rows.size()];
        bk2::sptr_t<dataface1::IQueryFilter> filter;
        const auto facet = bk2::interface_cast<dataface1::IFilterTableTree>(tree);
        ASSERT_TRUE(facet->createFilter({row}, 0, is_bottom_up ? 0 : 1, filter, 0).succeeded());
        ASSERT_TRUE(session.registry().setQueryFilter("row", filter).succeeded());

        TreeQuestion whole;
        whole.grouping = "/Process";
        whole.filter = "row";
        bk2::sptr_t<dataface1::ITableTree> passing;
        ASSERT_TRUE(session.run(whole, passing).succeeded());
        std::int64_t sum = 0;
        auto total = passing->getColumns(nullptr);
        total->next();
        for (const auto& process : allRows(passing, 1))
            sum += numberIn(*process, *total->current());
        EXPECT_EQ(sum, numberIn(*row, *column->current())) << question.grouping;

        // All rows together let everything through.
        ASSERT_TRUE(facet->createFilter(rows, 0, is_bottom_up ? 0 : 1, filter, 0).succeeded());
        ASSERT_TRUE(session.registry().setQueryFilter("row", filter).succeeded());
        whole.filter = "";
        const std::string unfiltered = session.print(whole);
        whole.filter = "row";
        EXPECT_EQ(session.print(whole), unfiltered) << question.grouping;
    }
}

} // namespace
} // namespace panedeck::tests
