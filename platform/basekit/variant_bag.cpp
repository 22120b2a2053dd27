#include "basekit/variant_bag.h"

#include "basekit/name_index.h"

#include <algorithm>

namespace bk2 {

namespace {

// Up to here a scan is as fast as a hash lookup, and most bags never get further.
constexpr std::size_t largest_scanned = 16;

template <class Entries, class HasName>
std::size_t scan(const Entries& entries, const HasName& has_name) {
    const auto found = std::find_if(entries.begin(), entries.end(), has_name);
    return found == entries.end() ? static_cast<std::size_t>(-1)
                                  : static_cast<std::size_t>(found - entries.begin());
}

template <class Entries, class NameOf>
std::size_t scan_names(const Entries& entries, std::string_view name, const NameOf& name_of) {
    if (!bag_name_t::is_short(name))
        return scan(entries, [&](const auto& entry) { return name_of(entry).view() == name; });
    const bag_name_t key(name);
    return scan(entries, [&](const auto& entry) { return name_of(entry).equals_short(key); });
}

std::size_t to_position(name_index_t::position_t position) {
    return position == name_index_t::none ? static_cast<std::size_t>(-1) : position;
}

template <class Names>
void index_last(std::unique_ptr<name_index_t>& index, std::size_t size, const Names& names) {
    if (index) return index->append(names);
    if (size <= largest_scanned) return;
    index = std::make_unique<name_index_t>();
    for (std::size_t i = 0; i < size; ++i)
        index->append(names);
}

template <class Names>
void rebuild(std::unique_ptr<name_index_t>& index, std::size_t size, const Names& names) {
    index.reset();
    index_last(index, size, names);
}

auto names_of_values(const auto& values) {
    return [&values](std::size_t position) { return values[position].name.view(); };
}

auto names_of_children(const auto& children) {
    return [&children](std::size_t position) { return children[position]->get_name(); };
}

} // namespace

variant_bag_t::body_t::body_t(variant_bag_t* bag) noexcept : owner(bag) {}

variant_bag_t::body_t::~body_t() = default;

std::size_t variant_bag_t::body_t::find_value(std::string_view name) const noexcept {
    if (value_index) return to_position(value_index->find(name, names_of_values(values)));
    return scan_names(
        values, name, [](const value_entry_t& entry) -> const auto& { return entry.name; });
}

std::size_t variant_bag_t::body_t::find_child(std::string_view name) const noexcept {
    if (child_index) return to_position(child_index->find(name, names_of_children(children)));
    return scan_names(
        children, name, [](const auto& child) -> const auto& { return child->m_name; });
}

std::size_t variant_bag_t::body_t::next_namesake(std::size_t position) const noexcept {
    if (child_index) return to_position(child_index->next(static_cast<name_index_t::position_t>(position)));
    const std::string_view name = children[position]->get_name();
    while (++position < children.size())
        if (children[position]->get_name() == name) return position;
    return no_position;
}

void variant_bag_t::body_t::index_last_value() {
    index_last(value_index, values.size(), names_of_values(values));
}

void variant_bag_t::body_t::index_last_child() {
    index_last(child_index, children.size(), names_of_children(children));
}

void variant_bag_t::body_t::rebuild_value_index() {
    rebuild(value_index, values.size(), names_of_values(values));
}

void variant_bag_t::body_t::rebuild_child_index() {
    rebuild(child_index, children.size(), names_of_children(children));
}

variant_bag_t::variant_bag_t() noexcept = default;

variant_bag_t::variant_bag_t(const variant_bag_t& other) {
    if (other.is_empty()) return;
    m_body = copy_tree(*other.m_body);
    m_body->owner = this;
}

variant_bag_t::variant_bag_t(variant_bag_t&& other) noexcept {
    swap(other);
}

variant_bag_t::~variant_bag_t() {
    clear();
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
    m_body.swap(other.m_body);
    if (m_body) m_body->owner = this;
    if (other.m_body) other.m_body->owner = &other;
}

void variant_bag_t::clear() {
    if (m_body) free_tree(std::move(m_body));
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
    return append_child(name, std::make_unique<variant_bag_t>());
}

variant_bag_t& variant_bag_t::add_variant_bag(std::string_view name, const variant_bag_t& bag) {
    return append_child(name, std::make_unique<variant_bag_t>(bag));
}

variant_bag_t& variant_bag_t::add_variant_bag(std::string_view name, variant_bag_t&& bag) {
    return append_child(name, std::make_unique<variant_bag_t>(std::move(bag)));
}

variant_bag_t::body_t& variant_bag_t::body() {
    if (!m_body) m_body = std::make_unique<body_t>(this);
    return *m_body;
}

variant_bag_t& variant_bag_t::append_child(std::string_view name, std::unique_ptr<variant_bag_t> child) {
    body_t& content = body();
    child->m_name = bag_name_t(name);
    child->m_parent = &content;
    content.children.push_back(std::move(child));
    content.index_last_child();
    return *content.children.back();
}

std::size_t variant_bag_t::value_position(std::string_view name) const noexcept {
    return m_body ? m_body->find_value(name) : no_position;
}

std::size_t variant_bag_t::child_position(std::string_view name) const noexcept {
    return m_body ? m_body->find_child(name) : no_position;
}

variant_t* variant_bag_t::find_value(std::string_view name) noexcept {
    const std::size_t position = value_position(name);
    return position == no_position ? nullptr : &m_body->values[position].value;
}

variant_bag_t* variant_bag_t::find_child(std::string_view name) noexcept {
    const std::size_t position = child_position(name);
    return position == no_position ? nullptr : m_body->children[position].get();
}

variant_t& variant_bag_t::put_value(std::string_view name, variant_t&& value) {
    if (variant_t* const present = find_value(name)) return *present = std::move(value);
    body_t& content = body();
    // Taken first: `value` may be an entry of the very vector that grows.
    body_t::value_entry_t entry{bag_name_t(name), std::move(value)};
    // Most bags hold one value; those that hold two go on to several.
    if (content.values.size() == 1) content.values.reserve(4);
    content.values.push_back(std::move(entry));
    content.index_last_value();
    return content.values.back().value;
}

void variant_bag_t::append_value(static_name_t name, variant_t&& value) {
    body_t& content = body();
    content.values.push_back({bag_name_t(name), std::move(value)});
    if (content.values.size() > largest_scanned) content.index_last_value();
}

void variant_bag_t::reserve_values(std::size_t count) {
    body().values.reserve(count);
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
    if (!m_body) return false;
    auto& values = m_body->values;
    const std::size_t position = scan(values, [value](const auto& entry) { return &entry.value == value; });
    if (position == no_position) return false;
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(position));
    m_body->rebuild_value_index();
    return true;
}

