// SPDX-License-Identifier: Apache-2.0
#include "channel.h"

#include <android-base/file.h>
#include <errno.h>
#include <stdint.h>
#include <sys/socket.h>

#include <string_view>
#include <utility>
#include <vector>

#include "host/program/json.h"

namespace hidlaudio::python {

using android::base::ReadFully;

namespace {

constexpr char kBytes[] = "$bytes";

struct Head {
    uint32_t text = 0;
    uint32_t attachment = 0;
};
static_assert(sizeof(Head) == 8);

bool sendAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t sent = send(fd, data.data(), data.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        data.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

/** Moves the binary values from the message to the attachment. */
void detach(Json& json, std::string& attachment) {
    if (json.is_binary()) {
        const std::vector<uint8_t>& bytes = json.get_binary();
        const size_t offset = attachment.size();
        attachment.append(bytes.begin(), bytes.end());
        json = {{kBytes, {offset, bytes.size()}}};
    } else if (json.is_structured()) {
        for (Json& member : json) detach(member, attachment);
    }
}

/** Puts the binary values back. Returns false if one is not within the attachment. */
bool attach(Json& json, const std::string& attachment) {
    const auto place = json.is_object() ? json.find(kBytes) : json.end();
    if (json.is_object() && place != json.end()) {
        const bool isPlace = place->is_array() && place->size() == 2 && (*place)[0].is_number_unsigned() &&
                             (*place)[1].is_number_unsigned();
        const size_t offset = isPlace ? (*place)[0].get<size_t>() : SIZE_MAX;
        const size_t size = isPlace ? (*place)[1].get<size_t>() : 0;
        if (offset > attachment.size() || size > attachment.size() - offset) return false;
        json = Json::binary({attachment.data() + offset, attachment.data() + offset + size});
        return true;
    }
    if (!json.is_structured()) return true;
    for (Json& member : json) {
        if (!attach(member, attachment)) return false;
    }
    return true;
}

}  // namespace

bool Channel::send(Json message) {
    std::string attachment;
    detach(message, attachment);
    const std::string text = message.dump(-1, ' ', false, Json::error_handler_t::replace);
    const Head head{static_cast<uint32_t>(text.size()), static_cast<uint32_t>(attachment.size())};
    std::string data(reinterpret_cast<const char*>(&head), sizeof(head));
    data += text;
    data += attachment;
    return sendAll(fd_.get(), data);
}

bool Channel::receive(Json& message) {
    Head head;
    if (!ReadFully(fd_.get(), &head, sizeof(head))) return false;
    std::string text(head.text, '\0');
    std::string attachment(head.attachment, '\0');
    if (!ReadFully(fd_.get(), text.data(), text.size())) return false;
    if (!ReadFully(fd_.get(), attachment.data(), attachment.size())) return false;
    message = host::parseJson(text);
    return message.is_object() && attach(message, attachment);
}

}  // namespace hidlaudio::python
