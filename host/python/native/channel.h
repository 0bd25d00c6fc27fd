// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <nlohmann/json.hpp>
#include <string>

namespace hidlaudio::python {

using Json = nlohmann::ordered_json;

/**
 * One end of a stream socket that carries JSON messages between one thread of this program and one of Python.
 * A message is
 *
 *     u32 text size | u32 attachment size | text | attachment
 *
 * in the byte order of the machine. A binary value is {"$bytes": [offset, size]} in the text; its bytes are
 * in the attachment. For one thread at a time.
 */
class Channel {
  public:
    explicit Channel(int fd) : fd_(fd) {}

    /** Sends a message. Returns false if the other end is closed. */
    bool send(Json message);

    /** Waits for a message. Returns false if the other end is closed or has sent something else. */
    bool receive(Json& message);

  private:
    android::base::unique_fd fd_;
};

}  // namespace hidlaudio::python
