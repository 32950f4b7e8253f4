// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_WORDS_H
#define GARDEND_WORDS_H

#include <stdint.h>

namespace gardend {

// Words that people type, on a command line or in a request. Each function answers false, and
// changes nothing, when the word is not a good one.

/** Reads decimal digits and nothing else. */
bool readNumber(const char* word, int low, int high, int& number);

/** Reads a time of the day: "06:30". */
bool readTimeOfDay(const char* word, uint8_t& hour, uint8_t& minute);

constexpr uint8_t kDaily = 127;  // all days

/** Reads "daily" or a list such as "mon,wed,fri" into ZOL_SUNDAY to ZOL_SATURDAY, or-ed. */
bool readDays(const char* word, uint8_t& days);

/** Room for all days, the NUL included. */
constexpr int kDaysSize = 28;

/** Writes what readDays() reads, from Monday to Sunday. */
void writeDays(uint8_t days, char (&word)[kDaysSize]);

/** @return "sun" for 0 to "sat" for 6 */
const char* nameOfDay(int day);

}  // namespace gardend

#endif
