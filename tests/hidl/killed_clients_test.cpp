// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using KilledClientsTest = HidlTest;

// Killed while they connect, in mid call, in mid callback, or between: nothing of
// them stays, and the service goes on.
TEST_F(KilledClientsTest, LeaveNothingBehind) {
    const uint32_t seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE(seed);
    const struct {
        size_t threads;
        int clients;
    } kPools[] = {{1, 1000}, {3, 200}};
    for (const auto& pool : kPools) {
        SCOPED_TRACE(pool.threads);
        Service service({pool.threads});
        const sp<IProbe> probe = service.get();
        EXPECT_EQ(probe->add(1, 2), 3);
        const size_t descriptors = service.descriptors();
        const auto kill = [&](int clients) {
            Helper churn({"churn", std::to_string(clients), std::to_string(seed)});
            EXPECT_EQ(churn.wait(), 0);
            EXPECT_EQ(probe->add(1, 2), 3);
            EXPECT_TRUE(becomesTrue([&] { return service.descriptors() == descriptors; }))
                << service.descriptors() << " descriptors, not " << descriptors;
            EXPECT_EQ(errorOf(probe->setCallback(nullptr)), "");
        };
        // Until the allocator and the event log have what they need.
        kill(pool.clients / 5);
        const uint64_t heap = probe->heapInUse();
        const size_t threads = service.threads();
        kill(pool.clients);
        // Each further thread may meanwhile have taken its share of packet buffers.
        EXPECT_LT(probe->heapInUse(), heap + 32 * 1024 + (pool.threads - 1) * 128 * 1024);
        EXPECT_EQ(service.threads(), threads);
    }
}

}  // namespace
}  // namespace hidlaudio::test
