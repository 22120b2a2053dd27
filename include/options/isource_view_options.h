#pragma once

#include "basekit/api.h"
#include "basekit/variant.h"

#include <memory>

namespace panedeck {

/// How assembly code is written. A stored number that is none of these is kept as it is.
enum class CpuAssemblySyntax : bk2::s32_t {
    byDefault = 0,
    gas = 1,
    masm = 2,
};

/// The options of the source view. For one thread at a time.
class PANEDECK_API ISourceViewOptions {
public:
    /// Reads the user's options.
    static std::shared_ptr<ISourceViewOptions> load();

    /// Width of a tab in characters, 4 unless the user set another. What is stored is not checked.
    virtual bk2::s32_t getSourceViewTabSize() const = 0;
    virtual CpuAssemblySyntax getCpuAssemblySyntax() const = 0;
    virtual bool shouldCacheSourceFiles() const = 0;

    virtual ~ISourceViewOptions() = default;
};

} // namespace panedeck
