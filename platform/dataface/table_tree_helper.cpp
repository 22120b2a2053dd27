#include "dataface/table_tree_helper.h"

#include "dataface/column_walk.h"

#include <cmath>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace dataface1 {

ITableTreeHelper::~ITableTreeHelper() = default;

namespace {

struct column_numbers_t {
    bk2::variant_t maximum;
    bk2::variant_t minimum;
    bk2::variant_t sum;
};

/// Adds up in 64-bit integers as long as the values are such and the sum fits, else in doubles.
bk2::variant_t sum_of(const bk2::variant_t& sum, const bk2::variant_t& value) {
    bk2::s64_t total;
    const auto is_signed = [](const bk2::variant_t& v) {
        return v.is_integer() && (v.tag() != bk2::vt_u64 || v.get<bk2::u64_t>() <= INT64_MAX);
    };
    if (sum.is_null()) return value;
    if (is_signed(sum) && is_signed(value) &&
        !__builtin_add_overflow(sum.get<bk2::s64_t>(), value.get<bk2::s64_t>(), &total))
        return bk2::variant_t(total);
    return bk2::variant_t(sum.get<double>() + value.get<double>());
}

void take_in(column_numbers_t& numbers, const bk2::variant_t& value) {
    if (!value.is_numeric() || std::isnan(value.get<double>())) return;
    if (numbers.maximum.is_null() || value > numbers.maximum) numbers.maximum = value;
    if (numbers.minimum.is_null() || value < numbers.minimum) numbers.minimum = value;
    numbers.sum = sum_of(numbers.sum, value);
}

/// The member itself, or the query that a vector stands for.
bk2::sptr_t<IQuery> own_query(const bk2::sptr_t<IQuery>& query) {
    const auto underlying = throughVector(query);
    return underlying ? underlying : query;
}

/// A hash key: the same for queries that are the same, and different for most others.
std::string query_key(const bk2::sptr_t<IQuery>& query) {
    std::string key = query->getName();
    if (const auto info = IInfoQuery::cast(query))
        for (const auto& restriction : info->getRestrictions())
            key += '\n' + bk2::get_value_string(restriction.value);
    return key;
}

/// Knows the columns of a tree by address and by query, and keeps the numbers of each.
class TableTreeHelper : public ITableTreeHelper {
public:
    explicit TableTreeHelper(const bk2::sptr_t<ITableTree>& tree)
        : m_tree(tree), m_statistics(bk2::interface_cast<IColumnStatistics>(tree)) {}

    bk2::variant_t getMaxValue(const IColumnInfo& column) override { return numbers_of(column).maximum; }
    bk2::variant_t getMinValue(const IColumnInfo& column) override { return numbers_of(column).minimum; }
    bk2::variant_t getSum(const IColumnInfo& column) override { return numbers_of(column).sum; }
    bk2::variant_t getMaxValuePerQuery(const IQuery& query) override;
    bk2::sptr_t<IColumnInfo> findColumn(const IQuery& query, std::uint32_t flags) override;

private:
    struct entry_t {
        bk2::sptr_t<IColumnInfo> column;
        bk2::sptr_t<IQuery> query;
        std::uint32_t flags;
        std::optional<column_numbers_t> numbers;
    };

    column_numbers_t numbers_of(const IColumnInfo& column);
    column_numbers_t numbers_of_entry(entry_t& entry);
    column_numbers_t ask_statistics(const IColumnInfo& column) const;
    void walk_rows(entry_t& asked);
    std::vector<entry_t*> columns_of(const IQuery& query);
    void index_columns();

