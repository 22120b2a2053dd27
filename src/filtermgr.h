#pragma once

#include "filter/ifilter_mgr.h"

#include <deque>

namespace panedeck {

/// See `IFilterMgr`. Fans every operation out to the registries of the open results, in the order of the
/// inputs.
class FilterMgr : public IFilterMgr {
public:
    FilterMgr(bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary,
              bk2::sptr_t<dataface1::IInputData> inputData,
              bk2::sptr_t<dataface1::IInputData> extraInputData);
    ~FilterMgr() override;

    bk2::error_code_t clearFilter(const std::string& name) override;
    bk2::error_code_t mergeFilter(const std::string& source, const std::string& target, bool invert) override;
    bk2::error_code_t registerQueryFilter(const std::string& name,
                                          bk2::sptr_t<dataface1::IQueryFilter> filter) override;
    bk2::error_code_t createFilter(TempFilter& filter, const bk2::variant_bag_t& config) override;
    bool isFilterEmpty(const std::string& name) override;
    bk2::error_code_t getFilterReferences(const bk2::variant_bag_t& config,
                                          std::list<filter_reference_t>& references) override;
    bk2::error_code_t copyQueryFilter(const std::string& source, const std::string& target,
                                      int invert) override;
    std::string getSelectionFilterName(const std::string& paneId) override;
    bk2::error_code_t applySelectionFilter(const std::string& paneId,
                                           IEventDispatcher* eventDispatcher) override;

private:
    bk2::sptr_t<dataface1::IQueryFilterBuilder> getQueryFilterBuilder() const;
    void addFilterRegistry(const bk2::sptr_t<dataface1::IInputData>& input);

    bk2::sptr_t<dataface1::IQueryLibrary> m_queryLibrary;
    std::deque<bk2::sptr_t<dataface1::IFilterRegistry>> m_filterRegistryList;
};

} // namespace panedeck
