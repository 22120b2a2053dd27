#include "grid/gridrequesthandler.h"

#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "dataface/save_table_tree.h"
#include "grid/table_tree_query_steps.h"
#include "handlers/request_handlers.h"

#include <cstdlib>

namespace panedeck {

using bk2::error_code_t;
using bk2::sptr_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::IColumnInfo;
using dataface1::IInfoQuery;

namespace {

constexpr bk2::u32_t noLimit = 4294967295;

// As the C library reads it: signs and leading blanks are fine, "-1" is all, and the low 32 bits count.
error_code_t readLimit(const variant_bag_t& request, bk2::u32_t& limit) {
    const auto* value = request.get<variant_t>("limit");
    if (!value) return error_code_t::success();
    PANEDECK_REQUIRE(value->is_narrow_text(), "value->is_narrow_text()",
                     bk2::kinds::failed_to_process_this_operation, "Invalid grid limit value");
    const std::string text(value->text());
    char* end = nullptr;
    limit = static_cast<bk2::u32_t>(std::strtoull(text.c_str(), &end, 10));
    PANEDECK_REQUIRE(end != text.c_str(), "end != text.c_str()", bk2::kinds::failed_to_process_this_operation,
                     "Invalid grid limit value");
    return error_code_t::success();
}

void saveGroupingName(const IColumnInfo& column, variant_bag_t& bag) {
    const auto query = dataface1::throughVector(column.getQuery());
    if (!query) return;
    bag.put<variant_t>("fullName", variant_t(query->getName()));
    if (const auto info = IInfoQuery::cast(query))
        bag.put<variant_t>("aliasForUnknown", variant_t(info->getAliasForUnknown()));
}

void saveColumnNames(const dataface1::ITableTree& tree, variant_bag_t& answer,
                     notifykit2::IProgress* progress) {
    auto* bags = answer.get<variant_bag_t>("columns");
    const auto columns = tree.getColumns(progress);
    if (!bags || !columns) return;
    for (auto bag = bags->begin<variant_bag_t>(); !bag.at_end() && !columns->at_end();
         bag.next(), columns->next()) {
        const auto column = columns->current();
        if (column->getFlags() == dataface1::column_grouping)
            saveGroupingName(*column, bag.get_value());
        else
            bag.get_value().put<variant_t>("fullName", variant_t(dataface1::getColumnName(*column)));
    }
}

bool hasNoRows(const dataface1::ITableTree& tree, notifykit2::IProgress* progress) {
    const auto rows = tree.getRows(progress);
    return rows && rows->at_end();
}

} // namespace

GridRequestHandler::~GridRequestHandler() = default;

std::string GridRequestHandler::getDomainName() {
    return "grid";
}

error_code_t GridRequestHandler::handleRequest(const std::string&, const variant_bag_t& request,
                                               variant_bag_t& answer, notifykit2::IProgress* progress) {
    bk2::u32_t limit = noLimit;
    if (const auto code = readLimit(request, limit); code.failed()) return code;
    TempFilter tempFilter(getFilterMgr());
    int queryType = slicerkit1::query_bottom_up;
    int queryFlags = 0;
    sptr_t<slicerkit1::ITableTreeQuery> query;
    if (const auto code = prepareQuery(query, queryType, queryFlags, request, tempFilter, progress);
        code.failed())
        return code;
    const auto code = answerWithTree(query, queryType, queryFlags, limit, answer, progress);
    if (code.succeeded() && notifykit2::is_canceled(progress)) return error_code_t::canceled();
    return code;
}

error_code_t GridRequestHandler::answerWithTree(const sptr_t<slicerkit1::ITableTreeQuery>& query,
                                                int queryType, int queryFlags, bk2::u32_t limit,
                                                variant_bag_t& answer, notifykit2::IProgress* progress) {
    const auto dataLock = lockData();
    sptr_t<dataface1::ITableTree> tree;
    if (const auto code = runTableTreeQuery(query, queryType, queryFlags, tree, progress); code.failed())
        return code;
    if (!tree || hasNoRows(*tree, progress)) {
        answer.clear();
        return error_code_t::success();
    }
    const auto code = dataface1::saveTableTreeToVBag(tree, answer, 0, progress, limit);
    PANEDECK_PASS_ON(code);
    saveColumnNames(*tree, answer, progress);
    answer.put_own_value("fullContent", variant_t(!code.is_nothing_done()));
    return error_code_t::success();
}

std::shared_ptr<IRequestHandler>
createGridRequestHandler(const sptr_t<dataface1::IQueryLibrary>& queryLibrary,
                         const std::shared_ptr<IFilterMgr>& filterMgr, IEventDispatcher* eventDispatcher,
                         boost::shared_mutex& sharedMutex, const sptr_t<dataface1::IInputData>& inputData,
                         const sptr_t<dataface1::IInputData>& extraInputData) {
    return std::make_shared<GridRequestHandler>(filterMgr, eventDispatcher, sharedMutex, inputData,
                                                extraInputData, queryLibrary);
}

} // namespace panedeck
