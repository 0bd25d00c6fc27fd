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

/** Adds what the item says about the TV to the report. Other items are ignored. */
void noteServiceState(const ServiceItem& item, const Place& place, Report& report);

/** Adds the states of the services, and the TV's files, from the JSON text of `audioctl dump`. */
void noteDump(const Json& dump, const Place& place, Report& report);

/** Adds the model from the content of tv.json. Returns false if the object is none. */
bool noteModel(const Json& model, const Place& place, Report& report);

}  // namespace hidlaudio::host
