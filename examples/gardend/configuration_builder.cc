// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "configuration_builder.h"

#include <stdarg.h>
#include <string.h>

#include "zol/digest.h"

#include "words.h"

namespace gardend {

namespace {

constexpr int kMaxComplaints = 20;
constexpr int64_t kDay = 86400000000;  // microseconds
constexpr char kIndent[] = "    ";

const Term kNoTerm = {nullptr, 0, 0};

// Where the token of a location begins in its text; what is too long has lost that.
int positionOf(const xlyctx_location_s& where) {
    const auto position = static_cast<int32_t>(where.token_position);
    return position < 0 ? 0 : position;
}

bool isContinued(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

// What was in a file must not command a terminal. A byte stays a byte, and a tab is one column.
zol::CStr makePrintable(const char* text) {
    zol::CStr shown(text);
    char* const bytes = shown.isEmpty() ? nullptr : xstr_get_buffer(shown.handle(), 0);
    if (bytes == nullptr) {
        return "";
    }
    for (char* byte = bytes; *byte != '\0'; ++byte) {
        if (*byte == '\t') {
            *byte = ' ';
        } else if (static_cast<unsigned char>(*byte) < ' ' || *byte == '\x7f') {
            *byte = '?';
        }
    }
    const bool isText = isLine(bytes);
    for (char* byte = bytes; *byte != '\0' && !isText; ++byte) {
        *byte = (static_cast<unsigned char>(*byte) & 0x80U) != 0 ? '?' : *byte;
    }
    xstr_release_buffer(shown.handle(), -1);
    return shown;
}

bool isQuote(char byte) {
    return byte == '"' || byte == '\'';
}

// Adds a line, with a "*" for each character at its beginning, and for each one in quotes: it may
// be of a password.
void addWithoutSecrets(const char* line, int hiddenLength, CText& out) {
    char quote = '\0';
    for (int i = 0; line[i] != '\0'; ++i) {
        const char byte = line[i];
        if (i < hiddenLength || (quote != '\0' && byte != quote)) {
            out.add(isContinued(byte) ? "" : "*");
            continue;
        }
        out.add(&byte, 1);
        if (isQuote(byte)) {
            quote = byte == quote ? '\0' : byte;
        }
    }
}

// Where the front of a line is missing, a text may begin there. @return the length, up to `end`,
// after which that is over
int lengthOfTexts(const char* line, int end) {
    while (end > 0 && !isQuote(line[end - 1])) {
        --end;
    }
    return end;
}

// Names are words of the control protocol.
bool isZoneName(const char* name) {
    const size_t length = strlen(name);
    return length > 0 && length <= kMaxName && strchr(name, ' ') == nullptr && isLine(name);
}

bool isHa1(const char* text) {
    return strlen(text) == 32 && strspn(text, "0123456789abcdef") == 32;
}

}  // namespace

void CConfigurationBuilder::complain(const Location& where, const char* format, ...) {
    int& count = m_context.own[0];
    int& lastLine = m_context.own[1];
    if (count == kMaxComplaints || lastLine == where.first_line || !m_hasMemory) {
        m_context.error = 1;  // what was wrong without memory is not the file
        return;
    }
    ++count;
    lastLine = where.first_line;
    char text[200];
    va_list args;
    va_start(args, format);
    (void)vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    const zol::CStr message = makePrintable(text);
    xlyctx_error(&m_context, &where, "%s: up to", where.last_line, where.last_column, "- %s",
                 m_name, message.get());
    m_complaints.add(m_name).addFormat(":%d:%d: ", where.first_line, where.first_column);
    m_complaints.add(message.get()).add("\n");
    show(where);
    if (count == kMaxComplaints) {
        m_complaints.add(m_name).add(": there may be more\n");
    }
}

// The line as far as the location knows it, and what is meant in it.
void CConfigurationBuilder::show(const Location& where) {
    const zol::CStr line = makePrintable(where.token_text);
    const int begin = positionOf(where);
    if (line.isEmpty()) {
        return;
    }
    const bool isCut = where.first_column - 1 > begin;
    const bool isLost = static_cast<int32_t>(where.token_position) < 0;
    const int end = isLost ? line.getLength() : begin;  // certainly not within a text
    m_complaints.add(kIndent).add(isCut ? "..." : "");
    addWithoutSecrets(line.get(), isCut ? lengthOfTexts(line.get(), end) : 0, m_complaints);
    m_complaints.add("\n").add(kIndent).add(isCut ? "   " : "");
    for (int i = 0; i < line.getLength(); ++i) {
        if (!isContinued(line.get()[i])) {
            m_complaints.add(i < begin ? " " : i == begin ? "^" : "~");
        }
    }
    m_complaints.add(begin == line.getLength() ? "^\n" : "\n");  // at the end of the file
}

void CConfigurationBuilder::complainAboutToken(const Location& where, const char* expected) {
    const char* const token = where.token_text + positionOf(where);
    const char* const name = isQuote(*token) ? "a text in quotes" : token;
    complain(where, "%s is not expected here%s%s", *token == '\0' ? "the end of the file" : name,
             *expected == '\0' ? "" : ", but ", expected);
}

const char* CConfigurationBuilder::keep(const char* text, int length) {
    const zol::CStr copy(text, length);
    const bool isKept = copy.getLength() == length && m_kept.append(copy) > 0;
    noteMemory(isKept);
    return isKept ? copy.get() : "";
}

int CConfigurationBuilder::checkNumber(const Location& where, int number, int low, int high,
                                       const char* what) {
    if (number < low || number > high) {
        complain(where, "the %s must be from %d to %d", what, low, high);
        return low;
    }
    return number;
}

int CConfigurationBuilder::readTime(const Location& where, const char* text) {
    uint8_t hour = 0;
    uint8_t minute = 1;
    const zol::CStr padded = strchr(text, ':') == text + 1 ? zol::CStr("0").concat(text) : text;
    if (!readTimeOfDay(padded.get(), hour, minute)) {
        complain(where, "%s is not a time of the day, from 00:00 to 23:59", text);
    }
    return hour * 60 + minute;
}

int64_t CConfigurationBuilder::checkDuration(const Location& where, int number, int64_t unitUs) {
    const int high = static_cast<int>(kDay / unitUs);
    return checkNumber(where, number, 1, high, "number") * unitUs;
}

const char* CConfigurationBuilder::checkZone(const Location& where, const char* name) {
    for (const ZoneWish& zone : m_target.zones) {
        if (zone.name == name) {
            return name;
        }
    }
    complain(where, "there is no zone %s above", name);
    return "";
}

// --- settings ---

bool CConfigurationBuilder::isOnce(const Location& where, bool isFirst) {
    if (!isFirst) {
        complain(where, "this has been said already");
    }
    return isFirst;
}

void CConfigurationBuilder::listen(const Location& where, const char* address) {
    zol::CTab<ListenAddress>& all = m_target.settings.listen;
    ListenAddress read;
    if (!readListenAddress(address, read)) {
        complain(where, "%s is not an IPv4 address with a port", address);
        return;
    }
    for (const ListenAddress& other : all) {
        if (!isOnce(where, !(read == other))) {
            return;
        }
    }
    if (all.getCount() == kMaxListeners) {
        complain(where, "there are more than %d addresses", kMaxListeners);
        return;
    }
    noteMemory(all.append(read) > 0);
}

void CConfigurationBuilder::set(const Location& where, zol::CStr Settings::*setting,
                                const char* text) {
    zol::CStr& place = m_target.settings.*setting;
    if (*text == '\0') {
        complain(where, "this must not be empty");
    } else if (isOnce(where, place.isEmpty())) {
        place = text;
        noteMemory(place == text);
    }
}

void CConfigurationBuilder::set(const Location& where, zol::CTime Settings::*setting,
                                int64_t microseconds) {
    zol::CTime& place = m_target.settings.*setting;
    if (isOnce(where, place == zol::CTime::undefined)) {
        place = zol::CTime(microseconds);
    }
}

void CConfigurationBuilder::setControlPath(const Location& where, const char* path) {
    if (!isSocketPath(path)) {
        complain(where, "a socket cannot have this path");
        return;
    }
    set(where, &Settings::controlPath, path);
}

void CConfigurationBuilder::setJobUser(const Location& where, const char* user) {
    const char* const fault = findFaultOfUser(user);
    if (fault != nullptr) {
        complain(where, "%s: %s", user, fault);
        return;
    }
    set(where, &Settings::jobUser, user);
}

void CConfigurationBuilder::addJob(const Location& where, const char* name, const char* command) {
    zol::CTab<JobWish>& jobs = m_target.settings.jobs;
    const JobWish job = {name, command};
    if (!isJobName(name)) {
        complain(where, "a job's name has up to %d letters, digits, - and _", kMaxName);
    } else if (*command == '\0') {
        complain(where, "the job %s has no command", name);
    } else if (indexOfJob(jobs, job.name) >= 0) {
        complain(where, "there is a job %s already", name);
    } else if (jobs.getCount() == CJobs::kMost) {
        complain(where, "there are more than %d jobs", CJobs::kMost);
    } else {
        noteMemory(job.name == name && job.command == command && jobs.append(job) > 0);
    }
}

void CConfigurationBuilder::setDownloads(const Location& where, const char* key, int minutes) {
    if (*key == '\0') {
        complain(where, "the key must not be empty");
    } else if (isOnce(where, m_target.downloadKey.isEmpty())) {
        m_target.downloadKey = key;
        m_target.downloadMinutes = minutes;
        noteMemory(m_target.downloadKey == key);
    }
}

void CConfigurationBuilder::addUser(const Location& where, const char* name,
                                    const Location& wherePassword, const char* password) {
    if (*password == '\0') {
        complain(wherePassword, "the password must not be empty");
        return;
    }
    const zol::CStr texts[] = {name, kLoginRealm, password};
    if (texts[0] != name || texts[1] != kLoginRealm || texts[2] != password) {
        noteMemory(false);  // else it would be the digest of another password
        return;
    }
    appendUser(where, name, generateHa1(texts[0], texts[1], texts[2]));
}

void CConfigurationBuilder::addUserWithHa1(const Location& where, const char* name,
                                           const Location& whereHa1, const char* ha1) {
    if (!isHa1(ha1)) {
        complain(whereHa1, "this is not 32 hexadecimal digits, in lowercase");
        return;
    }
    appendUser(where, name, ha1);
}

// A colon ends the name where browsers send it; quotes would end it, too.
void CConfigurationBuilder::appendUser(const Location& where, const char* name,
                                       const zol::CStr& ha1) {
    const User user = {name, ha1};
    if (*name == '\0' || strpbrk(name, ":\"\\") != nullptr || !isLine(name)) {
        complain(where, "a user's name is a text without colon, quotes and backslash");
        return;
    }
    for (const User& other : m_target.users) {
        if (other.name == name) {
            complain(where, "there is a user %s already", name);
            return;
        }
    }
    noteMemory(user.name == name && !user.ha1.isEmpty() && m_target.users.append(user) > 0);
}

// --- the garden ---

void CConfigurationBuilder::addZone(const Location& where, const char* name,
                                    const Location& whereLine, int line, int flow) {
    if (!isZoneName(name)) {
        complain(where, "a zone's name has up to %d bytes, and no blank", kMaxName);
        return;
    }
    for (const ZoneWish& other : m_target.zones) {
        if (other.name == name) {
            complain(where, "there is a zone %s already", name);
            return;
        }
        if (other.line == line) {
            complain(whereLine, "line %d is that of %s", line, other.name.get());
            return;
        }
    }
    const ZoneWish zone = {name, line, flow};
    noteMemory(zone.name == name && m_target.zones.append(zone) > 0);
}

void CConfigurationBuilder::addSchedule(const Location& where, const char* zone, int days,
                                        int minuteOfDay, int runMinutes) {
    const ScheduleWish wish = {zone, static_cast<uint8_t>(days),
                               static_cast<uint8_t>(minuteOfDay / 60),
                               static_cast<uint8_t>(minuteOfDay % 60), runMinutes};
    if (minuteOfDay == 0) {
        complain(where, "nothing is watered at midnight itself: say 00:01");
    } else if (contains(m_target.schedules, wish)) {
        complain(where, "this has been said already");
    } else if (m_target.schedules.getCount() == CWateringPlan::kMaxSchedules) {
        complain(where, "there are more than %d schedules", CWateringPlan::kMaxSchedules);
    } else {
        noteMemory(wish.zone == zone && m_target.schedules.append(wish) > 0);
    }
}

// A rule that is no good is known all the same: who refers to it need not complain.
void CConfigurationBuilder::addRule(const Location& where, const char* name, const Term& term) {
    if (m_target.rules.find(name) != nullptr) {
        complain(where, "there is a rule %s already", name);
        clean(term);
        return;
    }
    const zol::CStr copy(name);
    noteMemory(copy == name && isMade(term));
    noteMemory(m_target.rules.add(copy, term));
}

void CConfigurationBuilder::guard(const Location& where, const char* zone, const Term& term) {
    if (m_target.rules.isGuarded(zone)) {
        complain(where, "%s has a condition already", zone);
        clean(term);
        return;
    }
    const zol::CStr copy(zone);
    noteMemory(copy == zone && isMade(term));
    noteMemory(m_target.rules.guard(copy, term));
}

// --- rules ---

Term CConfigurationBuilder::check(const Location& where, const Term& term) {
    if (term.depth <= kMaxDepth && term.leaves <= kMaxLeaves) {
        return term;
    }
    complain(where, "this asks for too much at once");
    clean(term);
    return kNoTerm;
}

Term CConfigurationBuilder::makePeriod(const Location& where, int from, int to) {
    if (from == to) {
        complain(where, "no time is between these");
        return kNoTerm;
    }
    return gardend::makePeriod(from, to);
}

Term CConfigurationBuilder::makeReference(const Location& where, const char* rule) {
    const Term* const found = m_target.rules.find(rule);
    if (found == nullptr) {
        complain(where, "there is no rule %s above", rule);
        return kNoTerm;
    }
    return check(where, gardend::makeReference(*found));
}

void CConfigurationBuilder::finish(const Location& where) {
    if (m_target.zones.isEmpty()) {
        complain(where, "there is no zone: nothing could be watered");
    }
}

}  // namespace gardend
