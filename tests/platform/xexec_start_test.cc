// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <fcntl.h>
#include <filesystem>
#include <pthread.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/open_fds.h"
#include "support/xexec_calls.h"
#include "support/xexec_loop.h"

// How a child is started, and what it has got from its parent.

using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

#ifndef SYS_close_range
#define SYS_close_range 436
#endif

class XexecStart : public XexecTest {
  protected:
    void makeFile(const char* name, const char* text, mode_t mode) {
        FILE* const out = fopen(dir.file(name).c_str(), "w");
        fputs(text, out);
        fclose(out);
        chmod(dir.file(name).c_str(), mode);
    }

    /** Starts a program of the test's folder. */
    int startFile(Process& process, const char* name, int delay = 0) {
        char* const argv[] = {const_cast<char*>("program"), nullptr};
        return xexecve_cmd_with_delay(&process.record, dir.file(name).c_str(), argv, delay,
                                      XEXEC_PLAIN);
    }

    /** Runs the probe. @return what it has got */
    std::string probe(int flags = XEXEC_PLAIN, int delay = 0) {
        Process process(loop);
        const std::string file = dir.file("inherited");
        char* const argv[] = {const_cast<char*>("probe"), const_cast<char*>(file.c_str()),
                              const_cast<char*>("word"), nullptr};
        EXPECT_EQ(0, xexecve_cmd_with_delay(&process.record, XEXEC_PROBE, argv, delay, flags));
        runUntilEnded(process);
        EXPECT_THAT(process.ends, ElementsAre(Ended{process.ends.at(0).pid, exited(0)}));
        return contents(file);
    }
};

/** A variable of the environment, until the end of the test. */
class Variable {
  public:
    Variable(const char* name, const char* value) : m_name(name) {
        const char* const before = getenv(name);
        m_wasSet = before != nullptr;
        m_before = m_wasSet ? before : "";
        setenv(name, value, 1);
    }
    ~Variable() {
        if (m_wasSet) {
            setenv(m_name, m_before.c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* m_name;
    std::string m_before;
    bool m_wasSet;
};

// --- command lines ---

TEST_F(XexecStart, ACommandLineIsRunByTheShell) {
    EXPECT_EQ(exited(7), run("A=3; B=4; exit $((A + B))"));
}

TEST_F(XexecStart, AnEmptyCommandLineSucceeds) {
    EXPECT_EQ(exited(0), run(""));
}

TEST_F(XexecStart, ANullVectorMeansACommandLine) {
    Process process(loop);

    ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, "exit 5", nullptr, 0, XEXEC_PLAIN));
    runUntilEnded(process);

    EXPECT_EQ(exited(5), process.ends.at(0).status);
}

TEST_F(XexecStart, TheShellTellsByItsStatusThatThereIsNoSuchCommand) {
    EXPECT_EQ(exited(127), run("exec 2>/dev/null; /no/such/command"));
}

// --- vectors ---

TEST_F(XexecStart, AProgramGetsItsWordsAndTheEnvironment) {
    const Variable variable("XEXEC_PROBE", "from the parent");

    const std::string inherited = probe();

    EXPECT_THAT(inherited, HasSubstr("\nwords probe FILE word\n"));
    EXPECT_THAT(inherited, HasSubstr("\nvariable from the parent\n"));
}

TEST_F(XexecStart, AProgramWithoutASlashIsLookedForAlongThePath) {
    Process process(loop);
    std::filesystem::create_directory(dir.file("first"));
    std::filesystem::create_directory(dir.file("second"));
    std::filesystem::create_directories(dir.file("third/tool"));  // no file
    makeFile("first/tool", "#!/bin/sh\nexit 1\n", 0600);          // not executable
    makeFile("second/tool", "#!/bin/sh\nexit 2\n", 0700);
    const Variable path("PATH", (dir.file("third") + ":" + dir.file("missing") + ":" +
                                 dir.file("first") + ":" + dir.file("second"))
                                    .c_str());
    char* const argv[] = {const_cast<char*>("tool"), nullptr};

    ASSERT_EQ(0, xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN));
    runUntilEnded(process);

