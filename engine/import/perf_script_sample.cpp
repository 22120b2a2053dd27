#include "import/perf_script_sample.h"

#include <algorithm>
#include <ranges>

namespace panedeck::engine {

namespace {

const char* complaint(WeightStatus status) {
    if (status == WeightStatus::negative) return "sample with a negative period";
    return status == WeightStatus::ok ? nullptr : "sample with a period that is too large";
}

// The clock events count nanoseconds; any other event counts itself.
MetricUnit unitOf(std::string_view event) {
    const std::string_view plain = event.substr(0, event.find(':'));
    return plain == "cpu-clock" || plain == "task-clock" ? MetricUnit::nanoseconds : MetricUnit::count;
}

} // namespace

void PerfScriptSamples::begin(const PerfHeader& header, std::uint64_t number) {
    end();
    m_open = true;
    m_header_line = number;
    m_only_frame.assign(header.rest);
    m_sample = {};
    m_sample.time = header.time;
    if (header.command.size() > m_limits.name_bytes || header.event.size() > m_limits.name_bytes)
        return damage("sample with a name that is too long");
    setWeight(header);
    if (!m_damage) m_sample.thread = m_builder.thread(header.pid, header.tid, header.command);
}

void PerfScriptSamples::setWeight(const PerfHeader& header) {
    if (const char* why = complaint(header.period_status)) return damage(why);
    m_sample.weight = header.has_period ? header.period : SampleWeight::of(std::int64_t{1});
    Event* event = findEvent(header.event.empty() ? "samples" : header.event);
    if (!event) return damage("sample of an event beyond the allowed number of them");
    event->always_has_period &= header.has_period;
    m_sample.metric = event->metric;
}

PerfScriptSamples::Event* PerfScriptSamples::findEvent(std::string_view name) {
    const auto found = std::ranges::find(m_events, name, &Event::name);
    if (found != m_events.end()) return &*found;
    const auto metric = m_builder.metric(name);
    if (!metric) return nullptr;
    m_events.push_back({std::string(name), *metric, true});
    return &m_events.back();
}

void PerfScriptSamples::addFrame(const PerfFrame& frame) {
    if (frame.symbol.size() > m_limits.name_bytes || frame.module.size() > m_limits.name_bytes)
        return damage("sample with a name that is too long");
    if (m_frames.size() == m_limits.stack_frames) return damage("sample with a stack that is too deep");
    m_frames.push_back({m_builder.name(frame.symbol.empty() ? "[unknown]" : frame.symbol),
                        m_builder.module(frame.module), frame.is_inlined});
}

void PerfScriptSamples::end() {
    if (!m_open) return;
    if (m_frames.empty())
        if (const auto frame = parsePerfFrame(m_only_frame)) addFrame(*frame);
    if (m_damage) {
        m_report.skip(m_damage, m_header_line);
    } else {
        m_sample.callsite = callsite();
        m_builder.addSample(m_sample);
        ++m_report.records_read;
    }
    m_frames.clear();
    m_damage = nullptr;
    m_open = false;
}

// Frames came leaf first. An inlined one lives in the module of the function that it was inlined into, the
// next towards the root.
CallsiteIndex PerfScriptSamples::callsite() {
    CallsiteIndex node = 0;
    ModuleIndex module = 0;
    for (const Frame& frame : m_frames | std::views::reverse) {
        if (!frame.is_inlined) module = frame.module;
        node = m_builder.child(node, m_builder.function({frame.name, module, 0, 0, 0}));
    }
    return node;
}

void PerfScriptSamples::finish() {
    for (const Event& event : m_events)
        if (event.always_has_period) m_builder.setUnit(event.metric, unitOf(event.name));
}

} // namespace panedeck::engine
