// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The lines of the file:
//
//     gardend state 1
//     zone NAME NANOLITRES DAY SAMPLES SUM LOWEST HIGHEST
//     schedule ZONE DAYS HH:MM MINUTES        added by hand
//     without ZONE DAYS HH:MM MINUTES         withdrawn from those of the configuration
//     digest MD5                              of all lines above
#include "state_file.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <limits.h>
#include <memory>
#include <new>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/digest.h"
#include "zol/file.h"

#include "words.h"

namespace gardend {

namespace {

constexpr char kMagic[] = "gardend state";
constexpr char kFirstLine[] = "gardend state 1";
constexpr char kDigest[] = "digest ";
constexpr int kMaxSize = 65536;
constexpr int kMaxWords = 8;
constexpr int kMaxRunMinutes = 1440;
constexpr zol::CTime kDelay(1000000);
constexpr zol::CTime kDelayAfterFailure(60000000);
// Of what is read, so that a long time of adding to it does no harm.
constexpr int64_t kMaxNanolitres = INT64_MAX / 2;
constexpr int kMaxSamples = INT_MAX / 2;

// Splits a line at its blanks. @return the number of words; kMaxWords + 1 for more
int split(char* line, const char* (&words)[kMaxWords]) {
    int count = 0;
    for (char* rest = line; rest != nullptr;) {
        char* const word = strsep(&rest, " ");
        if (count == kMaxWords) {
            return kMaxWords + 1;
        }
        words[count] = word;
        ++count;
    }
    return count;
}

bool readLong(const char* word, int64_t high, int64_t& number) {
    char* end = nullptr;
    errno = 0;
    const long long read = strtoll(word, &end, 10);
    number = read;
    return *word >= '0' && *word <= '9' && *end == '\0' && errno == 0 && number <= high;
}

// ZONE DAYS HH:MM MINUTES
bool readWish(const char* const* words, ScheduleWish& wish) {
    wish.zone = words[0];
    return readDays(words[1], wish.days) && readTimeOfDay(words[2], wish.hour, wish.minute) &&
           wish.hour + wish.minute > 0 && readNumber(words[3], 1, kMaxRunMinutes, wish.runMinutes);
}

void addWish(const char* kind, const ScheduleWish& wish, CText& out) {
    char days[kDaysSize];
    writeDays(wish.days, days);
    out.add(kind).add(" ").add(wish.zone.get()).add(" ").add(days);
    out.addFormat(" %02d:%02d %d\n", wish.hour, wish.minute, wish.runMinutes);
}

// Cuts the last line off. @return the digest that it says; "" when it says none
const char* takeDigest(char* text) {
    const size_t length = strlen(text);
    constexpr size_t kLength = sizeof(kDigest) - 1 + 32 + 1;
    if (length < kLength || text[length - 1] != '\n') {
        return "";
    }
    char* const last = text + length - kLength;
    text[length - 1] = '\0';
    const bool isDigest = strncmp(last, kDigest, sizeof(kDigest) - 1) == 0;
    *last = '\0';
    return isDigest ? last + sizeof(kDigest) - 1 : "";
}

// Without it a rename may be forgotten when the power fails.
void syncFolderOf(const char* path) {
    const char* const slash = strrchr(path, '/');
    const zol::CStr folder =
        slash == nullptr ? "." : zol::CStr(path, static_cast<int>(slash - path) + 1);
    const int fd = open(folder.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        (void)fsync(fd);
        (void)close(fd);
    }
}

// @return 0 when the file has got that name, with so many bytes, on the disk; else the errno
int finish(const char* path, int size, const char* newPath) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    struct stat status = {};
    int error = 0;
    if (fd < 0 || fstat(fd, &status) != 0) {
        error = errno;
    } else if (!S_ISREG(status.st_mode) || status.st_size != size) {
        error = EIO;
    } else if (fsync(fd) != 0 || rename(path, newPath) != 0) {
        error = errno;
    }
    if (fd >= 0) {
        (void)close(fd);
    }
    return error;
}

}  // namespace

