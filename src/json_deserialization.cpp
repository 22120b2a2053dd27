#include "basekit/assertion.h"
#include "transport/json_serialization.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <string>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

/// Builds a bag from the events of RapidJSON's reader. Beside the bag in work it holds the last key and
/// nothing else.
class Handler {
public:
    explicit Handler(variant_bag_t& root) : m_root(root) {}

    bool Null() { return store(variant_t()); }
    bool Bool(bool value) { return store(value); }
    bool Int(int value) { return store(value); }
    bool Uint(unsigned value) { return store(value); }
    bool Int64(bk2::s64_t value) { return store(value); }
    bool Uint64(bk2::u64_t value) { return store(value); }
    bool Double(double value) { return store(value); }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        return store(std::string_view(text, size));
    }
    // Numbers come as numbers; the reader's interface wants this one all the same.
    bool RawNumber(const char* text, rapidjson::SizeType size, bool copy) { return String(text, size, copy); }

    bool Key(const char* text, rapidjson::SizeType size, bool) {
        m_key.assign(text, size);
        return true;
    }

    bool StartObject() {
        m_currentNode = m_currentNode ? &m_currentNode->add_variant_bag(target_name()) : &m_root;
        return true;
    }

    bool StartArray() {
        StartObject();
        m_currentNode->put<variant_t>(array_mark, m_item);
        return true;
    }

    bool EndObject(rapidjson::SizeType) { return endNode(); }
    bool EndArray(rapidjson::SizeType) { return endNode(); }

private:
    static constexpr std::string_view array_mark = "arrayOf";

    const variant_t* element_name() const { return m_currentNode->get<variant_t>(array_mark); }

    // The one rule for where a value or a child bag goes: into an array under its element name, else under
    // the key.
    std::string_view target_name() const {
        const variant_t* const name = element_name();
        if (!name) return m_key;
        return name->is_narrow_text() ? name->text() : m_item.text();
    }

    bool store(variant_t value) {
        if (!m_currentNode)
            m_root.put<variant_t>("", std::move(value));
        else if (element_name())
            m_currentNode->put_own_value(target_name(), std::move(value));
        else
            m_currentNode->put<variant_t>(m_key, std::move(value));
        return true;
    }

    bool endNode() {
        if (m_currentNode == &m_root) return true;
        m_currentNode = m_currentNode->get_parent();
        PANEDECK_EXPECT(m_currentNode, "m_currentNode");
        return m_currentNode != nullptr;
    }

    variant_bag_t& m_root;
    variant_bag_t* m_currentNode = nullptr;
    std::string m_key;
    variant_t m_item = "item"; // one text for all arrays of a document
};

// RapidJSON's own words, but for one text that reads differently from release to release.
const char* get_error_text(rapidjson::ParseErrorCode code) {
    if (code == rapidjson::kParseErrorDocumentRootNotSingular)
        return "The document root must not follow by other values.";
    return rapidjson::GetParseError_En(code);
}

// A zero byte ends the text for the reader, so that what stands behind one has to be refused here.
rapidjson::ParseResult parse(const ustring8& text, variant_bag_t& bag) {
    // Iterative: the depth of the input must not decide over the stack. Full precision: a number that was
    // written reads back the same.
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    Handler handler(bag);
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, handler);
    if (result.IsError() || stream.Tell() == text.size()) return result;
    return {rapidjson::kParseErrorDocumentRootNotSingular, stream.Tell()};
}

} // namespace

error_code_t load_variant_bag_from_json_string(const ustring8& text, variant_bag_t& bag) {
    PANEDECK_REQUIRE(bag.is_empty(), "bag.is_empty()", bk2::kinds::is_not_valid_argument,
                     "Expected empty variant bag");
    const rapidjson::ParseResult result = parse(text, bag);
    PANEDECK_REQUIRE(!result.IsError(), "!result.IsError()", bk2::kinds::failed_to_execute_this_operation,
                     "JSON deserialization error at position " + std::to_string(result.Offset()) + ": " +
                         get_error_text(result.Code()));
    return error_code_t::success();
}

} // namespace panedeck
