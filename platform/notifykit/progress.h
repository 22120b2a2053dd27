#pragma once

// Needed by every long operation: imports, queries, expansion, search, export.

#include "basekit/api.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"

#include <cstdint>
#include <string>

namespace notifykit2 {

/// Progress and cancel object handed to every long operation. Work polls `is_canceled` at its natural grain,
/// at least every 100 ms, and gives back `error_code_t::canceled()` at once. A null progress is legal
/// wherever one is taken by pointer. All operations are safe from any thread.
class PANEDECK_API IProgress : public bk2::object_interface_t {
public:
    /// Begins a stretch of work of `total` units (0: unknown) that is shown as `text`.
    virtual void start(const std::string& text, std::uint64_t total) = 0;

    /// `done` of the total units are done.
    virtual void advance_to(std::uint64_t done) = 0;

    /// Asks the work to stop. Cannot be taken back.
    virtual void cancel() = 0;

    virtual bool is_canceled() const = 0;

protected:
    ~IProgress() override;
};

/// A progress that reports nowhere but can be cancelled.
class PANEDECK_API IDevNullProgress : public IProgress {
public:
    static bk2::sptr_t<IProgress> create();
};

/// True if there is a progress object and it was cancelled.
inline bool is_canceled(const IProgress* progress) {
    return progress && progress->is_canceled();
}

} // namespace notifykit2
