// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "display.h"

#include <stdio.h>

#include "zol/str.h"

namespace gardend {

namespace {

/** Characters for which ASCII has something better than "_". */
struct Substitute {
    const char* character;
    const char* ascii;
};

constexpr Substitute kSubstitutes[] = {
    {"\u00a0", " "},  // no-break spaces, wide
    {"\u202f", " "},  // and narrow
    {"\u2019", "'"},
    {"\u2013", "-"},
};

void addOpen(const CGarden& garden, const CPhrases& phrases, CText& out) {
    const int count = garden.getOpenCount();
    if (count != 1) {
        phrases.add(out, count == 0 ? GARDEND_DISPLAY_CLOSED : GARDEND_DISPLAY_SEVERAL_OPEN,
                    {CShort("%d", count)});
        return;
    }
    for (const CZone& zone : garden.getZones()) {
        if (zone.isOpen()) {
            phrases.add(out, GARDEND_DISPLAY_ONE_OPEN, {zone.getName()});
        }
    }
}

void addNext(const CWateringPlan& plan, const CPhrases& phrases, CText& out) {
    const NextWatering next = plan.findNext();
    if (zol::CTime::synchronized == 0) {
        phrases.add(out, GARDEND_DISPLAY_CLOCK);
    } else if (next.schedule == nullptr) {
        phrases.add(out, GARDEND_DISPLAY_NOTHING_NEXT);
    } else {
        // The name comes last: it may be long.
        phrases.add(out, GARDEND_SUNDAY + static_cast<unsigned>(next.day));
        out.addFormat(" %02d:%02d ", next.schedule->hour, next.schedule->minute);
        out.add(next.schedule->zone->getName());
    }
}

}  // namespace

void writeDisplayLine(const CText& text, char (&line)[Display::kColumns + 1]) {
    zol::CStr plain = text.getStr();
    for (const Substitute& substitute : kSubstitutes) {
        plain.replace(substitute.character, substitute.ascii);
    }
    (void)xstr_replaceSpecialCharUTF8(plain.handle());
    (void)snprintf(line, sizeof(line), "%s", plain.get());
    for (char* c = line; *c != '\0'; ++c) {
        // Text that is no UTF-8 may have kept its bytes.
        *c = *c < ' ' || *c > '~' ? '_' : *c;
    }
}

void writeDisplay(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                  Display& display) {
    CText open;
    addOpen(garden, phrases, open);
    writeDisplayLine(open, display.lines[0]);
    CText next;
    addNext(plan, phrases, next);
    writeDisplayLine(next, display.lines[1]);
}

}  // namespace gardend
