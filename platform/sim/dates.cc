// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "dates.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "evlp/sim.h"

#include "clock.h"

namespace sim {

namespace {

// The years of which each second can be told in the C library's time_t.
constexpr int kFirstYear = sizeof(time_t) == 4 ? 1902 : 0;
constexpr int kLastYear = sizeof(time_t) == 4 ? 2037 : 9999;

// Reads just that many digits. @return behind them; null when there are fewer
const char* readDigits(const char* text, int count, int* value) {
    *value = 0;
    for (; count != 0; --count, ++text) {
        if (*text < '0' || *text > '9') {
            return nullptr;
        }
        *value = *value * 10 + (*text - '0');
    }
    return text;
}

// Reads a separator and two digits behind it.
const char* readPart(const char* text, char separator, int* value) {
    return text != nullptr && *text == separator ? readDigits(text + 1, 2, value) : nullptr;
}

bool readFields(const char* text, tm* fields) {
    text = readDigits(text, 4, &fields->tm_year);
    text = readPart(text, '-', &fields->tm_mon);
    text = readPart(text, '-', &fields->tm_mday);
    text = readPart(text, ' ', &fields->tm_hour);
    text = readPart(text, ':', &fields->tm_min);
    if (text != nullptr && *text != '\0') {
        text = readPart(text, ':', &fields->tm_sec);
    }
    const bool isCounted = kFirstYear <= fields->tm_year && fields->tm_year <= kLastYear;
    fields->tm_year -= 1900;
    fields->tm_mon -= 1;
    return text != nullptr && *text == '\0' && isCounted;
}

bool isSame(const tm& a, const tm& b) {
    return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday &&
           a.tm_hour == b.tm_hour && a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

// Whether there is such a day and such a time of day, time zones apart.
bool isInCalendar(const tm& fields) {
    tm copy = fields;
    (void)timegm(&copy);  // puts in order what is beyond its range
    return isSame(copy, fields);
}

// @param summer  how to take the fields: as summer time, or as standard time
time_t localTime(const tm& fields, bool summer, bool* exists) {
    tm copy = fields;
    copy.tm_isdst = summer ? 1 : 0;
    const time_t result = mktime(&copy);
    tm back = {};
    *exists = localtime_r(&result, &back) != nullptr && isSame(back, fields);
    return result;
}

// An hour that comes twice is meant the first time; one that is left out, as though it were not.
time_t localTime(const tm& fields) {
    bool inSummer = false;
    bool inWinter = false;
    const time_t summer = localTime(fields, true, &inSummer);
    const time_t winter = localTime(fields, false, &inWinter);
    if (inSummer && (!inWinter || summer < winter)) {
        return summer;
    }
    return winter;
}

}  // namespace

void formatDate(int64_t date, char (&text)[kDateSize]) {
    const time_t seconds = static_cast<time_t>(date / kUsPerSecond);
    tm fields = {};
    if (seconds != date / kUsPerSecond || localtime_r(&seconds, &fields) == nullptr ||
        strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields) == 0) {
        text[0] = '\0';
    }
}

void setFirstDate() {
    const char* const text = getenv("EVLP_SIM_DATE");
    int64_t date = 0;
    if (text == nullptr || text[0] == '\0') {
        return;
    }
    if (evlp_sim_parseDate(text, &date) < 0 || evlp_sim_setDate(date) < 0) {
        // A test that runs at another time than it says is worse than none.
        fprintf(stderr, "EVLP_SIM_DATE is \"%s\", not a date like 2026-03-29 01:59:50\n", text);
        _exit(2);
    }
}

}  // namespace sim

using namespace sim;

int evlp_sim_parseDate(const char* text, int64_t* date) {
    tm fields = {};
    if (text == nullptr || !readFields(text, &fields) || !isInCalendar(fields)) {
        errno = EINVAL;
        return -1;
    }
    *date = int64_t{localTime(fields)} * kUsPerSecond;
    return 0;
}
