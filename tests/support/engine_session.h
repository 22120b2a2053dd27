#pragma once

#include "dataface/filter_registry.h"
#include "dataface/formatter.h"
#include "dataface/input_data.h"
#include "dataface/table_tree.h"
#include "open_result.h"
#include "slicerkit/table_tree_query.h"
#include "support/profile_from_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace panedeck::tests {

/// What a test asks a tree for.
struct TreeQuestion {
    std::string grouping = "/Function";
    int type = slicerkit1::query_flat_profile;
    std::vector<std::string> columns{"/Metrics"};
    std::string sorting;
    std::string filter;
    std::string focus_query;
    bk2::variant_t focus_id;
};

/// One open profile, or two, with a query library: asks for trees and prints them.
class EngineSession {
public:
    explicit EngineSession(engine::ProfileData first) { open(std::move(first)); }
    EngineSession(engine::ProfileData first, engine::ProfileData second) {
        inputs.push_back(openOne(std::move(first), "first"));
        open(std::move(second));
    }
    explicit EngineSession(const std::string& text) : EngineSession(profileFromText(text)) {}
    EngineSession(const std::string& first, const std::string& second)
        : EngineSession(profileFromText(first), profileFromText(second)) {}

    bk2::error_code_t run(const TreeQuestion& question, bk2::sptr_t<dataface1::ITableTree>& tree,
                          notifykit2::IProgress* progress = nullptr) const {
        const auto query = slicerkit1::ITableTreeQuery::create();
        for (const auto& input : inputs)
            if (auto error = query->addInputData(input); error.failed()) return error;
        for (const std::string& column : question.columns)
            if (auto error = query->addColumnQuery(library->findQuery(column)); error.failed()) return error;
        if (auto error = query->setGroupingQuery(library->findQuery(question.grouping)); error.failed())
            return error;
        if (!question.sorting.empty())
            if (auto error = query->setSortQuery(library->findQuery(question.sorting)); error.failed())
                return error;
        if (!question.focus_query.empty())
            static_cast<void>(
                query->setFocusObject(library->findQuery(question.focus_query), question.focus_id));
        static_cast<void>(query->setFilterName(question.filter));
        static_cast<void>(query->prepare());
        return query->getTableTree(tree, progress, question.type);
    }

    /// The tree, opened `depth` levels deep, as indented lines `text value value …`; "empty" without rows.
    std::string print(const TreeQuestion& question, int depth = 100) const {
        bk2::sptr_t<dataface1::ITableTree> tree;
        const auto error = run(question, tree);
        if (error.failed()) return error.as_string(1) + "\n";
        const std::string text = printTree(tree, depth);
        return text.empty() ? "empty\n" : text;
    }

    static std::string printTree(const bk2::sptr_t<dataface1::ITableTree>& tree, int depth = 100) {
        std::vector<bk2::sptr_t<dataface1::IColumnInfo>> columns;
        collect(tree->getColumns(nullptr), columns);
        std::string text;
        printRows(tree->getRows(nullptr), columns, 0, depth, text);
        return text;
    }

    /// All columns in preorder.
    static void collect(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>> iterator,
                        std::vector<bk2::sptr_t<dataface1::IColumnInfo>>& columns) {
        for (; !iterator->at_end(); iterator->next()) {
            columns.push_back(iterator->current());
            bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>> children;
            columns.back()->getChildColumns(children, nullptr, true);
            collect(std::move(children), columns);
        }
    }

    dataface1::IFilterRegistry& registry(std::size_t input = 0) const {
        return *bk2::interface_cast<dataface1::IFilterRegistry>(inputs[input]);
    }
    bk2::sptr_t<dataface1::IInfoQuery> level(const std::string& path) const {
        return dataface1::IInfoQuery::cast(dataface1::throughVector(library->findQuery(path)));
    }

    std::vector<bk2::sptr_t<dataface1::IInputData>> inputs;
    bk2::sptr_t<dataface1::IQueryLibrary> library;

private:
    static bk2::sptr_t<dataface1::IInputData> openOne(engine::ProfileData data, const std::string& name) {
        bk2::sptr_t<dataface1::IInputData> input;
        const auto error = engine::openProfile(std::move(data), {name, "", ""}, input);
        EXPECT_TRUE(error.succeeded()) << error.as_string(1);
        return input;
    }

    void open(engine::ProfileData data) {
        inputs.push_back(openOne(std::move(data), "result"));
        const auto second = inputs.size() == 2 ? inputs[1] : nullptr;
        EXPECT_TRUE(engine::createQueryLibrary(inputs[0], second, "", library).succeeded());
    }

    static void printRows(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> rows,
                          const std::vector<bk2::sptr_t<dataface1::IColumnInfo>>& columns, int level,
                          int depth, std::string& text) {
        for (; !rows->at_end(); rows->next()) {
            const auto row = rows->current();
            text.append(2 * static_cast<std::size_t>(level), ' ');
            for (std::size_t i = 0; i < columns.size(); ++i) {
                bk2::variant_t value;
                row->getValue(columns[i].get(), dataface1::cell_value, value);
                text += (i == 0 ? "" : " ") + (value.is_null() ? "~" : bk2::get_value_string(value));
            }
            text += '\n';
            bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> children;
            if (level + 1 >= depth) continue;
            ASSERT_NE(row->getChildRows(children, nullptr, true), dataface1::ITreeNode::ecsfError);
            printRows(std::move(children), columns, level + 1, depth, text);
        }
    }
};

} // namespace panedeck::tests
