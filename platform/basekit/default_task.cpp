#include "basekit/default_task.h"

#include "basekit/assertion.h"

namespace bk2 {

default_task_t::default_task_t() = default;
default_task_t::~default_task_t() = default;

void default_task_t::cancel() {
    m_canceled.store(true);
    end_unstarted();
}

std::string default_task_t::get_display_name() const {
    return {};
}

void default_task_t::push_finalization_stage(std::unique_ptr<task_stage_t> stage) {
    PANEDECK_EXPECT(!m_stage, "!m_stage");
    if (!m_stage) m_stage = std::move(stage);
}

// The flag is looked at after the state has changed, and cancel() does it the other way round: so at least
// one of the two sees the other, and the exchange in end_unstarted() lets only one of them end the task.
bool default_task_t::enter_queue() {
    state_t expected = state_t::created;
    bool entered = m_state.compare_exchange_strong(expected, state_t::queued);
    if (!entered && expected == state_t::finished && !(m_flags & tf_run_once))
        entered = m_state.compare_exchange_strong(expected, state_t::queued);
    return entered;
}

bool default_task_t::end_unstarted() {
    state_t expected = state_t::queued;
    if (!m_state.compare_exchange_strong(expected, state_t::finished)) return false;
    m_finished.emit();
    return true;
}

void default_task_t::run() {
    state_t expected = state_t::queued;
    if (!m_state.compare_exchange_strong(expected, state_t::running)) return;
    m_stage->run();
    end();
}

void default_task_t::end() {
    m_state.store(state_t::finished);
    m_finished.emit();
}

} // namespace bk2
