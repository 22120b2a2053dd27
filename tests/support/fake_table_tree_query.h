#pragma once

#include "basekit/ref_counted.h"
#include "slicerkit/table_tree_query.h"

#include <functional>
#include <string>
#include <vector>

namespace panedeck::tests {

/// What the queries of a test answer and what they were told. One at a time: while it lives,
/// `ITableTreeQuery::create` makes queries that belong to it.
class FakeQueryEngine {
public:
    FakeQueryEngine() {
        current() = this;
        slicerkit1::ITableTreeQuery::setFactory(&FakeQueryEngine::makeQuery);
    }
    ~FakeQueryEngine() {
        slicerkit1::ITableTreeQuery::setFactory(nullptr);
        current() = nullptr;
    }

    std::vector<std::string> calls; ///< "group /Function", "column /Metrics", "run 4", ...
    std::string failingCall;        ///< the call with this text fails
    bk2::sptr_t<dataface1::ITableTree> tree;
    bk2::error_code_t result; ///< of running a query
    std::function<void()> whileRunning = [] {};

private:
    class Query : public bk2::ref_counted_t<Query, bk2::mt_ref_count_impl_t, slicerkit1::ITableTreeQuery> {
    public:
        bk2::error_code_t addInputData(const bk2::sptr_t<dataface1::IInputData>& input) override {
            return note(input ? "input" : "null input");
        }
        bk2::error_code_t setFilterName(const std::string& name) override { return note("filter " + name); }
        bk2::error_code_t prepare() override { return note("prepare"); }
        bk2::error_code_t setFocusObject(const bk2::sptr_t<dataface1::IQuery>&,
                                         const bk2::variant_t&) override {
            return note("focus");
        }
        bk2::error_code_t setSortQuery(const bk2::sptr_t<dataface1::IQuery>& query) override {
            return note("sort " + query->getName());
        }
        bk2::error_code_t setGroupingQuery(const bk2::sptr_t<dataface1::IQuery>& query) override {
            return note("group " + query->getName());
        }
        bk2::error_code_t addColumnQuery(const bk2::sptr_t<dataface1::IQuery>& query) override {
            return note("column " + (query ? query->getName() : "null"));
        }
        bk2::error_code_t getTableTree(bk2::sptr_t<dataface1::ITableTree>& tree, notifykit2::IProgress*,
                                       int typeAndFlags) override {
            if (const auto error = note("run " + std::to_string(typeAndFlags)); error.failed()) return error;
            current()->whileRunning();
            tree = current()->tree;
            return current()->result;
        }

    private:
        static bk2::error_code_t note(const std::string& call) {
            current()->calls.push_back(call);
            return call == current()->failingCall ? bk2::error_code_t::failure(call)
                                                  : bk2::error_code_t::success();
        }
    };

    static FakeQueryEngine*& current() {
        static FakeQueryEngine* engine = nullptr;
        return engine;
    }
    static bk2::sptr_t<slicerkit1::ITableTreeQuery> makeQuery() { return bk2::make_sptr<Query>(); }
};

} // namespace panedeck::tests
