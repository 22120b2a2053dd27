#pragma once

#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "dispatch/ievent_dispatcher.h"
#include "dispatch/irequest_handler.h"
#include "filter/ifilter_mgr.h"
#include "slicerkit/table_tree_query.h"

#include <boost/thread/locks.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <memory>
#include <string>

namespace panedeck {

/// What the handlers of the domains `grid` and `gridview` share: from a request bag to a query of the data
/// provider, and the task name under which the request is filed.
///
/// Keeps nothing of a request, so requests may be prepared on several threads at the same time.
class BaseGridRequestHandler : public IRequestHandler {
public:
    /// `eventDispatcher` and `sharedMutex` outlive the handler; `extraInputData` may be null. The mutex
    /// guards the result's data: whoever changes them holds it exclusively.
    BaseGridRequestHandler(std::shared_ptr<IFilterMgr> filterMgr, IEventDispatcher* eventDispatcher,
                           boost::shared_mutex& sharedMutex, bk2::sptr_t<dataface1::IInputData> inputData,
                           bk2::sptr_t<dataface1::IInputData> extraInputData,
                           bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary);
    ~BaseGridRequestHandler() override;

    /// The request type, ":", and, if the request has a `filter`, "," and the name of each filter that it
    /// refers to and a last ",": `grid:get:,a,b,`. Fails, with the name begun, if the filter bag is bad.
    bk2::error_code_t buildTaskName(const std::string& requestType, const bk2::variant_bag_t& bag,
                                    std::string& taskName) override;

    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy() override;

protected:
    /// Turns the keys `queryType`, `queryFlags`, `grouping`, `columns`, `sorting` and `filter` of a request
    /// into a query that is ready to run. `queryType` keeps the caller's value if the request names none that
    /// is known. The query refers to `tempFilter` by name: let it live until the query has run.
    bk2::error_code_t prepareQuery(bk2::sptr_t<slicerkit1::ITableTreeQuery>& query, int& queryType,
                                   int& queryFlags, const bk2::variant_bag_t& bag, TempFilter& tempFilter,
                                   notifykit2::IProgress* progress);

    const std::shared_ptr<IFilterMgr>& getFilterMgr() const { return m_filterMgr; }
    IEventDispatcher* getEventDispatcher() const { return m_eventDispatcher; }
    /// Locks the result's data for reading, which keeps out whoever changes them. A task that has to wait
    /// lends its thread to other tasks.
    boost::shared_lock<boost::shared_mutex> lockData() const;
    const bk2::sptr_t<dataface1::IInputData>& getInputData() const { return m_inputData; }
    const bk2::sptr_t<dataface1::IInputData>& getExtraInputData() const { return m_extraInputData; }
    const bk2::sptr_t<dataface1::IQueryLibrary>& getQueryLibrary() const { return m_queryLibrary; }

private:
    bk2::error_code_t createGridQueryFromSectionBag(bk2::sptr_t<slicerkit1::ITableTreeQuery>& query,
                                                    const bk2::variant_bag_t& bag) const;

    std::shared_ptr<IFilterMgr> m_filterMgr;
    IEventDispatcher* m_eventDispatcher; ///< not owned
    boost::shared_mutex& m_sharedMutex;
    bk2::sptr_t<dataface1::IInputData> m_inputData;
    bk2::sptr_t<dataface1::IInputData> m_extraInputData;
    bk2::sptr_t<dataface1::IQueryLibrary> m_queryLibrary;
};

} // namespace panedeck
