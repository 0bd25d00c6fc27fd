// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "pattern.h"
#include "report.h"

namespace hidlaudio::host {

/** An item of the state that a service writes. */
struct ServiceItem {
    std::string service;  // "AcousticCalibration"
    std::string section;
    std::string name;
    std::string value;  // "true", "7"
};

/** Adds the fact or file that the item shows to the report. Ignores other items. */
void noteServiceState(const ServiceItem& item, const Place& place, Report& report);

/** Adds the states of the services, and the TV's files, from the JSON text of `audioctl dump`. */
void noteDump(const Json& dump, const Place& place, Report& report);

/** Adds the model from the content of tv.json. Returns false if the object has no model. */
bool noteModel(const Json& model, const Place& place, Report& report);

/** Returns the lowest `size` bytes of a number, the lowest one first, as the daemon stores it. */
std::string littleEndian(int32_t number, size_t size);

}  // namespace hidlaudio::host
