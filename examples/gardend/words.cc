// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "words.h"

#include <stdlib.h>
#include <string.h>

namespace gardend {

namespace {

constexpr int kDays = 7;
constexpr char kDayNames[kDays][4] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// @return 0 Sunday to 6 Saturday; -1 for another word
int readDay(const char* word, size_t length) {
    for (int day = 0; day < kDays; ++day) {
        if (length == strlen(kDayNames[day]) && strncmp(word, kDayNames[day], length) == 0) {
            return day;
        }
    }
    return -1;
}

}  // namespace

bool readNumber(const char* word, int low, int high, int& number) {
    char* end = nullptr;
    if (!isDigit(*word)) {
        return false;
    }
    const long long read = strtoll(word, &end, 10);  // too large a number becomes the largest one
    if (*end != '\0' || read < low || read > high) {
        return false;
    }
    number = static_cast<int>(read);
    return true;
}

bool readTimeOfDay(const char* word, uint8_t& hour, uint8_t& minute) {
    if (strlen(word) != 5 || word[2] != ':') {
        return false;
    }
    const char hourDigits[] = {word[0], word[1], '\0'};
    int hours = 0;
    int minutes = 0;
    if (!isDigit(word[1]) || !isDigit(word[4]) || !readNumber(hourDigits, 0, 23, hours) ||
        !readNumber(word + 3, 0, 59, minutes)) {
        return false;
    }
    hour = static_cast<uint8_t>(hours);
    minute = static_cast<uint8_t>(minutes);
    return true;
}

bool readDays(const char* word, uint8_t& days) {
    if (strcmp(word, "daily") == 0) {
        days = kDaily;
        return true;
    }
    unsigned read = 0;
    for (const char* rest = word;; ++rest) {
        const size_t length = strcspn(rest, ",");
        const int day = readDay(rest, length);
        if (day < 0) {
            return false;
        }
        read |= 1U << day;
        rest += length;
        if (*rest == '\0') {
            days = static_cast<uint8_t>(read);
            return true;
        }
    }
}

void writeDays(uint8_t days, char (&word)[kDaysSize]) {
    word[0] = '\0';
    if (days == kDaily) {
        strcpy(word, "daily");
        return;
    }
    for (int i = 1; i <= kDays; ++i) {
        const int day = i % kDays;
        if ((days >> day & 1) != 0) {
            strcat(word, word[0] == '\0' ? "" : ",");
            strcat(word, kDayNames[day]);
        }
    }
}

const char* nameOfDay(int day) {
    return kDayNames[day];
}

}  // namespace gardend
