#pragma once

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/query.h"

#include <string>

namespace panedeck {

/// A format that a column can be switched to.
class PANEDECK_API GridColumnFormat {
public:
    /// `displayName` is what a person picks; it may be empty.
    GridColumnFormat(std::string id, std::string displayName);
    virtual ~GridColumnFormat();

    /// Writes `id` and, unless it is empty, `displayName`.
    virtual void saveToVBag(bk2::variant_bag_t& bag) const;

    const std::string& getId() const { return m_id; }
    const std::string& getDisplayName() const { return m_displayName; }

private:
    std::string m_id;
    std::string m_displayName;
};

/// "percent_by": its display name tells the metric that makes up the 100%.
class PANEDECK_API GridColumnPercentByFormat : public GridColumnFormat {
public:
    /// `query` is the column's: the first of its percent base metrics is the base.
    GridColumnPercentByFormat(std::string id, std::string displayName,
                              const bk2::sptr_t<dataface1::IQuery>& query);
    ~GridColumnPercentByFormat() override;

    /// Writes the base metric's name in place of "%1".
    void saveToVBag(bk2::variant_bag_t& bag) const override;

private:
    bk2::sptr_t<dataface1::IQuery> m_baseMetric; ///< null if the query has none
};

} // namespace panedeck
