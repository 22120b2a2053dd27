#include "session/language_switch.h"

#include "basekit/default_task.h"
#include "basekit/task_stage.h"
#include "basekit/variant_bag.h"
#include "logkit/component_logger.h"
#include "portkit/message_catalogs.h"
#include "settingshub/user_language.h"

#include <memory>

namespace panedeck::host {

void LanguageSwitch::switchTo(const std::string& language) {
    const auto task = bk2::make_sptr<bk2::default_task_t>();
    // This queue has one thread, which keeps the order.
    task->push_finalization_stage(std::make_unique<bk2::task_stage_t>(
        bk2::queue_names::main, [this, language] { carryOut(language); }));
    m_tasks.start(task);
}

void LanguageSwitch::carryOut(const std::string& language) {
    const auto kept = settingshub2::setUserLanguage(language);
    if (kept.failed()) logkit1::log(logkit1::level_t::warning, kept.as_string());
    if (portkit2::message_catalogs_t::instance().language() != language) return;
    bk2::variant_bag_t payload;
    payload.put("language", bk2::variant_t(language));
    const auto sent = m_events.sendEvent("LanguageChangedEvent", &payload);
    if (sent.failed()) logkit1::log(logkit1::level_t::info, "Language change not told: " + sent.as_string());
}

} // namespace panedeck::host
