#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "notifykit/progress.h"

#include <string>

namespace panedeck {

/// The export of a grid for a host that must know how it ended. The handler of the domain `gridview` that
/// `createGridViewRequestHandler` makes is one too.
class PANEDECK_API IGridExport {
public:
    /// Does what the request `gridview:exportToCsv` does, with `filePath` in place of the request's own, but
    /// fails unless the file is whole: with the cancelled error if `progress` was cancelled, or naming what
    /// could not be written. What was written stays.
    virtual bk2::error_code_t exportGrid(const bk2::variant_bag_t& request, const std::string& filePath,
                                         notifykit2::IProgress* progress) = 0;

protected:
    ~IGridExport() = default;
};

} // namespace panedeck
