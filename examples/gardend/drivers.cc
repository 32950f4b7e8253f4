// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "drivers.h"

#include <string.h>

#include "program_folder.h"

namespace gardend {

namespace {

// Of the process: what plug-ins call are functions, not objects.
IValveDriver* valveDriver = nullptr;
ISensorDriver* sensorDriver = nullptr;

template <class Driver>
bool attachTo(Driver*& place, Driver& driver) {
    if (place == nullptr) {
        place = &driver;
    }
    return place == &driver;
}

template <class Driver>
void detachFrom(Driver*& place, const Driver& driver) {
    if (place == &driver) {
        place = nullptr;
    }
}

/** What drives something is the instance of a plug-in, where it is the one that is attached. */
template <class Driver>
bool isOf(zol::CPlugInInstance* instance, const Driver* attached) {
    return attached != nullptr && dynamic_cast<Driver*>(instance) == attached;
}

}  // namespace

bool attachValves(IValveDriver& driver) {
    return attachTo(valveDriver, driver);
}

bool attachSensors(ISensorDriver& driver) {
    return attachTo(sensorDriver, driver);
}

void detachValves(IValveDriver& driver) {
    detachFrom(valveDriver, driver);
}

void detachSensors(ISensorDriver& driver) {
    detachFrom(sensorDriver, driver);
}

CDrivers::CDrivers(const char* patterns) {
    m_plugIns.addPatterns(patterns);
}

IValveDriver* CDrivers::getValves() const {
    return valveDriver;
}

ISensorDriver* CDrivers::getSensors() const {
    return sensorDriver;
}

void CDrivers::list(CText& out) const {
    for (const zol::CPlugIn& plugIn : m_plugIns.getPlugIns()) {
        const char* const file = plugIn.getName().get();
        const char* const slash = strrchr(file, '/');
        const char* const name = slash == nullptr ? file : slash + 1;
        const bool hasValves = isOf(plugIn.getInstance(), valveDriver);
        const bool hasSensors = isOf(plugIn.getInstance(), sensorDriver);
        out.add(isLine(name) ? name : "?").add(" ");
        out.add(hasValves ? "valves" : "").add(hasValves && hasSensors ? "," : "");
        out.add(hasSensors ? "sensors" : "").add(hasValves || hasSensors ? "\n" : "-\n");
    }
}

zol::CStr findDrivers() {
    const zol::CStr folder = findFolder("/drivers", "/../lib/gardend");
    if (folder.isEmpty() || strchr(folder.get(), ':') != nullptr) {
        return "";
    }
    CText patterns;
    patterns.add(folder.get()).add("/*.so");
    return patterns.isWhole() ? patterns.get() : "";
}

}  // namespace gardend
