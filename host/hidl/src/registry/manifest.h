// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace android::hardware::transport {

/** Whether the TV's manifest declares a name. */
enum class Declaration {
    NoManifest,  // the TV has no manifest: any name may be registered
    Declared,
    Undeclared,
};

/**
 * Looks up `instance` of `interface` in the TV's manifest, which is read at each call. A line declares
 * its version and the older minor versions of the same major version. A manifest that cannot be read or
 * has a wrong line declares nothing; the error is logged.
 */
Declaration declarationOf(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
