// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <grp.h>
#include <pwd.h>
#include <set>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/xexec_calls.h"
#include "support/xexec_loop.h"

// As whom a child runs. Whoever runs the tests: what needs the privileges of root is skipped
// without them, and what needs to have none runs in a process that has given them up.

using ::testing::HasSubstr;

namespace {

#ifdef SYS_setresuid32
constexpr long kSetUser = SYS_setresuid32;
constexpr long kSetGroup = SYS_setresgid32;
constexpr long kSetGroups = SYS_setgroups32;
#else
constexpr long kSetUser = SYS_setresuid;
constexpr long kSetGroup = SYS_setresgid;
constexpr long kSetGroups = SYS_setgroups;
#endif

/** The groups of a user as the system gives them, in ascending order. */
std::string groupsOf(const char* user, gid_t group) {
    gid_t groups[100];
    int count = 100;
    getgrouplist(user, group, groups, &count);
    std::string text = "groups";
    for (const gid_t each : std::set<gid_t>(groups, groups + count)) {
        text += " " + std::to_string(each);
    }
    return text + "\n";
}

std::string thrice(const char* what, unsigned id) {
    const std::string number = " " + std::to_string(id);
    return what + number + number + number + "\n";
}

class XexecUser : public XexecTest {
  protected:
    XexecUser() { chmod(dir.path().c_str(), 0777); }

    static void become(Process& process, const char* user, const char* group) {
        snprintf(process.record.user, sizeof process.record.user, "%s", user);
        snprintf(process.record.group, sizeof process.record.group, "%s", group);
    }

    /** Runs the probe as somebody. @return what it has got; "" when it was not started */
    std::string probe(const char* user, const char* group) {
        Process process(loop);
        become(process, user, group);
        const std::string file = dir.file("inherited");
        char* const argv[] = {const_cast<char*>("probe"), const_cast<char*>(file.c_str()), nullptr};
        unlink(file.c_str());
        if (xexecve_cmd_with_delay(&process.record, XEXEC_PROBE, argv, 0, XEXEC_PLAIN) != 0) {
            return "";
        }
        runUntilEnded(process);
        return contents(file);
    }

