#include "basekit/variant.h"

#include "basekit/assertion.h"
#include "basekit/base64.h"

#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace bk2 {

/// The header of a shared block; `size` bytes of content and a terminating zero of any width follow.
struct alignas(16) variant_t::block_t {
    std::size_t size;
    std::atomic<u32_t> references{1};

    static block_t* make(const void* data, std::size_t size);
    static void free(block_t* block) noexcept;

    char* content() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* content() const noexcept { return reinterpret_cast<const char*>(this + 1); }
};

namespace {

// The allocator hooks: every block comes from here and goes back here.
void* allocate_block(std::size_t size) {
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void release_block(void* memory) noexcept {
    std::free(memory);
}

} // namespace

variant_t::block_t* variant_t::block_t::make(const void* data, std::size_t size) {
    void* memory = allocate_block(sizeof(block_t) + size + sizeof(wchar_t));
    auto* block = new (memory) block_t{size};
    if (size) std::memcpy(block->content(), data, size);
    std::memset(block->content() + size, 0, sizeof(wchar_t));
    return block;
}

void variant_t::block_t::free(block_t* block) noexcept {
    block->~block_t();
    release_block(block);
}

variant_t::variant_t(std::string_view text) : m_tag(vt_text) {
    m_payload.block = block_t::make(text.data(), text.size());
}

variant_t::variant_t(std::wstring_view text) : m_tag(vt_wide_text) {
    m_payload.block = block_t::make(text.data(), text.size() * sizeof(wchar_t));
}

variant_t::variant_t(const sptr_t<object_interface_t>& object) : m_tag(vt_object) {
    object_interface_t* const pointer = object.get();
    m_payload.block = block_t::make(&pointer, sizeof pointer);
    if (pointer) pointer->add_ref();
}

variant_t variant_t::borrow(const char* text) noexcept {
    variant_t value;
    value.m_payload.borrowed = text ? text : "";
    value.m_tag = vt_text_ref;
    return value;
}

variant_t variant_t::borrow(const wchar_t* text) noexcept {
    variant_t value;
    value.m_payload.borrowed_wide = text ? text : L"";
    value.m_tag = vt_wide_text_ref;
    return value;
}

variant_t variant_t::binary(const void* data, std::size_t size) {
    variant_t value;
    value.m_payload.block = block_t::make(data, size);
    value.m_tag = vt_binary;
    return value;
}

void variant_t::set_data(das_variant_type_t tag, const void* data, std::size_t size) {
    const bool takes_bytes = tag == vt_text || tag == vt_wide_text || tag == vt_binary;
    PANEDECK_EXPECT(takes_bytes, "tag == vt_text || tag == vt_wide_text || tag == vt_binary");
    if (!takes_bytes) return;
    // Made first: the bytes may be this variant's own.
    block_t* const block = block_t::make(data, size);
    free_data();
    m_payload.block = block;
    m_tag = tag;
}

void variant_t::share_block() const noexcept {
    m_payload.block->references.fetch_add(1, std::memory_order_relaxed);
}

void variant_t::drop_block() noexcept {
    if (m_payload.block->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    if (m_tag == vt_object) {
        object_interface_t* object = nullptr;
        std::memcpy(&object, m_payload.block->content(), sizeof object);
        if (object) object->release();
    }
    block_t::free(m_payload.block);
}

void variant_t::report_refused_read() const {
    PANEDECK_EXPECT(false, "can_get<T>()");
}

const char* variant_t::narrow_characters() const noexcept {
    if (m_tag == vt_text) return m_payload.block->content();
    return m_tag == vt_text_ref ? m_payload.borrowed : "";
}

double variant_t::real_value() const noexcept {
    if (m_tag == vt_double) return m_payload.real;
    if (m_tag == vt_float) return static_cast<double>(m_payload.real_single);
    if (!is_integer()) return 0;
    const bool is_unsigned = m_tag & 1u;
    return is_unsigned ? static_cast<double>(m_payload.bits)
                       : static_cast<double>(static_cast<s64_t>(m_payload.bits));
}

std::string_view variant_t::text() const noexcept {
    if (m_tag == vt_text) return {m_payload.block->content(), m_payload.block->size};
    return m_tag == vt_text_ref ? std::string_view(m_payload.borrowed) : std::string_view();
}

std::wstring_view variant_t::wide_text() const noexcept {
    if (m_tag == vt_wide_text_ref) return m_payload.borrowed_wide;
    if (m_tag != vt_wide_text) return {};
    return {reinterpret_cast<const wchar_t*>(m_payload.block->content()),
            m_payload.block->size / sizeof(wchar_t)};
}

std::string_view variant_t::bytes() const noexcept {
    if (m_tag != vt_binary) return {};
    return {m_payload.block->content(), m_payload.block->size};
}

sptr_t<object_interface_t> variant_t::object() const noexcept {
    if (m_tag != vt_object) return nullptr;
    object_interface_t* object = nullptr;
    std::memcpy(&object, m_payload.block->content(), sizeof object);
    return object;
}

namespace {

bool is_text(const variant_t& value) {
    return value.is_narrow_text() || value.is_wide_text();
}

// Bytes of UTF-8 are in the order of their code points.
int compare_as_utf8(const variant_t& a, const variant_t& b) {
    const auto narrow = [](const variant_t& value) {
        return value.is_wide_text() ? portkit2::to_narrow(value.wide_text()) : ustring8(value.text());
    };
    return narrow(a).compare(narrow(b));
}

// 80 bits hold every 64-bit integer and every double exactly.
static_assert(std::numeric_limits<long double>::digits >= 64);

long double exact_number(const variant_t& value) {
    if (!value.is_integer()) return value.get<double>();
    const bool is_unsigned = value.tag() & 1u;
    return is_unsigned ? static_cast<long double>(value.get<u64_t>())
                       : static_cast<long double>(value.get<s64_t>());
}

int rank(const variant_t& value) {
    if (value.is_null()) return 0;
    if (value.is_numeric()) return 1;
    return is_text(value) ? 2 : 3;
}

template <class Number>
std::string shortest_text(Number number) {
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, number);
    return {text, end.ptr};
}

std::string integer_text(const variant_t& value) {
    const bool is_unsigned = value.tag() & 1u;
    return is_unsigned ? shortest_text(value.get<u64_t>()) : shortest_text(value.get<s64_t>());
}

} // namespace

int variant_t::string_compare(const variant_t& other) const {
    if (!is_wide_text() && !other.is_wide_text()) return text().compare(other.text());
    return compare_as_utf8(*this, other);
}

bool variant_t::operator==(const variant_t& other) const {
    if (rank(*this) != rank(other)) return false;
    if (is_numeric()) return exact_number(*this) == exact_number(other);
    if (is_text(*this)) return string_compare(other) == 0;
    return m_tag == other.m_tag && bytes() == other.bytes() && object() == other.object();
}

bool variant_t::operator<(const variant_t& other) const {
    if (rank(*this) != rank(other)) return rank(*this) < rank(other);
    if (is_numeric()) return exact_number(*this) < exact_number(other);
    if (is_text(*this)) return string_compare(other) < 0;
    if (m_tag != other.m_tag) return m_tag < other.m_tag;
    if (m_tag == vt_object) return std::less<>()(object().get(), other.object().get());
    return bytes() < other.bytes();
}

std::string get_value_string(const variant_t& value) {
    switch (value.tag()) {
    case vt_bool:
        return value.get<bool>() ? "true" : "false";
    case vt_float:
        return shortest_text(static_cast<float>(value.get<double>()));
    case vt_double:
        return shortest_text(value.get<double>());
    case vt_wide_text:
    case vt_wide_text_ref:
        return portkit2::to_narrow(value.wide_text());
    case vt_binary:
        return encode_base64(value.bytes());
    default:
        return value.is_integer() ? integer_text(value) : std::string(value.text());
    }
}

} // namespace bk2
