#pragma once

#include "basekit/variant_bag.h"
#include "json_output.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

namespace panedeck {

/// The one interface over the two kinds of writers, so that what walks the bag is compiled once.
class IJSONWriter {
public:
    virtual ~IJSONWriter() = default;

    virtual bool Null() = 0;
    virtual bool Bool(bool value) = 0;
    virtual bool Int(int value) = 0;
    virtual bool Uint(unsigned value) = 0;
    virtual bool Int64(bk2::s64_t value) = 0;
    virtual bool Uint64(bk2::u64_t value) = 0;
    /// NaN and the infinities, for which JSON has no form, become null.
    virtual bool Double(double value) = 0;
    virtual bool String(std::string_view text) = 0;
    virtual bool Key(std::string_view text) = 0;
    virtual bool StartObject() = 0;
    virtual bool EndObject() = 0;
    virtual bool StartArray() = 0;
    virtual bool EndArray() = 0;
};

/// RapidJSON's compact writer, opened for tokens that are written in one piece.
class CompactWriter : public rapidjson::Writer<JsonOutput> {
public:
    using Writer::Writer;

    /// To be called ahead of a token: commas, colons and the check of the document's structure.
    void begin(rapidjson::Type type) { Prefix(type); }
    JsonOutput& output() { return *os_; }
};

/// The same over the pretty writer, with RapidJSON's default indent of four blanks.
class IndentingWriter : public rapidjson::PrettyWriter<JsonOutput> {
public:
    using PrettyWriter::PrettyWriter;

    void begin(rapidjson::Type type) { PrettyPrefix(type); }
    JsonOutput& output() { return *os_; }
};

/// Forwards `IJSONWriter` to one of the writers above.
template <class Writer>
class WriterAdapter final : public IJSONWriter {
public:
    explicit WriterAdapter(JsonOutput& output) : m_writer(output) {}

    bool Null() override { return token(rapidjson::kNullType, {"null"}, 4); }
    bool Bool(bool value) override {
        return value ? token(rapidjson::kTrueType, {"true"}, 4) : token(rapidjson::kFalseType, {"false"}, 5);
    }
    bool Int(int value) override { return integer(value); }
    bool Uint(unsigned value) override { return integer(value); }
    bool Int64(bk2::s64_t value) override { return integer(value); }
    bool Uint64(bk2::u64_t value) override { return integer(value); }
    bool Double(double value) override { return std::isfinite(value) ? m_writer.Double(value) : Null(); }
    bool String(std::string_view text) override { return quoted(text); }
    bool Key(std::string_view text) override { return quoted(text); }
    bool StartObject() override { return m_writer.StartObject(); }
    bool EndObject() override { return m_writer.EndObject(); }
    bool StartArray() override { return m_writer.StartArray(); }
    bool EndArray() override { return m_writer.EndArray(); }

private:
    bool token(rapidjson::Type type, const JsonOutput::token_t& text, std::size_t size) {
        m_writer.begin(type);
        m_writer.output().write_token(text, size);
        return true;
    }

    template <class Integer>
    bool integer(Integer value) {
        JsonOutput::token_t digits;
        const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
        return token(rapidjson::kNumberType, digits, static_cast<std::size_t>(end.ptr - digits.data()));
    }

    bool quoted(std::string_view text) {
        m_writer.begin(rapidjson::kStringType);
        m_writer.output().write_string(text);
        return true;
    }

    Writer m_writer;
};

} // namespace panedeck
