#pragma once

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <memory>

namespace panedeck {

/// The options about results. For one thread at a time.
class PANEDECK_API IResultOptions {
public:
    /// Reads the user's options.
    static std::shared_ptr<IResultOptions> load();

    /// The pattern by which new result directories are called, as `resultshelf2::ResultDirectoryManager`
    /// reads it; "r@@@{at}" unless the user set another.
    virtual ustring8 getResultNameTemplate() const = 0;

    virtual ~IResultOptions() = default;
};

} // namespace panedeck
