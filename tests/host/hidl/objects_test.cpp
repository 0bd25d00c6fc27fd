// SPDX-License-Identifier: Apache-2.0
#include <atomic>

#include "fixture.h"
#include "host/hidl/src/connection/peer_connection.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

class ObjectsTest : public ServedTest {
  protected:
    /** Creates a callback that alive_ counts while it exists. */
    sp<Callback> counted() {
        sp<Callback> callback = new Callback();
        ++alive_;
        callback->gone = [this] {
            endedOn_ = threadNumber();
            --alive_;
        };
        return callback;
    }
    /** Waits until all of them are destroyed. */
    bool allEnd() {
        return becomesTrue([this] { return alive_ == 0; });
    }
    /** Returns a proxy of a new object of the service. */
    sp<IProbeCallback> servicesObject() { return sp<IProbeCallback>(probe_->makeCallback()); }

    std::atomic<int> alive_{0};
    std::atomic<int32_t> endedOn_{0};
};

TEST_F(ObjectsTest, LocalObjectIsReturnedAsItself) {
    const sp<IProbeCallback> local = new Callback();
    const sp<IProbeCallback> other = new Callback();
    const sp<IProbeCallback> remote = servicesObject();
    const struct {
        hidl_vec<sp<IProbeCallback>> given;
        bool equal;
    } kCases[] = {{{local, local, other}, true}, {{local, other}, false},  {{local, nullptr}, false},
                  {{nullptr, nullptr}, true},    {{remote, remote}, true}, {{}, false}};
    for (const auto& one : kCases) {
        const auto check = [&one, &remote](const hidl_vec<sp<IProbeCallback>>& same, bool equal) {
            EXPECT_EQ(equal, one.equal);
            ASSERT_EQ(same.size(), one.given.size());
            for (size_t i = 0; i < same.size(); ++i) {
                EXPECT_TRUE(interfacesEqual(same[i], one.given[i]));
                EXPECT_EQ(same[i] == one.given[i], one.given[i] != remote);
            }
        };
        EXPECT_EQ(errorOf(probe_->passCallbacks(one.given, check)), "");
    }
}

// A thread may be about to send an object when the pool ends the link.
TEST_F(ObjectsTest, EndedLinkKeepsNoObject) {
    using android::hardware::transport::ObjectReference;
    using android::hardware::transport::PeerConnection;
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const unique_fd peer(ends[1]);
    const auto link = std::make_shared<PeerConnection>(unique_fd(ends[0]), getpid(), getuid());
    link->end();
    std::vector<ObjectReference> references;
    const sp<Callback> callback = counted();
    const auto binder = android::hardware::getOrCreateCachedBinder(callback.get());
    EXPECT_EQ(link->reference({binder}, &references), android::DEAD_OBJECT);
    EXPECT_TRUE(references.empty());
    EXPECT_EQ(binder->getStrongCount(), 1);
}

TEST_F(ObjectsTest, EachLookUpReturnsANewProxyOfTheSameObject) {
    const sp<IProbe> again = service_.get();
    EXPECT_NE(again, probe_);
    const struct {
        sp<IBase> right;
        bool equal;
    } kCases[] = {{again, true}, {nullptr, false}, {new Probe(1), false}, {servicesObject(), false}};
    for (const auto& one : kCases) {
        EXPECT_EQ(interfacesEqual(probe_, one.right), one.equal);
        EXPECT_EQ(interfacesEqual(one.right, probe_), one.equal);
    }
}

TEST_F(ObjectsTest, CastReturnsNullUnlessTheObjectImplementsTheInterface) {
    const sp<ParentProbe> parent = ParentProbe::getService();
    const sp<IBase> base = parent;
    const sp<IProbe> child = IProbe::castFrom(parent);
    ASSERT_NE(child, nullptr);
    EXPECT_NE(static_cast<IBase*>(child.get()), static_cast<IBase*>(parent.get()));
    EXPECT_TRUE(interfacesEqual(child, parent));
    EXPECT_EQ(child->number(), 1u);
    EXPECT_EQ(sp<ParentProbe>(ParentProbe::castFrom(sp<ParentProbe>(child))), child);

    const sp<ParentProbe> local = new Probe(2);
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(local)), local);
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(sp<ParentProbe>())), nullptr);
    EXPECT_EQ(sp<IProbeCallback>(IProbeCallback::castFrom(base)), nullptr);
    EXPECT_EQ(sp<IProbeCallback>(IProbeCallback::castFrom(sp<IBase>(local))), nullptr);
    service_.kill();
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(parent, false)), nullptr);
    EXPECT_THAT(errorOf(IProbe::castFrom(parent, true)), HasSubstr("DEAD_OBJECT"));
}

