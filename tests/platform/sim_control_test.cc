// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A whole daemon in virtual time, and the command evlp-sim. This program's own time is real.

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/temp_dir.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/** A child process with pipes to its standard streams. */
class Child {
  public:
    explicit Child(const std::vector<std::string>& command) {
        int input[2];
        int output[2];
        EXPECT_EQ(0, pipe2(input, O_CLOEXEC));
        EXPECT_EQ(0, pipe2(output, O_CLOEXEC));
        m_pid = fork();
        if (m_pid == 0) {
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            dup2(output[1], STDERR_FILENO);
            exec(command);
        }
        close(input[0]);
        close(output[1]);
        m_input = input[1];
        m_output = output[0];
    }
    ~Child() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            (void)end();
        }
        close(m_input);
        close(m_output);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void say(const std::string& text) const {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(m_input, text.data(), text.size()));
    }
    void terminate() const { kill(m_pid, SIGTERM); }

    /** What has been printed and not read yet; waits for nothing. */
    std::string printed() const {
        fcntl(m_output, F_SETFL, O_NONBLOCK);
        return readAll();
    }

    /** Waits for a line. */
    std::string line() const {
        fcntl(m_output, F_SETFL, 0);
        std::string result;
        char byte = 0;
        while (read(m_output, &byte, 1) == 1 && byte != '\n') {
            result += byte;
        }
        return isOfLoader(result) ? line() : result;
    }

    /** Everything that is printed to the end. */
    std::string rest() const {
        fcntl(m_output, F_SETFL, 0);
        return readAll();
    }

    /** Waits for the end. @return the exit status */
    int end() {
        int status = -1;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    [[noreturn]] static void exec(const std::vector<std::string>& command) {
        std::vector<char*> arguments;
        for (const std::string& each : command) {
            arguments.push_back(const_cast<char*>(each.c_str()));
        }
        arguments.push_back(nullptr);
        // The runtime of a sanitizer wants to be the first library, which a preloaded one is.
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        execv(arguments[0], arguments.data());
        _exit(99);
    }

    std::string readAll() const {
        std::string result;
        char bytes[4096];
        for (ssize_t n = 0; (n = read(m_output, bytes, sizeof bytes)) > 0;) {
            result.append(bytes, static_cast<size_t>(n));
        }
        for (size_t begin = 0; begin < result.size();) {
            const size_t next = result.find('\n', begin) + 1;
            if (next != 0 && isOfLoader(result.substr(begin, next - begin))) {
                result.erase(begin, next - begin);
            } else {
                begin = next == 0 ? result.size() : next;
            }
        }
        return result;
    }

    // An emulator is a program of this machine, and its loader complains of a preloaded library
    // that is for another one.
    static bool isOfLoader(const std::string& line) {
        return line.rfind("ERROR: ld.so: object", 0) == 0;
    }

    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

/** A client of its own, for what the command would not do. */
class Client {
  public:
    explicit Client(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(0, connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
    ~Client() { close(m_fd); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void say(const std::string& text) const {
        EXPECT_EQ(static_cast<ssize_t>(text.size()),
                  send(m_fd, text.data(), text.size(), MSG_NOSIGNAL));
    }
    void sayNoMore() const { shutdown(m_fd, SHUT_WR); }

    std::string line() const {
        std::string result;
        char byte = 0;
        while (read(m_fd, &byte, 1) == 1 && byte != '\n') {
            result += byte;
        }
        return result;
    }

  private:
    int m_fd;
};

struct Result {
    int status;
    std::string output;
};

Result evlpSim(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), EVLP_SIM_COMMAND);
    Child command(arguments);
    Result result = {};
    result.output = command.rest();
    result.status = command.end();
    return result;
}

class SimDaemon : public ::testing::Test {
  protected:
    SimDaemon() : path(folder.file("control")) {}

    std::vector<std::string> runCommand(const std::string& mode = "") const {
        std::vector<std::string> command = {
            EVLP_SIM_COMMAND,      "run", "--control", path, "--date",
            "2026-11-16 06:00:00", "--",  SIM_DAEMON};
        if (!mode.empty()) {
            command.push_back(mode);
        }
        return command;
    }

    /** What the command prints, without its last newline; and its status, unless that is 0. */
    std::string tell(const std::vector<std::string>& words) const {
        std::vector<std::string> arguments = {"--control", path};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const Result result = evlpSim(arguments);
        const std::string output = result.output.substr(0, result.output.find_last_of('\n'));
        return result.status == 0 ? output : std::to_string(result.status) + " " + output;
    }

    void waitForSocket() const { EXPECT_EQ("2026-11-16 06:00:00", tell({"date"})); }

    TempDir folder;
    std::string path;
};

class SimCommand : public SimDaemon {};

TEST_F(SimDaemon, StartsAtItsDateAndTimeStandsStill) {
    Child daemon(runCommand());

    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
    daemon.say("hello\n");
    EXPECT_EQ("read hello", daemon.line());
    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
    EXPECT_EQ("", daemon.printed());
}

TEST_F(SimDaemon, HasCalledAllThatFellDueWhenAnAdvanceIsAnswered) {
    Child daemon(runCommand());

    EXPECT_EQ("", tell({"advance", "180"}));

    EXPECT_EQ("06:01:00\n06:02:00\n06:03:00\n", daemon.printed());
    EXPECT_EQ("2026-11-16 06:03:00", tell({"date"}));
}

TEST_F(SimDaemon, AdvancesByFractionsOfASecond) {
    Child daemon(runCommand());

    tell({"advance", "59.999999"});
    EXPECT_EQ("", daemon.printed());
    tell({"advance", "0.000001"});
    EXPECT_EQ("06:01:00\n", daemon.printed());
    tell({"advance", "59.5"});
    EXPECT_EQ("", daemon.printed());
    tell({"advance", "0.5"});
    EXPECT_EQ("06:02:00\n", daemon.printed());
}

TEST_F(SimDaemon, AdvancesToADate) {
    Child daemon(runCommand());

    EXPECT_EQ("", tell({"to", "2026-11-16 06:01"}));

    EXPECT_EQ("06:01:00\n", daemon.printed());
    EXPECT_EQ("2026-11-16 06:01:00", tell({"date"}));
}

TEST_F(SimDaemon, AdvancesToADateGivenInTwoWords) {
    Child daemon(runCommand());

    EXPECT_EQ("", tell({"to", "2026-11-16", "06:01:00"}));

    EXPECT_EQ("06:01:00\n", daemon.printed());
}

TEST_F(SimDaemon, ListsWhatIsArmed) {
    Child daemon(runCommand());

    EXPECT_EQ(
        "2026-11-16 06:01:00.000 timer priority 8 loop daemon\n"
        "never descriptor 0 read priority 9 loop daemon\n"
        "never signal 15 priority 10 loop daemon",
        tell({"armed"}));
}

TEST_F(SimDaemon, GetsSignalsFromTheSystemAndRemovesItsSocket) {
    Child daemon(runCommand());
    waitForSocket();

    daemon.terminate();

    EXPECT_EQ("ended\n", daemon.rest());
    EXPECT_EQ(0, daemon.end());
    EXPECT_NE(0, access(path.c_str(), F_OK));
}

TEST_F(SimDaemon, ThatIsStoppedOnTheWaySaysSo) {
    Child daemon(runCommand("stop"));

    EXPECT_EQ("1 evlp-sim: " + path + ": the loop has been stopped", tell({"advance", "3600"}));

    EXPECT_EQ("06:01:00\nended\n", daemon.rest());
    EXPECT_EQ(0, daemon.end());
}

TEST_F(SimDaemon, ThatIsNeverIdleSaysSoAndIsStillServed) {
    Child daemon(runCommand("busy"));
    waitForSocket();
    daemon.say("x");

    EXPECT_EQ("1 evlp-sim: " + path + ": there is no end to what is ready",
              tell({"advance", "3600"}));
    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
}

TEST_F(SimDaemon, WithAnotherLoopThatIsNeverIdleSaysSo) {
    Child daemon(runCommand("busy-other"));

    EXPECT_EQ("1 evlp-sim: " + path + ": there is no end to what is ready",
              tell({"advance", "3600"}));
    EXPECT_EQ("2026-11-16 06:01:30", tell({"date"}));
    EXPECT_EQ("06:01:00\n", daemon.printed());
}

TEST_F(SimDaemon, RunsItsOtherLoopsTooWhileTimePasses) {
    Child daemon(runCommand("two"));

    EXPECT_EQ("", tell({"advance", "120"}));

    EXPECT_EQ("06:01:00\nother loop\n06:02:00\n", daemon.printed());
}

TEST_F(SimDaemon, IsNotToldTheTimeWhileItMakesItPassItself) {
    Child daemon(runCommand("advance"));
    EXPECT_EQ("modal loop", daemon.line());
    Client client(path);
    client.say("advance 60\n");
    daemon.say("x");  // lets it go on

    EXPECT_EQ("advanced to 06:00:10", daemon.line());
    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("06:01:00\n", daemon.printed());
    EXPECT_EQ("2026-11-16 06:01:10", tell({"date"}));
}

TEST_F(SimDaemon, RefusesWhatCannotBeDone) {
    Child daemon(runCommand());
    const std::string prefix = "1 evlp-sim: " + path + ": ";

    EXPECT_EQ(prefix + "that date has passed", tell({"to", "2026-11-16 05:59:59"}));
    EXPECT_EQ(prefix + "not a date like 2026-03-29 01:59:50: tomorrow", tell({"to", "tomorrow"}));
    EXPECT_EQ(prefix + "not a number of seconds: 1h", tell({"advance", "1h"}));
    EXPECT_EQ(prefix + "not a number of seconds: -1", tell({"advance", "-1"}));
    EXPECT_EQ(prefix + "not a number of seconds: 1.", tell({"advance", "1."}));
    EXPECT_EQ(prefix + "not a number of seconds: 1.1234567", tell({"advance", "1.1234567"}));
    EXPECT_EQ(prefix + "not a number of seconds: 1234567890123",
              tell({"advance", "1234567890123"}));
    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
}

TEST_F(SimDaemon, AnswersLinesOneByOne) {
    Child daemon(runCommand());
    waitForSocket();
    Client client(path);

    client.say("date\nadvance 60\ndate\nnonsense\nadvance\ndate now\nto 2026-11-16 06:02\n");
    client.say("da");
    client.say("te\n");

    EXPECT_EQ("2026-11-16 06:00:00", client.line());
    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("2026-11-16 06:01:00", client.line());
    EXPECT_EQ("OK", client.line());
    for (int i = 0; i != 3; ++i) {
        EXPECT_EQ("ERROR the commands are: advance SECONDS, to DATE, date, armed", client.line());
    }
    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("2026-11-16 06:02:00", client.line());
    EXPECT_EQ("OK", client.line());
}

TEST_F(SimDaemon, ServesSeveralClients) {
    Child daemon(runCommand());
    waitForSocket();
    Client first(path);
    Client second(path);

    first.say("advance 60\n");
    EXPECT_EQ("OK", first.line());
    second.say("advance 60\ndate\n");
    EXPECT_EQ("OK", second.line());
    EXPECT_EQ("2026-11-16 06:02:00", second.line());
    first.say("date\n");
    EXPECT_EQ("2026-11-16 06:02:00", first.line());
}

TEST_F(SimDaemon, DoesAlsoWhatAClientAskedForThatSaysNoMore) {
    Child daemon(runCommand());
    waitForSocket();
    Client client(path);
    client.say("advance 60\ndate\n");
    client.sayNoMore();

    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("2026-11-16 06:01:00", client.line());
    EXPECT_EQ("OK", client.line());
    EXPECT_EQ("", client.line());  // the end
}

TEST_F(SimDaemon, SurvivesClientsThatHangUp) {
    Child daemon(runCommand());
    waitForSocket();
    for (int i = 0; i != 50; ++i) {
        Client client(path);
        client.say("armed\nadvance 1\narmed\narmed\n");
    }

    Client last(path);
    last.say("date\n");
    EXPECT_THAT(last.line(), StartsWith("2026-11-16 06:0"));
    EXPECT_EQ("OK", last.line());
}

TEST_F(SimDaemon, DoesNotGoOnForAClientThatHasHungUp) {
    Child daemon(runCommand("quiet"));
    waitForSocket();
    {
        Client impatient(path);
        impatient.say("advance 999999999999\ndate\n");
    }

    EXPECT_THAT(tell({"armed"}), HasSubstr("timer priority 8 loop daemon"));
}

TEST_F(SimDaemon, RefusesTheSeventeenthClient) {
    Child daemon(runCommand());
    waitForSocket();
    std::list<Client> clients;
    for (int i = 0; i != 16; ++i) {
        clients.emplace_back(path);
    }

    Client late(path);

    EXPECT_EQ("ERROR too many clients", late.line());
    EXPECT_EQ("", late.line());  // the end
    clients.back().say("date\n");
    EXPECT_EQ("2026-11-16 06:00:00", clients.back().line());
}

TEST_F(SimDaemon, SaysWhyItCannotListen) {
    path = folder.file("nowhere/control");
    Child daemon(runCommand());

    EXPECT_THAT(daemon.rest(), HasSubstr("No such file or directory"));
    EXPECT_EQ(1, daemon.end());
}

TEST_F(SimDaemon, RefusesALineThatIsTooLongAndGoesOn) {
    Child daemon(runCommand());
    waitForSocket();
    Client client(path);

    client.say("advance " + std::string(5000, '1') + "\ndate\n");

    EXPECT_EQ("ERROR the line is too long", client.line());
    EXPECT_EQ("2026-11-16 06:00:00", client.line());
    EXPECT_EQ("OK", client.line());
}

TEST_F(SimDaemon, TakesTheCommandsRefusalOfALineThatIsTooLong) {
    Child daemon(runCommand());
    waitForSocket();

    EXPECT_THAT(tell({"advance", std::string(300, '1')}), EndsWith("the line is too long"));
    EXPECT_THAT(tell({"advance", std::string(600, '1')}), EndsWith("Argument list too long"));
}

TEST_F(SimDaemon, ReplacesASocketThatWasLeftOver) {
    {
        Child killed(runCommand());
        waitForSocket();
    }
    ASSERT_EQ(0, access(path.c_str(), F_OK));

    Child daemon(runCommand());

    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
}

TEST_F(SimDaemon, LeavesAFileThatIsNoSocketAlone) {
    close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));

    Child daemon(runCommand());

    EXPECT_THAT(daemon.rest(), HasSubstr(strerror(EADDRINUSE)));
    EXPECT_EQ(1, daemon.end());
    EXPECT_EQ(0, access(path.c_str(), F_OK));
}

