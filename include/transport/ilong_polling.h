#pragma once

#include "basekit/api.h"

#include <chrono>
#include <functional>
#include <memory>

namespace panedeck {

/// Asks a condition at a fixed pace until it gives 1 or a time limit has passed:
///
///     ILongPolling::create()->setTimeout(std::chrono::seconds(5))->poll([&] {
///         return isDone() || progress->is_canceled() ? 1 : 0;
///     });
///
/// `poll` keeps its thread for up to the limit, gives no result and knows no cancel: the condition records
/// what it saw, and gives 1 also when nobody waits for it any more.
class PANEDECK_API ILongPolling {
public:
    /// The pause between two questions: 100 ms unless set. Zero or less: none. Gives this object.
    virtual std::shared_ptr<ILongPolling> setInterval(const std::chrono::milliseconds& interval) = 0;

    /// The time limit, by the system's clock: 30 s unless set. With none left `poll` returns without asking.
    /// Gives this object.
    virtual std::shared_ptr<ILongPolling> setTimeout(const std::chrono::milliseconds& timeout) = 0;

    /// Looks at the limit only between questions, so it can take longer by one of them. Throws
    /// `std::bad_function_call` for an empty condition.
    virtual void poll(const std::function<int()>& condition) = 0;

    static std::shared_ptr<ILongPolling> create();

    virtual ~ILongPolling() = default;
};

} // namespace panedeck
