#include "import/foreign_format.h"

#include "import/json_keys.h"
#include "import/text_lines.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace panedeck::engine {

namespace {

using namespace std::string_view_literals;

/// The beginning of a file in the forms that signatures look at.
struct Beginning {
    std::string_view bytes;
    std::string_view first_line; ///< the first one that is not blank, without blanks around it
    std::vector<std::string_view> keys;

    bool begins(std::string_view with) const { return bytes.starts_with(with); }
    bool holds(std::string_view text) const { return bytes.find(text) != bytes.npos; }
    bool has_key(std::string_view key) const { return std::ranges::find(keys, key) != keys.end(); }

    bool has_line(std::string_view with) const {
        std::string_view text = bytes;
        std::string_view line;
        while (takeLine(text, true, line))
            if (line.starts_with(with)) return true;
        return false;
    }
};

struct Signature {
    std::string_view description;
    bool (*fits)(const Beginning&);
};

// The first field of a profile is a type of value, whose first field is a number: nothing in text looks so.
bool isPprof(const Beginning& file) {
    const std::string_view bytes = file.bytes;
    return bytes.size() > 4 && bytes[0] == '\x0a' && bytes[1] > 1 && bytes[1] < 32 && bytes[2] == '\x08' &&
           (bytes[4] == '\x10' || bytes[1] == 2);
}

bool isPprofText(const Beginning& file) {
    constexpr std::array names{"goroutine profile: total "sv,
                               "heap profile: "sv,
                               "threadcreate profile: "sv,
                               "heap_v2/"sv,
                               "--- contention:"sv,
                               "--- mutex:"sv,
                               "--- symbol"sv};
    return std::ranges::any_of(names, [&](std::string_view name) { return file.begins(name); });
}

bool isCallgrind(const Beginning& file) {
    return file.first_line == "# callgrind format" ||
           (file.has_line("events: ") && (file.has_line("fn=") || file.has_line("fl=")));
}

// Each entry of the dictionary is under a file, a line and a function.
bool isPstats(const Beginning& file) {
    const std::string_view bytes = file.bytes;
    return bytes.size() > 3 && (bytes[0] == '{' || bytes[0] == '\xfb') &&
           ((bytes.substr(1, 2) == ")\x03"sv) || (bytes.substr(1, 2) == "\xa9\x03"sv) ||
            (bytes.substr(1, 5) == "(\x03\0\0\0"sv));
}

// MODULE`FUNCTION, alone on its line.
bool isDtraceFrame(std::string_view line) {
    const std::size_t mark = line.find('`');
    return mark != line.npos && mark > 0 && mark + 1 < line.size() && line.rfind('`') == mark &&
           line.find_first_of("; ") == line.npos;
}

bool isDtrace(const Beginning& file) {
    return (file.first_line.starts_with("CPU") && file.first_line.ends_with("FUNCTION:NAME")) ||
           file.first_line.starts_with("dtrace: ") || isDtraceFrame(file.first_line);
}

// A table without the header of a dump has a column of stacks.
bool isXperf(const Beginning& file) {
    if (file.first_line == "BeginHeader") return true;
    const std::string_view line = file.first_line;
    return line.find("Stack") != line.npos && line.find_first_of(";(<") == line.npos &&
           std::ranges::count(line, ',') > 1 &&
           (line.find("Process") != line.npos || line.find("Weight") != line.npos);
}

bool isGhc(const Beginning& file) {
    return file.first_line.find("Time and Allocation Profiling Report") != std::string_view::npos ||
           file.begins("JOB \"") || (file.has_key("program") && file.has_key("rts_arguments"));
}

bool isMarkup(const Beginning& file) {
    constexpr std::array tags{"<!doctype html"sv, "<html"sv, "<svg"sv};
    std::string line(file.first_line.substr(0, 32));
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    std::ranges::transform(line, line.begin(), lower);
    return std::ranges::any_of(tags, [&](std::string_view tag) { return line.starts_with(tag); }) ||
           (line.starts_with("<?xml") && file.holds("<svg"));
}

bool isTar(const Beginning& file) {
    return file.bytes.size() > 262 && file.bytes.substr(257, 5) == "ustar";
}

// No file that is read here fits one of these: what they look for stands at the beginning, or nowhere in a
// profile.
constexpr std::array<Signature, 29> signatures{{
    {"this is a perf.data recording: give the text that \"perf script\" prints of it",
     [](const Beginning& file) { return file.begins("PERFILE2") || file.begins("PERFFILE"); }},
    {"this is a pprof profile: fold what \"pprof -raw\" prints of it, with stackcollapse-go.pl for example, "
     "and "
     "give the folded stacks",
     isPprof},
    {"this is a pprof profile in its text form: give folded stacks instead, made of what \"pprof -raw\" "
     "prints",
     isPprofText},
    {"this is a callgrind or cachegrind profile, which keeps no stacks: record the program with \"perf "
     "record "
     "-g\" and give the text that \"perf script\" prints",
     isCallgrind},
    {"this is a Chrome trace: save the CPU profile itself (.cpuprofile), with \"node --cpu-prof\" for "
     "example",
     [](const Beginning& file) {
         return file.has_key("traceEvents") || (file.has_key("ph") && file.has_key("ts"));
     }},
    {"this is a profile of the Firefox Profiler: convert it to folded stacks and give those",
     [](const Beginning& file) {
         return file.has_key("meta") && (file.has_key("libs") || file.has_key("threads"));
     }},
    {"this is a speedscope profile: give the file that it was made of, or convert it to folded stacks",
     [](const Beginning& file) {
         return file.has_key("profiles") && (file.has_key("shared") || file.holds("speedscope"));
     }},
    {"this is a timeline recording of Safari: convert it to folded stacks and give those",
     [](const Beginning& file) {
         return file.has_key("recording") && (file.has_key("version") || file.has_key("overview"));
     }},
    {"this is a V8 heap snapshot: record a CPU profile instead, with \"node --cpu-prof\" for example",
     [](const Beginning& file) { return file.has_key("snapshot") && file.holds("\"node_fields\""); }},
    {"this is a V8 heap profile: record a CPU profile instead, with \"node --cpu-prof\" for example",
     [](const Beginning& file) { return file.has_key("head") && file.holds("\"selfSize\":"); }},
    {"this is a log of V8: record a CPU profile instead, with \"node --cpu-prof\" for example",
     [](const Beginning& file) { return file.begins("v8-version,") || file.begins("shared-library,"); }},
    {"this is a report of macOS sample: fold its stacks, with stackcollapse-sample.awk for example, and give "
     "those",
     [](const Beginning& file) { return file.first_line.starts_with("Analysis of sampling "); }},
    {"this is the output of DTrace: fold its stacks, with stackcollapse.pl for example, and give those",
     isDtrace},
    {"this is the output of bpftrace: fold its stacks, with stackcollapse-bpftrace.pl for example, and give "
     "those",
     [](const Beginning& file) {
         return (file.first_line.starts_with("Attaching ") && file.holds(" probe")) ||
                file.first_line == "@[";
     }},
    {"this is a gprof report, which keeps no stacks: record the program with \"perf record -g\" and give the "
     "text "
     "that \"perf script\" prints",
     [](const Beginning& file) {
         return file.begins("gmon") || file.has_line("Each sample counts as ") ||
                (file.first_line == "Flat profile:");
     }},
    {"this is a recording of Java Flight Recorder: convert it to collapsed stacks, with \"jfrconv -o "
     "collapsed\" "
     "for example, and give those",
     [](const Beginning& file) { return file.begins("FLR\0"sv); }},
    {"this is a Python pstats profile, which keeps no stacks: record folded stacks instead, with \"py-spy "
     "record "
     "--format raw\" for example",
     isPstats},
    {"this is an xperf CSV export: fold its stacks and give those", isXperf},
    {"this is a GHC profiling report: convert it to folded stacks and give those", isGhc},
    {"this is a massif heap profile, which keeps no stacks of a program's time: record the program with "
     "\"perf "
     "record -g\" and give the text that \"perf script\" prints",
     [](const Beginning& file) { return file.begins("desc: ") && file.has_line("snapshot="); }},
    {"this is a web page or a picture (HTML or SVG): give the profile that it was made of", isMarkup},
    {"this is a zip archive: unpack it and give the profile in it",
     [](const Beginning& file) { return file.begins("PK\x03\x04"sv) || file.begins("PK\x05\x06"sv); }},
    {"this is a tar archive: unpack it and give the profile in it", isTar},
    {"this is packed with xz: unpack it with \"unxz\" and give the result",
     [](const Beginning& file) {
         return file.begins("\xFD"
                            "7zXZ\0"sv);
     }},
    {"this is packed with zstd: unpack it with \"unzstd\" and give the result",
     [](const Beginning& file) { return file.begins("\x28\xB5\x2F\xFD"sv); }},
    {"this is packed with bzip2: unpack it with \"bunzip2\" and give the result",
     [](const Beginning& file) {
         return file.begins("BZh") && file.bytes.size() > 10 && file.bytes.substr(4, 6) == "1AY&SY";
     }},
    {"this is packed with 7-Zip: unpack it and give the profile in it",
     [](const Beginning& file) { return file.begins("7z\xBC\xAF\x27\x1C"sv); }},
    {"this is a database: to open a result, give the folder that holds it",
     [](const Beginning& file) { return file.begins("SQLite format 3\0"sv); }},
    {"this is the description of a result: give the folder that holds it",
     [](const Beginning& file) { return file.first_line.starts_with("<result>"); }},
}};

std::string_view firstLineOf(std::string_view text) {
    std::string_view line;
    while (takeLine(text, true, line))
        if (line = trimmed(line); !line.empty()) return line;
    return {};
}

} // namespace

std::string_view describeForeignFormat(std::string_view beginning) {
    const Beginning file{beginning, firstLineOf(beginning), outermostJsonKeys(beginning)};
    for (const Signature& signature : signatures)
        if (signature.fits(file)) return signature.description;
    return {};
}

} // namespace panedeck::engine
