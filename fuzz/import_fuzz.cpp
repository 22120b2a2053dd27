// Any bytes must give a profile that is sound or a failure that says where and why, with nothing left behind.

#include "import/import_profile.h"
#include "store/profile_validation.h"

#include <cstdio>
#include <cstdlib>

namespace {

using namespace panedeck::engine;

[[noreturn]] void stop(const char* what, const bk2::error_code_t& error) {
    std::fprintf(stderr, "%s: %s\n", what, error.as_string(1).c_str());
    std::abort();
}

// Low limits, so that small inputs reach them.
ImportLimits lowLimits() {
    ImportLimits limits;
    limits.line_bytes = 2000;
    limits.name_bytes = 200;
    limits.stack_frames = 100;
    limits.json_depth = 150;
    limits.unpacked_bytes = 1'000'000;
    limits.stack_nodes = 1000;
    limits.text_bytes = 20'000;
    limits.metrics = 4;
    limits.sample_cells = 2000;
    return limits;
}

void importOnce(std::string_view bytes, const ImportLimits& limits) {
    ProfileData profile;
    ImportReport report;
    const bk2::error_code_t error = importProfileBytes(bytes, "input", profile, report, nullptr, limits);
    if (error.succeeded()) {
        const bk2::error_code_t unsound = validateProfile(profile);
        if (unsound.failed()) stop("an unsound profile", unsound);
        if (profile.sample_records() == 0) stop("a profile without samples", error);
        return;
    }
    if (!error.message().starts_with("input:")) stop("a failure without a place", error);
    if (!profile.callsite_parents.empty() || profile.sample_records() != 0)
        stop("a failure left something", error);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    importOnce(bytes, {});
    importOnce(bytes, lowLimits());
    return 0;
}
