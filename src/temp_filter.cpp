#include "filter/temp_filter.h"

#include "basekit/assertion.h"
#include "filter/filter_names.h"
#include "filter/ifilter_mgr.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <tuple>
#include <utility>

namespace panedeck {

TempFilter::TempFilter(std::shared_ptr<IFilterMgr> filterMgr)
    : name(filter_names::temporary + boost::uuids::to_string(boost::uuids::random_generator()())),
      m_filterMgr(std::move(filterMgr)) {
    PANEDECK_EXPECT(m_filterMgr, "m_filterMgr");
}

TempFilter::~TempFilter() {
    // Whoever used the name is gone, so there is nobody left to tell of a failure; the manager has logged it.
    if (m_filterMgr) std::ignore = m_filterMgr->clearFilter(name);
}

} // namespace panedeck
