#pragma once

#include "basekit/api.h"

#include <memory>
#include <string>
#include <string_view>

namespace bk2 {

/// Failure kinds, written as they reach the front end: `FailedTo.<Verb>.<Object>`, `IsNot.Valid.<Thing>`.
namespace kinds {

inline constexpr char failed_to[] = "FailedTo";
inline constexpr char failed_to_process_this_operation[] = "FailedTo.Process.This.Operation";
inline constexpr char failed_to_execute_this_operation[] = "FailedTo.Execute.This.Operation";
inline constexpr char failed_to_access_this_object[] = "FailedTo.Access.This.Object";
inline constexpr char failed_to_get_object_pointer[] = "FailedTo.Get.Object.Pointer";
inline constexpr char failed_to_get_the_object[] = "FailedTo.Get.The.Object";
inline constexpr char failed_to_get_object_value[] = "FailedTo.Get.Object.Value";
inline constexpr char failed_to_get_object_data[] = "FailedTo.Get.Object.Data";
inline constexpr char failed_to_get_data_content[] = "FailedTo.Get.Data.Content";
inline constexpr char failed_to_get_attribute_key[] = "FailedTo.Get.Attribute.Key";
inline constexpr char failed_to_get_the_filter[] = "FailedTo.Get.The.Filter";
inline constexpr char failed_to_get_the_query[] = "FailedTo.Get.The.Query";
inline constexpr char failed_to_open_this_object[] = "FailedTo.Open.This.Object";
inline constexpr char failed_to_process_the_object[] = "FailedTo.Process.The.Object";
inline constexpr char failed_to_create_this_query[] = "FailedTo.Create.This.Query";
inline constexpr char failed_to_create_the_query[] = "FailedTo.Create.The.Query";
inline constexpr char failed_to_create_the_object[] = "FailedTo.Create.The.Object";
inline constexpr char failed_to_set_the_query[] = "FailedTo.Set.The.Query";
inline constexpr char failed_to_compile_the_filter[] = "FailedTo.Compile.The.Filter";
inline constexpr char is_not[] = "IsNot";
inline constexpr char is_not_valid_argument[] = "IsNot.Valid.Argument";
inline constexpr char is_not_valid_parameter[] = "IsNot.Valid.Parameter";
inline constexpr char is_not_valid_data[] = "IsNot.Valid.Data";
inline constexpr char is_not_valid_state[] = "IsNot.Valid.State";
inline constexpr char is_not_valid_pointer[] = "IsNot.Valid.Pointer";
inline constexpr char is_not_valid_object[] = "IsNot.Valid.Object";

} // namespace kinds

/// The result of every operation that can fail. Three outcomes:
///  - success;
///  - a non-failing status of value 1, which `succeeded()` accepts too: nothing was done here (a request that
///  is
///    not the callee's own, an unchanged selection, a cut table);
///  - failure, with a kind and a message.
/// One pointer wide; copies share the text. Safe to hand between threads.
class [[nodiscard]] PANEDECK_API error_code_t {
public:
    /// Success.
    error_code_t() = default;

    static error_code_t success() { return {}; }

    /// The non-failing status of value 1.
    static error_code_t nothing_done();

    /// A failure. `kind` as in `kinds`; `function` and `line` say where it was raised and are for the log
    /// only.
    static error_code_t raise(std::string_view kind, std::string_view message, const char* function = "",
                              int line = 0);

    /// A plain failure: kind `FailedTo`, no assertion, nothing logged.
    static error_code_t failure(std::string_view message) { return raise(kinds::failed_to, message); }

    /// The one cancelled error: what long work gives back once its progress object was cancelled.
    static error_code_t canceled();

    /// The data provider's empty result: a query that ran well and found no row.
    static error_code_t empty_result();

    bool succeeded() const { return !m_info || m_info.get() == status_info(); }
    bool failed() const { return !succeeded(); }
    /// True only for the non-failing status.
    bool is_nothing_done() const { return m_info && m_info.get() == status_info(); }
    bool is_canceled() const;
    bool is_empty_result() const;

    /// 0 success, 1 the non-failing status, -1 failure.
    int value() const { return !m_info ? 0 : succeeded() ? 1 : -1; }

    /// Empty unless this is a failure.
    std::string_view kind() const;
    std::string_view message() const;

    /// With detail 1 the text for the front end: the kind, ": " and the message, or the kind alone if there
    /// is no message; never a file or a line. With detail 2 or more the place of raising follows, for logs.
    std::string as_string(int detail = 1) const;

private:
    struct info_t;
    explicit error_code_t(std::shared_ptr<const info_t> info) : m_info(std::move(info)) {}
    static const info_t* status_info();

    std::shared_ptr<const info_t> m_info;
};

} // namespace bk2