TEST_F(SimDaemon, LeavesTheSocketOfAnotherAlone) {
    Child first(runCommand());
    waitForSocket();

    Child second(runCommand());

    EXPECT_THAT(second.rest(), HasSubstr(strerror(EADDRINUSE)));
    EXPECT_EQ(1, second.end());
    EXPECT_EQ("2026-11-16 06:00:00", tell({"date"}));
}

TEST_F(SimDaemon, DoesNotStartAtADateThatCannotBeRead) {
    setenv("EVLP_SIM_DATE", "tomorrow", 1);
    setenv("LD_PRELOAD", EVLP_SIM_LIBRARY, 1);
    Child daemon({SIM_DAEMON});
    unsetenv("LD_PRELOAD");
    unsetenv("EVLP_SIM_DATE");

    EXPECT_THAT(daemon.rest(), HasSubstr("EVLP_SIM_DATE is \"tomorrow\", not a date"));
    EXPECT_EQ(2, daemon.end());
}

TEST_F(SimCommand, HelpsThoseWhoAsk) {
    const Result help = evlpSim({"--help"});

    EXPECT_EQ(0, help.status);
    EXPECT_THAT(help.output, StartsWith("usage: evlp-sim run --control PATH"));
}

TEST_F(SimCommand, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(2, evlpSim({}).status);
    EXPECT_EQ(2, evlpSim({"--control"}).status);
    EXPECT_EQ(2, evlpSim({"--control", path}).status);
    EXPECT_EQ(2, evlpSim({"--control", "", "date"}).status);
    EXPECT_EQ(2, evlpSim({"--control", path, "advance"}).status);
    EXPECT_EQ(2, evlpSim({"--control", path, "date", "now"}).status);
    EXPECT_EQ(2, evlpSim({"--control", path, "rewind", "5"}).status);
    EXPECT_EQ(2, evlpSim({"--control", path, "--date", "2026-11-16 06:00", "date"}).status);
    EXPECT_EQ(2, evlpSim({"--speed", "2", "--control", path, "date"}).status);
    EXPECT_EQ(2, evlpSim({"date"}).status);
    EXPECT_EQ(2, evlpSim({"run", "--control", path}).status);
    EXPECT_EQ(2, evlpSim({"run", "--", SIM_DAEMON}).status);
}

