#include "import/thread_table.h"

#include "import/hashing.h"
#include "portkit/ustring8.h"

namespace panedeck::engine {

namespace {

void rename(std::string& name, std::string_view command) {
    if (name != command) name = portkit2::repair_utf8(command);
}

std::uint64_t hashProcess(std::int64_t pid, HashStrength strength) {
    return hashWords(static_cast<std::uint64_t>(pid), 0, strength);
}

std::uint64_t hashThread(ProcessIndex process, std::int64_t tid, HashStrength strength) {
    return hashWords(process, static_cast<std::uint64_t>(tid), strength);
}

} // namespace

ThreadIndex ThreadTable::find(std::optional<std::int32_t> pid, std::optional<std::int32_t> tid,
                              std::string_view command) {
    const ProcessIndex process = pid ? findProcess(*pid) : 0;
    const ThreadIndex thread = tid ? findThread(process, *tid) : 0;
    if (process && !command.empty()) rename(m_processes[process].name, command);
    if (thread && !command.empty()) rename(m_threads[thread].name, command);
    return thread;
}

ProcessIndex ThreadTable::findProcess(std::int32_t pid) {
    const std::uint64_t hash = hashProcess(pid, m_process_lookup.strength());
    const ProcessIndex found =
        m_process_lookup.find(hash, [&](ProcessIndex index) { return m_processes[index].pid == pid; });
    if (found != HashIndex::none) return found;
    const auto index = static_cast<ProcessIndex>(m_processes.size());
    m_processes.push_back({pid, {}});
    m_process_lookup.insert(index, [this](ProcessIndex at, HashStrength strength) {
        return hashProcess(m_processes[at].pid, strength);
    });
    return index;
}

ThreadIndex ThreadTable::findThread(ProcessIndex process, std::int32_t tid) {
    const std::uint64_t hash = hashThread(process, tid, m_thread_lookup.strength());
    const ThreadIndex found = m_thread_lookup.find(hash, [&](ThreadIndex index) {
        return m_threads[index].process == process && m_threads[index].tid == tid;
    });
    if (found != HashIndex::none) return found;
    const auto index = static_cast<ThreadIndex>(m_threads.size());
    m_threads.push_back({process, tid, {}});
    m_thread_lookup.insert(index, [this](ThreadIndex at, HashStrength strength) {
        return hashThread(m_threads[at].process, m_threads[at].tid, strength);
    });
    return index;
}

} // namespace panedeck::engine
