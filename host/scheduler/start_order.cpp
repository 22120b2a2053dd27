#include "scheduler/start_order.h"

#include <utility>

namespace panedeck::host {

using state_t = scheduler_entry_t::state_t;

void StartOrder::enter(const entry_ptr_t& entry, const std::vector<entry_ptr_t>& blockers,
                       std::vector<entry_ptr_t>& ready) {
    for (const auto& blocker : blockers) {
        blocker->dependents.emplace(entry->number, entry);
        entry->blockers.emplace(blocker->number, blocker);
    }
    if (entry->request->isChanging()) entry->placeInChain = m_changing.insert(m_changing.end(), entry);
    startIfItMay(entry, ready);
}

void StartOrder::startIfItMay(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready) {
    if (entry->state != state_t::waiting || !entry->blockers.empty() || entry->awaitsPlace) return;
    if (entry->request->isChanging() && m_changing.front() != entry) return;
    if (const auto& gridId = entry->request->gridId()) {
        grid_t& grid = m_grids[*gridId];
        if (grid.started == mostOfOneGrid) {
            entry->awaitsPlace = true;
            entry->placeInQueue = grid.queue.insert(grid.queue.end(), entry);
            return;
        }
        ++grid.started;
    }
    entry->state = state_t::started;
    ready.push_back(entry);
}

void StartOrder::leave(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready) {
    if (entry->state == state_t::left) return;
    leaveGrid(entry, ready);
    entry->state = state_t::left;
    for (const auto& [number, blocker] : std::exchange(entry->blockers, {}))
        blocker->dependents.erase(entry->number);
    for (const auto& [number, dependent] : std::exchange(entry->dependents, {})) {
        dependent->blockers.erase(entry->number);
        startIfItMay(dependent, ready);
    }
    if (!entry->request->isChanging()) return;
    m_changing.erase(entry->placeInChain);
    if (!m_changing.empty()) startIfItMay(entry_ptr_t(m_changing.front()), ready);
}

void StartOrder::leaveGrid(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready) {
    const bool isStarted = entry->state == state_t::started;
    if (!entry->request->gridId() || (!isStarted && !entry->awaitsPlace)) return;
    const auto place = m_grids.find(*entry->request->gridId());
    grid_t& grid = place->second;
    if (std::exchange(entry->awaitsPlace, false))
        grid.queue.erase(entry->placeInQueue);
    else
        --grid.started;
    if (isStarted && !grid.queue.empty()) {
        const entry_ptr_t next = grid.queue.front();
        grid.queue.pop_front();
        next->awaitsPlace = false;
        startIfItMay(next, ready);
    }
    if (grid.started == 0) m_grids.erase(place);
}

} // namespace panedeck::host
