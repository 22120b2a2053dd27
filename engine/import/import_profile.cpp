#include "import/import_profile.h"

#include "import/file_source.h"
#include "import/importer_registry.h"
#include "import/memory_source.h"
#include "import/text_lines.h"

#include <algorithm>
#include <exception>
#include <new>

namespace panedeck::engine {

namespace {

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && !(byte >= '\t' && byte <= '\r') && byte != 0x1B;
}

// Text may hold a stray control character, even in a name; a file that is full of them is none.
bool isBinary(std::string_view text) {
    const auto controls = std::count_if(text.begin(), text.end(), isControl);
    return text.find('\0') != text.npos || static_cast<std::size_t>(controls) * 50 > text.size();
}

// The line of the first text that is neither blank nor a comment.
std::uint64_t firstDataLine(std::string_view text) {
    std::uint64_t number = 0;
    std::string_view line;
    while (takeLine(text, true, line)) {
        ++number;
        if (!trimmed(line).empty() && !line.starts_with('#')) return number;
    }
    return 1;
}

std::uint64_t lastLine(std::string_view text) {
    return 1 + static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

ImportOutcome refuseUnknown(std::string_view text) {
    std::string known;
    for (const IImporter* importer : importers())
        known += (known.empty() ? "" : ", ") + std::string(importer->name());
    return ImportOutcome::refused(firstDataLine(text),
                                  "this is no profile of a known format (" + known + ")");
}

const IImporter* findImporter(const TextBeginning& beginning) {
    for (const IImporter* importer : importers())
        if (importer->recognises(beginning)) return importer;
    return nullptr;
}

ImportOutcome importText(TextInput& input, ProfileBuilder& builder, ImportReport& report) {
    input.fillTo(detection_bytes);
    if (auto stopped = input.stopped(lastLine(input.ahead()))) return *stopped;
    const TextBeginning beginning{input.ahead(), input.at_end()};
    if (beginning.text.empty()) return ImportOutcome::refused(1, "the file is empty");
    if (isBinary(beginning.text))
        return ImportOutcome::refused(1, "this is binary data and no profile of a known format");
    const IImporter* importer = findImporter(beginning);
    if (!importer) return refuseUnknown(beginning.text);
    report.format = importer->name();
    const std::uint64_t first_line = firstDataLine(beginning.text);
    ImportOutcome outcome = importer->import(input, builder, report);
    if (!outcome.is_done() || builder.has_samples()) return outcome;
    std::string reason = "there is no sample in it";
    for (const std::string& message : report.messages())
        reason += "; " + message;
    return ImportOutcome::refused(first_line, reason);
}

bk2::error_code_t toError(const ImportOutcome& outcome, const std::string& name) {
    if (outcome.kind == ImportOutcome::Kind::done) return {};
    if (outcome.kind == ImportOutcome::Kind::canceled) return bk2::error_code_t::canceled();
    return bk2::error_code_t::raise(bk2::kinds::is_not_valid_data,
                                    name + ":" + std::to_string(outcome.line) + ": " + outcome.reason,
                                    __func__, __LINE__);
}

bk2::error_code_t importFrom(std::unique_ptr<IByteSource> source, const std::string& name,
                             ProfileData& profile, ImportReport& report, notifykit2::IProgress* progress,
                             const ImportLimits& limits) {
    report = {};
    TextInput input(std::move(source), limits, progress);
    ProfileBuilder builder(limits);
    const ImportOutcome outcome = importText(input, builder, report);
    if (outcome.is_done()) profile = builder.take();
    return toError(outcome, name);
}

// The one place that memory running out ends in: tables of a hostile file may ask for more than there is.
template <class Import>
bk2::error_code_t guarded(const std::string& name, ProfileData& profile, Import import) {
    profile = {};
    try {
        return import();
    } catch (const std::bad_alloc&) {
        profile = {};
        return toError(ImportOutcome::refused(1, "there is not enough memory to import it"), name);
    } catch (const std::exception& exception) {
        profile = {};
        return toError(ImportOutcome::refused(1, exception.what()), name);
    }
}

} // namespace

bk2::error_code_t importProfile(const std::string& path, ProfileData& profile, ImportReport& report,
                                notifykit2::IProgress* progress) {
    return guarded(path, profile, [&] {
        auto file = std::make_unique<FileSource>();
        if (!file->open(path)) return toError(ImportOutcome::refused(1, file->failure()), path);
        if (progress) progress->start("Importing " + path, file->size());
        return importFrom(std::move(file), path, profile, report, progress, ImportLimits{});
    });
}

bk2::error_code_t importProfileBytes(std::string_view bytes, const std::string& name, ProfileData& profile,
                                     ImportReport& report, notifykit2::IProgress* progress,
                                     const ImportLimits& limits) {
    return guarded(name, profile, [&] {
        if (progress) progress->start("Importing " + name, bytes.size());
        return importFrom(std::make_unique<MemorySource>(bytes), name, profile, report, progress, limits);
    });
}

} // namespace panedeck::engine
