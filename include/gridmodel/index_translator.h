#pragma once

#include "basekit/api.h"
#include "basekit/large_pages.h"

namespace panedeck {

/// Tells where a row went, while `onRowsChanged` runs: for row indexes that are kept outside the model.
class PANEDECK_API IIndexTranslator {
public:
    virtual ~IIndexTranslator();

    virtual bool isValid() const { return true; }

    /// The new index of the row that was at `index`. If the row is gone, `deleted` (may be null) becomes true
    /// and the answer is the row that stands for it.
    virtual int translate(int index, bool* deleted) const = 0;
};

/// Rows were added behind a row (delta above 0) or the rows behind it were removed (below 0).
class PANEDECK_API AddRemoveTranslator : public IIndexTranslator {
public:
    void set(int row, int delta) {
        m_row = row;
        m_delta = delta;
    }
    int translate(int index, bool* deleted) const override;

private:
    int m_row = 0;
    int m_delta = 0;
};

/// Rows were put into another order: holds old index to new index. An index outside keeps its place.
class PANEDECK_API VectorTranslator : public IIndexTranslator {
public:
    bk2::array_t<int>& mapping() { return m_mapping; }
    int translate(int index, bool* deleted) const override;

private:
    bk2::array_t<int> m_mapping;
};

/// All rows were made anew and only one was followed to its new place; every other index keeps its number.
class PANEDECK_API FollowTranslator : public IIndexTranslator {
public:
    void set(int from, int to) {
        m_from = from;
        m_to = to;
    }
    int translate(int index, bool* deleted) const override;

private:
    int m_from = -1;
    int m_to = -1;
};

} // namespace panedeck
