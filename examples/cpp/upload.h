// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "connection.h"

/** An upload of HRTF parameters. Main thread only. */
class Upload {
  public:
    /** Allocates the buffer. `failed()` if that is not possible. */
    Upload(const Connection& connection, const android::sp<Events>& events, std::vector<uint8_t> data);

    /**
     * Appends the next piece, or starts the upload when all pieces are appended. After that an event
     * reports the result. Call it while `isAppending()`.
     */
    void step();

    /** Ends the upload. If it has been started, the event follows nevertheless. */
    void cancel();

    bool isAppending() const { return state_ == State::Appending; }
    /** Whether no event will follow: a call failed, or the upload was cancelled before its start. */
    bool failed() const { return state_ == State::Failed; }
    int percent() const;

  private:
    /** Waiting: for the result, or for the notice that the service has died. */
    enum class State { Appending, Waiting, Failed };

    void start();
    void proceed(const android::hardware::Return<int32_t>& result, State next);
    void discard();

    const Connection& connection_;
    const android::sp<Events> events_;
    const std::vector<uint8_t> data_;
    int32_t handle_ = 0;
    size_t piece_ = 0;  // largest number of bytes per call
    size_t appended_ = 0;
    State state_ = State::Appending;
};
