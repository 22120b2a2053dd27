#include "settingshub/session_storage.h"

#include "basekit/ref_counted.h"
#include "settingshub/global_storage.h"

#include <utility>

namespace settingshub2 {

namespace {

constexpr char session_name[] = "session";
constexpr char panes_name[] = "panes";
constexpr char own_name[] = "property";

class SessionStorage : public bk2::ref_counted_t<SessionStorage, bk2::mt_ref_count_impl_t, ISessionStorage> {
public:
    SessionStorage(bk2::sptr_t<IPropertyStorage> storage, std::string userId)
        : m_storage(std::move(storage)), m_userId(std::move(userId)) {}

    bk2::sptr_t<IPropertyStorage> getPaneStorage(const std::string& paneId) override {
        return m_storage->getSubStorage(panes_name)->getSubStorage(paneId);
    }
    bk2::sptr_t<IPropertyStorage> getOwnStorage() override { return m_storage->getSubStorage(own_name); }
    std::string getUserId() const override { return m_userId; }

private:
    bk2::sptr_t<IPropertyStorage> m_storage;
    std::string m_userId;
};

} // namespace

bk2::sptr_t<ISessionStorage> ISessionStorage::create(const std::string& directory, const char* userId,
                                                     IPropertyStorage::folder_t kind) {
    if (directory.empty()) return nullptr;
    return bk2::make_sptr<SessionStorage>(IPropertyStorage::open(directory, session_name, kind),
                                          userId ? userId : "");
}

bk2::sptr_t<IPropertyStorage>
getGlobalStorage(const bk2::sptr_t<ISessionStorageAccessor>& /*the same for all sessions*/,
                 const std::string& paneId) {
    const auto global = IGlobalStorage::get();
    // Below a name of their own, so that no pane takes the name of a section such as "viewer".
    return global ? global->getSubStorage(panes_name)->getSubStorage(paneId) : nullptr;
}

} // namespace settingshub2