TEST_F(SimCommand, HasTheExitStatusOfTheProgramThatItRuns) {
    EXPECT_EQ(42, evlpSim({"run", "--control", path, "--", SIM_DAEMON, "status"}).status);
    EXPECT_EQ(42, evlpSim({"run", "--control", path, SIM_DAEMON, "status"}).status);
}

TEST_F(SimCommand, SaysWhenItCannotRunAProgram) {
    const Result result = evlpSim({"run", "--control", path, "--", folder.file("missing")});

    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.output, HasSubstr("No such file or directory"));
}

TEST_F(SimCommand, RefusesToRunAtADateThatCannotBeRead) {
    const Result result =
        evlpSim({"run", "--control", path, "--date", "2026-02-30 06:00", "--", SIM_DAEMON});

    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.output, HasSubstr("not a date like 2026-03-29 01:59:50"));
}

TEST_F(SimCommand, WaitsForAProgramThatIsNotThereYet) {
    Child command({EVLP_SIM_COMMAND, "--control", path, "date"});
    Child daemon(runCommand());

    EXPECT_EQ("2026-11-16 06:00:00\n", command.rest());
    EXPECT_EQ(0, command.end());
}

TEST_F(SimCommand, SaysWhenTheProgramEndsMeanwhile) {
    Child daemon(runCommand());
    waitForSocket();
    Client idle(path);

    daemon.terminate();

    EXPECT_EQ("", idle.line());  // hung up
    EXPECT_EQ(0, daemon.end());
}

TEST_F(SimCommand, RefusesAPathThatIsTooLong) {
    path = folder.file(std::string(200, 'x'));

    EXPECT_THAT(tell({"date"}), EndsWith(strerror(ENAMETOOLONG)));
}

TEST_F(SimDaemon, RefusesAPathThatIsTooLong) {
    path = folder.file(std::string(200, 'x'));
    Child daemon(runCommand());

    EXPECT_THAT(daemon.rest(), HasSubstr(strerror(ENAMETOOLONG)));
    EXPECT_EQ(1, daemon.end());
}

}  // namespace
