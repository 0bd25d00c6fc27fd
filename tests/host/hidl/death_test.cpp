// SPDX-License-Identifier: Apache-2.0
#include <future>
#include <mutex>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** A recipient that records its notices. */
struct RecordingRecipient : DeathRecipient {
    RecordingRecipient() {
        died = [this](uint64_t cookie, const wp<IBase>& who) {
            std::lock_guard<std::mutex> lock(mutex);
            notices.push_back(cookie);
            thread = threadNumber();
            last = who.promote();
        };
    }
    std::vector<uint64_t> cookies() {
        std::lock_guard<std::mutex> lock(mutex);
        return notices;
    }

    std::mutex mutex;
    std::vector<uint64_t> notices;
    int32_t thread = 0;
    sp<IBase> last;
};

using DeathTest = ServedTest;

TEST_F(DeathTest, EndOfServiceNotifiesEachLinkOnceOnAPoolThread) {
    const sp<RecordingRecipient> twice = new RecordingRecipient();
    const sp<RecordingRecipient> unlinked = new RecordingRecipient();
    const sp<RecordingRecipient> ofDropped = new RecordingRecipient();
    const sp<RecordingRecipient> last = new RecordingRecipient();
    const sp<RecordingRecipient> unknown = new RecordingRecipient();
    const sp<IProbe> other = service_.get();
    sp<IProbe> dropped = service_.get();
    EXPECT_TRUE(probe_->linkToDeath(twice, 1));
    EXPECT_TRUE(probe_->linkToDeath(unlinked, 2));
    EXPECT_TRUE(probe_->linkToDeath(twice, UINT64_MAX));
    EXPECT_TRUE(dropped->linkToDeath(ofDropped, 3));
    EXPECT_TRUE(
        probe_->linkToDeath(sp<RecordingRecipient>(new RecordingRecipient()), 4));  // destroyed at once
    EXPECT_TRUE(probe_->linkToDeath(last, 5));
    EXPECT_FALSE(other->unlinkToDeath(unlinked));
    EXPECT_FALSE(probe_->unlinkToDeath(unknown));
    EXPECT_TRUE(probe_->unlinkToDeath(unlinked));
    EXPECT_FALSE(probe_->unlinkToDeath(unlinked));
    dropped.clear();
    service_.kill();
    EXPECT_TRUE(becomesTrue([&] { return !last->cookies().empty(); }));
    EXPECT_THAT(twice->cookies(), ElementsAre(1, UINT64_MAX));
    EXPECT_THAT(unlinked->cookies(), IsEmpty());
    EXPECT_THAT(ofDropped->cookies(), IsEmpty());
    EXPECT_THAT(last->cookies(), ElementsAre(5));
    EXPECT_EQ(twice->last, probe_);
    EXPECT_NE(twice->thread, threadNumber());
    EXPECT_EQ(twice->thread, last->thread);

    const sp<IProbe> local = new Probe(1);
    EXPECT_TRUE(local->linkToDeath(last, 7));
    EXPECT_FALSE(local->linkToDeath(nullptr, 7));
    EXPECT_TRUE(local->unlinkToDeath(last));
    EXPECT_FALSE(probe_->unlinkToDeath(twice));
    const Return<bool> late = probe_->linkToDeath(unknown, 6);
    EXPECT_TRUE(late.isOk());
    EXPECT_FALSE(late);
    EXPECT_THAT(unknown->cookies(), IsEmpty());
}

// The object has no recipients when its process ends, so that a later one is still notified.
TEST_F(DeathTest, FirstLinkAfterTheEndIsNotifiedAtOnce) {
    const sp<IProbeCallback> object = probe_->makeCallback();
    const sp<RecordingRecipient> first = new RecordingRecipient();
    const sp<RecordingRecipient> late = new RecordingRecipient();
    EXPECT_TRUE(probe_->linkToDeath(first, 1));
    service_.kill();
    EXPECT_TRUE(becomesTrue([&] { return !first->cookies().empty(); }));
    EXPECT_TRUE(object->linkToDeath(late, 2));
    EXPECT_TRUE(becomesTrue([&] { return !late->cookies().empty(); }));
    EXPECT_THAT(late->cookies(), ElementsAre(2));
    EXPECT_EQ(late->last, object);
    EXPECT_FALSE(object->linkToDeath(late, 3));
}

