#pragma once

#include "import/hash_index.h"
#include "store/profile_data.h"

#include <optional>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// Processes and threads while samples come in: a process is a pid, a thread a pair of pid and tid; both are
/// named by the last command seen. What a sample does not say is the unknown process or thread, entry 0.
class ThreadTable {
public:
    ThreadTable() : m_processes(1), m_threads(1) {}

    ThreadIndex find(std::optional<std::int32_t> pid, std::optional<std::int32_t> tid,
                     std::string_view command);

    std::vector<ProcessRecord> takeProcesses() { return std::move(m_processes); }
    std::vector<ThreadRecord> takeThreads() { return std::move(m_threads); }

private:
    ProcessIndex findProcess(std::int32_t pid);
    ThreadIndex findThread(ProcessIndex process, std::int32_t tid);

    std::vector<ProcessRecord> m_processes;
    std::vector<ThreadRecord> m_threads;
    HashIndex m_process_lookup;
    HashIndex m_thread_lookup;
};

} // namespace panedeck::engine
