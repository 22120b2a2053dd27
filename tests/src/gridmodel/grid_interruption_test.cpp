// Operations that are cancelled at each place where they look, or whose provider fails at each read: the
// model stays in order and answers, and asking again brings what the first time would have brought.

#include "gridmodel/grid_bags.h"
#include "gridmodel/gridmodel.h"
#include "support/checkpoints.h"
#include "support/fake_table_tree.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"
#include "utils/csv_writer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <thread>

namespace panedeck::tests {
namespace {

using bk2::variant_bag_t;

/// Is cancelled when it is asked for the N-th time, counted from 0, and from then on.
class CancelAt : public bk2::ref_counted_t<CancelAt, bk2::mt_ref_count_impl_t, notifykit2::IProgress> {
public:
    explicit CancelAt(int poll) : m_left(poll) {}
    void start(const std::string&, std::uint64_t) override {}
    void advance_to(std::uint64_t) override {}
    void cancel() override { m_left = 0; }
    bool is_canceled() const override { return m_left == 0 || --m_left == 0; }
    bool isReached() const { return m_left == 0; }

private:
    mutable int m_left;
};

constexpr char program[] = R"(main | 10
  parse | 6
    read | 4
      open | 4
        seek | 1
        load | 3
    lex | 2
  draw | 4
    fill | 4
idle | 3
  wait | 3
    poll | 3
free | 1)";

bk2::sptr_t<FakeTableTree> newTree() {
    const auto level = bk2::make_sptr<FakeInfoQuery>("/CallStack");
    level->recursion = "runs on";
    return makeTree({{makeMetric("cycles"), dataface1::column_data | dataface1::column_self}}, program,
                    {level});
}

/// A model with some rows open, selected and current.
class InterruptedGrid {
public:
    InterruptedGrid() {
        EXPECT_TRUE(refresh("/CallStack", 0, nullptr).succeeded());
        for (const char* name : {"main", "parse"})
            model->expandRow(rowOf(name), true, nullptr);
        (void)model->processRowSelection(rowOf("read"), 0, SelectSetSingle);
        (void)model->processRowSelection(rowOf("lex"), 0, SelectToggle);
    }

    bk2::error_code_t refresh(const std::string& grouping, int levels, notifykit2::IProgress* progress) {
        GridViewParams params;
        params.grouping = grouping;
        params.startRow = 0;
        params.rowCount = 100;
        params.expandLevels = levels;
        return model->init(newTree(), params, KeepStackMode, {}, progress);
    }

    int rowOf(const std::string& name) const {
        for (int row = 0; row < model->getRowCount(); ++row)
            if (model->getCellContentByIndex(row, 0).text() == name) return row;
        return -1;
    }

    std::string show() const {
        std::string text;
        for (int row = 0; row < model->getRowCount(); ++row)
            text += std::string(static_cast<std::size_t>(model->getRowLevel(row)) * 2, ' ') +
                    "+- "[model->getRowState(row)] +
                    bk2::get_value_string(model->getCellContentByIndex(row, 0)) +
                    (showsCurrent && model->getCurrentRow() == row ? " <" : "") + "\n";
        return text;
    }

    void expectOrder(const std::string& when) const {
        EXPECT_EQ(model->verify(), "") << when << "\n" << show();
        EXPECT_LT(model->getCurrentRow(), std::max(model->getRowCount(), 1)) << when;
        variant_bag_t answer;
        EXPECT_EQ(saveGridModelToVBag(RefreshRequest, model, answer), model->getColumnCount() > 0) << when;
        const auto* rows = answer.get<variant_bag_t>("rows");
        const std::size_t shown = rows ? rows->count<variant_bag_t>("row") : 0;
        EXPECT_EQ(shown, static_cast<std::size_t>(model->getRowCount())) << when;
    }

