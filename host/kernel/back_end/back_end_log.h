// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/** The tag of what the back-end controller's driver logs. */
constexpr char kBackEndTag[] = "tovi_bectrl";

}  // namespace hidlaudio::host
