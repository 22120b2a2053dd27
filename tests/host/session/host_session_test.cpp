#include "notifykit/progress.h"
#include "session/host_session.h"
#include "settingshub/product_locations.h"
#include "support/loopback_server.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace panedeck::host {
namespace {

using testing::StartsWith;

class HostSessionTest : public testing::Test {
protected:
    HostSessionTest() { settingshub2::IProductLocations::get()->setUserDirectory(m_folder.path() + "/user"); }
    ~HostSessionTest() override { settingshub2::IProductLocations::get()->setUserDirectory(""); }

    std::string profile() {
        const auto path = m_folder.path() + "/a.folded";
        std::ofstream(path) << "main;work 3\nmain 1\n";
        return path;
    }

    panedeck::tests::TemporaryFolder m_folder;
};

TEST_F(HostSessionTest, CanceledOpeningIsTheCanceledError) {
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    open_results_t results;
    EXPECT_TRUE(openResults({profile()}, "", progress.get(), results).is_canceled());
    EXPECT_FALSE(results.first || results.library);
}

TEST_F(HostSessionTest, IntroducesItselfServesAndCloses) {
    panedeck::tests::LoopbackServer server;
    open_results_t results;
    ASSERT_TRUE(openResults({profile()}, "", nullptr, results).succeeded());
    HostSession session(std::move(results));
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
