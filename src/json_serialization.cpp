#include "json_serialization.h"

#include "logkit/component_logger.h"
#include "transport/json_serialization.h"

#include <charconv>
#include <ostream>
#include <vector>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr bk2::s64_t integer_limit = 0x1FFFFFFFFFFFFF; // 2^53 - 1

void report_unsupported(const variant_t& value) {
    logkit1::log(logkit1::level_t::error,
                 "JSON serialization for variant type " + std::to_string(value.tag()) +
                     " is not supported., at file: " __FILE__ ":" + std::to_string(__LINE__));
}

/// Walks a bag and tells a writer about it, with a stack of its own in place of recursion.
class BagSerializer {
public:
    explicit BagSerializer(std::shared_ptr<IJSONWriter> writer) : m_writer(std::move(writer)) {}

    void write(const variant_bag_t& root) {
        write_bag(root);
        while (!m_open.empty()) {
            container_t& container = m_open.back();
            if (container.child.at_end()) {
                end(container);
                continue;
            }
            const variant_bag_t& child = container.child.get_value();
            if (!container.is_array) m_writer->Key(container.child.get_name());
            container.child.next();
            write_bag(child);
        }
    }

private:
    using children_t = variant_bag_t::iterator<const variant_bag_t>;

    /// An array or object whose start has been written, and the next of its children.
    struct container_t {
        children_t child;
        bool is_array;
    };

    // Writes the bag whole if it has no children to write, else opens it.
    void write_bag(const variant_bag_t& bag) {
        if (bag.is_empty()) {
            m_writer->Null();
        } else if (const variant_t* const element_name = find_value(bag, "arrayOf")) {
            start_array(bag, *element_name);
        } else if (const variant_t* const value = find_leaf_value(bag)) {
            write_value(*value);
        } else {
            start_object(bag);
        }
    }

    static const variant_t* find_leaf_value(const variant_bag_t& bag) {
        const bool is_single = bag.count<variant_t>(nullptr) == 2 && bag.count<variant_bag_t>(nullptr) == 0;
        return is_single ? find_value(bag, "") : nullptr;
    }

    // Asked of every bag, and most hold a few values: a look at these costs less than a call.
    static const variant_t* find_value(const variant_bag_t& bag, std::string_view name) {
        constexpr std::size_t few = 8;
        if (bag.count<variant_t>(nullptr) > few) return bag.get<variant_t>(name);
        for (auto value = bag.begin<variant_t>(); !value.at_end(); value.next())
            if (value.get_name() == name) return &value.get_value();
        return nullptr;
    }

    void start_array(const variant_bag_t& bag, const variant_t& element_name) {
        m_writer->StartArray();
        if (element_name.is_narrow_text())
            m_open.push_back({bag.begin_by_name<variant_bag_t>(element_name.text()), true});
        else
            m_writer->EndArray();
    }

    void start_object(const variant_bag_t& bag) {
        m_writer->StartObject();
        for (auto value = bag.begin<variant_t>(); !value.at_end(); value.next()) {
            m_writer->Key(value.get_name());
            write_value(value.get_value());
        }
        m_open.push_back({bag.begin<variant_bag_t>(), false});
    }

    void end(const container_t& container) {
        if (container.is_array)
            m_writer->EndArray();
        else
            m_writer->EndObject();
        m_open.pop_back();
    }

    void write_value(const variant_t& value) {
        switch (value.tag()) {
        case bk2::vt_bool:
            m_writer->Bool(value.get<bool>());
            break;
        case bk2::vt_s8:
        case bk2::vt_s16:
        case bk2::vt_s32:
            m_writer->Int(value.get<bk2::s32_t>());
            break;
        case bk2::vt_u8:
        case bk2::vt_u16:
        case bk2::vt_u32:
            m_writer->Uint(value.get<bk2::u32_t>());
            break;
        case bk2::vt_s64:
            write_signed(value.get<bk2::s64_t>());
            break;
        case bk2::vt_u64:
            write_unsigned(value.get<bk2::u64_t>());
            break;
        case bk2::vt_float:
        case bk2::vt_double:
            m_writer->Double(value.get<double>());
            break;
        case bk2::vt_text:
        case bk2::vt_text_ref:
            m_writer->String(value.text());
            break;
        case bk2::vt_wide_text:
        case bk2::vt_wide_text_ref:
            m_writer->String(value.get<const char*>());
            break; // refused: logs, gives ""
        case bk2::vt_null:
            m_writer->Null();
            break;
        default:
            report_unsupported(value);
            m_writer->Null();
        }
    }

    void write_signed(bk2::s64_t value) {
        if (value > -integer_limit && value < integer_limit)
            m_writer->Int64(value);
        else
            write_big_integer(value);
    }

    void write_unsigned(bk2::u64_t value) {
        if (value < static_cast<bk2::u64_t>(integer_limit))
            m_writer->Uint64(value);
        else
            write_big_integer(value);
    }

    // A browser's numbers are doubles: digits beyond them go out as text.
    template <class Integer>
    void write_big_integer(Integer value) {
        char digits[24];
        const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
        m_writer->StartObject();
        m_writer->Key("value");
        m_writer->String({digits, end.ptr});
        m_writer->Key("type");
        m_writer->String("bigInt");
        m_writer->EndObject();
    }

    std::shared_ptr<IJSONWriter> m_writer;
    std::vector<container_t> m_open;
};

std::shared_ptr<IJSONWriter> make_writer(JsonOutput& output, JSONFormat format) {
    if (format == JSONFormat::compact) return std::make_shared<WriterAdapter<CompactWriter>>(output);
    return std::make_shared<WriterAdapter<IndentingWriter>>(output);
}

} // namespace

error_code_t save_variant_bag_to_json_string(const variant_bag_t& bag, std::ostream& out, JSONFormat format) {
    JsonOutput output(out);
    BagSerializer(make_writer(output, format)).write(bag);
    output.finish();
    return error_code_t::success();
}

error_code_t save_variant_bag_to_json_string(const variant_bag_t& bag, ustring8& out, JSONFormat format) {
    TextAppender appender(out);
    std::ostream stream(&appender);
    return save_variant_bag_to_json_string(bag, stream, format);
}

} // namespace panedeck
