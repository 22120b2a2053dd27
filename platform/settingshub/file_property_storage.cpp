#include "settingshub/file_property_storage.h"

#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "settingshub/file_lock.h"
#include "settingshub/whole_file.h"

#include <cstdio>
#include <cstring>

namespace settingshub2 {

namespace {

constexpr char root_element[] = "storage";
constexpr std::size_t longest_name = 200;

bool is_plain_file_character(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-';
}

/// Different names give different file names, none of which leaves the folder.
std::string file_name_of(const std::string& name) {
    std::string result;
    for (const char character : name) {
        if (is_plain_file_character(character)) {
            result += character;
            continue;
        }
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(character));
        result += escaped;
    }
    return result;
}

bk2::sptr_t<IPropertyStorage> open_storage(const std::string& folder, const std::string& name) {
    const std::string file_name = file_name_of(name);
    if (file_name.empty() || file_name.size() > longest_name) return nullptr;
    return bk2::make_sptr<FilePropertyStorage>(folder + "/" + file_name);
}

} // namespace

bk2::sptr_t<IPropertyStorage> IPropertyStorage::open(const std::string& folder, const std::string& name) {
    return open_storage(folder, name);
}

bk2::sptr_t<IPropertyStorage> FilePropertyStorage::getSubStorage(const std::string& name) {
    return open_storage(m_stem, name);
}

bk2::error_code_t FilePropertyStorage::load(bk2::variant_bag_t& all) const {
    std::string text;
    const bk2::error_code_t read = read_whole_file(file_path(), text);
    if (read.failed() || read.is_nothing_done()) return read;
    return bk2::load_variant_bag_from_string2(all, text, root_element);
}

bk2::error_code_t FilePropertyStorage::load_or_set_aside(bk2::variant_bag_t& all) const {
    std::string text;
    const bk2::error_code_t read = read_whole_file(file_path(), text);
    if (read.failed()) return read;
    if (read.is_nothing_done()) return bk2::error_code_t::success();
    const bk2::error_code_t parsed = bk2::load_variant_bag_from_string2(all, text, root_element);
    if (parsed.succeeded()) return parsed;

    // Our own writes are whole, so someone else damaged it: keep what they have, and go on working.
    const std::string aside = file_path() + ".damaged";
    logkit1::log(logkit1::level_t::warning,
                 file_path() + " is kept as " + aside + ": " + parsed.as_string(1));
    if (std::rename(file_path().c_str(), aside.c_str()) != 0) return parsed;
    return bk2::error_code_t::success();
}

bk2::variant_bag_t FilePropertyStorage::readBag(const std::string& name,
                                                const bk2::variant_bag_t& otherwise) const {
    bk2::variant_bag_t all;
    if (const auto loaded = load(all); loaded.failed()) {
        logkit1::log(logkit1::level_t::warning, file_path() + " cannot be read: " + loaded.as_string(1));
        return otherwise;
    }
    const bk2::variant_bag_t* stored = all.get<bk2::variant_bag_t>(name);
    return stored ? *stored : otherwise;
}

bk2::error_code_t FilePropertyStorage::writeBag(const std::string& name, const bk2::variant_bag_t& bag) {
    return changeBag(name, [&bag](bk2::variant_bag_t& stored) { stored = bag; });
}

bk2::error_code_t FilePropertyStorage::changeBag(const std::string& name,
                                                 const std::function<void(bk2::variant_bag_t&)>& change) {
    const file_lock_t lock(m_stem + ".lock");
    if (lock.result().failed()) return lock.result();
    bk2::variant_bag_t all;
    if (const auto loaded = load_or_set_aside(all); loaded.failed()) return loaded;
    bk2::variant_bag_t* stored = all.get<bk2::variant_bag_t>(name);
    change(stored ? *stored : all.add_variant_bag(name));
    ustring8 text;
    if (const auto saved = bk2::save_variant_bag_to_string2(all, text, root_element); saved.failed())
        return saved;
    return write_whole_file(file_path(), text);
}

} // namespace settingshub2
