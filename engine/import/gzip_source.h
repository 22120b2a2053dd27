#pragma once

#include "import/byte_source.h"

#include <zlib.h>

#include <memory>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// The unpacked bytes of a gzip stream of one or more members. Damaged and truncated data is a failure; zero
/// bytes behind the last member (padding of tapes and block devices) are none.
class GzipSource final : public IByteSource {
public:
    /// True if content that begins like this is gzip.
    static bool recognises(std::string_view beginning);

    explicit GzipSource(std::unique_ptr<IByteSource> packed);
    ~GzipSource() override;
    GzipSource(const GzipSource&) = delete;
    GzipSource& operator=(const GzipSource&) = delete;

    std::size_t read(char* buffer, std::size_t size) override;
    const std::string& failure() const override { return m_failure; }
    std::uint64_t position() const override { return m_packed->position(); }

private:
    bool refill();
    bool beginNextMember();
    std::size_t fail(std::string_view what);

    std::unique_ptr<IByteSource> m_packed;
    std::vector<char> m_input;
    z_stream m_stream{};
    bool m_initialised = false;
    bool m_inside_member = true;
    bool m_finished = false;
    std::string m_failure;
};

} // namespace panedeck::engine
