#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace panedeck::engine {

/// One bit per sample record: what a filter lets through.
class SampleBits {
public:
    explicit SampleBits(std::size_t size) : m_size(size), m_words((size + 63) / 64) {}

    std::size_t size() const { return m_size; }
    bool operator[](std::size_t sample) const { return m_words[sample / 64] >> (sample % 64) & 1; }

    /// Fills the bits by asking `accepts(sample)` for each, in order.
    template <class Accepts>
    void fill(const Accepts& accepts, std::size_t first, std::size_t end) {
        for (std::size_t sample = first; sample < end; ++sample)
            m_words[sample / 64] |= std::uint64_t{accepts(sample)} << (sample % 64);
    }

    void intersect(const SampleBits& other) {
        for (std::size_t i = 0; i < m_words.size(); ++i)
            m_words[i] &= other.m_words[i];
    }
    void unite(const SampleBits& other) {
        for (std::size_t i = 0; i < m_words.size(); ++i)
            m_words[i] |= other.m_words[i];
    }
    void invert() {
        for (std::uint64_t& word : m_words)
            word = ~word;
        if (m_size % 64 != 0) m_words.back() &= (std::uint64_t{1} << m_size % 64) - 1;
    }

    /// Calls `visit(sample)` for each set bit from `first` up to `end`; both are multiples of 64 but for the
    /// end of the samples.
    template <class Visit>
    void forEach(std::size_t first, std::size_t end, const Visit& visit) const {
        for (std::size_t word = first / 64; word < (end + 63) / 64; ++word)
            for (std::uint64_t bits = m_words[word]; bits != 0; bits &= bits - 1)
                visit(word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
    }

private:
    std::size_t m_size;
    std::vector<std::uint64_t> m_words;
};

} // namespace panedeck::engine
