#pragma once

#include "import/byte_source.h"
#include "notifykit/progress.h"

namespace panedeck::engine {

/// The bytes of a file, pipe or terminal. Where they have to be waited for, the progress object is polled
/// several times a second, and a cancelled read gives nothing.
class FileSource final : public IByteSource {
public:
    /// `progress` may be null.
    explicit FileSource(const notifykit2::IProgress* progress) : m_progress(progress) {}
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    /// False, with `failure()`, if it cannot be opened or is a directory. Does not wait for the writer of a
    /// FIFO.
    bool open(const std::string& path);

    /// Reads what `descriptor` gives, and leaves it open.
    bool use(int descriptor);

    /// Size in bytes, 0 if unknown (a pipe).
    std::uint64_t size() const { return m_size; }

    std::size_t read(char* buffer, std::size_t size) override;
    const std::string& failure() const override { return m_failure; }
    std::uint64_t position() const override { return m_position; }

private:
    bool examine();
    bool waitForInput() const;
    bool fail(const char* what);

    const notifykit2::IProgress* m_progress;
    int m_descriptor = -1;
    bool m_is_own = false;
    bool m_may_wait = false; ///< no regular file
    std::uint64_t m_size = 0;
    std::uint64_t m_position = 0;
    std::string m_failure;
};

} // namespace panedeck::engine
