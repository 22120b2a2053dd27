#pragma once

// Needed by the text forms of variants and bags, for binary values.

#include <optional>
#include <string>
#include <string_view>

namespace bk2 {

/// Base64 with padding (RFC 4648, section 4).
std::string encode_base64(std::string_view bytes);

/// The bytes of a base64 text, nothing if it is not exactly what `encode_base64` could have written.
std::optional<std::string> decode_base64(std::string_view text);

} // namespace bk2
