#include "basekit/variant_bag_xml.h"
#include "basekit/xml_kind.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace bk2 {

namespace {

constexpr std::size_t deepest_nesting = 512;
constexpr std::string_view white_space = " \t\r\n";

std::string_view trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(white_space);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(white_space) - first + 1);
}

struct attribute_t {
    std::string_view name;
    std::string_view value;
};

/// Builds a bag from the events of a document.
class bag_builder_t {
public:
    bag_builder_t(variant_bag_t& target, std::string_view path) : m_target(target), m_path(path) {}

    const std::string& failure() const { return m_failure; }
    bool has_found_path() const { return m_is_found; }

    void fail(std::string what) {
        if (m_failure.empty()) m_failure = std::move(what);
    }

    void start_element(std::string_view tag, const std::vector<attribute_t>& attributes) {
        if (++m_depth > deepest_nesting)
            return fail("elements are nested deeper than " + std::to_string(deepest_nesting));
        if (m_skipped_depth > 0)
            ++m_skipped_depth;
        else if (m_open.empty())
            start_path_element(tag, attributes);
        else
            start_entry(tag, attributes);
    }

    void end_element() {
        --m_depth;
        if (m_skipped_depth > 0)
            --m_skipped_depth;
        else if (m_open.empty())
            --m_matched;
        else
            end_entry();
    }

    void add_text(std::string_view text) {
        if (m_skipped_depth == 0 && !m_open.empty()) m_open.back().text += text;
    }

private:
    /// An element of which only the start has been seen. It is a value until something shows that it is a
    /// bag.
    struct element_t {
        std::string name;
        std::string text;
        std::optional<das_variant_type_t> tag;
        variant_bag_t* bag = nullptr;
    };

    std::string_view path_name(std::size_t level) const {
        std::string_view rest = m_path;
        for (; level > 0; --level)
            rest.remove_prefix(rest.find('.') + 1);
        return rest.substr(0, rest.find('.'));
    }

    std::size_t path_length() const {
        return 1 + static_cast<std::size_t>(std::count(m_path.begin(), m_path.end(), '.'));
    }

    // Elements beside the path are none of ours.
    void start_path_element(std::string_view tag, const std::vector<attribute_t>& attributes) {
        const std::string_view expected = path_name(m_matched);
        if (m_matched == 0 && !expected.empty() && tag != expected)
            return fail("the root element is <" + std::string(tag) + ">, not <" + std::string(expected) +
                        ">");
        if (m_is_found || (m_matched > 0 && tag != expected)) {
            m_skipped_depth = 1;
            return;
        }
        if (++m_matched < path_length()) return;
        m_is_found = true;
        m_open.emplace_back().bag = &m_target;
        read_attributes(tag, attributes);
    }

    void start_entry(std::string_view tag, const std::vector<attribute_t>& attributes) {
        become_bag(m_open.size() - 1);
        m_open.emplace_back();
        if (tag != "_") m_open.back().name = tag;
        read_attributes(tag, attributes);
    }

    void become_bag(std::size_t level) {
        element_t& element = m_open[level];
        if (!element.bag) element.bag = &m_open[level - 1].bag->add_variant_bag(element.name);
    }

    // `name` and `type` first, wherever they stand: an entry is added under its name.
    void read_attributes(std::string_view tag, const std::vector<attribute_t>& attributes) {
        std::optional<xml_kind_t> kind;
        for (const attribute_t& attribute : attributes) {
            if (is_entry_name(tag, attribute)) m_open.back().name = attribute.value;
            if (attribute.name == "type") kind = find_xml_kind(attribute.value);
        }
        if (kind && !kind->is_bag) m_open.back().tag = kind->tag;
        if (kind && kind->is_bag) become_bag(m_open.size() - 1);
        for (const attribute_t& attribute : attributes)
            if (!is_entry_name(tag, attribute) && !(kind && attribute.name == "type"))
                put_attribute(attribute);
    }

    static bool is_entry_name(std::string_view tag, const attribute_t& attribute) {
        return tag == "_" && attribute.name == "name";
    }

    void put_attribute(const attribute_t& attribute) {
        if (attribute.name == "xmlns" || attribute.name.starts_with("xmlns:")) return;
        become_bag(m_open.size() - 1);
        m_open.back().bag->put<variant_t>(attribute.name, attribute.value);
    }

    void end_entry() {
        const element_t& element = m_open.back();
        if (!element.bag)
            put_value(*m_open[m_open.size() - 2].bag, element.name, element.text);
        else if (const std::string_view text = trim(element.text); !text.empty())
            put_value(*element.bag, "", text);
        m_open.pop_back();
        if (m_open.empty()) --m_matched;
    }

    void put_value(variant_bag_t& bag, std::string_view name, std::string_view text) {
        const das_variant_type_t tag = m_open.back().tag.value_or(vt_text);
        std::optional<variant_t> value = parse_xml_value(tag, text);
        if (!value) return fail_value(tag, text);
        bag.put<variant_t>(name, std::move(*value));
    }

    void fail_value(das_variant_type_t tag, std::string_view text) {
        constexpr std::size_t longest_shown = 40;
        const std::string shown = portkit2::repair_utf8(text.substr(0, longest_shown));
        fail("\"" + shown + "\" is no value of the kind " + std::string(get_xml_kind_name(tag)));
    }

