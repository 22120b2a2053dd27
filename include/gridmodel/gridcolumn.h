#pragma once

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "basekit/variant_bag.h"
#include "dataface/formatter.h"
#include "dataface/query.h"
#include "dataface/table_tree.h"
#include "dataface/table_tree_helper.h"
#include "gridmodel/bar.h"
#include "gridmodel/grid_column_format.h"
#include "gridmodel/percent_base.h"
#include "portkit/catalog.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace panedeck {

class RawValues;

/// A column's identity across queries and sessions: columns of one query differ in the flag.
struct QueryInfo {
    std::string name;
    int flag = -1;
};

/// Columns of one unit, unless it is `none`, share one scale.
enum class unit_of_measure_t : int { none = 0, time = 1, count = 2, bytes = 3 };

/// A column of a grid: what the pane is told of it, the formats of its cells, and its bar.
///
/// Made once per table tree. Owned and guarded by the grid: all operations under its lock.
class PANEDECK_API GridColumn {
public:
    /// `index` is the column's place in the preorder of all columns. `helper` may be null: the column then
    /// has no maxima. The catalog is not owned and may be null: formats then have no display names. The
    /// version texts are those of the open results, the extra one empty unless two are open.
    GridColumn(int index, bk2::sptr_t<dataface1::IColumnInfo> columnInfo,
               std::shared_ptr<dataface1::ITableTreeHelper> helper, std::string versionText,
               std::string extraVersionText, const portkit2::catalog_t* catalog);
    ~GridColumn();

    int getIndex() const { return m_index; }
    /// The name of the column and of its cells in answers: "c" and the index.
    const std::string& getId() const { return m_id; }
    const bk2::sptr_t<dataface1::IColumnInfo>& getColumnInfo() const { return m_columnInfo; }
    /// The column's query, looked through a vector; null only for a column without one.
    const bk2::sptr_t<dataface1::IQuery>& getQuery() const { return m_query; }
    const QueryInfo& getQueryInfo() const { return m_queryInfo; }
    unit_of_measure_t getUnitOfMeasure() const { return m_unitOfMeasure; }
    /// How many seconds the number 1 stands for in a column of times; 1 in every other.
    double getUnitScale() const { return m_unitScale; }
    const std::string& getVersionText() const { return m_versionText; }
    const std::string& getExtraVersionText() const { return m_extraVersionText; }
    bool isCollapsible() const { return m_isCollapsible; }
    /// What product help knows the column by; empty if the column has no internal name.
    const std::string& getHelpKeyword() const { return m_helpKeyword; }

    /// The header text, by which columns are looked up too.
    const std::string& getColumnCaption() const;
    /// How a derived query is computed; empty where the pane is not told.
    std::string getFormula() const;
    /// True if there are child columns and each stands for a value of an info query.
    bool isExpandedByInfoQuery() const;
    /// The text for unknown values, empty unless the query is an info query.
    std::string getAliasForUnknown() const;

    /// The format of a grouping level; levels beyond the last known have that one's.
    const std::string& getFormat(int level = 0) const;
    /// Switches the column itself (level 0).
    void setCurrentFormat(const std::string& format);
    const std::map<std::string, std::shared_ptr<GridColumnFormat>>& getAvailableFormats() const {
        return m_availableFormats;
    }
    /// Replaces `text` by the cell as the pane shows it, in the room that it has: in a loop over cells, give
    /// it the same text.
    void formatCell(const dataface1::ITableRow& row, std::string& text, int level) const;
    /// What sorting by this column compares.
    const RawValues& getRawValues() const;

    /// What kind of values the rows of a grouping level have; in all other columns that of the column.
    dataface1::query_value_type_t getValueType(int level) const;
    /// The value that `formatCell` writes; null if the cell has none.
    bk2::variant_t cellValue(const dataface1::ITableRow& row) const;
    /// The second half of `formatCell`, for a value that was read before.
    void formatValue(const dataface1::ITableRow& row, const bk2::variant_t& value, std::string& text,
                     int level) const;

