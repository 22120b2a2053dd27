#include "import/text_input.h"

#include "import/gzip_source.h"
#include "import/prefixed_source.h"
#include "import/utf16_source.h"

#include <cstring>

namespace panedeck::engine {

namespace {

// Small enough to stay in the second-level cache between reading and parsing.
constexpr std::size_t chunk_bytes = std::size_t{256} << 10;

std::unique_ptr<IByteSource> unpacked(std::unique_ptr<IByteSource> source) {
    auto prefixed = std::make_unique<PrefixedSource>(std::move(source));
    if (!GzipSource::recognises(prefixed->peek(2))) return prefixed;
    return std::make_unique<GzipSource>(std::move(prefixed));
}

std::unique_ptr<IByteSource> decoded(std::unique_ptr<IByteSource> source) {
    auto prefixed = std::make_unique<PrefixedSource>(std::move(source));
    const std::string_view beginning = prefixed->peek(3);
    if (beginning == "\xEF\xBB\xBF") {
        prefixed->drop(3);
    } else if (beginning.starts_with("\xFF\xFE") || beginning.starts_with("\xFE\xFF")) {
        const bool big_endian = beginning[0] == '\xFE';
        prefixed->drop(2);
        return std::make_unique<Utf16Source>(std::move(prefixed), big_endian);
    }
    return prefixed;
}

} // namespace

TextInput::TextInput(std::unique_ptr<IByteSource> file, const ImportLimits& limits,
                     notifykit2::IProgress* progress)
    : m_limits(limits), m_progress(progress), m_source(decoded(unpacked(std::move(file)))),
      m_buffer(2 * chunk_bytes) {}

bool TextInput::stop() {
    m_at_end = true;
    return false;
}

// Unread bytes move to the front; the buffer grows only while its consumer takes nothing.
void TextInput::makeRoom() {
    if (m_buffer.size() - m_end >= chunk_bytes) return;
    const std::size_t unread = m_end - m_begin;
    if (unread) std::memmove(m_buffer.data(), m_buffer.data() + m_begin, unread);
    m_begin = 0;
    m_end = unread;
    if (m_buffer.size() - m_end < chunk_bytes) m_buffer.resize(2 * m_buffer.size());
}

bool TextInput::fill() {
    if (m_at_end) return false;
    if (notifykit2::is_canceled(m_progress)) {
        m_canceled = true;
        return stop();
    }
    makeRoom();
    const std::size_t count = m_source->read(m_buffer.data() + m_end, chunk_bytes);
    m_end += count;
    m_read += count;
    if (m_progress) m_progress->advance_to(m_source->position());
    if (count == 0) {
        // Sources that wait give up when they are cancelled, and look like an end then.
        m_canceled = notifykit2::is_canceled(m_progress);
        m_failure = m_source->failure();
        return stop();
    }
    if (m_read > m_limits.unpacked_bytes) {
        m_failure = "the text is longer than " + std::to_string(m_limits.unpacked_bytes) + " bytes";
        return stop();
    }
    return true;
}

void TextInput::fillTo(std::size_t size) {
    while (m_end - m_begin < size && fill()) {
    }
}

std::optional<ImportOutcome> TextInput::stopped(std::uint64_t line) const {
    if (m_canceled) return ImportOutcome::canceled();
    if (!m_failure.empty()) return ImportOutcome::refused(line, m_failure);
    return std::nullopt;
}

} // namespace panedeck::engine
