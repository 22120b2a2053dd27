#include "gridmodel/gridmodel.h"

namespace panedeck {

bk2::error_code_t GridModel::search(const std::string& key, bk2::variant_bag_t& bag,
                                    notifykit2::IProgress* progress) {
    const GridRowContainer rows(this, 0, getRowCount());
    const bk2::error_code_t searched = m_searchHelper.search(this, rows, getVisibleColumns(), key, progress);
    if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
    if (searched.failed()) return searched;
    m_searchHelper.saveToVBag(m_viewParams.startRow, m_viewParams.rowCount, bag);
    return bk2::error_code_t::success();
}

void GridModel::saveSearchResultToVBag(bk2::variant_bag_t& bag) const {
    if (m_searchHelper.empty()) return;
    m_searchHelper.saveToVBag(m_viewParams.startRow, m_viewParams.rowCount, bag.add_variant_bag("search"));
}

} // namespace panedeck
