// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Clients are served while the loop that runs alone has nothing else to do, and one at a time: a
// line is read only when the one before has been answered, whoever sent it.

#include "control.h"

#include <errno.h>
#include <limits.h>
#include <new>
#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "evlp/sim.h"

#include "armed.h"
#include "clock.h"
#include "dates.h"
#include "engine.h"
#include "platform/evlp/loop.h"

using evlp::fail;

namespace sim::control {

namespace {

constexpr size_t kMostClients = 16;
constexpr size_t kLineSize = 256;
constexpr int kBacklog = 16;
constexpr int kForEver = -1;
constexpr int kNoDescriptor = -1;  // poll(2) passes over it

struct Client {
    int fd = -1;
    char input[kLineSize] = "";
    size_t inputLength = 0;
    bool skipsLine = false;  // the rest of one that was too long
    bool ended = false;      // nothing more comes from it
    bool broken = false;
    char* output = nullptr;
    size_t outputLength = 0;
    size_t outputCapacity = 0;
};

int listener = -1;
char boundPath[PATH_MAX];  // absolute, for the working directory may change
pid_t owner = 0;

Client* clients[kMostClients];
Client* asker = nullptr;  // of the present journey

// --- what is sent ---

bool growOutput(Client* client, size_t size) {
    if (size <= client->outputCapacity) {
        return true;
    }
    char* const larger = evlp::resized(client->output, size * 2);
    if (larger == nullptr) {
        client->broken = true;  // a client must not take half an answer for a whole one
        return false;
    }
    client->output = larger;
    client->outputCapacity = size * 2;
    return true;
}

__attribute__((format(printf, 2, 3))) void say(Client* client, const char* format, ...) {
    va_list list;
    va_start(list, format);
    va_list again;
    va_copy(again, list);
    const size_t length = static_cast<size_t>(vsnprintf(nullptr, 0, format, list));
    va_end(list);
    if (growOutput(client, client->outputLength + length + 1)) {
        (void)vsnprintf(client->output + client->outputLength, length + 1, format, again);
        client->outputLength += length;
    }
    va_end(again);
}

void flush(Client* client) {
    while (client->outputLength != 0) {
        const ssize_t sent =
            send(client->fd, client->output, client->outputLength, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            client->broken = client->broken || (errno != EAGAIN && errno != EINTR);
            return;
        }
        client->outputLength -= static_cast<size_t>(sent);
        memmove(client->output, client->output + sent, client->outputLength);
    }
}

// --- commands ---

// Reads "60" and "0.25".
bool readSeconds(const char* text, int64_t* duration) {
    const size_t whole = strspn(text, "0123456789");
    if (whole == 0 || whole > 12) {
        return false;
    }
    *duration = strtoll(text, nullptr, 10) * kUsPerSecond;
    if (text[whole] == '\0') {
        return true;
    }
    const char* const fraction = text + whole + 1;
    const size_t digits = strspn(fraction, "0123456789");
    if (text[whole] != '.' || digits == 0 || digits > 6 || fraction[digits] != '\0') {
        return false;
    }
    int64_t us = strtoll(fraction, nullptr, 10);
    for (size_t i = digits; i != 6; ++i) {
        us *= 10;
    }
    *duration += us;
    return true;
}

void begin(Client* client, const Journey& journey) {
    asker = client;
    beginJourney(journey);
}

void advance(Client* client, const char* argument) {
    int64_t duration = 0;
    if (!readSeconds(argument, &duration)) {
        say(client, "ERROR not a number of seconds: %s\n", argument);
    } else if (!canPass(duration)) {
        say(client, "ERROR that is beyond the end of time\n");
    } else {
        begin(client, {now() + duration, kNoDate});
    }
}

void advanceTo(Client* client, const char* argument) {
    int64_t end = 0;
    if (evlp_sim_parseDate(argument, &end) < 0) {
        say(client, "ERROR not a date like 2026-03-29 01:59:50: %s\n", argument);
    } else if (!canPass(end - date())) {
        say(client, "ERROR that date has passed\n");
    } else {
        begin(client, {0, end});
    }
}

void tellDate(Client* client, const char*) {
    char text[kDateSize];
    formatDate(date(), text);
    say(client, "%s\nOK\n", text);
}

void tellArmed(Client* client, const char*) {
    const size_t count = evlp_sim_listArmed(nullptr, 0);
    auto* const list = evlp::resized<evlp_sim_armed>(nullptr, count + 1);
    if (list == nullptr) {
        say(client, "ERROR %s\n", strerror(ENOMEM));
        return;
    }
    (void)evlp_sim_listArmed(list, count);
    for (size_t i = 0; i != count; ++i) {
        char text[kArmedSize];
        formatArmed(list[i], text);
        say(client, "%s\n", text);
    }
    free(list);
    say(client, "OK\n");
}

struct Command {
    const char* name;
    bool hasArgument;
    void (*run)(Client* client, const char* argument);
};

constexpr Command kCommands[] = {
    {"advance", true, advance},
    {"to", true, advanceTo},
    {"date", false, tellDate},
    {"armed", false, tellArmed},
};

void execute(Client* client, char* line) {
    char* const space = strchr(line, ' ');
    if (space != nullptr) {
        *space = '\0';
    }
    for (const Command& each : kCommands) {
        if (strcmp(line, each.name) == 0 && (space != nullptr) == each.hasArgument) {
            each.run(client, space != nullptr ? space + 1 : "");
            return;
        }
    }
    say(client, "ERROR the commands are: advance SECONDS, to DATE, date, armed\n");
}

// --- what is received ---

void receive(Client* client) {
    const size_t room = sizeof client->input - client->inputLength;
    const ssize_t got = recv(client->fd, client->input + client->inputLength, room, MSG_DONTWAIT);
    if (got > 0) {
        client->inputLength += static_cast<size_t>(got);
    } else if (got == 0) {
        client->ended = true;
    } else if (errno != EAGAIN && errno != EINTR) {
        client->broken = true;
    }
}

void dropInput(Client* client, size_t length) {
    client->inputLength -= length;
    memmove(client->input, client->input + length, client->inputLength);
}

// @return false when no whole line is there
bool executeLine(Client* client) {
    auto* const end = static_cast<char*>(memchr(client->input, '\n', client->inputLength));
    if (end == nullptr) {
        if (client->inputLength == sizeof client->input) {
            client->skipsLine = true;
            client->inputLength = 0;
        }
        return false;
    }
    const size_t length = static_cast<size_t>(end - client->input);
    char line[kLineSize];
    memcpy(line, client->input, length);
    line[length] = '\0';
    dropInput(client, length + 1);
    if (client->skipsLine) {
        client->skipsLine = false;
        say(client, "ERROR the line is too long\n");
    } else {
        execute(client, line);
    }
    return true;
}

void executeLines(Client* client) {
    while (!isTravelling() && client->outputLength == 0 && !client->broken && executeLine(client)) {
        flush(client);
    }
}

// --- clients ---

void hangUp(Client*& client) {
    if (asker == client) {
        asker = nullptr;
    }
    (void)close(client->fd);
    free(client->output);
    client->~Client();
    free(client);
    client = nullptr;
}

bool isDone(const Client* client) {
    return client->broken || (client->ended && client->outputLength == 0 && client != asker);
}

Client** freePlace() {
    for (Client*& each : clients) {
        if (each == nullptr) {
            return &each;
        }
    }
    return nullptr;
}

void acceptClient() {
    Client** const place = freePlace();
    const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) {
        return;
    }
    void* const memory = place == nullptr ? nullptr : malloc(sizeof(Client));
    if (memory == nullptr) {
        static const char kRefusal[] = "ERROR too many clients\n";
        (void)send(fd, kRefusal, sizeof kRefusal - 1, MSG_NOSIGNAL);  // it has gone: as well
        (void)close(fd);
        return;
    }
    *place = new (memory) Client;
    (*place)->fd = fd;
}

void serveClients() {
    for (Client*& each : clients) {
        if (each == nullptr) {
            continue;
        }
        executeLines(each);
        if (!isTravelling() && isDone(each)) {
            hangUp(each);
        }
    }
}

short eventsFor(const Client* client) {
    if (client->outputLength != 0) {
        return POLLOUT;
    }
    return client->ended ? 0 : POLLIN;
}

// --- the socket ---

const char* wantedPath() {
    const char* const path = getenv("EVLP_SIM_CONTROL");
    return path != nullptr && path[0] != '\0' ? path : nullptr;
}

int addressOf(const char* path, sockaddr_un* address) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address->sun_path) {
        return fail(ENAMETOOLONG);
    }
    memcpy(address->sun_path, path, strlen(path));
    return 0;
}

