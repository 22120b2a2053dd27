#include "session/export_file_name.h"
#include "session/export_path.h"
#include "session/export_request_handler.h"
#include "support/bag_from_xml.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::host {
namespace {

namespace fs = std::filesystem;
using bk2::error_code_t;
using bk2::variant_bag_t;
using panedeck::tests::bagFromXml;
using panedeck::tests::TemporaryFolder;

/// A domain of grids that exports "content", and ends as a test says.
class FakeGrids : public IRequestHandler, public IGridExport {
public:
    std::string getDomainName() override { return "gridview"; }
    error_code_t handleRequest(const std::string&, const variant_bag_t&, variant_bag_t&,
                               notifykit2::IProgress*) override {
        return {};
    }
    error_code_t exportGrid(const variant_bag_t&, const std::string& filePath,
                            notifykit2::IProgress* progress) override {
        std::ofstream(filePath) << "content";
        if (cancels) progress->cancel();
        return end;
    }

    error_code_t end;
    bool cancels = false;
};

/// Whatever an export ends with but success, nothing of it stays.
TEST(ExportDownload, LeavesAFileOnlyIfItGivesItsAddress) {
    const TemporaryFolder path;
    settingshub2::PrivateFolder folder;
    ASSERT_TRUE(folder.open(path.path()).succeeded());
    const auto grids = std::make_shared<FakeGrids>();
    ExportRequestHandler handler(grids, std::move(folder));
    const auto request = bagFromXml("<gridid><_>g</_></gridid><fileName><_>a/ä</_></fileName>");
    const struct {
        error_code_t end;
        bool cancels;
        std::string expected;
    } cases[] = {
        {error_code_t::failure("disk full"), false, "FailedTo: disk full"},
        {error_code_t::canceled(), true, error_code_t::canceled().as_string()},
        {error_code_t::success(), true, error_code_t::canceled().as_string()},
    };
    for (const auto& entry : cases) {
        grids->end = entry.end;
        grids->cancels = entry.cancels;
        variant_bag_t answer;
        const auto progress = notifykit2::IDevNullProgress::create();
        EXPECT_EQ(handler.handleRequest("download", request, answer, progress.get()).as_string(),
                  entry.expected);
        EXPECT_TRUE(answer.is_empty());
        EXPECT_TRUE(fs::is_empty(path.path())) << entry.expected;
    }
    grids->end = {};
    grids->cancels = false;
    variant_bag_t answer;
    ASSERT_TRUE(handler.handleRequest("download", request, answer, nullptr).succeeded());
    const std::string name = fs::directory_iterator(path.path())->path().filename();
    EXPECT_EQ(answer.get_variant("url").text(), "download/" + name + "/a_%C3%A4.csv");
    EXPECT_EQ(handler.getTaskDisplacementStrategy()->buildTaskName("export:download", request),
              grids->getTaskDisplacementStrategy()->buildTaskName("gridview:exportToCsv", request))
        << "what cancels the one cancels the other";
    EXPECT_EQ(ExportRequestHandler(grids, {}).handleRequest("download", request, answer, nullptr).message(),
              "This host was started without a folder for downloads (--export-dir)");
}

TEST(ExportDownload, NamesAreHarmlessEverywhere) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "export.csv"},
        {".csv", "csv.csv"},
        {"Größe 漢.CSV", "Größe 漢.csv"},
        {"../../etc/passwd", "_.._etc_passwd.csv"},
        {"a\r\nb\u202ec\xff", "a_x0d_x0ab_u202ec_xff.csv"},
        {"CON:<>|?*\"", "CON_______.csv"},
    };
    for (const auto& [wish, name] : cases)
        EXPECT_EQ(exportFileName(wish), name);
    const std::string longest(95, 'x');
    EXPECT_EQ(exportFileName(longest + "漢"), longest + ".csv");
}

TEST(ExportPath, NamesTheFullPathAndWhatIsWrongWithIt) {
    const panedeck::tests::EnvironmentGuard guard("HOME");
    const TemporaryFolder folder;
    const std::string home = fs::canonical(folder.path());
    ::setenv("HOME", home.c_str(), 1);
    std::ofstream(home + "/there.csv") << "x";
    fs::create_symlink("there.csv", home + "/link.csv");
    const auto here = fs::current_path();
    fs::current_path(home);
    const std::string refused = "FailedTo.Access.This.Object: ";
    // What is given, and the path with whether it exists, or the failure.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"~/new.csv", home + "/new.csv 0"},
        {"there.csv", home + "/there.csv 1"},
        {"./link.csv", home + "/there.csv 1"},
        {"~there.csv", home + "/~there.csv 0"},
        {"", "IsNot.Valid.Parameter: filePath"},
        {"~", refused + home + ": this is a folder"},
        {"no/new.csv", refused + home + "/no: there is no such folder"},
        {"/dev/null", refused + "/dev/null: this is no ordinary file"},
        {std::string(300, 'x'), refused + home + "/" + std::string(300, 'x') + ": File name too long"},
    };
    for (const auto& [given, outcome] : cases) {
        export_path_t found;
        const auto code = resolveExportPath(given, found);
        EXPECT_EQ(code.failed() ? code.as_string() : found.path + (found.exists ? " 1" : " 0"), outcome)
            << given;
    }
    fs::current_path(here);
}

} // namespace
} // namespace panedeck::host
