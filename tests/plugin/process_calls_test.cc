// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stddef.h>
#include <string.h>
#include <string>
#include <sys/types.h>
#include <vector>

#include "zol/process.h"

#include "support/syslog_capture.h"

// What a process asks of the service. This program defines the service itself, and kill(2); nothing
// is started.

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

namespace {

struct Call {
    std::string text;
    xexec_s* record;
    xexec_s state;  // of the record
};

std::vector<Call> calls;
int answer = 0;
int startedPid = 0;  // what a start writes into the record; 0: it fails
std::vector<std::string> kills;

int note(const std::string& text, xexec_s* record) {
    calls.push_back({text, record, *record});
    if (startedPid != 0 && text.rfind("detach", 0) != 0) {
        record->pid = startedPid;
        strcpy(record->name, "pump");
    }
    return answer;
}

std::string wordsOf(char* const* argv) {
    std::string text = argv == nullptr ? "none" : "";
    for (; argv != nullptr && *argv != nullptr; ++argv) {
        text += std::string("[") + *argv + "]";
    }
    return text;
}

}  // namespace

extern "C" {

int xexec_cmd(xexec_s* record, const char* command, int flags) {
    return note("cmd '" + std::string(command) + "' " + std::to_string(flags), record);
}

int xexec_with_delay(xexec_s* record, char* const* argv, int delay, int flags) {
    return note(
        "with_delay " + wordsOf(argv) + " " + std::to_string(delay) + " " + std::to_string(flags),
        record);
}

int xexecve_cmd_with_delay(xexec_s* record, const char* path, char* const* argv, int delay,
                           int flags) {
    return note("xexecve '" + std::string(path) + "' " + wordsOf(argv) + " " +
                    std::to_string(delay) + " " + std::to_string(flags),
                record);
}

int xexec_detach(xexec_s* record) {
    return note("detach " + std::to_string(record->pid), record);
}

int kill(pid_t pid, int signum) noexcept {
    kills.push_back(std::to_string(pid) + " " + std::to_string(signum));
    errno = ESRCH;
    return answer;
}

}  // extern "C"

namespace {

evlp_thread_str* someLoop() {
    static char loop;
    return reinterpret_cast<evlp_thread_str*>(&loop);
}

char pump[] = "pump";
char flush[] = "--flush";
char* const words[] = {pump, flush, nullptr};

struct Handler : zol::IProcTermHandler {
    void onProcTerm(zol::CProcess* process, int status) override {
        ends.push_back({process, status});
        pids.push_back(process->getPid());
    }
    std::vector<std::pair<zol::CProcess*, int>> ends;
    std::vector<int> pids;
};

class ProcessCalls : public ::testing::Test {
  protected:
    ProcessCalls() {
        calls.clear();
        kills.clear();
        answer = 0;
        startedPid = 0;
    }

    std::vector<std::string> called() {
        std::vector<std::string> texts;
        for (const Call& call : calls) {
            texts.push_back(call.text);
        }
        calls.clear();
        return texts;
    }

    /** Lets the process have a child. */
    void startChild(int pid = 4711) {
        startedPid = pid;
        ASSERT_EQ(0, process.start("pump", 0));
        startedPid = 0;
        calls.clear();
    }

