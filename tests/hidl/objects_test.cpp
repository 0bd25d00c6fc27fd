// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <atomic>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using android::hidl::base::V1_0::IBase;
using testing::HasSubstr;

class ObjectsTest : public HidlTest {
  protected:
    /** A callback that tells the thread on which it ends, 0 before that. */
    static sp<Callback> mortal(std::atomic<int32_t>* endedOn) {
        sp<Callback> callback = new Callback();
        callback->gone = [endedOn] { *endedOn = threadNumber(); };
        return callback;
    }

    /** A proxy of an object that lives in the service. */
    sp<IProbeCallback> servicesObject() { return sp<IProbeCallback>(probe_->makeCallback()); }

    ObjectsTest() {
        // A vector of objects alone starts no thread to which they could be given back.
        EXPECT_EQ(errorOf(probe_->setCallback(nullptr)), "");
    }

    Service service_;
    const sp<IProbe> probe_ = service_.get();
};

TEST_F(ObjectsTest, ALocalObjectComesBackAsItself) {
    const sp<IProbeCallback> one = new Callback();
    const sp<IProbeCallback> other = new Callback();
    const sp<IProbeCallback> remote = servicesObject();
    const struct {
        hidl_vec<sp<IProbeCallback>> given;
        bool equal;
    } kCases[] = {{{one, one, other}, true},  {{one, other}, false},    {{one, nullptr}, false},
                  {{nullptr, nullptr}, true}, {{remote, remote}, true}, {{}, false}};
    for (const auto& one_case : kCases) {
        std::vector<sp<IProbeCallback>> same;
        bool equal = false;
        EXPECT_EQ(errorOf(probe_->passCallbacks(one_case.given,
                                                [&](const auto& back, bool equalThere) {
                                                    same = back;
                                                    equal = equalThere;
                                                })),
                  "");
        EXPECT_EQ(equal, one_case.equal);
        ASSERT_EQ(same.size(), one_case.given.size());
        for (size_t i = 0; i < same.size(); ++i) {
            EXPECT_TRUE(interfacesEqual(same[i], one_case.given[i]));
            EXPECT_EQ(same[i] == one_case.given[i], one_case.given[i] != remote);
        }
    }
    EXPECT_FALSE(one->isRemote());
}

TEST_F(ObjectsTest, AnObjectThatIsKeptIsCalledAndReturned) {
    sp<Callback> callback = new Callback();
    EXPECT_EQ(errorOf(probe_->setCallback(callback)), "");
    int32_t answer = 0;
    EXPECT_EQ(errorOf(probe_->callBack(41, [&](int32_t got, int32_t) { answer = got; })), "");
    EXPECT_EQ(answer, 42);
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), callback);
    EXPECT_EQ(errorOf(probe_->setCallback(nullptr)), "");
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), nullptr);
}

TEST_F(ObjectsTest, ARemoteObjectArrivesAsANewProxyEachTime) {
    const sp<IProbe> again = service_.get();
    EXPECT_TRUE(probe_->isRemote());
    EXPECT_NE(again, probe_);
    const struct {
        sp<IBase> left;
        sp<IBase> right;
        bool equal;
    } kCases[] = {{probe_, again, true},
                  {probe_, nullptr, false},
                  {nullptr, nullptr, true},
                  {probe_, new Probe(1), false},
                  {probe_, servicesObject(), false}};
    for (const auto& one : kCases) {
        EXPECT_EQ(interfacesEqual(one.left, one.right), one.equal);
        EXPECT_EQ(interfacesEqual(one.right, one.left), one.equal);
    }
}

TEST_F(ObjectsTest, Casts) {
    const sp<ParentProbe> parent = ParentProbe::getService();
    const sp<IProbe> child = IProbe::castFrom(parent);
    ASSERT_NE(child, nullptr);
    EXPECT_NE(static_cast<IBase*>(child.get()), static_cast<IBase*>(parent.get()));
    EXPECT_TRUE(interfacesEqual(child, parent));
    EXPECT_EQ(child->number(), 1u);
    EXPECT_EQ(sp<ParentProbe>(ParentProbe::castFrom(sp<ParentProbe>(child))), child);

    const sp<ParentProbe> local = new Probe(2);
    const sp<IBase> base = parent;
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(local)), local);
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(sp<ParentProbe>())), nullptr);
    EXPECT_EQ(sp<IProbeCallback>(IProbeCallback::castFrom(base)), nullptr);
    EXPECT_EQ(sp<IProbeCallback>(IProbeCallback::castFrom(sp<IBase>(local))), nullptr);
    service_.kill();
    EXPECT_EQ(sp<IProbe>(IProbe::castFrom(parent, false)), nullptr);
    EXPECT_THAT(errorOf(IProbe::castFrom(parent, true)), HasSubstr("DEAD_OBJECT"));
}

