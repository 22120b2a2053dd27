#pragma once

#include "basekit/api.h"
#include "basekit/large_pages.h"

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace panedeck::engine {

/// Index into the table of strings, modules, functions and so on. 0 is the unknown entry of each table ("" or
/// no such thing), so that a record without a module or a thread needs no special case.
using StringIndex = std::uint32_t;
using ProcessIndex = std::uint32_t;
using ThreadIndex = std::uint32_t;
using ModuleIndex = std::uint32_t;
using SourceFileIndex = std::uint32_t;
using FunctionIndex = std::uint32_t;
/// Index of a stack tree node. Node 0 is the empty stack; a parent's index is smaller than its children's.
using CallsiteIndex = std::uint32_t;

/// How a metric's numbers are meant, for display.
enum class MetricUnit : std::uint8_t { count, nanoseconds, microseconds, bytes };

/// A process; its name is the last command seen.
struct ProcessRecord {
    std::int64_t pid = 0;
    std::string name;
};

/// A thread of a process; its name is the last command seen.
struct ThreadRecord {
    ProcessIndex process = 0;
    std::int64_t tid = 0;
    std::string name;
};

/// Two frames are the same function when all of these agree. Line and column are 1-based, 0 is unknown.
struct FunctionRecord {
    StringIndex name = 0;
    ModuleIndex module = 0;
    SourceFileIndex source_file = 0;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

/// A column of sample weights: integers unless the profile has fractions. Exactly one of the vectors is in
/// use.
struct MetricColumn {
    std::string name;
    MetricUnit unit = MetricUnit::count;
    bool is_integer = true;
    std::vector<std::int64_t> integers;
    std::vector<double> decimals;
};

/// A whole profile in memory, by columns: what an importer makes and the store writes and reads.
///
/// Entry 0 of `processes`, `threads`, `modules`, `source_files`, `functions` is the unknown one and always
/// there; entry 0 of `names` is "". All sample columns have one entry per record. A record stands for
/// `sample_counts[i]` samples that share time slot, thread and stack (1 unless the importer merged equal
/// stacks of a format without times).
struct ProfileData {
    std::vector<std::string> names;        ///< function names
    std::vector<std::string> modules;      ///< module (binary, library) names
    std::vector<std::string> source_files; ///< source paths or urls
    std::vector<ProcessRecord> processes;
    std::vector<ThreadRecord> threads;
    bk2::array_t<FunctionRecord> functions;

    // The stack tree, indexed by CallsiteIndex: the node's parent and its function. Node 0: parent 0,
    // function 0.
    std::vector<CallsiteIndex> callsite_parents;
    std::vector<FunctionIndex> callsite_functions;

    // The samples, in the order of the file; `times` is empty if the format has none (nanoseconds otherwise,
    // from an arbitrary zero).
    std::vector<std::int64_t> times;
    std::vector<ThreadIndex> sample_threads; ///< empty if the format knows no threads: all are thread 0
    std::vector<CallsiteIndex> sample_callsites;
    std::vector<std::uint32_t> sample_counts; ///< empty if every record stands for one sample
    std::vector<MetricColumn> metrics;        ///< the first one is the primary

    std::size_t sample_records() const { return sample_callsites.size(); }
    /// How many samples the records stand for.
    std::uint64_t samples() const {
        if (sample_counts.empty()) return sample_records();
        return std::accumulate(sample_counts.begin(), sample_counts.end(), std::uint64_t{0});
    }
};

} // namespace panedeck::engine