    Handler handler;
    zol::CProcess process{&handler, someLoop(), 8};
    SyslogCapture log;
};

using ProcessStart = ProcessCalls;
using ProcessUser = ProcessCalls;
using ProcessTerminate = ProcessCalls;
using ProcessDetach = ProcessCalls;
using ProcessEnd = ProcessCalls;
using RunCommand = ProcessCalls;

// --- the record ---

TEST_F(ProcessCalls, TheRecordIsZeroButForWhatTheConstructorWasGiven) {
    process.start("pump", 0);
    zol::CProcess other(nullptr, nullptr, 255);
    other.start("pump", 0);

    xexec_s expected = {};
    expected.fn = &zol::CProcess::onEvent;
    expected.context = &process;
    expected.loop = someLoop();
    expected.priority = 8;
    EXPECT_EQ(0, memcmp(&expected, &calls[0].state, sizeof expected));
    EXPECT_EQ(&other, calls[1].state.context);
    EXPECT_EQ(nullptr, calls[1].state.loop);
    EXPECT_EQ(255, calls[1].state.priority);
}

TEST_F(ProcessCalls, TheRecordIsPartOfTheObject) {
    process.start("pump", 0);

    const auto* const object = reinterpret_cast<const char*>(&process);
    const auto* const record = reinterpret_cast<const char*>(calls[0].record);
    EXPECT_EQ(static_cast<ptrdiff_t>(sizeof(void*)), record - object);
}

// --- start ---

TEST_F(ProcessStart, WithoutAChildEachFormCallsTheService) {
    process.startWithDelay("/bin/pump", words, 250, 3);
    process.startWithDelay("pump --flush", 250, 3);
    process.startWithDelay(99, words, 250, 3);
    process.start("pump --flush", 3);
    process.start("/bin/pump", words, 3);
    process.start(99, words, 3);

    EXPECT_THAT(
        called(),
        ElementsAre("xexecve '/bin/pump' [pump][--flush] 250 3",
                    "xexecve 'pump --flush' none 250 3", "with_delay [pump][--flush] 250 3",
                    "xexecve 'pump --flush' none 0 3", "xexecve '/bin/pump' [pump][--flush] 0 3",
                    "with_delay [pump][--flush] 0 3"));
}

TEST_F(ProcessStart, TheLeadingIntegerIsNotPassedOn) {
    for (const int ignored : {0, 1, -1, 4711}) {
        process.start(ignored, words, 3);
        process.startWithDelay(ignored, words, 250, 3);

        EXPECT_THAT(called(), ElementsAre("with_delay [pump][--flush] 0 3",
                                          "with_delay [pump][--flush] 250 3"));
    }
}

TEST_F(ProcessStart, FlagsAndDelaysArePassedOnAsTheyAre) {
    process.start("pump", -1);
    process.startWithDelay("pump", -5, 1 << 30);

    EXPECT_THAT(called(),
                ElementsAre("xexecve 'pump' none 0 -1", "xexecve 'pump' none -5 1073741824"));
}

TEST_F(ProcessStart, AnswersWhatTheServiceAnswers) {
    for (const int result : {0, -1, 77}) {
        answer = result;
        EXPECT_EQ(result, process.startWithDelay("/bin/pump", words, 1, 0));
        EXPECT_EQ(result, process.startWithDelay("pump", 1, 0));
        EXPECT_EQ(result, process.startWithDelay(0, words, 1, 0));
        EXPECT_EQ(result, process.start("pump", 0));
        EXPECT_EQ(result, process.start("/bin/pump", words, 0));
        EXPECT_EQ(result, process.start(0, words, 0));
    }
}

TEST_F(ProcessStart, WhileAChildRunsEachFormFailsWithoutCallingTheService) {
    startChild();

    EXPECT_EQ(-1, process.startWithDelay("/bin/pump", words, 1, 0));
    EXPECT_EQ(-1, process.startWithDelay("pump", 1, 0));
    EXPECT_EQ(-1, process.startWithDelay(0, words, 1, 0));
    EXPECT_EQ(-1, process.start("pump", 0));
    EXPECT_EQ(-1, process.start("/bin/pump", words, 0));
    EXPECT_EQ(-1, process.start(0, words, 0));

    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(4711, process.getPid());
    EXPECT_THAT(log.lines(), IsEmpty());
}

// --- user and group ---

TEST_F(ProcessUser, NamesStandInTheRecord) {
    process.setUser("daemon");
    process.setGroup("staff");
    process.start("pump", 0);

    EXPECT_STREQ("daemon", calls[0].state.user);
    EXPECT_STREQ("staff", calls[0].state.group);
}

TEST_F(ProcessUser, NullAndEmptyNamesChangeNothing) {
    process.setUser("daemon");
    process.setGroup("staff");
    process.setUser("");
    process.setUser(nullptr);
    process.setGroup("");
    process.setGroup(nullptr);
    process.start("pump", 0);

    EXPECT_STREQ("daemon", calls[0].state.user);
    EXPECT_STREQ("staff", calls[0].state.group);
}

TEST_F(ProcessUser, AShorterNameReplacesALongerOne) {
    process.setUser("a-long-name");
    process.setUser("me");
    process.start("pump", 0);

    EXPECT_STREQ("me", calls[0].state.user);
    EXPECT_EQ(0, calls[0].state.user[3]);
    EXPECT_EQ(0, calls[0].state.user[8]);
}

TEST_F(ProcessUser, OfALongNameThirtyOneCharactersAreKept) {
    process.setUser("a234567890b234567890c234567890d234567890");
    process.setGroup("a234567890b234567890c234567890d");
    process.start("pump", 0);

    EXPECT_STREQ("a234567890b234567890c234567890d", calls[0].state.user);
    EXPECT_STREQ("a234567890b234567890c234567890d", calls[0].state.group);
}

// --- terminate ---

TEST_F(ProcessTerminate, KillsUnlessItIsGraceful) {
    startChild();

    process.terminate(0, 15);
    process.terminate(0, 0);

    EXPECT_THAT(kills, ElementsAre("4711 9", "4711 9"));
}

TEST_F(ProcessTerminate, SendsTheSignalOrTheOneThatAsksToEnd) {
    startChild();

    process.terminate(1, 0);
    process.terminate(1, 2);
    process.terminate(-1, 2);

    EXPECT_THAT(kills, ElementsAre("4711 15", "4711 2", "4711 2"));
}

TEST_F(ProcessTerminate, LogsWhoIsKilledAndAnswersWhatKillAnswers) {
    startChild();

    EXPECT_EQ(0, process.terminate(1, 2));
    answer = -1;
    EXPECT_EQ(-1, process.terminate(0, 0));
    EXPECT_EQ(ESRCH, errno);

    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            SyslogCapture::Line{7, " terminate(#): kill process pump (pid =4711) with signal 2"},
            SyslogCapture::Line{7, " terminate(#): kill process pump (pid =4711) with signal 9"}));
}

