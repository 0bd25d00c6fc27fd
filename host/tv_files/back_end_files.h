// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::host {

/** The kinds of parameters that the back-end controller takes. */
enum class UploadKind { Device, Hrtf };

constexpr UploadKind kUploadKinds[] = {UploadKind::Device, UploadKind::Hrtf};

constexpr size_t indexOf(UploadKind kind) {
    return static_cast<size_t>(kind);
}

constexpr const char* nameOf(UploadKind kind) {
    return kind == UploadKind::Device ? "device" : "hrtf";
}

/** The files of the controller below the root of the virtual TV; a TV without the folder has no controller.
 */
constexpr char kBackEndFolder[] = "/bectrl";
constexpr char kBehaviourFile[] = "/bectrl/behaviour";
constexpr char kBootStateFile[] = "/soc/bectrl/boot_state";
constexpr char kCustomSpecLog[] = "/soc/bectrl/custom_spec.log";
constexpr char kTransferStateFolder[] = "/proc/driver/tovi_bectrl/audio";

/** How a transfer stands, in two raw bytes: the state (0 idle, 1 in progress), the result. */
inline std::string transferStateFile(UploadKind kind) {
    return std::string(kTransferStateFolder) + "/" + nameOf(kind) + "_parameter_complete";
}

/** The last upload that came to its end. */
inline std::string receivedFile(UploadKind kind) {
    return std::string(kBackEndFolder) + "/" + nameOf(kind) + ".bin";
}

/** What has come of an upload in progress; locked by the process that it comes from. */
inline std::string incomingFile(UploadKind kind) {
    return std::string(kBackEndFolder) + "/." + nameOf(kind) + ".part";
}

/** The content of a transfer state file where nothing was transferred. */
inline std::string idleTransferState() {
    return std::string(2, '\0');
}

}  // namespace hidlaudio::host
