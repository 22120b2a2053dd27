#include "access_rules.h"
#include "portkit/percent_encode.h"
#include "relay_options.h"
#include "static_files.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"
#include "url.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

namespace panedeck::guiserver {
namespace {

TEST(AccessRules, FindsItsCookieAmongOthers) {
    const AccessRules rules("secret", 8080, false);
    const std::string cookie = rules.set_cookie().substr(0, rules.set_cookie().find(';'));
    EXPECT_TRUE(cookie.starts_with("panedeck-8080="));
    EXPECT_TRUE(rules.has_cookie("x=y; panedeck-8080=wrong; " + cookie + "; z=1"));
    const std::string of_another_run = AccessRules("secret", 8080, false).set_cookie();
    for (const std::string& wrong : {std::string(), std::string("panedeck-8080=secret"), "x=" + cookie,
                                     cookie + "0", of_another_run.substr(0, of_another_run.find(';'))})
        EXPECT_FALSE(rules.has_cookie(wrong)) << wrong;
}

TEST(AccessRules, KnowsItsOwnHostAndOrigin) {
    const std::vector<std::tuple<const char*, bool, bool>> hosts = {
        // host, allowed on loopback, allowed remotely
        {"127.0.0.1:8080", true, true},
        {"localhost:8080", true, true},
        {"LocalHost:8080", true, true},
        {"[::1]:8080", true, true},
        {"192.168.1.5:8080", false, true},
        {"127.0.0.1", false, false},
        {"127.0.0.1:80", false, false},
        {"evil.example:8080", false, false},
        {"", false, false},
        {"localhost.evil.example:8080", false, false},
        {"127.0.0.1:8080.evil.example", false, false},
    };
    for (const auto& [host, local, remote] : hosts) {
        EXPECT_EQ(AccessRules("t", 8080, false).is_own_host(host), local) << host;
        EXPECT_EQ(AccessRules("t", 8080, true).is_own_host(host), remote) << host;
    }
    EXPECT_FALSE(AccessRules("t", 8080, false).is_own_origin("http://127.0.0.1:8080", "localhost:8080"));
}

TEST(Url, TakesTargetsApart) {
    const auto target = parse_target("/a%20b/c?token=x%26y&z=1");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, "/a b/c");
    EXPECT_EQ(query_parameter(target->query, "token"), "x&y");
    EXPECT_EQ(query_parameter(target->query, "z"), "1");
    EXPECT_FALSE(query_parameter(target->query, "to"));
    for (const char* bad : {"", "*", "http://x/", "/%", "/%2", "/%zz", "/%-1", "/a%00b"})
        EXPECT_FALSE(parse_target(bad)) << bad;
    EXPECT_EQ(percent_decode(portkit2::percent_encode("ä b\n%+\x01")), "ä b\n%+\x01");
}

TEST(StaticFiles, StayInTheirFolder) {
    namespace fs = std::filesystem;
    const tests::TemporaryFolder folder;
    const fs::path root = fs::canonical(folder.path()) / "web";
    fs::create_directories(root / "assets" / ".git");
    fs::create_directories(root.parent_path() / "web2");
    for (const fs::path& file :
         {root / "index.html", root / "assets" / "a.js", root / ".env", root / "assets" / ".git" / "config",
          root.parent_path() / "secret", root.parent_path() / "web2" / "secret"})
        std::ofstream(file) << "x";
    fs::create_symlink(root / "index.html", root / "inside");
    fs::create_symlink("../secret", root / "outside");
    fs::create_directory_symlink("..", root / "up");

    EXPECT_EQ(find_static_file(root, "/"), root / "index.html");
    EXPECT_EQ(find_static_file(root, "/assets/a.js"), root / "assets" / "a.js");
    EXPECT_EQ(find_static_file(root, "/inside"), root / "index.html");
    for (const char* path :
         {"", "index.html", "/missing", "/assets", "/assets/", "/.env", "/assets/.git/config", "/../secret",
          "/..", "/assets/../../secret", "/../web/index.html", "/../web2/secret", "/outside", "/up/secret",
          "//etc/passwd", "/./index.html", "/..\\secret", "/assets\\a.js", "/index.html/"})
        EXPECT_FALSE(find_static_file(root, path)) << path;
    EXPECT_EQ(content_type("a/b.js"), "text/javascript; charset=utf-8");
    EXPECT_EQ(content_type("b"), "application/octet-stream");
}

TEST(CommandLine, TakesLoopbackOnlyUnlessTold) {
    using arguments_t = std::vector<const char*>;
    const auto parse = [](arguments_t extra) {
        arguments_t all = {"panedeck-guiserver", "--web", "."};
        all.insert(all.end(), extra.begin(), extra.end());
        return parse_command_line(static_cast<int>(all.size()), all.data());
    };
    const auto good = parse({"--http", "127.0.0.1:0", "--library", "[::1]:81", "--token", "t"});
    ASSERT_TRUE(good.options);
    EXPECT_EQ(endpoint_text(good.options->http), "127.0.0.1:0");
    EXPECT_EQ(endpoint_text(good.options->library), "[::1]:81");
    EXPECT_EQ(good.options->token, "t");
    const tests::EnvironmentGuard guard("PANEDECK_TOKEN");
    ::unsetenv("PANEDECK_TOKEN");
    EXPECT_EQ(parse({"--http", "127.0.0.1:0", "--library", "127.0.0.1:0"}).options->token.size(), 48u);
    ::setenv("PANEDECK_TOKEN", "inherited", 1);
    EXPECT_EQ(parse({"--http", "127.0.0.1:0", "--library", "127.0.0.1:0"}).options->token, "inherited");
    EXPECT_TRUE(parse({"--http", "0.0.0.0:0", "--library", "127.0.0.1:0", "--allow-remote"}).options);
    const std::vector<arguments_t> bad_ones = {
        {},
        {"--http", "127.0.0.1:0"},
        {"--http", "127.0.0.1:0", "--library", "0.0.0.0:0"},
        {"--http", "localhost:0", "--library", "127.0.0.1:0"},
        {"--http", "127.0.0.1", "--library", "127.0.0.1:0"},
        {"--http", "127.0.0.1:65536", "--library", "127.0.0.1:0"},
        {"--http", "127.0.0.1:1x", "--library", "127.0.0.1:0"},
        {"--http", "::1:1", "--library", "127.0.0.1:0"},
        {"--http", "127.0.0.1:0", "--library", "127.0.0.1:0", "--token", ""},
        {"--http", "127.0.0.1:0", "--library", "127.0.0.1:0", "--token", "a\nb"},
        {"--http", "127.0.0.1:0", "--library", "127.0.0.1:0", "--token", "\xFF"},
        {"--http", "127.0.0.1:0", "--library", "127.0.0.1:0", "--unknown"},
    };
    for (const arguments_t& bad : bad_ones) {
        testing::internal::CaptureStderr();
        const auto result = parse(bad);
        EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
        EXPECT_FALSE(result.options);
        EXPECT_EQ(result.exit_code, 2);
    }
}

} // namespace
} // namespace panedeck::guiserver
