#pragma once

#include "dispatch/ievent_dispatcher.h"
#include "dispatch/irequest_dispatcher.h"
#include "session/open_results.h"
#include "support/temporary_folder.h"

#include <boost/thread/shared_mutex.hpp>

#include <memory>

namespace panedeck::fuzz {

/// A small open profile and the handlers that serve it, without a scheduler: requests are served one after
/// the other on the calling thread, so that a run can be repeated. Options are stored in a folder that goes
/// with it.
class ServedProfile {
public:
    ServedProfile();

    /// A dispatcher with new handlers: no grid, no filter and no selection of earlier requests is left.
    std::shared_ptr<IRequestDispatcher> dispatcher();

private:
    struct Silence : IEventDispatcher {
        bk2::error_code_t sendEvent(const char*, const bk2::variant_bag_t*) override { return {}; }
    };

    tests::TemporaryFolder m_folder;
    host::open_results_t m_results;
    boost::shared_mutex m_dataLock; ///< see the handlers
    Silence m_events;
};

} // namespace panedeck::fuzz
