// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "options.h"

#include <getopt.h>
#include <stdio.h>
#include <string.h>

#include "words.h"

namespace gardend {

namespace {

constexpr char kHelp[] =
    "Usage: gardend [OPTION]...\n"
    "Waters a garden, with the valves and sensors that plug-ins drive.\n"
    "\n"
    "  --config FILE       describes the garden, and all that follows; options win over it\n"
    "  --check             only say what is wrong with the file: exit status 0 or 1\n"
    "  --listen ADDR:PORT  IPv4 address and TCP port of the status page; port 0: any free one\n"
    "                      (127.0.0.1:8080). May be said again, for further ones\n"
    "  --socket PATH       control socket, for gardenctl (/run/gardend.sock)\n"
    "  --texts PATTERN     where the message catalogs are: a path with %s for the language, and\n"
    "                      wildcards (texts/%s/gardend.cat beside the program, or\n"
    "                      ../share/gardend/%s/gardend.cat)\n"
    "  --drivers PATTERNS  the plug-ins that move valves and read sensors: paths with\n"
    "                      wildcards, and \":\" between them (drivers/*.so beside the program, or\n"
    "                      ../lib/gardend/*.so)\n"
    "  --hook PROGRAM      run when a valve has opened or closed: PROGRAM roses open\n"
    "  --job NAME=COMMAND  a command for the shell, run at the start, again when it fails, and by\n"
    "                      \"gardenctl run NAME\"; up to 16 of them\n"
    "  --job-user USER     runs jobs and the hook as this user; for root\n"
    "  --tick MS           milliseconds between two looks at the garden (1000)\n"
    "  --sample SECONDS    seconds between two samples of the moisture (60)\n"
    "  --timeout MS        milliseconds that a client has for one request (30000)\n"
    "  --wait-for-clock    take the clock for wrong until \"gardenctl clock synchronized\":\n"
    "                      schedules wait for that\n"
    "  --log-stderr        show the log on the standard error, too\n"
    "  --help              this text\n"
    "\n"
    "When it is ready it prints one line: \"gardend ready: URL SOCKET\".\n"
    "It ends with SIGTERM, SIGINT or \"gardenctl quit\".\n";

constexpr int kUsageError = 2;
constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000000;

// Reads a number of units, each so many microseconds long, up to a day.
bool readDuration(const char* word, int64_t unitUs, zol::CTime& time) {
    int units = 0;
    if (!readNumber(word, 1, static_cast<int>(86400000000 / unitUs), units)) {
        return false;
    }
    time = zol::CTime(units * unitUs);
    return true;
}

bool readListen(const char* text, Settings& settings, const char*& fault) {
    if (settings.listen.getCount() == kMaxListeners) {
        fault = "one address too many";
        return false;
    }
    ListenAddress address;
    return readListenAddress(text, address) && settings.listen.append(address) > 0;
}

bool readPath(const char* text, zol::CStr& path) {
    path = text;
    return isSocketPath(text);
}

bool readJob(const char* text, Settings& settings, const char*& fault) {
    const char* const sign = strchr(text, '=');
    const zol::CStr name(text, sign == nullptr ? 0 : static_cast<int>(sign - text));
    if (!isJobName(name.get()) || sign[1] == '\0') {
        return false;
    }
    if (settings.jobs.getCount() == CJobs::kMost) {
        fault = "one job too many";
        return false;
    }
    if (indexOfJob(settings.jobs, name) >= 0) {
        fault = "there is a job of that name already";
        return false;
    }
    return settings.jobs.append({name, sign + 1}) > 0;
}

bool readUser(const char* name, zol::CStr& user, const char*& fault) {
    user = name;
    const char* const found = findFaultOfUser(name);
    fault = found == nullptr ? fault : found;
    return found == nullptr;
}

}  // namespace

int readOptions(int argc, char** argv, Options& options) {
    enum {
        kConfig = 1,
        kCheck,
        kListen,
        kSocket,
        kTexts,
        kDrivers,
        kHook,
        kJob,
        kJobUser,
        kTick,
        kSample,
        kTimeout,
        kWaitForClock,
        kLogStderr,
        kShowHelp
    };
    static const option kOptions[] = {
        {"config", required_argument, nullptr, kConfig},
        {"check", no_argument, nullptr, kCheck},
        {"listen", required_argument, nullptr, kListen},
        {"socket", required_argument, nullptr, kSocket},
        {"texts", required_argument, nullptr, kTexts},
        {"drivers", required_argument, nullptr, kDrivers},
        {"hook", required_argument, nullptr, kHook},
        {"job", required_argument, nullptr, kJob},
        {"job-user", required_argument, nullptr, kJobUser},
        {"tick", required_argument, nullptr, kTick},
        {"sample", required_argument, nullptr, kSample},
        {"timeout", required_argument, nullptr, kTimeout},
        {"wait-for-clock", no_argument, nullptr, kWaitForClock},
        {"log-stderr", no_argument, nullptr, kLogStderr},
        {"help", no_argument, nullptr, kShowHelp},
        {nullptr, 0, nullptr, 0},
    };
    Settings& settings = options.settings;
    int index = 0;
    int which = 0;
    while ((which = getopt_long(argc, argv, "", kOptions, &index)) != -1) {
        bool good = true;
        const char* fault = "not valid";
        switch (which) {
            case kConfig:
                options.configuration = optarg;
                good = *optarg != '\0';
                break;
            case kCheck:
                options.checkOnly = true;
                break;
            case kListen:
                good = readListen(optarg, settings, fault);
                break;
            case kSocket:
                good = readPath(optarg, settings.controlPath);
                break;
            case kTexts:
                settings.catalogs = optarg;
                good = *optarg != '\0';
                break;
            case kDrivers:
                settings.drivers = optarg;
                good = *optarg != '\0';
                break;
            case kHook:
                settings.hook = optarg;
                good = *optarg != '\0';
                break;
            case kJob:
                good = readJob(optarg, settings, fault);
                break;
            case kJobUser:
                good = readUser(optarg, settings.jobUser, fault);
                break;
            case kTick:
                good = readDuration(optarg, kMillisecond, settings.tick);
                break;
            case kSample:
                good = readDuration(optarg, kSecond, settings.samplePeriod);
                break;
            case kTimeout:
                good = readDuration(optarg, kMillisecond, settings.timeLimit);
                break;
            case kWaitForClock:
                settings.waitForClock = true;
                break;
            case kLogStderr:
                options.logToTerminal = true;
                break;
            case kShowHelp:
                (void)fputs(kHelp, stdout);
                return 0;
            default:
                (void)fputs("Try gardend --help.\n", stderr);
                return kUsageError;
        }
        if (!good) {
            (void)fprintf(stderr, "gardend: --%s: %s: %s\n", kOptions[index].name, fault, optarg);
            return kUsageError;
        }
    }
    if (optind < argc) {
        (void)fprintf(stderr, "gardend: not an option: %s\n", argv[optind]);
        return kUsageError;
    }
    return -1;
}

}  // namespace gardend
