#pragma once

#include "basekit/api.h"

namespace bk2 {

/// The base of every reference-counted interface: data-provider objects, tasks, progress, grid models.
///
/// An object starts with no references; the first `sptr_t` that takes it makes one. Whoever holds an
/// `sptr_t` keeps the object alive. Interfaces are found from one another with `interface_cast` (sptr.h).
class PANEDECK_API object_interface_t {
public:
    /// Adds one reference. Safe from any thread.
    virtual void add_ref() const = 0;

    /// Gives one reference back and destroys the object with the last one. Safe from any thread.
    virtual void release() const = 0;

protected:
    virtual ~object_interface_t();
};

} // namespace bk2
