// Whole conversations of requests that are nearly right: each is answered or refused with a reason, cancelled
// at any poll it leaves the grid able to answer, and every answer can be written.

#include "basekit/ref_counted.h"
#include "basekit/variant_bag_xml.h"
#include "served_profile.h"
#include "transport/json_serialization.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

struct Template {
    const char* type;
    const char* parameters;
};

constexpr char refresh[] =
    "<gridid><_>g</_></gridid><paneId><_>p</_></paneId><queryType>topDown</queryType>"
    "<grouping><_>/CallStack</_></grouping><columns><column><_>/Metrics</_></column></columns>"
    "<row><_ type='s32_t'>0</_></row><count><_ type='s32_t'>9</_></count>";

constexpr char window[] = "<gridid><_>g</_></gridid><grouping><_>/CallStack</_></grouping>"
                          "<row><_ type='s32_t'>0</_></row><count><_ type='s32_t'>9</_></count>";

constexpr char row[] = "<gridid><_>g</_></gridid><row><_ type='s32_t'>1</_></row>";

constexpr std::array templates = {
    Template{"gridview:refresh", refresh},
    Template{"gridview:scroll", window},
    Template{"gridview:expand", row},
    Template{"gridview:collapse", row},
    Template{"gridview:expandRowsRecursively", row},
    Template{"gridview:collapseAllRows", row},
    Template{"gridview:expandSelectedRows", row},
    Template{"gridview:sort", "<gridid><_>g</_></gridid><sorting><column type='s32_t'>0</column>"
                              "<descending type='bool'>true</descending></sorting>"},
    Template{"gridview:changeStackMode", "<gridid><_>g</_></gridid><stackMode><_>chain</_></stackMode>"},
    Template{"gridview:selection", "<gridid><_>g</_></gridid><row><_ type='s32_t'>1</_></row>"
                                   "<selectionType><_>toggle</_></selectionType>"},
    Template{"gridview:selection", "<gridid><_>g</_></gridid><row><_ type='s32_t'>3</_></row>"
                                   "<selectionType><_>addRange</_></selectionType>"},
    Template{"gridview:selection", "<gridid><_>g</_></gridid><selectionType><_>all</_></selectionType>"},
    Template{"gridview:search", "<gridid><_>g</_></gridid><searchKey><_>fi</_></searchKey>"},
    Template{"gridview:position", "<gridid><_>g</_></gridid><paneId><_>p</_></paneId><focusRowReferences>"
                                  "<focusRowReference><type>/CallStack</type><value>fill</value>"
                                  "</focusRowReference></focusRowReferences>"},
    Template{"gridview:columnState", "<gridid><_>g</_></gridid><columnHierarchy><column><item>"
                                     "<dataIndex type='s32_t'>0</dataIndex></item><item>"
                                     "<dataIndex type='s32_t'>1</dataIndex></item></column>"
                                     "</columnHierarchy>"},
    Template{"gridview:copyRowsToClipboard", "<gridid><_>g</_></gridid>"},
    Template{"gridview:viewSource", row},
    Template{"grid:get", "<queryType>bottomUp</queryType><grouping><_>/Function</_></grouping>"
                         "<columns><column><_>/Metrics</_></column></columns><limit>5</limit>"},
    Template{"grid:get", "<columns><column><_>/Metrics</_></column></columns><filter>"
                         "<valueType>value</valueType><item><grouping><_>/Function</_></grouping>"
                         "<row><_>fill</_></row></item></filter>"},
    Template{"options:get", ""},
    Template{"options:set", "<sourceViewTabSize><_ type='s32_t'>8</_></sourceViewTabSize>"},
    Template{"", ""},
};

constexpr std::array keys = {
    "gridid",
    "paneId",
    "queryType",
    "queryFlags",
    "grouping",
    "columns",
    "column",
    "row",
    "count",
    "rowId",
    "sorting",
    "descending",
    "expandLevels",
    "filter",
    "filterName",
    "and",
    "or",
    "value",
    "reference",
    "query",
    "limit",
    "searchKey",
    "selectionType",
    "stackMode",
    "columnHierarchy",
    "dataIndex",
    "isHidden",
    "isCollapsed",
    "format",
    "item",
    "expand",
    "focusColumnName",
    "focusRowReferences",
    "persistedSorting",
    "invert",
    "objectid",
    "type",
    "focusRowReference",
    "queryFlag",
    "valueType",
};

constexpr std::array texts = {
    "",
    "g",
    "other",
    "bottomUp",
    "flatProfile",
    "selectionParentTree",
    "/Function",
    "/Metrics",
    "/Metrics/weight",
    "/ParentCallStack",
    "RootGrouping",
    "/Nowhere",
    "chain",
    "tree",
    "none",
    "setSingle",
    "clear",
    "all",
    "toggle",
    "percent",
    "text",
    "\xC3",
    "\xF0\x9F\x98\x80",
    "ma",
    "-1",
    "99999999999999999999",
    "1",
};

