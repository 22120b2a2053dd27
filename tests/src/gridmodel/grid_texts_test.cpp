// The texts that leave a grid, byte by byte, and the search in what it shows.

#include "base_gridview_request_handler.h"
#include "dataface/formatter.h"
#include "gridmodel/grid_search_helper.h"
#include "gridmodel/gridmodel.h"
#include "support/fake_table_tree.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"
#include "utils/csv_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace panedeck::tests {
namespace {

std::string contentOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

bk2::sptr_t<GridModel> makeGrid(const bk2::sptr_t<FakeTableTree>& tree) {
    const auto model = bk2::make_sptr<GridModel>(GridTopDown, nullptr, nullptr, nullptr);
    GridViewParams params;
    params.grouping = "/Function";
    params.startRow = 0;
    params.rowCount = 10;
    EXPECT_TRUE(model->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
    return model;
}

std::string csvOf(const GridModel& model) {
    const TemporaryFolder folder;
    EXPECT_TRUE(model.exportToCsv(createCSVWriter(folder / "grid.csv", ','), nullptr).succeeded());
    return contentOf(folder / "grid.csv");
}

TEST(GridTexts, Csv) {
    const auto tree =
        makeTree({{makeMetric("cycles"), dataface1::column_data, "Cycles, \"all\""}}, "top | 12345678");
    FakeRow& below =
        tree->addRow(&tree->row("top"), "a \"b\"\t, \r\n\x01\x7f\xc3\x9c;", {bk2::variant_t(0.1)});
    tree->addRow(&below, "deep", {bk2::variant_t("<text>")});
    const auto model = makeGrid(tree);
    EXPECT_EQ(csvOf(*model), "\"Name\",\"Cycles, \"\"all\"\"\"\n\"top\",\"12345678\"\n")
        << "what is closed stays out";
    model->expandRowsRecursively(nullptr, 0);
    EXPECT_EQ(csvOf(*model), "\"Name\",\"Cycles, \"\"all\"\"\"\n"
                             "\"top\",\"12345678\"\n"
                             "\" a \"\"b\"\"    , Ü;\",\"0.1\"\n"
                             "\"  deep\",\"<text>\"\n");
    EXPECT_EQ(csvOf(*makeGrid(makeTree({}, ""))), "\"Name\"\n");
}

TEST(GridTexts, AnExportThatMustBeWholeTellsOfAFullDisk) {
    LogCapture log;
    BaseGridViewRequestHandler handler(nullptr, nullptr, nullptr);
    const auto model = makeGrid(makeTree({}, "top"));
    bk2::variant_bag_t request, answer;
    request.put_own_value("filePath", bk2::variant_t("/dev/full"));
    EXPECT_TRUE(handler.handleRequest("exportToCsv", request, answer, model, nullptr).succeeded());
    EXPECT_EQ(handler.exportToFile("/dev/full", model, nullptr).message(),
              "The file could not be written to its end: /dev/full");
}

TEST(GridTexts, CsvPlacesThatCannotBeWritten) {
    LogCapture log;
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder / "itself", folder / "itself");
    for (const std::string& path : {folder.path(), folder / "no/such/folder", folder / "itself",
                                    std::string(), folder / std::string(5000, 'x')})
        EXPECT_FALSE(createCSVWriter(path, ',')->hasValidFileStream()) << path;
    // A full disk is noticed when the writer's buffer goes out, of a short file at its end.
    for (const int rows : {20000, 1}) {
        const auto tree = makeTree({}, "");
        for (int i = 0; i < rows; ++i)
            tree->addRow(nullptr, "a row of some length");
        auto writer = createCSVWriter("/dev/full", ',');
        ASSERT_TRUE(writer->hasValidFileStream());
        EXPECT_TRUE(makeGrid(tree)->exportToCsv(writer, nullptr).succeeded());
        EXPECT_EQ(writer->hasValidFileStream(), rows == 1);
        writer.reset();
        EXPECT_EQ(log.count("!m_fileStream.fail(): /dev/full: No space left on device"), rows == 1 ? 2 : 1);
    }
}

TEST(GridTexts, Clipboard) {
    LogCapture silent(static_cast<logkit1::level_t>(50000)); // the tree sums nothing up for the footer
    const auto tree = makeTree({{makeMetric("cycles"), dataface1::column_data, "Cycles"}},
                               "a | 12345\n  b \"x\" | 7\n    c\td | 1\n      e\ne | 3\n  f | 2");
    const auto model = makeGrid(tree);
    model->expandRowsRecursively(nullptr, 0);
    const std::string head = "Name\tCycles\n";
    const struct {
        std::vector<int> selected;
        std::string text;
    } cases[] = {
        {{}, ""},
        {{0}, "a\t12,345"},
        {{1, 3}, "b \"x\"\t7\n    e\t"},
        {{5, 2}, "  c\td\t1\nf\t2"},
    };
    for (const auto& [selected, text] : cases) {
        (void)model->processRowSelection(-1, 0, SelectClear);
        for (const int row : selected)
            (void)model->processRowSelection(row, 0, SelectToggle);
        std::string copied;
        EXPECT_TRUE(model->copySelectedRowsToString(copied).succeeded());
        EXPECT_EQ(copied, head + text);
    }
}

TEST(GridTexts, TheClipboardEndsBehindItsLimit) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    const auto tree = makeTree({}, "");
    for (int i = 0; i < 100; ++i)
        tree->addRow(nullptr, std::string(1000, 'x'));
    const auto model = makeGrid(tree);
    (void)model->processRowSelection(-1, 0, SelectAll);
    std::string copied;
    EXPECT_TRUE(model->copySelectedRowsToString(copied).succeeded());
    // The head has 5 bytes; 65 lines are below the limit, so one more goes in.
    EXPECT_EQ(copied.size(), 5 + 66 * 1000 + 65u);
    copied.clear();
    const auto empty = bk2::make_sptr<GridModel>(GridTopDown, nullptr, nullptr, nullptr);
    EXPECT_EQ(empty->copySelectedRowsToString(copied).as_string(1), "IsNot.Valid.State: No data in the grid");
}

