#pragma once

#include "basekit/api.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace panedeck {

/// The two mutexes of a grid model.
///
/// The model mutex guards all of the model. The database mutex lets one thread at a time read from the data
/// provider for this model, with the model mutex released, so that other requests are served meanwhile. No
/// thread waits for one of the two while it holds the other. The data lock of the open result, where it is
/// held too, was taken before. A task that has to wait for one of them lends its thread to other tasks.
class PANEDECK_API GridMutexes {
public:
    /// True if the calling thread holds the model mutex.
    bool isHeldHere() const { return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

    void lockModel();
    void unlockModel();
    std::mutex& database() { return m_database; }

private:
    std::mutex m_model;
    std::mutex m_database;
    // Set and cleared by the holder only, so that a thread can ask whether it is the holder itself.
    std::atomic<std::thread::id> m_owner{};
};

/// Holds the model mutex. A nested one of the same thread does nothing at either end.
class PANEDECK_API GridLock {
public:
    explicit GridLock(GridMutexes& mutexes);
    ~GridLock();
    GridLock(const GridLock&) = delete;
    GridLock& operator=(const GridLock&) = delete;

private:
    GridMutexes& m_mutexes;
    bool m_nested;
};

/// For the length of a long read from the data provider: gives the model mutex up, wholly and only if the
/// calling thread holds it, and holds the database mutex. Takes the model mutex back at the end. Row indexes
/// do not survive it, row ids do.
class PANEDECK_API GridDataLock {
public:
    explicit GridDataLock(GridMutexes& mutexes);
    ~GridDataLock();
    GridDataLock(const GridDataLock&) = delete;
    GridDataLock& operator=(const GridDataLock&) = delete;

private:
    GridMutexes& m_mutexes;
    bool m_held;
};

} // namespace panedeck
