#pragma once

// Needed by request tasks.

#include "basekit/api.h"
#include "basekit/object_interface.h"
#include "basekit/ref_counted.h"
#include "basekit/signal.h"
#include "basekit/task_stage.h"
#include "basekit/variant.h"

#include <atomic>
#include <memory>
#include <string>

namespace bk2 {

/// Task flags, see `default_task_t::set_flags`.
enum task_flags_t : u32_t {
    tf_run_once = 1, ///< the task system refuses the task when it is given to it a second time
};

/// A task: one stage, run by a thread of the stage's queue, that can be cancelled from any thread.
///
/// Reference counted and held by `sptr_t`; the task system holds it from `start` to its end. The cancel and
/// the start of a task settle between them, atomically, whether its stage runs: a task cancelled before its
/// start never does. A running stage learns of a cancel only if it asks.
class PANEDECK_API default_task_t
    : public ref_counted_t<default_task_t, mt_ref_count_impl_t, object_interface_t> {
public:
    default_task_t();
    ~default_task_t() override;

    /// Asks the task to stop, for good. A task that waits in a queue ends at once, on the calling thread,
    /// which thus runs the slots of `finished()`. Safe from any thread.
    virtual void cancel();

    /// What the task is called in logs. Safe from any thread.
    virtual std::string get_display_name() const;

    bool is_canceled() const { return m_canceled.load(); }

    /// True from the end of its stage, or from the cancel that kept it from starting, until it is started
    /// again.
    bool is_finished() const { return m_state.load() == state_t::finished; }

    /// Emitted each time that the task ends: when its stage has returned, as the last thing on the queue's
    /// thread, or when it was cancelled before its start.
    signal_t<>& finished() { return m_finished; }

    /// Flags of `task_flags_t`. Set while the task is built.
    void set_flags(u32_t flags) { m_flags = flags; }
    u32_t flags() const { return m_flags; }

    /// Gives the task its stage, which is its only one: a second call is an assertion failure and is ignored.
    /// Called while the task is built.
    void push_finalization_stage(std::unique_ptr<task_stage_t> stage);

    /// Null until `push_finalization_stage`.
    const task_stage_t* finalization_stage() const { return m_stage.get(); }

private:
    friend class task_queue_t;
    friend class task_system_t;

    enum class state_t : u32_t { created, queued, running, finished };

    /// Marks the task as queued. False if it is under way already, or has ended and runs once only.
    bool enter_queue();
    /// Ends a task that has not begun; false if its stage runs or has run.
    bool end_unstarted();
    /// Runs the stage unless the task was cancelled before.
    void run();
    void end();

    std::unique_ptr<task_stage_t> m_stage;
    u32_t m_flags = 0;
    std::atomic<bool> m_canceled{false};
    std::atomic<state_t> m_state{state_t::created};
    signal_t<> m_finished;
};

} // namespace bk2
