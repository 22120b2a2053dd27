#include "basekit/bag_children.h"

#include "basekit/name_index.h"

#include <new>
#include <utility>

namespace bk2 {

variant_bag_t::children_t::more_t::more_t() = default;
variant_bag_t::children_t::more_t::~more_t() = default;

variant_bag_t::children_t::children_t(variant_bag_t* bag, bag_values_t* bag_values,
                                      std::size_t capacity) noexcept
    : owner(bag), values(bag_values), m_first_capacity(static_cast<std::uint32_t>(capacity)) {}

variant_bag_t::children_t::~children_t() {
    while (m_used > 0)
        pop_back();
    if (!m_more) return;
    for (variant_bag_t* const piece : m_more->pieces)
        ::operator delete(piece);
}

variant_bag_t::children_t* variant_bag_t::children_t::make(variant_bag_t* owner, bag_values_t* values,
                                                           std::size_t capacity) {
    static_assert(sizeof(children_t) % alignof(variant_bag_t) == 0);
    void* const memory = ::operator new(sizeof(children_t) + capacity * sizeof(variant_bag_t));
    return new (memory) children_t(owner, values, capacity);
}

void variant_bag_t::children_t::destroy(children_t* children) noexcept {
    children->~children_t();
    ::operator delete(children);
}

variant_bag_t::children_t::more_t& variant_bag_t::children_t::more() {
    if (!m_more) m_more = std::make_unique<more_t>();
    return *m_more;
}

void* variant_bag_t::children_t::room_for_one() {
    if (m_used < m_first_capacity) return first_places() + m_used;
    auto& pieces = more().pieces;
    const std::size_t all = m_first_capacity + piece_size(pieces.size()) - first_piece;
    if (m_used == all) {
        pieces.push_back(nullptr);
        const std::size_t size = piece_size(pieces.size() - 1) * sizeof(variant_bag_t);
        pieces.back() = static_cast<variant_bag_t*>(::operator new(size));
    }
    return &at_further(m_used);
}

variant_bag_t& variant_bag_t::children_t::append(bag_name_t&& name) {
    auto* const child = new (room_for_one()) variant_bag_t();
    child->m_name = std::move(name);
    child->m_parent = this;
    ++m_used;
    index_last();
    return *child;
}

void variant_bag_t::children_t::pop_back() noexcept {
    std::destroy_at(&back());
    --m_used;
    drop_empty_end();
}

void variant_bag_t::children_t::drop_empty_end() noexcept {
    if (!m_more) return;
    for (; m_used > 0 && is_empty_place(back()); --m_used) {
        std::destroy_at(&back());
        --m_more->empty_places;
    }
}

void variant_bag_t::children_t::empty_place(variant_bag_t& place) noexcept {
    std::destroy_at(&place);
    new (&place) variant_bag_t();
    ++m_more->empty_places;
}

bool variant_bag_t::children_t::remove(const variant_bag_t* child) {
    for (std::size_t position = 0; position < m_used; ++position) {
        variant_bag_t& place = at(position);
        if (&place != child || is_empty_place(place)) continue;
        more();
        empty_place(place);
        drop_empty_end();
        rebuild_index();
        return true;
    }
    return false;
}

std::size_t variant_bag_t::children_t::remove(std::string_view name) {
    const std::size_t before = count();
    // `name` may be that of one of them.
    const bag_name_t removed(name);
    for (std::size_t position = 0; position < m_used; ++position) {
        variant_bag_t& place = at(position);
        if (is_empty_place(place) || place.get_name() != removed.view()) continue;
        more();
        empty_place(place);
    }
    if (count() == before) return 0;
    drop_empty_end();
    rebuild_index();
    return before - count();
}

std::size_t variant_bag_t::children_t::find(std::string_view name) noexcept {
    if (m_more && m_more->index)
        return name_index_t::to_position(
            m_more->index->find(name, [this](std::size_t position) { return at(position).get_name(); }));
    if (!bag_name_t::is_short(name))
        return scan([name](const bag_name_t& held) { return held.view() == name; });
    const bag_name_t key(name);
    return scan([&key](const bag_name_t& held) { return held.equals_short(key); });
}

template <class IsWanted>
std::size_t variant_bag_t::children_t::scan(const IsWanted& is_wanted) noexcept {
    for (std::size_t position = 0; position < m_used; ++position) {
        const variant_bag_t& place = at(position);
        if (is_wanted(place.m_name) && !is_empty_place(place)) return position;
    }
    return no_position;
}

std::size_t variant_bag_t::children_t::next_namesake(std::size_t position) noexcept {
    if (m_more && m_more->index)
        return name_index_t::to_position(
            m_more->index->next(static_cast<name_index_t::position_t>(position)));
    const std::string_view name = at(position).get_name();
    while ((position = occupied_from(position + 1)) < m_used)
        if (at(position).get_name() == name) return position;
    return no_position;
}

void variant_bag_t::children_t::index_last() {
    if (m_used <= name_index_t::largest_scanned) return;
    if (!more().index) return rebuild_index();
    m_more->index->append([this](std::size_t position) { return at(position).get_name(); });
}

void variant_bag_t::children_t::rebuild_index() {
    if (!m_more) {
        if (m_used <= name_index_t::largest_scanned) return;
        more();
    }
    m_more->index.reset();
    if (m_used <= name_index_t::largest_scanned) return;
    m_more->index = std::make_unique<name_index_t>();
    for (std::size_t position = 0; position < m_used; ++position) {
        if (is_empty_place(at(position)))
            m_more->index->skip();
        else
            m_more->index->append([this](std::size_t other) { return at(other).get_name(); });
    }
}

} // namespace bk2
