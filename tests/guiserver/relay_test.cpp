#include "frame_splitter.h"
#include "relay.h"
#include "response_id.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace panedeck::guiserver {
namespace {

const std::string connected_event = "<msg><event><name>relay:libraryConnected</name></event></msg>";
const std::string lost_event = "<msg><event><name>relay:libraryLost</name></event></msg>";

struct FakeTab : ITab {
    void send(OutgoingText text) override {
        received.push_back(text.text());
        last_rest = text.rest().data();
    }
    /// What came since the last call.
    std::vector<std::string> take() { return std::exchange(received, {}); }

    std::vector<std::string> received;
    const char* last_rest = nullptr;
};

struct FakeLibrary : ILibrary {
    void send(std::string text) override { received.push_back(std::move(text)); }
    std::vector<std::string> take() { return std::exchange(received, {}); }

    std::vector<std::string> received;
};

std::string request(const std::string& id) {
    return "<msg><request><id>" + id + "</id><type>grid:get</type><a>1</a></request></msg>";
}

std::string between(const std::string& text, const std::string& front, const std::string& back) {
    const std::size_t begin = text.find(front) + front.size();
    return text.substr(begin, text.find(back, begin) - begin);
}

std::string id_of(const std::string& request) {
    return between(request, "<id>", "</id>");
}

std::string error_for(const std::string& id, const std::string& text) {
    return R"({"response":{"requestId":")" + id + R"(","serializeAsJson":null,"type":"error","":{"text":")" +
           text + R"("}}})";
}

const std::string not_connected = "FailedTo.Process.This.Operation: The profiler's library is not connected";

class RelayTest : public testing::Test {
protected:
    void open_all() {
        relay.open_tab(first);
        relay.open_tab(second);
        ASSERT_TRUE(relay.open_library(library));
        first.take();
        second.take();
    }

    Relay relay;
    FakeTab first;
    FakeTab second;
    FakeLibrary library;
};

TEST_F(RelayTest, KeepsTheSameIdOfTwoTabsApart) {
    open_all();
    relay.handle_tab_message(first, request("1"));
    relay.handle_tab_message(second, request("1"));
    const auto requests = library.take();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_NE(id_of(requests[0]), id_of(requests[1]));
    EXPECT_EQ(requests[0], "<msg><request><id>" + id_of(requests[0]) +
                               "</id><type>grid:get</type><a>1</a></request></msg>");

    relay.handle_library_frame("<msg><response><requestId>" + id_of(requests[1]) +
                               "</requestId><type>grid:get</type></response></msg>");
    EXPECT_TRUE(first.take().empty());
    EXPECT_EQ(second.take(),
              std::vector<std::string>{
                  "<msg><response><requestId>1</requestId><type>grid:get</type></response></msg>"});
    relay.handle_library_frame(R"({"response":{"requestId":")" + id_of(requests[0]) + R"(","type":"a:b"}})");
    EXPECT_EQ(first.take(), std::vector<std::string>{R"({"response":{"requestId":"1","type":"a:b"}})"});
    EXPECT_EQ(relay.pending_count(), 0u);
}

TEST_F(RelayTest, AnswersEachRequestOnce) {
    open_all();
    relay.handle_tab_message(first, request("1"));
    const std::string answer = R"({"response":{"requestId":")" + id_of(library.take()[0]) + R"("}})";
    relay.handle_library_frame(answer);
    relay.handle_library_frame(answer);
    relay.handle_library_frame(R"({"response":{"requestId":"unknown"}})");
    relay.handle_library_frame(R"({"response":{"serializeAsJson":null,"type":"error"}})");
    relay.handle_library_frame("");
    EXPECT_EQ(first.take().size(), 1u);
    EXPECT_TRUE(second.take().empty());
}

