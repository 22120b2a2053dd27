#pragma once

#include "basekit/api.h"
#include "basekit/variant.h"
#include "portkit/ustring8.h"

#include <memory>

namespace panedeck {

/// Where the output of a profiled application goes. A stored number that is none of these is kept as it is.
enum class ApplicationOutputDestination : bk2::s32_t {
    visualStudioOutput = 1,
    productOutput = 2,
    separateConsole = 3,
};

/// The general options of the user, as they stood when each was first asked for. For one thread at a time.
class PANEDECK_API IGeneralOptions {
public:
    /// Reads the user's options. With `fixedOutputDestination` the output destination is always
    /// `productOutput`, whatever is stored: for a front end that can show output nowhere else.
    static std::shared_ptr<IGeneralOptions> load(bool fixedOutputDestination);

    /// `separateConsole` unless the user chose another.
    virtual ApplicationOutputDestination getApplicationOutputDestination() const = 0;
    virtual bool shouldRemoveRawCollectorData() const = 0;
    virtual bool shouldDisplayVerboseCollectionLogMessages() const = 0;
    /// The path of the Android debug bridge, empty unless the user set one.
    virtual ustring8 getAdbPath() const = 0;

    virtual ~IGeneralOptions() = default;
};

} // namespace panedeck
