#include "query/query_catalog.h"

#include "basekit/variant_bag.h"
#include "basekit/variant_bag_xml.h"
#include "settingshub/whole_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace panedeck::engine {

namespace {

std::string textOf(const bk2::variant_bag_t& bag, const char* name, const std::string& otherwise = "") {
    const bk2::variant_t value = bag.get_variant(name);
    return value.is_null() ? otherwise : bk2::get_value_string(value);
}

void takeNames(const bk2::variant_bag_t& entry, LevelNames& names) {
    names.display_name = textOf(entry, "displayName", names.display_name);
    names.description = textOf(entry, "description", names.description);
    names.alias_for_unknown = textOf(entry, "aliasForUnknown", names.alias_for_unknown);
}

std::vector<std::string> queryFiles(const std::string& config_directory) {
    std::vector<std::string> files;
    std::error_code error;
    const auto folder = std::filesystem::path(config_directory) / "queries";
    for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (i->path().extension() == ".xml") files.push_back(i->path().string());
    std::ranges::sort(files);
    return files;
}

} // namespace

QueryCatalog::QueryCatalog() {
    m_levels[Segment::process] = {"Process", "The process that a sample was taken in."};
    m_levels[Segment::thread] = {"Thread", "The thread that a sample was taken in."};
    m_levels[Segment::module] = {"Module", "The program or library that holds a function."};
    m_levels[Segment::source_file] = {"Source File", "The file that a function is written in."};
    m_levels[Segment::function] = {"Function", "A function, told apart by name, module and source file."};
    m_levels[Segment::callees] = {"Call Stack", "What was called from here."};
    m_levels[Segment::callers] = {"Call Stack", "Where the calls came from."};
    m_columns["/Info/Module"] = {"Module", "The program or library that holds the function."};
    m_columns["/Info/SourceFile"] = {"Source File", "The file that the function is written in."};
    m_columns["/Info/FunctionFullName"] = {"Function (Full)",
                                           "The function with its module and place in the source."};
}

bk2::error_code_t QueryCatalog::load(const std::string& config_directory) {
    for (const std::string& file : queryFiles(config_directory))
        if (auto error = loadFile(file); error.failed()) return error;
    return {};
}

bk2::error_code_t QueryCatalog::loadFile(const std::string& path) {
    std::string text;
    if (auto error = settingshub2::read_whole_file(path, text); error.failed()) return error;
    bk2::variant_bag_t bag;
    if (auto error = bk2::load_variant_bag_from_string2(bag, text, "queries"); error.failed())
        return bk2::error_code_t::failure(fmt::format("{}: {}", path, error.message()));

    for (auto entry = bag.begin_by_name<bk2::variant_bag_t>("metric"); !entry.at_end(); entry.next()) {
        const std::string primary = textOf(entry.get_value(), "primary");
        m_metrics[textOf(entry.get_value(), "name")] = {
            textOf(entry.get_value(), "displayName"), textOf(entry.get_value(), "description"),
            textOf(entry.get_value(), "format"), primary == "true" || primary == "1"};
    }
    for (auto entry = bag.begin_by_name<bk2::variant_bag_t>("level"); !entry.at_end(); entry.next()) {
        const auto segment = findSegment(textOf(entry.get_value(), "segment"));
        if (!segment)
            return bk2::error_code_t::failure(
                fmt::format("{}: unknown level \"{}\"", path, textOf(entry.get_value(), "segment")));
        takeNames(entry.get_value(), m_levels[*segment]);
    }
    for (auto entry = bag.begin_by_name<bk2::variant_bag_t>("column"); !entry.at_end(); entry.next()) {
        const auto found = m_columns.find(textOf(entry.get_value(), "name"));
        if (found == m_columns.end())
            return bk2::error_code_t::failure(
                fmt::format("{}: unknown column \"{}\"", path, textOf(entry.get_value(), "name")));
        takeNames(entry.get_value(), found->second);
    }
    return {};
}

const MetricStyle* QueryCatalog::findMetric(const std::string& name) const {
    const auto found = m_metrics.find(name);
    return found == m_metrics.end() ? nullptr : &found->second;
}

} // namespace panedeck::engine