CStateFile::CStateFile(const char* path, evlp_thread_str* thread, CGarden& garden,
                       CWateringPlan& plan)
    : m_path(path), m_garden(garden), m_plan(plan) {
    (void)m_soon.open(thread);  // without it changes are written at once
}

bool CStateFile::read() {
    struct stat status = {};
    if (*m_path == '\0') {
        return true;
    }
    if (stat(m_path, &status) != 0) {
        return errno == ENOENT || refuse(strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return refuse("it is not a file");
    }
    const std::unique_ptr<char[]> text(new (std::nothrow) char[kMaxSize]);
    errno = ENOMEM;
    if (text == nullptr || zol::CFileUtil::readFile(m_path, text.get(), kMaxSize) != 0) {
        return refuse(strerror(errno));
    }
    if (strncmp(text.get(), kMagic, sizeof(kMagic) - 1) != 0) {
        return refuse("it is not a state of gardend");
    }
    const bool isWhole = strlen(text.get()) == static_cast<size_t>(status.st_size);
    const char* const said = takeDigest(text.get());
    zol::CStr copy(text.get());
    const zol::CStr digest = md5Encode(copy);
    if (digest.isEmpty() || copy != text.get()) {
        return refuse("no memory");
    }
    // All lines are checked before the first one counts.
    if (!isWhole || digest != said || !readLines(xstr_get_buffer(copy.handle(), 0), false)) {
        return putAside();
    }
    return readLines(text.get(), true);
}

bool CStateFile::refuse(const char* fault) const {
    syslog(LOG_ERR, "the state file %s cannot be read: %s", m_path, fault);
    (void)fprintf(stderr, "gardend: the state file %s cannot be read: %s\n", m_path, fault);
    return false;
}

bool CStateFile::putAside() const {
    CText aside;
    aside.add(m_path).add(".bad");
    errno = ENOMEM;
    if (!aside.isWhole() || rename(m_path, aside.get()) != 0) {
        return refuse(strerror(errno));
    }
    syslog(LOG_ERR, "%s is damaged: it is put aside as .bad", m_path);
    return true;
}

bool CStateFile::readLines(char* text, bool isApplied) {
    char* rest = text;
    const char* const first = strsep(&rest, "\n");
    bool isGood = strcmp(first, kFirstLine) == 0 && rest != nullptr;
    while (isGood && *rest != '\0') {
        const char* words[kMaxWords];
        const int count = split(strsep(&rest, "\n"), words);
        if (count == kMaxWords && strcmp(words[0], "zone") == 0) {
            isGood = readZone(words + 1, isApplied);
        } else if (count == 5 && strcmp(words[0], "schedule") == 0) {
            isGood = readSchedule(words + 1, isApplied);
        } else {
            isGood = count == 5 && strcmp(words[0], "without") == 0 &&
                     readWithdrawn(words + 1, isApplied);
        }
    }
    return isGood;
}

bool CStateFile::readZone(const char* const* words, bool isApplied) {
    int64_t nanolitres = 0;
    int64_t sum = 0;
    int day = 0;
    int count = 0;
    int lowest = 0;
    int highest = 0;
    if (!readLong(words[1], kMaxNanolitres, nanolitres) || !readNumber(words[2], 0, INT_MAX, day) ||
        !readNumber(words[3], 0, kMaxSamples, count) ||
        !readLong(words[4], int64_t{1000} * count, sum) || !readNumber(words[5], 0, 1000, lowest) ||
        !readNumber(words[6], 0, 1000, highest)) {
        return false;
    }
    CZone* const zone = m_garden.findZone(words[0]);
    if (isApplied && zone != nullptr) {
        zone->restore(nanolitres, CMoistureLog(day, count, sum, lowest, highest));
    }
    return true;
}

bool CStateFile::readSchedule(const char* const* words, bool isApplied) {
    ScheduleWish wish;
    const bool isGood = readWish(words, wish);
    if (!isGood || !isApplied) {
        return isGood;
    }
    CZone* const zone = m_garden.findZone(wish.zone.get());
    if (zone == nullptr) {
        syslog(LOG_NOTICE, "a schedule of %s is forgotten with its zone", wish.zone.get());
    } else if (m_plan.add({zone, wish.days, wish.hour, wish.minute, wish.runMinutes}) < 0) {
        syslog(LOG_ERR, "a schedule of %s is forgotten: there are too many", wish.zone.get());
    }
    return true;
}

bool CStateFile::readWithdrawn(const char* const* words, bool isApplied) {
    ScheduleWish wish;
    const bool isGood = readWish(words, wish);
    if (!isGood || !isApplied) {
        return isGood;
    }
    for (const Schedule& schedule : m_plan.getSchedules()) {
        if (schedule.isConfigured && isOf(schedule, wish)) {
            return m_plan.remove(schedule.number);
        }
    }
    return true;
}

void CStateFile::touch() {
    if (*m_path != '\0' && !wait(kDelay)) {
        write();
    }
}

// @return whether a time to write has been set, or was set before
bool CStateFile::wait(const zol::CTime& delay) {
    m_isWaiting = m_isWaiting || m_soon.add(delay) == 0;
    return m_isWaiting;
}

void CStateFile::onTime(int) {
    m_isWaiting = false;
    write();
}

void CStateFile::write() {
    if (*m_path == '\0') {
        return;
    }
    const int error = tryToWrite();
    if (error != 0) {
        if (m_isWritable) {
            syslog(LOG_ERR, "%s cannot be written: %s", m_path, strerror(error));
        }
        (void)wait(kDelayAfterFailure);  // or for the next change
    } else if (!m_isWritable) {
        syslog(LOG_NOTICE, "%s is written again", m_path);
    }
    m_isWritable = error == 0;
}

int CStateFile::tryToWrite() const {
    CText text;
    addLines(text);
    const zol::CStr digest = md5Encode(text.getStr());
    text.add(kDigest).add(digest.get()).add("\n");
    return text.isWhole() && !digest.isEmpty() ? replaceFile(text) : ENOMEM;
}

void CStateFile::addLines(CText& out) const {
    out.add(kFirstLine).add("\n");
    for (const CZone& zone : m_garden.getZones()) {
        const CMoistureLog& log = zone.getMoistureLog();
        out.add("zone ").add(zone.getName());
        out.addFormat(" %" PRId64 " %d %d %" PRId64 " %d %d\n", zone.getNanolitres(), log.getDay(),
                      log.getCount(), log.getSum(), log.getLowest(), log.getHighest());
    }
    for (const Schedule& schedule : m_plan.getSchedules()) {
        if (!schedule.isConfigured) {
            addWish("schedule", wishOf(schedule), out);
        }
    }
    for (const ScheduleWish& wish : m_plan.getWithdrawn()) {
        addWish("without", wish, out);
    }
}

// Whoever reads sees the old file or the new one, whatever happens. Nothing that stands in the way
// of the new one is written to. That writeFile() could not open its file shows only in what is
// there afterwards, and in errno.
int CStateFile::replaceFile(const CText& text) const {
    CText path;
    path.add(m_path).add(".new");
    if (!path.isWhole()) {
        return ENOMEM;
    }
    if (unlink(path.get()) != 0 && errno != ENOENT) {
        return errno;
    }
    errno = 0;
    const int closed = zol::CFileUtil::writeFile(path.get(), text.get(), 0);
    const int writeError = errno;
    const int error = closed == 0 ? finish(path.get(), text.getLength(), m_path) : EIO;
    if (error != 0) {
        (void)unlink(path.get());
        return (error == EIO || error == ENOENT) && writeError != 0 ? writeError : error;
    }
    syncFolderOf(m_path);
    return 0;
}

}  // namespace gardend
