// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "options.h"

#include <arpa/inet.h>
#include <getopt.h>
#include <pwd.h>
#include <stdio.h>
#include <string.h>
#include <sys/un.h>
#include <unistd.h>

#include "words.h"

namespace gardend {

namespace {

constexpr char kHelp[] =
    "Usage: gardend [OPTION]...\n"
    "Waters a garden, with the valves and sensors that plug-ins drive.\n"
    "\n"
    "  --listen ADDR:PORT  IPv4 address and TCP port of the status page; port 0: any free one\n"
    "                      (127.0.0.1:8080)\n"
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
constexpr size_t kMaxJobName = 31;
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

bool readListen(const char* text, Options& options) {
    const char* const colon = strchr(text, ':');
    if (colon == nullptr) {
        return false;
    }
    in_addr address = {};
    int port = 0;
    const zol::CStr host(text, static_cast<int>(colon - text));
    if (inet_pton(AF_INET, host.get(), &address) != 1 || !readNumber(colon + 1, 0, 65535, port)) {
        return false;
    }
    options.address = ntohl(address.s_addr);
    options.port = static_cast<uint16_t>(port);
    return true;
}

// The system's record of a socket path is short.
bool readPath(const char* text, zol::CStr& path) {
    path = text;
    return *text != '\0' && strlen(text) < sizeof(sockaddr_un::sun_path);
}

// Names are words of the control protocol.
bool readJob(const char* text, Options& options, const char*& fault) {
    const size_t length = strspn(text,
                                 "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                 "0123456789_-");
    if (length == 0 || length > kMaxJobName || text[length] != '=' || text[length + 1] == '\0') {
        return false;
    }
    if (options.jobCount == CJobs::kMost) {
        fault = "one job too many";
        return false;
    }
    const zol::CStr name(text, static_cast<int>(length));
    for (int i = 0; i < options.jobCount; ++i) {
        if (options.jobs[i].name == name) {
            fault = "there is a job of that name already";
            return false;
        }
    }
    options.jobs[options.jobCount] = {name, text + length + 1};
    ++options.jobCount;
    return true;
}

// A longer name would be cut, and be that of somebody else.
bool readUser(const char* name, const char*& user, const char*& fault) {
    user = name;
    const passwd* const entry = getpwnam(name);
    if (entry == nullptr || strlen(name) >= sizeof(xexec_s::user)) {
        fault = "no such user";
        return false;
    }
    if (geteuid() != 0 && entry->pw_uid != geteuid()) {
        fault = "only root runs jobs as somebody else";
        return false;
    }
    return true;
}

}  // namespace

int readOptions(int argc, char** argv, Options& options) {
    enum {
        kListen = 1,
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
    int index = 0;
    int which = 0;
    while ((which = getopt_long(argc, argv, "", kOptions, &index)) != -1) {
        bool good = true;
        const char* fault = "not valid";
        switch (which) {
            case kListen:
                good = readListen(optarg, options);
                break;
            case kSocket:
                good = readPath(optarg, options.controlPath);
                break;
            case kTexts:
                options.catalogs = optarg;
                good = *optarg != '\0';
                break;
            case kDrivers:
                options.drivers = optarg;
                good = *optarg != '\0';
                break;
            case kHook:
                options.hook = optarg;
                good = *optarg != '\0';
                break;
            case kJob:
                good = readJob(optarg, options, fault);
                break;
            case kJobUser:
                good = readUser(optarg, options.jobUser, fault);
                break;
            case kTick:
                good = readDuration(optarg, kMillisecond, options.tick);
                break;
            case kSample:
                good = readDuration(optarg, kSecond, options.samplePeriod);
                break;
            case kTimeout:
                good = readDuration(optarg, kMillisecond, options.timeLimit);
                break;
            case kWaitForClock:
                options.waitForClock = true;
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
