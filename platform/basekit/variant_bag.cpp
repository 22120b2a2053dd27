#include "basekit/variant_bag.h"

#include "basekit/free_memory.h"

#include <utility>
#include <vector>

namespace bk2 {

namespace {

/// A bag of so many entries takes some megabytes.
constexpr std::size_t large_tree = 100'000;

} // namespace

variant_bag_t::variant_bag_t(const variant_bag_t& other) {
    copy_tree(other, *this);
}

variant_bag_t::variant_bag_t(variant_bag_t&& other) noexcept {
    swap(other);
}

variant_bag_t& variant_bag_t::operator=(const variant_bag_t& other) {
    // By way of a copy: `other` may be a child of this bag.
    variant_bag_t copy(other);
    swap(copy);
    return *this;
}

variant_bag_t& variant_bag_t::operator=(variant_bag_t&& other) noexcept {
    variant_bag_t taken(std::move(other));
    swap(taken);
    return *this;
}

void variant_bag_t::swap(variant_bag_t& other) noexcept {
    std::swap(m_content, other.m_content);
    if (has_children_object()) children()->owner = this;
    if (other.has_children_object()) other.children()->owner = &other;
}

void variant_bag_t::clear() {
    children_t* const held_children = children();
    bag_values_t* const held_values = values();
    m_content = 0;
    bag_values_t::destroy(held_values);
    if (held_children) free_tree(held_children);
}

variant_bag_t* variant_bag_t::get_parent() noexcept {
    return m_parent ? m_parent->owner : nullptr;
}

const variant_bag_t* variant_bag_t::get_parent() const noexcept {
    return m_parent ? m_parent->owner : nullptr;
}

variant_t variant_bag_t::get_variant(std::string_view name, const variant_t& otherwise) const {
    const variant_t* const value = get<variant_t>(name);
    return value ? *value : otherwise;
}

const variant_t* variant_bag_t::get_own_value(std::string_view child_name) const {
    const variant_bag_t* const child = get<variant_bag_t>(child_name);
    return child ? child->get<variant_t>("") : nullptr;
}

void variant_bag_t::put_own_value(std::string_view child_name, variant_t value) {
    add_variant_bag(child_name).put<variant_t>("", std::move(value));
}

variant_bag_t& variant_bag_t::add_variant_bag(std::string_view name) {
    return append_child(bag_name_t(name), variant_bag_t());
}

variant_bag_t& variant_bag_t::add_variant_bag(std::string_view name, const variant_bag_t& bag) {
    return append_child(bag_name_t(name), variant_bag_t(bag));
}

variant_bag_t& variant_bag_t::add_variant_bag(std::string_view name, variant_bag_t&& bag) {
    return append_child(bag_name_t(name), variant_bag_t(std::move(bag)));
}

void variant_bag_t::set_values(bag_values_t* values) noexcept {
    if (has_children_object())
        children()->values = values;
    else
        m_content = reinterpret_cast<std::uintptr_t>(values);
}

variant_bag_t::children_t& variant_bag_t::make_children(std::size_t capacity) {
    if (!has_children_object()) {
        children_t* const made = children_t::make(this, values(), capacity);
        m_content = reinterpret_cast<std::uintptr_t>(made) | children_mark;
    }
    return *children();
}

variant_bag_t& variant_bag_t::append_child(bag_name_t&& name, variant_bag_t&& content) {
    constexpr std::size_t few = 2;
    variant_bag_t& child = make_children(few).append(std::move(name));
    child.swap(content);
    return child;
}

std::size_t variant_bag_t::value_position(std::string_view name) const noexcept {
    bag_values_t* const held = values();
    return held ? held->find(name) : no_position;
}

std::size_t variant_bag_t::child_position(std::string_view name) const noexcept {
    return has_children_object() ? children()->find(name) : no_position;
}

variant_t* variant_bag_t::find_value(std::string_view name) noexcept {
    const std::size_t position = value_position(name);
    return position == no_position ? nullptr : &(*values())[position].value;
}

variant_bag_t* variant_bag_t::find_child(std::string_view name) noexcept {
    const std::size_t position = child_position(name);
    return position == no_position ? nullptr : &children()->at(position);
}

variant_t& variant_bag_t::put_value(std::string_view name, variant_t&& value) {
    if (variant_t* const present = find_value(name)) return *present = std::move(value);
    bag_values_t* held = values();
    // Taken first: `value` may be one of the entries that move to larger room.
    bag_values_t::entry_t& stored = bag_values_t::append(held, {bag_name_t(name), std::move(value)});
    set_values(held);
    return stored.value;
}

void variant_bag_t::append_value(static_name_t name, variant_t&& value) {
    bag_values_t* held = values();
    bag_values_t::append(held, {bag_name_t(name), std::move(value)});
    set_values(held);
}

void variant_bag_t::reserve_values(std::size_t count) {
    bag_values_t* held = values();
    bag_values_t::reserve(held, count);
    set_values(held);
}

void variant_bag_t::reserve_children(std::size_t count) {
    if (count > 0) make_children(count);
}

variant_bag_t& variant_bag_t::put_child(std::string_view name, variant_bag_t&& bag) {
    if (variant_bag_t* const present = find_child(name)) return *present = std::move(bag);
    return add_variant_bag(name, std::move(bag));
}

std::size_t variant_bag_t::count_values(std::string_view name) const noexcept {
    return value_position(name) != no_position;
}

std::size_t variant_bag_t::count_children(std::string_view name) const noexcept {
    std::size_t count = 0;
    for (auto child = begin_by_name<variant_bag_t>(name); !child.at_end(); child.next())
        ++count;
    return count;
}

bool variant_bag_t::remove_value(const variant_t* value) {
    bag_values_t* const held = values();
    const std::size_t position = held ? held->find(value) : no_position;
    if (position == no_position) return false;
    held->erase(position);
    return true;
}

bool variant_bag_t::remove_child(const variant_bag_t* child) {
    return has_children_object() && children()->remove(child);
}

std::size_t variant_bag_t::remove_values(std::string_view name) {
    const std::size_t position = value_position(name);
    if (position == no_position) return 0;
    values()->erase(position);
    return 1;
}

std::size_t variant_bag_t::remove_children(std::string_view name) {
    return has_children_object() ? children()->remove(name) : 0;
}

void variant_bag_t::copy_content(const variant_bag_t& source, variant_bag_t& copy) {
    copy.set_values(bag_values_t::copy(source.values()));
    copy.reserve_children(source.size_of_children());
}

void variant_bag_t::copy_tree(const variant_bag_t& source, variant_bag_t& copy) {
    struct step_t {
        iterator<const variant_bag_t> child;
        variant_bag_t* copy;
    };
    copy_content(source, copy);
    std::vector<step_t> open{{source.begin<variant_bag_t>(), &copy}};
    while (!open.empty()) {
        step_t& step = open.back();
        if (step.child.at_end()) {
            open.pop_back();
            continue;
        }
        const variant_bag_t& original = step.child.get_value();
        step.child.next();
        variant_bag_t& stored = step.copy->append_child(bag_name_t(original.m_name), variant_bag_t());
        if (original.is_empty()) continue;
        copy_content(original, stored);
        if (original.size_of_children() > 0) open.push_back({original.begin<variant_bag_t>(), &stored});
    }
}

// Deepest bags first, finding the way back along the parents: neither recursion nor memory for a stack.
void variant_bag_t::free_tree(children_t* root) noexcept {
    std::size_t freed = 0;
    for (children_t* current = root;;) {
        if (current->end_position() == 0) {
            if (current == root) break;
            current = current->owner->m_parent;
        } else if (const variant_bag_t& last = current->back(); last.size_of_children() > 0) {
            current = last.children();
            continue;
        }
        freed += 1 + current->back().size_of_values();
        current->pop_back();
    }
    children_t::destroy(root);
    if (freed > large_tree) release_free_memory();
}

} // namespace bk2