    /// The greatest value in this column; null if it holds no numbers.
    bk2::variant_t getMaxValue() const;
    /// As the free function `percentBase`, with what is the same for all rows looked up once.
    bk2::variant_t percentBase(const dataface1::ITableRow& row, const std::string& format) const;
    /// The same for all formats but "percent_by", with what is the same for all columns looked up once too.
    /// `baseRow` is that of `row`.
    bk2::variant_t percentBase(PercentBaseRow& baseRow) const;
    /// The same for "percent_by".
    bk2::variant_t percentBaseOfMetric(const dataface1::ITableRow& row) const;
    /// False: no row of the tree has a base row, so that none is looked for.
    void setHasBaseRows(bool hasBaseRows) { m_hasBaseRows = hasBaseRows; }

    const bk2::variant_t& getMaxPerUnitOfMeasure() const { return m_maxPerUnitOfMeasure; }
    void setMaxPerUnitOfMeasure(const bk2::variant_t& maximum) { m_maxPerUnitOfMeasure = maximum; }
    /// What the longest bar stands for; null if the column holds no numbers. Computed on first use.
    const bk2::variant_t& getBarMaxValue() const;
    /// The maximum or minimum of a column, whichever is farther from 0; null if the column holds no numbers.
    bk2::variant_t getAbsMaxValue(const dataface1::IColumnInfo& columnInfo) const;
    /// Never null. Chosen on first use.
    const std::shared_ptr<IBar>& getBar() const;

    /// Adds what the pane is told of the column, but for its `id`.
    void saveToVBag(bk2::variant_bag_t& bag) const;

private:
    /// How cells of one query are written in one format.
    struct CellFormat {
        bk2::sptr_t<dataface1::IQuery> rowQuery; ///< as rows give it; held, so that its address stays its own
        std::size_t level;                       ///< in m_formats
        dataface1::Formatter formatter;
        bool isPercent;
        bool hasAlias;
        std::string aliasForUnknown;
    };

    CellFormat& cellFormat(const dataface1::ITableRow& row, int level) const;
    CellFormat makeCellFormat(const bk2::sptr_t<dataface1::IQuery>& rowQuery, std::size_t level) const;
    std::size_t formatIndex(int level) const;
    void findValueTypes() const;
    const dataface1::IColumnInfo& baseColumn() const;
    bool isGrouping() const;
    bool getCollapsible() const;
    std::string makeHelpKeyword() const;
    void initColumnFormats();
    void initAvailableFormats();
    void initQueryInfo();
    bk2::variant_t calculateBarMaxValue() const;
    std::shared_ptr<IBar> chooseBar() const;

    int m_index;
    std::string m_id;
    bk2::sptr_t<dataface1::IColumnInfo> m_columnInfo;
    std::shared_ptr<dataface1::ITableTreeHelper> m_tableTreeHelper;
    std::vector<std::string> m_formats;                   ///< per grouping level, never empty
    mutable std::shared_ptr<const RawValues> m_rawValues; ///< for the first format; null until asked for
    mutable std::vector<CellFormat> m_cellFormats; ///< those used so far; emptied when a format changes
    bk2::sptr_t<dataface1::IQuery> m_query;
    bool m_isCollapsible = false;
    unit_of_measure_t m_unitOfMeasure = unit_of_measure_t::none;
    double m_unitScale = 1;
    bk2::variant_t m_maxPerUnitOfMeasure;
    std::string m_helpKeyword;
    QueryInfo m_queryInfo;
    std::map<std::string, std::shared_ptr<GridColumnFormat>> m_availableFormats;
    std::string m_versionText;
    std::string m_extraVersionText;
    mutable std::string m_caption; ///< empty until asked for
    mutable std::shared_ptr<IBar> m_bar;
    bool m_hasBaseRows = true;
    mutable bk2::sptr_t<dataface1::IColumnInfo> m_baseColumn;        ///< null until asked for
    mutable bk2::variant_t m_baseTotal;                              ///< its total, known with it
    mutable std::vector<dataface1::query_value_type_t> m_valueTypes; ///< per level; empty until asked for
    mutable bool m_hasBarMaximum = false;
    mutable bk2::variant_t m_barMaximum;
    const portkit2::catalog_t* m_catalog;
};

/// The header text of any column.
PANEDECK_API std::string getColumnCaption(const dataface1::IColumnInfo& columnInfo);

} // namespace panedeck
