#pragma once

#include "basekit/ref_counted.h"
#include "settingshub/property_storage.h"

namespace settingshub2 {

/// A storage over `STEM.xml`, its lock file `STEM.lock` and the folder `STEM` of its sub-storages.
class FilePropertyStorage
    : public bk2::ref_counted_t<FilePropertyStorage, bk2::mt_ref_count_impl_t, IPropertyStorage> {
public:
    /// Nothing is written unless `required_folder` exists; an empty one is not asked for.
    FilePropertyStorage(std::string stem, std::string required_folder)
        : m_stem(std::move(stem)), m_required_folder(std::move(required_folder)) {}

    bk2::variant_bag_t readBag(const std::string& name, const bk2::variant_bag_t& otherwise) const override;
    bk2::error_code_t writeBag(const std::string& name, const bk2::variant_bag_t& bag) override;
    bk2::error_code_t changeBag(const std::string& name,
                                const std::function<void(bk2::variant_bag_t&)>& change_bag) override;
    bk2::variant_t readValue(const std::string& name, const bk2::variant_t& otherwise) const override;
    bk2::error_code_t writeValue(const std::string& name, const bk2::variant_t& value) override;
    bk2::error_code_t change(const std::function<bool(bk2::variant_bag_t&)>& change) override;
    bk2::sptr_t<IPropertyStorage> getSubStorage(const std::string& name) override;

private:
    std::string file_path() const { return m_stem + ".xml"; }
    bk2::variant_bag_t read_all() const;
    bk2::error_code_t load(bk2::variant_bag_t& all) const;
    bk2::error_code_t store(const bk2::variant_bag_t& all) const;
    bk2::error_code_t load_or_set_aside(bk2::variant_bag_t& all) const;

    std::string m_stem;
    std::string m_required_folder;
};

} // namespace settingshub2
