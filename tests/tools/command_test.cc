// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The command as its users call it.
#include <errno.h>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sstream>
#include <string.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/temp_dir.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// A folder with files, and the command run in it.
class Zolcat : public ::testing::Test {
  protected:
    int run(const std::vector<std::string>& arguments, const char* output = "out") {
        const pid_t child = fork();
        if (child == 0) {
            exec(arguments, output);
        }
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(m_folder.file(name), std::ios::binary) << bytes;
    }
    std::string contents(const std::string& name) {
        std::ifstream stream(m_folder.file(name), std::ios::binary);
        std::ostringstream bytes;
        bytes << stream.rdbuf();
        return stream ? bytes.str() : "(missing)";
    }
    std::string out() { return contents("out"); }
    std::string err() { return contents("err"); }
    std::string path(const std::string& name) { return m_folder.file(name); }
    size_t countFiles() {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.path())) {
            count += entry.path().filename() != "out" && entry.path().filename() != "err" ? 1 : 0;
        }
        return count;
    }

    unsigned modeOf(const std::string& name) {
        struct stat status = {};
        EXPECT_EQ(0, stat(path(name).c_str(), &status));
        return status.st_mode & 07777u;
    }

    // Run in the process of the command before it.
    std::function<void()> m_prepare = [] {};

  private:
    [[noreturn]] void exec(const std::vector<std::string>& arguments, const char* output) {
        std::vector<char*> argv{const_cast<char*>("zolcat")};
        for (const std::string& each : arguments) {
            argv.push_back(const_cast<char*>(each.c_str()));
        }
        argv.push_back(nullptr);
        if (chdir(m_folder.path().c_str()) == 0) {
            dup2(open(output, O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO);
            dup2(open("err", O_WRONLY | O_CREAT | O_TRUNC, 0666), STDERR_FILENO);
            m_prepare();
            execv(ZOLCAT, argv.data());
        }
        _exit(99);
    }

    TempDir m_folder;
};

using ZolcatCommandLine = Zolcat;
using ZolcatCompile = Zolcat;
using ZolcatDump = Zolcat;
using ZolcatCheck = Zolcat;
using ZolcatHeader = Zolcat;

// Where the first line is written at once, its failure shows only later, without its reason.
auto saysThatOutputIsLost() {
    const std::string start = "zolcat: standard output: ";
    return testing::AnyOf(start + strerror(ENOSPC) + "\n", start + strerror(EIO) + "\n");
}

constexpr char kUsage[] =
    "Usage: zolcat compile [-o FILE.cat] SOURCE...\n"
    "       zolcat dump FILE.cat...\n"
    "       zolcat check [--reference REFERENCE] FILE...\n"
    "       zolcat header [-o FILE.h] [--prefix PREFIX] SOURCE...\n"
    "       zolcat -h | --help | --version\n";

// --- the command line ---

TEST_F(ZolcatCommandLine, HelpsOnRequest) {
    for (const char* const option : {"--help", "-h"}) {
        EXPECT_EQ(0, run({option}));
        EXPECT_THAT(out(), StartsWith(kUsage));
        EXPECT_THAT(err(), IsEmpty());
    }
}

TEST_F(ZolcatCommandLine, TellsItsVersion) {
    EXPECT_EQ(0, run({"--version"}));
    EXPECT_EQ("zolcat " ZOLCAT_VERSION "\n", out());
}

TEST_F(ZolcatCommandLine, ComplainsAboutWhatItDoesNotKnow) {
    EXPECT_EQ(2, run({}));
    EXPECT_EQ(std::string("zolcat: no command\n") + kUsage, err());
    EXPECT_EQ(2, run({"make"}));
    EXPECT_EQ(std::string("zolcat: there is no command 'make'\n") + kUsage, err());
    EXPECT_EQ(2, run({"compile", "--prefix", "A", "a.msg"}));
    // The first line is getopt_long(3)'s own.
    EXPECT_THAT(err(), StartsWith("zolcat: unrecognized option"));
    EXPECT_THAT(err(), EndsWith(std::string("\n") + kUsage));
    EXPECT_EQ(2, run({"compile", "-o"}));
    EXPECT_THAT(err(), StartsWith("zolcat: option requires an argument"));
}

