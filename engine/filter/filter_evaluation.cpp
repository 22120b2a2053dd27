#include "filter/filter_evaluation.h"

#include "filter/row_places.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <unordered_map>

namespace panedeck::engine {

namespace {

using Kind = FilterExpression::Kind;

constexpr std::size_t samples_between_polls = std::size_t{1} << 20;

bk2::error_code_t canceledIf(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
}

/// Tables over what a sample refers to; an empty one is not there. Their join is the predicate, by AND or by
/// OR as the group is.
struct Tables {
    Flags nodes;
    Flags threads;
    std::unique_ptr<SampleBits> samples;

    int count() const { return !nodes.empty() + !threads.empty() + (samples != nullptr); }
};

void joinFlags(Flags& flags, Flags&& other, bool by_or) {
    if (flags.empty()) {
        flags = std::move(other);
        return;
    }
    if (other.empty()) return;
    for (std::size_t i = 0; i < flags.size(); ++i)
        flags[i] = by_or ? flags[i] | other[i] : flags[i] & other[i];
}

void invertFlags(Flags& flags) {
    for (std::uint8_t& flag : flags)
        flag = !flag;
}

/// The conditions of one group over one segment, in one of the two modes.
struct ConditionBatch {
    Segment segment;
    bool is_value;
    std::vector<const bk2::variant_t*> values;
};

class Evaluator {
public:
    Evaluator(const ProfileStore& store, notifykit2::IProgress* progress)
        : m_store(store), m_progress(progress) {}

    /// Recurses by the nesting of groups, which the builder limits.
    bk2::error_code_t evaluate(const FilterExpression& expression, Tables& tables) {
        if (auto error = canceledIf(m_progress); error.failed()) return error;
        switch (expression.kind()) {
        case Kind::condition:
            return evaluateGroup({&expression}, false, tables);
        case Kind::rows:
            return evaluateRows(expression.rows(), tables);
        case Kind::none_of:
            return evaluateInverse(*expression.members().front(), tables);
        case Kind::all_of:
        case Kind::any_of:
            break;
        }
        std::vector<const FilterExpression*> members;
        for (const FilterExpressionPtr& member : expression.members())
            members.push_back(member.get());
        return evaluateGroup(members, expression.kind() == Kind::any_of, tables);
    }

    /// Turns tables into bits, joined by OR or by AND.
    bk2::error_code_t toBits(const Tables& tables, bool by_or, SampleBits& bits) {
        const auto& callsites = m_store.data().sample_callsites;
        const auto& threads = m_store.data().sample_threads;
        const bool has_nodes = !tables.nodes.empty(), has_threads = !tables.threads.empty();
        const auto accepts = [&](std::size_t sample) {
            bool accepted = !by_or;
            const auto join = [&](bool part) { accepted = by_or ? accepted || part : accepted && part; };
            if (has_nodes) join(tables.nodes[callsites[sample]]);
            if (has_threads) join(tables.threads[threads.empty() ? 0 : threads[sample]]);
            if (tables.samples) join((*tables.samples)[sample]);
            return accepted;
        };
        for (std::size_t first = 0; first < callsites.size(); first += samples_between_polls) {
            bits.fill(accepts, first, std::min(first + samples_between_polls, callsites.size()));
            if (auto error = canceledIf(m_progress); error.failed()) return error;
        }
        return {};
    }

private:
    bk2::error_code_t evaluateInverse(const FilterExpression& member, Tables& tables) {
        if (auto error = evaluate(member, tables); error.failed()) return error;
        invertFlags(tables.nodes);
        invertFlags(tables.threads);
        if (tables.samples) tables.samples->invert();
        return {};
    }

    /// Leaves exactly one table, so that no caller needs to know how tables were joined.
    bk2::error_code_t evaluateGroup(const std::vector<const FilterExpression*>& members, bool by_or,
                                    Tables& tables) {
        std::map<std::pair<Segment, bool>, ConditionBatch> batches;
        for (const FilterExpression* member : members) {
            if (member->kind() == Kind::condition) {
                auto& batch = batches[{member->segment(), member->isValue()}];
                batch.segment = member->segment();
                batch.is_value = member->isValue();
                batch.values.push_back(&member->value());
                continue;
            }
            Tables part;
            if (auto error = evaluate(*member, part); error.failed()) return error;
            joinTables(tables, std::move(part), by_or);
        }
        for (const auto& [key, batch] : batches)
            if (auto error = evaluateBatch(batch, by_or, tables); error.failed()) return error;
        return tables.count() > 1 ? mergeTables(by_or, tables) : bk2::error_code_t();
    }

    static void joinTables(Tables& tables, Tables&& part, bool by_or) {
        joinFlags(tables.nodes, std::move(part.nodes), by_or);
        joinFlags(tables.threads, std::move(part.threads), by_or);
        if (!part.samples) return;
        if (!tables.samples)
            tables.samples = std::move(part.samples);
        else if (by_or)
            tables.samples->unite(*part.samples);
        else
            tables.samples->intersect(*part.samples);
    }

    bk2::error_code_t mergeTables(bool by_or, Tables& tables) {
        auto bits = std::make_unique<SampleBits>(m_store.data().sample_records());
        if (auto error = toBits(tables, by_or, *bits); error.failed()) return error;
        tables = {};
        tables.samples = std::move(bits);
        return {};
    }

