#pragma once

#include "import/sample_weight.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace panedeck::engine {

/// The line that begins a sample. Which fields there are was chosen by whoever ran `perf script`.
struct PerfHeader {
    std::string_view command;
    std::optional<std::int32_t> pid;
    std::optional<std::int32_t> tid;
    std::optional<std::int64_t> time; ///< nanoseconds
    bool has_period = false;
    WeightStatus period_status = WeightStatus::ok;
    SampleWeight period;
    std::string_view event; ///< empty if the header names none
    std::string_view rest;  ///< what follows the event: the only frame, an address, or a tracepoint's text
    bool is_other_record = false; ///< a `PERF_RECORD_` line
};

/// One frame of a stack.
struct PerfFrame {
    std::string_view address;
    std::string_view symbol; ///< without its offset; may be empty
    std::string_view module; ///< empty if unknown
    bool is_inlined = false;
    bool has_module_text = false; ///< a parenthesised group closed the line
};

/// A header that shows itself as one: it has a time, or an id in front of an event.
std::optional<PerfHeader> parsePerfHeader(std::string_view line);

/// Any other text taken as a header that lacks these: right only if frames follow, or `rest` is one.
PerfHeader parseLoosePerfHeader(std::string_view line);

/// `COMMAND TID ADDRESS SYMBOL`, with or without each of the first two: a sample of a single frame, its
/// address padded to the width that `perf script` gives it.
std::optional<PerfHeader> parsePerfSingleLine(std::string_view line);

/// A frame: an address in hexadecimal, a symbol and, in parentheses, a module.
std::optional<PerfFrame> parsePerfFrame(std::string_view text);

/// Whether a word in hexadecimal digits, as all addresses of frames are, may be one in a text of any kind.
bool mayBeAddress(std::string_view word);
/// Whether it is hardly anything else, such as a word or a number.
bool isSurelyAddress(std::string_view word);

/// Whether the address stands where `perf script` sets it: behind a tab, or to the right in 16 columns.
bool isPerfFrameColumn(std::string_view line, std::string_view address);

/// `PERF_RECORD_` lines.
bool isOtherPerfRecord(std::string_view line);

/// `  main.c:12` or `  MODULE[ADDRESS]`, as the field `srcline` prints it, or `|12  code`, as `srccode` does.
/// Of lines that are not empty.
bool isPerfSourceLine(std::string_view line);

} // namespace panedeck::engine
