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
    session.close();
    EXPECT_EQ(connection->read_to_end(), "");
    session.close();
}

} // namespace
} // namespace panedeck::host
