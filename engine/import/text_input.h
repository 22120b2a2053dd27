#pragma once

#include "import/byte_source.h"
#include "import/import_limits.h"
#include "import/import_outcome.h"
#include "notifykit/progress.h"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// The text of a profile as UTF-8 in a sliding buffer: unpacked, decoded, without byte order mark. Polls the
/// progress object each time that it reads on, which importers therefore need not do while they read.
class TextInput {
public:
    TextInput(std::unique_ptr<IByteSource> file, const ImportLimits& limits, notifykit2::IProgress* progress);

    /// The bytes that were read and not consumed. Valid until `fill`.
    std::string_view ahead() const { return {m_buffer.data() + m_begin, m_end - m_begin}; }
    /// The same, to be changed in place.
    char* mutable_ahead() { return m_buffer.data() + m_begin; }
    void consume(std::size_t count) { m_begin += count; }

    /// Reads on behind `ahead()`. False if nothing came: the end, a failure or a cancel.
    bool fill();

    /// Fills until `size` bytes are ahead or nothing more comes.
    void fillTo(std::size_t size);

    bool at_end() const { return m_at_end; }

    /// Set if reading stopped for any reason but the end; `line` is where the consumer was.
    std::optional<ImportOutcome> stopped(std::uint64_t line) const;

    notifykit2::IProgress* progress() const { return m_progress; }
    const ImportLimits& limits() const { return m_limits; }

private:
    void makeRoom();
    bool stop();

    ImportLimits m_limits;
    notifykit2::IProgress* m_progress;
    std::unique_ptr<IByteSource> m_source;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::uint64_t m_read = 0;
    bool m_at_end = false;
    bool m_canceled = false;
    std::string m_failure;
};

} // namespace panedeck::engine
