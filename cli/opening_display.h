#pragma once

#include "notifykit/progress.h"

#include <string>
#include <string_view>

namespace panedeck::cli {

/// Turns the lines in which a host tells how far it is, `opening PERCENT TEXT`, into progress. Other lines
/// are passed over.
class OpeningDisplay {
public:
    explicit OpeningDisplay(notifykit2::IProgress& progress) : m_progress(progress) {}

    void show(std::string_view line);

private:
    notifykit2::IProgress& m_progress;
    std::string m_text;
};

} // namespace panedeck::cli
