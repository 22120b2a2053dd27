#include "basekit/bag_values.h"

#include "basekit/name_index.h"

#include <algorithm>
#include <new>
#include <utility>

namespace bk2 {

namespace {

static_assert(alignof(bag_values_t::entry_t) <= sizeof(bag_values_t));
static_assert(alignof(bag_values_t::entry_t) >= alignof(std::unique_ptr<name_index_t>));

auto names_of(bag_values_t& values) {
    return [&values](std::size_t position) { return values[position].name.view(); };
}

} // namespace

bool bag_values_t::has_index_room() const noexcept {
    return m_capacity > name_index_t::largest_scanned;
}

bag_values_t* bag_values_t::make(std::size_t capacity) {
    const bool is_indexed = capacity > name_index_t::largest_scanned;
    const std::size_t index_size = is_indexed ? sizeof(std::unique_ptr<name_index_t>) : 0;
    void* const memory = ::operator new(sizeof(bag_values_t) + capacity * sizeof(entry_t) + index_size);
    auto* const values = new (memory) bag_values_t(static_cast<std::uint32_t>(capacity));
    if (is_indexed) new (&values->index()) std::unique_ptr<name_index_t>();
    return values;
}

void bag_values_t::destroy(bag_values_t* values) noexcept {
    if (!values) return;
    std::destroy_n(values->entries(), values->m_size);
    if (values->has_index_room()) std::destroy_at(&values->index());
    values->~bag_values_t();
    ::operator delete(values);
}

bag_values_t* bag_values_t::copy(const bag_values_t* values) {
    if (!values) return nullptr;
    struct destroy_t {
        void operator()(bag_values_t* made) const noexcept { destroy(made); }
    };
    auto* const source = const_cast<bag_values_t*>(values);
    std::unique_ptr<bag_values_t, destroy_t> made(make(source->m_size));
    for (; made->m_size < source->m_size; ++made->m_size)
        new (made->entries() + made->m_size) entry_t((*source)[made->m_size]);
    if (made->has_index_room()) name_index_t::rebuild(made->index(), made->m_size, names_of(*made));
    return made.release();
}

void bag_values_t::move_to(bag_values_t*& values, std::size_t capacity) {
    bag_values_t* const larger = make(capacity);
    if (values) {
        std::uninitialized_move_n(values->entries(), values->m_size, larger->entries());
        larger->m_size = values->m_size;
        if (values->has_index_room()) larger->index() = std::move(values->index());
        destroy(values);
    }
    values = larger;
}

void bag_values_t::reserve(bag_values_t*& values, std::size_t capacity) {
    if (!values || capacity > values->m_capacity) move_to(values, capacity);
}

bag_values_t::entry_t& bag_values_t::append(bag_values_t*& values, entry_t&& entry) {
    // Most bags hold one value; those that hold two go on to several.
    constexpr std::size_t several = 4;
    if (!values)
        values = make(1);
    else if (values->m_size == values->m_capacity)
        move_to(values, std::max<std::size_t>(several, 2 * values->m_size));
    entry_t* const stored = new (values->entries() + values->m_size) entry_t(std::move(entry));
    ++values->m_size;
    if (values->m_size > name_index_t::largest_scanned)
        name_index_t::index_last(values->index(), values->m_size, names_of(*values));
    return *stored;
}

std::size_t bag_values_t::find(std::string_view name) noexcept {
    if (has_index_room() && index()) return name_index_t::to_position(index()->find(name, names_of(*this)));
    entry_t* const end = entries() + m_size;
    entry_t* found = end;
    if (bag_name_t::is_short(name)) {
        const bag_name_t key(name);
        found =
            std::find_if(entries(), end, [&](const entry_t& entry) { return entry.name.equals_short(key); });
    } else {
        found = std::find_if(entries(), end, [&](const entry_t& entry) { return entry.name.view() == name; });
    }
    return found == end ? no_position : static_cast<std::size_t>(found - entries());
}

std::size_t bag_values_t::find(const variant_t* value) noexcept {
    for (std::size_t position = 0; position < m_size; ++position)
        if (&(*this)[position].value == value) return position;
    return no_position;
}

void bag_values_t::erase(std::size_t position) {
    std::move(entries() + position + 1, entries() + m_size, entries() + position);
    std::destroy_at(entries() + --m_size);
    if (has_index_room()) name_index_t::rebuild(index(), m_size, names_of(*this));
}

} // namespace bk2
