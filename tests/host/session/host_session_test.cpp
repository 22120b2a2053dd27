#include "notifykit/progress.h"
#include "session/host_session.h"
#include "settingshub/product_locations.h"
#include "support/loopback_server.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::host {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class HostSessionTest : public testing::Test {
protected:
    HostSessionTest() { settingshub2::IProductLocations::get()->setUserDirectory(m_folder.path() + "/user"); }
    ~HostSessionTest() override { settingshub2::IProductLocations::get()->setUserDirectory(""); }

    std::string file(const std::string& name, const std::string& text) {
        const auto path = m_folder.path() + "/" + name;
        std::ofstream(path) << text;
        return path;
    }

    open_results_t open(const std::vector<std::string>& paths) {
        open_results_t results;
        const auto error = openResults(paths, "", nullptr, results);
        EXPECT_TRUE(error.succeeded()) << error.as_string();
        return results;
    }

    std::string failureOf(const std::vector<std::string>& paths, notifykit2::IProgress* progress = nullptr) {
        open_results_t results;
        const auto error = openResults(paths, "", progress, results);
        EXPECT_FALSE(results.first || results.second || results.library);
        return error.is_canceled() ? "canceled" : error.as_string();
    }

    std::string profile() { return file("a.folded", "main;work 3\nmain 1\n"); }

    panedeck::tests::TemporaryFolder m_folder;
};

TEST_F(HostSessionTest, OpensOneProfileOrTwo) {
    const auto one = open({profile()});
    EXPECT_TRUE(one.first && one.library);
    EXPECT_FALSE(one.second);
    EXPECT_TRUE(one.library->findQuery("/Function"));
    const auto two = open({profile(), file("b.folded", "main;work 4\n")});
    EXPECT_TRUE(two.first && two.second && two.library);
}

TEST_F(HostSessionTest, FailureToOpenNamesTheFile) {
    const auto missing = m_folder.path() + "/missing.folded";
    EXPECT_THAT(failureOf({missing}), HasSubstr(missing));
    const auto second = file("second", "no profile at all");
    EXPECT_THAT(failureOf({profile(), second}), HasSubstr(second));
    const auto folder = m_folder.path() + "/folder";
    std::filesystem::create_directory(folder);
    EXPECT_THAT(failureOf({folder}), HasSubstr(folder));
}

TEST_F(HostSessionTest, CanceledOpeningIsTheCanceledError) {
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    EXPECT_EQ(failureOf({profile()}, progress.get()), "canceled");
}

TEST_F(HostSessionTest, IntroducesItselfServesAndCloses) {
    panedeck::tests::LoopbackServer server;
    HostSession session(open({profile()}));
    ASSERT_TRUE(session.connect({"127.0.0.1", server.port()}, "the role", "secret").succeeded());
    const auto connection = server.accept();
    EXPECT_EQ(connection->read_frame(),
              "<msg><handshake><role>the role</role><_><token>secret</token></_></handshake></msg>");

    connection->send("<msg><request><id>1</id><type>options:get</type></request></msg>");
    EXPECT_THAT(connection->read_frame(), StartsWith(R"({"response":{"requestId":"1",)"));
    connection->send("<msg><request><id>2</id><type>grid:get</type><queryType>flatProfile</queryType>"
                     "<columns><column><_>/Metrics</_></column></columns></request></msg>");
    EXPECT_THAT(connection->read_frame(),
                StartsWith("<msg><response><requestId>2</requestId><type>grid:get</type>"));
    connection->send("<msg><request><id>3</id><type>nobody:get</type></request></msg>");
    EXPECT_THAT(connection->read_frame(), HasSubstr("IsNot.Valid.Parameter: nobody:get"));

    session.close();
    EXPECT_EQ(connection->read_to_end(), "");
    session.close();
}

TEST_F(HostSessionTest, WithoutATokenTheHandshakeHasNoParameters) {
    panedeck::tests::LoopbackServer server;
    HostSession session(open({profile()}));
    ASSERT_TRUE(session.connect({"127.0.0.1", server.port()}, "host", "").succeeded());
    EXPECT_EQ(server.accept()->read_frame(), "<msg><handshake><role>host</role></handshake></msg>");
}

} // namespace
} // namespace panedeck::host
