// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace hidlaudio::host {

/** Whether every service of the TV at tvRoot() has been registered since `boot`. */
bool servicesRegistered(std::filesystem::file_time_type boot);

}  // namespace hidlaudio::host
