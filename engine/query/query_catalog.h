#pragma once

#include "basekit/error_code.h"
#include "query/grouping_query.h"
#include "query/query_facts.h"

#include <map>
#include <optional>
#include <string>

namespace panedeck::engine {

/// How one metric is shown.
struct MetricStyle {
    std::string display_name;
    std::string description;
    std::string format; ///< of the formatter; "" takes the one of the unit
    bool is_primary = false;
};

/// The product's choices for queries: names, descriptions, formats, which metric is primary. Read from the
/// files `queries/*.xml` of the installed data; without them the built-in names hold.
///
/// A file is a bag under the root `queries`: `metric` entries with `name`, `displayName`, `description`,
/// `format`, `primary`; `level` entries with `segment`, `displayName`, `description`, `aliasForUnknown`;
/// `column` entries with `name` (such as
/// "/Info/Module") and the same texts.
class QueryCatalog {
public:
    QueryCatalog();

    /// Reads the folder's `queries/*.xml` in the order of their names; a later file wins. A folder without
    /// such files is no failure.
    bk2::error_code_t load(const std::string& config_directory);

    /// Null if nothing is said of the metric.
    const MetricStyle* findMetric(const std::string& name) const;
    const LevelNames& level(Segment segment) const { return m_levels.at(segment); }
    const LevelNames& column(const std::string& name) const { return m_columns.at(name); }

private:
    bk2::error_code_t loadFile(const std::string& path);

    std::map<std::string, MetricStyle> m_metrics;
    std::map<Segment, LevelNames> m_levels;
    std::map<std::string, LevelNames> m_columns;
};

} // namespace panedeck::engine
