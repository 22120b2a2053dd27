#include "gridmodel/grid_search_helper.h"

#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace panedeck {

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

bool startsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
}

int countCharacters(std::string_view text) {
    return static_cast<int>(std::count_if(text.begin(), text.end(), startsCharacter));
}

/// Where the key stands in the text, from `begin` on; `npos` if nowhere. Cost: the text, whatever the key.
std::size_t findFrom(std::string_view text, std::string_view key, std::size_t begin) {
    // Quicker for the keys that people type, but for each place in the text it may look at the whole key.
    constexpr std::size_t short_key = 64;
    if (key.size() <= short_key) return text.find(key, begin);
    const void* found = ::memmem(text.data() + begin, text.size() - begin, key.data(), key.size());
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - text.data())
                 : std::string_view::npos;
}

/// True if both ends of the match lie between characters.
bool isWholeCharacters(std::string_view text, std::size_t begin, std::size_t end) {
    return startsCharacter(text[begin]) && (end == text.size() || startsCharacter(text[end]));
}

/// Reads the values of some rows ahead, column by column. Rows that stand side by side in a sorted grid lie
/// far apart in memory: reading one cell of each in a row lets the machine wait for many of them at once.
class RowReader {
public:
    RowReader(const GridModel& model, const GridRowContainer& rows,
              const std::vector<std::shared_ptr<GridColumn>>& columns)
        : m_model(model), m_container(rows), m_columns(columns), m_values(columns.size() * most_rows) {}

    bool has(int index) const { return index >= m_first && index < m_first + m_count; }

    /// Reads some rows from `first` on; false if there is no such row.
    bool read(int first) {
        m_first = first;
        m_count = 0;
        for (auto row = m_container.from(first); row != m_container.end() && m_count < most_rows; ++row) {
            m_rows[static_cast<std::size_t>(m_count)] = *row;
            if (!m_rows[static_cast<std::size_t>(m_count)]) break;
            ++m_count;
        }
        const int next = std::min(first + 2 * m_count, m_model.getRowCount());
        for (int index = first + m_count; index < next; ++index)
            __builtin_prefetch(m_model.getRowID(index));
        for (std::size_t place = 0; place < m_columns.size(); ++place) {
            if (!m_columns[place]) break; // the search ends there, in the first row
            for (int index = first; index < first + m_count; ++index)
                m_values[valueIndex(index, place)] = m_columns[place]->cellValue(row(index));
        }
        return m_count > 0;
    }

    const dataface1::ITableRow& row(int index) const {
        return *m_rows[static_cast<std::size_t>(index - m_first)];
    }
    const variant_t& value(int index, std::size_t place) const { return m_values[valueIndex(index, place)]; }

private:
    static constexpr int most_rows = 32;

    std::size_t valueIndex(int index, std::size_t place) const {
        return place * most_rows + static_cast<std::size_t>(index - m_first);
    }

    const GridModel& m_model;
    const GridRowContainer& m_container;
    const std::vector<std::shared_ptr<GridColumn>>& m_columns;
    std::array<GridModel::RowPtr, most_rows> m_rows;
    std::vector<variant_t> m_values;
    int m_first = 0;
    int m_count = 0;
};

} // namespace

ISearchHelper::~ISearchHelper() = default;

GridModel::RowPtr GridRowIterator::operator*() const {
    const bool isInside = m_currentIndex >= m_startIndex && m_currentIndex < m_endIndex;
    PANEDECK_EXPECT(isInside, "m_currentIndex >= m_startIndex && m_currentIndex < m_endIndex");
    return isInside ? m_model->getRowByIndex(m_currentIndex) : nullptr;
}

std::shared_ptr<ISearchHelper> ISearchHelper::create() {
    return std::make_shared<GridSearchHelper>();
}

void GridSearchHelper::reset() {
    m_foundCells.clear();
    m_searchKey.clear();
    m_foundItemCount = 0;
}

void GridSearchHelper::search(int row, int column, const std::string& text, const ustring8& key) {
    if (key.empty() || text.size() < key.size()) return;
    portkit2::lower_case(text, m_folded);
    const std::string& folded = m_folded;
    FoundCell cell{row, column, {}};
    std::size_t counted = 0;
    int characters = 0;
    for (std::size_t at = findFrom(folded, key, 0); at != std::string::npos;) {
        if (!isWholeCharacters(folded, at, at + key.size())) {
            at = findFrom(folded, key, at + 1);
            continue;
        }
        characters += countCharacters(std::string_view(folded).substr(counted, at - counted));
        counted = at;
        cell.entries.push_back({characters, characters + countCharacters(key), ++m_foundItemCount});
        at = findFrom(folded, key, at + key.size());
    }
    if (!cell.entries.empty()) m_foundCells.push_back(std::move(cell));
}

