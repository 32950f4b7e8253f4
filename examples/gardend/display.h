// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DISPLAY_H
#define GARDEND_DISPLAY_H

#include "garden.h"
#include "languages.h"
#include "watering_plan.h"

namespace gardend {

/** What a display of two lines shows that knows nothing but ASCII. */
struct Display {
    static constexpr int kLineCount = 2;
    static constexpr int kColumns = 20;

    char lines[kLineCount][kColumns + 1] = {};
};

/** Shows what is watered, and below it what comes next: "roses open", "Mon 06:30 lawn". What is too
 *  long for a line is cut off; without memory a line may be empty. */
void writeDisplay(const CGarden& garden, const CWateringPlan& plan, const CPhrases& phrases,
                  Display& display);

/** Makes a line of any text: letters lose their accents. */
void writeDisplayLine(const CText& text, char (&line)[Display::kColumns + 1]);

}  // namespace gardend

#endif
