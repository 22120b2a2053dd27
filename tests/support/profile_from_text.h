#pragma once

#include "store/profile_data.h"

#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace panedeck::tests {

/// Makes a profile from lines such as
///
///     [7/71 worker] main;parse|libparse.so|parse.c;read 5
///
/// a stack, root first, whose frames are `name`, `name|module` or `name|module|source file`, and one weight
/// per metric, separated by commas (a weight with a point makes its metric one of fractions). In front may
/// stand the process, the thread and the name of both; without any the profile has no threads. A line with
/// only weights is a sample without frames. Each stack is kept as one path of nodes; lines are samples, in
/// order.
class ProfileFromText {
public:
    static engine::ProfileData make(const std::string& text) {
        ProfileFromText maker;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (!line.empty()) maker.addLine(line);
        return std::move(maker.m_data);
    }

private:
    ProfileFromText() {
        m_data.names = m_data.modules = m_data.source_files = {""};
        m_data.processes.resize(1);
        m_data.threads.resize(1);
        m_data.functions.resize(1);
        m_data.callsite_parents = {0};
        m_data.callsite_functions = {0};
    }

    void addLine(std::string line) {
        engine::ThreadIndex thread = 0;
        if (line.front() == '[') {
            thread = threadOf(line.substr(1, line.find(']') - 1));
            line.erase(0, line.find(']') + 1);
            if (!line.empty() && line.front() == ' ') line.erase(0, 1);
        }
        const std::size_t blank = line.rfind(' ');
        engine::CallsiteIndex callsite = 0;
        if (blank != std::string::npos) {
            std::istringstream frames(line.substr(0, blank));
            for (std::string frame; std::getline(frames, frame, ';');)
                callsite = childOf(callsite, functionOf(frame));
        }
        m_data.sample_callsites.push_back(callsite);
        if (thread != 0 || !m_data.sample_threads.empty()) {
            m_data.sample_threads.resize(m_data.sample_callsites.size() - 1);
            m_data.sample_threads.push_back(thread);
        }
        addWeights(blank == std::string::npos ? line : line.substr(blank + 1));
    }

    void addWeights(const std::string& text) {
        std::istringstream weights(text);
        std::size_t metric = 0;
        for (std::string weight; std::getline(weights, weight, ','); ++metric) {
            if (metric == m_data.metrics.size()) {
                m_data.metrics.emplace_back();
                m_data.metrics.back().name = metric == 0 ? "samples" : "metric" + std::to_string(metric);
                m_data.metrics.back().is_integer = weight.find('.') == std::string::npos;
            }
            engine::MetricColumn& column = m_data.metrics[metric];
            if (column.is_integer)
                column.integers.push_back(std::stoll(weight));
            else
                column.decimals.push_back(std::stod(weight));
        }
    }

    engine::ThreadIndex threadOf(const std::string& text) {
        std::istringstream words(text);
        std::int64_t pid = 0, tid = 0;
        char slash = 0;
        std::string name;
        words >> pid >> slash >> tid >> name;
        auto [process, is_new_process] = m_processes.emplace(pid, m_data.processes.size());
        if (is_new_process) m_data.processes.push_back({pid, name});
        auto [thread, is_new_thread] = m_threads.emplace(std::pair(pid, tid), m_data.threads.size());
        if (is_new_thread) m_data.threads.push_back({process->second, tid, name});
        return thread->second;
    }

    static std::uint32_t intern(std::vector<std::string>& table, const std::string& text) {
        for (std::uint32_t i = 0; i < table.size(); ++i)
            if (table[i] == text) return i;
        table.push_back(text);
        return static_cast<std::uint32_t>(table.size() - 1);
    }

    engine::FunctionIndex functionOf(const std::string& frame) {
        std::istringstream parts(frame);
        std::string name, module, source;
        std::getline(parts, name, '|');
        std::getline(parts, module, '|');
        std::getline(parts, source, '|');
        auto [known, is_new] = m_functions.emplace(std::tuple(name, module, source), m_data.functions.size());
        if (is_new)
            m_data.functions.push_back({intern(m_data.names, name), intern(m_data.modules, module),
                                        intern(m_data.source_files, source), 0, 0});
        return known->second;
    }

    engine::CallsiteIndex childOf(engine::CallsiteIndex parent, engine::FunctionIndex function) {
        auto [known, is_new] =
            m_children.emplace(std::pair(parent, function), m_data.callsite_parents.size());
        if (is_new) {
            m_data.callsite_parents.push_back(parent);
            m_data.callsite_functions.push_back(function);
        }
        return known->second;
    }

    engine::ProfileData m_data;
    std::map<std::int64_t, engine::ProcessIndex> m_processes;
    std::map<std::pair<std::int64_t, std::int64_t>, engine::ThreadIndex> m_threads;
    std::map<std::tuple<std::string, std::string, std::string>, engine::FunctionIndex> m_functions;
    std::map<std::pair<engine::CallsiteIndex, engine::FunctionIndex>, engine::CallsiteIndex> m_children;
};

/// See `ProfileFromText`.
inline engine::ProfileData profileFromText(const std::string& text) {
    return ProfileFromText::make(text);
}

} // namespace panedeck::tests
