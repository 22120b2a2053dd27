#pragma once

// Needed by options, projects and the global properties: the user's settings.

#include "settingshub/property_storage.h"

namespace settingshub2 {

/// The storage of the user's settings: `global.xml` and the folder `global` in the user directory. Its
/// sub-storages hold sections; `propertyPageData`, for instance, those of the option pages.
class PANEDECK_API IGlobalStorage : public IPropertyStorage {
public:
    /// The storage in `IProductLocations::getUserDirectory()`; null if there is no such directory (neither
    /// `XDG_CONFIG_HOME` nor `HOME` nor a setting).
    static bk2::sptr_t<IGlobalStorage> get();
};

} // namespace settingshub2
