#pragma once

// Needed by the writer and the reader of the XML form.

#include "basekit/variant.h"

#include <optional>
#include <string_view>

namespace bk2 {

/// What the attribute `type` of an element can name: a bag, or the kind of a value.
struct xml_kind_t {
    bool is_bag;
    das_variant_type_t tag;
};

/// The name of a value's kind, "" for narrow text, which carries none. What the form cannot carry counts as
/// null.
std::string_view get_xml_kind_name(das_variant_type_t tag);

/// The kind of that name, nothing if there is none.
std::optional<xml_kind_t> find_xml_kind(std::string_view name);

/// The value of kind `tag` that `text` writes; nothing if the text does not fit the kind exactly.
std::optional<variant_t> parse_xml_value(das_variant_type_t tag, std::string_view text);

} // namespace bk2
