#pragma once

// Needed by storages, message catalogs, viewpoints and the programs: where the product's and the user's files
// are.

#include "basekit/api.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"

#include <string>

namespace settingshub2 {

/// Where things are on disk. Paths have no trailing separator; an empty text means that there is no such
/// place.
class PANEDECK_API IProductLocations : public bk2::object_interface_t {
public:
    /// The one object of the process.
    static bk2::sptr_t<IProductLocations> get();

    /// The folder of the user's settings: what `setUserDirectory` said, else `$XDG_CONFIG_HOME/panedeck`,
    /// else `$HOME/.config/panedeck`. It need not exist.
    virtual std::string getUserDirectory() const = 0;

    /// The folder of the product's configuration (queries, viewpoints, catalogs): what `setConfigDirectory`
    /// said, else the installed folder `config`.
    virtual std::string getConfigDirectory() const = 0;

    /// A folder of the product's data, found from the running program and then from our library: `NAME` below
    /// `share/panedeck` of an installation, or in the tree that was built. Empty if there is none.
    virtual std::string findInstalledFolder(const std::string& name) const = 0;

    /// The folder that holds the running program.
    virtual std::string getProgramDirectory() const = 0;

    /// Both are for a program's start, before it makes threads; an empty path puts the default back.
    virtual void setUserDirectory(const std::string& path) = 0;
    virtual void setConfigDirectory(const std::string& path) = 0;
};

} // namespace settingshub2
