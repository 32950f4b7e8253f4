// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONFIGURATION_H
#define GARDEND_CONFIGURATION_H

#include <memory>
#include <stdio.h>

#include "zol/str.h"
#include "zol/tab.h"

#include "garden.h"
#include "rules.h"
#include "settings.h"
#include "text.h"
#include "users.h"
#include "watering_plan.h"

namespace gardend {

/** What a configuration file says. */
struct Configuration {
    Settings settings;
    zol::CTab<ZoneWish> zones;          // CGarden::kMaxZones at most
    zol::CTab<ScheduleWish> schedules;  // CWateringPlan::kMaxSchedules at most
    CRules rules;
    zol::CTab<User> users;
    zol::CStr downloadKey;
    int downloadMinutes = 0;
};

/**
 * Reads a configuration file.
 *
 * @param path        "": the garden that the program knows by itself
 * @param complaints  receives what is wrong, with its place, for people; the log gets it, too
 * @return            null when anything is wrong
 */
std::unique_ptr<Configuration> readConfiguration(const char* path, CText& complaints);

/** The same for a stream. @param name  by which complaints call it */
std::unique_ptr<Configuration> parseConfiguration(FILE* stream, const char* name,
                                                  CText& complaints);

}  // namespace gardend

#endif
