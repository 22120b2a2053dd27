#include "grid/grid_model_map.h"

#include <tbb/concurrent_unordered_map.h>

#include <atomic>
#include <mutex>
#include <vector>

namespace panedeck {

/// The map allows insertions from several threads, but not that a value changes while it is read: so a value
/// is a pointer that is exchanged as one. A model whose place another one took (two first refreshes at a
/// time) stays until the end, for a look-up may be about to take its reference.
struct GridModelMap::Models {
    struct Entry {
        explicit Entry(GridModel* first) : model(first) {}
        Entry(const Entry& other) : model(other.model.load()) {}
        std::atomic<GridModel*> model;
    };

    tbb::concurrent_unordered_map<std::string, Entry> byGridId;
    std::mutex ownedMutex; ///< guards `owned`
    std::vector<bk2::sptr_t<GridModel>> owned;
};

GridModelMap::GridModelMap() : m_models(std::make_unique<Models>()) {}
GridModelMap::~GridModelMap() = default;

bk2::sptr_t<GridModel> GridModelMap::find(const std::string& gridId) const {
    const auto found = m_models->byGridId.find(gridId);
    return found == m_models->byGridId.end() ? nullptr : found->second.model.load();
}

void GridModelMap::set(const std::string& gridId, const bk2::sptr_t<GridModel>& model) {
    if (find(gridId) == model) return;
    {
        const std::lock_guard lock(m_models->ownedMutex);
        m_models->owned.push_back(model);
    }
    const auto [place, added] = m_models->byGridId.emplace(gridId, Models::Entry(model.get()));
    if (!added) place->second.model.store(model.get());
}

} // namespace panedeck
