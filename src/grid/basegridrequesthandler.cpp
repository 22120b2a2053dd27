#include "grid/basegridrequesthandler.h"

#include "basekit/assertion.h"
#include "basekit/task_waiting_scope.h"
#include "grid/grid_query_builder.h"
#include "grid/grid_task_displacement_strategy.h"

#include <list>
#include <map>
#include <tuple>
#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::sptr_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using slicerkit1::ITableTreeQuery;

namespace {

void readQueryType(const std::string& name, int& queryType) {
    static const std::map<std::string, int> types = {
        {"auto", slicerkit1::query_auto},
        {"bottomUp", slicerkit1::query_bottom_up},
        {"topDown", slicerkit1::query_top_down},
        {"flatProfile", slicerkit1::query_flat_profile},
        {"selectionParentTree", slicerkit1::query_selection_parent_tree},
        {"selectionChildTree", slicerkit1::query_selection_child_tree},
    };
    if (const auto found = types.find(name); found != types.end()) queryType = found->second;
}

// The commas around each name let one search on the padded list find whole items only.
int queryFlagsFromList(const std::string& list) {
    static const std::map<std::string, int> flags = {
        {",noLeafExpansion,", slicerkit1::query_no_leaf_expansion},
        {",allRows,", slicerkit1::query_all_rows},
        {",tabularBottomUp,", slicerkit1::query_tabular_bottom_up},
    };
    const std::string padded = "," + list + ",";
    int result = 0;
    for (const auto& [name, flag] : flags)
        if (padded.find(name) != std::string::npos) result |= flag;
    return result;
}

error_code_t readTypeAndFlags(const variant_bag_t& bag, int& queryType, int& queryFlags) {
    if (const auto* type = bag.get<variant_t>("queryType")) {
        PANEDECK_REQUIRE(type->is_narrow_text(), "type->is_narrow_text()",
                         bk2::kinds::failed_to_process_this_operation, "Invalid queryType value");
        readQueryType(std::string(type->text()), queryType);
    }
    queryFlags = 0;
    if (const auto* flags = bag.get<variant_t>("queryFlags")) {
        PANEDECK_REQUIRE(flags->is_narrow_text(), "flags->is_narrow_text()",
                         bk2::kinds::failed_to_process_this_operation, "Invalid queryFlags value");
        queryFlags = queryFlagsFromList(std::string(flags->text()));
    }
    return error_code_t::success();
}

} // namespace

BaseGridRequestHandler::BaseGridRequestHandler(std::shared_ptr<IFilterMgr> filterMgr,
                                               IEventDispatcher* eventDispatcher,
                                               boost::shared_mutex& sharedMutex,
                                               sptr_t<dataface1::IInputData> inputData,
                                               sptr_t<dataface1::IInputData> extraInputData,
                                               sptr_t<dataface1::IQueryLibrary> queryLibrary)
    : m_filterMgr(std::move(filterMgr)), m_eventDispatcher(eventDispatcher), m_sharedMutex(sharedMutex),
      m_inputData(std::move(inputData)), m_extraInputData(std::move(extraInputData)),
      m_queryLibrary(std::move(queryLibrary)) {}

BaseGridRequestHandler::~BaseGridRequestHandler() = default;

error_code_t BaseGridRequestHandler::buildTaskName(const std::string& requestType, const variant_bag_t& bag,
                                                   std::string& taskName) {
    taskName = requestType + ":";
    const auto* filter = bag.get<variant_bag_t>("filter");
    if (!filter) return error_code_t::success();
    std::list<filter_reference_t> references;
    PANEDECK_PASS_ON(m_filterMgr->getFilterReferences(*filter, references));
    for (const auto& [name, invert] : references)
        taskName.append(",").append(name);
    taskName += ",";
    return error_code_t::success();
}

std::shared_ptr<ITaskDisplacementStrategy> BaseGridRequestHandler::getTaskDisplacementStrategy() {
    return std::make_shared<GridTaskDisplacementStrategy>(m_filterMgr);
}

boost::shared_lock<boost::shared_mutex> BaseGridRequestHandler::lockData() const {
    bk2::lock_shared_lending(m_sharedMutex);
    return {m_sharedMutex, boost::adopt_lock};
}

error_code_t BaseGridRequestHandler::prepareQuery(sptr_t<ITableTreeQuery>& query, int& queryType,
                                                  int& queryFlags, const variant_bag_t& bag,
                                                  TempFilter& tempFilter, notifykit2::IProgress* progress) {
    if (const auto code = readTypeAndFlags(bag, queryType, queryFlags); code.failed()) return code;
    PANEDECK_PASS_ON(createGridQueryFromSectionBag(query, bag));
    PANEDECK_REQUIRE(query, "query", bk2::kinds::failed_to_create_this_query, "");
    if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
    std::ignore = query->prepare();
    if (const auto* filter = bag.get<variant_bag_t>("filter")) {
        PANEDECK_PASS_ON(m_filterMgr->createFilter(tempFilter, *filter));
        PANEDECK_PASS_ON(query->setFilterName(tempFilter.name));
    }
    if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
    return error_code_t::success();
}

error_code_t BaseGridRequestHandler::createGridQueryFromSectionBag(sptr_t<ITableTreeQuery>& query,
                                                                   const variant_bag_t& bag) const {
    query = ITableTreeQuery::create();
    if (!query) return error_code_t::success(); // the caller names this failure
    PANEDECK_PASS_ON(query->addInputData(m_inputData));
    if (m_extraInputData) PANEDECK_PASS_ON(query->addInputData(m_extraInputData));
    return GridQueryBuilder(query, m_queryLibrary).build(bag);
}

} // namespace panedeck
