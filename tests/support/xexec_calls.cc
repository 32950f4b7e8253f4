// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/xexec_calls.h"

#include <atomic>
#include <dlfcn.h>
#include <errno.h>
#include <grp.h>
#include <signal.h>
#include <stdarg.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

XexecCalls* makeShared() {
    return static_cast<XexecCalls*>(mmap(nullptr, sizeof(XexecCalls), PROT_READ | PROT_WRITE,
                                         MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

}  // namespace

XexecCalls* const xexecCalls = makeShared();

extern "C" {

long syscall(long number, ...) noexcept {
    // Kept without a guard: that of a local static has a second thread wait by this very call.
    static std::atomic<long (*)(long, ...)> function{nullptr};
    if (function == nullptr) {
        function = real<long(long, ...)>("syscall");
    }
    long words[6];
    va_list arguments;
    va_start(arguments, number);
    for (long& word : words) {
        word = va_arg(arguments, long);
    }
    va_end(arguments);
    if (xexecCalls != nullptr) {
        for (XexecCalls::Refusal& refusal : xexecCalls->refusals) {
            if (refusal.error != 0 && refusal.number == number && refusal.times != 0) {
                --refusal.times;
                errno = refusal.error;
                return -1;
            }
        }
    }
    return function.load()(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

int sigaction(int signum, const struct sigaction* action, struct sigaction* former) noexcept {
    static auto* const function =
        real<int(int, const struct sigaction*, struct sigaction*)>("sigaction");
    if (xexecCalls != nullptr && xexecCalls->actionError != 0 && signum == SIGCHLD &&
        action != nullptr && action->sa_handler != SIG_DFL) {
        errno = xexecCalls->actionError;
        return -1;
    }
    return function(signum, action, former);
}

int getgrouplist(const char* user, gid_t group, gid_t* groups, int* count) {
    static auto* const function = real<int(const char*, gid_t, gid_t*, int*)>("getgrouplist");
    if (xexecCalls->groupCount == 0) {
        return function(user, group, groups, count);
    }
    const int room = *count;
    *count = xexecCalls->groupCount;
    for (int i = 0; i < room && i < *count; ++i) {
        groups[i] = xexecCalls->groups[i];
    }
    return *count <= room ? *count : -1;
}

int clock_nanosleep(clockid_t clock, int, const timespec* time, timespec* left) {
    ++xexecCalls->delays;
    xexecCalls->clock = clock;
    xexecCalls->delay = *time;
    if (xexecCalls->interruptions > 0) {
        --xexecCalls->interruptions;
        *left = {time->tv_sec / 2, time->tv_nsec / 2};
        return EINTR;
    }
    while (static_cast<volatile XexecCalls*>(xexecCalls)->held) {
        usleep(1000);
    }
    return 0;
}

}  // extern "C"
