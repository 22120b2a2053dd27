#include "settingshub/file_property_storage.h"

#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "settingshub/file_lock.h"
#include "settingshub/file_name.h"
#include "settingshub/whole_file.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <unistd.h>

namespace settingshub2 {

namespace {

constexpr char root_element[] = "storage";
constexpr std::size_t longest_name = 200;

bk2::error_code_t file_failure(const std::string& path, int error) {
    return bk2::error_code_t::failure(path + ": " + std::generic_category().message(error));
}

bk2::sptr_t<IPropertyStorage> open_storage(const std::string& folder, const std::string& name,
                                           const std::string& required_folder) {
    if (name.empty() || IPropertyStorage::isTooLong(name)) return nullptr;
    return bk2::make_sptr<FilePropertyStorage>(folder + "/" + file_name_of(name), required_folder);
}

} // namespace

bk2::sptr_t<IPropertyStorage> IPropertyStorage::open(const std::string& folder, const std::string& name,
                                                     folder_t kind) {
    return open_storage(folder, name, kind == folder_t::must_exist ? folder : "");
}

bool IPropertyStorage::isTooLong(std::string_view name) {
    const auto begins_character = [](char byte) { return (byte & 0xC0) != 0x80; };
    constexpr std::size_t longest_character = 4;
    return name.size() > longest_name * longest_character ||
           std::ranges::count_if(name, begins_character) > static_cast<std::ptrdiff_t>(longest_name);
}

bk2::sptr_t<IPropertyStorage> FilePropertyStorage::getSubStorage(const std::string& name) {
    return open_storage(m_stem, name, m_required_folder);
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

bk2::variant_bag_t FilePropertyStorage::read_all() const {
    bk2::variant_bag_t all;
    if (const auto loaded = load(all); loaded.failed())
        logkit1::log(logkit1::level_t::warning, file_path() + " cannot be read: " + loaded.as_string(1));
    return all;
}

bk2::variant_bag_t FilePropertyStorage::readBag(const std::string& name,
                                                const bk2::variant_bag_t& otherwise) const {
    const bk2::variant_bag_t all = read_all();
    const bk2::variant_bag_t* stored = all.get<bk2::variant_bag_t>(name);
    return stored ? *stored : otherwise;
}

bk2::variant_t FilePropertyStorage::readValue(const std::string& name,
                                              const bk2::variant_t& otherwise) const {
    return read_all().get_variant(name, otherwise);
}

bk2::error_code_t FilePropertyStorage::writeBag(const std::string& name, const bk2::variant_bag_t& bag) {
    return changeBag(name, [&bag](bk2::variant_bag_t& stored) { stored = bag; });
}

bk2::error_code_t FilePropertyStorage::writeValue(const std::string& name, const bk2::variant_t& value) {
    return change([&](bk2::variant_bag_t& all) {
        all.put(name, value);
        return true;
    });
}

bk2::error_code_t FilePropertyStorage::changeBag(const std::string& name,
                                                 const std::function<void(bk2::variant_bag_t&)>& change_bag) {
    return change([&](bk2::variant_bag_t& all) {
        bk2::variant_bag_t* stored = all.get<bk2::variant_bag_t>(name);
        change_bag(stored ? *stored : all.add_variant_bag(name));
        return true;
    });
}

bk2::error_code_t FilePropertyStorage::change(const std::function<bool(bk2::variant_bag_t&)>& change) {
    if (!m_required_folder.empty() && ::access(m_required_folder.c_str(), F_OK) != 0)
        return file_failure(m_required_folder, errno);
    const file_lock_t lock(m_stem + ".lock");
    if (lock.result().failed()) return lock.result();
    bk2::variant_bag_t all;
    if (const auto loaded = load_or_set_aside(all); loaded.failed()) return loaded;
    return change(all) ? store(all) : bk2::error_code_t::success();
}

bk2::error_code_t FilePropertyStorage::store(const bk2::variant_bag_t& all) const {
    ustring8 text;
    if (const auto saved = bk2::save_variant_bag_to_string2(all, text, root_element); saved.failed())
        return saved;
    // What nobody could read again would be lost with all that is stored beside it.
    if (text.size() > longest_whole_file) return file_failure(file_path(), EFBIG);
    return write_whole_file(file_path(), text);
}

} // namespace settingshub2
