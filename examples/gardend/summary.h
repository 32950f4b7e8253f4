// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_SUMMARY_H
#define GARDEND_SUMMARY_H

#include "garden.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/** Adds, without an end of line, how many valves are open, how much water has flowed, and what
 *  is watered next. For the status page, where it must be escaped, and for gardenctl. */
void addSummary(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                CText& out);

}  // namespace gardend

#endif
