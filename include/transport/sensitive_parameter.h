#pragma once

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <string>

/// Values that must not reach a log file travel inside a text between the marks "sensitive(" and
/// ")sensitive". The marks hide nothing by themselves; they say what to remove before a text is logged.
///
/// A value and its marks stand in one line: a text is searched line by line (lines end at LF and at CR), in
/// each from the first opening mark to the last closing mark behind it. So a value with a line break is not
/// recognised: whoever wraps values has to refuse such a one. All functions take linear time and constant
/// stack, whatever the text holds, and may be called from any thread.
namespace panedeck::sensitive_parameter {

/// `value` between the marks. It must hold no line break.
PANEDECK_API std::string mark(const std::string& value);

/// The value, if `text` is a marked one as a whole; else `text`.
PANEDECK_API std::string withoutMarks(const std::string& text);

/// The value inside the first line of `text` that holds one. A text without the marks logs an assertion and
/// gives "".
PANEDECK_API std::string decode(const std::string& text);

/// `text` with each marked value, marks included, replaced by "(removed from log)".
PANEDECK_API ustring8 sanitizeLog(const ustring8& text);

} // namespace panedeck::sensitive_parameter
