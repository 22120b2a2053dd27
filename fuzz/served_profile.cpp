#include "served_profile.h"

#include "filter/ifilter_mgr.h"
#include "handlers/request_handlers.h"
#include "settingshub/product_locations.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace panedeck::fuzz {

namespace {

constexpr char profile[] = "main;read;parse 5\n"
                           "main;read 2\n"
                           "main;read;parse;read;parse 3\n"
                           "main;draw;Fill 4\n"
                           "main;draw;fill;wait 4\n"
                           "idle 6\n"
                           "main;a;b;c;d;e 1\n";

} // namespace

ServedProfile::ServedProfile() {
    const auto locations = settingshub2::IProductLocations::get();
    locations->setUserDirectory(m_folder.path());
    const std::string path = m_folder / "profile.folded";
    std::ofstream(path) << profile;
    const auto opened = host::openResults({path}, locations->getConfigDirectory(), nullptr, m_results);
    if (opened.succeeded()) return;
    std::fprintf(stderr, "The profile does not open: %s\n", opened.as_string(1).c_str());
    std::abort();
}

std::shared_ptr<IRequestDispatcher> ServedProfile::dispatcher() {
    const auto filters = IFilterMgr::create(m_results.library, m_results.first, nullptr);
    const auto made = IRequestDispatcher::create();
    made->addRequestHandler(createOptionsRequestHandler(false));
    made->addRequestHandler(createGridRequestHandler(m_results.library, filters, &m_events, m_dataLock,
                                                     m_results.first, nullptr));
    made->addRequestHandler(createGridViewRequestHandler(m_results.library, nullptr, filters, &m_events,
                                                         m_dataLock, m_results.first, nullptr, nullptr,
                                                         nullptr));
    return made;
}

} // namespace panedeck::fuzz
