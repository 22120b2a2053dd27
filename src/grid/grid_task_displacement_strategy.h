#pragma once

#include "dispatch/itask_displacement_strategy.h"

#include <memory>

namespace panedeck {

class IFilterMgr;

/// The displacement rules of the domains `grid` and `gridview`.
///
/// A task name is the request type, ":" and, if the request has a filter, the names of the filters that it
/// refers to, with a comma ahead of, between and behind them: `gridview:scroll:,a,b,`. A change of one of
/// these filters, and of any knob, displaces the task; a new search displaces earlier searches of the grid
/// view, a refresh all of its tasks.
class GridTaskDisplacementStrategy : public ITaskDisplacementStrategy {
public:
    /// `filterMgr` tells which filters a request refers to. The pointer is a copy: the strategy may outlive
    /// the handler, whose group can be emptied at any time.
    explicit GridTaskDisplacementStrategy(std::shared_ptr<IFilterMgr> filterMgr);
    ~GridTaskDisplacementStrategy() override;

    /// A filter that cannot be read is logged as an assertion; the name then holds what could be.
    std::string buildTaskName(const std::string& requestType, const bk2::variant_bag_t& request) override;
    bool isMine(const std::string& taskName) override;
    bool isExclusive(const std::string& taskName) override;
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) override;
    bool isDisplacedOnFilterChange(const std::string& taskName, const std::string& filterName) override;
    bool isDisplacedOnKnobChange(const std::string& taskName) override;

private:
    std::string filterNames(const bk2::variant_bag_t& filter) const;

    std::shared_ptr<IFilterMgr> m_filterMgr;
};

} // namespace panedeck
