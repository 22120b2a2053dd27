#include "filter/row_places.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <optional>

namespace panedeck::engine {

namespace {

/// A stack node; for callers with the ancestor that the row has got to.
struct Place {
    CallsiteIndex node;
    CallsiteIndex cursor;
};

struct KeyedPlace {
    DimensionValue value;
    Place place;
};

/// Where the samples of a path's node are, as far as its levels tell.
struct State {
    NodesByThreads::iterator group;
    bool has_frames = false; ///< false: all stack nodes
    std::vector<Place> places;
};

/// The paths with each node's children side by side.
class PathChildren {
public:
    explicit PathChildren(const RowPaths& paths)
        : m_first(paths.nodes.size() + 2), m_children(paths.nodes.size()) {
        for (const RowPaths::Node& node : paths.nodes)
            ++m_first[slotOf(node.above) + 1];
        for (std::size_t slot = 1; slot < m_first.size(); ++slot)
            m_first[slot] += m_first[slot - 1];
        std::vector<std::uint32_t> next(m_first);
        for (std::uint32_t node = 0; node < paths.nodes.size(); ++node)
            m_children[next[slotOf(paths.nodes[node].above)]++] = node;
    }

    std::span<const std::uint32_t> of(std::uint32_t node) const {
        const std::size_t slot = slotOf(node);
        return std::span(m_children).subspan(m_first[slot], m_first[slot + 1] - m_first[slot]);
    }

private:
    static std::size_t slotOf(std::uint32_t node) {
        return node == RowPaths::top ? 0 : std::size_t{node} + 1;
    }

    std::vector<std::uint32_t> m_first;
    std::vector<std::uint32_t> m_children;
};

class PlaceFinder {
public:
    PlaceFinder(const RowPaths& paths, const ProfileStore& store, NodesByThreads& found)
        : m_paths(paths), m_store(store), m_children(paths), m_found(found) {}

    bk2::error_code_t run(notifykit2::IProgress* progress) {
        State top;
        top.group = m_found.end();
        open(RowPaths::top, std::move(top));
        while (!m_open.empty()) {
            if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
            Siblings& siblings = m_open.back();
            if (siblings.next == siblings.nodes.size()) {
                m_open.pop_back();
                continue;
            }
            const std::uint32_t node = siblings.nodes[siblings.next++];
            State state = stateOf(siblings, m_paths.nodes[node].level);
            if (m_paths.nodes[node].is_row) mark(state);
            if (!m_children.of(node).empty()) open(node, std::move(state));
        }
        return {};
    }

private:
    /// The nodes below one, the state that it left, and the places that the next frame level chooses from,
    /// sorted by value.
    struct Siblings {
        std::span<const std::uint32_t> nodes;
        State above;
        std::optional<Segment> segment; ///< what `keyed` was made for
        std::vector<KeyedPlace> keyed;
        std::size_t next = 0;
    };

    void open(std::uint32_t node, State state) {
        m_open.push_back({m_children.of(node), std::move(state), std::nullopt, {}, 0});
    }

    State stateOf(Siblings& siblings, const RowLevel& level) {
        const auto value = valueHere(level);
        State state;
        state.group = siblings.above.group;
        state.has_frames = siblings.above.has_frames;
        if (isSampleLevel(dimensionOf(level.segment))) {
            state.places = siblings.above.places;
            state.group = narrowed(state.group, dimensionOf(level.segment), value);
            return state;
        }
        if (value) state.places = placesOf(siblings, level.segment, *value);
        state.has_frames = true;
        return state;
    }

    std::vector<Place> placesOf(Siblings& siblings, Segment segment, DimensionValue value) const {
        std::vector<Place> places;
        if (!siblings.above.has_frames && segment != Segment::callees) {
            for (const CallsiteIndex node :
                 m_store.nodesBy(dimensionOf(segment), FrameScope::any_frame).of(value))
                places.push_back({node, node});
            return places;
        }
        if (siblings.segment != segment) {
            siblings.keyed = keyedPlaces(siblings.above, segment);
            siblings.segment = segment;
            std::ranges::stable_sort(siblings.keyed, {}, &KeyedPlace::value);
        }
        for (const KeyedPlace& keyed :
             std::ranges::equal_range(siblings.keyed, value, {}, &KeyedPlace::value))
            places.push_back(keyed.place);
        return places;
    }

    std::vector<KeyedPlace> keyedPlaces(const State& above, Segment segment) const {
        std::vector<KeyedPlace> keyed;
        if (!above.has_frames) {
            keyed.push_back({0, {0, 0}});
            addCallees(0, m_store.nodeCount(), keyed);
            return keyed;
        }
        for (const Place& place : above.places)
            if (segment == Segment::callees)
                addCallees(place.node, m_store.endOf(place.node), keyed);
            else if (segment == Segment::callers)
                addCaller(place, keyed);
            else
                keyed.push_back({m_store.valueOfNode(dimensionOf(segment), place.node), place});
        return keyed;
    }

    void addCallees(CallsiteIndex node, CallsiteIndex end, std::vector<KeyedPlace>& keyed) const {
        for (CallsiteIndex child = node + 1; child < end; child = m_store.endOf(child))
            keyed.push_back({m_store.functionOf(child), {child, child}});
    }

    void addCaller(const Place& place, std::vector<KeyedPlace>& keyed) const {
        const CallsiteIndex caller = m_store.parentOf(place.cursor);
        if (caller != 0) keyed.push_back({m_store.functionOf(caller), {place.node, caller}});
    }

    NodesByThreads::iterator narrowed(NodesByThreads::iterator group, Dimension dimension,
                                      std::optional<DimensionValue> value) {
        Flags threads(m_store.data().threads.size());
        for (ThreadIndex thread = 0; thread < threads.size(); ++thread)
            threads[thread] = (group == m_found.end() || group->first.empty() || group->first[thread]) &&
                              value && m_store.valueOfThread(dimension, thread) == *value;
        return m_found.try_emplace(std::move(threads)).first;
    }

    void mark(State& state) {
        if (state.group == m_found.end()) state.group = m_found.try_emplace(Flags()).first;
        Flags& nodes = state.group->second;
        nodes.resize(m_store.nodeCount());
        if (!state.has_frames) std::ranges::fill(nodes, std::uint8_t{1});
        for (const Place& place : state.places)
            nodes[place.node] = 1;
    }

    std::optional<DimensionValue> valueHere(const RowLevel& level) {
        const ProfileStore& result = *m_paths.results[level.result];
        if (&result == &m_store) return level.value;
        const Dimension dimension = dimensionOf(level.segment);
        const std::uint64_t key =
            (std::uint64_t{level.result} << 8 | static_cast<std::uint64_t>(dimension)) << 32 | level.value;
        const auto [known, is_new] = m_values.try_emplace(key);
        if (is_new) known->second = m_store.findContent(dimension, result.contentOf(dimension, level.value));
        return known->second;
    }

    const RowPaths& m_paths;
    const ProfileStore& m_store;
    PathChildren m_children;
    NodesByThreads& m_found;
    std::vector<Siblings> m_open;
    boost::unordered_flat_map<std::uint64_t, std::optional<DimensionValue>> m_values;
};

} // namespace

bk2::error_code_t findPlaces(const RowPaths& paths, const ProfileStore& store,
                             notifykit2::IProgress* progress, NodesByThreads& found) {
    if (auto error = PlaceFinder(paths, store, found).run(progress); error.failed()) return error;
    // Threads that no row ends at were only on the way.
    std::erase_if(found, [](const auto& group) { return group.second.empty(); });
    return {};
}

} // namespace panedeck::engine
