#include "filtermgr.h"

#include "basekit/assertion.h"
#include "dispatch/ievent_dispatcher.h"
#include "filter/filter_names.h"
#include "filter_bag_parser.h"

#include <algorithm>
#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::sptr_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::IFilterRegistry;

namespace {

error_code_t pass(const error_code_t& err) {
    if (err.failed()) bk2::report_failure(PANEDECK_ASSERTION_SITE("err.succeeded()"), err);
    return err;
}

bool readsRowsAsValues(const variant_bag_t& config) {
    const auto* type = config.get<variant_t>("valueType");
    return type && type->is_narrow_text() && type->text() == "value";
}

} // namespace

IFilterMgr::~IFilterMgr() = default;

std::shared_ptr<IFilterMgr> IFilterMgr::create(sptr_t<dataface1::IQueryLibrary> queryLibrary,
                                               sptr_t<dataface1::IInputData> inputData,
                                               sptr_t<dataface1::IInputData> extraInputData) {
    return std::make_shared<FilterMgr>(std::move(queryLibrary), std::move(inputData),
                                       std::move(extraInputData));
}

FilterMgr::FilterMgr(sptr_t<dataface1::IQueryLibrary> queryLibrary, sptr_t<dataface1::IInputData> inputData,
                     sptr_t<dataface1::IInputData> extraInputData)
    : m_queryLibrary(std::move(queryLibrary)) {
    addFilterRegistry(inputData);
    addFilterRegistry(extraInputData);
    PANEDECK_EXPECT(m_filterRegistryList.size() > 0, "m_filterRegistryList.size() > 0");
}

FilterMgr::~FilterMgr() = default;

void FilterMgr::addFilterRegistry(const sptr_t<dataface1::IInputData>& input) {
    if (!input) return;
    const auto registry = bk2::interface_cast<IFilterRegistry>(input);
    PANEDECK_EXPECT(registry, "res && filterRegistry");
    if (registry) m_filterRegistryList.push_back(registry);
}

error_code_t FilterMgr::clearFilter(const std::string& name) {
    for (const auto& registry : m_filterRegistryList) {
        if (const auto err = pass(registry->clearQueryFilter(name)); err.failed()) return err;
        if (const auto err = pass(registry->clearFilterMerges(name)); err.failed()) return err;
    }
    return error_code_t::success();
}

error_code_t FilterMgr::mergeFilter(const std::string& source, const std::string& target, bool invert) {
    for (const auto& registry : m_filterRegistryList) {
        if (const auto err = pass(registry->copyQueryFilter(source, target, invert)); err.failed())
            return err;
        if (registry->isMergeClosed(target)) continue;
        if (const auto err = pass(registry->mergeFilters(source, target, invert)); err.failed()) return err;
    }
    return error_code_t::success();
}

error_code_t FilterMgr::registerQueryFilter(const std::string& name, sptr_t<dataface1::IQueryFilter> filter) {
    for (const auto& registry : m_filterRegistryList) {
        if (const auto err = pass(registry->clearQueryFilter(name)); err.failed()) return err;
        if (const auto err = pass(registry->setQueryFilter(name, filter)); err.failed()) return err;
    }
    return error_code_t::success();
}

error_code_t FilterMgr::copyQueryFilter(const std::string& source, const std::string& target, int invert) {
    for (const auto& registry : m_filterRegistryList)
        if (const auto err = pass(registry->copyQueryFilter(source, target, invert != 0)); err.failed())
            return err;
    return error_code_t::success();
}

bool FilterMgr::isFilterEmpty(const std::string& name) {
    return std::none_of(m_filterRegistryList.begin(), m_filterRegistryList.end(),
                        [&](const auto& registry) { return registry->hasFilter(name); });
}

error_code_t FilterMgr::createFilter(TempFilter& filter, const variant_bag_t& config) {
    const auto builder = getQueryFilterBuilder();
    PANEDECK_REQUIRE(builder, "builder", bk2::kinds::failed_to_create_the_object, "QueryFilterBuilder");
    const bool valueMode = readsRowsAsValues(config);
    builder->setValueMode(valueMode);

    filter_bag_content_t content;
    if (const auto err = pass(parseFilterConfig(config, m_queryLibrary, builder, valueMode, content));
        err.failed())
        return err;
    if (!content.isEmpty) {
        const auto queryFilter = builder->compile();
        PANEDECK_REQUIRE(queryFilter, "queryFilter", bk2::kinds::failed_to_compile_the_filter, "");
        if (const auto err = pass(registerQueryFilter(filter.name, queryFilter)); err.failed()) return err;
    }
    for (const auto& [name, invert] : content.references)
        if (const auto err = pass(mergeFilter(name, filter.name, invert)); err.failed()) return err;
    return error_code_t::success();
}

error_code_t FilterMgr::getFilterReferences(const variant_bag_t& config,
                                            std::list<filter_reference_t>& references) {
    filter_bag_content_t content;
    const auto err = pass(parseFilterConfig(config, m_queryLibrary, getQueryFilterBuilder(), false, content));
    references.splice(references.end(), content.references);
    return err;
}

sptr_t<dataface1::IQueryFilterBuilder> FilterMgr::getQueryFilterBuilder() const {
    PANEDECK_EXPECT(m_filterRegistryList.size() > 0, "m_filterRegistryList.size() > 0");
    if (m_filterRegistryList.empty()) return nullptr;
    const auto& filterRegistry = m_filterRegistryList.front();
    PANEDECK_EXPECT(!filterRegistry.is_null(), "!filterRegistry.is_null()");
    return filterRegistry->createQueryFilterBuilder();
}

std::string FilterMgr::getSelectionFilterName(const std::string& paneId) {
    return std::string(filter_names::selection) + "-" + paneId;
}

error_code_t FilterMgr::applySelectionFilter(const std::string& paneId, IEventDispatcher* eventDispatcher) {
    PANEDECK_REQUIRE(!paneId.empty(), "!paneId.empty()", bk2::kinds::is_not_valid_argument, "paneId");
    const std::string paneFilter = getSelectionFilterName(paneId);
    if (isFilterEmpty(paneFilter)) return error_code_t::success();
    if (const auto err = pass(clearFilter(filter_names::selection)); err.failed()) return err;
    if (const auto err = pass(copyQueryFilter(paneFilter, filter_names::selection, 0)); err.failed())
        return err;
    PANEDECK_REQUIRE(eventDispatcher, "eventDispatcher", bk2::kinds::is_not_valid_argument,
                     "eventDispatcher");
    variant_bag_t payload;
    payload.put<variant_t>("filterName", variant_t(filter_names::selection));
    return eventDispatcher->sendEvent("FilterChangedEvent", &payload);
}

} // namespace panedeck
