#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"

#include <vector>

namespace panedeck {

bk2::error_code_t GridModel::createFooterRow() {
    m_footerRow.reset();
    if (m_selectedRows->empty()) return bk2::error_code_t::success();
    std::vector<RowPtr> rows;
    PANEDECK_PASS_ON(getSelectedProviderRows(rows));
    const auto reducible = bk2::interface_cast<dataface1::IReducibleTableTree>(m_tree);
    const bool status = !reducible.is_null();
    PANEDECK_REQUIRE(status, "status", bk2::kinds::is_not_valid_state, "");
    m_footerRow = reducible->reduce(rows, 0);
    PANEDECK_EXPECT(!m_footerRow.is_null(), "!m_footerRow.is_null()");
    return bk2::error_code_t::success();
}

void GridModel::saveFooterRowToVBag(bk2::variant_bag_t& bag) const {
    if (!m_footerRow) return;
    bk2::variant_bag_t& footerRow = bag.add_variant_bag("footerRow");
    footerRow.put<bk2::variant_t>("rowCount",
                                  bk2::variant_t(static_cast<bk2::u32_t>(m_selectedRows->size())));
    saveRowDataToVBag(*m_footerRow, 0, footerRow);
}

} // namespace panedeck