    bool showsCurrent = true;
    std::string outcome; ///< what came of an operation beside the rows
    bk2::sptr_t<GridModel> model = bk2::make_sptr<GridModel>(GridTopDown, nullptr, nullptr, nullptr);
    TemporaryFolder folder;
};

using Step = std::function<void(InterruptedGrid&, notifykit2::IProgress*)>;

struct operation_t {
    const char* name;
    Step run;
    Step repair = {};         ///< what a pane asks for afterwards; the same once more if there is nothing
    bool keepsCurrent = true; ///< a cancelled expansion moves rows without telling the current row
};

void refreshAgain(InterruptedGrid& grid, notifykit2::IProgress* progress) {
    (void)grid.refresh("/CallStack", 0, progress);
}

void showChains(InterruptedGrid& grid, notifykit2::IProgress* progress) {
    grid.model->toggleStackMode(ChainMode, progress);
}

void reopen(InterruptedGrid& grid, notifykit2::IProgress* progress) {
    grid.model->expandRow(grid.rowOf("main"), false, nullptr);
    grid.model->expandRow(grid.rowOf("main"), true, progress);
}

void search(InterruptedGrid& grid, notifykit2::IProgress* progress) {
    variant_bag_t found;
    (void)grid.model->search("i", found, progress);
    grid.outcome = bk2::get_value_string(found.get_variant("foundItemCount"));
}

void exportToFile(InterruptedGrid& grid, notifykit2::IProgress* progress) {
    const std::string path = grid.folder / "grid.csv";
    const auto code = grid.model->exportToCsv(createCSVWriter(path, ','), progress);
    EXPECT_TRUE(code.succeeded() || code.is_canceled());
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    grid.outcome = text.str();
}

const std::vector<operation_t> operations = {
    {"expand",
     [](auto& grid, auto* progress) { grid.model->expandRow(grid.rowOf("draw"), true, progress); },
     {},
     false},
    {"expandWhatWasOpenBelow", reopen, {}, false},
    {"expandRecursively",
     [](auto& grid, auto* progress) { grid.model->expandRowsRecursively(progress, 0); },
     {},
     false},
    {"expandSelected",
     [](auto& grid, auto* progress) { grid.model->expandSelectedRows(progress); },
     {},
     false},
    {"collapseAll", [](auto& grid, auto* progress) { grid.model->collapseAllRows(progress); }},
    {"refresh", refreshAgain},
    {"refreshOfAnotherGrouping",
     [](auto& grid, auto* progress) { (void)grid.refresh("/Function", 2, progress); }},
    {"chains", showChains,
     [](auto& grid, auto* progress) {
         showChains(grid, progress);
         refreshAgain(grid, progress);
     }},
    {"search", search},
    {"export", exportToFile},
};

class GridInterruption : public testing::TestWithParam<operation_t> {
protected:
    static std::string repair(InterruptedGrid& grid) {
        const auto& again = GetParam().repair ? GetParam().repair : GetParam().run;
        again(grid, nullptr);
        return grid.show() + grid.outcome;
    }

    static std::string uninterrupted(bool showsCurrent) {
        InterruptedGrid grid;
        grid.showsCurrent = showsCurrent;
        GetParam().run(grid, nullptr);
        return repair(grid);
    }

