// SPDX-License-Identifier: Apache-2.0
#include <sanitizer/asan_interface.h>

#include "host/hidl/src/connection/channel.h"
#include "packets.h"
#include "private_tv.h"

namespace hidlaudio::fuzz {
namespace {

using namespace android::hardware::transport;  // NOLINT: names of the wire format
using android::hardware::Parcel;

constexpr size_t kMaxPackets = 8;
constexpr size_t kMaxReads = 32;

/** Poisons the rest of the buffer behind the body, so that a read beyond the body is reported. */
class BodyAlone {
  public:
    explicit BodyAlone(const IncomingMessage& message)
        : begin_(message.body + message.bodySize), end_(message.buffer.data() + message.buffer.capacity()) {
        ASAN_POISON_MEMORY_REGION(begin_, end_ - begin_);
    }
    ~BodyAlone() { ASAN_UNPOISON_MEMORY_REGION(begin_, end_ - begin_); }
    BodyAlone(const BodyAlone&) = delete;
    BodyAlone& operator=(const BodyAlone&) = delete;

  private:
    const uint8_t* begin_;
    const uint8_t* end_;
};

void touch(const void* data, size_t size) {
    for (size_t i = 0; i < size; ++i) (void)static_cast<const volatile uint8_t*>(data)[i];
}

/** Returns the parent to ask for: none, or data at an aligned offset. */
size_t parentOf(uint8_t parent) {
    return parent % 4 == 0 ? kNoParent : parent / 4U * 8U;
}

/** Reads one value of the kind that the input chooses. Returns false if the parcel has no such value next. */
bool read(const Parcel& parcel, Input& input) {
    uint64_t number = 0;
    size_t handle = 0;
    const void* data = nullptr;
    const native_handle_t* native = nullptr;
    android::sp<android::hardware::IBinder> binder;
    const auto kind = input.take<uint8_t>();
    const size_t size = input.take<uint16_t>();
    const auto parent = input.take<uint8_t>();
    switch (kind % 7) {
        case 0:
            return parcel.readUint32(reinterpret_cast<uint32_t*>(&number)) == android::OK;
        case 1:
            return parcel.readUint64(&number) == android::OK;
        case 2:
            return parcel.readCString() != nullptr;
        case 3:
            if (parcel.readBuffer(size, &handle, &data) != android::OK) return false;
            break;
        case 4:
            if (parcel.readEmbeddedBuffer(size, &handle, parentOf(parent), kind / 7U, &data, size % 2 != 0) !=
                android::OK)
                return false;
            break;
        case 5:
            return parcel.readNullableNativeHandleNoDup(&native) == android::OK;
        default:
            return parcel.readNullableStrongBinder(&binder) == android::OK;
    }
    touch(data, size);
    return true;
}

}  // namespace
}  // namespace hidlaudio::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    hidlaudio::fuzz::silenceLog();
    return 0;
}

/**
 * Checks received messages in a channel and reads them through a parcel.
 *
 * Input: kind of the channel, number of packets, the packets, then the kinds of values to read from each
 * accepted message.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace hidlaudio::fuzz;  // NOLINT: names of this file
    Input input(data, size);
    static const SocketPair other;
    descriptor(0, -1);
    const auto open = openDescriptors();
    const auto kind = input.take<uint8_t>();
    {
        SocketPair sockets;
        const size_t packets = input.take<uint8_t>() % (kMaxPackets + 1);
        for (size_t i = 0; i < packets; ++i)
            send(sockets.near.get(), takeMessage(input, 1, "name", other.far.get()));
        Channel channel(std::move(sockets.far), kind % 2 == 0 ? Channel::Kind::Call : Channel::Kind::Control);
        Parcel parcel;
        while (channel.receive(&parcel.incoming(), false) == Channel::Received::Message) {
            const BodyAlone alone(parcel.incoming());
            parcel.startReading();
            for (size_t i = 0; i < kMaxReads && read(parcel, input); ++i) {
            }
        }
    }
    require(openDescriptors() == open);
    return 0;
}
