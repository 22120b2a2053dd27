#include "basekit/broken_pipes.h"
#include "logkit/component_logger.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

using panedeck::tests::TemporaryFolder;

std::string textOf(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// Ends with 0 if of two lines, the first of which cannot be written, the second one alone is in the file.
[[noreturn]] void logTwice(const std::function<void(const std::string&)>& damage,
                           const std::function<void(const std::string&)>& mend) {
    std::string text;
    {
        const TemporaryFolder folder;
        const std::string file = folder / "log";
        damage(file);
        logkit1::log(logkit1::level_t::error, "the first line");
        mend(file);
        logkit1::log(logkit1::level_t::error, "the second line");
        text = textOf(file);
    }
    std::_Exit(text.find("first") == text.npos && text.find("second") != text.npos ? 0 : 1);
}

void loseReaderOfStandardError(const std::string&) {
    bk2::ignore_broken_pipes();
    int ends[2];
    if (::pipe(ends) != 0) std::_Exit(2);
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[0]);
}

void pointStandardErrorTo(const std::string& file) {
    ::dup2(::open(file.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
}

void logToFullDisk(const std::string& file) {
    std::filesystem::create_symlink("/dev/full", file);
    std::ofstream(file + ".config") << "log4cplus.logger.panedeck=WARN, A\n"
                                       "log4cplus.appender.A=log4cplus::FileAppender\n"
                                       "log4cplus.appender.A.File="
                                    << file;
    ::setenv("panedeck_LOG_CONFIG", (file + ".config").c_str(), 1);
}

void makeRoom(const std::string& file) {
    std::filesystem::remove(file);
}

// In processes of their own: the logger is configured once, and standard error is the whole process's.
TEST(LoggerDeathTest, LineThatCannotBeWrittenIsLostAndNoOther) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(logTwice(loseReaderOfStandardError, pointStandardErrorTo), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(logTwice(logToFullDisk, makeRoom), testing::ExitedWithCode(0), "");
}

} // namespace
