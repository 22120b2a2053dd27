#pragma once

// A result whose filters are texts, and which can fail at any step.

#include "basekit/ref_counted.h"
#include "dataface/filter_registry.h"
#include "dataface/input_data.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace panedeck::tests {

/// A filter as text: "(/Function=17 & !(/Thread=3))".
class FakeFilter : public bk2::ref_counted_t<FakeFilter, bk2::mt_ref_count_impl_t, dataface1::IQueryFilter> {
public:
    explicit FakeFilter(std::string expression) : text(std::move(expression)) {}
    const std::string text;
};

/// Writes what it is told: "and(/Function=17 or(/Thread=1 /Process=1))".
class FakeFilterBuilder
    : public bk2::ref_counted_t<FakeFilterBuilder, bk2::mt_ref_count_impl_t, dataface1::IQueryFilterBuilder> {
public:
    bk2::error_code_t beginGroup(int op) override {
        add(op == group_and ? "and(" : "or(");
        ++m_open;
        return bk2::error_code_t::success();
    }
    bk2::error_code_t endGroup() override {
        if (m_open-- == 0) return bk2::error_code_t::failure("no group is open");
        m_text += ")";
        return bk2::error_code_t::success();
    }
    void setValueMode(bool values) override { m_text = values ? "values:" : ""; }
    bk2::error_code_t addExpression(const bk2::sptr_t<dataface1::IInfoQuery>& query,
                                    dataface1::filter_expr_opcode_t, const bk2::variant_t& value) override {
        const char* mark = value.is_narrow_text() ? "'" : "";
        add(query->getName() + "=" + (value.is_null() ? "null" : mark + bk2::get_value_string(value) + mark));
        return bk2::error_code_t::success();
    }
    bk2::sptr_t<dataface1::IQueryFilter> compile() override {
        return m_open == 0 && m_text.find("refused") == std::string::npos ? bk2::make_sptr<FakeFilter>(m_text)
                                                                          : nullptr;
    }

private:
    void add(const std::string& part) {
        if (!m_text.empty() && m_text.back() != '(' && m_text.back() != ':') m_text += " ";
        m_text += part;
    }

    std::string m_text;
    std::size_t m_open = 0;
};

/// A result with its filter registry. Steps are counted over all operations that can fail; step `failingStep`
/// fails.
class FakeInputData : public dataface1::IInputData, public dataface1::IFilterRegistry {
public:
    FakeInputData() = default;

    void add_ref() const override { m_references.increment(); }
    void release() const override {
        if (m_references.decrement()) delete this;
    }

    bk2::sptr_t<dataface1::IResultInfo> getResultInfo() const override { return nullptr; }

    bk2::sptr_t<dataface1::IQueryFilterBuilder> createQueryFilterBuilder() override {
        return givesBuilder ? bk2::make_sptr<FakeFilterBuilder>() : nullptr;
    }
    bk2::error_code_t clearQueryFilter(const std::string& name) override {
        return step([&] { filters.erase(name); });
    }
    bk2::error_code_t copyQueryFilter(const std::string& source, const std::string& target,
                                      bool invert) override {
        return step([&] {
            const auto found = filters.find(source);
            if (found == filters.end()) return;
            const std::string part = (invert ? "!" : "") + std::string("[") + found->second + "]";
            std::string& text = filters[target];
            text += (text.empty() ? "" : " & ") + part;
        });
    }
    bk2::error_code_t setQueryFilter(const std::string& name,
                                     const bk2::sptr_t<dataface1::IQueryFilter>& filter) override {
        return step([&] { filters[name] = static_cast<const FakeFilter&>(*filter).text; });
    }
    bk2::error_code_t clearFilterMerges(const std::string& name) override {
        return step([&] { merges.erase(name); });
    }
    bk2::error_code_t mergeFilters(const std::string& source, const std::string& target,
                                   bool invert) override {
        return step([&] { merges[target].push_back((invert ? "!" : "") + source); });
    }
    bool hasFilter(const std::string& name) const override {
        ++timesAsked;
        return filters.count(name) != 0;
    }
    bool isMergeClosed(const std::string& target) const override { return target == closedTarget; }

    std::map<std::string, std::string> filters;
    std::map<std::string, std::vector<std::string>> merges;
    std::string closedTarget;
    bool givesBuilder = true;
    int failingStep = -1;
    int steps = 0;
    mutable int timesAsked = 0; ///< `hasFilter`

protected:
    ~FakeInputData() override = default;

private:
    template <class Work>
    bk2::error_code_t step(Work work) {
        if (steps++ == failingStep) return bk2::error_code_t::failure("step " + std::to_string(failingStep));
        work();
        return bk2::error_code_t::success();
    }

    bk2::mt_ref_count_impl_t m_references;
};

} // namespace panedeck::tests
