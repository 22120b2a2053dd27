#pragma once

#include "scheduler/scheduled_request.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace panedeck::host {

struct scheduler_entry_t;
using entry_ptr_t = std::shared_ptr<scheduler_entry_t>;

/// A request with the bookkeeping of the scheduler, under whose lock all of it but `request` is.
struct scheduler_entry_t {
    enum class state_t { waiting, started, left };

    std::shared_ptr<ScheduledRequest> request;
    bool exclusive = false;
    std::uint64_t number = 0; ///< in the order of arrival
    state_t state = state_t::waiting;
    bool begun = false; ///< a thread has taken it up

    // Of StartOrder.
    std::map<std::uint64_t, entry_ptr_t> blockers;   ///< earlier entries that must leave first, by number
    std::map<std::uint64_t, entry_ptr_t> dependents; ///< later entries that wait for this one
    bool awaitsPlace = false;                        ///< in the queue of its grid
    std::list<entry_ptr_t>::iterator placeInChain;
    std::list<entry_ptr_t>::iterator placeInQueue;
};

/// Says which requests may start. A request starts when
///
/// - all that it was told to wait for have left,
/// - it is the first of those that change something, if it does: these run one at a time, in their order,
/// - and, if it is one of the grid view, fewer than `mostOfOneGrid` of that grid are under way: they wait
///   for one another's locks, and no grid is to take up the threads of all.
///
/// Takes memory and time linear in the entries, however they wait. Belongs to the scheduler's lock.
class StartOrder {
public:
    static constexpr std::size_t mostOfOneGrid = 4;

    /// Takes in a new entry, which starts behind the present entries `blockers`. Appends to `ready` what is
    /// to be started now.
    void enter(const entry_ptr_t& entry, const std::vector<entry_ptr_t>& blockers,
               std::vector<entry_ptr_t>& ready);

    /// Takes out an entry, whatever it was doing; does nothing the second time.
    void leave(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready);

private:
    struct grid_t {
        std::size_t started = 0;
        std::list<entry_ptr_t> queue; ///< nothing keeps these but the number of those under way
    };

    void startIfItMay(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready);
    void leaveGrid(const entry_ptr_t& entry, std::vector<entry_ptr_t>& ready);

    std::list<entry_ptr_t> m_changing; ///< in the order of arrival
    std::unordered_map<std::string, grid_t> m_grids;
};

} // namespace panedeck::host
