#include "open_result.h"

#include "query/engine_input.h"
#include "query/query_catalog.h"
#include "query/query_library.h"
#include "query/table_tree_query.h"
#include "slicerkit/table_tree_query.h"
#include "store/profile_validation.h"

namespace panedeck::engine {

namespace {

bk2::sptr_t<dataface1::IInputData> makeInput(ProfileData data, ResultFacts facts) {
    slicerkit1::ITableTreeQuery::setFactory(&TableTreeQuery::make);
    auto store = std::make_shared<const ProfileStore>(std::move(data), std::move(facts));
    return bk2::make_sptr<EngineInput>(std::move(store));
}

} // namespace

bk2::error_code_t openResult(const std::string& directory, notifykit2::IProgress* progress,
                             bk2::sptr_t<dataface1::IInputData>& input) {
    input = nullptr;
    ProfileData data;
    ResultFacts facts;
    if (auto error = readResult(directory, data, facts, progress); error.failed()) return error;
    input = makeInput(std::move(data), std::move(facts));
    return {};
}

bk2::error_code_t openProfile(ProfileData data, const ResultFacts& facts,
                              bk2::sptr_t<dataface1::IInputData>& input) {
    input = nullptr;
    if (auto error = validateProfile(data); error.failed()) return error;
    input = makeInput(std::move(data), facts);
    return {};
}

bk2::error_code_t createQueryLibrary(const bk2::sptr_t<dataface1::IInputData>& first,
                                     const bk2::sptr_t<dataface1::IInputData>& second,
                                     const std::string& config_directory,
                                     bk2::sptr_t<dataface1::IQueryLibrary>& library) {
    library = nullptr;
    const auto own_first = bk2::interface_cast<EngineInput>(first);
    const auto own_second = bk2::interface_cast<EngineInput>(second);
    if (!own_first || (second && !own_second))
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "input");
    QueryCatalog catalog;
    if (!config_directory.empty())
        if (auto error = catalog.load(config_directory); error.failed()) return error;
    library = bk2::make_sptr<QueryLibrary>(*own_first->store(),
                                           own_second ? own_second->store().get() : nullptr, catalog);
    return {};
}

} // namespace panedeck::engine
