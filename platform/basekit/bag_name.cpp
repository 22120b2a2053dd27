#include "basekit/bag_name.h"

#include <string>

namespace bk2 {

namespace {

const std::string* outside_text(const char* bytes) {
    const std::string* text = nullptr;
    std::memcpy(&text, bytes, sizeof text);
    return text;
}

} // namespace

void bag_name_t::hold_outside(std::string_view text) {
    const auto* const copy = new std::string(text);
    std::memcpy(m_bytes, &copy, sizeof copy);
    m_bytes[max_inline] = outside_mark;
}

std::string_view bag_name_t::outside_view() const noexcept {
    return *outside_text(m_bytes);
}

void bag_name_t::free_outside() noexcept {
    delete outside_text(m_bytes);
}

} // namespace bk2
