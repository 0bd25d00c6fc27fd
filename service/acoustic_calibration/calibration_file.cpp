// SPDX-License-Identifier: Apache-2.0
#include "calibration_file.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>

#include "log_tag.h"
#include "platform/log.h"
#include "platform/retry_on_eintr.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using platform::logError;
using platform::retryOnEintr;

constexpr mode_t kPermissions = 0600;
constexpr uint32_t kMarker = 1;
constexpr uint32_t kEnd = 0;
constexpr int kMaxItems = 10;

template <typename Item>
bool put(int fd, const Item& item) {
    errno = 0;  // a short write does not set errno
    const ssize_t written = retryOnEintr([&] { return write(fd, &item, sizeof(item)); });
    return written == static_cast<ssize_t>(sizeof(item));
}

bool putChannels(int fd, const ClientData& data) {
    return std::all_of(data.begin(), data.end(),
                       [fd](const V3_0::calibratedData& entry) { return put(fd, toRecord(entry)); });
}

/** Kind of an item of the file, or Unreadable if it cannot be read. */
enum class Item { Channel, Marker, End, Unreadable };

/** Logs the name of a call that failed. Returns `success`. */
bool succeeded(bool success, const char* call) {
    if (!success) logError(kLogTag, "[readCalibratedData] %s failed, errno %d", call, errno);
    return success;
}

template <typename Value>
bool get(FILE* file, Value& value) {
    errno = 0;  // the end of the file does not set errno
    return succeeded(fread(&value, sizeof(value), 1, file) == 1, "fread");
}

bool skip(FILE* file, long bytes) {
    return succeeded(fseek(file, bytes, SEEK_CUR) == 0, "fseek");
}

Item readItem(FILE* file, CalibrationRecords& records) {
    uint8_t first = 0;
    if (!get(file, first)) return Item::Unreadable;
    if (first == kEnd) return Item::End;
    if (first == kMarker) return skip(file, sizeof(kMarker) - 1) ? Item::Marker : Item::Unreadable;
    aud_ac_data_Table record{};
    if (!skip(file, -1) || !get(file, record)) return Item::Unreadable;
    records.push_back(record);
    return Item::Channel;
}

}  // namespace

int32_t writeCalibratedData(const char* function, const ClientData& data) {
    const ::android::base::unique_fd fd(retryOnEintr(
        [] { return open(kCalibrationFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kPermissions); }));
    if (!fd.ok()) {
        logError(kLogTag, "[%s] open error", function);
        return -1;
    }
    if (!putChannels(fd.get(), data)) {
        logError(kLogTag, "[%s] write failed, errno %d", function, errno);
        if (remove(kCalibrationFile) != 0) logError(kLogTag, "[%s] remove failed, errno %d", function, errno);
        return -1;
    }
    put(fd.get(), kMarker);
    put(fd.get(), kEnd);
    retryOnEintr([&fd] { return fsync(fd.get()); });
    return 0;
}

int32_t readCalibratedData(CalibrationRecords& records) {
    FILE* const file = fopen(kCalibrationFile, "rbe");
    if (!succeeded(file != nullptr, "fopen")) return -1;
    bool delaysAreValid = false;
    Item item = Item::Channel;
    for (int i = 0; i < kMaxItems && item != Item::End && item != Item::Unreadable; ++i) {
        item = readItem(file, records);
        if (item == Item::Marker) delaysAreValid = true;
    }
    fclose(file);
    if (!delaysAreValid) {
        for (aud_ac_data_Table& record : records) record.delay = 0.0F;
    }
    return item == Item::Unreadable ? -1 : 0;
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
