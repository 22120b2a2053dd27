#pragma once

#include "basekit/api.h"

#include <chrono>
#include <functional>
#include <memory>

namespace panedeck {

/// Folds a burst of notifications into one call, so that a fast producer does not flood the panes:
///
///     m_progressEvents = IEventBatching::create([this] { sendProgress(); }, std::chrono::milliseconds(100));
///     ...
///     m_progressEvents->notify(); // as often as something happens
///
/// The first notification sets the time: the call follows one delay later, on a thread of its own, for all
/// that came meanwhile. A notification that comes while the call runs is folded into it, too, and is lost if
/// the callback has looked already: send a last state, such as "done", yourself.
///
/// The destructor takes a call back that has not begun, and waits for the delay and for a call that runs. So
/// keep delays well below a second, and let go of the object neither on an I/O thread, nor in its callback,
/// nor under a lock that the callback takes.
class PANEDECK_API IEventBatching {
public:
    /// `callback` must not throw: nobody would hear of it.
    static std::shared_ptr<IEventBatching> create(std::function<void()> callback,
                                                  std::chrono::milliseconds delay);

    /// Never waits. For one thread at a time: several producers share a lock of theirs. Throws
    /// `std::system_error` if no thread can be started.
    virtual void notify() = 0;

    virtual ~IEventBatching() = default;
};

} // namespace panedeck
