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
#include "zol/str.h"

#include "control_protocol.h"

namespace {

enum ExitStatus { kOk = 0, kFailed = 1, kUsage = 2 };

constexpr char kHelp[] =
    "Usage: gardenctl [--socket PATH] COMMAND\n"
    "Talks to gardend.\n"
    "\n"
    "  status      number of zones, number of open valves, litres delivered\n"
    "  zones       a line for each zone: name, valve, moisture in percent, litres\n"
    "  open ZONE   opens a valve\n"
    "  close ZONE  closes a valve\n"
    "  quit        ends gardend\n"
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

// Makes the request line of the command. @return false when that is not a command
bool makeRequest(int count, char** words, zol::CStr& request) {
    const bool takesZone =
        count > 0 && (strcmp(words[0], "open") == 0 || strcmp(words[0], "close") == 0);
    const bool standsAlone =
        count > 0 && (strcmp(words[0], "status") == 0 || strcmp(words[0], "zones") == 0 ||
                      strcmp(words[0], "quit") == 0);
    if (takesZone && count == 2 && strchr(words[1], '\n') == nullptr) {
        request.set(words[0]).concat(" ").concat(words[1]).concat("\n");
    } else if (standsAlone && count == 1) {
        request.set(words[0]).concat("\n");
    }
    return !request.isEmpty() && request.getLength() <= gardend::kMaxControlLine;
}

bool sendRequest(int fd, const zol::CStr& request) {
    const ssize_t size = request.getLength();
    return send(fd, request.get(), static_cast<size_t>(size), MSG_NOSIGNAL) == size;
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

int ask(const char* path, const zol::CStr& request) {
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
    if (sendRequest(fd, request)) {
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

    zol::CStr request;
    if (!makeRequest(argc - optind, argv + optind, request)) {
        return complainAboutUsage();
    }
    return ask(path, request);
}
