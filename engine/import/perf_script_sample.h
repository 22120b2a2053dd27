#pragma once

#include "import/import_report.h"
#include "import/perf_script_line.h"
#include "import/profile_builder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace panedeck::engine {

/// Collects one sample of `perf script` text at a time and adds it to the profile.
class PerfScriptSamples {
public:
    PerfScriptSamples(ProfileBuilder& builder, ImportReport& report, const ImportLimits& limits)
        : m_builder(builder), m_report(report), m_limits(limits) {}

    /// True between a header and the end of its sample.
    bool is_open() const { return m_open; }

    /// Ends the sample before and begins one at line `number`.
    void begin(const PerfHeader& header, std::uint64_t number);

    /// The next frame towards the root.
    void addFrame(const PerfFrame& frame);

    /// The sample cannot be used: it will be skipped and counted.
    void damage(const char* why) { m_damage = why; }

    /// Adds the sample, or counts it as skipped.
    void end();

    /// Sets the units of the metrics, when all samples are in.
    void finish();

private:
    struct Frame {
        StringIndex name;
        ModuleIndex module;
        bool is_inlined;
    };

    /// An event's metric, and whether each of its samples said how much it stands for.
    struct Event {
        std::string name;
        MetricIndex metric;
        bool always_has_period;
    };

    void setWeight(const PerfHeader& header);
    Event* findEvent(std::string_view name);
    CallsiteIndex callsite();

    ProfileBuilder& m_builder;
    ImportReport& m_report;
    ImportLimits m_limits;
    std::vector<Event> m_events;
    std::vector<Frame> m_frames;
    SampleRecord m_sample;
    std::uint64_t m_header_line = 0;
    std::string m_only_frame; ///< the frame on the header line; counts only if none follows
    const char* m_damage = nullptr;
    bool m_open = false;
};

} // namespace panedeck::engine
