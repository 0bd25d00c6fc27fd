// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>

#include <functional>
#include <string>
#include <vector>

#include "probe.h"

namespace hidlaudio::test {

using android::base::unique_fd;
using android::hardware::interfacesEqual;

/** A process beside the test (probe_process.cpp), killed at the latest with this object. Main thread. */
class Helper {
  public:
    /** @param passed a descriptor that the process finds as number 3 */
    explicit Helper(std::vector<std::string> arguments, int passed = -1);
    ~Helper() { kill(); }
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

    pid_t pid() const { return mPid; }
    /** The next line of its output; empty at the end. */
    std::string readLine();
    void letGo();
    void kill();
    /** Waits for its end; its exit status, 128 + n if signal n ended it. */
    int wait();

    /** What the system holds for it. */
    size_t descriptors() const;
    size_t threads() const;
    /** How often its threads went to sleep or were put off, so far. */
    uint64_t switches() const;

  private:
    pid_t mPid = -1;
    unique_fd mInput;
    unique_fd mOutput;
};

struct ServiceOptions {
    size_t threads = 1;
    std::string instance = "default";
    size_t descriptors = 0;
    bool joins = true;
};

/** A process that serves a probe; registered when the constructor returns. */
class Service : public Helper {
  public:
    explicit Service(const ServiceOptions& options = {});

    /** A new proxy of it. */
    sp<IProbe> get() const { return IProbe::getService(mInstance); }

  private:
    const std::string mInstance;
};

/** Where a method of the probe waits; see the interface. */
class Gate {
  public:
    Gate();
    /** As an argument of a call; the far end stays this object's. */
    const native_handle_t* handle() const { return mHandle; }
    int farEnd() const { return mHandle->data[0]; }
    /** Waits until the method is there. */
    void awaitEntry();
    void open();
    ~Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

  private:
    unique_fd mNear;
    native_handle_t* mHandle;
};

/** A virtual TV of this test program's own, and an end for tests that hang. */
class HidlTest : public testing::Test {
  protected:
    HidlTest();
    ~HidlTest() override;
};

/** Asks until the answer is yes; false after far longer than it can take. */
bool eventually(const std::function<bool()>& condition);

/** What the service logged so far. */
std::vector<std::string> eventsOf(const sp<ParentProbe>& probe);
/** Waits until it has logged `event`. */
bool logged(const sp<ParentProbe>& probe, const std::string& event);

/** What went wrong with a call, with the status's name in it; empty where nothing did. Examines. */
template <typename T>
std::string errorOf(const Return<T>& result) {
    return result.isOk() ? "" : result.description();
}

}  // namespace hidlaudio::test
