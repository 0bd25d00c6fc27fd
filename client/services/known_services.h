// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace hidlaudio::client {

/** The name under which a service is registered. */
struct ServiceName {
    std::string interface;  // "package@version::IName"
    std::string instance;
};

/** Returns "interface/instance". */
std::string toString(const ServiceName& name);

/** Returns the names of the TV's audio services, in their newest versions. */
std::vector<ServiceName> knownServices();

/**
 * Parses a full interface name, or a short name of a known service in any case ("external", "OutputExternal",
 * "IOutputExternal"). Either may be followed by "/instance" (default: "/default"). Returns `std::nullopt` if
 * it is neither, or if the instance is empty.
 */
std::optional<ServiceName> parseServiceName(const std::string& text);

/** Parses the names, without those that parseServiceName() rejects and without repetitions. */
std::vector<ServiceName> parseServiceNames(const std::vector<std::string>& texts);

/** Returns an error message if parseServiceName() rejects the name, or else an empty string. */
std::string checkServiceName(const std::string& text);

/** Returns the short and full names of the known services, one service per line, for help texts. */
std::string describeKnownServices();

}  // namespace hidlaudio::client
