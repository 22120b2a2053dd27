#include "settingshub/file_name.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <cstddef>
#include <cstdio>

namespace settingshub2 {

namespace {

constexpr std::size_t longest_file_name = 200;
constexpr std::size_t kept_of_long_name = 100;

bool is_plain_file_character(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-';
}

std::string encode(char character) {
    if (is_plain_file_character(character)) return {character};
    char escaped[4];
    std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(character));
    return escaped;
}

std::string hash_of(const std::string& text) {
    return to_string(boost::uuids::name_generator_sha1(boost::uuids::ns::oid())(text));
}

} // namespace

std::string file_name_of(const std::string& text) {
    std::string whole;
    std::string beginning;
    for (const char character : text) {
        whole += encode(character);
        if (whole.size() <= kept_of_long_name) beginning = whole;
        if (whole.size() > longest_file_name) return beginning + "%-" + hash_of(text);
    }
    return whole;
}

} // namespace settingshub2
