#include "options/options.h"

#include "basekit/assertion.h"
#include "logkit/component_logger.h"
#include "options/option_keys.h"
#include "resultshelf/result_directory_manager.h"
#include "settingshub/global_storage.h"

namespace panedeck {

namespace keys = option_keys;

std::shared_ptr<IGeneralOptions> IGeneralOptions::load(bool fixedOutputDestination) {
    return std::make_shared<Options>(fixedOutputDestination);
}

std::shared_ptr<IResultOptions> IResultOptions::load() {
    return std::make_shared<Options>(false);
}

std::shared_ptr<ISourceViewOptions> ISourceViewOptions::load() {
    return std::make_shared<Options>(false);
}

ApplicationOutputDestination Options::getApplicationOutputDestination() const {
    if (m_fixed_output_destination) return ApplicationOutputDestination::productOutput;
    const auto otherwise = static_cast<bk2::s32_t>(ApplicationOutputDestination::separateConsole);
    return static_cast<ApplicationOutputDestination>(
        read_integer(keys::general, keys::output_destination, otherwise));
}

bool Options::shouldRemoveRawCollectorData() const {
    return read_boolean(keys::general, keys::remove_raw_data);
}

bool Options::shouldDisplayVerboseCollectionLogMessages() const {
    return read_boolean(keys::general, keys::verbose_messages);
}

ustring8 Options::getAdbPath() const {
    return read_text(keys::general, keys::adb_path, {});
}

ustring8 Options::getResultNameTemplate() const {
    const auto otherwise = resultshelf2::ResultDirectoryManager::getDefaultResultDirectoryName() + "{at}";
    return read_text(keys::saving, keys::result_name_template, otherwise);
}

bk2::s32_t Options::getSourceViewTabSize() const {
    return read_integer(keys::source_assembly, keys::tab_size, 4);
}

CpuAssemblySyntax Options::getCpuAssemblySyntax() const {
    const auto otherwise = static_cast<bk2::s32_t>(CpuAssemblySyntax::byDefault);
    return static_cast<CpuAssemblySyntax>(
        read_integer(keys::source_assembly, keys::assembly_style, otherwise));
}

bool Options::shouldCacheSourceFiles() const {
    return read_boolean(keys::source_assembly, keys::cache_sources);
}

void Options::put(const char* section, const char* key, const bk2::variant_t& value) {
    getSection(section).put(key, value);
}

void Options::save() const {
    const auto storage = getStorage();
    PANEDECK_EXPECT(storage, "storage");
    if (!storage) return;
    for (const auto& [name, section] : m_sections) {
        const auto written = storage->writeBag(name, section);
        if (written.succeeded()) continue;
        logkit1::log(logkit1::level_t::error,
                     "The options of " + name + " cannot be stored: " + written.as_string(1));
    }
}

bk2::variant_bag_t& Options::getSection(const std::string& name) const {
    const auto found = m_sections.find(name);
    if (found != m_sections.end()) return found->second;
    const auto storage = getStorage();
    PANEDECK_EXPECT(storage, "storage");
    const bk2::variant_bag_t empty;
    return m_sections.emplace(name, storage ? storage->readBag(name, empty) : empty).first->second;
}

bk2::sptr_t<settingshub2::IPropertyStorage> Options::getStorage() const {
    const auto globalStorage = settingshub2::IGlobalStorage::get();
    PANEDECK_EXPECT(globalStorage, "globalStorage");
    return globalStorage ? globalStorage->getSubStorage(keys::storage) : nullptr;
}

// Stored kinds are told apart by tag: below 8 are booleans and integers of up to 32 bits, up to 9 all
// integers.

bk2::s32_t Options::read_integer(const char* section, const char* key, bk2::s32_t otherwise) const {
    const bk2::variant_t value = getSection(section).get_variant(key);
    return value.tag() < bk2::vt_s64 ? value.get<bk2::s32_t>() : otherwise;
}

bool Options::read_boolean(const char* section, const char* key) const {
    const bk2::variant_t value = getSection(section).get_variant(key);
    return value.tag() <= bk2::vt_u64 && value.get<bool>();
}

ustring8 Options::read_text(const char* section, const char* key, const ustring8& otherwise) const {
    const bk2::variant_t value = getSection(section).get_variant(key);
    return value.is_narrow_text() ? ustring8(value.text()) : otherwise;
}

} // namespace panedeck