// Whether a path is a socket on which nobody listens.
bool isLeftOver(const sockaddr_un& address) {
    struct stat status = {};
    if (lstat(address.sun_path, &status) < 0 || !S_ISSOCK(status.st_mode)) {
        return false;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return false;
    }
    const bool refused =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0 &&
        errno == ECONNREFUSED;
    (void)close(fd);
    return refused;
}

int bindTo(int fd, const sockaddr_un& address) {
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    if (bind(fd, generic, sizeof address) == 0) {
        return 0;
    }
    if (errno != EADDRINUSE) {
        return -1;
    }
    if (!isLeftOver(address) || unlink(address.sun_path) < 0) {
        return fail(EADDRINUSE);
    }
    return bind(fd, generic, sizeof address);
}

int rememberPath(const char* path) {
    char directory[PATH_MAX] = "";
    if (path[0] != '/' && getcwd(directory, sizeof directory) == nullptr) {
        return -1;
    }
    const int length =
        snprintf(boundPath, sizeof boundPath, "%s%s%s", directory, path[0] == '/' ? "" : "/", path);
    return length < static_cast<int>(sizeof boundPath) ? 0 : fail(ENAMETOOLONG);
}

int listenOn(const char* path) {
    sockaddr_un address;
    if (addressOf(path, &address) < 0 || rememberPath(path) < 0) {
        return -1;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return -1;
    }
    if (bindTo(fd, address) < 0 || listen(fd, kBacklog) < 0) {
        const int error = errno;
        (void)close(fd);
        return fail(error);
    }
    owner = getpid();
    return fd;
}

