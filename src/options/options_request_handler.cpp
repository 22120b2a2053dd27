#include "options/options_request_handler.h"

#include "handlers/request_handlers.h"
#include "options/option_keys.h"
#include "options/options.h"
#include "resultshelf/result_directory_manager.h"

#include <cmath>
#include <limits>
#include <optional>

namespace panedeck {

namespace {

namespace keys = option_keys;
using bk2::variant_t;

/// What an incoming value becomes in the storage; nothing if it cannot be stored.
using stored_t = std::optional<variant_t>;

constexpr std::string_view output_destinations[] = {"", "visualStudioOutput", "productOutput",
                                                    "separateConsole"};
constexpr std::string_view assembly_syntaxes[] = {"default", "GAS", "MASM"};

template <std::size_t size>
variant_t text_of_number(const std::string_view (&texts)[size], bk2::s32_t number) {
    const bool known = number >= 0 && static_cast<std::size_t>(number) < size && !texts[number].empty();
    return variant_t(known ? texts[number] : std::string_view("unknown"));
}

/// An unknown text becomes `otherwise`, never "unknown": the stored form is always a choice that the user
/// has.
template <std::size_t size>
stored_t number_of_text(const std::string_view (&texts)[size], const variant_t& value, bk2::s32_t otherwise) {
    if (!value.is_narrow_text()) return std::nullopt;
    for (std::size_t number = 0; number < size; ++number) {
        if (!texts[number].empty() && value.text() == texts[number]) {
            return variant_t(static_cast<bk2::s32_t>(number));
        }
    }
    return variant_t(otherwise);
}

stored_t stored_output_destination(const variant_t& value) {
    return number_of_text(output_destinations, value, 3);
}

stored_t stored_assembly_syntax(const variant_t& value) {
    return number_of_text(assembly_syntaxes, value, 0);
}

stored_t stored_boolean(const variant_t& value) {
    if (!value.can_get<bool>()) return std::nullopt;
    return variant_t(value.get<bool>());
}

stored_t stored_integer(const variant_t& value) {
    if (value.tag() == bk2::vt_bool || !value.is_numeric()) return std::nullopt;
    const double number = value.get<double>();
    const bool fits = number >= std::numeric_limits<bk2::s32_t>::min() &&
                      number <= std::numeric_limits<bk2::s32_t>::max() && std::trunc(number) == number;
    if (!fits) return std::nullopt;
    return variant_t(static_cast<bk2::s32_t>(number));
}

stored_t stored_text(const variant_t& value) {
    if (!value.is_narrow_text()) return std::nullopt;
    return variant_t(value.text());
}

stored_t stored_result_name_template(const variant_t& value) {
    const auto text = stored_text(value);
    if (!text) return std::nullopt;
    const std::string pattern(text->text());
    return resultshelf2::ResultDirectoryManager::validateResultDirectoryPattern(pattern) ? text
                                                                                         : std::nullopt;
}

/// One option: its key in requests, its place in the storage, and both ways between them.
struct option_t {
    const char* request_key;
    const char* section;
    const char* storage_key;
    variant_t (*read)(const Options& options);
    stored_t (*to_stored)(const variant_t& value);
};

const option_t options_in_order[] = {
    {"applicationOutputDestination", keys::general, keys::output_destination,
     [](const Options& options) {
         const auto number = static_cast<bk2::s32_t>(options.getApplicationOutputDestination());
         return text_of_number(output_destinations, number);
     },
     stored_output_destination},
    {"shouldRemoveRawCollectorData", keys::general, keys::remove_raw_data,
     [](const Options& options) { return variant_t(options.shouldRemoveRawCollectorData()); },
     stored_boolean},
    {"shouldDisplayVerboseCollectionLogMessages", keys::general, keys::verbose_messages,
     [](const Options& options) { return variant_t(options.shouldDisplayVerboseCollectionLogMessages()); },
     stored_boolean},
    {"adbPath", keys::general, keys::adb_path,
     [](const Options& options) { return variant_t(options.getAdbPath()); }, stored_text},
    {"resultNameTemplate", keys::saving, keys::result_name_template,
     [](const Options& options) { return variant_t(options.getResultNameTemplate()); },
     stored_result_name_template},
    {"sourceViewTabSize", keys::source_assembly, keys::tab_size,
     [](const Options& options) { return variant_t(options.getSourceViewTabSize()); }, stored_integer},
    {"cpuAssemblySyntax", keys::source_assembly, keys::assembly_style,
     [](const Options& options) {
         return text_of_number(assembly_syntaxes, static_cast<bk2::s32_t>(options.getCpuAssemblySyntax()));
     },
     stored_assembly_syntax},
    {"shouldCacheSourceFiles", keys::source_assembly, keys::cache_sources,
     [](const Options& options) { return variant_t(options.shouldCacheSourceFiles()); }, stored_boolean},
};

} // namespace

std::shared_ptr<IRequestHandler> createOptionsRequestHandler(bool fixedOutputDestination) {
    return std::make_shared<OptionsRequestHandler>(fixedOutputDestination);
}

std::string OptionsRequestHandler::getDomainName() {
    return "options";
}

bk2::error_code_t OptionsRequestHandler::handleRequest(const std::string& operation,
                                                       const bk2::variant_bag_t& request,
                                                       bk2::variant_bag_t& response,
                                                       notifykit2::IProgress* /*progress*/) {
    if (operation == "get") {
        get(response);
    } else if (operation == "set") {
        set(request);
    } else {
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, operation, __func__, __LINE__);
    }
    return bk2::error_code_t::success();
}

void OptionsRequestHandler::get(bk2::variant_bag_t& response) const {
    const Options options(m_fixedOutputDestination);
    for (const option_t& option : options_in_order) {
        response.put_own_value(option.request_key, option.read(options));
    }
}

void OptionsRequestHandler::set(const bk2::variant_bag_t& request) const {
    Options options(false);
    for (const option_t& option : options_in_order) {
        const variant_t* value = request.get_own_value(option.request_key);
        if (!value) continue;
        if (const stored_t stored = option.to_stored(*value)) {
            options.put(option.section, option.storage_key, *stored);
        }
    }
    options.save();
}

} // namespace panedeck