/// Ids are the asker's own words: each form escapes what it has to.
TEST_F(RelayTest, GivesBackAnyId) {
    open_all();
    relay.handle_tab_message(first, request("a\"&lt;&amp;"));
    relay.handle_library_frame(R"({"response":{"requestId":")" + id_of(library.take()[0]) + R"("}})");
    EXPECT_EQ(first.take(), std::vector<std::string>{R"({"response":{"requestId":"a\"<&"}})"});
    relay.handle_tab_message(first, request("a\"&lt;&amp;"));
    relay.handle_library_frame("<msg><response><requestId>" + id_of(library.take()[0]) +
                               "</requestId></response></msg>");
    EXPECT_EQ(first.take(), std::vector<std::string>{
                                "<msg><response><requestId>a\"&lt;&amp;</requestId></response></msg>"});
}

TEST_F(RelayTest, SendsALongAnswerOnWithoutACopy) {
    open_all();
    relay.handle_tab_message(first, request("1"));
    const std::string front = R"({"response":{"requestId":")" + id_of(library.take()[0]) + R"(",)";
    std::string frame = front + R"("x":")" + std::string(50'000'000, 'x') + "\"}}";
    const char* const body = frame.data();
    relay.handle_library_frame(std::move(frame));
    EXPECT_EQ(first.last_rest, body + front.size() - 1);
    EXPECT_TRUE(first.take()[0].starts_with(R"({"response":{"requestId":"1","x":"xxx)"));
}

/// A browser drops its whole connection over one byte that is no UTF-8.
TEST_F(RelayTest, SendsNothingButUtf8) {
    open_all();
    const tests::LogCapture silence;
    const std::string gap = "\uFFFD";
    const std::vector<std::array<std::string, 2>> cases = {
        {"ä€😀", "ä€😀"}, {"\xff", gap}, {"a\xc3", "a" + gap}, {"\xed\xa0\x80", gap + gap + gap}};
    for (const auto& [text, shown] : cases) {
        relay.handle_tab_message(first, request("1"));
        const std::string id = id_of(library.take()[0]);
        relay.handle_library_frame(R"({"response":{"requestId":")" + id + R"(","x":")" + text + "\"}}");
        EXPECT_EQ(first.take(),
                  std::vector<std::string>{R"({"response":{"requestId":"1","x":")" + shown + "\"}}"});
        relay.handle_library_frame("<msg><event><name>" + text + "</name></event></msg>");
        const std::vector event = {"<msg><event><name>" + shown + "</name></event></msg>"};
        EXPECT_EQ(first.take(), event);
        EXPECT_EQ(second.take(), event);
    }
}

TEST_F(RelayTest, AnswersBadMessagesItself) {
    open_all();
    const std::string operation = "FailedTo.Process.This.Operation: ";
    const std::vector<std::array<std::string, 3>> cases = {
        {"", "", operation + "Invalid incoming message syntax"},
        {"hello", "", operation + "Invalid incoming message syntax"},
        {"<msg></msg>", "", "FailedTo: No meaningful data in the message"},
        {"<other><request/></other>", "", operation + "Invalid incoming message syntax"},
        {"<msg><request><id>1</id></request></msg>", "1", operation + "Invalid request type value"},
        {"<msg><request><type>a:b</type></request></msg>", "", operation + "Invalid request ID value"},
        {"<msg><request><type>a:b</type><id>" + std::string(1025, '1') + "</id></request></msg>", "",
         operation + "Invalid request ID value"},
        {"<msg><event><nam>e</nam></event></msg>", "", operation + "Invalid event name"},
    };
    for (const auto& [message, id, text] : cases) {
        relay.handle_tab_message(first, message);
        std::string expected = error_for(id, text);
        if (id.empty()) expected.erase(expected.find(R"("requestId":"",)"), sizeof(R"("requestId":"",)") - 1);
        EXPECT_EQ(first.take(), std::vector{expected}) << message.substr(0, 80);
    }
    EXPECT_TRUE(library.take().empty());
    EXPECT_EQ(relay.pending_count(), 0u);
}

