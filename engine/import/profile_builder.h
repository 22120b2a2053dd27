#pragma once

#include "import/hash_index.h"
#include "import/import_limits.h"
#include "import/metric_builder.h"
#include "import/stack_tree_builder.h"
#include "import/string_interner.h"
#include "import/thread_table.h"
#include "store/profile_data.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace panedeck::engine {

using MetricIndex = std::uint32_t;

/// Why a profile is refused whose weights do not fit together into 64 bits.
inline constexpr char total_would_wrap[] = "the total weight would exceed 9223372036854775807";

/// A sample that keeps its place in the file.
struct SampleRecord {
    ThreadIndex thread = 0;
    CallsiteIndex callsite = 0;
    std::optional<std::int64_t> time; ///< nanoseconds; an unknown time is that of the sample before
    MetricIndex metric = 0;
    SampleWeight weight;
};

/// Builds a profile from what an importer reads. Names are given as they stand in the file: text that is no
/// UTF-8 is repaired here.
///
/// Limits and totals are watched: once one is passed `failure` says which, and what is added after that is
/// lost. An importer looks at it after each sample and refuses the file.
class ProfileBuilder {
public:
    explicit ProfileBuilder(const ImportLimits& limits);

    StringIndex name(std::string_view text) { return m_names.intern(text); }
    /// "" is the unknown module.
    ModuleIndex module(std::string_view text) { return m_modules.intern(text); }
    /// "" is the unknown source file.
    SourceFileIndex sourceFile(std::string_view text) { return m_source_files.intern(text); }

    /// The function of this identity.
    FunctionIndex function(const FunctionRecord& identity);
    /// The function that is known by its name alone.
    FunctionIndex functionNamed(std::string_view text);

    /// The node for `function` called from the stack `parent`.
    CallsiteIndex child(CallsiteIndex parent, FunctionIndex function) {
        return m_tree.child(parent, function);
    }

    /// The thread; both are named by `command` unless it is empty.
    ThreadIndex thread(std::optional<std::int32_t> pid, std::optional<std::int32_t> tid,
                       std::string_view command) {
        return m_threads.find(pid, tid, command);
    }

    /// The metric of this name, made if it is new; none if there are too many.
    std::optional<MetricIndex> metric(std::string_view name, MetricUnit unit = MetricUnit::count);
    void setUnit(MetricIndex metric, MetricUnit unit) { m_metrics[metric].setUnit(unit); }

    /// Adds a record of its own.
    void addSample(const SampleRecord& sample);

    /// For formats without times and threads: adds to the one record of this stack, which then stands for
    /// `sample_count` samples more.
    void addMerged(CallsiteIndex callsite, MetricIndex metric, const SampleWeight& weight,
                   std::uint32_t sample_count = 1);

    bool has_samples() const { return !m_sample_callsites.empty(); }

    /// What limit was passed; null if none was.
    const char* failure() const { return m_failure; }

    /// Hands the profile over. The builder is spent then.
    ProfileData take();

private:
    void addTime(const std::optional<std::int64_t>& time);
    void checkLimits();
    void takeTimes(ProfileData& profile);

    ImportLimits m_limits;
    StringInterner m_names;
    StringInterner m_modules;
    StringInterner m_source_files;
    bk2::array_t<FunctionRecord> m_functions;
    HashIndex m_function_lookup;
    std::vector<FunctionIndex> m_function_by_name; ///< functions known by name alone, 0 is none yet
    StackTreeBuilder m_tree;
    ThreadTable m_threads;
    std::vector<MetricBuilder> m_metrics;

    std::vector<std::int64_t> m_times;
    std::optional<std::size_t> m_first_timed;
    std::vector<ThreadIndex> m_sample_threads;
    bool m_has_threads = false;
    std::vector<CallsiteIndex> m_sample_callsites;
    std::vector<std::uint32_t> m_sample_counts;
    std::vector<std::uint32_t> m_merged_record; ///< by callsite: its record plus 1, 0 is none yet
    const char* m_failure = nullptr;
};

} // namespace panedeck::engine