    std::mutex m_mutex; ///< guards all that follows; held during the pass over the rows
    bk2::sptr_t<ITableTree> m_tree;
    bk2::sptr_t<IColumnStatistics> m_statistics;
    bool m_indexed = false;
    std::vector<entry_t> m_entries;
    std::unordered_map<const IColumnInfo*, std::size_t> m_by_column;
    std::unordered_map<std::string, std::vector<std::size_t>> m_by_query;
};

void TableTreeHelper::index_columns() {
    if (std::exchange(m_indexed, true)) return;
    std::vector<column_place_t> places;
    collect_columns(*m_tree, nullptr, places);
    for (const column_place_t& place : places) {
        const std::size_t index = m_entries.size();
        const auto query = own_query(place.column->getQuery());
        m_entries.push_back({place.column, query, place.column->getFlags(), {}});
        m_by_column.emplace(place.column.get(), index);
        if (query) m_by_query[query_key(query)].push_back(index);
    }
}

column_numbers_t TableTreeHelper::numbers_of(const IColumnInfo& column) {
    const std::lock_guard lock(m_mutex);
    index_columns();
    const auto found = m_by_column.find(&column);
    return found == m_by_column.end() ? column_numbers_t() : numbers_of_entry(m_entries[found->second]);
}

column_numbers_t TableTreeHelper::numbers_of_entry(entry_t& entry) {
    if (!entry.numbers && m_statistics) entry.numbers = ask_statistics(*entry.column);
    if (!entry.numbers) walk_rows(entry);
    return *entry.numbers;
}

column_numbers_t TableTreeHelper::ask_statistics(const IColumnInfo& column) const {
    column_numbers_t numbers;
    m_statistics->getColumnMaximum(column, numbers.maximum);
    m_statistics->getColumnMinimum(column, numbers.minimum);
    m_statistics->getColumnSum(column, numbers.sum);
    return numbers;
}

// One pass serves all data columns: whoever asks for one of them is going to ask for the others.
void TableTreeHelper::walk_rows(entry_t& asked) {
    std::vector<entry_t*> wanted;
    for (entry_t& entry : m_entries)
        if (&entry == &asked || (entry.flags & asked.flags & column_data)) wanted.push_back(&entry);
    for (entry_t* entry : wanted)
        entry->numbers.emplace();
    const auto rows = m_tree->getRows(nullptr);
    bk2::variant_t value;
    for (; rows && !rows->at_end(); rows->next()) {
        const auto row = rows->current();
        for (entry_t* entry : wanted)
            if (row->getValue(entry->column.get(), cell_value, value)) take_in(*entry->numbers, value);
    }
}

std::vector<TableTreeHelper::entry_t*> TableTreeHelper::columns_of(const IQuery& query) {
    index_columns();
    // References are counted in the object, so a pointer for the length of the call may be made of it.
    const auto asked = own_query(bk2::sptr_t<IQuery>(const_cast<IQuery*>(&query)));
    std::vector<entry_t*> columns;
    const auto found = m_by_query.find(query_key(asked));
    if (found == m_by_query.end()) return columns;
    for (const std::size_t index : found->second)
        if (m_entries[index].query->isSame(*asked)) columns.push_back(&m_entries[index]);
    return columns;
}

bk2::variant_t TableTreeHelper::getMaxValuePerQuery(const IQuery& query) {
    const std::lock_guard lock(m_mutex);
    bk2::variant_t maximum;
    for (entry_t* entry : columns_of(query)) {
        const bk2::variant_t value = numbers_of_entry(*entry).maximum;
        if (!value.is_null() && (maximum.is_null() || value > maximum)) maximum = value;
    }
    return maximum;
}

bk2::sptr_t<IColumnInfo> TableTreeHelper::findColumn(const IQuery& query, std::uint32_t flags) {
    const std::lock_guard lock(m_mutex);
    for (entry_t* entry : columns_of(query))
        if (entry->flags == flags) return entry->column;
    return nullptr;
}

} // namespace

std::shared_ptr<ITableTreeHelper> createTableTreeHelper(const bk2::sptr_t<ITableTree>& tree) {
    if (!tree) return nullptr;
    return std::make_shared<TableTreeHelper>(tree);
}

} // namespace dataface1