    /** What a process without privileges answers, in its eight bits. */
    static int asNobody(const std::function<int()>& body) {
        const pid_t pid = fork();
        if (pid == 0) {
            const passwd* const nobody = getpwnam("nobody");
            const bool gone =
                geteuid() != 0 || (initgroups("nobody", nobody->pw_gid) == 0 &&
                                   setgid(nobody->pw_gid) == 0 && setuid(nobody->pw_uid) == 0);
            _exit(gone ? body() : 99);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

/** Those that root alone can do. */
class XexecUserAsRoot : public XexecUser {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs the privileges of root";
        }
    }
};

TEST_F(XexecUser, WithoutNamesTheChildIsWhoTheParentIs) {
    const std::string inherited = probe("", "");

    EXPECT_THAT(inherited, HasSubstr("user " + std::to_string(getuid()) + " "));
    EXPECT_THAT(inherited, HasSubstr("group " + std::to_string(getgid()) + " "));
}

TEST_F(XexecUserAsRoot, AUserBringsItsGroupAndAllGroupsOfWhichItIsAMember) {
    const passwd nobody = *getpwnam("nobody");
    const gid_t before[] = {0, 4, 5};
    ASSERT_EQ(0, setgroups(3, before));

    const std::string inherited = probe("nobody", "");
    setgroups(0, nullptr);

    EXPECT_THAT(inherited, HasSubstr(thrice("user", nobody.pw_uid)));
    EXPECT_THAT(inherited, HasSubstr(thrice("group", nobody.pw_gid)));
    EXPECT_THAT(inherited, HasSubstr(groupsOf("nobody", nobody.pw_gid)));
}

TEST_F(XexecUserAsRoot, AGroupTakesThePlaceOfTheUsersGroup) {
    const passwd nobody = *getpwnam("nobody");
    const gid_t daemon = getgrnam("daemon")->gr_gid;

    const std::string inherited = probe("nobody", "daemon");

    EXPECT_THAT(inherited, HasSubstr(thrice("user", nobody.pw_uid)));
    EXPECT_THAT(inherited, HasSubstr(thrice("group", daemon)));
    EXPECT_THAT(inherited, HasSubstr(groupsOf("nobody", daemon)));
}

TEST_F(XexecUserAsRoot, AGroupAloneTakesThePlaceOfAllGroups) {
    const gid_t daemon = getgrnam("daemon")->gr_gid;
    const gid_t before[] = {0, 4, 5};
    ASSERT_EQ(0, setgroups(3, before));

    const std::string inherited = probe("", "daemon");
    setgroups(0, nullptr);

    EXPECT_THAT(inherited, HasSubstr(thrice("user", 0)));
    EXPECT_THAT(inherited, HasSubstr(thrice("group", daemon)));
    EXPECT_THAT(inherited, HasSubstr("\ngroups\n"));
}

TEST_F(XexecUserAsRoot, TheParentStaysWhoItIs) {
    ASSERT_NE("", probe("nobody", "daemon"));

    EXPECT_EQ(0u, getuid());
    EXPECT_EQ(0u, getgid());
}

// The kernel would not write its core files any more, had they shared memory.
TEST_F(XexecUserAsRoot, TheParentStaysDumpable) {
    ASSERT_EQ(0, prctl(PR_SET_DUMPABLE, 1));

    ASSERT_NE("", probe("nobody", ""));

    EXPECT_EQ(1, prctl(PR_GET_DUMPABLE));
}

TEST_F(XexecUserAsRoot, AUserIsAppliedToDelayedChildrenAndToThoseOfNobody) {
    const passwd nobody = *getpwnam("nobody");
    Process process(loop);
    become(process, "nobody", "");
    const std::string line = "id -u >" + dir.file("delayed");
    ASSERT_EQ(0, xexecve_cmd_with_delay(&process.record, line.c_str(), nullptr, 5, XEXEC_PLAIN));
    runUntilEnded(process);
    EXPECT_EQ(std::to_string(nobody.pw_uid) + "\n", contents(dir.file("delayed")));

    Process orphan(nullptr);
    orphan.record.fn = nullptr;
    become(orphan, "nobody", "");
    ASSERT_EQ(0, mkfifo(dir.file("fifo").c_str(), 0600));
    ASSERT_EQ(0, chmod(dir.file("fifo").c_str(), 0666));
    ASSERT_EQ(0, orphan.cmd(("id -u >" + dir.file("fifo")).c_str()));
    EXPECT_EQ(std::to_string(nobody.pw_uid) + "\n", contents(dir.file("fifo")));
}

TEST_F(XexecUserAsRoot, AProgramThatTheUserMayNotExecuteIsNotStarted) {
    Process process(loop);
    become(process, "nobody", "");
    const std::string file = dir.file("private");
    FILE* const out = fopen(file.c_str(), "w");
    fputs("#!/bin/sh\n", out);
    fclose(out);
    chmod(file.c_str(), 0700);
    char* const argv[] = {const_cast<char*>("private"), nullptr};

    EXPECT_EQ(-1, xexecve_cmd_with_delay(&process.record, file.c_str(), argv, 0, XEXEC_PLAIN));
    EXPECT_EQ(EACCES, errno);
    EXPECT_FALSE(hasChildren());
}

// --- who the parent is already ---

/** Groups that every user is a member of. */
class UserGroups {
  public:
    explicit UserGroups(const std::vector<gid_t>& groups) {
        std::copy(groups.begin(), groups.end(), xexecCalls->groups);
        xexecCalls->groupCount = static_cast<int>(groups.size());
    }
    ~UserGroups() { xexecCalls->groupCount = 0; }
    UserGroups(const UserGroups&) = delete;
    UserGroups& operator=(const UserGroups&) = delete;
};

class XexecUserAlready : public XexecUserAsRoot {
  protected:
    /** Whether root, made different by `change`, can start a child as root without changing again.
     */
    static bool isRootAlready(const std::function<int()>& change) {
        const RefusedCall refused(kSetGroups, EPERM);
        const pid_t pid = fork();
        if (pid == 0) {
            Process process(nullptr);
            become(process, "root", "");
            const bool changed = change() == 0;  // with calls of its own
            const int result = process.cmd("true", XEXEC_WAIT);
            _exit(!changed || (result == -1 && errno != EPERM) ? 99 : result == 0 ? 0 : 1);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_NE(99 << 8, status);
        return status == 0;
    }

    const UserGroups m_userGroups{{0, 10, 11}};
};

TEST_F(XexecUserAlready, NothingIsChangedWhereNothingDiffers) {
    EXPECT_TRUE(isRootAlready([] {
        const gid_t groups[] = {11, 10, 0};
        return setgroups(3, groups);
    }));
    EXPECT_TRUE(isRootAlready([] {
        const gid_t groups[] = {10, 11};  // the user's group counts in any case
        return setgroups(2, groups);
    }));
}

TEST_F(XexecUserAlready, OneGroupTooManyOrTooFewDiffers) {
    EXPECT_FALSE(isRootAlready([] {
        const gid_t groups[] = {0, 10, 11, 12};
        return setgroups(4, groups);
    }));
    EXPECT_FALSE(isRootAlready([] {
        const gid_t groups[] = {0, 10};
        return setgroups(2, groups);
    }));
    EXPECT_FALSE(isRootAlready([] {
        const gid_t groups[] = {0, 10, 12};
        return setgroups(3, groups);
    }));
    EXPECT_FALSE(isRootAlready([] { return setgroups(0, nullptr); }));
}

TEST_F(XexecUserAlready, EachOfTheThreeIdentifiersOfUserAndGroupCounts) {
    const auto setIds = [&](uid_t user, uid_t effective, uid_t saved, gid_t group, gid_t egroup,
                            gid_t sgroup) {
        return isRootAlready([=] {
            const gid_t groups[] = {10, 11};
            return setgroups(2, groups) | setresgid(group, egroup, sgroup) |
                   setresuid(user, effective, saved);
        });
    };
    EXPECT_TRUE(setIds(0, 0, 0, 0, 0, 0));
    EXPECT_FALSE(setIds(7, 0, 0, 0, 0, 0));
    EXPECT_FALSE(setIds(0, 7, 0, 0, 0, 0));
    EXPECT_FALSE(setIds(0, 0, 7, 0, 0, 0));
    EXPECT_FALSE(setIds(0, 0, 0, 7, 0, 0));
    EXPECT_FALSE(setIds(0, 0, 0, 0, 7, 0));
    EXPECT_FALSE(setIds(0, 0, 0, 0, 0, 7));
}

TEST_F(XexecUserAsRoot, AllOfManyGroupsAreHadByTheChild) {
    std::vector<gid_t> many;
    std::string expected = "\ngroups";
    for (gid_t group = 1000; group < 1060; ++group) {
        many.push_back(group);
        expected += " " + std::to_string(group);
    }
    const UserGroups userGroups(many);

    EXPECT_THAT(probe("nobody", ""), HasSubstr(expected + "\n"));
}

// --- refused ---

TEST_F(XexecUser, AUserOrGroupThatDoesNotExistIsRefused) {
    Process process(loop);

    become(process, "no-such-user", "");
    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EINVAL, errno);

