#pragma once

#include "import/import_profile.h"
#include "store/profile_validation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace panedeck::engine::tests {

/// What came of an import.
struct Imported {
    ProfileData profile;
    ImportReport report;
    bk2::error_code_t error;

    /// The failure's message, or "".
    std::string message() const { return std::string(error.message()); }
};

inline Imported importText(std::string_view text, const ImportLimits& limits = {}) {
    Imported result;
    result.error = importProfileBytes(text, "file", result.profile, result.report, nullptr, limits);
    if (result.error.succeeded()) {
        EXPECT_EQ(validateProfile(result.profile).as_string(1), "") << text.substr(0, 200);
    } else {
        EXPECT_TRUE(result.profile.callsite_parents.empty()) << "a failed import left something";
    }
    return result;
}

/// A function as `name [module] @file:line:column`, as far as these are known.
inline std::string functionText(const ProfileData& profile, FunctionIndex index) {
    const FunctionRecord& function = profile.functions[index];
    std::string text = profile.names[function.name];
    if (function.module) text += " [" + profile.modules[function.module] + "]";
    if (function.source_file) text += " @" + profile.source_files[function.source_file];
    if (function.line) text += ":" + std::to_string(function.line) + ":" + std::to_string(function.column);
    return text;
}

inline std::string threadText(const ProfileData& profile, ThreadIndex index) {
    const ThreadRecord& thread = profile.threads[index];
    const std::string process = thread.process ? std::to_string(profile.processes[thread.process].pid) : "?";
    return thread.name + " " + process + "/" + std::to_string(thread.tid);
}

/// The stack tree: a line per node in preorder, one blank per level, and the self weights of all metrics that
/// are not 0. The empty stack is written `*` if it has weight.
class TreePrinter {
public:
    explicit TreePrinter(const ProfileData& profile)
        : m_profile(profile), m_children(profile.callsite_parents.size()), m_self(profile.metrics.size()) {
        for (CallsiteIndex node = 1; node < m_children.size(); ++node)
            m_children[profile.callsite_parents[node]].push_back(node);
        for (std::size_t metric = 0; metric < profile.metrics.size(); ++metric)
            addWeights(profile.metrics[metric], m_self[metric]);
    }

    std::string print() const {
        std::string text = selfText(0).empty() ? "" : "*" + selfText(0) + "\n";
        std::vector<std::pair<CallsiteIndex, std::size_t>> pending;
        push(0, 0, pending);
        while (!pending.empty()) {
            const auto [node, level] = pending.back();
            pending.pop_back();
            text += std::string(level, ' ') + functionText(m_profile, m_profile.callsite_functions[node]) +
                    selfText(node) + "\n";
            push(node, level + 1, pending);
        }
        return text;
    }

private:
    struct Sums {
        std::map<CallsiteIndex, std::int64_t> integers;
        std::map<CallsiteIndex, double> decimals;
    };

    void addWeights(const MetricColumn& metric, Sums& sums) {
        for (std::size_t record = 0; record < m_profile.sample_records(); ++record) {
            const CallsiteIndex node = m_profile.sample_callsites[record];
            if (metric.is_integer)
                sums.integers[node] += metric.integers[record];
            else
                sums.decimals[node] += metric.decimals[record];
        }
    }

    std::string selfText(CallsiteIndex node) const {
        std::ostringstream text;
        for (const Sums& sums : m_self) {
            const auto integer = sums.integers.find(node);
            if (integer != sums.integers.end() && integer->second) text << " " << integer->second;
            const auto decimal = sums.decimals.find(node);
            if (decimal != sums.decimals.end() && decimal->second != 0) text << " " << decimal->second;
        }
        return text.str();
    }

    void push(CallsiteIndex node, std::size_t level,
              std::vector<std::pair<CallsiteIndex, std::size_t>>& to) const {
        for (auto child = m_children[node].rbegin(); child != m_children[node].rend(); ++child)
            to.push_back({*child, level});
    }

    const ProfileData& m_profile;
    std::vector<std::vector<CallsiteIndex>> m_children;
    std::vector<Sums> m_self; ///< by metric
};

inline std::string treeOf(const Imported& imported) {
    if (imported.error.failed()) return imported.message();
    return TreePrinter(imported.profile).print();
}

/// All messages of the report, a line each.
inline std::string reportOf(const Imported& imported) {
    std::string text;
    for (const std::string& message : imported.report.messages())
        text += message + "\n";
    return text;
}

/// A text and what its import prints: the tree, then the report.
struct ImportCase {
    const char* name;
    std::string text;
    std::string printed;
};

inline void checkCases(const std::vector<ImportCase>& cases) {
    for (const ImportCase& test : cases) {
        const Imported imported = importText(test.text);
        EXPECT_EQ(treeOf(imported) + reportOf(imported), test.printed) << test.name;
    }
}

/// Imports every beginning of `text`: each must be a valid profile or a failure that names the file and a
/// line.
inline void checkEveryCut(const std::string& text) {
    for (std::size_t size = 0; size < text.size(); ++size) {
        const Imported imported = importText(text.substr(0, size));
        if (imported.error.succeeded()) continue;
        EXPECT_TRUE(imported.message().starts_with("file:")) << size << ": " << imported.message();
        EXPECT_NE(imported.message().find(": ", 6), std::string::npos) << size << ": " << imported.message();
    }
}

} // namespace panedeck::engine::tests
