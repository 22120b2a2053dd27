#include "commands.h"
#include "store/result_directory.h"

#include <cstdio>
#include <filesystem>

namespace panedeck::cli {

bk2::error_code_t run(const ListCommand& command) {
    std::error_code error;
    if (!std::filesystem::is_directory(command.folder, error)) {
        return bk2::error_code_t::failure(command.folder + ": no folder");
    }
    if (const std::string project = engine::findProjectFile(command.folder); !project.empty()) {
        std::printf("project %s\n", std::filesystem::path(project).stem().c_str());
    }
    for (const std::string& result : engine::listResults(command.folder)) {
        std::printf("%s\n", result.c_str());
    }
    return bk2::error_code_t::success();
}

} // namespace panedeck::cli
