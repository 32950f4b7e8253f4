// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "summary.h"

namespace gardend {

namespace {

void addNext(const CWateringPlan& plan, const CPhrases& phrases, CText& out) {
    const NextWatering next = plan.findNext();
    if (zol::CTime::synchronized == 0) {
        phrases.add(out, GARDEND_CLOCK_NOT_SET);
    } else if (next.schedule == nullptr) {
        phrases.add(out, GARDEND_NOTHING_SCHEDULED);
    } else {
        CText day;
        phrases.add(day, GARDEND_SUNDAY + static_cast<unsigned>(next.day));
        phrases.add(out, GARDEND_NEXT,
                    {next.schedule->zone->getName(), day,
                     CShort("%02d:%02d", next.schedule->hour, next.schedule->minute)});
    }
}

}  // namespace

void addSummary(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                CText& out) {
    phrases.add(out, GARDEND_VALVES_OPEN,
                {CShort("%d", garden.getOpenCount()), CShort("%d", garden.getZoneCount())});
    out.add(" · ");
    phrases.add(out, GARDEND_LITRES_DELIVERED, {phrases.decimal(garden.getMillilitres(), 3)});
    out.add(" · ");
    addNext(plan, phrases, out);
}

}  // namespace gardend
