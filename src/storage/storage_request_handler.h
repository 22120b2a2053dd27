#pragma once

#include "dataface/input_data.h"
#include "dispatch/irequest_handler.h"
#include "settingshub/session_storage.h"

namespace panedeck {

/// The domain `property`: what panes keep, `global` for the user and `state` for the open result, as named
/// bags in a storage per pane.
class StorageRequestHandler final : public IRequestHandler {
public:
    /// Each may be null. `ownStorage` is only read, for custom groupings of earlier versions.
    StorageRequestHandler(bk2::sptr_t<settingshub2::IPropertyStorage> ownStorage,
                          bk2::sptr_t<settingshub2::ISessionStorageAccessor> sessionStorage,
                          bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary);

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    using storage_t = bk2::sptr_t<settingshub2::IPropertyStorage>;

    bk2::error_code_t getGlobal(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                notifykit2::IProgress* progress);
    bk2::error_code_t setGlobal(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                notifykit2::IProgress* progress);
    bk2::error_code_t getState(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);
    bk2::error_code_t setState(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);

    storage_t globalStorage(const bk2::variant_bag_t& request) const;
    storage_t stateStorage(const bk2::variant_bag_t& request) const;
    bool isOfOtherUser(const bk2::variant_bag_t& request) const;
    bk2::error_code_t getProperties(const bk2::variant_bag_t& properties, bk2::variant_bag_t& response,
                                    const storage_t& storage) const;
    bk2::variant_bag_t readProperty(const std::string& name,
                                    const settingshub2::IPropertyStorage& storage) const;
    static bk2::error_code_t setProperties(const bk2::variant_bag_t& properties, const storage_t& storage);

    storage_t m_ownStorage;
    bk2::sptr_t<settingshub2::ISessionStorageAccessor> m_sessionStorage;
    bk2::sptr_t<dataface1::IQueryLibrary> m_queryLibrary;
};

} // namespace panedeck