    EXPECT_EQ(exited(2), process.ends.at(0).status);
    EXPECT_STREQ("tool", process.record.name);
}

TEST_F(XexecStart, AnEmptyEntryOfThePathIsTheWorkingFolder) {
    Process process(loop);
    makeFile("tool", "#!/bin/sh\nexit 2\n", 0700);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    const Variable path("PATH", "/no/such/folder:");
    char* const argv[] = {const_cast<char*>("tool"), nullptr};

    const int result = xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN);
    std::filesystem::current_path(before);
    ASSERT_EQ(0, result);
    runUntilEnded(process);

    EXPECT_EQ(exited(2), process.ends.at(0).status);
}

TEST_F(XexecStart, WithoutAPathTheSystemsFoldersAreSearched) {
    Process process(loop);
    const std::string before = getenv("PATH");
    unsetenv("PATH");
    char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                          const_cast<char*>("exit 4"), nullptr};

    const int result = xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN);
    setenv("PATH", before.c_str(), 1);
    ASSERT_EQ(0, result);
    runUntilEnded(process);

    EXPECT_EQ(exited(4), process.ends.at(0).status);
}

TEST_F(XexecStart, AProgramWithASlashIsNotLookedFor) {
    Process process(loop);
    makeFile("tool", "#!/bin/sh\nexit 2\n", 0700);
    const Variable path("PATH", "/bin");
    const std::string name = dir.file("tool");
    char* const argv[] = {const_cast<char*>(name.c_str()), nullptr};

    ASSERT_EQ(0, xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN));
    runUntilEnded(process);

    EXPECT_EQ(exited(2), process.ends.at(0).status);
}

TEST_F(XexecStart, AProgramNowhereAlongThePathIsMissingOrNotExecutable) {
    Process process(loop);
    char* const missing[] = {const_cast<char*>("no-such-tool"), nullptr};
    EXPECT_EQ(-1, xexec_with_delay(&process.record, missing, 0, XEXEC_PLAIN));
    EXPECT_EQ(ENOENT, errno);

    char* const empty[] = {const_cast<char*>(""), nullptr};
    EXPECT_EQ(-1, xexec_with_delay(&process.record, empty, 0, XEXEC_PLAIN));
    EXPECT_EQ(ENOENT, errno);

    makeFile("tool", "#!/bin/sh\n", 0600);
    const Variable path("PATH", dir.path().c_str());
    char* const forbidden[] = {const_cast<char*>("tool"), nullptr};
    EXPECT_EQ(-1, xexec_with_delay(&process.record, forbidden, 0, XEXEC_PLAIN));
    EXPECT_EQ(EACCES, errno);
}

