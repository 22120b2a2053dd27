#include "query/engine_input.h"

#include "filter/query_filter.h"
#include "filter/query_filter_builder.h"

#include <fmt/format.h>

#include <filesystem>

namespace panedeck::engine {

namespace {

class ResultInfo final
    : public bk2::ref_counted_t<ResultInfo, bk2::mt_ref_count_impl_t, dataface1::IResultInfo> {
public:
    explicit ResultInfo(const ResultFacts& facts) : m_name(facts.name.empty() ? "result" : facts.name) {
        // Results in different projects often have the same name; the file that they came from tells them
        // apart.
        const std::string source = std::filesystem::path(facts.source).filename().string();
        m_version = source.empty() ? m_name : fmt::format("{} ({})", m_name, source);
    }

    std::string getVersionText() const override { return m_version; }
    std::string getResultName() const override { return m_name; }

private:
    std::string m_name;
    std::string m_version;
};

} // namespace

EngineInput::EngineInput(std::shared_ptr<const ProfileStore> store)
    : m_store(std::move(store)), m_info(bk2::make_sptr<ResultInfo>(m_store->facts())) {}

bk2::sptr_t<dataface1::IQueryFilterBuilder> EngineInput::createQueryFilterBuilder() {
    return bk2::make_sptr<QueryFilterBuilder>();
}

bk2::error_code_t EngineInput::clearQueryFilter(const std::string& name) {
    m_filters.clear(name);
    return {};
}

bk2::error_code_t EngineInput::copyQueryFilter(const std::string& source, const std::string& target,
                                               bool invert) {
    return m_filters.copy(source, target, invert);
}

bk2::error_code_t EngineInput::setQueryFilter(const std::string& name,
                                              const bk2::sptr_t<dataface1::IQueryFilter>& filter) {
    const auto own = bk2::interface_cast<QueryFilter>(filter);
    if (!own) return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "filter");
    m_filters.set(name, own->expression());
    return {};
}

bk2::error_code_t EngineInput::clearFilterMerges(const std::string& name) {
    m_filters.clearMerges(name);
    return {};
}

bk2::error_code_t EngineInput::mergeFilters(const std::string& source, const std::string& target,
                                            bool invert) {
    m_filters.recordMerge(source, target, invert);
    return {};
}

} // namespace panedeck::engine
