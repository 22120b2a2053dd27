#pragma once

// Needed by grids, filters and the host: an open result.

#include "basekit/api.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "dataface/query.h"

#include <string>

namespace dataface1 {

/// Facts about a result.
class PANEDECK_API IResultInfo : public bk2::object_interface_t {
public:
    /// Names this result among several; never empty.
    virtual std::string getVersionText() const = 0;
    /// What a person calls the result, such as the folder's name.
    virtual std::string getResultName() const = 0;

protected:
    ~IResultInfo() override;
};

/// An open result. Its filter registry is found with `bk2::interface_cast<IFilterRegistry>`.
class PANEDECK_API IInputData : public bk2::object_interface_t {
public:
    /// Null if the result tells nothing of itself.
    virtual bk2::sptr_t<IResultInfo> getResultInfo() const = 0;

protected:
    ~IInputData() override;
};

/// Finds queries by name.
class PANEDECK_API IQueryLibrary : public bk2::object_interface_t {
public:
    /// Null if there is no such query. Quick: never waits for a query that runs.
    virtual bk2::sptr_t<IQuery> findQuery(const std::string& name) const = 0;
    /// A grouping that every result has, such as "RootGrouping"; null if unknown.
    virtual bk2::sptr_t<IQuery> getWellKnownGrouping(const std::string& name, int reserved) const = 0;

protected:
    ~IQueryLibrary() override;
};

} // namespace dataface1
