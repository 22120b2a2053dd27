#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>
#include <string>
#include <vector>

namespace panedeck::bench {

/// Prints what is measured and keeps the best time of each benchmark, that of this process unless the
/// benchmark takes its own: others may be at work on the machine.
class RatioReport : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration) keep(run);
        ConsoleReporter::ReportRuns(runs);
    }

    /// Notes and prints if `name` takes more than `most` times as long as `beside`; nothing if one of them
    /// did not run.
    void check(const std::string& name, const std::string& beside, double most) {
        if (!m_best.count(name) || !m_best.count(beside)) return;
        print(name + " / " + beside, m_best[name] / m_best[beside], most);
    }

    /// The same for a figure per row at two sizes: how much a row costs more at the larger one.
    void checkGrowth(const std::string& name, std::size_t rows, std::size_t more_rows, double most) {
        const std::string small = name + "/" + std::to_string(rows);
        const std::string large = name + "/" + std::to_string(more_rows);
        if (!m_best.count(small) || !m_best.count(large)) return;
        const double growth =
            m_best[large] / m_best[small] * static_cast<double>(rows) / static_cast<double>(more_rows);
        print(large + " per row / " + small, growth, most);
    }

    /// The same beside what the machine can do at best: how much the ratio to `beside` grows.
    void checkGrowth(const std::string& name, const std::string& beside, std::size_t rows,
                     std::size_t more_rows, double most) {
        const std::string small = "/" + std::to_string(rows), large = "/" + std::to_string(more_rows);
        for (const std::string& each : {name + small, name + large, beside + small, beside + large})
            if (!m_best.count(each)) return;
        const double growth =
            m_best[name + large] / m_best[beside + large] / m_best[name + small] * m_best[beside + small];
        print(name + large + " / " + beside + ", growth from " + small, growth, most);
    }

    void print(const std::string& what, double figure, double most) {
        const bool reached = figure <= most;
        m_all_reached = m_all_reached && reached;
        std::printf("%-66s %9.2f of %8.2f%s\n", what.c_str(), figure, most, reached ? "" : "  MISSED");
    }

    bool allReached() const { return m_all_reached; }
    double best(const std::string& name) const {
        const auto found = m_best.find(name);
        return found == m_best.end() ? 0 : found->second;
    }

private:
    void keep(const Run& run) {
        const bool is_manual = run.run_name.time_type == "manual_time";
        const double time = (is_manual ? run.real_accumulated_time : run.cpu_accumulated_time) /
                            static_cast<double>(run.iterations);
        const auto [best, is_new] = m_best.try_emplace(nameOf(run), time);
        if (!is_new) best->second = std::min(best->second, time);
    }

    /// Name and argument without what google-benchmark appends of its own.
    static std::string nameOf(const Run& run) {
        return run.run_name.args.empty() ? run.run_name.function_name
                                         : run.run_name.function_name + "/" + run.run_name.args;
    }

    std::map<std::string, double> m_best;
    bool m_all_reached = true;
};

/// Seconds that all threads of this process have worked.
inline double secondsWorked() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double secondsPassed() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// One iteration: `prepare` outside the time, `work` inside. For benchmarks with `UseManualTime`.
template <class Prepare, class Work>
void timeOnce(benchmark::State& state, const Prepare& prepare, const Work& work,
              double (*clock)() = &secondsWorked) {
    prepare();
    const double start = clock();
    work();
    state.SetIterationTime(clock() - start);
}

/// Starts the library with each benchmark run `repetitions` times, all mixed, unless the command line says
/// otherwise: what the machine does in between then hits all of them alike.
inline void initializeRepeated(int argc, char** argv, int repetitions) {
    std::vector<char*> arguments(argv, argv + argc);
    std::string repeated = "--benchmark_repetitions=" + std::to_string(repetitions);
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, {repeated.data(), interleaved});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
}

} // namespace panedeck::bench