TEST_F(ZolcatCommandLine, NeedsAFile) {
    for (const char* const command : {"compile", "dump", "check", "header"}) {
        EXPECT_EQ(2, run({command}));
        EXPECT_EQ("zolcat: " + std::string(command) + " needs a file\n" + kUsage, err());
    }
}

TEST_F(ZolcatCommandLine, TakesNoEmptyArguments) {
    EXPECT_EQ(2, run({"compile", "-o", "", "a.msg"}));
    EXPECT_THAT(err(), StartsWith("zolcat: an option has an empty argument\n"));
}

TEST_F(ZolcatCommandLine, TakesAnythingForAFileBehindTwoDashes) {
    write("-a.msg", "$catalog 1 a\n");

    EXPECT_EQ(0, run({"check", "--", "-a.msg"}));
}

TEST_F(ZolcatCommandLine, SaysWhichFilesCannotBeRead) {
    for (const char* const command : {"compile", "dump", "check", "header"}) {
        EXPECT_EQ(2, run({command, "none"}));
        EXPECT_EQ("zolcat: none: No such file or directory\n", err());
        EXPECT_EQ(2, run({command, "."}));
        EXPECT_EQ("zolcat: .: Is a directory\n", err());
    }
}

// --- compile ---

TEST_F(ZolcatCompile, WritesBesideTheSource) {
    write("de.msg", "$catalog 1 a\n1 x\n");

    EXPECT_EQ(0, run({"compile", "de.msg"}));
    EXPECT_THAT(contents("de.cat"), StartsWith("#CATALOG"));
    EXPECT_THAT(out() + err(), IsEmpty());
    EXPECT_EQ(2u, countFiles());
}

TEST_F(ZolcatCompile, WritesWhereItIsTold) {
    write("a.msg", "$catalog 1 a\n1 x\n");

    EXPECT_EQ(0, run({"compile", "a.msg", "-o", "b"}));
    EXPECT_EQ(0, run({"compile", "-oc", "a.msg"}));
    EXPECT_THAT(contents("b"), StartsWith("#CATALOG"));
    EXPECT_EQ(contents("b"), contents("c"));
}

TEST_F(ZolcatCompile, MakesOneCatalogOfSeveralSources) {
    write("a.msg", "$catalog 1 a\n1 x\n");
    write("b.msg", "2 y\n");

    EXPECT_EQ(0, run({"compile", "-o", "a.cat", "a.msg", "b.msg"}));
    EXPECT_EQ(0, run({"dump", "a.cat"}));
    EXPECT_EQ(
        "CATALOG 'a' (id=1):\n"
        "  SET '' (id=0):\n"
        "  SET '' (id=1):\n"
        "    __xmsg__(0x01010001): \"x\"\n"
        "    __xmsg__(0x01010002): \"y\"\n",
        out());
}

TEST_F(ZolcatCompile, OfSeveralSourcesHasToBeToldWhere) {
    EXPECT_EQ(2, run({"compile", "a.msg", "b.msg"}));
    EXPECT_THAT(err(), StartsWith("zolcat: several sources need -o\n"));
}

TEST_F(ZolcatCompile, DoesNotOverwriteItsSource) {
    write("a.cat", "$catalog 1 a\n");

    EXPECT_EQ(2, run({"compile", "a.cat"}));
    EXPECT_THAT(err(), StartsWith("zolcat: 'a.cat' is the source itself\n"));
    EXPECT_EQ(2, run({"compile", "-o", "./a.cat", "a.cat"}));
    EXPECT_EQ("$catalog 1 a\n", contents("a.cat"));
}

