#include "basekit/assertion.h"
#include "basekit/variant_bag_xml.h"
#include "basekit/xml_kind.h"
#include "logkit/component_logger.h"
#include "portkit/utf8_step.h"

#include <array>
#include <type_traits>
#include <vector>

namespace bk2 {

namespace {

// Bytes that stand for themselves in text and in attributes alike.
constexpr std::array<bool, 256> plain_bytes = [] {
    std::array<bool, 256> plain{};
    for (int byte = 0x20; byte < 0x80; ++byte)
        plain[static_cast<std::size_t>(byte)] = true;
    for (const unsigned char special : {'<', '>', '&', '"'})
        plain[special] = false;
    return plain;
}();

bool is_plain_byte(char byte) {
    return plain_bytes[static_cast<unsigned char>(byte)];
}

enum class place_t { text, attribute };

// How an ASCII byte that is not plain is written. A parser would turn a bare CR into LF, and tabs and line
// feeds inside attributes into blanks.
std::string_view escape(char byte, place_t place) {
    switch (byte) {
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '&':
        return "&amp;";
    case '"':
        return place == place_t::attribute ? "&quot;" : "\"";
    case '\r':
        return "&#13;";
    case '\t':
        return place == place_t::attribute ? "&#9;" : "\t";
    case '\n':
        return place == place_t::attribute ? "&#10;" : "\n";
    default:
        return "\xEF\xBF\xBD";
    }
}

// U+FFFE and U+FFFF are well-formed UTF-8, but no characters of XML.
bool is_noncharacter(std::string_view bytes) {
    return bytes == "\xEF\xBF\xBE" || bytes == "\xEF\xBF\xBF";
}

/// Takes a text's place where only its length is wanted.
class text_length_t {
public:
    void operator+=(std::string_view text) { m_size += text.size(); }
    void operator+=(char) { ++m_size; }
    void append(std::string_view, std::size_t, std::size_t size) { m_size += size; }
    std::size_t size() const { return m_size; }

private:
    std::size_t m_size = 0;
};

// In what follows `Out` is a text, or what counts its length.

// Appends the first character of `text`, which is none of the plain ones, and gives its length.
template <class Out>
std::size_t append_special(Out& out, std::string_view text, place_t place) {
    if (static_cast<unsigned char>(text[0]) < 0x80) {
        out += escape(text[0], place);
        return 1;
    }
    const portkit2::utf8_step_t step = portkit2::utf8_step(text.data(), text.size());
    const std::string_view bytes = text.substr(0, step.length);
    out += step.is_valid && !is_noncharacter(bytes) ? bytes : "\xEF\xBF\xBD";
    return step.length;
}

template <class Out>
void append_escaped(Out& out, std::string_view text, place_t place) {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t start = position;
        while (position < text.size() && is_plain_byte(text[position]))
            ++position;
        out.append(text, start, position - start);
        if (position < text.size()) position += append_special(out, text.substr(position), place);
    }
}

bool is_name_start(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool is_xml_name(std::string_view name) {
    if (name.empty() || !is_name_start(name[0])) return false;
    for (const char c : name.substr(1))
        if (!is_name_start(c) && !(c >= '0' && c <= '9') && c != '.' && c != '-') return false;
    return true;
}

std::vector<std::string_view> split_path(std::string_view path) {
    std::vector<std::string_view> names;
    for (std::size_t dot; (dot = path.find('.')) != path.npos; path.remove_prefix(dot + 1))
        names.push_back(path.substr(0, dot));
    names.push_back(path);
    return names;
}

std::size_t get_size(const variant_bag_t& bag, const std::vector<std::string_view>& path);

template <class Out>
class xml_writer_t {
public:
    xml_writer_t(Out& out, std::vector<std::string_view> path) : m_out(out), m_path(std::move(path)) {}

    void write_document(const variant_bag_t& bag) {
        m_document = &bag;
        // The root always reads as a bag; an inner element without content needs to say that it is one.
        const bool is_marked = bag.is_empty() && m_path.size() > 1;
        for (std::size_t i = 0; i + is_marked < m_path.size(); ++i)
            append({"<", m_path[i], ">"});
        if (is_marked) append({"<", m_path.back(), " type=\"bag\"/>"});
        write_content(bag);
        for (std::size_t i = m_path.size() - is_marked; i-- > 0;)
            append({"</", m_path[i], ">"});
    }

private:
    // A text that has become long is measured: growing further would copy it, and hold both copies.
    void make_room() {
        if constexpr (std::is_same_v<Out, ustring8>) {
            constexpr std::size_t long_text = 1 << 20, terminator = 1;
            if (m_has_room || m_out.size() < long_text) return;
            m_has_room = true;
            m_out.reserve(get_size(*m_document, m_path) + terminator);
        }
    }

    void append(std::initializer_list<std::string_view> pieces) {
        for (const std::string_view piece : pieces)
            m_out += piece;
    }

    // An entry named like the root would end the document early for whoever looks for the root's end tag.
    bool is_tag(std::string_view name) const {
        return is_xml_name(name) && name != "_" && name != m_path.front();
    }

    void begin_start_tag(std::string_view name) {
        if (is_tag(name)) return append({"<", name});
        m_out += "<_";
        if (name.empty()) return;
        m_out += " name=\"";
        append_escaped(m_out, name, place_t::attribute);
        m_out += '"';
    }

    void write_end_tag(std::string_view name) { append({"</", is_tag(name) ? name : "_", ">"}); }

    void write_value(std::string_view name, const variant_t& value) {
        begin_start_tag(name);
        const std::string_view kind = get_xml_kind_name(value.tag());
        if (!kind.empty()) append({" type=\"", kind, "\""});
        if (kind == "null") {
            if (std::is_same_v<Out, ustring8> && !value.is_null()) report_unsupported(name, value);
            return append({"/>"});
        }
        m_out += '>';
        if (value.is_narrow_text())
            append_escaped(m_out, value.text(), place_t::text);
        else
            append_escaped(m_out, get_value_string(value), place_t::text);
        write_end_tag(name);
    }

    static void report_unsupported(std::string_view name, const variant_t& value) {
        logkit1::log(logkit1::level_t::error, "XML serialization for variant type " +
                                                  std::to_string(value.tag()) + " is not supported, name \"" +
                                                  std::string(name) + "\".");
    }

    void write_values(const variant_bag_t& bag) {
        for (auto value = bag.begin<variant_t>(); !value.at_end(); value.next())
            write_value(value.get_name(), value.get_value());
    }

    // An iterator stays on the child that is being written, until the child's end.
    void write_content(const variant_bag_t& root) {
        write_values(root);
        std::vector<variant_bag_t::iterator<const variant_bag_t>> open{root.begin<variant_bag_t>()};
        while (true) {
            auto& child = open.back();
            make_room();
            if (child.at_end()) {
                open.pop_back();
                if (open.empty()) return;
                write_end_tag(open.back().get_name());
                open.back().next();
            } else if (child.get_value().is_empty()) {
                begin_start_tag(child.get_name());
                m_out += " type=\"bag\"/>";
                child.next();
            } else {
                begin_start_tag(child.get_name());
                m_out += '>';
                write_values(child.get_value());
                open.push_back(child.get_value().begin<variant_bag_t>());
            }
        }
    }

    Out& m_out;
    std::vector<std::string_view> m_path;
    const variant_bag_t* m_document = nullptr;
    bool m_has_room = false;
};

std::size_t get_size(const variant_bag_t& bag, const std::vector<std::string_view>& path) {
    text_length_t length;
    xml_writer_t(length, path).write_document(bag);
    return length.size();
}

} // namespace

error_code_t save_variant_bag_to_string2(const variant_bag_t& bag, ustring8& out, const char* path) {
    PANEDECK_REQUIRE(path && *path, "path && *path", kinds::is_not_valid_argument, "path");
    out.clear();
    xml_writer_t(out, split_path(path)).write_document(bag);
    return error_code_t::success();
}

std::size_t get_xml_size(const variant_bag_t& bag, const char* path) {
    return get_size(bag, split_path(path));
}

} // namespace bk2
