// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "settings.h"

#include <arpa/inet.h>
#include <pwd.h>
#include <string.h>
#include <sys/un.h>
#include <unistd.h>

#include "control_protocol.h"
#include "words.h"

namespace gardend {

namespace {

void complete(zol::CStr& text, const zol::CStr& other) {
    if (text.isEmpty()) {
        text = other;
    }
}

void complete(zol::CTime& time, const zol::CTime& other) {
    if (time == zol::CTime::undefined) {
        time = other;
    }
}

bool isSame(const zol::CTab<JobWish>& jobs, const zol::CTab<JobWish>& others) {
    if (jobs.getCount() != others.getCount()) {
        return false;
    }
    for (int i = 0; i < jobs.getCount(); ++i) {
        if (jobs[i].name != others[i].name || jobs[i].command != others[i].command) {
            return false;
        }
    }
    return true;
}

}  // namespace

CShort describe(const ListenAddress& address) {
    const uint32_t ip = address.address;
    return CShort("%u.%u.%u.%u:%u", ip >> 24, ip >> 16 & 255U, ip >> 8 & 255U, ip & 255U,
                  static_cast<unsigned>(address.port));
}

bool Settings::complete(const Settings& others) {
    if (listen.isEmpty()) {
        listen = others.listen;
    }
    gardend::complete(controlPath, others.controlPath);
    gardend::complete(catalogs, others.catalogs);
    gardend::complete(drivers, others.drivers);
    gardend::complete(hook, others.hook);
    gardend::complete(jobUser, others.jobUser);
    gardend::complete(tick, others.tick);
    gardend::complete(samplePeriod, others.samplePeriod);
    gardend::complete(timeLimit, others.timeLimit);
    gardend::complete(stateFile, others.stateFile);
    gardend::complete(logFolder, others.logFolder);
    waitForClock = waitForClock || others.waitForClock;
    for (const JobWish& job : others.jobs) {
        if (indexOfJob(jobs, job.name) < 0 && jobs.append(job) < 0) {
            return false;
        }
    }
    return true;
}

Settings defaultSettings() {
    Settings settings;
    (void)settings.listen.append({0x7f000001, 8080});  // without memory nothing listens
    settings.controlPath = kDefaultControlPath;
    settings.tick = zol::CTime(1000000);
    settings.samplePeriod = zol::CTime(60000000);
    settings.timeLimit = zol::CTime(30000000);
    return settings;
}

const char* findFixedDifference(const Settings& one, const Settings& other, int nth) {
    const struct {
        const char* name;
        bool isSame;
    } kFixed[] = {
        {"the control socket", one.controlPath == other.controlPath},
        {"the place of the texts", one.catalogs == other.catalogs},
        {"the drivers", one.drivers == other.drivers},
        {"the hook", one.hook == other.hook},
        {"the jobs", isSame(one.jobs, other.jobs)},
        {"the user of the jobs", one.jobUser == other.jobUser},
        {"the tick", one.tick == other.tick},
        {"the time between samples", one.samplePeriod == other.samplePeriod},
        {"the time limit", one.timeLimit == other.timeLimit},
        {"whether to wait for the clock", one.waitForClock == other.waitForClock},
        {"the state file", one.stateFile == other.stateFile},
    };
    for (const auto& item : kFixed) {
        if (!item.isSame && nth-- == 0) {
            return item.name;
        }
    }
    return nullptr;
}

bool readListenAddress(const char* text, ListenAddress& address) {
    const char* const colon = strchr(text, ':');
    if (colon == nullptr) {
        return false;
    }
    in_addr ip = {};
    int port = 0;
    const zol::CStr host(text, static_cast<int>(colon - text));
    if (inet_pton(AF_INET, host.get(), &ip) != 1 || !readNumber(colon + 1, 0, 65535, port)) {
        return false;
    }
    address = {ntohl(ip.s_addr), static_cast<uint16_t>(port)};
    return true;
}

bool isSocketPath(const char* path) {
    return *path != '\0' && strlen(path) < sizeof(sockaddr_un::sun_path);
}

bool isJobName(const char* name) {
    const size_t length = strspn(name,
                                 "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                 "0123456789_-");
    return length > 0 && length <= kMaxName && name[length] == '\0';
}

// A longer name would be cut, and be that of somebody else.
const char* findFaultOfUser(const char* name) {
    const passwd* const entry = getpwnam(name);
    if (entry == nullptr || strlen(name) >= sizeof(xexec_s::user)) {
        return "no such user";
    }
    if (geteuid() != 0 && entry->pw_uid != geteuid()) {
        return "only root runs jobs as somebody else";
    }
    return nullptr;
}

int indexOfJob(const zol::CTab<JobWish>& jobs, const zol::CStr& name) {
    for (int i = 0; i < jobs.getCount(); ++i) {
        if (jobs[i].name == name) {
            return i;
        }
    }
    return -1;
}

}  // namespace gardend
