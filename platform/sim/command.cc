// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// evlp-sim: starts a program in virtual time, and tells it how time passes.

#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "evlp/sim.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kMisused = 2;

// A program that has just been started opens its socket within this time.
constexpr int kConnectTries = 500;
constexpr long kNsBetweenTries = 10000000;

const char kHelp[] =
    "usage: evlp-sim run --control PATH [--date DATE] [--] PROGRAM ARGUMENT...\n"
    "       evlp-sim --control PATH COMMAND\n"
    "\n"
    "The first starts a program that uses libevlp in a time of its own, which passes only when\n"
    "the second says so. DATE is what the calendar reads at the start, \"2026-11-16 06:00:00\"\n"
    "for instance, local time. PATH is a socket that the program opens.\n"
    "\n"
    "COMMAND is one of:\n"
    "  advance SECONDS   lets time pass; SECONDS may have a fraction\n"
    "  to DATE           lets time pass until the calendar reads DATE\n"
    "  date              prints what the calendar reads\n"
    "  armed             prints what the program waits for, a line each\n"
    "It ends when that is done and everything that fell due has been called. A program that is\n"
    "not there yet is waited for, some seconds long.\n"
    "\n"
    "The exit status is 0; 1 when it could not be done; 2 for what this text does not know.\n";

int complain(const char* what, const char* why) {
    fprintf(stderr, "evlp-sim: %s: %s\n", what, why);
    return kFailed;
}

int misused() {
    fputs(kHelp, stderr);
    return kMisused;
}

struct Options {
    const char* control = nullptr;
    const char* date = nullptr;
    char** rest = nullptr;
};

// @return false for what is no option
bool readOptions(char** arguments, Options* options) {
    for (; *arguments != nullptr && (*arguments)[0] == '-'; arguments += 2) {
        if (strcmp(*arguments, "--") == 0) {
            ++arguments;
            break;
        }
        if (arguments[1] == nullptr) {
            return false;
        }
        if (strcmp(*arguments, "--control") == 0) {
            options->control = arguments[1];
        } else if (strcmp(*arguments, "--date") == 0) {
            options->date = arguments[1];
        } else {
            return false;
        }
    }
    options->rest = arguments;
    return true;
}

// --- run ---

// The library that this program is linked with.
bool findLibrary(char (&path)[4096]) {
    Dl_info info = {};
    // By name, for the address of a function may be one in this program.
    void* const function = dlsym(RTLD_DEFAULT, "evlp_sim_now");
    char* resolved = nullptr;
    if (function != nullptr && dladdr(function, &info) != 0) {
        resolved = realpath(info.dli_fname, nullptr);
    }
    const bool found = resolved != nullptr && strlen(resolved) < sizeof path;
    if (found) {
        memcpy(path, resolved, strlen(resolved) + 1);
    }
    free(resolved);
    return found;
}

bool preload(const char* library) {
    const char* const others = getenv("LD_PRELOAD");
    if (others == nullptr || others[0] == '\0') {
        return setenv("LD_PRELOAD", library, 1) == 0;
    }
    char* list = nullptr;
    if (asprintf(&list, "%s:%s", others, library) < 0) {
        return false;
    }
    const bool done = setenv("LD_PRELOAD", list, 1) == 0;
    free(list);
    return done;
}

bool setDate(const char* date) {
    return date == nullptr ? unsetenv("EVLP_SIM_DATE") == 0 : setenv("EVLP_SIM_DATE", date, 1) == 0;
}

int run(const Options& options) {
    int64_t date = 0;
    if (options.date != nullptr && evlp_sim_parseDate(options.date, &date) < 0) {
        return complain(options.date, "not a date like 2026-03-29 01:59:50");
    }
    char library[4096];
    if (!findLibrary(library)) {
        return complain("libevlp_sim", "not found");
    }
    if (strpbrk(library, " :") != nullptr) {
        return complain(library, "cannot be preloaded from a path with a blank or a colon");
    }
    if (!preload(library) || !setDate(options.date) ||
        setenv("EVLP_SIM_CONTROL", options.control, 1) < 0) {
        return complain("the environment", strerror(errno));
    }
    (void)execvp(options.rest[0], options.rest);
    return complain(options.rest[0], strerror(errno));
}

// --- the other commands ---

// @return a descriptor; -1
int tryConnect(const sockaddr_un& address) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        const int error = errno;
        (void)close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

int connectTo(const char* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(address.sun_path, path, strlen(path));
    int fd = tryConnect(address);
    for (int i = 0; fd < 0 && (errno == ENOENT || errno == ECONNREFUSED) && i != kConnectTries;
         ++i) {
        const timespec pause = {0, kNsBetweenTries};
        (void)nanosleep(&pause, nullptr);
        fd = tryConnect(address);
    }
    return fd;
}

// @return false when the program is gone
bool sendCommand(int fd, char** words) {
    char line[512] = "";
    size_t length = 0;
    for (; *words != nullptr; ++words) {
        length += static_cast<size_t>(snprintf(line + length, sizeof line - length, "%s%s", *words,
                                               words[1] != nullptr ? " " : "\n"));
        if (length >= sizeof line) {
            errno = E2BIG;
            return false;
        }
    }
    return send(fd, line, length, MSG_NOSIGNAL) == static_cast<ssize_t>(length);
}

// Prints what comes, up to its last line, which is not printed.
int printAnswer(FILE* answer, const char* path) {
    char* line = nullptr;
    size_t size = 0;
    int result = -1;
    while (result < 0 && getline(&line, &size, answer) >= 0) {
        line[strcspn(line, "\n")] = '\0';
        if (strcmp(line, "OK") == 0) {
            result = kDone;
        } else if (strncmp(line, "ERROR ", 6) == 0) {
            result = complain(path, line + 6);
        } else {
            puts(line);
        }
    }
    free(line);
    return result < 0 ? complain(path, "the program has ended") : result;
}

int tell(const Options& options) {
    const int fd = connectTo(options.control);
    if (fd < 0 || !sendCommand(fd, options.rest)) {
        const int result = complain(options.control, strerror(errno));
        if (fd >= 0) {
            (void)close(fd);
        }
        return result;
    }
    FILE* const answer = fdopen(fd, "r");
    if (answer == nullptr) {
        (void)close(fd);
        return complain(options.control, strerror(errno));
    }
    const int result = printAnswer(answer, options.control);
    (void)fclose(answer);
    return result;
}

bool isCommand(char** words) {
    size_t count = 0;
    while (words[count] != nullptr) {
        ++count;
    }
    // A date may be one word or two.
    return (count == 1 && (strcmp(words[0], "date") == 0 || strcmp(words[0], "armed") == 0)) ||
           (count == 2 && strcmp(words[0], "advance") == 0) ||
           ((count == 2 || count == 3) && strcmp(words[0], "to") == 0);
}

}  // namespace

int main(int, char** arguments) {
    ++arguments;
    if (*arguments != nullptr && strcmp(*arguments, "--help") == 0) {
        fputs(kHelp, stdout);
        return kDone;
    }
    const bool runs = *arguments != nullptr && strcmp(*arguments, "run") == 0;
    Options options;
    if (!readOptions(arguments + (runs ? 1 : 0), &options) || options.control == nullptr ||
        options.control[0] == '\0') {
        return misused();
    }
    if (runs) {
        return options.rest[0] != nullptr ? run(options) : misused();
    }
    return options.date == nullptr && isCommand(options.rest) ? tell(options) : misused();
}
