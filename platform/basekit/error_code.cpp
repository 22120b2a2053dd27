#include "basekit/error_code.h"

namespace bk2 {

struct error_code_t::info_t {
    std::string kind;
    std::string message;
    std::string function;
    int line = 0;
};

// The three constants are compared by identity: a failure that merely has the same text is none of them.
error_code_t error_code_t::nothing_done() {
    static const auto info = std::make_shared<const info_t>();
    return error_code_t(info);
}

error_code_t error_code_t::canceled() {
    static const auto info = std::make_shared<const info_t>(info_t{"Operation.Is.Canceled", "", "", 0});
    return error_code_t(info);
}

error_code_t error_code_t::empty_result() {
    static const auto info = std::make_shared<const info_t>(info_t{"Result.Is.Empty", "", "", 0});
    return error_code_t(info);
}

error_code_t error_code_t::raise(std::string_view kind, std::string_view message, const char* function,
                                 int line) {
    return error_code_t(std::make_shared<const info_t>(
        info_t{std::string(kind), std::string(message), function ? function : "", line}));
}

const error_code_t::info_t* error_code_t::status_info() {
    static const error_code_t status = nothing_done();
    return status.m_info.get();
}

bool error_code_t::is_canceled() const {
    return m_info && m_info == canceled().m_info;
}

bool error_code_t::is_empty_result() const {
    return m_info && m_info == empty_result().m_info;
}

std::string_view error_code_t::kind() const {
    return m_info ? std::string_view(m_info->kind) : std::string_view();
}

std::string_view error_code_t::message() const {
    return m_info ? std::string_view(m_info->message) : std::string_view();
}

std::string error_code_t::as_string(int detail) const {
    if (!m_info) return {};
    std::string text = m_info->kind;
    if (!m_info->message.empty()) text += ": " + m_info->message;
    if (detail > 1 && !m_info->function.empty())
        text += ", at " + m_info->function + ":" + std::to_string(m_info->line);
    return text;
}

} // namespace bk2
