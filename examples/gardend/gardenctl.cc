// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// gardenctl: asks gardend, in the language of control_protocol.h.

#include <errno.h>
#include <getopt.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "zol/sock.h"

#include "control_request.h"

namespace {

enum ExitStatus { kOk = 0, kFailed = 1, kUsage = 2 };

constexpr char kHelp[] =
    "Usage: gardenctl [--socket PATH] COMMAND\n"
    "Talks to gardend.\n"
    "\n"
    "  status                 numbers of zones, open valves, litres and schedules; the clock;\n"
    "                         the next watering\n"
    "  zones                  a line for each zone: name, valve, moisture in percent, litres, and\n"
    "                         seconds until the valve closes by itself\n"
    "  moisture               a line for each zone: name, number of samples since midnight, and\n"
    "                         their lowest, mean and highest, in percent\n"
    "  open ZONE [MINUTES]    opens a valve, until it is closed or for some minutes\n"
    "  close ZONE             closes a valve\n"
    "  schedule add ZONE DAYS HH:MM MINUTES\n"
    "                         waters a zone every week: DAYS is daily, or a list such as\n"
    "                         mon,wed,fri; HH:MM is local time, from 00:01 on. Prints the\n"
    "                         number of the new schedule, which lives as long as gardend\n"
    "  schedule list          a line for each schedule: number, zone, days, time, minutes\n"
    "  schedule remove NUMBER\n"
    "  clock synchronized     says that the clock of the machine is right: for the script that\n"
    "                         a time service calls, each time when it has set the clock\n"
    "  quit                   ends gardend\n"
    "\n"
    "  --socket PATH  control socket of gardend (/run/gardend.sock)\n"
    "  --help         this text\n"
    "\n"
    "Exit status: 0 done, 1 gardend refused or is not there, 2 wrong usage.\n";

constexpr int kAnswerLimitSeconds = 10;

int complainAboutUsage() {
    (void)fputs("Try gardenctl --help.\n", stderr);
    return kUsage;
}

// Makes the request line of the command, without its end.
// @return false for words that are no words, and when there are too many
bool join(int count, char** words, char (&line)[gardend::kMaxControlLine]) {
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

// The end of the line takes the place of the NUL.
bool sendRequest(int fd, char* line) {
    const size_t length = strlen(line);
    line[length] = '\n';
    const ssize_t size = static_cast<ssize_t>(length) + 1;
    return send(fd, line, length + 1, MSG_NOSIGNAL) == size;
}

// Reads and prints the answer. @return the exit status
int showAnswer(FILE* answer) {
    char line[512];
    while (fgets(line, sizeof(line), answer) != nullptr) {
        if (strcmp(line, "OK\n") == 0) {
            return fflush(stdout) == 0 ? kOk : kFailed;
        }
        if (strncmp(line, "ERROR ", 6) == 0) {
            (void)fprintf(stderr, "gardenctl: %s", line + 6);
            return kFailed;
        }
        (void)fputs(line, stdout);
    }
    (void)fputs("gardenctl: gardend did not answer\n", stderr);
    return kFailed;
}

int ask(const char* path, char* line) {
    const int fd = xsock_open_unix_client(path, 0);
    if (fd < 0) {
        (void)fprintf(stderr, "gardenctl: no gardend at %s: %s\n", path, strerror(errno));
        return kFailed;
    }
    const timeval limit = {kAnswerLimitSeconds, 0};
    (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));

    FILE* const answer = fdopen(fd, "r");
    if (answer == nullptr) {
        (void)close(fd);
        return kFailed;
    }
    int status = kFailed;
    if (sendRequest(fd, line)) {
        status = showAnswer(answer);
    } else {
        perror("gardenctl: cannot ask gardend");
    }
    (void)fclose(answer);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    static const option kOptions[] = {
        {"socket", required_argument, nullptr, 's'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    const char* path = gardend::kDefaultControlPath;
    int which = 0;
    while ((which = getopt_long(argc, argv, "", kOptions, nullptr)) != -1) {
        if (which == 'h') {
            (void)fputs(kHelp, stdout);
            return kOk;
        }
        if (which != 's') {
            return complainAboutUsage();
        }
        path = optarg;
    }
    if (strlen(path) >= sizeof(sockaddr_un::sun_path)) {
        (void)fprintf(stderr, "gardenctl: %s: too long for a socket\n", path);
        return kUsage;
    }

    char line[gardend::kMaxControlLine];
    gardend::ControlRequest request;
    if (!join(argc - optind, argv + optind, line)) {
        return complainAboutUsage();
    }
    const char* const error = gardend::readRequest(line, request);
    if (error != nullptr) {
        (void)fprintf(stderr, "gardenctl: %s\n", error);
        return complainAboutUsage();
    }
    return ask(path, line);
}