TEST_F(ZolcatCompile, SaysAllProblemsAndLeavesTheOldFileAlone) {
    write("a.msg", "$catalog 1 a\n1 x\n1 y\n$foo\n");
    write("a.cat", "old");

    EXPECT_EQ(1, run({"compile", "a.msg"}));
    EXPECT_EQ(
        "a.msg:3: message 1 of set 1 is already defined in a.msg:2\n"
        "a.msg:4: there is no directive $foo; in a comment a blank follows the $\n",
        err());
    EXPECT_EQ("old", contents("a.cat"));
    EXPECT_EQ(2u, countFiles());
}

TEST_F(ZolcatCompile, ReplacesTheFileAndLeavesTheOldOneToWhoHasItOpen) {
    write("a.msg", "$catalog 1 a\n");
    write("a.cat", "old");
    std::ifstream open(path("a.cat"));

    EXPECT_EQ(0, run({"compile", "a.msg"}));
    std::string bytes;
    open >> bytes;
    EXPECT_EQ("old", bytes);
    EXPECT_THAT(contents("a.cat"), StartsWith("#CATALOG"));
}

TEST_F(ZolcatCompile, KeepsThePermissionsOfTheFile) {
    write("a.msg", "$catalog 1 a\n");
    write("a.cat", "old");
    ASSERT_EQ(0, chmod(path("a.cat").c_str(), 0646));
    m_prepare = [] { umask(0077); };

    EXPECT_EQ(0, run({"compile", "a.msg"}));
    EXPECT_THAT(contents("a.cat"), StartsWith("#CATALOG"));
    EXPECT_EQ(0646u, modeOf("a.cat"));
}

TEST_F(ZolcatCompile, GivesANewFileTheUsualPermissions) {
    write("a.msg", "$catalog 1 a\n");

    m_prepare = [] { umask(0027); };
    EXPECT_EQ(0, run({"compile", "a.msg"}));
    EXPECT_EQ(0640u, modeOf("a.cat"));
    m_prepare = [] { umask(0); };
    EXPECT_EQ(0, run({"compile", "-o", "b.cat", "a.msg"}));
    EXPECT_EQ(0666u, modeOf("b.cat"));
}

TEST_F(ZolcatCompile, LeavesTheOldFileAndNothingElseWhenTheDiskIsFull) {
    write("a.msg", "$catalog 1 a\n1 " + std::string(10000, 'x') + "\n");
    write("a.cat", "old");
    m_prepare = [] {
        const rlimit limit = {4096, 4096};  // as far as a file can grow
        setrlimit(RLIMIT_FSIZE, &limit);
        (void)signal(SIGXFSZ, SIG_IGN);
    };

    EXPECT_EQ(2, run({"compile", "a.msg"}));
    EXPECT_EQ("zolcat: a.cat: File too large\n", err());
    EXPECT_EQ("old", contents("a.cat"));
    EXPECT_EQ(2u, countFiles());
}

TEST_F(ZolcatCompile, TakesTheLongestFileName) {
    const std::string name(255, 'a');
    write("a.msg", "$catalog 1 a\n");

    EXPECT_EQ(0, run({"compile", "-o", name, "a.msg"}));
    EXPECT_THAT(contents(name), StartsWith("#CATALOG"));
}

TEST_F(ZolcatCompile, FollowsASymbolicLink) {
    write("a.msg", "$catalog 1 a\n");
    write("real", "old");
    ASSERT_EQ(0, symlink("real", path("a.cat").c_str()));

    EXPECT_EQ(0, run({"compile", "a.msg"}));
    EXPECT_THAT(contents("real"), StartsWith("#CATALOG"));
    EXPECT_TRUE(std::filesystem::is_symlink(path("a.cat")));
}

TEST_F(ZolcatCompile, FollowsNoSymbolicLinkToNothing) {
    write("a.msg", "$catalog 1 a\n");
    ASSERT_EQ(0, symlink("none", path("a.cat").c_str()));

    EXPECT_EQ(2, run({"compile", "a.msg"}));
    EXPECT_EQ("zolcat: a.cat: No such file or directory\n", err());
    EXPECT_TRUE(std::filesystem::is_symlink(path("a.cat")));
    EXPECT_EQ(2u, countFiles());
}