    variant_bag_t& m_target;
    std::string_view m_path;
    std::vector<element_t> m_open; // the elements from the path's last one inward
    std::string m_failure;
    std::size_t m_depth = 0;
    std::size_t m_matched = 0;       // how many elements of the path are open
    std::size_t m_skipped_depth = 0; // how many elements are open from the skipped one inward
    bool m_is_found = false;
};

/// Runs the parser over a text, in time linear in its length whatever names it holds. No document type
/// declaration is let through, so there are no entities but the predefined ones, nothing external, and
/// nothing that expands.
class xml_parser_t {
public:
    explicit xml_parser_t(bag_builder_t& builder) : m_builder(builder) {
        if (!m_parser) throw std::bad_alloc();
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), on_start_element, on_end_element);
        XML_SetCharacterDataHandler(m_parser.get(), on_text);
        XML_SetStartDoctypeDeclHandler(m_parser.get(), on_document_type);
    }

    /// False if the text is no well-formed XML or the builder failed; then `failure()` says why. At most 2
    /// GiB of text.
    bool parse(std::string_view text) {
        const XML_Status status =
            XML_Parse(m_parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        if (m_exception) std::rethrow_exception(m_exception);
        return status == XML_STATUS_OK;
    }

    std::string failure() const {
        const std::string& fault = m_builder.failure();
        return "line " + std::to_string(XML_GetCurrentLineNumber(m_parser.get())) + ": " +
               (fault.empty() ? XML_ErrorString(XML_GetErrorCode(m_parser.get())) : fault);
    }

private:
    struct deleter_t {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static void on_start_element(void* self, const char* tag, const char** attributes) {
        static_cast<xml_parser_t*>(self)->start_element(tag, attributes);
    }

    static void on_end_element(void* self, const char*) {
        guard(self, [](bag_builder_t& builder) { builder.end_element(); });
    }

    static void on_text(void* self, const char* text, int length) {
        const std::string_view piece(text, static_cast<std::size_t>(length));
        guard(self, [piece](bag_builder_t& builder) { builder.add_text(piece); });
    }

    static void on_document_type(void* self, const char*, const char*, const char*, int) {
        guard(self,
              [](bag_builder_t& builder) { builder.fail("a document type declaration is not accepted"); });
    }

    // The parser is C, so that nothing may be thrown through it, and it may still call after it was stopped.
    template <class Action>
    static void guard(void* self, Action action) {
        auto& parser = *static_cast<xml_parser_t*>(self);
        if (parser.is_stopped()) return;
        try {
            action(parser.m_builder);
        } catch (...) {
            parser.m_exception = std::current_exception();
        }
        if (parser.is_stopped()) XML_StopParser(parser.m_parser.get(), XML_FALSE);
    }

    bool is_stopped() const { return m_exception || !m_builder.failure().empty(); }

    void start_element(std::string_view tag, const char** attributes) {
        guard(this, [&](bag_builder_t& builder) {
            m_attributes.clear();
            for (; *attributes; attributes += 2)
                m_attributes.push_back({attributes[0], attributes[1]});
            builder.start_element(tag, m_attributes);
        });
    }

    bag_builder_t& m_builder;
    // The encoding is settled before, whatever the text declares. Without name spaces: the names of elements
    // come as they are written, prefixes and all.
    const std::unique_ptr<XML_ParserStruct, deleter_t> m_parser{XML_ParserCreate("UTF-8")};
    std::vector<attribute_t> m_attributes;
    std::exception_ptr m_exception; // what the builder threw
};

std::string at_line_of(std::string_view text, std::size_t position) {
    const std::string_view before = text.substr(0, position);
    return "line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n')) + ": ";
}

// What has to hold before the parser sees the text; "" if it does.
std::string find_fault_ahead_of_parsing(std::string_view text) {
    if (trim(text).empty()) return "line 1: the text is empty";
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return "the text is too long";
    const std::size_t well_formed = portkit2::valid_utf8_prefix(text);
    if (well_formed < text.size()) return at_line_of(text, well_formed) + "the text is not UTF-8";
    // The parser would take a text that begins with '<' and a zero for UTF-16, whatever it was told.
    const std::size_t zero = text.find('\0');
    if (zero != text.npos) return at_line_of(text, zero) + "the text has a zero byte";
    return {};
}

std::string read_document(variant_bag_t& bag, std::string_view text, std::string_view path) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    if (std::string fault = find_fault_ahead_of_parsing(text); !fault.empty()) return fault;
    bag_builder_t builder(bag, path);
    xml_parser_t parser(builder);
    if (!parser.parse(text)) return parser.failure();
    return builder.has_found_path() ? std::string() : "there is no element " + std::string(path);
}

} // namespace

error_code_t load_variant_bag_from_string2(variant_bag_t& bag, const ustring8& text, const char* path) {
    bag.clear();
    variant_bag_t loaded;
    const std::string fault = read_document(loaded, text, path ? path : "");
    if (!fault.empty())
        return error_code_t::raise(kinds::is_not_valid_data, "XML, " + fault, __func__, __LINE__);
    bag.swap(loaded);
    return error_code_t::success();
}

} // namespace bk2
