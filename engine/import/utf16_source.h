#pragma once

#include "import/byte_source.h"

#include <memory>
#include <vector>

namespace panedeck::engine {

/// UTF-16 text as UTF-8. Unpaired surrogates, and an odd byte at the end, become U+FFFD.
class Utf16Source final : public IByteSource {
public:
    Utf16Source(std::unique_ptr<IByteSource> source, bool big_endian);

    std::size_t read(char* buffer, std::size_t size) override;
    const std::string& failure() const override { return m_source->failure(); }
    std::uint64_t position() const override { return m_source->position(); }

private:
    bool refill();
    void addUnit(char32_t unit);
    void addCodePoint(char32_t code_point);

    std::unique_ptr<IByteSource> m_source;
    bool m_big_endian;
    bool m_has_odd_byte = false;
    unsigned char m_odd_byte = 0;
    char32_t m_high_surrogate = 0; ///< 0 if none waits for its partner
    std::vector<char> m_input;
    std::string m_output;
    std::size_t m_output_begin = 0;
};

} // namespace panedeck::engine
