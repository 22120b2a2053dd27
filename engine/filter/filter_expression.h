#pragma once

#include "basekit/error_code.h"
#include "basekit/variant.h"
#include "filter/row_paths.h"
#include "notifykit/progress.h"
#include "store/profile_store.h"
#include "store/sample_bits.h"
#include "tree/grouping_path.h"

#include <memory>
#include <mutex>
#include <vector>

namespace panedeck::engine {

class FilterExpression;
using FilterExpressionPtr = std::shared_ptr<const FilterExpression>;

/// A part of a compiled filter: immutable, and good for any result. What it lets through in one result is
/// worked out on first use and kept with it, so that it goes with its last owner.
class FilterExpression {
public:
    enum class Kind : std::uint8_t { condition, rows, all_of, any_of, none_of };

    /// The sample's own value in the segment's dimension is `value`; for a recursive segment any frame of its
    /// stack. `is_value`: a value as cells show it, else the number of an entry.
    static FilterExpressionPtr condition(Segment segment, bool is_value, bk2::variant_t value);

    /// What any of the rows stands for. Keeps the results that they are from.
    static FilterExpressionPtr anyRow(RowPaths rows);

    /// Groups. A group of one is that one, of none is null: no condition. Null members do not count.
    static FilterExpressionPtr allOf(std::vector<FilterExpressionPtr> members);
    static FilterExpressionPtr anyOf(std::vector<FilterExpressionPtr> members);

    /// The opposite; null for null. Inverting twice gives the original.
    static FilterExpressionPtr inverted(const FilterExpressionPtr& member);

    /// `first` and `second`, each of which keeps what it has worked out; a null one does not count.
    static FilterExpressionPtr joined(const FilterExpressionPtr& first, const FilterExpressionPtr& second);

    /// How deeply groups are nested here; 1 for a single condition.
    std::size_t depth() const { return m_depth; }

    /// One bit per sample of the store. Polls `progress`. Two threads that ask for the same for the first
    /// time both work; neither waits for the other.
    bk2::error_code_t bitsFor(const std::shared_ptr<const ProfileStore>& store,
                              notifykit2::IProgress* progress, std::shared_ptr<const SampleBits>& bits) const;

    Kind kind() const { return m_kind; }
    const std::vector<FilterExpressionPtr>& members() const { return m_members; }
    Segment segment() const { return m_segment; }
    bool isValue() const { return m_is_value; }
    const bk2::variant_t& value() const { return m_value; }
    const RowPaths& rows() const { return m_rows; }

private:
    struct Known {
        std::weak_ptr<const ProfileStore> store;
        std::shared_ptr<const SampleBits> bits;
    };

    explicit FilterExpression(Kind kind) : m_kind(kind) {}
    static FilterExpressionPtr group(Kind kind, std::vector<FilterExpressionPtr> members);
    std::shared_ptr<const SampleBits> known(const std::shared_ptr<const ProfileStore>& store) const;
    bk2::error_code_t joinBits(const std::shared_ptr<const ProfileStore>& store,
                               notifykit2::IProgress* progress, SampleBits& bits) const;

    Kind m_kind;
    /// A group of finished filters, each of which keeps bits of its own.
    bool m_is_join = false;
    Segment m_segment = Segment::function;
    bool m_is_value = false;
    bk2::variant_t m_value;
    RowPaths m_rows;
    std::vector<FilterExpressionPtr> m_members;
    std::size_t m_depth = 1;

    mutable std::mutex m_keeping;
    mutable std::vector<Known> m_known;
};

} // namespace panedeck::engine