    bk2::error_code_t evaluateBatch(const ConditionBatch& batch, bool by_or, Tables& tables) {
        // A stack can hold several of the values, so each must be looked for by itself.
        if (isRecursive(batch.segment) && !by_or && batch.values.size() > 1) {
            for (const bk2::variant_t* value : batch.values) {
                if (auto error = canceledIf(m_progress); error.failed()) return error;
                joinFlags(tables.nodes, anyFrame({batch.segment, batch.is_value, {value}}), false);
            }
            return {};
        }
        if (isRecursive(batch.segment))
            joinFlags(tables.nodes, anyFrame(batch), by_or);
        else if (isSampleLevel(dimensionOf(batch.segment)))
            joinFlags(tables.threads, ownThread(batch, by_or), by_or);
        else
            joinFlags(tables.nodes, leafFrame(batch, by_or), by_or);
        return {};
    }

    /// How many of the batch's conditions each entry of the dimension meets.
    std::vector<std::uint32_t> hitsOfEntries(const ConditionBatch& batch) const {
        const Dimension dimension = dimensionOf(batch.segment);
        std::vector<std::uint32_t> hits(m_store.valueCount(dimension));
        std::unordered_map<std::string, std::uint32_t> wanted;
        for (const bk2::variant_t* value : batch.values) {
            if (value->is_null())
                ++hits[0];
            else if (batch.is_value)
                ++wanted[bk2::get_value_string(*value)];
            else if (const auto number = entryNumber(*value, hits.size()))
                ++hits[*number];
        }
        if (wanted.empty()) return hits;
        for (DimensionValue entry = 1; entry < hits.size(); ++entry) {
            const auto found = wanted.find(std::string(m_store.texts(dimension).text(entry).text()));
            if (found != wanted.end()) hits[entry] += found->second;
        }
        return hits;
    }

    /// An entry number below `limit`, or nothing: also for a value that is no integer.
    static std::optional<std::uint32_t> entryNumber(const bk2::variant_t& value, std::size_t limit) {
        if (!value.can_get<bk2::s64_t>()) return std::nullopt;
        const auto number = value.get<bk2::s64_t>();
        if (number < 0 || static_cast<std::uint64_t>(number) >= limit) return std::nullopt;
        return static_cast<std::uint32_t>(number);
    }

    Flags matchingEntries(const ConditionBatch& batch, bool by_or) const {
        const auto hits = hitsOfEntries(batch);
        const std::size_t needed = by_or ? 1 : batch.values.size();
        Flags flags(hits.size());
        for (std::size_t entry = 0; entry < hits.size(); ++entry)
            flags[entry] = hits[entry] >= needed;
        return flags;
    }

    Flags ownThread(const ConditionBatch& batch, bool by_or) const {
        const Flags entries = matchingEntries(batch, by_or);
        Flags threads(m_store.data().threads.size());
        for (ThreadIndex thread = 0; thread < threads.size(); ++thread)
            threads[thread] = entries[m_store.valueOfThread(dimensionOf(batch.segment), thread)];
        return threads;
    }

    Flags leafFrame(const ConditionBatch& batch, bool by_or) const {
        const Flags entries = matchingEntries(batch, by_or);
        Flags nodes(m_store.nodeCount());
        for (CallsiteIndex node = 0; node < nodes.size(); ++node)
            nodes[node] = entries[m_store.valueOfNode(dimensionOf(batch.segment), node)];
        return nodes;
    }

    /// Nodes with one of the values in the stack down to them. By number it is the node itself that is meant.
    Flags anyFrame(const ConditionBatch& batch) const {
        Flags nodes(m_store.nodeCount());
        if (batch.is_value)
            nodes = leafFrame(batch, true);
        else
            for (const bk2::variant_t* value : batch.values) {
                const auto node = value->is_null() ? 0 : entryNumber(*value, nodes.size());
                if (node) nodes[*node] = 1;
            }
        spreadDown(nodes);
        return nodes;
    }

    // The empty stack is nobody's ancestor.
    void spreadDown(Flags& nodes) const {
        for (CallsiteIndex node = 1; node < nodes.size(); ++node)
            if (m_store.parentOf(node) != 0) nodes[node] |= nodes[m_store.parentOf(node)];
    }

    /// The samples that any of the rows stands for.
    bk2::error_code_t evaluateRows(const RowPaths& rows, Tables& tables) {
        NodesByThreads places;
        if (auto error = findPlaces(rows, m_store, m_progress, places); error.failed()) return error;
        for (auto& [threads, nodes] : places) {
            Tables part;
            part.threads = threads;
            // Samples that end in a node, or that pass through it.
            if (!rows.from_leaf) spreadDown(nodes);
            part.nodes = std::move(nodes);
            if (part.count() > 1)
                if (auto error = mergeTables(false, part); error.failed()) return error;
            joinTables(tables, std::move(part), true);
        }
        return tables.count() > 1 ? mergeTables(true, tables) : bk2::error_code_t();
    }

    const ProfileStore& m_store;
    notifykit2::IProgress* m_progress;
};

} // namespace

bk2::error_code_t evaluateFilter(const FilterExpression& expression, const ProfileStore& store,
                                 notifykit2::IProgress* progress, SampleBits& bits) {
    Tables tables;
    Evaluator evaluator(store, progress);
    if (auto error = evaluator.evaluate(expression, tables); error.failed()) return error;
    return evaluator.toBits(tables, false, bits);
}

} // namespace panedeck::engine
