#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "notifykit/progress.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace panedeck {

/// One operation of a request handler: its name behind the domain's ":", and the member that serves it.
///
/// A handler lists its operations in one table, in the order in which they are compared:
///
///     static constexpr operation_t<KnobRequestHandler> operations[] = {
///         {"set", &KnobRequestHandler::set},
///         {"get", &KnobRequestHandler::get},
///     };
///     return serveOperation(*this, operations, operation, request, answer, progress);
template <class Handler>
struct operation_t {
    using serve_t = bk2::error_code_t (Handler::*)(const bk2::variant_bag_t& request,
                                                   bk2::variant_bag_t& answer,
                                                   notifykit2::IProgress* progress);
    std::string_view name;
    serve_t serve;
};

/// What a handler answers to an operation that it does not have: `IsNot.Valid.Parameter` with the name.
inline bk2::error_code_t unknownOperation(const std::string& operation) {
    return bk2::error_code_t::raise(bk2::kinds::is_not_valid_parameter, operation);
}

/// The same without a text, for handlers whose failures of this sort have none.
inline bk2::error_code_t unnamedOperation() {
    return bk2::error_code_t::raise(bk2::kinds::is_not_valid_parameter, "");
}

/// The first operation of that exact name, null if there is none: for handlers with an answer of their own to
/// what they do not have.
template <class Handler, std::size_t count>
const operation_t<Handler>* findOperation(const operation_t<Handler> (&table)[count],
                                          std::string_view operation) {
    const auto* found = std::ranges::find(table, operation, &operation_t<Handler>::name);
    return found == table + count ? nullptr : found;
}

/// Serves the first operation of that exact name; an unknown one is `unknownOperation`.
template <class Handler, std::size_t count>
bk2::error_code_t serveOperation(Handler& handler, const operation_t<Handler> (&table)[count],
                                 const std::string& operation, const bk2::variant_bag_t& request,
                                 bk2::variant_bag_t& answer, notifykit2::IProgress* progress) {
    const auto* found = findOperation(table, operation);
    if (!found) return unknownOperation(operation);
    return (handler.*found->serve)(request, answer, progress);
}

} // namespace panedeck
