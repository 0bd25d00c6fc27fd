// SPDX-License-Identifier: Apache-2.0
#include "packets.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/host/hidl/send_raw.h"

namespace hidlaudio::fuzz {
namespace {

using namespace android::hardware::transport;  // NOLINT: names of the wire format

constexpr size_t kMaxReferences = 8;
constexpr uint32_t kRoomUnit = 40'000;
constexpr size_t kMaxFds = 4;

int sharedMemory(size_t size, int seals) {
    const int fd = memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    require(fd >= 0 && ftruncate(fd, static_cast<off_t>(size)) == 0 && fcntl(fd, F_ADD_SEALS, seals) == 0);
    return fd;
}

struct Descriptors {
    int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    int memory = sharedMemory(kBulkMemorySize, F_SEAL_SHRINK);
    int shrinking = sharedMemory(kBulkMemorySize, F_SEAL_GROW);
    int small = sharedMemory(4096, F_SEAL_SHRINK);
};

const Descriptors& descriptors() {
    static const Descriptors descriptors;
    return descriptors;
}

/** Description of a message at the beginning of its input. */
struct Layout {
    uint8_t type;
    uint8_t flags;
    uint8_t object;
    uint8_t references;
    uint8_t fds;
    uint8_t bulk;
    uint8_t changes;  // low three bits: number of changes; upper bits: the room that the message claims
    uint8_t padding;
    uint32_t code;
    uint16_t bodySize;
};

void append(std::vector<uint8_t>* bytes, const void* data, size_t size) {
    const auto* begin = static_cast<const uint8_t*>(data);
    bytes->insert(bytes->end(), begin, begin + size);
}

void appendBody(Input& input, const Layout& layout, const char* token, std::vector<uint8_t>* bytes) {
    if (layout.type == kCall && layout.padding == 0) {
        append(bytes, token, strlen(token) + 1);
        bytes->resize((bytes->size() + 3) & ~size_t{3});
    }
    const size_t size = std::min<size_t>(layout.bodySize, input.left());
    append(bytes, input.take(size), size);
}

}  // namespace

void send(int socket, const Packet& packet) {
    (void)test::sendRaw(socket, packet.bytes.data(), packet.bytes.size(), packet.fds);
}

SocketPair::SocketPair() {
    int ends[2];
    require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    near.reset(ends[0]);
    far.reset(ends[1]);
}

int descriptor(uint8_t kind, int far) {
    const int kinds[] = {descriptors().memory, descriptors().null, far, descriptors().shrinking,
                         descriptors().small};
    return kinds[kind % std::size(kinds)];
}

void fillMemory(size_t offset, const uint8_t* data, size_t size) {
    require(pwrite(descriptors().memory, data, size, static_cast<off_t>(offset % kBulkMemorySize)) >= 0);
}

std::bitset<128> openDescriptors() {
    std::bitset<128> open;
    pollfd all[128];
    for (size_t i = 0; i < std::size(all); ++i) all[i] = {static_cast<int>(i), 0, 0};
    require(poll(all, std::size(all), 0) >= 0);
    for (size_t i = 0; i < std::size(all); ++i) open[i] = all[i].revents != POLLNVAL;
    return open;
}

Packet takeMessage(Input& input, uint64_t object, const char* token, int far) {
    const auto layout = input.take<Layout>();
    Packet packet;
    MessageHeader header{};
    header.type = layout.type;
    header.flags = layout.flags;
    header.code = layout.code;
    header.target = layout.object == 0 ? object : layout.object;
    header.room = layout.changes / 8U * kRoomUnit;
    std::vector<ObjectReference> references(layout.references % kMaxReferences);
    for (ObjectReference& reference : references) {
        const auto number = input.take<uint16_t>();
        reference = {number == 0 ? object : number >> 2, number & 3U, 0};
    }
    for (size_t i = 0; i < layout.fds % kMaxFds; ++i)
        packet.fds.push_back(descriptor(input.take<uint8_t>(), far));
    if (layout.bulk != 0) {
        header.bulkOffset = input.take<uint32_t>();
        header.bulkSize = input.take<uint32_t>();
    }
    std::vector<uint8_t> body;
    appendBody(input, layout, token, &body);
    header.bodySize = static_cast<uint32_t>(body.size());
    header.objectCount = static_cast<uint16_t>(references.size());
    const size_t memories = (header.flags & kNewBulkMemory) != 0 && !packet.fds.empty() ? 1 : 0;
    header.fdCount = static_cast<uint16_t>(packet.fds.size() - memories);
    append(&packet.bytes, &header, sizeof(header));
    append(&body, references.data(), references.size() * sizeof(ObjectReference));
    if ((header.flags & kBodyInBulk) != 0) {
        fillMemory(header.bulkOffset + kBulkAlignment, body.data(), body.size());
    } else {
        append(&packet.bytes, body.data(), body.size());
    }
    for (size_t i = 0; i < layout.changes % 8U; ++i) {
        const auto place = input.take<uint16_t>();
        packet.bytes[place % packet.bytes.size()] = input.take<uint8_t>();
    }
    return packet;
}

}  // namespace hidlaudio::fuzz
