// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What a child has got from its parent, written to a file.
//
// usage: xexec_probe FILE [WORD...]

#include <dirent.h>
#include <grp.h>
#include <set>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace {

void printDescriptors(FILE* out) {
    std::set<int> numbers;
    DIR* const dir = opendir("/proc/self/fd");
    while (const dirent* entry = readdir(dir)) {
        const int fd = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != dirfd(dir) && fd != fileno(out)) {
            numbers.insert(fd);
        }
    }
    closedir(dir);
    fprintf(out, "descriptors");
    for (const int fd : numbers) {
        char target[200] = "";
        char link[40];
        snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
        const ssize_t length = readlink(link, target, sizeof target - 1);
        const bool null = length > 0 && std::string(target) == "/dev/null";
        fprintf(out, null ? " %d=null" : " %d", fd);
    }
    fprintf(out, "\n");
}

void printSignals(FILE* out) {
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    fprintf(out, "blocked");
    for (int signum = 1; signum < NSIG; ++signum) {
        if (sigismember(&blocked, signum) == 1) {
            fprintf(out, " %d", signum);
        }
    }
    fprintf(out, "\nignored");
    for (int signum = 1; signum < NSIG; ++signum) {
        struct sigaction action = {};
        if (sigaction(signum, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            fprintf(out, " %d", signum);
        }
    }
    fprintf(out, "\n");
}

void printIdentity(FILE* out) {
    uid_t users[3];
    gid_t groups[3];
    getresuid(&users[0], &users[1], &users[2]);
    getresgid(&groups[0], &groups[1], &groups[2]);
    fprintf(out, "user %u %u %u\n", users[0], users[1], users[2]);
    fprintf(out, "group %u %u %u\n", groups[0], groups[1], groups[2]);
    gid_t more[100];
    const int count = getgroups(100, more);
    const std::set<gid_t> sorted(more, more + count);
    fprintf(out, "groups");
    for (const gid_t group : sorted) {
        fprintf(out, " %u", group);
    }
    fprintf(out, "\n");
}

}  // namespace

int main(int argc, char** argv) {
    FILE* const out = fopen(argv[1], "w");
    if (out == nullptr) {
        return 1;
    }
    printDescriptors(out);
    printSignals(out);
    printIdentity(out);
    fprintf(out, "leads session %s\n", getsid(0) == getpid() ? "yes" : "no");
    const char* const variable = getenv("XEXEC_PROBE");
    fprintf(out, "variable %s\n", variable != nullptr ? variable : "none");
    fprintf(out, "words");
    for (int i = 0; i < argc; ++i) {
        fprintf(out, i == 1 ? " FILE" : " %s", argv[i]);
    }
    fprintf(out, "\n");
    return fclose(out) == 0 ? 0 : 1;
}
