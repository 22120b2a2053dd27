#include "gridmodel/fold_case.h"

#include "portkit/ustring8.h"

#include <boost/locale/conversion.hpp>
#include <boost/locale/generator.hpp>
#include <boost/locale/localization_backend.hpp>

#include <cstdint>
#include <cstring>
#include <locale>

namespace panedeck {

namespace {

bool isAscii(std::string_view text) {
    constexpr std::uint64_t high_bits = 0x8080808080808080u;
    std::uint64_t seen = 0;
    std::size_t position = 0;
    for (std::uint64_t word; position + sizeof word <= text.size(); position += sizeof word) {
        std::memcpy(&word, text.data() + position, sizeof word);
        seen |= word;
    }
    for (; position < text.size(); ++position)
        seen |= static_cast<unsigned char>(text[position]);
    return (seen & high_bits) == 0;
}

/// ICU brings its tables along; the other backends fold what the system's locale knows, and "C" knows ASCII.
const std::locale& foldingLocale() {
    static const std::locale made = [] {
        auto backends = boost::locale::localization_backend_manager::global();
        backends.select("icu");
        boost::locale::generator generator(backends);
        generator.categories(boost::locale::category_t::convert);
        return generator("en_US.UTF-8");
    }();
    return made;
}

} // namespace

void foldCase(std::string_view text, std::string& folded) {
    if (isAscii(text))
        portkit2::lower_case(text, folded);
    else
        folded = boost::locale::fold_case(text.data(), text.data() + text.size(), foldingLocale());
}

} // namespace panedeck
