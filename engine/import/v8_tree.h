#pragma once

#include "import/import_outcome.h"
#include "import/profile_builder.h"
#include "import/v8_document.h"
#include "notifykit/progress.h"

#include <vector>

namespace panedeck::engine {

/// Turns the nodes of a V8 profile into stacks: links them by their ids and refuses what is no tree. Finds a
/// node's stack by its id afterwards.
class V8Tree {
public:
    V8Tree(V8Document& document, ProfileBuilder& builder, const ImportLimits& limits)
        : m_document(document), m_builder(builder), m_limits(limits) {}

    ImportOutcome build(notifykit2::IProgress* progress);

    /// The node with this id, `no_v8_node` if there is none.
    V8NodeIndex find(std::int64_t id) const;

    CallsiteIndex callsite(V8NodeIndex node) const { return m_callsites[node]; }

private:
    ImportOutcome indexIds();
    ImportOutcome linkChildren();
    ImportOutcome linkByParentId();
    ImportOutcome findRoot();
    void orderChildren();
    ImportOutcome addStacks(notifykit2::IProgress* progress);
    FunctionIndex functionOf(const V8Node& node);
    std::int64_t firstLine() const;

    V8Document& m_document;
    ProfileBuilder& m_builder;
    ImportLimits m_limits;
    HashIndex m_by_id;
    std::vector<std::int64_t> m_ids; ///< by node, close together: each sample looks one up
    V8NodeIndex m_root = no_v8_node;
    std::vector<V8NodeIndex> m_children;         ///< grouped by parent
    std::vector<std::uint32_t> m_children_begin; ///< by parent; one more than nodes
    std::vector<CallsiteIndex> m_callsites;
};

} // namespace panedeck::engine