__attribute__((destructor)) void endWithTheProgram() {
    for (Client*& each : clients) {
        if (each != nullptr) {
            hangUp(each);
        }
    }
    if (listener >= 0) {
        (void)close(listener);
        listener = -1;
    }
    if (owner != 0 && owner == getpid()) {  // not in a forked child
        (void)unlink(boundPath);
    }
}

// @param timeoutMs  how long to wait for one of them at most
int poll(int descriptor, int timeoutMs) {
    serveClients();  // what an answer has kept waiting
    if (isTravelling()) {
        return 0;
    }
    pollfd polled[2 + kMostClients] = {};
    Client* served[2 + kMostClients] = {};
    polled[0] = {descriptor, POLLIN, 0};
    polled[1] = {listener, POLLIN, 0};
    nfds_t count = 2;
    for (Client* const each : clients) {
        if (each != nullptr) {
            served[count] = each;
            polled[count++] = {each->fd, eventsFor(each), 0};
        }
    }
    if (::poll(polled, count, timeoutMs) < 0) {
        return errno == EINTR ? 0 : -1;
    }
    for (nfds_t i = 2; i != count; ++i) {
        if (polled[i].revents != 0) {
            served[i]->outputLength != 0 ? flush(served[i]) : receive(served[i]);
        }
    }
    if (polled[1].revents != 0) {
        acceptClient();
    }
    serveClients();
    return 0;
}

}  // namespace

bool isWanted() {
    return wantedPath() != nullptr;
}

int open() {
    const char* const path = wantedPath();
    if (listener >= 0 || path == nullptr) {
        return 0;
    }
    listener = listenOn(path);
    if (listener < 0) {
        const int error = errno;
        fprintf(stderr, "EVLP_SIM_CONTROL is \"%s\": %s\n", path, strerror(error));
        return fail(error);
    }
    return 0;
}

bool isOn() {
    return listener >= 0;
}

int wait(int descriptor) {
    return poll(descriptor, kForEver);
}

void serve() {
    (void)poll(kNoDescriptor, 0);
}

bool askerHasGone() {
    if (asker == nullptr) {
        return false;
    }
    pollfd polled = {asker->fd, 0, 0};  // not one that has only closed its own direction
    return ::poll(&polled, 1, 0) == 1 && (polled.revents & (POLLHUP | POLLERR)) != 0;
}

void claim() {
    if (isOn()) {
        owner = getpid();
    }
}

void answer(int error) {
    if (asker == nullptr) {
        return;
    }
    Client* const client = asker;
    asker = nullptr;
    if (error == 0) {
        say(client, "OK\n");
    } else if (error == ECANCELED) {
        say(client, "ERROR the loop has been stopped\n");
    } else if (error == ELOOP) {
        say(client, "ERROR there is no end to what is ready\n");
    } else {
        say(client, "ERROR %s\n", strerror(error));
    }
    flush(client);
}

}  // namespace sim::control
