#pragma once

#include "store/dimension.h"
#include "tree/grouping_path.h"

#include <optional>
#include <string>

namespace panedeck::engine {

// What the engine finds in its own queries when it gets them back through the interfaces: with dynamic_cast,
// so that a query of another provider is told apart.

/// A metric, possibly expanded by a dimension.
class MetricHandle {
public:
    /// The metric's name in the results; "" counts samples.
    virtual const std::string& metricName() const = 0;
    virtual std::optional<Dimension> expansion() const = 0;

protected:
    ~MetricHandle() = default;
};

/// One level that rows can be grouped by.
class SegmentHandle {
public:
    virtual Segment segment() const = 0;

protected:
    ~SegmentHandle() = default;
};

/// A grouping path, or the rest of one below a level.
class PathHandle {
public:
    virtual const GroupingPath& path() const = 0;

protected:
    ~PathHandle() = default;
};

/// Facts about the function that a row stands for.
enum class FunctionFact : std::uint8_t { module, source_file, full_name };

class FactHandle {
public:
    virtual FunctionFact fact() const = 0;

protected:
    ~FactHandle() = default;
};

/// The query seen as one of the handles, or null.
template <class Handle, class Query>
const Handle* handleOf(const Query& query) {
    return dynamic_cast<const Handle*>(query.get());
}

} // namespace panedeck::engine
