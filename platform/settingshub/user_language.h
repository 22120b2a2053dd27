#pragma once

// Needed by hosts: the language that the product speaks with its user.

#include "basekit/api.h"
#include "basekit/error_code.h"

#include <string>

namespace settingshub2 {

/// Lets the message catalogs be found, in the configuration and in the installation, and speak the user's
/// language: the one that was chosen last, else that of the environment (`LC_ALL`, `LC_MESSAGES`, `LANG`),
/// else English. For a program's start, behind the choice of its folders.
PANEDECK_API void configureMessageCatalogs();

/// Lets the catalogs speak another language and keeps the choice in the user's settings. Fails, and changes
/// nothing, if the language is not installed; fails with the language changed if the choice cannot be kept.
PANEDECK_API bk2::error_code_t setUserLanguage(const std::string& language);

} // namespace settingshub2
