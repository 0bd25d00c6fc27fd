// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/** Log tag of the middleware's own messages. */
constexpr char kLogTag[] = "middleware";

}  // namespace hidlaudio::host
