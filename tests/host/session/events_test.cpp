#include "host/scheduler_fixture.h"
#include "session/host_event_dispatcher.h"
#include "session/socket_events.h"

namespace panedeck::host::tests {
namespace {

class EventsTest : public SchedulerTest {
protected:
    EventsTest() { socketEvents.setScheduler(scheduler); }

    HostEventDispatcher events{scheduler, client};
    SocketEvents socketEvents;
};

TEST_F(EventsTest, ChangesCancelWhatIsObsoleteBeforeThePanesHearOfThem) {
    variant_bag_t changed;
    changed.put("filterName", variant_t("f"));
    schedule("1", "gridview:scroll", {{"filter", "f"}, {"endless", ""}});
    EXPECT_TRUE(events.sendEvent("FilterChangedEvent", &changed).succeeded());
    schedule("2", "gridview:scroll", {{"filter", "g"}, {"endless", ""}});
    EXPECT_TRUE(events.sendEvent("FilterChangedEvent", &changed).succeeded());
    EXPECT_TRUE(events.sendEvent("BeforeDataChangeEvent", nullptr).succeeded());
    EXPECT_TRUE(events.sendEvent("KnobChangedEvent", nullptr).succeeded());
    EXPECT_EQ(client->sent(),
              (answers_t{"1 canceled", "event FilterChangedEvent", "event FilterChangedEvent",
                         "event BeforeDataChangeEvent", "2 canceled", "event KnobChangedEvent"}));
    finish();
}

TEST_F(EventsTest, CancelRequestNamesTheRequestAsTextOrNumber) {
    const struct {
        const char* id;
        variant_t value;
    } cases[] = {
        {"17", variant_t("17")}, {"18", variant_t(18)}, {"19", variant_t("17")}, {"20", variant_t()}};
    for (const auto& request : cases) {
        variant_bag_t parameters;
        parameters.put("id", variant_t(request.id));
        parameters.put("endless", variant_t(true));
        EXPECT_TRUE(socketEvents.onRequest(request.id, "work:get", parameters).succeeded());
        EXPECT_TRUE(parameters.is_empty());
        variant_bag_t event;
        event.put("requestId", request.value);
        EXPECT_TRUE(socketEvents.onEvent("cancelRequest", event).succeeded());
        EXPECT_TRUE(socketEvents.onEvent("somethingElse", event).succeeded());
    }
    EXPECT_EQ(client->sent(), (answers_t{"17 canceled", "18 canceled"}));
    finish();
}

TEST_F(EventsTest, LostConnectionGivesUpItsRequests) {
    schedule("1", "work:get", {{"endless", ""}});
    socketEvents.stopPausing();
    for (int refusal = 0; refusal < 10; ++refusal) { // minutes, if one pause were made
        socketEvents.onConnected();
        socketEvents.onConnectionLost();
    }
    finish();
    EXPECT_TRUE(client->sent().empty());
}

} // namespace
} // namespace panedeck::host::tests
