// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// gardenctl: asks gardend, by the protocol of control_protocol.h.

#include <ctype.h>
#include <errno.h>
#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "zol/sock.h"

#include "control_request.h"
#include "languages.h"

namespace gardend {

namespace {

enum ExitStatus { kOk = 0, kFailed = 1, kUsage = 2 };

constexpr char kHelp[] =
    "Usage: gardenctl [OPTION]... COMMAND\n"
    "Talks to gardend.\n"
    "\n"
    "  status                 numbers of zones, open valves, litres and schedules; the clock;\n"
    "                         the next watering\n"
    "  zones                  a line for each zone: name, valve, moisture in percent, litres, and\n"
    "                         seconds until the valve closes by itself\n"
    "  moisture               a line for each zone: name, number of samples since midnight, and\n"
    "                         their lowest, mean and highest, in percent\n"
    "  summary                a line for people: open valves, litres, the next watering\n"
    "  display                the two lines that the display of the device shows\n"
    "  open ZONE [MINUTES]    opens a valve, until it is closed or for some minutes\n"
    "  close ZONE             closes a valve\n"
    "  schedule add ZONE DAYS HH:MM MINUTES\n"
    "                         waters a zone every week: DAYS is daily, or a list such as\n"
    "                         mon,wed,fri; HH:MM is local time, from 00:01 on. Prints the\n"
    "                         number of the new schedule\n"
    "  schedule list          a line for each schedule: number, zone, days, time, minutes\n"
    "  schedule remove NUMBER\n"
    "  clock synchronized     says that the clock of the machine is right: for the script that\n"
    "                         a time service calls, each time when it has set the clock\n"
    "  plugins                a line for each plug-in: file, and valves or sensors that it drives\n"
    "  jobs                   a line for each job: name, state, process, number of starts and of\n"
    "                         failures, and how it has ended last\n"
    "  run NAME               starts a job now\n"
    "  reload                 has gardend read its configuration again; says what is wrong with\n"
    "                         it, or what waits for the next start\n"
    "  quit                   ends gardend\n"
    "\n"
    "  --socket PATH    control socket of gardend (/run/gardend.sock)\n"
    "  --lang LANGUAGE  of summary, display and complaints: en, fr or de, or the name of a locale\n"
    "                   (that of LC_ALL, LC_MESSAGES or LANG, the first one that is set)\n"
    "  --texts PATTERN  where the message catalogs are, as for gardend: for the complaints that\n"
    "                   gardenctl makes itself\n"
    "  --help           this text\n"
    "\n"
    "Exit status: 0 done, 1 gardend refused or is not there, 2 wrong usage.\n";

constexpr int kAnswerLimitSeconds = 10;
constexpr int kNoStatus = -1;

constexpr int kLanguageSize = 36;

/** What the command line says. */
struct Arguments {
    const char* path = kDefaultControlPath;
    zol::CStr catalogs = findCatalogs();  // a pattern
    char language[kLanguageSize] = "";    // "de-AT"; empty: none in particular
};

void complain(const CPhrases& phrases, unsigned id, std::initializer_list<Value> values = {}) {
    CText complaint;
    phrases.add(complaint, id, values);
    (void)fprintf(stderr, "gardenctl: %s\n", complaint.get());
}

int complainAboutUsage(const CPhrases& phrases) {
    CText advice;
    phrases.add(advice, GARDEND_TRY_HELP);
    (void)fprintf(stderr, "%s\n", advice.get());
    return kUsage;
}

// Reads the name of a locale, "de_AT.UTF-8", or of a language, "de-AT". Nobody speaks "C".
// @return false, with `language` as it was, for what is neither
bool readLanguage(const char* name, char (&language)[kLanguageSize]) {
    char read[kLanguageSize] = "";
    const size_t length = strcspn(name, ".@");
    if (length == 0 || length >= sizeof(read)) {
        return false;
    }
    for (size_t i = 0; i < length; ++i) {
        read[i] = name[i] == '_' ? '-' : name[i];
        if (isalnum(static_cast<unsigned char>(read[i])) == 0 && read[i] != '-') {
            return false;
        }
    }
    strcpy(language, read);
    return true;
}

void readEnvironment(Arguments& arguments) {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const locale = getenv(variable);
        if (locale != nullptr && *locale != '\0') {
            (void)readLanguage(locale, arguments.language);
            return;
        }
    }
}

// Makes the request line of the command, without its end.
// @return false for words that are no words, and when there are too many
bool join(int count, char** words, char (&line)[kMaxControlLine]) {
    size_t size = 0;
    for (int i = 0; i < count; ++i) {
        const size_t length = strlen(words[i]);
        if (length == 0 || strpbrk(words[i], " \n") != nullptr || size + length >= sizeof(line)) {
            return false;
        }
        memcpy(line + size, words[i], length);
        size += length;
        line[size] = ' ';
        ++size;
    }
    line[size == 0 ? 0 : size - 1] = '\0';
    return true;
}

// Says in which language to answer, and asks. @return false, with errno set, when that fails
bool sendRequest(int fd, const char* language, const char* line) {
    CText lines;
    if (*language != '\0') {
        lines.add("language ").add(language).add("\n");
    }
    lines.add(line).add("\n");
    if (!lines.isWhole()) {
        errno = ENOMEM;
        return false;
    }
    const auto size = static_cast<size_t>(lines.getLength());
    return send(fd, lines.get(), size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

// Reads an answer, line by line, up to its status, and prints it where it is wanted.
// @return kOk or kFailed, as the status says; kNoStatus when that does not come
int readAnswer(FILE* answer, bool isWanted) {
    char* line = nullptr;
    size_t capacity = 0;
    int status = kNoStatus;
    while (status == kNoStatus && getline(&line, &capacity, answer) > 0) {
        if (strcmp(line, "OK\n") == 0) {
            status = kOk;
        } else if (strncmp(line, "ERROR ", 6) == 0) {
            status = kFailed;
            if (isWanted) {
                (void)fprintf(stderr, "gardenctl: %s", line + 6);
            }
        } else if (isWanted) {
            (void)fputs(line, stdout);
        }
    }
    free(line);
    return status;
}

int ask(const Arguments& arguments, const char* line, const CPhrases& phrases) {
    const int fd = xsock_open_unix_client(arguments.path, 0);
    if (fd < 0) {
        complain(phrases, GARDEND_NO_GARDEND, {arguments.path, strerror(errno)});
        return kFailed;
    }
    const timeval limit = {kAnswerLimitSeconds, 0};
    (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));

    FILE* const answer = fdopen(fd, "r");
    if (answer == nullptr) {
        complain(phrases, GARDEND_CANNOT_ASK, {strerror(errno)});
        (void)close(fd);
        return kFailed;
    }
    int status = kFailed;
    if (sendRequest(fd, arguments.language, line)) {
        if (*arguments.language != '\0') {
            (void)readAnswer(answer, false);  // whether gardend speaks it does not matter
        }
        status = readAnswer(answer, true);
        if (status == kNoStatus) {
            complain(phrases, GARDEND_NO_ANSWER);
            status = kFailed;
        }
    } else {
        complain(phrases, GARDEND_CANNOT_ASK, {strerror(errno)});
    }
    (void)fclose(answer);
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? status : kFailed;
}

// Checks the command as gardend would do it, and hands it on.
int command(const Arguments& arguments, int count, char** words, const CPhrases& phrases) {
    if (strlen(arguments.path) >= sizeof(sockaddr_un::sun_path)) {
        complain(phrases, GARDEND_PATH_TOO_LONG, {arguments.path});
        return kUsage;
    }
    char line[kMaxControlLine];
    if (!join(count, words, line)) {
        complain(phrases, GARDEND_UNKNOWN_REQUEST);
        return complainAboutUsage(phrases);
    }
    ControlRequest request;
    const unsigned error = readRequest(line, request);
    if (error != 0) {
        complain(phrases, error);
        return complainAboutUsage(phrases);
    }
    return ask(arguments, line, phrases);
}

}  // namespace

}  // namespace gardend

int main(int argc, char** argv) {
    static const option kOptions[] = {
        {"socket", required_argument, nullptr, 's'},
        {"lang", required_argument, nullptr, 'l'},
        {"texts", required_argument, nullptr, 't'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    gardend::Arguments arguments;
    gardend::readEnvironment(arguments);
    bool good = true;
    const char* badLanguage = nullptr;
    int which = 0;
    while (good && (which = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
        switch (which) {
            case 's':
                arguments.path = optarg;
                break;
            case 'l':
                badLanguage = gardend::readLanguage(optarg, arguments.language) ? nullptr : optarg;
                break;
            case 't':
                arguments.catalogs = optarg;
                break;
            case 'h':
                (void)fputs(gardend::kHelp, stdout);
                return gardend::kOk;
            default:
                good = false;
        }
    }
    const gardend::CLanguages languages(arguments.catalogs.get());
    const gardend::CPhrases phrases = languages.choose(arguments.language);
    if (badLanguage != nullptr) {
        gardend::complain(phrases, GARDEND_BAD_LANGUAGE, {badLanguage});
        good = false;
    }
    return good ? gardend::command(arguments, argc - optind, argv + optind, phrases)
                : gardend::complainAboutUsage(phrases);
}