constexpr std::array<std::int64_t, 12> numbers = {0,
                                                  1,
                                                  2,
                                                  5,
                                                  -1,
                                                  -2,
                                                  100,
                                                  1'000'000,
                                                  std::numeric_limits<std::int32_t>::max(),
                                                  std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int64_t>::max(),
                                                  std::numeric_limits<std::int64_t>::min()};

/// Turns bytes into choices; when they are used up every choice is the first.
class Choices {
public:
    Choices(const unsigned char* bytes, std::size_t size) : m_next(bytes), m_end(bytes + size) {}

    bool used_up() const { return m_next == m_end; }
    std::size_t below(std::size_t limit) { return used_up() ? 0 : *m_next++ % limit; }
    template <class Table>
    const auto& of(const Table& table) {
        return table[below(table.size())];
    }

private:
    const unsigned char* m_next;
    const unsigned char* m_end;
};

/// Cancels itself when it has been asked often enough.
class CountedProgress
    : public bk2::ref_counted_t<CountedProgress, bk2::mt_ref_count_impl_t, notifykit2::IProgress> {
public:
    explicit CountedProgress(std::size_t polls) : m_polls(polls) {}
    void start(const std::string&, std::uint64_t) override {}
    void advance_to(std::uint64_t) override {}
    void cancel() override { m_polls = 0; }
    bool is_canceled() const override { return m_polls == 0 || --m_polls == 0; }

private:
    mutable std::size_t m_polls;
};

variant_t someValue(Choices& choices) {
    switch (choices.below(5)) {
    case 0:
        return variant_t(choices.of(texts));
    case 1:
        return variant_t(choices.of(numbers));
    case 2:
        return variant_t(static_cast<std::int32_t>(choices.of(numbers)));
    case 3:
        return variant_t(choices.below(2) == 1);
    default:
        return choices.below(2) ? variant_t(0.5) : variant_t();
    }
}

void change(variant_bag_t& bag, Choices& choices, int depth) {
    const char* key = choices.of(keys);
    switch (choices.below(4)) {
    case 0:
        bag.put_own_value(key, someValue(choices));
        break;
    case 1:
        bag.put<variant_t>(key, someValue(choices));
        break;
    case 2:
        if (variant_bag_t* inside = bag.get<variant_bag_t>(key); inside && depth < 6)
            change(*inside, choices, depth + 1);
        break;
    default:
        if (depth < 6) change(bag.add_variant_bag(key), choices, depth + 1);
    }
}

[[noreturn]] void stop(const std::string& what, const error_code_t& error) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), error.as_string(1).c_str());
    std::abort();
}

variant_bag_t bagOf(const char* parameters) {
    variant_bag_t bag;
    const error_code_t read =
        bk2::load_variant_bag_from_string2(bag, portkit2::ustring8("<bag>") + parameters + "</bag>", "bag");
    if (read.failed()) stop(parameters, read);
    return bag;
}

void checkAnswer(const std::string& type, const error_code_t& result, variant_bag_t& answer) {
    if (result.failed()) {
        if (result.as_string(1).empty()) stop(type + " fails without a reason", result);
        return;
    }
    portkit2::ustring8 text;
    const error_code_t written =
        panedeck::save_variant_bag_to_json_string(answer, text, panedeck::JSONFormat::compact);
    if (written.failed()) stop(type + " has an answer that cannot be written", written);
}

void serve(panedeck::IRequestDispatcher& dispatcher, Choices& choices) {
    const Template& wanted = choices.of(templates);
    variant_bag_t request = bagOf(wanted.parameters);
    for (std::size_t changes = choices.below(4); changes > 0; --changes)
        change(request, choices, 0);
    const std::size_t polls = choices.below(4) ? 1'000'000 : choices.below(40) + 1;
    const auto progress = bk2::make_sptr<CountedProgress>(polls);
    variant_bag_t answer;
    const error_code_t result = dispatcher.handleRequest(wanted.type, request, answer, progress.get());
    checkAnswer(wanted.type, result, answer);
}

/// Whatever came before, a right refresh shows all rows of the profile.
void checkGridStillAnswers(panedeck::IRequestDispatcher& dispatcher) {
    variant_bag_t answer;
    variant_bag_t request = bagOf(refresh);
    const error_code_t result = dispatcher.handleRequest("gridview:refresh", request, answer, nullptr);
    if (result.failed()) stop("a right refresh fails", result);
    const variant_bag_t* rows = answer.get<variant_bag_t>("rows");
    if (!rows || rows->count<variant_bag_t>("row") < 2) stop("a right refresh shows too little", result);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static panedeck::fuzz::ServedProfile profile;
    const auto dispatcher = profile.dispatcher();
    variant_bag_t answer;
    variant_bag_t request = bagOf(refresh);
    static_cast<void>(dispatcher->handleRequest("gridview:refresh", request, answer, nullptr));
    Choices choices(data, size);
    for (int served = 0; served < 40 && !choices.used_up(); ++served)
        serve(*dispatcher, choices);
    checkGridStillAnswers(*dispatcher);
    return 0;
}
