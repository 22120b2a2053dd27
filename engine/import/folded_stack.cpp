#include "import/folded_stack.h"

#include "import/text_lines.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace panedeck::engine {

namespace {

std::size_t commonPrefix(std::string_view a, std::string_view b) {
    const std::size_t size = std::min(a.size(), b.size());
    std::size_t at = 0;
    for (; at + 8 <= size; at += 8) {
        const std::uint64_t difference =
            hashing::load<std::uint64_t>(a.data() + at) ^ hashing::load<std::uint64_t>(b.data() + at);
        if (!difference) continue;
        if constexpr (std::endian::native == std::endian::little)
            return at + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
        break;
    }
    while (at < size && a[at] == b[at])
        ++at;
    return at;
}

} // namespace

// Shorter texts than a limit cannot pass it, so that nearly no line is read twice.
const char* FoldedStackWalk::check(std::string_view stack) const {
    if (stack.size() < m_limits.stack_frames && stack.size() <= m_limits.name_bytes) return nullptr;
    std::size_t frames = 1;
    std::size_t begin = 0;
    for (std::size_t end = stack.find(';'); end != stack.npos; end = stack.find(';', begin), ++frames) {
        if (end - begin > m_limits.name_bytes) return "with a name that is too long";
        begin = end + 1;
    }
    if (stack.size() - begin > m_limits.name_bytes) return "with a name that is too long";
    return frames > m_limits.stack_frames ? "with a stack that is too deep" : nullptr;
}

CallsiteIndex FoldedStackWalk::walk(std::string_view stack) {
    std::size_t begin = resume(stack);
    if (begin > stack.size()) return m_last_node;
    CallsiteIndex node = m_steps.empty() ? 0 : m_steps.back().node;
    for (;;) {
        const auto* end =
            static_cast<const char*>(std::memchr(stack.data() + begin, ';', stack.size() - begin));
        if (!end) break;
        const auto offset = static_cast<std::size_t>(end - stack.data());
        node = enter(node, stack.substr(begin, offset - begin));
        begin = offset + 1;
        m_steps.push_back({begin, node});
    }
    m_last_node = enter(node, stack.substr(begin));
    m_last.assign(stack);
    return m_last_node;
}

// Drops the steps that this stack does not share and gives the offset behind those that it does; past the end
// if the whole stack is the same.
std::size_t FoldedStackWalk::resume(std::string_view stack) {
    const std::size_t common = commonPrefix(m_last, stack);
    if (m_last_node && common == stack.size() && common == m_last.size()) return common + 1;
    while (!m_steps.empty() && m_steps.back().end > common)
        m_steps.pop_back();
    return m_steps.empty() ? 0 : m_steps.back().end;
}

CallsiteIndex FoldedStackWalk::enter(CallsiteIndex parent, std::string_view frame) {
    const std::string_view text = trimmed(frame);
    return m_builder.child(parent, m_builder.functionNamed(text.empty() ? "[unknown]" : text));
}

} // namespace panedeck::engine