    become(process, "", "no-such-group");
    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EINVAL, errno);

    become(process, "nobody", "no-such-group");
    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EINVAL, errno);

    EXPECT_EQ(0, process.record.pid);
    EXPECT_FALSE(hasChildren());
}

TEST_F(XexecUser, ANumberIsNoName) {
    Process process(loop);
    become(process, "0", "");

    EXPECT_EQ(-1, process.cmd("true"));
    EXPECT_EQ(EINVAL, errno);
}

struct RefusedStep {
    const char* name;
    long number;
    int error;
};

void PrintTo(const RefusedStep& step, std::ostream* out) {
    *out << step.name;
}

class XexecRefusedStep : public XexecUserAsRoot,
                         public ::testing::WithParamInterface<RefusedStep> {};

TEST_P(XexecRefusedStep, NothingIsStartedAsSomebodyElse) {
    const RefusedCall refused(GetParam().number, GetParam().error);
    Process process(loop);
    become(process, "nobody", "");
    const std::string line = "echo ran >" + dir.file("out");

    for (const int delay : {0, 5}) {
        EXPECT_EQ(
            -1, xexecve_cmd_with_delay(&process.record, line.c_str(), nullptr, delay, XEXEC_PLAIN));
        EXPECT_EQ(GetParam().error, errno);
        EXPECT_EQ(
            -1, xexecve_cmd_with_delay(&process.record, line.c_str(), nullptr, delay, XEXEC_WAIT));
    }
    Process orphan(nullptr);
    orphan.record.fn = nullptr;
    become(orphan, "nobody", "");
    EXPECT_EQ(-1, orphan.cmd(line.c_str()));
    EXPECT_EQ(GetParam().error, errno);

    EXPECT_NE(0, access(dir.file("out").c_str(), F_OK));
    EXPECT_FALSE(hasChildren());
}

