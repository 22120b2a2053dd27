#pragma once

#include "basekit/api.h"

#include <memory>
#include <string>

namespace panedeck {

class IFilterMgr;

/// The name of a filter that lives no longer than this object: filled by `IFilterMgr::createFilter`, cleared
/// by the destructor. Stands wherever a filter name is expected. Names are unique, also across threads.
class PANEDECK_API TempFilter {
public:
    /// `filterMgr` is where the filter will be cleared; not empty.
    explicit TempFilter(std::shared_ptr<IFilterMgr> filterMgr);
    ~TempFilter();

    TempFilter(const TempFilter&) = delete;
    TempFilter& operator=(const TempFilter&) = delete;

    operator const std::string&() const { return name; }

    const std::string name;

private:
    std::shared_ptr<IFilterMgr> m_filterMgr;
};

} // namespace panedeck
