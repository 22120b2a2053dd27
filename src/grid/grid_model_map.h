#pragma once

#include "gridmodel/gridmodel.h"

#include <memory>
#include <string>

namespace panedeck {

/// The grid models by their `gridid`. Entries are added and never taken away; every operation is safe from
/// any thread.
class GridModelMap {
public:
    GridModelMap();
    ~GridModelMap();

    /// Null if there is none.
    bk2::sptr_t<GridModel> find(const std::string& gridId) const;
    /// Inserts or overwrites.
    void set(const std::string& gridId, const bk2::sptr_t<GridModel>& model);

private:
    struct Models;
    std::unique_ptr<Models> m_models;
};

} // namespace panedeck
