// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/** Log tag of the back-end controller's driver. */
constexpr char kBackEndTag[] = "tovi_bectrl";

}  // namespace hidlaudio::host
