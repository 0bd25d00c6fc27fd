// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace hidlaudio::client {

/** The name that a service is registered under. */
struct ServiceName {
    std::string interface;  // "package@version::IName"
    std::string instance;
};

/** "interface/instance". */
std::string toString(const ServiceName& name);

/** The names of the services that this program has commands for. */
std::vector<ServiceName> knownServices();

/**
 * The service that the user means: a full name, or a known service's short one in
 * whatever case ("external", "OutputExternal", "IOutputExternal"); each with "/instance"
 * or without, which is "default". Nothing where it is neither.
 */
std::optional<ServiceName> parseServiceName(const std::string& text);

/** What is wrong with a name that parseServiceName() refuses, and what is accepted; "" for a good one. */
std::string checkServiceName(const std::string& text);

/** The known services' short and full names, one service a line, for help texts. */
std::string describeKnownServices();

}  // namespace hidlaudio::client
