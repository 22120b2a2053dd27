#pragma once

#include <string>

namespace panedeck {

/// By which column a grid is sorted; -1 stands for none.
class SortingCondition {
public:
    SortingCondition() = default;
    SortingCondition(int columnIndex, bool descending)
        : m_columnIndex(columnIndex), m_descending(descending) {}

    bool isInitialized() const { return m_columnIndex != -1; }
    int getColumnIndex() const { return m_columnIndex; }
    bool isDescending() const { return m_descending; }

private:
    int m_columnIndex = -1;
    bool m_descending = true;
};

/// A sort told by the column's identity, because indexes change with the query.
struct SortingInfo {
    std::string queryName;
    int queryFlag = -1;
    bool descending = true;
};

} // namespace panedeck
