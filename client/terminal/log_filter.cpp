// SPDX-License-Identifier: Apache-2.0
#include "log_filter.h"

#include <android/log.h>

#include "report.h"

namespace hidlaudio::client {

void showOnlyErrorsOfLog() {
    // Older versions of liblog pass the text as a separate argument, newer ones as a member of the record.
    __android_log_set_logger([](const auto* record, auto... text) {
        if (record->priority < ANDROID_LOG_ERROR) return;
        if constexpr (sizeof...(text) == 0) {
            note(record->message);
        } else {
            note(text...);
        }
    });
}

}  // namespace hidlaudio::client
