#include "usagestat/statistic.h"

#include "settingshub/global_storage.h"

#include <cstddef>
#include <utility>

namespace usagestat1 {

using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr char section_name[] = "usageStatistics";
constexpr char consent_name[] = "consent";
constexpr char counts_name[] = "counts";
constexpr std::size_t longest_feature_name = 200;
constexpr std::size_t most_features = 1000;

consent_t consent_in(const variant_t& stored) {
    if (!stored.can_get<bk2::s32_t>()) return consent_t::pending;
    switch (stored.get<bk2::s32_t>()) {
    case static_cast<int>(consent_t::given):
        return consent_t::given;
    case static_cast<int>(consent_t::refused):
        return consent_t::refused;
    default:
        return consent_t::pending;
    }
}

/// False if there are too many features already.
bool count(variant_bag_t& counts, const std::string& feature) {
    const variant_t* known = counts.get<variant_t>(feature);
    const std::size_t features = counts.count<variant_t>(nullptr) - 1;
    if (!known && features >= most_features) return false;
    const bk2::u64_t before = known && known->can_get<bk2::u64_t>() ? known->get<bk2::u64_t>() : 0;
    counts.put(feature, variant_t(before + 1));
    return true;
}

} // namespace

std::shared_ptr<statistic_t> statistic_t::get() {
    const auto storage = settingshub2::IGlobalStorage::get();
    if (!storage) return nullptr;
    return std::make_shared<statistic_t>(storage->getSubStorage(section_name));
}

statistic_t::statistic_t(bk2::sptr_t<settingshub2::IPropertyStorage> storage)
    : m_storage(std::move(storage)) {}

consent_t statistic_t::consent() const {
    return consent_in(m_storage->readValue(consent_name, {}));
}

bk2::error_code_t statistic_t::set_consent(bool is_given) {
    return m_storage->change([is_given](variant_bag_t& content) {
        const consent_t answer = is_given ? consent_t::given : consent_t::refused;
        content.put(consent_name, variant_t(static_cast<bk2::s32_t>(answer)));
        if (!is_given) content.remove<variant_bag_t>(std::string_view(counts_name));
        return true;
    });
}

bk2::error_code_t statistic_t::count_use(const std::string& feature) {
    const bool is_counted = !feature.empty() && feature.size() <= longest_feature_name;
    // Without consent not even the lock file is made.
    if (!is_counted || consent() != consent_t::given) return bk2::error_code_t::success();
    return m_storage->change([&feature](variant_bag_t& content) {
        // Another program may have been told of a refusal meanwhile.
        if (consent_in(content.get_variant(consent_name)) != consent_t::given) return false;
        variant_bag_t* counts = content.get<variant_bag_t>(counts_name);
        return count(counts ? *counts : content.add_variant_bag(counts_name), feature);
    });
}

} // namespace usagestat1
