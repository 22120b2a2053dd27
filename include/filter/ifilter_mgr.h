#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/filter_registry.h"
#include "dataface/input_data.h"
#include "filter/temp_filter.h"

#include <list>
#include <memory>
#include <string>
#include <utility>

namespace panedeck {

class IEventDispatcher;

/// A named filter that a filter bag refers to, and whether it is inverted.
using filter_reference_t = std::pair<std::string, bool>;

/// The named filters of the open results: compiles the filter bags of the panes, names them, and combines
/// them.
///
/// The results' registries hold the filters; this object only does everything in each of them, so that all
/// results see the same name with the same meaning. An operation stops at the first registry that fails and
/// takes nothing back: earlier registries keep the change. Queries ask for data "under filter X" by name; a
/// name without a filter is no condition.
///
/// A filter bag is a tree: `item` (children `grouping`, a query's name, and `row`) is "that row of that
/// grouping"; `and` and `or` group what they hold, `filter` is transparent; a bag with the text value
/// `reference` stands for the named filter, inverted if `invert` is true, and may stand only at the top or
/// right inside a top-level `and`; a child `type` with a text is a further reference. The root's text value
/// `valueType` "value" says that rows are values, else they are object ids. Anything else is skipped.
/// docs/protocol.md shows examples.
///
/// No state changes after construction, so every operation may be called from several threads at the same
/// time.
class PANEDECK_API IFilterMgr {
public:
    /// For one or two open results; `extraInputData` may be null. An input that holds no filters is logged
    /// and left out.
    static std::shared_ptr<IFilterMgr> create(bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary,
                                              bk2::sptr_t<dataface1::IInputData> inputData,
                                              bk2::sptr_t<dataface1::IInputData> extraInputData);

    /// Takes the filter away. An unknown name succeeds.
    virtual bk2::error_code_t clearFilter(const std::string& name) = 0;

    /// Joins the present filter of `source`, inverted if asked, by AND into that of `target`, and records the
    /// merge.
    virtual bk2::error_code_t mergeFilter(const std::string& source, const std::string& target,
                                          bool invert) = 0;

    /// Replaces the filter under the name; the same object goes to all results.
    virtual bk2::error_code_t registerQueryFilter(const std::string& name,
                                                  bk2::sptr_t<dataface1::IQueryFilter> filter) = 0;

    /// Compiles a filter bag and leaves the result under the temporary name: all items of the bag, AND each
    /// named filter that it refers to. A bag without items and references leaves no filter, which is a
    /// success.
    ///
    /// Fails with `IsNot.Valid.Argument` for a reference where none may stand, with `FailedTo.Get.The.Object`
    /// for an item without grouping or row or with an unknown query, with `FailedTo.Compile.The.Filter`.
    /// Nothing is registered then.
    virtual bk2::error_code_t createFilter(TempFilter& filter, const bk2::variant_bag_t& config) = 0;

    /// True if no result has a filter under the name.
    virtual bool isFilterEmpty(const std::string& name) = 0;

    /// Appends the named filters that a filter bag refers to, in bag order. Fails as `createFilter` does.
    /// Cheap: compiles and registers nothing.
    virtual bk2::error_code_t getFilterReferences(const bk2::variant_bag_t& config,
                                                  std::list<filter_reference_t>& references) = 0;

    /// `mergeFilter` without the record.
    virtual bk2::error_code_t copyQueryFilter(const std::string& source, const std::string& target,
                                              int invert) = 0;

    /// The name of a pane's own selection filter.
    virtual std::string getSelectionFilterName(const std::string& paneId) = 0;

    /// Makes a pane's selection the one that all panes follow, and tells them ("FilterChangedEvent"). Without
    /// a selection in that pane nothing changes.
    virtual bk2::error_code_t applySelectionFilter(const std::string& paneId,
                                                   IEventDispatcher* eventDispatcher) = 0;

    virtual ~IFilterMgr();
};

} // namespace panedeck
