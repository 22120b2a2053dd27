#include "import/import_profile.h"

#include "import/file_source.h"
#include "import/foreign_format.h"
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
    const IImporter* best = nullptr;
    FormatScore best_score;
    for (const IImporter* importer : importers()) {
        const FormatScore score = importer->score(beginning);
        if (!score.fits() || (best && !score.is_better_than(best_score))) continue;
        best = importer;
        best_score = score;
    }
    return best;
}

std::string withMessages(std::string reason, const ImportReport& report) {
    for (const std::string& message : report.messages())
        reason += "; " + message;
    return reason;
}

// A text may begin like a profile and be none.
ImportOutcome checkContent(const ProfileBuilder& builder, const ImportReport& report,
                           std::uint64_t first_line) {
    if (!builder.has_samples())
        return ImportOutcome::refused(first_line, withMessages("there is no sample in it", report));
    if (report.lines_lost > report.lines_understood)
        return ImportOutcome::refused(
            first_line,
            withMessages("most of its lines are no " + report.format + ", so this is no profile", report));
    return ImportOutcome::done();
}

ImportOutcome importText(TextInput& input, ProfileBuilder& builder, ImportReport& report) {
    input.fillTo(detection_bytes);
    if (auto stopped = input.stopped(lastLine(input.ahead()))) return *stopped;
    const TextBeginning beginning{input.ahead(), input.at_end()};
    if (beginning.text.empty()) return ImportOutcome::refused(1, "the file is empty");
    if (const auto foreign = describeForeignFormat(beginning.text); !foreign.empty())
        return ImportOutcome::refused(1, std::string(foreign));
    if (isBinary(beginning.text))
        return ImportOutcome::refused(1, "this is binary data and no profile of a known format");
    const IImporter* importer = findImporter(beginning);
    if (!importer) return refuseUnknown(beginning.text);
    report.format = importer->name();
    const std::uint64_t first_line = firstDataLine(beginning.text);
    const ImportOutcome outcome = importer->import(input, builder, report);
    return outcome.is_done() ? checkContent(builder, report, first_line) : outcome;
}

bk2::error_code_t toError(const ImportOutcome& outcome, const std::string& name) {
    if (outcome.kind == ImportOutcome::Kind::done) return {};
    if (outcome.kind == ImportOutcome::Kind::canceled) return bk2::error_code_t::canceled();
    const std::string place = outcome.line ? name + ":" + std::to_string(outcome.line) : name;
    return bk2::error_code_t::raise(bk2::kinds::is_not_valid_data, place + ": " + outcome.reason, __func__,
                                    __LINE__);
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

bk2::error_code_t importFile(bool is_open, std::unique_ptr<FileSource> file, const std::string& name,
                             ProfileData& profile, ImportReport& report, notifykit2::IProgress* progress) {
    if (!is_open) return toError(ImportOutcome::refused(0, file->failure()), name);
    if (progress) progress->start("Importing " + name, file->size());
    return importFrom(std::move(file), name, profile, report, progress, ImportLimits{});
}

// The one place that memory running out ends in: tables of a hostile file may ask for more than there is.
template <class Import>
bk2::error_code_t guarded(const std::string& name, ProfileData& profile, Import import) {
    profile = {};
    try {
        return import();
    } catch (const std::bad_alloc&) {
        profile = {};
        return toError(ImportOutcome::refused(0, "there is not enough memory to import it"), name);
    } catch (const std::exception& exception) {
        profile = {};
        return toError(ImportOutcome::refused(0, exception.what()), name);
    }
}

} // namespace

bk2::error_code_t importProfile(const std::string& path, ProfileData& profile, ImportReport& report,
                                notifykit2::IProgress* progress) {
    return guarded(path, profile, [&] {
        auto file = std::make_unique<FileSource>(progress);
        const bool is_open = file->open(path);
        return importFile(is_open, std::move(file), path, profile, report, progress);
    });
}

bk2::error_code_t importProfileFrom(int descriptor, const std::string& name, ProfileData& profile,
                                    ImportReport& report, notifykit2::IProgress* progress) {
    return guarded(name, profile, [&] {
        auto file = std::make_unique<FileSource>(progress);
        const bool is_open = file->use(descriptor);
        return importFile(is_open, std::move(file), name, profile, report, progress);
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