TEST_F(ZolcatCompile, SaysThatItCannotWrite) {
    write("a.msg", "$catalog 1 a\n");

    EXPECT_EQ(2, run({"compile", "-o", "none/a.cat", "a.msg"}));
    EXPECT_EQ("zolcat: none/a.cat: No such file or directory\n", err());
    EXPECT_EQ(2, run({"compile", "-o", "/dev/full", "a.msg"}));
    EXPECT_EQ("zolcat: /dev/full: No space left on device\n", err());
}

TEST_F(ZolcatCompile, MakesTheSameBytesAgain) {
    write("a.msg", "$catalog 1 a\n$set 7\n1 x\n$set 2\n5 y\n");

    EXPECT_EQ(0, run({"compile", "-o", "1", "a.msg"}));
    EXPECT_EQ(0, run({"compile", "-o", "2", "a.msg"}));
    EXPECT_EQ(contents("1"), contents("2"));
}

// --- dump ---

TEST_F(ZolcatDump, PrintsSeveralFiles) {
    write("a.msg", "$catalog 1 a\n");
    ASSERT_EQ(0, run({"compile", "a.msg"}));

    EXPECT_EQ(0, run({"dump", "a.cat", "a.cat"}));
    EXPECT_EQ("CATALOG 'a' (id=1):\nCATALOG 'a' (id=1):\n", out());
}

TEST_F(ZolcatDump, SaysWhyAFileIsRefusedAndPrintsTheOthers) {
    write("a.msg", "$catalog 1 a\n");
    ASSERT_EQ(0, run({"compile", "a.msg"}));

    EXPECT_EQ(1, run({"dump", "a.msg", "a.cat"}));
    EXPECT_EQ("a.msg:byte 0: the file does not begin with #CATALOG: it is refused\n", err());
    EXPECT_EQ("CATALOG 'a' (id=1):\n", out());
}

TEST_F(ZolcatDump, SaysThatItCannotReadAPipe) {
    write("a.msg", "$catalog 1 a\n");
    ASSERT_EQ(0, run({"compile", "a.msg"}));
    const std::string bytes = contents("a.cat");
    m_prepare = [&bytes] {
        int ends[2];
        if (pipe(ends) == 0 && ::write(ends[1], bytes.data(), bytes.size()) > 0) {
            close(ends[1]);
            dup2(ends[0], STDIN_FILENO);
        }
    };

    EXPECT_EQ(2, run({"dump", "/dev/stdin"}));
    EXPECT_EQ(std::string("zolcat: /dev/stdin: ") + strerror(EIO) + "\n", err());
}

TEST_F(ZolcatDump, SaysThatItsOutputIsLost) {
    write("a.msg", "$catalog 1 a\n");
    ASSERT_EQ(0, run({"compile", "a.msg"}));

    EXPECT_EQ(2, run({"dump", "a.cat"}, "/dev/full"));
    EXPECT_THAT(err(), saysThatOutputIsLost());
}

// --- check ---

TEST_F(ZolcatCheck, SaysNothingOfGoodFiles) {
    write("a.msg", "$catalog 1 a\n1 x\n");
    ASSERT_EQ(0, run({"compile", "a.msg"}));

    EXPECT_EQ(0, run({"check", "a.msg", "a.cat"}));
    EXPECT_EQ(0, run({"check", "--reference", "a.cat", "a.msg", "a.cat"}));
    EXPECT_THAT(out() + err(), IsEmpty());
}

