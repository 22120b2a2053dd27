#pragma once

#include "basekit/api.h"
#include "basekit/variant_bag.h"

#include <string>

namespace panedeck {

/// Answers, in terms of task names only, which pending tasks a new task or a changed filter or knob makes
/// obsolete.
///
/// Panes send requests faster than they are answered, and often only the last one matters. Each request
/// therefore gets a task name that states what it is about; who schedules the tasks asks these questions
/// about every task that it still holds, and decides what to cancel. This class is the plain strategy, under
/// which nothing ever displaces anything; handlers with other needs derive from it. All operations are safe
/// from any thread.
class PANEDECK_API ITaskDisplacementStrategy {
public:
    /// The name of the task that will serve this request. Begins with the request type. It is built on the
    /// thread that reads the socket, so it must be cheap and must not wait.
    virtual std::string buildTaskName(const std::string& requestType, const bk2::variant_bag_t& request);

    /// True if the task belongs to the domains of this strategy.
    virtual bool isMine(const std::string& taskName);

    /// True if the task must run alone against the tasks that it displaces.
    virtual bool isExclusive(const std::string& taskName);

    /// True if the incoming task `byTaskName` makes the older task `taskName` obsolete.
    virtual bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName);

    /// True if a change of the named filter makes the task obsolete.
    virtual bool isDisplacedOnFilterChange(const std::string& taskName, const std::string& filterName);

    /// True if the change of a knob makes the task obsolete.
    virtual bool isDisplacedOnKnobChange(const std::string& taskName);

    virtual ~ITaskDisplacementStrategy();
};

} // namespace panedeck
