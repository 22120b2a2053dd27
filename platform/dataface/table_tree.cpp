#include "dataface/table_tree.h"

namespace dataface1 {

ITreeNode::~ITreeNode() = default;
IColumnInfo::~IColumnInfo() = default;
ITableRow::~ITableRow() = default;
ITableTree::~ITableTree() = default;
IFilterTableTree::~IFilterTableTree() = default;
IReducibleTableTree::~IReducibleTableTree() = default;
IColumnStatistics::~IColumnStatistics() = default;

} // namespace dataface1
