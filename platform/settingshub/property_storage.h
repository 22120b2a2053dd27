#pragma once

// Needed by options, properties, viewpoints and projects: named bags that outlive the program.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"

#include <functional>
#include <string>
#include <string_view>

namespace settingshub2 {

/// Named bags and values on disk. A storage is one XML file, `NAME.xml`, with one element for each of them,
/// and a folder `NAME` of that kind for its sub-storages. Nothing exists on disk before the first write.
///
/// Every write is whole: after a crash at any instant the file holds the old content or the new one. Writers
/// in several threads and programs exclude each other, so no write of one named bag loses another's. Readers
/// take no lock and see the last whole content. Objects are stateless and safe to use from any thread.
class PANEDECK_API IPropertyStorage : public bk2::object_interface_t {
public:
    /// What a write does if the folder of the storage is gone.
    enum class folder_t {
        made,       ///< makes it
        must_exist, ///< fails: a result that was deleted must not come back as an empty folder
    };

    /// The storage `name` in `folder` (of a user, of a result). Null if `name` is empty or too long; any
    /// other text is a name, and different names are different storages, see `file_name_of`.
    static bk2::sptr_t<IPropertyStorage> open(const std::string& folder, const std::string& name,
                                              folder_t kind = folder_t::made);

    /// True for a name of more than 200 characters, for storages as well as for what is in them.
    static bool isTooLong(std::string_view name);

    /// The stored bag of that name, or `otherwise` if there is none. A file that cannot be read or parsed is
    /// logged as a warning and counts as empty.
    virtual bk2::variant_bag_t readBag(const std::string& name,
                                       const bk2::variant_bag_t& otherwise) const = 0;

    /// Stores the bag under that name, in place of what was there. On failure (folder not writable, disk
    /// full, lock not available, more than 128 MiB in all) the stored content is the old one. A file that
    /// does not parse is kept beside as `NAME.xml.damaged`.
    virtual bk2::error_code_t writeBag(const std::string& name, const bk2::variant_bag_t& bag) = 0;

    /// Reads the bag of that name (empty if there is none), lets `change` alter it and stores the result, all
    /// under the lock: concurrent changes of different entries of one bag are all kept. `change` must not
    /// write to a storage.
    virtual bk2::error_code_t changeBag(const std::string& name,
                                        const std::function<void(bk2::variant_bag_t&)>& change) = 0;

    /// The stored value of that name, or `otherwise` if there is none. A value and a bag of one name stand
    /// beside each other.
    virtual bk2::variant_t readValue(const std::string& name, const bk2::variant_t& otherwise) const = 0;

    /// Stores the value under that name; in all else as `writeBag`.
    virtual bk2::error_code_t writeValue(const std::string& name, const bk2::variant_t& value) = 0;

    /// Reads all that is stored, lets `change` alter it and stores the result, all under the lock and in one
    /// write. Nothing is written, which is no failure, if `change` gives false. `change` must not write to a
    /// storage.
    virtual bk2::error_code_t change(const std::function<bool(bk2::variant_bag_t& content)>& change) = 0;

    /// The storage below this one; comes to life on its first write. Null for a name that `open` would
    /// refuse.
    virtual bk2::sptr_t<IPropertyStorage> getSubStorage(const std::string& name) = 0;
};

} // namespace settingshub2
