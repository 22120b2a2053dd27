#pragma once

#include "basekit/variant_bag.h"

#include <array>
#include <random>
#include <string>
#include <vector>

namespace panedeck::tests {

/// Makes bags of random shape and content. The seed is part of a failure's text:
/// `SCOPED_TRACE(bags.seed_text())`.
class RandomBags {
public:
    explicit RandomBags(unsigned seed = std::random_device()()) : m_seed(seed), m_engine(seed) {}

    std::string seed_text() const { return "seed " + std::to_string(m_seed); }

    unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(m_engine); }

    /// Text of a few characters that text forms tend to get wrong, all of them legal in XML.
    std::string text() {
        static constexpr std::array<const char*, 16> pieces{
            "a",     "Zz", " ",        "\t",           "\n",
            "\r",    "<",  "]]>",      "&amp;",        "\"",
            "'",     "\\", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
            "</msg>"};
        std::string made;
        for (unsigned count = below(6); count > 0; --count)
            made += pieces[below(pieces.size())];
        return made;
    }

    std::string name() {
        static constexpr std::array<const char*, 8> names{
            "", "value", "_", "row", "a name longer than an inline one", "msg", "1st", "x-y.z"};
        return below(8) ? names[below(names.size())] : text();
    }

    bk2::variant_t value() {
        const bk2::u64_t bits = std::uniform_int_distribution<bk2::u64_t>()(m_engine) >> below(64);
        switch (below(15)) {
        case 0:
            return bits % 2 == 0;
        case 1:
            return static_cast<bk2::s8_t>(bits);
        case 2:
            return static_cast<bk2::u8_t>(bits);
        case 3:
            return static_cast<bk2::s16_t>(bits);
        case 4:
            return static_cast<bk2::u16_t>(bits);
        case 5:
            return static_cast<bk2::s32_t>(bits);
        case 6:
            return static_cast<bk2::u32_t>(bits);
        case 7:
            return static_cast<bk2::s64_t>(bits);
        case 8:
            return bits;
        case 9:
            return static_cast<float>(bits) / 3;
        case 10:
            return static_cast<double>(bits) / -7;
        case 11:
            return std::wstring_view(portkit2::to_wide(text()));
        case 12:
            return bk2::variant_t::binary(&bits, below(sizeof bits + 1));
        case 13:
            return bk2::variant_t();
        default:
            return text();
        }
    }

    /// A bag with about `size` entries at any depth.
    bk2::variant_bag_t bag(unsigned size) {
        bk2::variant_bag_t root;
        std::vector<bk2::variant_bag_t*> bags{&root};
        while (size-- > 0) {
            bk2::variant_bag_t& target = *bags[below(static_cast<unsigned>(bags.size()))];
            if (below(3))
                target.put<bk2::variant_t>(name(), value());
            else
                bags.push_back(&target.add_variant_bag(name()));
        }
        return root;
    }

private:
    unsigned m_seed;
    std::mt19937_64 m_engine;
};

/// Whether two bags hold the same entries in the same order, values with the same tags.
inline bool same_content(const bk2::variant_bag_t& left, const bk2::variant_bag_t& right) {
    auto a = left.begin<bk2::variant_t>(), b = right.begin<bk2::variant_t>();
    for (; !a.at_end() && !b.at_end(); a.next(), b.next())
        if (a.get_name() != b.get_name() || a.get_value().tag() != b.get_value().tag() ||
            !(a.get_value() == b.get_value()))
            return false;
    if (a.at_end() != b.at_end()) return false;
    auto c = left.begin<bk2::variant_bag_t>(), d = right.begin<bk2::variant_bag_t>();
    for (; !c.at_end() && !d.at_end(); c.next(), d.next())
        if (c.get_name() != d.get_name() || !same_content(c.get_value(), d.get_value())) return false;
    return c.at_end() == d.at_end();
}

/// A chain of `depth` bags below `root`, each the only child of the one before, named `name`; gives the last.
inline bk2::variant_bag_t& add_chain(bk2::variant_bag_t& root, unsigned depth, const char* name = "a") {
    bk2::variant_bag_t* last = &root;
    while (depth-- > 0)
        last = &last->add_variant_bag(name);
    return *last;
}

} // namespace panedeck::tests