TEST_F(ObjectsTest, DroppingTheLastReferenceReleasesTheRemoteObject) {
    EXPECT_EQ(errorOf(probe_->setCallback(counted())), "");
    EXPECT_EQ(errorOf(probe_->callBack(1, [](int32_t, int32_t) {})), "");
    EXPECT_EQ(alive_, 1);
    EXPECT_EQ(errorOf(probe_->setCallback(nullptr)), "");
    EXPECT_TRUE(allEnd());
    EXPECT_NE(endedOn_, threadNumber());

    sp<IProbeCallback> remote = servicesObject();
    sp<IProbeCallback> second = remote;
    remote.clear();
    EXPECT_EQ(second->onEvent(1), 2);
    EXPECT_THAT(eventsOf(probe_), testing::Not(testing::Contains("callback gone")));
    second.clear();
    EXPECT_TRUE(logged(probe_, "callback gone"));

    EXPECT_EQ(errorOf(probe_->setCallback(counted())), "");
    service_.kill();
    EXPECT_TRUE(allEnd());
    EXPECT_NE(endedOn_, threadNumber());
}

TEST_F(ObjectsTest, PassingReferencesBackAndForthLeaksNoMemory) {
    const auto pass = [&](int rounds) {
        const sp<IProbeCallback> remote = servicesObject();
        for (int i = 0; i < rounds; ++i) {
            hidl_vec<sp<IProbeCallback>> given(8);
            given[0] = remote;
            for (size_t j = 1; j < given.size(); ++j) given[j] = counted();
            EXPECT_EQ(errorOf(probe_->passCallbacks(given, [](const auto&, bool) {})), "");
        }
        EXPECT_TRUE(allEnd()) << alive_ << " are still held";
    };
    // A leak of only 16 bytes per round makes the heap grow in each pass. Memory that the service keeps
    // for its largest number of simultaneous references makes it grow in some passes only.
    const auto growth = [&] {
        const uint64_t before = probe_->heapInUse();
        pass(1000);
        return static_cast<int64_t>(probe_->heapInUse() - before);
    };
    int64_t least = growth();
    for (int i = 0; i < 9 && least >= 16 * 1000; ++i) least = std::min(least, growth());
    EXPECT_LT(least, 16 * 1000);
}

// The client's only pool thread is in a callback, so that it does not read the releases of the service.
// There are more of them than the socket can hold.
TEST_F(ObjectsTest, ReleasesForABusyClientArriveLater) {
    Gate inCallback;
    sp<Callback> blocking = new Callback();
    blocking->event = [&](int32_t) { return passGate(inCallback.handle()); };
    EXPECT_EQ(errorOf(probe_->setCallback(blocking)), "");
    EXPECT_EQ(errorOf(probe_->callBackFromThread(nullptr)), "");
    inCallback.awaitEntry();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(errorOf(probe_->passCallbacks({counted()}, [](const auto&, bool) {})), "");
    }
    inCallback.open();
    EXPECT_TRUE(allEnd()) << alive_ << " are still held";
}

TEST_F(ObjectsTest, PassingAnObjectToAThirdProcessFails) {
    Service other({1, "other"});
    const sp<IProbeCallback> foreign = sp<IProbeCallback>(other.get()->makeCallback());
    EXPECT_THAT(errorOf(probe_->setCallback(foreign)), HasSubstr("INVALID_OPERATION"));
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), nullptr);

    EXPECT_EQ(errorOf(probe_->setCallback(new Callback())), "");
    Helper third({"fetch"});
    EXPECT_THAT(third.readLine(), HasSubstr("INVALID_OPERATION"));
    EXPECT_EQ(third.wait(), 0);
    EXPECT_EQ(probe_->add(1, 2), 3);
}

}  // namespace
}  // namespace hidlaudio::test