TEST_F(ZolcatCheck, PrintsTheProblemsOfEachFile) {
    write("a.msg", "$catalog 1 a\n2 \n1 x\\000\n");
    write("b.cat", "#CATALOG");

    EXPECT_EQ(1, run({"check", "a.msg", "b.cat"}));
    EXPECT_EQ(
        "a.msg:2: message 2 of set 1 is empty, and counts as missing\n"
        "a.msg:3: a text cannot have a zero byte\n"
        "b.cat:byte 8: the file ends in the header: the file is refused\n",
        out());
    EXPECT_THAT(err(), IsEmpty());
}

TEST_F(ZolcatCheck, PrintsEachProblemInALine) {
    write("a.msg", "$catalog 1 a\n1 x\n");
    write("b.msg", "1 50%\x1b\n2 x\n$\x1b\n");
    const std::string name("a\n\xe2\x80\xae\xff", 6);
    write("c.cat", std::string("#CATALOG\0\0\0\xb\0\0\0\1\0\0\0\0\0\0\1", 23) +
                       std::string("\0\0\0\xf\0\0\0\2\0\6", 10) + name + std::string("\0x\0", 3));

    EXPECT_EQ(1, run({"check", "--reference", "a.msg", "b.msg", "c.cat"}));
    EXPECT_EQ(
        "b.msg:1: a message stands before $catalog\n"
        "b.msg:2: message 2 of set 1 is not in a.msg\n"
        "b.msg:3: there is no directive $\\033; in a comment a blank follows the $\n"
        "c.cat:byte 0: set 1 is missing; it is in a.msg:2\n"
        "c.cat:byte 23: set 2 'a\\012\\342\\200\\256\\377' is not in a.msg\n",
        out());
}

TEST_F(ZolcatCheck, StopsAfter2000ProblemsOfAFile) {
    std::string source = "$catalog 1 a\n";
    for (int i = 0; i < 2003; ++i) {
        source += "$foo\n";
    }
    write("a.msg", source);
    write("b.msg", "$catalog 1 b\n$bar\n");

    EXPECT_EQ(1, run({"check", "a.msg", "b.msg"}));
    EXPECT_THAT(out(), HasSubstr("\na.msg:2001: there is no directive $foo; in a comment a blank "
                                 "follows the $\n"
                                 "... and 3 more\n"
                                 "b.msg:2: there is no directive $bar; in a comment a blank "
                                 "follows the $\n"));
}

TEST_F(ZolcatCheck, ComparesEachFileWithTheReference) {
    write("en.msg", "$catalog 1 a\n1 x\n");
    write("de.msg", "$catalog 1 a\n1 %d\n$foo\n2 y\n");
    write("fr.msg", "$catalog 1 a\n1 y\n");
    ASSERT_EQ(0, run({"compile", "en.msg"}));

    EXPECT_EQ(1, run({"check", "--reference", "en.cat", "de.msg", "fr.msg"}));
    EXPECT_EQ(
        "de.msg:2: message 1 of set 1 takes %d here, and no arguments in en.cat:byte 36\n"
        "de.msg:3: there is no directive $foo; in a comment a blank follows the $\n"
        "de.msg:4: message 2 of set 1 is not in en.cat\n",
        out());
}

TEST_F(ZolcatCheck, PrintsTheProblemsOfTheReferenceToo) {
    write("en.msg", "$catalog 1 a\n1 x\n1 y\n");

    EXPECT_EQ(1, run({"check", "--reference=en.msg", "en.msg"}));
    EXPECT_EQ(
        "en.msg:3: message 1 of set 1 is already defined in en.msg:2\n"
        "en.msg:3: message 1 of set 1 is already defined in en.msg:2\n",
        out());
}

TEST_F(ZolcatCheck, ComparesNothingWithARefusedFile) {
    write("a.msg", "$catalog 1 a\n1 x\n");
    write("b.cat", "#CATALOG");

    EXPECT_EQ(1, run({"check", "--reference", "a.msg", "b.cat"}));
    EXPECT_EQ("b.cat:byte 8: the file ends in the header: the file is refused\n", out());
    EXPECT_EQ(1, run({"check", "--reference", "b.cat", "a.msg"}));
    EXPECT_EQ("b.cat:byte 8: the file ends in the header: the file is refused\n", out());
}

