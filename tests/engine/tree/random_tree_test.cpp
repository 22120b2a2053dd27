#include "engine/tree/random_profile.h"
#include "engine/tree/tree_oracle.h"
#include "filter/query_filter.h"
#include "query/engine_input.h"
#include "store/sample_bits.h"
#include "support/engine_session.h"

#include <gtest/gtest.h>

#include <set>

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

/// The samples that a filter of these rows lets through.
std::vector<bool> samplesOf(const EngineSession& session, const bk2::sptr_t<dataface1::ITableTree>& tree,
                            const std::vector<bk2::sptr_t<dataface1::ITableRow>>& rows, int mode) {
    bk2::sptr_t<dataface1::IQueryFilter> filter;
    EXPECT_TRUE(bk2::interface_cast<dataface1::IFilterTableTree>(tree)
                    ->createFilter(rows, 0, mode, filter, 0)
                    .succeeded());
    const auto expression = static_cast<const engine::QueryFilter&>(*filter).expression();
    const auto store = dynamic_cast<const engine::EngineInput&>(*session.inputs[0]).store();
    std::shared_ptr<const engine::SampleBits> bits;
    EXPECT_TRUE(expression->bitsFor(store, nullptr, bits).succeeded());
    std::vector<bool> samples;
    for (std::size_t sample = 0; sample < bits->size(); ++sample)
        samples.push_back((*bits)[sample]);
    return samples;
}

TEST(RandomTree, FiltersOfSeveralRowsLetThroughWhatAnyOfThemDoes) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const EngineSession session(randomProfile(random));
        TreeQuestion question;
        question.grouping = engine::groupingPathText(randomPath(random));
        if (random() % 2) question.type = slicerkit1::query_bottom_up;
        bk2::sptr_t<dataface1::ITableTree> tree;
        if (session.run(question, tree).failed()) continue; // callees have no bottom-up tree
        const auto rows = allRows(tree, 4);
        const int mode = static_cast<int>(random() % 3);
        std::vector<bk2::sptr_t<dataface1::ITableRow>> some;
        std::vector<bool> wanted;
        for (unsigned i = 0; i < 2 + seed % 4; ++i) {
            some.push_back(rows[random() % rows.size()]);
            const auto samples = samplesOf(session, tree, {some.back()}, mode);
            wanted.resize(samples.size());
            for (std::size_t sample = 0; sample < samples.size(); ++sample)
                wanted[sample] = wanted[sample] || samples[sample];
        }
        EXPECT_EQ(samplesOf(session, tree, some, mode), wanted) << question.grouping << " mode " << mode;
    }
}

TEST(RandomTree, TakesVeryManySelectedRowsLikeAFew) {
    std::string text;
    for (int i = 0; i < 1500; ++i)
        text += "top" + std::to_string(i) + ";below" + std::to_string(i) + " " + std::to_string(i % 7) + "\n";
    const EngineSession session(text);
    TreeQuestion question;
    question.grouping = "/CallStack";
    question.type = slicerkit1::query_top_down;
    bk2::sptr_t<dataface1::ITableTree> tree;
    ASSERT_TRUE(session.run(question, tree).succeeded());
    auto rows = allRows(tree, 2);
    ASSERT_EQ(rows.size(), 3000u);
    std::mt19937 random(1);
    std::shuffle(rows.begin(), rows.end(), random);
    auto column = tree->getColumns(nullptr);
    column->next();
    for (const std::size_t count : {3000u, 1600u, 10u}) {
        rows.resize(count);
        // A pair of rows weighs its top row, once.
        std::set<const dataface1::ITableRow*> pairs;
        std::int64_t sum = 0;
        std::size_t passing = 0;
        for (const auto& row : rows) {
            const auto parent = row->getParentRow();
            if (pairs.insert(parent ? parent.get() : row.get()).second)
                sum += numberIn(*row, *column->current());
        }
        for (const bool passes : samplesOf(session, tree, rows, 1))
            passing += passes;
        EXPECT_EQ(passing, pairs.size());
        const auto total = bk2::interface_cast<dataface1::IReducibleTableTree>(tree)->reduce(rows, 0);
        EXPECT_EQ(numberIn(*total, *column->current()), sum);
    }
}

} // namespace
} // namespace panedeck::tests