bool variant_bag_t::remove_child(const variant_bag_t* child) {
    if (!m_body || !child) return false;
    auto& children = m_body->children;
    const std::size_t position = scan(children, [child](const auto& entry) { return entry.get() == child; });
    if (position == no_position) return false;
    children.erase(children.begin() + static_cast<std::ptrdiff_t>(position));
    m_body->rebuild_child_index();
    return true;
}

std::size_t variant_bag_t::remove_values(std::string_view name) {
    const std::size_t position = value_position(name);
    return position != no_position && remove_value(&m_body->values[position].value);
}

std::size_t variant_bag_t::remove_children(std::string_view name) {
    if (!m_body) return 0;
    const auto has_name = [name](const auto& child) { return child->get_name() == name; };
    const std::size_t removed = std::erase_if(m_body->children, has_name);
    if (removed) m_body->rebuild_child_index();
    return removed;
}

std::unique_ptr<variant_bag_t::body_t> variant_bag_t::copy_tree(const body_t& source) {
    struct step_t {
        const body_t* source;
        body_t* copy;
        std::size_t next_child;
    };
    const auto copy_values = [](const body_t& from, variant_bag_t* owner) {
        auto copy = std::make_unique<body_t>(owner);
        copy->values = from.values;
        copy->children.reserve(from.children.size());
        copy->rebuild_value_index();
        return copy;
    };
    auto root = copy_values(source, nullptr);
    std::vector<step_t> open{{&source, root.get(), 0}};
    while (!open.empty()) {
        step_t& step = open.back();
        if (step.next_child == step.source->children.size()) {
            step.copy->rebuild_child_index();
            open.pop_back();
            continue;
        }
        const variant_bag_t& original = *step.source->children[step.next_child++];
        auto child = std::make_unique<variant_bag_t>();
        child->m_name = original.m_name;
        child->m_parent = step.copy;
        variant_bag_t* const stored = child.get();
        step.copy->children.push_back(std::move(child));
        if (original.is_empty()) continue;
        stored->m_body = copy_values(*original.m_body, stored);
        open.push_back({original.m_body.get(), stored->m_body.get(), 0});
    }
    return root;
}

// Deepest bags first, finding the way back along the parents: neither recursion nor memory for a stack.
void variant_bag_t::free_tree(std::unique_ptr<body_t> root) noexcept {
    body_t* current = root.get();
    for (;;) {
        if (current->children.empty()) {
            if (current == root.get()) return;
            current = current->owner->m_parent;
            current->children.pop_back();
            continue;
        }
        body_t* const last = current->children.back()->m_body.get();
        if (last && !last->children.empty())
            current = last;
        else
            current->children.pop_back();
    }
}

} // namespace bk2
