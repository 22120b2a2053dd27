#pragma once

// Profiles whose tables have as many rows as a benchmark wants, and grids over them.

#include "dataface/input_data.h"
#include "dataface/table_tree.h"
#include "gridmodel/gridmodel.h"
#include "open_result.h"
#include "slicerkit/table_tree_query.h"

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace panedeck::bench {

constexpr std::size_t name_count = 20'000;
constexpr std::int64_t largest_weight = 10'000'000;

/// Distinct names in mixed case, as long as those of real programs.
inline std::vector<std::string> functionNames(std::size_t count) {
    std::vector<std::string> names{""};
    for (std::size_t i = 1; i <= count; ++i) {
        const std::size_t mixed = i * 7919 % count;
        names.push_back((mixed % 2 ? "Renderer::" : "renderer::") + std::to_string(mixed) +
                        (mixed % 3 ? "::drawFrame" : "::DrawFrame"));
    }
    return names;
}

/// Tables for `functions` functions, whose names and modules repeat, and the columns of `metric_count`
/// metrics.
inline engine::ProfileData makeTables(std::size_t functions, std::size_t metric_count,
                                      std::size_t names = name_count) {
    engine::ProfileData data;
    data.names = functionNames(names);
    data.modules = data.source_files = {""};
    for (int i = 1; i <= 200; ++i)
        data.modules.push_back("libpart" + std::to_string(i) + ".so");
    data.processes.resize(1);
    data.threads.resize(1);
    data.functions.push_back({});
    for (std::size_t i = 0; i < functions; ++i)
        data.functions.push_back({static_cast<engine::StringIndex>(1 + i % names),
                                  static_cast<engine::ModuleIndex>(1 + i % 200), 0,
                                  static_cast<std::uint32_t>(i), 0});
    data.callsite_parents = {0};
    data.callsite_functions = {0};
    constexpr const char* metric_names[] = {"cycles", "cpu-time", "bytes", "misses", "stall-time"};
    constexpr engine::MetricUnit units[] = {engine::MetricUnit::count, engine::MetricUnit::nanoseconds,
                                            engine::MetricUnit::bytes, engine::MetricUnit::count,
                                            engine::MetricUnit::microseconds};
    data.metrics.resize(metric_count);
    for (std::size_t i = 0; i < metric_count; ++i) {
        data.metrics[i].name = metric_names[i];
        data.metrics[i].unit = units[i];
    }
    return data;
}

inline void addSample(engine::ProfileData& data, engine::CallsiteIndex node, std::mt19937& random) {
    data.sample_callsites.push_back(node);
    for (auto& metric : data.metrics)
        metric.integers.push_back(1 + random() % largest_weight);
}

/// A flat profile of it has one row for each of `rows` functions. Each name comes 50 times, so that a million
/// rows have 20,000 names.
inline engine::ProfileData makeWideProfile(std::size_t rows, std::size_t metric_count) {
    std::mt19937 random(1);
    engine::ProfileData data = makeTables(rows, metric_count, std::max<std::size_t>(rows / 50, 1));
    for (engine::CallsiteIndex node = 1; node <= rows; ++node) {
        data.callsite_parents.push_back(0);
        data.callsite_functions.push_back(node);
        addSample(data, node, random);
    }
    return data;
}

/// A call tree of about `rows` rows: stacks as deep and as bushy as those of real programs.
inline engine::ProfileData makeDeepProfile(std::size_t rows, std::size_t metric_count) {
    std::mt19937 random(1);
    engine::ProfileData data = makeTables(name_count, metric_count);
    std::vector<std::uint32_t> depths{0};
    for (engine::CallsiteIndex node = 1; node <= rows; ++node) {
        engine::CallsiteIndex parent = node == 1 ? 0 : node - 1 - random() % std::min(node, 50u);
        if (depths[parent] >= 60) parent = random() % node;
        if (depths[parent] >= 60) parent = 0;
        depths.push_back(depths[parent] + 1);
        data.callsite_parents.push_back(parent);
        data.callsite_functions.push_back(1 + random() % name_count);
        addSample(data, node, random);
    }
    return data;
}

/// An open profile and its query library.
struct OpenProfile {
    explicit OpenProfile(engine::ProfileData data) {
        if (engine::openProfile(std::move(data), {"bench", "", ""}, input).failed() ||
            engine::createQueryLibrary(input, nullptr, "", library).failed())
            std::abort();
    }

    bk2::sptr_t<dataface1::ITableTree> tree(const std::string& grouping, int type,
                                            const std::vector<std::string>& columns,
                                            const std::string& filter = "") const {
        const auto query = slicerkit1::ITableTreeQuery::create();
        bk2::sptr_t<dataface1::ITableTree> tree;
        if (query->addInputData(input).failed() || query->setFilterName(filter).failed() ||
            query->setGroupingQuery(library->findQuery(grouping)).failed())
            std::abort();
        for (const std::string& column : columns)
            if (query->addColumnQuery(library->findQuery(column)).failed()) std::abort();
        if (query->getTableTree(tree, nullptr, type).failed()) std::abort();
        return tree;
    }

    bk2::sptr_t<dataface1::IInputData> input;
    bk2::sptr_t<dataface1::IQueryLibrary> library;
};

/// A grid that shows `tree`, with a window that a pane has.
inline bk2::sptr_t<GridModel> makeGrid(const bk2::sptr_t<dataface1::ITableTree>& tree, GridType type) {
    auto grid = bk2::make_sptr<GridModel>(type, nullptr, nullptr, nullptr);
    GridModel::Lock lock(grid);
    GridViewParams params;
    params.grouping = "/Function";
    params.startRow = 0;
    params.rowCount = 100;
    if (grid->init(tree, params, KeepStackMode, {}, nullptr).failed()) std::abort();
    return grid;
}

} // namespace panedeck::bench
