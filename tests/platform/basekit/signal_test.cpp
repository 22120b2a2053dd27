#include "basekit/signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using bk2::signal_t;

namespace {

struct Listener : bk2::subscriber_base_t {
    ~Listener() { disconnect_all(); }

    void listen(signal_t<int>& signal) {
        signal.connect(*this, [this](int value) { heard.push_back(value); });
    }

    std::vector<int> heard;
};

TEST(Signal, DestroyedSubscriberIsNotCalled) {
    signal_t<int> signal;
    Listener stays;
    stays.listen(signal);
    {
        Listener goes;
        goes.listen(signal);
    }
    signal.emit(1);
    EXPECT_EQ(stays.heard, std::vector<int>{1});
}

TEST(Signal, SlotMayCutItsOwnLink) {
    signal_t<int> signal;
    Listener listener;
    int calls = 0;
    signal.connect(listener, [&](int) {
        ++calls;
        listener.disconnect_all();
    });
    signal.emit(1);
    signal.emit(2);
    EXPECT_EQ(calls, 1);
}

TEST(Signal, SlotConnectedDuringAnEmissionWaitsForTheNextOne) {
    signal_t<int> signal;
    Listener outer;
    Listener inner;
    signal.connect(outer, [&](int value) {
        if (value == 1) inner.listen(signal);
    });
    signal.emit(1);
    EXPECT_TRUE(inner.heard.empty());
    signal.emit(2);
    EXPECT_EQ(inner.heard, std::vector<int>{2});
}

// Once the subscriber is gone its memory may be reused: a call that still ran would be seen by the
// sanitizers.
TEST(Signal, DestructionWaitsForACallOnAnotherThread) {
    signal_t<int> signal;
    std::atomic<bool> emitting{false};
    std::atomic<bool> stop{false};
    std::thread emitter([&] {
        while (!stop) {
            signal.emit(1);
            emitting = true;
        }
    });
    while (!emitting)
        std::this_thread::yield();
    for (int i = 0; i < 200; ++i) {
        auto listener = std::make_unique<Listener>();
        listener->listen(signal);
    }
    stop = true;
    emitter.join();
}

} // namespace
