#include "settingshub/global_storage.h"

#include "basekit/ref_counted.h"
#include "settingshub/product_locations.h"

namespace settingshub2 {

namespace {

class GlobalStorage : public bk2::ref_counted_t<GlobalStorage, bk2::mt_ref_count_impl_t, IGlobalStorage> {
public:
    explicit GlobalStorage(bk2::sptr_t<IPropertyStorage> storage) : m_storage(std::move(storage)) {}

    bk2::variant_bag_t readBag(const std::string& name, const bk2::variant_bag_t& otherwise) const override {
        return m_storage->readBag(name, otherwise);
    }
    bk2::error_code_t writeBag(const std::string& name, const bk2::variant_bag_t& bag) override {
        return m_storage->writeBag(name, bag);
    }
    bk2::error_code_t changeBag(const std::string& name,
                                const std::function<void(bk2::variant_bag_t&)>& change) override {
        return m_storage->changeBag(name, change);
    }
    bk2::variant_t readValue(const std::string& name, const bk2::variant_t& otherwise) const override {
        return m_storage->readValue(name, otherwise);
    }
    bk2::error_code_t writeValue(const std::string& name, const bk2::variant_t& value) override {
        return m_storage->writeValue(name, value);
    }
    bk2::error_code_t change(const std::function<bool(bk2::variant_bag_t&)>& change) override {
        return m_storage->change(change);
    }
    bk2::sptr_t<IPropertyStorage> getSubStorage(const std::string& name) override {
        return m_storage->getSubStorage(name);
    }

private:
    bk2::sptr_t<IPropertyStorage> m_storage;
};

} // namespace

bk2::sptr_t<IGlobalStorage> IGlobalStorage::get() {
    const std::string folder = IProductLocations::get()->getUserDirectory();
    if (folder.empty()) return nullptr;
    return bk2::make_sptr<GlobalStorage>(IPropertyStorage::open(folder, "global"));
}

} // namespace settingshub2