TEST_F(DeathTest, LinkBeforeTheEndIsDetectedIsNotifiedByThePool) {
    Service busy({1, "busy"});
    const sp<IProbe> busyProbe = busy.get();
    // The only pool thread is in a callback, so it cannot detect the end of the service.
    Gate inCallback;
    sp<Callback> callback = new Callback();
    callback->event = [&](int32_t) { return passGate(inCallback.handle()); };
    EXPECT_EQ(errorOf(busyProbe->setCallback(callback)), "");
    EXPECT_EQ(errorOf(busyProbe->callBackFromThread(nullptr)), "");
    inCallback.awaitEntry();
    service_.kill();
    const sp<RecordingRecipient> recipient = new RecordingRecipient();
    EXPECT_TRUE(probe_->linkToDeath(recipient, 1));
    EXPECT_TRUE(probe_->add(1, 2).isDeadObject());
    EXPECT_TRUE(probe_->linkToDeath(recipient, 2));
    EXPECT_THAT(recipient->cookies(), IsEmpty());
    inCallback.open();
    EXPECT_TRUE(becomesTrue([&] { return recipient->cookies().size() == 2; }));
    EXPECT_THAT(recipient->cookies(), ElementsAre(1, 2));
}

TEST_F(DeathTest, EndOfServiceFailsCallsInFlight) {
    Service service({3, "three"});
    const sp<IProbe> probe = service.get();
    std::vector<Gate> gates(3);
    std::vector<std::future<std::string>> calls;
    for (Gate& gate : gates) {
        calls.push_back(
            std::async(std::launch::async, [&] { return errorOf(probe->wait(1, gate.handle())); }));
        gate.awaitEntry();
    }
    service.kill();
    for (auto& call : calls) EXPECT_THAT(call.get(), HasSubstr("DEAD_OBJECT"));
    EXPECT_TRUE(probe->add(1, 2).isDeadObject());
    EXPECT_TRUE(probe->note(1, nullptr).isDeadObject());
    EXPECT_EQ(service.get(), nullptr);
    EXPECT_EQ(probe_->add(1, 2), 3);
}

TEST_F(DeathTest, CallOfAKilledClientCompletesBeforeTheDeathNotice) {
    Gate gate;
    Helper client({"hold", "7"}, gate.handle()->data[0]);
    gate.awaitEntry();
    client.kill();
    gate.open();
    EXPECT_TRUE(logged(probe_, "died 42"));
    EXPECT_TRUE(logged(probe_, "callback gone"));  // only the client held it
    std::vector<std::string> events = eventsOf(probe_);
    events.resize(3);
    EXPECT_THAT(events, ElementsAre("joined", "enter 7", "leave 7"));
}

TEST_F(DeathTest, EndOfClientFailsTheCallbackThatTheServiceWaitsFor) {
    const std::string dead = "answer " + std::to_string(android::DEAD_OBJECT);
    Helper nested({"hang", "nested"});
    EXPECT_EQ(nested.readLine(), "ready");
    EXPECT_EQ(nested.readLine(), "called");
    nested.kill();
    EXPECT_TRUE(logged(probe_, "died 42"));
    EXPECT_THAT(eventsOf(probe_), ElementsAre("joined", dead, "died 42"));

    Helper client({"hang", "idle"});
    EXPECT_EQ(client.readLine(), "ready");
    int32_t status = 0;
    auto call = std::async(std::launch::async, [&] {
        return errorOf(probe_->callBack(1, [&](int32_t, int32_t got) { status = got; }));
    });
    EXPECT_EQ(client.readLine(), "called");
    client.kill();
    EXPECT_EQ(call.get(), "");
    EXPECT_EQ(status, android::DEAD_OBJECT);
}

}  // namespace
}  // namespace hidlaudio::test
