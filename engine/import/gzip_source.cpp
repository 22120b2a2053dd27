#include "import/gzip_source.h"

namespace panedeck::engine {

namespace {

constexpr std::size_t input_bytes = std::size_t{128} << 10;
constexpr int gzip_window_bits = 15 + 16;

} // namespace

bool GzipSource::recognises(std::string_view beginning) {
    return beginning.size() >= 2 && beginning[0] == '\x1f' && beginning[1] == '\x8b';
}

GzipSource::GzipSource(std::unique_ptr<IByteSource> packed)
    : m_packed(std::move(packed)), m_input(input_bytes) {
    m_initialised = inflateInit2(&m_stream, gzip_window_bits) == Z_OK;
}

GzipSource::~GzipSource() {
    if (m_initialised) inflateEnd(&m_stream);
}

std::size_t GzipSource::fail(std::string_view what) {
    m_finished = true;
    m_failure = "the gzip data " + std::string(what);
    if (m_stream.msg) m_failure += std::string(": ") + m_stream.msg;
    return 0;
}

bool GzipSource::refill() {
    const std::size_t count = m_packed->read(m_input.data(), m_input.size());
    m_stream.next_in = reinterpret_cast<Bytef*>(m_input.data());
    m_stream.avail_in = static_cast<uInt>(count);
    return count > 0;
}

// Between members: zero padding is skipped, the end of the file is the end of the text.
bool GzipSource::beginNextMember() {
    for (;;) {
        while (m_stream.avail_in > 0 && *m_stream.next_in == 0) {
            ++m_stream.next_in;
            --m_stream.avail_in;
        }
        if (m_stream.avail_in > 0) break;
        if (!refill()) {
            m_finished = true;
            m_failure = m_packed->failure();
            return false;
        }
    }
    m_inside_member = true;
    return inflateReset(&m_stream) == Z_OK;
}

std::size_t GzipSource::read(char* buffer, std::size_t size) {
    if (!m_initialised) return fail("cannot be unpacked: no memory");
    m_stream.next_out = reinterpret_cast<Bytef*>(buffer);
    m_stream.avail_out = static_cast<uInt>(size);
    while (m_stream.avail_out == size && !m_finished) {
        if (!m_inside_member && !beginNextMember()) return 0;
        if (m_stream.avail_in == 0 && !refill()) {
            if (m_packed->failure().empty()) return fail("ends in the middle");
            m_failure = m_packed->failure();
            m_finished = true;
            return 0;
        }
        const int status = inflate(&m_stream, Z_NO_FLUSH);
        if (status == Z_STREAM_END)
            m_inside_member = false;
        else if (status != Z_OK && status != Z_BUF_ERROR)
            return fail("is damaged");
    }
    return size - m_stream.avail_out;
}

} // namespace panedeck::engine
