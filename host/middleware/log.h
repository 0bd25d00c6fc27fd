// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/** The tag of what the middleware itself logs. */
constexpr char kLogTag[] = "middleware";

}  // namespace hidlaudio::host