TEST_F(XexecStart, APathThatIsTooLongIsRefused) {
    Process process(loop);
    const std::string name = "/" + std::string(5000, 'x');
    char* const argv[] = {const_cast<char*>(name.c_str()), nullptr};

    EXPECT_EQ(-1, xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

// --- what cannot be executed ---

struct BadProgram {
    const char* name;
    const char* file;
    const char* text;
    mode_t mode;
    int error;
};

void PrintTo(const BadProgram& program, std::ostream* out) {
    *out << program.name;
}

class XexecBadProgram : public XexecStart, public ::testing::WithParamInterface<BadProgram> {};

TEST_P(XexecBadProgram, IsKnownToTheCallerAtOnce) {
    const int fds = openFds();
    Process process(loop);
    if (GetParam().text != nullptr) {
        makeFile("program", GetParam().text, GetParam().mode);
    }

    EXPECT_EQ(-1, startFile(process, GetParam().file));

    EXPECT_EQ(GetParam().error, errno);
    EXPECT_EQ(0, process.record.pid);
    EXPECT_STREQ("", process.record.name);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(fds, openFds());
    runReady();
    EXPECT_TRUE(process.ends.empty());
}

TEST_P(XexecBadProgram, IsKnownAtOnceWithoutALoopToo) {
    xexec_s record = {};
    char* const argv[] = {const_cast<char*>("program"), nullptr};
    if (GetParam().text != nullptr) {
        makeFile("program", GetParam().text, GetParam().mode);
    }

    EXPECT_EQ(-1, xexecve_cmd_with_delay(&record, dir.file(GetParam().file).c_str(), argv, 0,
                                         XEXEC_PLAIN));
    EXPECT_EQ(GetParam().error, errno);
    EXPECT_FALSE(hasChildren());

    EXPECT_EQ(-1, xexecve_cmd_with_delay(&record, dir.file(GetParam().file).c_str(), argv, 0,
                                         XEXEC_WAIT));
    EXPECT_EQ(GetParam().error, errno);
    EXPECT_FALSE(hasChildren());
}

TEST_P(XexecBadProgram, IsKnownByItsStatusAfterADelay) {
    Process process(loop);
    if (GetParam().text != nullptr) {
        makeFile("program", GetParam().text, GetParam().mode);
    }

    ASSERT_EQ(0, startFile(process, GetParam().file, 10));
    runUntilEnded(process);

    EXPECT_EQ(exited(127), process.ends.at(0).status);
}

INSTANTIATE_TEST_SUITE_P(
    All, XexecBadProgram,
    ::testing::Values(BadProgram{"Missing", "program", nullptr, 0, ENOENT},
                      BadProgram{"NotExecutable", "program", "#!/bin/sh\n", 0600, EACCES},
                      BadProgram{"Empty", "program", "", 0700, ENOEXEC},
                      BadProgram{"WithoutAHead", "program", "exit 0\n", 0700, ENOEXEC},
                      BadProgram{"WithAMissingInterpreter", "program", "#!/no/such\n", 0700,
                                 ENOENT},
                      BadProgram{"AFolder", ".", nullptr, 0, EACCES},
                      BadProgram{"BelowAFile", "program/x", "", 0700, ENOTDIR}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(XexecStart, NoShellTakesOverWhatIsNoProgram) {
    Process process(loop);
    makeFile("tool", "exit 0\n", 0700);
    const Variable path("PATH", dir.path().c_str());
    char* const argv[] = {const_cast<char*>("tool"), nullptr};

    EXPECT_EQ(-1, xexec_with_delay(&process.record, argv, 0, XEXEC_PLAIN));
    EXPECT_EQ(ENOEXEC, errno);
}

TEST_F(XexecStart, AThreadThatIsBeingCancelledStartsItsChildFirst) {
    Process process(loop);
    const int fds = openFds();
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(
                     &thread, nullptr,
                     [](void* context) -> void* {
                         pthread_cancel(pthread_self());
                         static_cast<Process*>(context)->cmd("exit 3");
                         pthread_testcancel();
                         return nullptr;
                     },
                     &process));
    void* result = nullptr;
    pthread_join(thread, &result);

    EXPECT_EQ(PTHREAD_CANCELED, result);
    runUntilEnded(process);
    EXPECT_EQ(exited(3), process.ends.at(0).status);
    EXPECT_EQ(fds, openFds());
}

TEST_F(XexecStart, WhatIsTheProcesssOwnIsInherited) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    const mode_t mask = umask(027);
    const Variable home("HOME", "/my/home");

    const int status = run("pwd -P >out; umask >>out; echo $HOME >>out");
    umask(mask);
    std::filesystem::current_path(before);

    EXPECT_EQ(exited(0), status);
    EXPECT_EQ(std::filesystem::canonical(dir.path()).string() + "\n0027\n/my/home\n",
              contents(dir.file("out")));
}

// --- what is refused ---

TEST_F(XexecStart, WithoutARecordOrACommandNothingIsStarted) {
    Process process(loop);
    char* const none[] = {nullptr};
    char* const argv[] = {const_cast<char*>("/bin/true"), nullptr};
    const auto refused = [](int result) { return result == -1 && errno == EINVAL; };

    EXPECT_TRUE(refused(xexec_cmd(nullptr, "true", XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexec_cmd(&process.record, nullptr, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexec_with_delay(nullptr, argv, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexec_with_delay(&process.record, nullptr, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexec_with_delay(&process.record, none, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexecve_cmd_with_delay(nullptr, "/bin/true", argv, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexecve_cmd_with_delay(&process.record, nullptr, argv, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexecve_cmd_with_delay(&process.record, nullptr, nullptr, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(
        refused(xexecve_cmd_with_delay(&process.record, "/bin/true", none, 0, XEXEC_PLAIN)));
    EXPECT_TRUE(refused(xexec_detach(nullptr)));
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecStart, UnknownFlagsAreRefused) {
    Process process(loop);
    for (const int flag : {64, 128, 1 << 30, INT_MIN}) {
        errno = 0;
        EXPECT_EQ(-1, process.cmd("true", flag));
        EXPECT_EQ(EINVAL, errno);
    }
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecStart, ACallbackNeedsALoop) {
    Process process(nullptr);

    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(exited(0), process.cmd("true", XEXEC_WAIT));  // nothing is called
}

TEST_F(XexecStart, ARecordWithAChildIsBusy) {
    Process process(loop);
    ASSERT_EQ(0, process.cmd("exec sleep 1000"));
    const int pid = process.record.pid;

    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EBUSY, errno);
    EXPECT_EQ(-1, process.cmd("true", XEXEC_WAIT));
    EXPECT_EQ(EBUSY, errno);

    EXPECT_EQ(pid, process.record.pid);
    kill(pid, SIGKILL);
    runUntilEnded(process);
}

// --- the record ---

TEST_F(XexecStart, TheRecordHasTheChildsIdentifierUntilItHasEnded) {
    Process process(loop);

    ASSERT_EQ(0, process.cmd(("echo $$ >" + dir.file("pid")).c_str()));
    const int pid = process.record.pid;
    process.then = [&] { EXPECT_EQ(0, process.record.pid); };
    runUntilEnded(process);

    EXPECT_EQ(std::to_string(pid) + "\n", contents(dir.file("pid")));
    EXPECT_EQ(pid, process.ends.at(0).pid);
}

TEST_F(XexecStart, TheNameIsThatOfTheFileOrTheBeginningOfTheLine) {
    Process process(loop);
    makeFile("a tool", "#!/bin/sh\n", 0700);

    ASSERT_EQ(0, startFile(process, "a tool"));
    EXPECT_STREQ("a tool", process.record.name);
    runUntilEnded(process, 1);

    ASSERT_EQ(0, process.cmd(": 345678901234567890123456789012345678901234567890123456789"));
    EXPECT_STREQ(": 3456789012345678901234567890123456789012345678901", process.record.name);
    runUntilEnded(process, 2);
}

// --- what the child has got ---

TEST_F(XexecStart, OnlyTheStandardDescriptorsAreInherited) {
    const int low = dup(0);
    const int high = fcntl(0, F_DUPFD, 900);
    ASSERT_GE(high, 900);

    EXPECT_THAT(probe(), ContainsRegex("descriptors 0(=null)? 1(=null)? 2(=null)?\n"));

    close(low);
    close(high);
}

TEST_F(XexecStart, DescriptorsNextToTheServicesOwnAreNotInheritedEither) {
    int fds[8];
    for (int& fd : fds) {
        fd = dup(0);
    }
    close(fds[3]);  // room for a pipe in the midst of them
    close(fds[4]);

    EXPECT_THAT(probe(), ContainsRegex("descriptors 0(=null)? 1(=null)? 2(=null)?\n"));

    for (const int i : {0, 1, 2, 5, 6, 7}) {
        close(fds[i]);
    }
}

TEST_F(XexecStart, DescriptorsAboveTheOldLimitOfSelectAreNotInheritedEither) {
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit more = {before.rlim_max < 5000 ? before.rlim_max : 5000, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &more);
    std::vector<int> fds;
    for (int i = 0; i < 2000; ++i) {
        fds.push_back(dup(0));
    }

    EXPECT_THAT(probe(), ContainsRegex("descriptors 0(=null)? 1(=null)? 2(=null)?\n"));

    for (const int fd : fds) {
        close(fd);
    }
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(XexecStart, WithoutTheCallThatClosesManyTheyAreClosedOneByOne) {
    const RefusedCall refused(SYS_close_range, ENOSYS);
    std::vector<int> fds;
    for (int i = 0; i < 200; ++i) {
        fds.push_back(dup(0));
    }

    EXPECT_THAT(probe(), ContainsRegex("descriptors 0(=null)? 1(=null)? 2(=null)?\n"));

    for (const int fd : fds) {
        close(fd);
    }
}

TEST_F(XexecStart, WhereDescriptorsCannotBeClosedNothingIsStarted) {
    Process process(loop);
    const RefusedCall noRange(SYS_close_range, ENOSYS);
    const RefusedCall noList(SYS_getdents64, EIO);

    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(ENOSYS, errno);

    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(exited(0), process.cmd("true", XEXEC_KEEP_DESCRIPTORS | XEXEC_WAIT));
}

TEST_F(XexecStart, AllDescriptorsThatStayOpenOnExecAreInheritedOnRequest) {
    const int kept = fcntl(0, F_DUPFD, 77);
    const int notKept = fcntl(0, F_DUPFD_CLOEXEC, 78);
    ASSERT_EQ(77, kept);
    ASSERT_EQ(78, notKept);

    const std::string inherited = probe(XEXEC_KEEP_DESCRIPTORS);

    EXPECT_THAT(inherited, ContainsRegex("descriptors.* 77"));
    EXPECT_THAT(inherited, Not(ContainsRegex("descriptors.* 78")));
    close(kept);
    close(notKept);
}

TEST_F(XexecStart, StandardDescriptorsCanBeTheNullDevice) {
    EXPECT_THAT(probe(XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS),
                HasSubstr("descriptors 0=null 1=null 2=null\n"));
}

TEST_F(XexecStart, EachStandardDescriptorByItself) {
    const int other = open(dir.file("other").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 50), fcntl(1, F_DUPFD_CLOEXEC, 50),
                         fcntl(2, F_DUPFD_CLOEXEC, 50)};
    for (int fd = 0; fd < 3; ++fd) {
        dup2(other, fd);
    }

    const std::string input = probe(XEXEC_NULL_INPUT);
    const std::string output = probe(XEXEC_NULL_OUTPUT);
    const std::string errors = probe(XEXEC_NULL_ERRORS);

    for (int fd = 0; fd < 3; ++fd) {
        dup2(saved[fd], fd);
        close(saved[fd]);
    }
    close(other);
    EXPECT_THAT(input, HasSubstr("descriptors 0=null 1 2\n"));
    EXPECT_THAT(output, HasSubstr("descriptors 0 1=null 2\n"));
    EXPECT_THAT(errors, HasSubstr("descriptors 0 1 2=null\n"));
}

TEST_F(XexecStart, TheNullDeviceCanBeReadAndWritten) {
    EXPECT_EQ(exited(0), run("echo text", XEXEC_NULL_OUTPUT));
    EXPECT_EQ(exited(0), run("echo text >&2", XEXEC_NULL_ERRORS));
    EXPECT_EQ(exited(1), run("read line", XEXEC_NULL_INPUT));
}

TEST_F(XexecStart, TwoFreeDescriptorsAreEnough) {
    runReady();  // the loop has what it needs
    std::vector<int> fds;
    while (fds.empty() || fds.back() < 64) {
        fds.push_back(dup(0));
    }
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few = {64, before.rlim_max};
    for (int i = 0; i < 3; ++i) {  // 62 and 63 are free, and 64 is not to be had
        close(fds.back());
        fds.pop_back();
    }
    setrlimit(RLIMIT_NOFILE, &few);

    const int status = run("exit 3", XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS);
    setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_EQ(exited(3), status);
    for (const int fd : fds) {
        close(fd);
    }
}

TEST_F(XexecStart, StandardDescriptorsThatAreClosedStayClosed) {
    const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 50), fcntl(1, F_DUPFD_CLOEXEC, 50),
                         fcntl(2, F_DUPFD_CLOEXEC, 50)};
    for (int fd = 0; fd < 3; ++fd) {
        close(fd);
    }

    const std::string closed = probe();
    const std::string null = probe(XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS);
    const std::string delayed = probe(XEXEC_PLAIN, 1);
    Process process(loop);
    const int bad = startFile(process, "missing");
    const int badError = errno;

    for (int fd = 0; fd < 3; ++fd) {
        dup2(saved[fd], fd);
        close(saved[fd]);
    }
    EXPECT_THAT(closed, HasSubstr("descriptors\n"));
    EXPECT_THAT(null, HasSubstr("descriptors 0=null 1=null 2=null\n"));
    EXPECT_THAT(delayed, HasSubstr("descriptors\n"));
    EXPECT_EQ(-1, bad);
    EXPECT_EQ(ENOENT, badError);
}

TEST_F(XexecStart, WhicheverStandardDescriptorsAreClosedABadProgramIsKnownAtOnce) {
    constexpr int kNull = XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS;
    for (int closed = 1; closed < 8; ++closed) {
        int saved[3];
        for (int fd = 0; fd < 3; ++fd) {
            saved[fd] = fcntl(fd, F_DUPFD_CLOEXEC, 50);
        }
        for (int fd = 0; fd < 3; ++fd) {
            if ((closed >> fd & 1) != 0) {
                close(fd);
            }
        }

        xexec_s record = {};
        char* const argv[] = {const_cast<char*>("program"), nullptr};
        const int result =
            xexecve_cmd_with_delay(&record, "/no/such/program", argv, 0, XEXEC_WAIT | kNull);
        const int error = errno;

        for (int fd = 0; fd < 3; ++fd) {
            dup2(saved[fd], fd);
            close(saved[fd]);
        }
        EXPECT_EQ(-1, result) << closed;
        EXPECT_EQ(ENOENT, error) << closed;
    }
}

TEST_F(XexecStart, SignalsAreUnblockedAndHaveTheirDefaultActions) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGHUP, SIG_IGN);

    const std::string inherited = probe();
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    signal(SIGHUP, SIG_DFL);

    EXPECT_THAT(inherited, HasSubstr("\nblocked\nignored\n"));
    EXPECT_EQ(1, sigismember(&after, SIGTERM));  // the parent's own stay as they were
    EXPECT_EQ(1, sigismember(&after, SIGUSR1));
    EXPECT_EQ(0, sigismember(&after, SIGINT));
    EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_DFL));
}

TEST_F(XexecStart, ASessionOfItsOwnOnRequest) {
    EXPECT_THAT(probe(), HasSubstr("\nleads session no\n"));
    EXPECT_THAT(probe(XEXEC_NEW_SESSION), HasSubstr("\nleads session yes\n"));
}

// --- waiting ---

TEST_F(XexecStart, WaitingAnswersTheWaitStatus) {
    Process process(loop);

    EXPECT_EQ(exited(3), process.cmd("exit 3", XEXEC_WAIT));
    EXPECT_EQ(SIGTERM, process.cmd("kill -TERM $$", XEXEC_WAIT));
    xexecCalls->delays = 0;
    EXPECT_EQ(exited(0), xexecve_cmd_with_delay(&process.record, "true", nullptr, 5, XEXEC_WAIT));
    EXPECT_EQ(1, xexecCalls->delays);

    EXPECT_EQ(0, process.record.pid);
    runReady();
    EXPECT_TRUE(process.ends.empty());
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecStart, WaitingForAStatusThatIsLostFails) {
    Process process(loop);
    signal(SIGCHLD, SIG_IGN);  // no status is kept then

    const int status = process.cmd("exit 3", XEXEC_WAIT);
    const int error = errno;
    signal(SIGCHLD, SIG_DFL);

    EXPECT_EQ(XEXEC_STATUS_LOST, status);
    EXPECT_EQ(ECHILD, error);
}

int answersOfHandler = -1;

TEST_F(XexecStart, WaitingGoesOnAfterASignal) {
    Process process(loop);
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    answersOfHandler = open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    struct sigaction action = {};  // interrupts calls
    action.sa_handler = [](int) { (void)!write(answersOfHandler, "\n", 1); };
    struct sigaction before = {};
    sigaction(SIGALRM, &action, &before);

    const int status =
        process.cmd(("kill -ALRM $PPID; read line <" + fifo + "; exit 3").c_str(), XEXEC_WAIT);

    sigaction(SIGALRM, &before, nullptr);
    close(answersOfHandler);
    EXPECT_EQ(exited(3), status);
}

// --- without a loop ---

TEST_F(XexecStart, WithoutALoopTheChildIsNobodys) {
    const int fds = openFds();
    xexec_s record = {};
    ASSERT_EQ(0, mkfifo(dir.file("fifo").c_str(), 0600));

    ASSERT_EQ(0, xexec_cmd(&record, ("echo $$ >" + dir.file("fifo")).c_str(), XEXEC_PLAIN));

    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(std::to_string(record.pid) + "\n", contents(dir.file("fifo")));
    EXPECT_EQ(fds, openFds());
    EXPECT_EQ(0, xexec_detach(&record));
    EXPECT_EQ(0, record.pid);
}

TEST_F(XexecStart, WithoutALoopFlagsAndDescriptorsAreAsEver) {
    const int open = dup(0);
    xexec_s record = {};
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    char* const argv[] = {const_cast<char*>("probe"), const_cast<char*>(fifo.c_str()), nullptr};

    ASSERT_EQ(0, xexecve_cmd_with_delay(&record, XEXEC_PROBE, argv, 0, XEXEC_PLAIN));
    const std::string plain = contents(fifo);
    ASSERT_EQ(0, xexecve_cmd_with_delay(
                     &record, XEXEC_PROBE, argv, 0,
                     XEXEC_NEW_SESSION | XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT | XEXEC_NULL_ERRORS));
    const std::string flagged = contents(fifo);

    EXPECT_THAT(plain, ContainsRegex("descriptors 0(=null)? 1(=null)? 2(=null)?\n"));
    EXPECT_THAT(plain, HasSubstr("\nblocked\nignored\n"));
    EXPECT_THAT(plain, HasSubstr("\nleads session no\n"));
    EXPECT_THAT(flagged, HasSubstr("descriptors 0=null 1=null 2=null\n"));
    EXPECT_THAT(flagged, HasSubstr("\nleads session yes\n"));
    close(open);
}

TEST_F(XexecStart, WithoutALoopADelayIsWaitedOutToo) {
    xexec_s record = {};
    ASSERT_EQ(0, mkfifo(dir.file("fifo").c_str(), 0600));

    const std::string line = "echo $$ >" + dir.file("fifo");
    xexecCalls->held = true;
    ASSERT_EQ(0, xexecve_cmd_with_delay(&record, line.c_str(), nullptr, 20, XEXEC_PLAIN));
    EXPECT_FALSE(hasChildren());  // nor while it waits
    xexecCalls->held = false;

    EXPECT_EQ(std::to_string(record.pid) + "\n", contents(dir.file("fifo")));
}

}  // namespace
