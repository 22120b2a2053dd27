#pragma once

#include "basekit/api.h"
#include "store/import_notes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace panedeck::engine {

/// What an import did.
class PANEDECK_API ImportReport : public ImportNotes {
public:
    /// The importer that took the file, e.g. "folded stacks"; empty if none did.
    std::string format;
    /// When the profile was taken, as ISO 8601; empty if the file does not say. Without a zone it is the local
    /// time of wherever that was.
    std::string taken;
    /// Records that became samples.
    std::uint64_t records_read = 0;
    /// Of a format of lines: lines that made sense, and lines that did not. Both 0 for other formats.
    std::uint64_t lines_understood = 0;
    std::uint64_t lines_lost = 0;

    void skip(std::string_view reason, std::uint64_t position) { count(skipped, reason, position); }
    void adjust(std::string_view reason, std::uint64_t position) { count(adjusted, reason, position); }

    /// Adds what another part of the same import skipped.
    void addSkipped(const ImportReport& other);

private:
    static CountedReason& find(std::vector<CountedReason>& reasons, std::string_view reason);
    static void count(std::vector<CountedReason>& reasons, std::string_view reason, std::uint64_t position);
};

} // namespace panedeck::engine
