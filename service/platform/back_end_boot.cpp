// SPDX-License-Identifier: Apache-2.0
#include "back_end_boot.h"

#include <time.h>

#include "back_end_commands.h"
#include "log.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr int kQueries = 30;
constexpr timespec kInterval{0, 500000000};
constexpr uint8_t kHasBooted = 1;

}  // namespace

int32_t waitForBackEndBoot(const BackEndBootWait& wait) {
    if (openMiddleware(wait.opening) != 0) return kBootStateUnknown;
    bectrl_cust_spec_record record{};
    record.type = BECTRL_SPEC_BOOT_STATE;
    record.payloadLength = 1;
    for (int i = 0; i < kQueries; ++i) {
        if (const int32_t status = queryBackEnd(record); status != 0) {
            logError(wait.tag, "[%s] MTDRVCUST_dcustom_cust_spec_get failed!!(%d)", wait.function, status);
            return kBootStateUnknown;
        }
        if (record.payload[0] == kHasBooted) return kBooted;
        nanosleep(&kInterval, nullptr);
    }
    logError(wait.tag, "[%s] wait BeCtrl launch timeout.", wait.function);
    return kBootTimeout;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