TEST_F(ObjectsTest, TheLastReferenceReleasesTheObjectOnTheOtherSide) {
    std::atomic<int32_t> endedOn{0};
    EXPECT_EQ(errorOf(probe_->setCallback(mortal(&endedOn))), "");
    EXPECT_EQ(errorOf(probe_->callBack(1, [](int32_t, int32_t) {})), "");
    EXPECT_EQ(endedOn, 0);
    EXPECT_EQ(errorOf(probe_->setCallback(nullptr)), "");
    EXPECT_TRUE(eventually([&] { return endedOn != 0; }));
    EXPECT_NE(endedOn, threadNumber());

    sp<IProbeCallback> remote = servicesObject();
    sp<IProbeCallback> second = remote;
    remote.clear();
    EXPECT_EQ(second->onEvent(1), 2);
    EXPECT_THAT(eventsOf(probe_), testing::Not(testing::Contains("callback gone")));
    second.clear();
    EXPECT_TRUE(logged(probe_, "callback gone"));
}

TEST_F(ObjectsTest, AServicesDeathReleasesWhatItHeld) {
    std::atomic<int32_t> endedOn{0};
    EXPECT_EQ(errorOf(probe_->setCallback(mortal(&endedOn))), "");
    service_.kill();
    EXPECT_TRUE(eventually([&] { return endedOn != 0; }));
    EXPECT_NE(endedOn, threadNumber());
}

TEST_F(ObjectsTest, PassingReferencesBackAndForthLeavesNothingBehind) {
    std::atomic<int> alive{0};
    const auto pass = [&](int rounds) {
        const sp<IProbeCallback> remote = servicesObject();
        for (int i = 0; i < rounds; ++i) {
            hidl_vec<sp<IProbeCallback>> given(8);
            for (auto& one : given) {
                sp<Callback> callback = new Callback();
                callback->gone = [&alive] { --alive; };
                ++alive;
                one = callback;
            }
            given[7] = remote;
            EXPECT_EQ(errorOf(probe_->passCallbacks(given, [](const auto&, bool) {})), "");
        }
    };
    pass(100);
    EXPECT_TRUE(eventually([&] { return alive == 0; })) << alive << " are still held";
    const uint64_t before = probe_->heapInUse();
    pass(1000);
    EXPECT_TRUE(eventually([&] { return alive == 0; })) << alive << " are still held";
    // A leak of every reference would be ten times as much; the allocator keeps some itself.
    EXPECT_LT(probe_->heapInUse(), before + 64 * 1024);
}

// The client's only pool thread is in a callback, so that what the service gives
// back has to wait in the socket, and more of it than the socket takes.
TEST_F(ObjectsTest, ReferencesGivenBackToABusyClientAreNotForgotten) {
    constexpr int kMany = 1000;
    std::atomic<int> alive{kMany};
    Gate gate;
    Gate clients;
    sp<Callback> blocking = new Callback();
    blocking->event = [&clients](int32_t) {
        char byte = 'e';
        return write(clients.farEnd(), &byte, 1) == 1 && read(clients.farEnd(), &byte, 1) == 1 ? 0 : 1;
    };
    EXPECT_EQ(errorOf(probe_->setCallback(blocking)), "");
    EXPECT_EQ(errorOf(probe_->callBackFromThread(gate.handle())), "");
    gate.awaitEntry();
    gate.open();
    clients.awaitEntry();
    for (int i = 0; i < kMany; ++i) {
        sp<Callback> callback = new Callback();
        callback->gone = [&alive] { --alive; };
        EXPECT_EQ(errorOf(probe_->passCallbacks({callback}, [](const auto&, bool) {})), "");
    }
    clients.open();
    EXPECT_TRUE(eventually([&] { return alive == 0; })) << alive << " are still held";
}

TEST_F(ObjectsTest, AnObjectIsNotPassedOnToAThirdProcess) {
    Service other({1, "other"});
    const sp<IProbe> otherProbe = other.get();
    const sp<IProbeCallback> foreign = sp<IProbeCallback>(otherProbe->makeCallback());
    EXPECT_THAT(errorOf(probe_->setCallback(foreign)), HasSubstr("Function not implemented"));
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), nullptr);

    EXPECT_EQ(errorOf(probe_->setCallback(new Callback())), "");
    Helper third({"fetch"});
    EXPECT_THAT(third.readLine(), HasSubstr("Function not implemented"));
    EXPECT_EQ(third.wait(), 0);
    EXPECT_EQ(probe_->add(1, 2), 3);
}

}  // namespace
}  // namespace hidlaudio::test
