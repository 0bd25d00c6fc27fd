// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/**
 * The file below the TV's root that declares its services, one `interface/instance` per line:
 *     com.tovi.dtv.hardware.audio@6.1::IMicControl/default    # a comment
 */
constexpr char kManifestFile[] = "/manifest";

}  // namespace hidlaudio::host