/// Nothing that a tab sends makes two messages of one at the library.
TEST_F(RelayTest, NoMessageHidesAnother) {
    open_all();
    relay.handle_tab_message(
        first, "<msg><request id=\"1\" type=\"a:b\"><x><![CDATA[</msg><msg>]]></x></request></msg>");
    const auto requests = library.take();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].find("</msg>"), requests[0].size() - 6);
}

TEST_F(RelayTest, CancelsByTheTabsOwnId) {
    open_all();
    relay.handle_tab_message(first, request("1"));
    relay.handle_tab_message(second, request("1"));
    const auto requests = library.take();
    const std::string cancel = "<msg><event><name>cancelRequest</name><requestId>1</requestId></event></msg>";
    const std::string cancel_unknown =
        "<msg><event><name>cancelRequest</name><requestId>2</requestId></event></msg>";
    relay.handle_tab_message(second, cancel_unknown);
    relay.handle_tab_message(second, cancel);
    EXPECT_EQ(library.take(), std::vector<std::string>{"<msg><event><name>cancelRequest</name><requestId>" +
                                                       id_of(requests[1]) + "</requestId></event></msg>"});
    // The library has the last word on it.
    relay.handle_library_frame(R"({"response":{"requestId":")" + id_of(requests[1]) +
                               R"(","type":"canceled"}})");
    EXPECT_EQ(second.take(), std::vector<std::string>{R"({"response":{"requestId":"1","type":"canceled"}})"});
}

TEST_F(RelayTest, CancelsWhatAClosedTabHasAsked) {
    open_all();
    relay.handle_tab_message(first, request("1"));
    relay.handle_tab_message(second, request("1"));
    const auto requests = library.take();
    relay.close_tab(first);
    relay.close_tab(first);
    EXPECT_EQ(library.take(), std::vector<std::string>{"<msg><event><name>cancelRequest</name><requestId>" +
                                                       id_of(requests[0]) + "</requestId></event></msg>"});
    relay.handle_library_frame(R"({"response":{"requestId":")" + id_of(requests[0]) + R"("}})");
    EXPECT_TRUE(first.take().empty());
    EXPECT_EQ(relay.pending_count(), 1u);
}

TEST_F(RelayTest, AnswersForALibraryThatIsGone) {
    open_all();
    relay.handle_tab_message(first, request("17"));
    const std::string id = id_of(library.take()[0]);
    relay.close_library(library);
    EXPECT_EQ(first.take(), (std::vector{error_for("17", not_connected), lost_event}));
    relay.handle_tab_message(first, request("18"));
    EXPECT_EQ(first.take(), std::vector{error_for("18", not_connected)});
    relay.open_library(library);
    first.take();
    relay.handle_library_frame(R"({"response":{"requestId":")" + id + R"("}})");
    EXPECT_TRUE(first.take().empty());
}

TEST_F(RelayTest, StopsATabThatNeverWaits) {
    open_all();
    for (int index = 0; index <= 10'000; ++index)
        relay.handle_tab_message(first, request("1"));
    EXPECT_EQ(first.take().size(), 1u);
    EXPECT_EQ(library.take().size(), 10'000u);
}

TEST(FrameSplitter, CutsAtTheTerminatorHoweverReadsFall) {
    const std::string bytes = "one\x0B" + std::string(300, 't') + "\x0B\x0B" + "three\x0Bre";
    for (std::size_t step = 1; step <= bytes.size(); ++step) {
        FrameSplitter splitter;
        std::vector<std::string> frames;
        for (std::size_t begin = 0; begin < bytes.size(); begin += step) {
            splitter.append(std::string_view(bytes).substr(begin, step));
            while (auto frame = splitter.next())
                frames.push_back(*frame);
        }
        EXPECT_EQ(frames, (std::vector<std::string>{"one", std::string(300, 't'), "", "three"})) << step;
        EXPECT_EQ(splitter.pending_size(), 2u);
    }
}

} // namespace
} // namespace panedeck::guiserver
