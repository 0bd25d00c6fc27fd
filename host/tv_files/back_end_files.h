// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::host {

/** The kinds of parameters that can be uploaded to the back-end controller. */
enum class UploadKind { Device, Hrtf };

constexpr UploadKind kUploadKinds[] = {UploadKind::Device, UploadKind::Hrtf};

constexpr size_t indexOf(UploadKind kind) {
    return static_cast<size_t>(kind);
}

constexpr const char* nameOf(UploadKind kind) {
    return kind == UploadKind::Device ? "device" : "hrtf";
}

/** The controller's device, as the daemon opens it. */
constexpr char kBackEndDevice[] = "/dev/tovi_bectrl";

/** The controller's files below the root of the virtual TV. A TV without kBackEndFolder has no controller. */
constexpr char kBackEndFolder[] = "/bectrl";
constexpr char kBehaviourFile[] = "/bectrl/behaviour";
constexpr char kBootStateFile[] = "/soc/bectrl/boot_state";
constexpr char kCustomSpecLog[] = "/soc/bectrl/custom_spec.log";
constexpr char kTransferStateFolder[] = "/proc/driver/tovi_bectrl/audio";

/** State of a transfer in two bytes: the state (0 idle, 1 in progress) and the result. */
inline std::string transferStateFile(UploadKind kind) {
    return std::string(kTransferStateFolder) + "/" + nameOf(kind) + "_parameter_complete";
}

/** The last complete upload. */
inline std::string receivedFile(UploadKind kind) {
    return std::string(kBackEndFolder) + "/" + nameOf(kind) + ".bin";
}

/** The received part of a running upload; locked by the process that uploads. */
inline std::string incomingFile(UploadKind kind) {
    return std::string(kBackEndFolder) + "/." + nameOf(kind) + ".part";
}

/** The content of a transfer state file before the first transfer. */
inline std::string idleTransferState() {
    return std::string(2, '\0');
}

}  // namespace hidlaudio::host
