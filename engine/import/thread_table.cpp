#include "import/thread_table.h"

#include "import/hashing.h"
#include "portkit/ustring8.h"

namespace panedeck::engine {

namespace {

void rename(std::string& name, std::string_view command) {
    if (name != command) name = portkit2::repair_utf8(command);
}

std::uint64_t word(std::int64_t id) {
    return static_cast<std::uint64_t>(id);
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
    const std::uint64_t hash = hashWords(word(pid), 0);
    const ProcessIndex found =
        m_process_lookup.find(hash, [&](ProcessIndex index) { return m_processes[index].pid == pid; });
    if (found != HashIndex::none) return found;
    const auto index = static_cast<ProcessIndex>(m_processes.size());
    m_processes.push_back({pid, {}});
    m_process_lookup.insert(hash, index);
    return index;
}

ThreadIndex ThreadTable::findThread(ProcessIndex process, std::int32_t tid) {
    const std::uint64_t hash = hashWords(process, word(tid));
    const ThreadIndex found = m_thread_lookup.find(hash, [&](ThreadIndex index) {
        return m_threads[index].process == process && m_threads[index].tid == tid;
    });
    if (found != HashIndex::none) return found;
    const auto index = static_cast<ThreadIndex>(m_threads.size());
    m_threads.push_back({process, tid, {}});
    m_thread_lookup.insert(hash, index);
    return index;
}

} // namespace panedeck::engine
