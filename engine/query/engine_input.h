#pragma once

#include "basekit/ref_counted.h"
#include "dataface/filter_registry.h"
#include "dataface/input_data.h"
#include "filter/filter_names.h"
#include "store/profile_store.h"

#include <memory>

namespace panedeck::engine {

/// What an open result is to others: its data and its filters in one object.
class EngineInputInterfaces : public dataface1::IInputData, public dataface1::IFilterRegistry {
public:
    void add_ref() const override = 0;
    void release() const override = 0;

protected:
    ~EngineInputInterfaces() override = default;
};

/// An open result.
class EngineInput final
    : public bk2::ref_counted_t<EngineInput, bk2::mt_ref_count_impl_t, EngineInputInterfaces> {
public:
    explicit EngineInput(std::shared_ptr<const ProfileStore> store);

    const std::shared_ptr<const ProfileStore>& store() const { return m_store; }
    /// Null if the name stands for no condition.
    FilterExpressionPtr findFilter(const std::string& name) const { return m_filters.find(name); }

    bk2::sptr_t<dataface1::IResultInfo> getResultInfo() const override { return m_info; }

    bk2::sptr_t<dataface1::IQueryFilterBuilder> createQueryFilterBuilder() override;
    bk2::error_code_t clearQueryFilter(const std::string& name) override;
    bk2::error_code_t copyQueryFilter(const std::string& source, const std::string& target,
                                      bool invert) override;
    bk2::error_code_t setQueryFilter(const std::string& name,
                                     const bk2::sptr_t<dataface1::IQueryFilter>& filter) override;
    bk2::error_code_t clearFilterMerges(const std::string& name) override;
    bk2::error_code_t mergeFilters(const std::string& source, const std::string& target,
                                   bool invert) override;
    bool hasFilter(const std::string& name) const override { return m_filters.has(name); }
    bool isMergeClosed(const std::string&) const override { return false; }

private:
    std::shared_ptr<const ProfileStore> m_store;
    bk2::sptr_t<dataface1::IResultInfo> m_info;
    FilterNames m_filters;
};

} // namespace panedeck::engine
