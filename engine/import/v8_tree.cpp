#include "import/v8_tree.h"

#include <algorithm>
#include <string>

namespace panedeck::engine {

namespace {

constexpr std::size_t poll_every = 65536;

std::uint64_t hashId(std::int64_t id, HashStrength strength) {
    return hashWords(static_cast<std::uint64_t>(id), 0, strength);
}

ImportOutcome refuse(const V8Node& node, const std::string& what) {
    return ImportOutcome::refused(node.text_line,
                                  "the node with id " + std::to_string(*node.id) + " " + what);
}

std::uint32_t fromFirst(std::int64_t number, std::int64_t first) {
    if (number < first) return 0;
    const std::uint64_t position = static_cast<std::uint64_t>(number - first) + 1;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(position, 0xFFFFFFFF));
}

} // namespace

ImportOutcome V8Tree::build(notifykit2::IProgress* progress) {
    using Step = ImportOutcome (V8Tree::*)();
    for (const Step step :
         {&V8Tree::indexIds, &V8Tree::linkChildren, &V8Tree::linkByParentId, &V8Tree::findRoot}) {
        if (notifykit2::is_canceled(progress)) return ImportOutcome::canceled();
        ImportOutcome outcome = (this->*step)();
        if (!outcome.is_done()) return outcome;
    }
    orderChildren();
    return addStacks(progress);
}

V8NodeIndex V8Tree::find(std::int64_t id) const {
    const std::uint64_t hash = hashId(id, m_by_id.strength());
    const auto found = m_by_id.find(hash, [&](V8NodeIndex at) { return m_ids[at] == id; });
    return found == HashIndex::none ? no_v8_node : found;
}

ImportOutcome V8Tree::indexIds() {
    for (V8NodeIndex at = 0; at < m_document.nodes.size(); ++at) {
        const V8Node& node = m_document.nodes[at];
        if (find(*node.id) != no_v8_node) return refuse(node, "is there more than once");
        m_ids.push_back(*node.id);
        m_by_id.insert(
            at, [this](V8NodeIndex other, HashStrength strength) { return hashId(m_ids[other], strength); });
    }
    return ImportOutcome::done();
}

ImportOutcome V8Tree::linkChildren() {
    for (V8NodeIndex at = 0; at < m_document.nodes.size(); ++at) {
        const V8Node& node = m_document.nodes[at];
        for (std::size_t i = node.children_begin; i < node.children_end; ++i) {
            const std::int64_t id = m_document.child_ids[i];
            const V8NodeIndex child = find(id);
            if (child == no_v8_node)
                return refuse(node, "has the child " + std::to_string(id) + ", which does not exist");
            if (m_document.nodes[child].parent != no_v8_node)
                return refuse(m_document.nodes[child], "is the child of more than one node");
            m_document.nodes[child].parent = at;
        }
    }
    return ImportOutcome::done();
}

// What lists of children say holds; `parent` counts for a node that is in none.
ImportOutcome V8Tree::linkByParentId() {
    for (V8Node& node : m_document.nodes) {
        if (node.parent != no_v8_node || !node.parent_id) continue;
        node.parent = find(*node.parent_id);
        if (node.parent == no_v8_node)
            return refuse(node,
                          "has the parent " + std::to_string(*node.parent_id) + ", which does not exist");
    }
    return ImportOutcome::done();
}

ImportOutcome V8Tree::findRoot() {
    for (V8NodeIndex at = 0; at < m_document.nodes.size(); ++at) {
        if (m_document.nodes[at].parent != no_v8_node) continue;
        if (m_root != no_v8_node)
            return refuse(m_document.nodes[at], "is a second root: the nodes are no tree");
        m_root = at;
    }
    if (m_root == no_v8_node)
        return ImportOutcome::refused(
            1, "the nodes are no tree: each is below another one, so there is a cycle");
    return ImportOutcome::done();
}

// Counting sort of the nodes by their parents.
void V8Tree::orderChildren() {
    const std::size_t count = m_document.nodes.size();
    m_children_begin.assign(count + 1, 0);
    for (const V8Node& node : m_document.nodes)
        if (node.parent != no_v8_node) ++m_children_begin[node.parent + 1];
    for (std::size_t i = 0; i < count; ++i)
        m_children_begin[i + 1] += m_children_begin[i];
    std::vector<std::uint32_t> next(m_children_begin.begin(), m_children_begin.end() - 1);
    m_children.resize(count - 1);
    for (V8NodeIndex at = 0; at < count; ++at)
        if (m_document.nodes[at].parent != no_v8_node) m_children[next[m_document.nodes[at].parent]++] = at;
}

// Level by level from the root, so that a node's stack is there before its children's. Nodes on a cycle are
// never reached.
ImportOutcome V8Tree::addStacks(notifykit2::IProgress* progress) {
    m_callsites.assign(m_document.nodes.size(), 0);
    std::vector<V8NodeIndex> order{m_root};
    std::size_t level_end = 1;
    std::size_t depth = 1;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i % poll_every == 0 && notifykit2::is_canceled(progress)) return ImportOutcome::canceled();
        if (i == level_end) {
            level_end = order.size();
            ++depth;
        }
        const V8Node& node = m_document.nodes[order[i]];
        if (depth > m_limits.stack_frames + 1) return refuse(node, "has a stack that is too deep");
        const bool is_frame = order[i] != m_root || !node.is_named_root;
        const CallsiteIndex above = node.parent == no_v8_node ? 0 : m_callsites[node.parent];
        m_callsites[order[i]] = is_frame ? m_builder.child(above, functionOf(node)) : above;
        order.insert(order.end(), m_children.begin() + m_children_begin[order[i]],
                     m_children.begin() + m_children_begin[order[i] + 1]);
    }
    if (order.size() < m_document.nodes.size()) {
        const auto on_cycle =
            std::find_if(m_document.nodes.begin(), m_document.nodes.end(), [&](const V8Node& node) {
                const auto at = static_cast<V8NodeIndex>(&node - m_document.nodes.data());
                return at != m_root && m_callsites[at] == 0;
            });
        return refuse(*on_cycle, "is on a cycle or below one");
    }
    return ImportOutcome::done();
}

FunctionIndex V8Tree::functionOf(const V8Node& node) {
    const StringIndex name = node.name ? node.name : m_builder.name("(anonymous)");
    const std::int64_t first = firstLine();
    return m_builder.function({name, 0, node.source_file, fromFirst(node.line_number, first),
                               fromFirst(node.column_number, first)});
}

// Lines count from 0 and -1 is none, except in the older form's oldest files, where they count from 1 and 0
// is none; the root, which is nowhere, tells which.
std::int64_t V8Tree::firstLine() const {
    const V8Node& root = m_document.nodes[m_root];
    return m_document.is_nested && root.is_named_root && root.line_number == 0 ? 1 : 0;
}

} // namespace panedeck::engine
