#pragma once

// Needed by storages, message catalogs, help, viewpoints and the programs: where the product's and the user's
// files are, and which features the product has.

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

    /// A file or folder of the configuration: in the folder of the configuration, or else in the installed
    /// one. Empty if neither has it. `name` is relative and comes from the program, not from outside.
    virtual std::string findConfiguration(const std::string& name) const = 0;

    /// The path of a document, from its name relative to the root of the documentation, which is the folder
    /// that holds the folder `help`. It need not exist. Empty if the name leaves the root, also through a
    /// link, or if no documentation is installed.
    virtual std::string getDocumentationPath(const std::string& name) const = 0;

    /// Whether the configuration's `features.xml` switches that feature on. False for a name that it lacks.
    virtual bool isFeatureEnabled(const std::string& name) const = 0;

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
