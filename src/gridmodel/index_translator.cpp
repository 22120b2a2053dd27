#include "gridmodel/index_translator.h"

namespace panedeck {

IIndexTranslator::~IIndexTranslator() = default;

int AddRemoveTranslator::translate(int index, bool* deleted) const {
    if (deleted) *deleted = false;
    if (index <= m_row) return index;
    if (m_delta > 0 || index > m_row - m_delta) return index + m_delta;
    if (m_delta == 0) return index;
    if (deleted) *deleted = true;
    return m_row;
}

int VectorTranslator::translate(int index, bool*) const {
    const bool inside = index >= 0 && static_cast<std::size_t>(index) < m_mapping.size();
    return inside ? m_mapping[static_cast<std::size_t>(index)] : index;
}

int FollowTranslator::translate(int index, bool* deleted) const {
    if (deleted) *deleted = false;
    return index == m_from ? m_to : index;
}

} // namespace panedeck
