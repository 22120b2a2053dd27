#include "import/folded_second_weight.h"

#include "import/folded_line.h"
#include "import/text_lines.h"

#include <vector>

namespace panedeck::engine {

namespace {

std::size_t lastWord(std::string_view text) {
    const std::size_t blank = text.find_last_of(blanks);
    return blank == text.npos ? 0 : blank + 1;
}

/// A profile with one metric, taken apart into one with two.
class WeightSplitter {
public:
    WeightSplitter(ProfileData profile, ProfileBuilder& builder)
        : m_profile(std::move(profile)), m_builder(builder), m_nodes(m_profile.callsite_parents.size()),
          m_first(builder.metric("weight").value_or(0)), m_second(builder.metric("weight2").value_or(0)) {}

    const char* split() {
        for (std::size_t record = 0; record < m_profile.sample_records(); ++record)
            if (!add(record)) return total_would_wrap;
        return m_builder.failure();
    }

private:
    const std::string& nameOf(CallsiteIndex node) const {
        return m_profile.names[m_profile.functions[m_profile.callsite_functions[node]].name];
    }

    bool add(std::size_t record) {
        const CallsiteIndex leaf = m_profile.sample_callsites[record];
        const std::uint32_t count = m_profile.sample_counts[record];
        const std::string_view name = nameOf(leaf);
        SampleWeight first;
        if (parseWeight(name.substr(lastWord(name)), first) != WeightStatus::ok) return true;
        if (!first.is_integer)
            first.decimal *= count;
        else if (__builtin_mul_overflow(first.integer, std::int64_t{count}, &first.integer))
            return false;
        const CallsiteIndex callsite = withoutNumber(leaf, name);
        m_builder.addMerged(callsite, m_first, first, count);
        m_builder.addMerged(callsite, m_second, secondOf(record), 0);
        return true;
    }

    SampleWeight secondOf(std::size_t record) const {
        const MetricColumn& weights = m_profile.metrics.front();
        if (weights.is_integer) return SampleWeight::of(weights.integers[record]);
        return {false, 0, weights.decimals[record]};
    }

    // A number of its own stood behind the `;` that ends the stack.
    CallsiteIndex withoutNumber(CallsiteIndex leaf, std::string_view name) {
        const CallsiteIndex parent = nodeOf(m_profile.callsite_parents[leaf]);
        const std::string_view frame = trimmedRight(name.substr(0, lastWord(name)));
        return frame.empty() ? parent : m_builder.child(parent, m_builder.functionNamed(frame));
    }

    /// The node of a stack that keeps its names.
    CallsiteIndex nodeOf(CallsiteIndex node) {
        std::vector<CallsiteIndex> missing;
        for (; node != 0 && m_nodes[node] == 0; node = m_profile.callsite_parents[node])
            missing.push_back(node);
        CallsiteIndex made = m_nodes[node];
        for (auto at = missing.rbegin(); at != missing.rend(); ++at) {
            made = m_builder.child(made, m_builder.functionNamed(nameOf(*at)));
            m_nodes[*at] = made;
        }
        return made;
    }

    ProfileData m_profile;
    ProfileBuilder& m_builder;
    std::vector<CallsiteIndex> m_nodes; ///< the new node of each old one, 0 is none yet
    MetricIndex m_first;
    MetricIndex m_second;
};

} // namespace

void FoldedSecondWeight::noteNumber(std::string_view before_weight, std::uint64_t line) {
    SampleWeight unused;
    const std::size_t word = lastWord(before_weight);
    const WeightStatus status = parseWeight(before_weight.substr(word), unused);
    m_every_line = status != WeightStatus::not_a_number && word > 0;
    m_has_lines = true;
    if (const char* why = complaintOf(status); m_every_line && why) m_unusable.skip(why, line);
}

const char* FoldedSecondWeight::split(ProfileBuilder& builder, const ImportLimits& limits,
                                      ImportReport& report) const {
    ProfileData profile = builder.take();
    builder = ProfileBuilder(limits);
    report.records_read -= m_unusable.skipped_total();
    report.addSkipped(m_unusable);
    return WeightSplitter(std::move(profile), builder).split();
}

} // namespace panedeck::engine