    LogCapture m_silent{static_cast<logkit1::level_t>(50000)};
};

TEST_P(GridInterruption, CanceledAtEachPoll) {
    const std::string expected = uninterrupted(GetParam().keepsCurrent);
    for (int poll = 1;; ++poll) {
        const std::string when = "cancelled at poll " + std::to_string(poll);
        InterruptedGrid grid;
        grid.showsCurrent = GetParam().keepsCurrent;
        const auto progress = bk2::make_sptr<CancelAt>(poll);
        GetParam().run(grid, progress.get());
        grid.expectOrder(when);
        EXPECT_EQ(repair(grid), expected) << when;
        grid.expectOrder(when + " and repaired");
        if (progress->isReached()) continue;
        EXPECT_GT(poll, 1) << "it was never asked";
        return;
    }
}

TEST_P(GridInterruption, FailingAtEachRead) {
    const std::string expected = uninterrupted(true);
    for (int read = 0;; ++read) {
        const std::string when = "failing at read " + std::to_string(read);
        InterruptedGrid grid;
        FakeTableTree::readsUntilFailure = read;
        GetParam().run(grid, nullptr);
        const bool isReached = FakeTableTree::readsUntilFailure < 0;
        FakeTableTree::readsUntilFailure = -1;
        grid.expectOrder(when);
        EXPECT_EQ(repair(grid), expected) << when;
        if (!isReached) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, GridInterruption, testing::ValuesIn(operations),
                         [](const auto& operation) { return operation.param.name; });

TEST(GridLocks, AScrollRunsWhileANestedHolderReads) {
    const auto tree = newTree();
    InterruptedGrid grid;
    GridViewParams params;
    params.startRow = 0;
    params.rowCount = 100;
    ASSERT_TRUE(grid.model->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
    Checkpoints checkpoints;
    tree->row("main").whileReading = [&] { checkpoints.pass("reading"); };

    std::thread holder([&] {
        GridModel::Lock outer(grid.model);
        {
            GridModel::Lock nested(grid.model);
            grid.model->expandRow(0, true, nullptr);
        }
        checkpoints.pass("still holding");
    });
    checkpoints.waitFor("reading");
    const auto states = [&] {
        GridModel::Lock lock(grid.model);
        EXPECT_TRUE(grid.model->validateAndSetViewParams(params));
        variant_bag_t answer;
        saveGridModelToVBag(ScrollRequest, grid.model, answer);
        std::string text;
        for (auto row = answer.get<variant_bag_t>("rows")->begin<variant_bag_t>(); !row.at_end(); row.next())
            text += row.get_value().get_variant("state").text();
        return text;
    };
    EXPECT_EQ(states(), "w++");
    checkpoints.open("reading");
    checkpoints.waitFor("still holding");
    std::thread scroll([&] {
        checkpoints.reach("scrolls");
        EXPECT_EQ(states(), "-++++");
        checkpoints.reach("scrolled");
    });
    checkpoints.waitFor("scrolls");
    EXPECT_EQ(checkpoints.count("scrolled"), 0u) << "the end of the nested lock lets nobody in";
    checkpoints.open("still holding");
    holder.join();
    scroll.join();
}

TEST(GridLocks, ARefreshReadsChainsWithoutTheModelLock) {
    InterruptedGrid grid;
    grid.model->toggleStackMode(ChainMode, nullptr);
    const auto tree = newTree();
    Checkpoints checkpoints;
    std::vector<std::thread> others;
    std::set<std::string> unread{"main", "parse", "draw", "fill", "read", "open",
                                 "lex",  "idle",  "wait", "poll", "free"};
    for (const std::string& name : unread)
        tree->row(name).whileReading = [&, name] {
            if (unread.erase(name) == 0) return; // it is at hand
            others.emplace_back([&, name] {
                GridModel::Lock lock(grid.model);
                checkpoints.reach(name);
            });
            checkpoints.waitFor(name);
        };
    GridViewParams params;
    params.grouping = "/CallStack";
    {
        GridModel::Lock lock(grid.model);
        EXPECT_TRUE(grid.model->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
    }
    EXPECT_EQ(unread, std::set<std::string>()) << "folding looks at them, or they were open";
    for (std::thread& other : others)
        other.join();
}

TEST(GridLocks, ARowThatMovedMeanwhileIsOpenedInTheWindowOnly) {
    const struct {
        const char* meanwhile;
        std::function<void(InterruptedGrid&)> run;
        const char* shown;
    } cases[] = {
        {"nothing", [](auto&) {}, "-main\n  +parse\n  +draw\n+idle\n+free\n"},
        {"a sort moves it out of the window",
         [](auto& grid) {
             EXPECT_TRUE(grid.model->sort({1, false}).succeeded());
         },
         "+free\n+idle\n+main\n"},
        {"a sort moves it within",
         [](auto& grid) {
             GridViewParams params;
             params.startRow = 0;
             params.rowCount = 3;
             EXPECT_TRUE(grid.model->validateAndSetViewParams(params));
             EXPECT_TRUE(grid.model->sort({1, false}).succeeded());
         },
         "+free\n+idle\n-main\n  +draw\n  +parse\n"},
        {"another row opens above it",
         [](auto& grid) {
             EXPECT_TRUE(grid.model->sort({0, false}).succeeded());
             grid.model->expandRow(grid.rowOf("idle"), true, nullptr);
         },
         "+free\n-idle\n  +wait\n+main\n"},
    };
    for (const auto& [meanwhile, run, shown] : cases) {
        const auto tree = newTree();
        InterruptedGrid grid;
        GridViewParams params;
        params.startRow = 0;
        params.rowCount = 2;
        ASSERT_TRUE(grid.model->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
        ASSERT_TRUE(grid.model->sort({1, true}).succeeded());
        Checkpoints checkpoints;
        tree->row("main").whileReading = [&] { checkpoints.pass("reading"); };
        tree->row("idle").atHand = true; // what is not would wait for the read to end
        std::thread holder([&] {
            GridModel::Lock lock(grid.model);
            grid.model->expandRow(0, true, nullptr);
        });
        checkpoints.waitFor("reading");
        {
            GridModel::Lock lock(grid.model);
            run(grid);
        }
        checkpoints.open("reading");
        holder.join();
        EXPECT_EQ(grid.show(), shown) << meanwhile;
        EXPECT_EQ(grid.model->verify(), "") << meanwhile;
    }
}

/// Another refresh may put its own rows in while this one reads: then this one counts as cancelled.
void refreshBesideOthers(InterruptedGrid& grid, const std::string& grouping) {
    const bk2::error_code_t code = grid.refresh(grouping, 0, nullptr);
    EXPECT_TRUE(code.succeeded() || code.is_canceled()) << code.as_string(1);
}

TEST(GridLocks, ManyAskAtTheSameTime) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    InterruptedGrid grid;
    const auto ask = [&grid](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 1000; ++i) {
            GridModel::Lock lock(grid.model);
            const int row = static_cast<int>(random() % 8);
            switch (random() % 12) {
            case 0:
                refreshBesideOthers(grid, random() % 4 ? "/CallStack" : "/Function");
                break;
            case 1:
                grid.model->toggleStackMode(random() % 2 ? ChainMode : TreeMode, nullptr);
                break;
            case 2:
                grid.model->expandRowsRecursively(nullptr, static_cast<int>(random() % 3));
                break;
            case 3:
                grid.model->collapseAllRows(nullptr);
                break;
            case 4:
                grid.model->expandSelectedRows(nullptr);
                break;
            case 5:
                EXPECT_TRUE(
                    grid.model->sort({static_cast<int>(random() % 2), random() % 2 == 0}).succeeded());
                break;
            case 6:
            case 7:
                (void)grid.model->processRowSelection(row, 0, random() % 2 ? SelectSetSingle : SelectToggle);
                break;
            default:
                grid.model->expandRow(row, random() % 3 != 0, nullptr);
            }
            grid.expectOrder("asked by many");
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed)
        threads.emplace_back(ask, seed);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace panedeck::tests
