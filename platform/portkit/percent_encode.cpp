#include "portkit/percent_encode.h"

namespace portkit2 {

namespace {

bool is_unreserved(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-._~").find(c) != std::string_view::npos;
}

} // namespace

ustring8 percent_encode(std::string_view text) {
    constexpr char digits[] = "0123456789ABCDEF";
    ustring8 result;
    for (const char c : text) {
        if (is_unreserved(c)) {
            result.push_back(c);
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return result;
}

} // namespace portkit2