/// "0-2" for each hit of a key in one cell's text.
std::string hitsIn(const std::string& text, const std::string& key) {
    GridSearchHelper helper;
    helper.setSearchKey(key);
    helper.search(0, 0, text, portkit2::lower_case(key));
    bk2::variant_bag_t bag;
    helper.saveToVBag(0, 1, bag);
    std::string hits;
    const auto* cells = bag.get<bk2::variant_bag_t>("cells");
    if (!cells) return hits;
    const auto* cell = cells->get<bk2::variant_bag_t>("cell");
    for (auto entry = cell->get<bk2::variant_bag_t>("entries")->begin<bk2::variant_bag_t>(); !entry.at_end();
         entry.next())
        hits += bk2::get_value_string(entry.get_value().get_variant("startPosition")) + "-" +
                bk2::get_value_string(entry.get_value().get_variant("endPosition")) + " ";
    return hits;
}

TEST(GridSearch, FindsInACell) {
    const std::string megabyte(1 << 20, 'a');
    const struct {
        std::string text, key, hits;
    } cases[] = {
        {"aaa", "aa", "0-2 "},
        {"aaaa", "aa", "0-2 2-4 "},
        {"abAB aB", "Ab", "0-2 2-4 5-7 "},
        {"ÜBER über", "über", "5-9 "},
        {"€€x€", "x", "2-3 "},
        {"読む読", "読", "0-1 2-3 "},
        {"😀a😀a", "a😀", "1-3 "},
        {"abc", "abcd", ""},
        {"abc", "", ""},
        {"", "a", ""},
        {"\xe2\x82\xac", "\x82", ""}, // inside a character
        {megabyte, megabyte, "0-1048576 "},
        {megabyte, megabyte + "a", ""},
        {std::string(1 << 13, 'a') + "b", std::string(1 << 12, 'a') + "b", "4096-8193 "},
    };
    for (const auto& [text, key, hits] : cases)
        EXPECT_EQ(hitsIn(text, key), hits) << text.substr(0, 20) << " in " << key.substr(0, 20);
}

