#pragma once

#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "options/igeneral_options.h"
#include "options/iresult_options.h"
#include "options/isource_view_options.h"
#include "settingshub/property_storage.h"

#include <string>
#include <unordered_map>

namespace panedeck {

/// The user's options over the stored option pages. Short-lived: a section is read when it is first asked for
/// and then kept, so that one object answers from one state. For one thread.
class Options final : public IGeneralOptions, public IResultOptions, public ISourceViewOptions {
public:
    explicit Options(bool fixed_output_destination) : m_fixed_output_destination(fixed_output_destination) {}

    ApplicationOutputDestination getApplicationOutputDestination() const override;
    bool shouldRemoveRawCollectorData() const override;
    bool shouldDisplayVerboseCollectionLogMessages() const override;
    ustring8 getAdbPath() const override;
    ustring8 getResultNameTemplate() const override;
    bk2::s32_t getSourceViewTabSize() const override;
    CpuAssemblySyntax getCpuAssemblySyntax() const override;
    bool shouldCacheSourceFiles() const override;

    /// Changes a stored value in this object; `save` makes it last.
    void put(const char* section, const char* key, const bk2::variant_t& value);

    /// Writes every section that was read or changed. What cannot be written is logged; the stored section is
    /// then the old one.
    void save() const;

private:
    bk2::variant_bag_t& getSection(const std::string& name) const;
    bk2::sptr_t<settingshub2::IPropertyStorage> getStorage() const;

    bk2::s32_t read_integer(const char* section, const char* key, bk2::s32_t otherwise) const;
    bool read_boolean(const char* section, const char* key) const;
    ustring8 read_text(const char* section, const char* key, const ustring8& otherwise) const;

    bool m_fixed_output_destination;
    mutable std::unordered_map<std::string, bk2::variant_bag_t> m_sections;
};

} // namespace panedeck
