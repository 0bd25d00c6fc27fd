// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "host/tv_files/back_end_files.h"
#include "private_tv.h"

namespace hidlaudio::test {

/** A virtual TV that is ready, with a back-end controller that has booted. */
class BackEndTv : public PrivateTv {
  public:
    BackEndTv() : PrivateTv({"soc/config", "soc/faults", "bectrl", "power", "data/vendor/tovi/hidlaudio"}) {
        makeFile(*this / "data/vendor/tmp/dtv_svc_is_ready");
        setModelFlag('\1');
        makeFile(*this / "soc/bectrl/boot_state", "1\n");
        setState(host::UploadKind::Device, std::string(2, '\0'));
        setState(host::UploadKind::Hrtf, std::string(2, '\0'));
    }

    void setModelFlag(char flag) const {
        makeFile(*this / "soc/eeprom.bin", std::string(0x1001A, '\0') + flag);
    }

    /** Makes a middleware function return a status: "-7" at each call, "-7 1" at the next call only. */
    void fail(const std::string& function, const std::string& status) const {
        makeFile(*this / ("soc/faults/" + function), status + "\n");
    }

    /** Sets the behavior of the driver for later calls. */
    void behave(const std::string& lines) const { makeFile(*this / "bectrl/behaviour", lines); }

    std::string stateFile(host::UploadKind kind) const { return path() + host::transferStateFile(kind); }

    void setState(host::UploadKind kind, const std::string& bytes) const { makeFile(stateFile(kind), bytes); }

    /** Returns the last complete upload. */
    std::string received(host::UploadKind kind) const { return contentOf(path() + host::receivedFile(kind)); }

    std::string commands() const { return contentOf(*this / "soc/bectrl/custom_spec.log"); }
};

}  // namespace hidlaudio::test
