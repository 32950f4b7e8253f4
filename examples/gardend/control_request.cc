// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "control_request.h"

#include <limits.h>
#include <string.h>

#include "gardend_messages.h"
#include "words.h"

namespace gardend {

namespace {

constexpr int kMaxMinutes = 1440;

/** The words of a line. */
struct Words {
    static constexpr int kMost = 7;  // one more than any request has

    char text[kMaxControlLine];
    const char* words[kMost];
    int count = 0;  // of a longer line, kMost

    const char* operator[](int index) const { return words[index]; }
};

void split(const char* line, Words& words) {
    strcpy(words.text, line);
    char* rest = words.text;
    while (rest != nullptr && words.count < Words::kMost) {
        words.words[words.count] = rest;
        ++words.count;
        rest = strchr(rest, ' ');
        if (rest != nullptr) {
            *rest = '\0';
            ++rest;
        }
    }
}

/** How a kind of request looks: its first words, and how many words it may have. */
struct Form {
    ControlRequest::Kind kind;
    const char* first;
    const char* second;  // null: any word, or none
    int fewest;
    int most;
    unsigned complaint;  // about the number of words
};

constexpr Form kForms[] = {
    {ControlRequest::kStatus, "status", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kZones, "zones", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kMoisture, "moisture", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kOpen, "open", nullptr, 2, 3, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kClose, "close", nullptr, 2, 2, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kAddSchedule, "schedule", "add", 6, 6, GARDEND_BAD_SCHEDULE},
    {ControlRequest::kListSchedules, "schedule", "list", 2, 2, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kRemoveSchedule, "schedule", "remove", 3, 3, GARDEND_BAD_NUMBER},
    {ControlRequest::kClockSynchronized, "clock", "synchronized", 2, 2, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kSummary, "summary", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kDisplay, "display", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kLanguage, "language", nullptr, 2, 2, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kPlugIns, "plugins", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kJobs, "jobs", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kRun, "run", nullptr, 2, 2, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kReload, "reload", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
    {ControlRequest::kQuit, "quit", nullptr, 1, 1, GARDEND_UNKNOWN_REQUEST},
};

const Form* findForm(const Words& words) {
    for (const Form& form : kForms) {
        if (strcmp(words[0], form.first) == 0 &&
            (form.second == nullptr || (words.count > 1 && strcmp(words[1], form.second) == 0))) {
            return &form;
        }
    }
    return nullptr;
}

unsigned readMinutes(const char* word, ControlRequest& request) {
    return readNumber(word, 1, kMaxMinutes, request.runMinutes) ? 0 : GARDEND_BAD_MINUTES;
}

unsigned readSchedule(const Words& words, ControlRequest& request) {
    strcpy(request.zone, words[2]);
    if (!readDays(words[3], request.days)) {
        return GARDEND_BAD_DAYS;
    }
    // Midnight itself the scheduler may pass over, should its look at the new day come late.
    if (!readTimeOfDay(words[4], request.hour, request.minute) ||
        request.hour + request.minute == 0) {
        return GARDEND_BAD_TIME;
    }
    return readMinutes(words[5], request);
}

}  // namespace

unsigned readRequest(const char* line, ControlRequest& request) {
    Words words;
    split(line, words);
    const Form* const form = findForm(words);
    if (form == nullptr) {
        return GARDEND_UNKNOWN_REQUEST;
    }
    if (words.count < form->fewest || words.count > form->most) {
        return form->complaint;
    }

    request.kind = form->kind;
    switch (form->kind) {
        case ControlRequest::kOpen:
        case ControlRequest::kClose:
            strcpy(request.zone, words[1]);
            return words.count == 3 ? readMinutes(words[2], request) : 0;
        case ControlRequest::kAddSchedule:
            return readSchedule(words, request);
        case ControlRequest::kRemoveSchedule:
            return readNumber(words[2], 1, INT_MAX, request.number) ? 0 : GARDEND_BAD_NUMBER;
        case ControlRequest::kLanguage:
            strcpy(request.languages, words[1]);
            return 0;
        case ControlRequest::kRun:
            strcpy(request.job, words[1]);
            return 0;
        default:
            return 0;
    }
}

}  // namespace gardend