bk2::error_code_t GridSearchHelper::search(const GridModel* model, const GridRowContainer& rows,
                                           const std::vector<std::shared_ptr<GridColumn>>& columns,
                                           const std::string& key, notifykit2::IProgress* progress) {
    reset();
    if (key.empty()) return bk2::error_code_t::success();
    PANEDECK_REQUIRE(portkit2::is_valid_utf8(key), "is_valid_utf8(key)", bk2::kinds::is_not_valid_argument,
                     "searchKey");
    m_searchKey = key;
    const ustring8 lowerKey = portkit2::lower_case(key);
    RowReader reader(*model, rows, columns);
    std::string text;
    for (int index = rows.startIndex(); index < rows.endIndex(); ++index) {
        if (!reader.has(index)) {
            PANEDECK_REQUIRE(reader.read(index), "row", bk2::kinds::is_not_valid_state, "row");
        }
        const int level = model->getRowLevel(index);
        for (std::size_t place = 0; place < columns.size(); ++place) {
            PANEDECK_REQUIRE(columns[place], "column", bk2::kinds::is_not_valid_state, "column");
            columns[place]->formatValue(reader.row(index), reader.value(index, place), text, level);
            if (!portkit2::is_valid_utf8(text)) {
                reset();
                return bk2::error_code_t::raise(bk2::kinds::is_not_valid_data,
                                                "A cell's text is not UTF-8: " + portkit2::repair_utf8(text),
                                                __func__, __LINE__);
            }
            search(index, columns[place]->getIndex(), text, lowerKey);
        }
        if (notifykit2::is_canceled(progress)) {
            reset();
            return bk2::error_code_t::canceled();
        }
    }
    return bk2::error_code_t::success();
}

std::size_t GridSearchHelper::firstCellFrom(int row) const {
    const auto place = std::lower_bound(m_foundCells.begin(), m_foundCells.end(), row,
                                        [](const FoundCell& cell, int first) { return cell.row < first; });
    return static_cast<std::size_t>(place - m_foundCells.begin());
}

void GridSearchHelper::saveToVBag(int startRow, int rowCount, bk2::variant_bag_t& bag) const {
    if (!m_searchKey.empty()) {
        bag.put<variant_t>("searchKey", variant_t(m_searchKey));
        bag.put<variant_t>("foundItemCount", variant_t(static_cast<bk2::u64_t>(m_foundItemCount)));
    }
    if (m_foundItemCount == 0) return;
    const std::int64_t endRow = std::int64_t{startRow} + rowCount;
    const std::size_t first = firstCellFrom(startRow);
    if (first > 0)
        saveSingleItemToVBag(m_foundCells[first - 1], bag.add_variant_bag("previous"));
    else if (m_foundCells.back().row >= endRow)
        saveSingleItemToVBag(m_foundCells.back(), bag.add_variant_bag("previous"));

    std::size_t after = first;
    if (first < m_foundCells.size()) {
        variant_bag_t& cells = bag.add_variant_bag("cells");
        cells.put<variant_t>("arrayOf", variant_t::borrow("cell"));
        for (; after < m_foundCells.size() && m_foundCells[after].row < endRow; ++after)
            saveSingleItemToVBag(m_foundCells[after], cells);
    }
    if (after < m_foundCells.size())
        saveSingleItemToVBag(m_foundCells[after], bag.add_variant_bag("next"));
    else if (m_foundCells.front().row < startRow)
        saveSingleItemToVBag(m_foundCells.front(), bag.add_variant_bag("next"));
}

void GridSearchHelper::saveSingleItemToVBag(const FoundCell& cell, bk2::variant_bag_t& bag) {
    variant_bag_t& cellBag = bag.add_variant_bag("cell");
    cellBag.put<variant_t>("rowIndex", variant_t(cell.row));
    cellBag.put<variant_t>("columnIndex", variant_t(cell.column));
    variant_bag_t& entries = cellBag.add_variant_bag("entries");
    entries.put<variant_t>("arrayOf", variant_t::borrow("entry"));
    for (const Hit& hit : cell.entries) {
        variant_bag_t& entry = entries.add_variant_bag("entry");
        entry.put<variant_t>("startPosition", variant_t(hit.startPosition));
        entry.put<variant_t>("endPosition", variant_t(hit.endPosition));
        entry.put<variant_t>("foundItemNumber", variant_t(static_cast<bk2::u64_t>(hit.foundItemNumber)));
    }
}

} // namespace panedeck