TEST_F(ProcessTerminate, DoesNotForgetTheChild) {
    startChild();

    process.terminate(0, 0);

    EXPECT_EQ(4711, process.getPid());
    EXPECT_THAT(handler.ends, IsEmpty());
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(ProcessTerminate, WithoutAChildFailsAndLogsNothing) {
    EXPECT_EQ(-1, process.terminate(0, 15));
    EXPECT_EQ(-1, process.terminate(1, 0));
    EXPECT_EQ(-1, process.terminate(1, 2));

    EXPECT_THAT(kills, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

// --- detach ---

TEST_F(ProcessDetach, LeavesTheChildAndAnswersItsIdentifier) {
    startChild();

    EXPECT_EQ(4711, process.detach());

    EXPECT_THAT(called(), ElementsAre("detach 4711"));
    EXPECT_EQ(0, process.getPid());
    EXPECT_THAT(kills, IsEmpty());
}

TEST_F(ProcessDetach, WithoutAChildDoesNothing) {
    EXPECT_EQ(0, process.detach());
    startChild();
    process.detach();
    calls.clear();
    EXPECT_EQ(0, process.detach());

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(ProcessDetach, LetsAnotherChildBeStarted) {
    startChild(4711);
    process.detach();

    startChild(4712);

    EXPECT_EQ(4712, process.getPid());
}

TEST_F(ProcessDetach, IsWhatTheDestructorDoes) {
    {
        zol::CProcess brief(&handler, someLoop(), 8);
        startedPid = 5;
        brief.start("pump", 0);
        calls.clear();
    }
    EXPECT_THAT(called(), ElementsAre("detach 5"));
    EXPECT_THAT(kills, IsEmpty());

    { const zol::CProcess idle(&handler, someLoop(), 8); }
    EXPECT_THAT(called(), IsEmpty());
}

// --- the end ---

TEST_F(ProcessEnd, TheHandlerIsToldTheThirdArgumentWhenTheProcessIsIdle) {
    startChild();

    zol::CProcess::onEvent(&process, 12345, 256);

    EXPECT_THAT(handler.ends, ElementsAre(std::make_pair(&process, 256)));
    EXPECT_THAT(handler.pids, ElementsAre(0));
    EXPECT_EQ(0, process.getPid());
}

TEST_F(ProcessEnd, WithoutAHandlerTheProcessIsIdle) {
    zol::CProcess unheard(nullptr, someLoop(), 8);
    startedPid = 6;
    unheard.start("pump", 0);

    zol::CProcess::onEvent(&unheard, 6, 0);

    EXPECT_EQ(0, unheard.getPid());
}

struct Restarter : zol::IProcTermHandler {
    void onProcTerm(zol::CProcess* process, int) override { process->start("again", 0); }
};

TEST_F(ProcessEnd, AnotherChildCanBeStartedByTheHandler) {
    Restarter restarter;
    zol::CProcess restarted(&restarter, someLoop(), 8);
    startedPid = 6;
    restarted.start("pump", 0);
    startedPid = 7;

    zol::CProcess::onEvent(&restarted, 6, 0);

    EXPECT_EQ(7, restarted.getPid());
}

struct Destroyer : zol::IProcTermHandler {
    void onProcTerm(zol::CProcess* process, int) override { delete process; }
};

TEST_F(ProcessEnd, TheProcessCanBeDestroyedByTheHandler) {
    Destroyer destroyer;
    auto* const destroyed = new zol::CProcess(&destroyer, someLoop(), 8);
    startedPid = 6;
    destroyed->start("pump", 0);
    calls.clear();

    zol::CProcess::onEvent(destroyed, 6, 0);

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(ProcessEnd, AClassDerivedFromItIsDestroyedThroughIt) {
    bool destroyed = false;
    struct Derived : zol::CProcess {
        explicit Derived(bool& flag) : CProcess(nullptr, nullptr, 0), m_flag(flag) {}
        ~Derived() override { m_flag = true; }
        bool& m_flag;
    };

    const zol::CProcess* const process2 = new Derived(destroyed);
    delete process2;

    EXPECT_TRUE(destroyed);
}

// --- commands without an object ---

TEST_F(RunCommand, RunsALineWithAZeroRecord) {
    answer = 5;

    EXPECT_EQ(5, zol::CProcess::runCommand("pump --flush", 3));

    const xexec_s zero = {};
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ("cmd 'pump --flush' 3", calls[0].text);
    EXPECT_EQ(0, memcmp(&zero, &calls[0].state, sizeof zero));
}

TEST_F(RunCommand, FormatsALine) {
    answer = 5;

    EXPECT_EQ(5, zol::CProcess::runCommand(3, "pump %s %d", "--flush", 7));

    const xexec_s zero = {};
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ("cmd 'pump --flush 7' 3", calls[0].text);
    EXPECT_EQ(0, memcmp(&zero, &calls[0].state, sizeof zero));
}

TEST_F(RunCommand, RunsALineWithTheCallersRecord) {
    xexec_s record = {};
    strcpy(record.user, "daemon");
    answer = 5;

    EXPECT_EQ(5, zol::CProcess::runCommand(&record, "pump --flush", 3));
    EXPECT_EQ(5, zol::CProcess::runCommand(&record, 3, "pump %s", "--flush"));

    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ(&record, calls[0].record);
    EXPECT_EQ(&record, calls[1].record);
    EXPECT_STREQ("daemon", calls[1].state.user);
    EXPECT_THAT(called(), ElementsAre("cmd 'pump --flush' 3", "cmd 'pump --flush' 3"));
}

TEST_F(RunCommand, WithoutARecordFailsWithoutCallingTheService) {
    xexec_s* const none = nullptr;

    EXPECT_EQ(-1, zol::CProcess::runCommand(none, "pump", 3));
    EXPECT_EQ(-1, zol::CProcess::runCommand(none, 3, "pump %d", 1));

    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(RunCommand, FormattedLinesAreCutToFourHundredNinetyNineBytes) {
    xexec_s record = {};
    const std::string fits(499, 'x');
    const std::string tooLong(500, 'y');

    zol::CProcess::runCommand(3, "%s", fits.c_str());
    zol::CProcess::runCommand(3, "%s", tooLong.c_str());
    zol::CProcess::runCommand(&record, 3, "%s", tooLong.c_str());
    zol::CProcess::runCommand(tooLong.c_str(), 3);  // not formatted, not cut

    EXPECT_THAT(called(),
                ElementsAre("cmd '" + fits + "' 3", "cmd '" + tooLong.substr(1) + "' 3",
                            "cmd '" + tooLong.substr(1) + "' 3", "cmd '" + tooLong + "' 3"));
}

}  // namespace