INSTANTIATE_TEST_SUITE_P(All, XexecRefusedStep,
                         ::testing::Values(RefusedStep{"Groups", kSetGroups, EPERM},
                                           RefusedStep{"Group", kSetGroup, EPERM},
                                           RefusedStep{"User", kSetUser, EAGAIN}),
                         [](const auto& tested) { return tested.param.name; });

// --- without privileges ---

TEST_F(XexecUser, WithoutPrivilegesAnotherUserIsRefused) {
    EXPECT_EQ(EPERM, asNobody([&] {
                  Process process(loop);
                  become(process, "root", "");
                  return process.cmd("true", XEXEC_WAIT) == -1 ? errno : 0;
              }));
}

TEST_F(XexecUser, WithoutPrivilegesAnotherGroupIsRefused) {
    EXPECT_EQ(EPERM, asNobody([&] {
                  Process process(loop);
                  become(process, "", "daemon");
                  return process.cmd("true", XEXEC_WAIT) == -1 ? errno : 0;
              }));
}

TEST_F(XexecUserAsRoot, ToBecomeOneselfTakesNoPrivileges) {
    EXPECT_EQ(0, asNobody([&] {
                  Process process(loop);
                  become(process, "nobody", "");
                  return process.cmd("true", XEXEC_WAIT) == 0 ? 0 : 1;
              }));
}

TEST_F(XexecUserAsRoot, AnOrdinaryUserStartsWatchesAndEndsChildren) {
    EXPECT_EQ(
        0, asNobody([&] {
            evlp_thread_str* const own = evlp_openThreadInt("own", 0, 0, 16, 0, 255, 0);
            Process process(own);
            process.then = [&] { evlp_stopThread(own); };
            if (process.cmd("exec sleep 1000") != 0 || kill(process.record.pid, SIGTERM) != 0) {
                return 1;
            }
            evlp_startThread(own);
            return process.ends.size() == 1 && process.ends[0].status == SIGTERM ? 0 : 2;
        }));
}

TEST_F(XexecUserAsRoot, WhereNoMoreProcessesAreAllowedTheErrorSaysSo) {
    for (const int delay : {0, 5}) {
        EXPECT_EQ(EAGAIN, asNobody([&] {
                      const rlimit none = {0, 0};
                      setrlimit(RLIMIT_NPROC, &none);
                      xexec_s record = {};
                      const int result =
                          xexecve_cmd_with_delay(&record, "true", nullptr, delay, XEXEC_PLAIN);
                      return result == -1 ? errno : 0;
                  }));
    }
}

}  // namespace