TEST_F(ZolcatCheck, GoesOnBehindAFileThatCannotBeRead) {
    write("a.msg", "$catalog 1 a\n$foo\n");

    EXPECT_EQ(2, run({"check", "none", "a.msg"}));
    EXPECT_EQ("a.msg:2: there is no directive $foo; in a comment a blank follows the $\n", out());
    EXPECT_EQ("zolcat: none: No such file or directory\n", err());
    EXPECT_EQ(2, run({"check", "--reference", "none", "a.msg"}));
}

TEST_F(ZolcatCheck, SaysThatItsOutputIsLost) {
    write("a.msg", "$foo\n");
    EXPECT_EQ(2, run({"check", "a.msg"}, "/dev/full"));
    EXPECT_THAT(err(), saysThatOutputIsLost());

    std::string longSource;
    for (int i = 0; i < 2000; ++i) {
        longSource += "$foo\n";
    }
    write("a.msg", longSource);
    EXPECT_EQ(2, run({"check", "a.msg"}, "/dev/full"));
    EXPECT_THAT(err(), StartsWith("zolcat: standard output: "));
}

// --- header ---

TEST_F(ZolcatHeader, IsPrintedOrWrittenToAFile) {
    write("a.msg", "$catalog 1 door\n$name OPEN\n1 x\n");

    EXPECT_EQ(0, run({"header", "a.msg"}));
    EXPECT_THAT(out(), HasSubstr("#define DOOR_OPEN 0x01010001u /* x */\n"));
    const std::string header = out();
    EXPECT_EQ(0, run({"header", "-o", "a.h", "a.msg"}));
    EXPECT_EQ(header, contents("a.h"));
    EXPECT_THAT(out(), IsEmpty());
}

TEST_F(ZolcatHeader, IsMadeOfSeveralSources) {
    write("a.msg", "$catalog 1 door\n");
    write("b.msg", "$name OPEN\n1 x\n");

    EXPECT_EQ(0, run({"header", "a.msg", "b.msg"}));
    EXPECT_THAT(out(), HasSubstr("#define DOOR_OPEN 0x01010001u"));
}

TEST_F(ZolcatHeader, HasThePrefixThatIsAskedFor) {
    write("a.msg", "$catalog 1 door\n$name OPEN\n1 x\n");

    EXPECT_EQ(0, run({"header", "--prefix", "msg", "a.msg"}));
    EXPECT_THAT(out(), HasSubstr("#define msg_OPEN 0x01010001u"));
    EXPECT_EQ(2, run({"header", "--prefix", "2", "a.msg"}));
    EXPECT_THAT(err(), StartsWith("zolcat: '2' cannot begin the name of a constant\n"));
}

TEST_F(ZolcatHeader, IsNotMadeOfABadSource) {
    write("a.msg", "$catalog 1 door\n$name OPEN\n1 x\n$name OPEN\n2 y\n");
    write("a.h", "old");

    EXPECT_EQ(1, run({"header", "-o", "a.h", "a.msg"}));
    EXPECT_EQ("a.msg:5: the name OPEN belongs to the message in a.msg:3\n", err());
    EXPECT_EQ("old", contents("a.h"));
}

TEST_F(ZolcatHeader, DoesNotOverwriteItsSource) {
    write("a.msg", "$catalog 1 door\n");

    EXPECT_EQ(2, run({"header", "-o", "a.msg", "a.msg"}));
    EXPECT_EQ("$catalog 1 door\n", contents("a.msg"));
}

TEST_F(ZolcatHeader, SaysThatItCannotBeWritten) {
    write("a.msg", "$catalog 1 door\n");

    EXPECT_EQ(2, run({"header", "-o", "none/a.h", "a.msg"}));
    EXPECT_EQ(2, run({"header", "a.msg"}, "/dev/full"));
    EXPECT_THAT(err(), saysThatOutputIsLost());
}

}  // namespace
