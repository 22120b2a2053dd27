#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/table_tree.h"
#include "notifykit/progress.h"
#include "portkit/ustring8.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace panedeck {

class GridColumn;
class GridModel;

/// Finds a text in cells and keeps the hits.
class PANEDECK_API ISearchHelper {
public:
    /// True if there is no cell with a hit.
    virtual bool empty() const = 0;
    virtual void setSearchKey(const std::string& key) = 0;
    /// Searches one cell's text for `key`, which is lower-cased already, and keeps the hits under row and
    /// column.
    virtual void search(int row, int column, const std::string& text, const ustring8& key) = 0;
    /// Writes the key, the number of hits, the hits in the window of rows, the nearest before it and the
    /// nearest behind it, around the ends.
    virtual void saveToVBag(int startRow, int rowCount, bk2::variant_bag_t& bag) const = 0;
    /// Forgets key and hits.
    virtual void reset() = 0;

    static std::shared_ptr<ISearchHelper> create();

    virtual ~ISearchHelper();
};

/// Runs over consecutive visible rows of a model.
class PANEDECK_API GridRowIterator {
public:
    /// At the row `currentIndex` of the rows from `startIndex` up to `endIndex`; -1 is the end.
    GridRowIterator(const GridModel* model, int startIndex, int endIndex, int currentIndex)
        : m_model(model), m_startIndex(startIndex), m_endIndex(endIndex), m_currentIndex(currentIndex) {}

    /// The row; null at the end, which is asserted, and for a row that the model does not have.
    bk2::sptr_t<dataface1::ITableRow> operator*() const;
    GridRowIterator& operator++() {
        m_currentIndex = m_currentIndex + 1 < m_endIndex ? m_currentIndex + 1 : -1;
        return *this;
    }
    bool operator==(const GridRowIterator& other) const { return m_currentIndex == other.m_currentIndex; }

private:
    const GridModel* m_model;
    int m_startIndex;
    int m_endIndex;
    int m_currentIndex;
};

/// A view of some consecutive visible rows of a model.
class PANEDECK_API GridRowContainer {
public:
    GridRowContainer(const GridModel* model, int startIndex, int count)
        : m_model(model), m_startIndex(startIndex), m_endIndex(startIndex + count) {}

    int startIndex() const { return m_startIndex; }
    int endIndex() const { return m_endIndex; }

    GridRowIterator begin() const { return from(m_startIndex); }
    GridRowIterator end() const { return {m_model, m_startIndex, m_endIndex, -1}; }
    /// At that row, or the end if it is not one of them.
    GridRowIterator from(int index) const {
        const bool isInside = index >= m_startIndex && index < m_endIndex;
        return {m_model, m_startIndex, m_endIndex, isInside ? index : -1};
    }

private:
    const GridModel* m_model;
    int m_startIndex;
    int m_endIndex;
};

/// The search of a grid: cells as they are shown, letters of one byte without regard to case, matches that do
/// not overlap.
class PANEDECK_API GridSearchHelper : public ISearchHelper {
public:
    /// Positions count code points; `endPosition` is one past the last. Hits are numbered over the whole grid
    /// from 1.
    struct Hit {
        int startPosition;
        int endPosition;
        std::uint64_t foundItemNumber;
    };
    struct FoundCell {
        int row;    ///< visible row index
        int column; ///< data index
        std::vector<Hit> entries;
    };

    bool empty() const override { return m_foundCells.empty(); }
    void setSearchKey(const std::string& key) override { m_searchKey = key; }
    void search(int row, int column, const std::string& text, const ustring8& key) override;
    void saveToVBag(int startRow, int rowCount, bk2::variant_bag_t& bag) const override;
    void reset() override;

    /// Searches all cells of `rows` and `columns`, replacing what was found before; an empty key only clears.
    /// Polls cancel once per row: then nothing is kept and the cancelled error comes back. A cell whose text
    /// is not UTF-8 ends the search with a failure, and nothing is kept either. A row or a column that is
    /// null ends it with a failure where it stands, and what was found before it stays. Cost: rows times
    /// columns, each cell formatted once.
    bk2::error_code_t search(const GridModel* model, const GridRowContainer& rows,
                             const std::vector<std::shared_ptr<GridColumn>>& columns, const std::string& key,
                             notifykit2::IProgress* progress);

    const std::vector<FoundCell>& foundCells() const { return m_foundCells; }
    std::uint64_t foundItemCount() const { return m_foundItemCount; }

private:
    std::size_t firstCellFrom(int row) const;
    static void saveSingleItemToVBag(const FoundCell& cell, bk2::variant_bag_t& bag);

    std::vector<FoundCell> m_foundCells; ///< ascending row, within a row in the order of the visible columns
    std::string m_searchKey;
    std::uint64_t m_foundItemCount = 0;
    std::string m_folded; ///< the text that is being searched; its room serves all cells
};

} // namespace panedeck
