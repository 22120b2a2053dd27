#pragma once

// Needed by the properties of panes: what is kept for one result, or for two that are compared.

#include "settingshub/property_storage.h"

#include <string>

namespace settingshub2 {

/// The places in which a session keeps things.
class PANEDECK_API ISessionStorageAccessor : public bk2::object_interface_t {
public:
    /// The storage of one pane; null for a name that `IPropertyStorage::open` would refuse.
    virtual bk2::sptr_t<IPropertyStorage> getPaneStorage(const std::string& paneId) = 0;

    /// The storage of the request handlers themselves.
    virtual bk2::sptr_t<IPropertyStorage> getOwnStorage() = 0;

    /// Who the session belongs to; empty if that is not known.
    virtual std::string getUserId() const = 0;
};

/// The storage of a result's session: the file `session.xml` and the folder `session` in a folder.
class PANEDECK_API ISessionStorage : public ISessionStorageAccessor {
public:
    /// The storage in `directory`, null if that is empty. What is not there has nothing stored; `kind` says
    /// what a write does about it. `userId` is whom the session belongs to, null if that is not known.
    static bk2::sptr_t<ISessionStorage>
    create(const std::string& directory, const char* userId,
           IPropertyStorage::folder_t kind = IPropertyStorage::folder_t::must_exist);
};

/// What a pane keeps for the user, whatever result is open: a section per pane in the user's global storage.
/// Null if there is no such storage, or for a name that it would refuse.
PANEDECK_API bk2::sptr_t<IPropertyStorage>
getGlobalStorage(const bk2::sptr_t<ISessionStorageAccessor>& session, const std::string& paneId);

} // namespace settingshub2
