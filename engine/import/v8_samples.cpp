#include "import/v8_samples.h"

#include <string>

namespace panedeck::engine {

namespace {

constexpr std::size_t poll_every = 65536;
constexpr char no_time[] = "without a time";
constexpr char negative_time[] = "with a negative time difference, which weigh 0";

V8Number difference(const V8Number& a, const V8Number& b) {
    std::int64_t result = 0;
    if (a.is_integer && b.is_integer && !__builtin_sub_overflow(a.integer, b.integer, &result))
        return SampleWeight::of(result);
    return SampleWeight::of(a.as_decimal() - b.as_decimal());
}

bool isNegative(const V8Number& number) {
    return number.is_integer ? number.integer < 0 : number.decimal < 0;
}

/// How long each sample stands for, in microseconds, and when it was taken.
class V8Clock {
public:
    explicit V8Clock(const V8Document& document)
        : m_deltas(document.is_nested && document.timestamps ? nullptr : get(document.time_deltas)),
          m_stamps(document.is_nested ? get(document.timestamps) : nullptr) {}

    bool is_there() const { return m_deltas || m_stamps; }
    bool knows(std::size_t sample) const { return sample < (m_deltas ? m_deltas : m_stamps)->size(); }

    V8Number elapsed(std::size_t sample) const {
        if (m_deltas) return (*m_deltas)[sample];
        if (sample == 0) return SampleWeight::of(std::int64_t{0});
        return difference((*m_stamps)[sample], (*m_stamps)[sample - 1]);
    }

private:
    static const std::vector<V8Number>* get(const std::optional<std::vector<V8Number>>& numbers) {
        return numbers ? &*numbers : nullptr;
    }

    const std::vector<V8Number>* m_deltas;
    const std::vector<V8Number>* m_stamps;
};

// Nanoseconds after the start. Times that leave the range stand still at its end: weights, not times, decide
// whether a profile is damaged.
void advance(std::int64_t& time, const V8Number& microseconds) {
    constexpr double most = 9e18;
    const double step = microseconds.as_decimal() * 1000;
    std::int64_t whole = 0;
    if (microseconds.is_integer && !__builtin_mul_overflow(microseconds.integer, 1000, &whole) &&
        !__builtin_add_overflow(time, whole, &time))
        return;
    const double moved = static_cast<double>(time) + step;
    time = static_cast<std::int64_t>(moved > most ? most : moved < -most ? -most : moved);
}

ImportOutcome addHitCounts(const V8Document& document, const V8Tree& tree, std::uint64_t line,
                           ProfileBuilder& builder, ImportReport& report) {
    const MetricIndex metric = builder.metric("samples").value_or(0);
    for (V8NodeIndex at = 0; at < document.nodes.size(); ++at) {
        const std::uint32_t hits = document.nodes[at].hit_count;
        if (hits == 0) continue;
        builder.addMerged(tree.callsite(at), metric, SampleWeight::of(std::int64_t{hits}), hits);
        report.records_read += hits;
        if (builder.failure()) return ImportOutcome::refused(line, builder.failure());
    }
    return ImportOutcome::done();
}

} // namespace

ImportOutcome addV8Samples(const V8Document& document, const V8Tree& tree, std::uint64_t line,
                           ProfileBuilder& builder, ImportReport& report, notifykit2::IProgress* progress) {
    report.position_unit = "sample";
    if (document.samples.empty()) return addHitCounts(document, tree, line, builder, report);
    const V8Clock clock(document);
    SampleRecord sample;
    sample.metric = clock.is_there() ? builder.metric("time", MetricUnit::microseconds).value_or(0)
                                     : builder.metric("samples").value_or(0);
    std::int64_t time = 0;
    for (std::size_t i = 0; i < document.samples.size(); ++i) {
        if (i % poll_every == 0 && notifykit2::is_canceled(progress)) return ImportOutcome::canceled();
        const V8NodeIndex node = tree.find(document.samples[i]);
        if (node == no_v8_node)
            return ImportOutcome::refused(line, "sample " + std::to_string(i + 1) + " names the node " +
                                                    std::to_string(document.samples[i]) +
                                                    ", which does not exist");
        if (clock.is_there() && !clock.knows(i)) {
            report.skip(no_time, i + 1);
            continue;
        }
        sample.weight = clock.is_there() ? clock.elapsed(i) : SampleWeight::of(std::int64_t{1});
        if (clock.is_there()) {
            advance(time, sample.weight);
            sample.time = time;
        }
        if (isNegative(sample.weight)) {
            report.adjust(negative_time, i + 1);
            sample.weight = SampleWeight::of(std::int64_t{0});
        }
        sample.callsite = tree.callsite(node);
        builder.addSample(sample);
        ++report.records_read;
        if (builder.failure()) return ImportOutcome::refused(line, builder.failure());
    }
    return ImportOutcome::done();
}

} // namespace panedeck::engine
