// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace android::hardware::transport {

/** What the TV's manifest says about a name. */
enum class Declaration {
    NoManifest,  // the TV has none: any name may be registered
    Declared,
    Undeclared,
};

/**
 * Looks a name up in the TV's manifest, which is read at each call. A line declares its version
 * and the older minor versions of the same major version. A manifest that cannot be read, or
 * that has a wrong line, is logged and declares nothing.
 */
Declaration declarationOf(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