TEST(GridSearch, TellsHitsByTheirPlaceToTheWindow) {
    const struct {
        std::vector<int> hits;
        int first, count;
        const char* told; ///< previous, those in the window, next
    } cases[] = {
        {{5, 12, 30}, 10, 10, "5 [12] 30"},
        {{12, 30}, 10, 10, "30 [12] 30"},
        {{11, 12}, 10, 10, "- [11 12] -"},
        {{5}, 10, 10, "5 - 5"},
        {{30}, 10, 10, "30 [] 30"},
        {{9, 10, 19, 20}, 10, 10, "9 [10 19] 20"},
        {{5, 7}, 10, 10, "7 - 5"},
        {{0}, 0, 0, "0 [] 0"},
        {{3}, 0, std::numeric_limits<int>::max(), "- [3] -"},
        {{3}, std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), "3 - 3"},
    };
    for (const auto& [hits, first, count, told] : cases) {
        GridSearchHelper helper;
        helper.setSearchKey("x");
        for (const int row : hits)
            helper.search(row, 2, "x", "x");
        bk2::variant_bag_t bag;
        helper.saveToVBag(first, count, bag);
        const auto rowsIn = [&](const char* name) {
            std::string rows;
            const auto* cells = bag.get<bk2::variant_bag_t>(name);
            if (!cells) return std::string("-");
            for (auto cell = cells->begin_by_name<bk2::variant_bag_t>("cell"); !cell.at_end(); cell.next())
                rows += (rows.empty() ? "" : " ") +
                        bk2::get_value_string(cell.get_value().get_variant("rowIndex"));
            return rows;
        };
        const std::string inside = rowsIn("cells");
        EXPECT_EQ(rowsIn("previous") + (inside == "-" ? " - " : " [" + inside + "] ") + rowsIn("next"), told);
    }
}

TEST(GridSearch, RefusesAKeyThatIsNoText) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    const auto model = makeGrid(makeTree({}, "a\nb"));
    bk2::variant_bag_t bag;
    EXPECT_TRUE(model->search("a", bag, nullptr).succeeded());
    bk2::variant_bag_t refused;
    EXPECT_EQ(model->search("a\xff", refused, nullptr).as_string(1), "IsNot.Valid.Argument: searchKey");
    model->saveSearchResultToVBag(refused);
    EXPECT_TRUE(refused.is_empty()) << "what was found before is gone";
}

TEST(GridSearch, RefusesACellThatIsNoText) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    const auto tree = makeTree({}, "a");
    tree->addRow(nullptr, "a\xff");
    const auto model = makeGrid(tree);
    bk2::variant_bag_t bag;
    EXPECT_TRUE(model->search("a", bag, nullptr).failed());
    model->saveSearchResultToVBag(bag);
    EXPECT_TRUE(bag.is_empty()) << "nor are hits in the cells before it kept";
}

TEST(GridSearch, KeepsWhatItFoundBeforeARowOrColumnThatIsNone) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    const auto model = makeGrid(makeTree({{makeMetric("cycles")}}, "a | 1\na | 1"));
    const auto name = model->getColumnByIndex(0), number = model->getColumnByIndex(1);
    const struct {
        std::vector<std::shared_ptr<GridColumn>> columns;
        int rows;
        const char* failure;
        std::size_t found;
    } cases[] = {
        {{name, number, nullptr, name}, 2, "IsNot.Valid.State: column", 1},
        {{nullptr, name}, 2, "IsNot.Valid.State: column", 0},
        {{nullptr}, 0, "", 0},
        {{name, number}, 3, "IsNot.Valid.State: row", 2},
    };
    for (const auto& [columns, rows, failure, found] : cases) {
        GridSearchHelper helper;
        const GridRowContainer container(model.get(), 0, rows);
        EXPECT_EQ(helper.search(model.get(), container, columns, "A", nullptr).as_string(1), failure);
        EXPECT_EQ(helper.foundItemCount(), found) << failure;
    }
}

TEST(GridRows, AreIteratedWithinTheirRange) {
    LogCapture log;
    const auto model = makeGrid(makeTree({}, "a\nb\nc\nd"));
    const GridRowContainer rows(model.get(), 1, 2);
    std::string names;
    for (const auto& row : rows)
        names += dataface1::getFormattedCellContents(*row, *model->getGroupingColumn());
    EXPECT_EQ(names, "bc");
    EXPECT_EQ(log.count("m_currentIndex"), 0);
    EXPECT_EQ(*rows.end(), nullptr);
    EXPECT_EQ(*rows.from(0), nullptr);
    EXPECT_EQ(log.count("m_currentIndex >= m_startIndex && m_currentIndex < m_endIndex"), 2);
}

} // namespace
} // namespace panedeck::tests
