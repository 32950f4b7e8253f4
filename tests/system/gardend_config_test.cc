// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Configuration files: what is read from them, and how complaints about them look.

#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/buffer.h"

#include "configuration.h"
#include "gardend_drivers.h"
#include "support/syslog_capture.h"
#include "support/temp_dir.h"

namespace gardend {

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kZones =
    "zone lawn on line 0, 200 ml/s;\n"
    "zone roses on line 1, 60 ml/s;\n";

// Two zones, and what a test adds to them from line 3 on.
class ConfigurationFile : public ::testing::Test {
  protected:
    void parse(const std::string& text) {
        xbuffer bytes = nullptr;
        xbuffer_set(&bytes, text.data(), static_cast<int>(text.size()));
        FILE* const stream = xbuffer_fopen(&bytes, "r");
        CText complaints;
        read = parseConfiguration(stream, "garden.conf", complaints);
        said = complaints.get();
        fclose(stream);
        xsbuf_free(&bytes);
        EXPECT_EQ(read == nullptr, !said.empty());
    }

    void accept(const std::string& more) {
        parse(kZones + more);
        ASSERT_EQ("", said);
    }

    std::string complaintAbout(const std::string& more) {
        parse(kZones + more);
        return said;
    }

    // A complaint of one line, without the name of the file and line 3.
    std::string faultOf(const std::string& more) {
        const std::string complaint = complaintAbout(more);
        EXPECT_THAT(complaint, StartsWith("garden.conf:3:")) << more;
        const size_t begin = complaint.find(": ") + 2;
        return complaint.substr(begin, complaint.find('\n') - begin);
    }

    SyslogCapture log;
    std::unique_ptr<Configuration> read;
    std::string said;
};

TEST_F(ConfigurationFile, HasZonesOnLinesWithFlows) {
    accept("zone hedge on line 7, 100000 ml/s;");

    ASSERT_EQ(3, read->zones.getCount());
    EXPECT_STREQ("lawn", read->zones[0].name.get());
    EXPECT_EQ(0, read->zones[0].line);
    EXPECT_EQ(200, read->zones[0].flow);
    EXPECT_STREQ("roses", read->zones[1].name.get());
    EXPECT_EQ(1, read->zones[1].line);
    EXPECT_EQ(60, read->zones[1].flow);
    EXPECT_EQ(7, read->zones[2].line);
    EXPECT_EQ(100000, read->zones[2].flow);
}

TEST_F(ConfigurationFile, NamesZonesWithAnyWordInQuotes) {
    accept(
        "zone 'open' on line 2, 1 ml/s; zone gemüse on line 3, 1 ml/s;\n"
        "water \"open\" daily at 06:30 for 1 minute;");

    EXPECT_STREQ("open", read->zones[2].name.get());
    EXPECT_STREQ("gemüse", read->zones[3].name.get());
    EXPECT_STREQ("open", read->schedules[0].zone.get());
}

TEST_F(ConfigurationFile, HasSchedules) {
    accept(
        "water roses on mon, wed,fri at 6:05 for 20 minutes; water lawn daily at 21:00 for 1440 "
        "minutes;");

    ASSERT_EQ(2, read->schedules.getCount());
    const ScheduleWish roses = {"roses", ZOL_MONDAY | ZOL_WEDNESDAY | ZOL_FRIDAY, 6, 5, 20};
    const ScheduleWish lawn = {"lawn", 127, 21, 0, 1440};
    EXPECT_TRUE(roses == read->schedules[0]);
    EXPECT_TRUE(lawn == read->schedules[1]);
}

TEST_F(ConfigurationFile, HasTheSettingsOfTheCommandLine) {
    accept(
        "listen 127.0.0.1:8080, 0.0.0.0:0; listen 10.1.2.3:80;\n"
        "control socket \"/tmp/c\"; drivers \"*.so\"; texts '%s.cat'; hook './h \"x\"';\n"
        "job self-test \"true\"; job \"user\" 'exec \"a\"';\n"
        "tick every 50 ms; sample every 2 minutes; time limit 1 second; wait for clock;");

    const Settings& settings = read->settings;
    ASSERT_EQ(3, settings.listen.getCount());
    EXPECT_STREQ("0.0.0.0:0", describe(settings.listen[1]).get());
    EXPECT_STREQ("10.1.2.3:80", describe(settings.listen[2]).get());
    EXPECT_STREQ("/tmp/c", settings.controlPath.get());
    EXPECT_STREQ("*.so", settings.drivers.get());
    EXPECT_STREQ("%s.cat", settings.catalogs.get());
    EXPECT_STREQ("./h \"x\"", settings.hook.get());
    ASSERT_EQ(2, settings.jobs.getCount());
    EXPECT_STREQ("self-test", settings.jobs[0].name.get());
    EXPECT_STREQ("true", settings.jobs[0].command.get());
    EXPECT_STREQ("user", settings.jobs[1].name.get());
    EXPECT_STREQ("exec \"a\"", settings.jobs[1].command.get());
    EXPECT_EQ(zol::CTime(50000), settings.tick);
    EXPECT_EQ(zol::CTime(120000000), settings.samplePeriod);
    EXPECT_EQ(zol::CTime(1000000), settings.timeLimit);
    EXPECT_TRUE(settings.waitForClock);
}

TEST_F(ConfigurationFile, HasFilesUsersAndTheKeyOfDownloads) {
    accept(
        "state file \"/tmp/state\"; log folder \"/tmp\"; download key \"k\" for 10 minutes;\n"
        "user \"Mufasa\" password \"Circle Of Life\";\n"
        "user \"ben\" ha1 \"939e7578ed9e3c518a452acee763bce9\";");

    EXPECT_STREQ("/tmp/state", read->settings.stateFile.get());
    EXPECT_STREQ("/tmp", read->settings.logFolder.get());
    EXPECT_STREQ("k", read->downloadKey.get());
    EXPECT_EQ(10, read->downloadMinutes);
    ASSERT_EQ(2, read->users.getCount());
    EXPECT_STREQ("Mufasa", read->users[0].name.get());
    EXPECT_STREQ("88dde63ee41844063f242165ac87d21d", read->users[0].ha1.get());
    EXPECT_STREQ("939e7578ed9e3c518a452acee763bce9", read->users[1].ha1.get());
}

TEST_F(ConfigurationFile, MayHaveCommentsAndNoEndOfItsLastLine) {
    accept("# ; zone\r\n\t tick every # here, too\n 1 second ; # \x01\x7f\xff");

    EXPECT_EQ(zol::CTime(1000000), read->settings.tick);
}

TEST_F(ConfigurationFile, LeavesWhatItDoesNotSayToOthers) {
    accept("tick every 5 ms; job one \"file\"; job two \"file\";");
    Settings options;
    options.tick = zol::CTime(7);
    options.jobs.append({"two", "option"});

    EXPECT_TRUE(options.complete(read->settings));
    EXPECT_TRUE(options.complete(defaultSettings()));

    EXPECT_EQ(zol::CTime(7), options.tick);
    EXPECT_EQ(zol::CTime(60000000), options.samplePeriod);
    EXPECT_STREQ("127.0.0.1:8080", describe(options.listen[0]).get());
    ASSERT_EQ(2, options.jobs.getCount());
    EXPECT_STREQ("option", options.jobs[0].command.get());
    EXPECT_STREQ("one", options.jobs[1].name.get());
}

TEST_F(ConfigurationFile, IsATextInTheProgramWhereThereIsNone) {
    CText complaints;

    const std::unique_ptr<Configuration> own = readConfiguration("", complaints);

    ASSERT_NE(nullptr, own);
    ASSERT_EQ(4, own->zones.getCount());
    EXPECT_STREQ("hedge", own->zones[3].name.get());
    EXPECT_EQ(120, own->zones[3].flow);
}

// --- complaints ---

using Complaint = ConfigurationFile;

TEST_F(Complaint, ShowsTheLineAndThePlace) {
    EXPECT_EQ(
        "garden.conf:4:9: there is no zone ivy above\n"
        "      water ivy\n"
        "            ^~~\n",
        complaintAbout("\n  water ivy daily at 06:30 for 10 minutes;"));
}

TEST_F(Complaint, GoesToTheLogAsOneLine) {
    complaintAbout("water ivy daily at 06:30 for 10 minutes;");

    ASSERT_EQ(1U, log.lines().size());
    EXPECT_EQ(LOG_ERR, log.lines()[0].priority);
    EXPECT_EQ(
        "configuration parser (line=3, col=7): garden.conf: up to 3 9 - "
        "there is no zone ivy above",
        log.lines()[0].text);
}

TEST_F(Complaint, SaysWhatCouldStandThereWhereThatIsLittle) {
    EXPECT_EQ(
        "garden.conf:3:13: daily is not expected here, but 'socket'\n"
        "    control     daily\n"
        "                ^~~~~\n",
        complaintAbout("control     daily;"));
    EXPECT_EQ("at is not expected here, but 'on'", faultOf("zone hedge at 3;"));
    EXPECT_EQ("10 is not expected here, but a time", faultOf("water lawn daily at 10;"));
    EXPECT_EQ("hours is not expected here, but 'minutes', 'ms' or 'seconds'",
              faultOf("tick every 3 hours;"));
    EXPECT_EQ("lawn is not expected here", faultOf("lawn;"));
}

TEST_F(Complaint, IsMadeOfEveryFault) {
    EXPECT_EQ(
        "garden.conf:3:1: wter is not expected here\n"
        "    wter\n"
        "    ^~~~\n"
        "garden.conf:4:7: there is no zone ivy above\n"
        "    water ivy\n"
        "          ^~~\n"
        "garden.conf:5:21: 07:75 is not a time of the day, from 00:00 to 23:59\n"
        "    water lawn daily at 07:75\n"
        "                        ^~~~~\n",
        complaintAbout("wter lawn daily at 06:30 for 10 minutes;\n"
                       "water ivy daily at 06:30 for 10 minutes;\n"
                       "water lawn daily at 07:75 for 10 minutes;\n"));
    EXPECT_EQ(nullptr, read);
}

TEST_F(Complaint, IsMadeOfWhatFollowsARuleThatIsNoGood) {
    complaintAbout(
        "rule a = nope;\n"
        "water lawn only when a or not nope;\n"
        "hook \"\";\n"
        "zone lawn on line 2, 1 ml/s;\n");

    ASSERT_EQ(4U, log.lines().size());
    EXPECT_THAT(said, HasSubstr("garden.conf:3:10: there is no rule nope above\n"));
    EXPECT_THAT(said, HasSubstr("garden.conf:5:6: this must not be empty\n"));
    EXPECT_THAT(said, HasSubstr("garden.conf:6:6: there is a zone lawn already\n"));
}

TEST_F(Complaint, IsMadeOnceALineAndTwentyTimesAFile) {
    std::string faults = "? ? ?; water ivy daily;\n";
    for (int i = 0; i < 50; ++i) {
        faults += "water ivy daily at 06:30 for 1 minute;\n";
    }

    complaintAbout(faults);

    EXPECT_EQ(20U, log.lines().size());
    EXPECT_THAT(said, StartsWith("garden.conf:3:1: this has no meaning here\n"));
    EXPECT_THAT(said, HasSubstr("\ngarden.conf:4:7: "));
    EXPECT_THAT(said, EndsWith("          ^~~\ngarden.conf: there may be more\n"));
}

TEST_F(Complaint, SaysThatTheFileEndsTooEarly) {
    EXPECT_EQ(
        "garden.conf:3:15: the end of the file is not expected here, but ';'\n"
        "    wait for clock\n"
        "                  ^\n",
        complaintAbout("wait for clock"));
    EXPECT_EQ("garden.conf:4:1: the end of the file is not expected here, but 'for'\n",
              complaintAbout("wait\n"));
}

TEST_F(Complaint, ShowsTheEndOfALineThatIsLong) {
    EXPECT_EQ(
        "garden.conf:3:101: there is no zone ivy above\n"
        "    ...                                                  water ivy\n"
        "                                                               ^~~\n",
        complaintAbout(std::string(94, ' ') + "water ivy daily at 06:30 for 1 minute;"));
}

TEST_F(Complaint, CountsBytesAndAlignsCharacters) {
    EXPECT_EQ(
        "garden.conf:3:26: there is no zone ümläut above\n"
        "    rule größe=moisture of ümläut\n"
        "                           ^~~~~~\n",
        complaintAbout("rule größe=moisture of ümläut below 3 %;"));
}

TEST_F(Complaint, IsAboutAllPartsOfAThing) {
    EXPECT_EQ(
        "garden.conf:3:12: no time is between these\n"
        "    rule noon= between 11:00 and 11:00\n"
        "               ^~~~~~~~~~~~~~~~~~~~~~~\n",
        complaintAbout("rule noon= between 11:00 and 11:00;"));
}

TEST_F(Complaint, IsFreeOfBytesThatCommandATerminal) {
    EXPECT_EQ(
        "garden.conf:3:7: there is no zone ?[31m?? above\n"
        "    water \"*******\"\n"
        "          ^~~~~~~~~\n",
        complaintAbout("water \"\x1b[31m\x7f\x9b\" daily at 06:30 for 1 minute;"));
}

TEST_F(Complaint, IsNotAFormat) {
    complaintAbout("water '%n%s%1$s' daily at 06:30 for 1 minute;");

    ASSERT_EQ(1U, log.lines().size());
    EXPECT_EQ(
        "configuration parser (line=3, col=7): garden.conf: up to 3 16 - "
        "there is no zone %n%s%1$s above",
        log.lines()[0].text);
}

TEST_F(Complaint, TellsNoTexts) {
    EXPECT_EQ(
        "garden.conf:3:30: a text in quotes is not expected here, but ';'\n"
        "    user '*' password \"******\" '*****'\n"
        "                               ^~~~~~~\n",
        complaintAbout("user 'a' password \"Größe'\" 'b\"cdü';"));
    EXPECT_EQ(
        "garden.conf:3:20: this text does not end\n"
        "    user '*' password  \"*******\n"
        "                       ^~~~~~~~\n",
        complaintAbout("user 'a' password  \"secret;"));
}

TEST_F(Complaint, TellsNoEndOfATextThatBeginsBeforeWhatItShows) {
    EXPECT_EQ(
        "garden.conf:3:95: on is not expected here, but ';'\n"
        "    ...******************************************************** on\n"
        "                                                                ^~\n",
        complaintAbout("user 'anna' password \"It's a secret of more than sixty letters, "
                       "which I shall tell to nobody\" on;"));
}

TEST_F(Complaint, IsMadeOfBytesThatMeanNothing) {
    EXPECT_EQ("this has no meaning here", faultOf("water ? daily;"));
    EXPECT_EQ("this has no meaning here", faultOf(std::string("tick\0every 3 ms;", 16)));
    EXPECT_EQ("this has no meaning here", faultOf("{}"));
}

TEST_F(Complaint, IsMadeOfTextsThatDoNotEnd) {
    EXPECT_EQ("this text does not end", faultOf("hook \"abc;\n\";"));
    EXPECT_EQ("this text does not end", faultOf("hook 'abc"));
    EXPECT_EQ("this text does not end", faultOf(std::string("hook 'a\0';", 10)));
}

TEST_F(Complaint, IsMadeOfZones) {
    EXPECT_EQ("there is a zone lawn already", faultOf("zone lawn on line 2, 1 ml/s;"));
    EXPECT_EQ("line 1 is that of roses", faultOf("zone hedge on line 1, 1 ml/s;"));
    EXPECT_EQ("the line must be from 0 to 7", faultOf("zone hedge on line 8, 1 ml/s;"));
    EXPECT_EQ("the line must be from 0 to 7",
              faultOf("zone hedge on line 99999999999999999999, 1 ml/s;"));
    EXPECT_EQ("the flow must be from 1 to 100000", faultOf("zone hedge on line 2, 0 ml/s;"));
    EXPECT_EQ("a zone's name has up to 31 bytes, and no blank",
              faultOf("zone 'a b' on line 2, 1 ml/s;"));
    EXPECT_EQ("a zone's name has up to 31 bytes, and no blank",
              faultOf("zone '' on line 2, 1 ml/s;"));
    EXPECT_EQ("a zone's name has up to 31 bytes, and no blank",
              faultOf("zone " + std::string(32, 'a') + " on line 2, 1 ml/s;"));
    EXPECT_EQ("a zone's name has up to 31 bytes, and no blank",
              faultOf("zone \xff on line 2, 1 ml/s;"));
    accept("zone " + std::string(31, 'a') + " on line 2, 1 ml/s;");
}

TEST_F(Complaint, IsMadeOfAGardenWithoutZones) {
    parse("# nothing\n");

    EXPECT_EQ("garden.conf:2:1: there is no zone: nothing could be watered\n", said);
}

TEST_F(Complaint, IsMadeOfSchedules) {
    EXPECT_EQ("nothing is watered at midnight itself: say 00:01",
              faultOf("water lawn daily at 0:00 for 1 minute;"));
    EXPECT_EQ("07:75 is not a time of the day, from 00:00 to 23:59",
              faultOf("water lawn daily at 07:75 for 1 minute;"));
    EXPECT_EQ("24:00 is not a time of the day, from 00:00 to 23:59",
              faultOf("water lawn daily at 24:00 for 1 minute;"));
    EXPECT_EQ("1:1 is not a time of the day, from 00:00 to 23:59",
              faultOf("water lawn daily at 1:1 for 1 minute;"));
    EXPECT_EQ("the minutes must be from 1 to 1440",
              faultOf("water lawn daily at 07:00 for 1441 minutes;"));
    EXPECT_EQ("this has been said already",
              faultOf("water lawn on sat, sun at 07:00 for 1 minute; "
                      "water lawn on sun, sat at 07:00 for 1 minute;"));
    std::string many;
    for (int i = 1; i <= 65; ++i) {
        many += "water lawn daily at 07:00 for " + std::to_string(i) + " minutes; ";
    }
    EXPECT_EQ("there are more than 64 schedules", faultOf(many));
}

TEST_F(Complaint, IsMadeOfSettings) {
    EXPECT_EQ("1.2.3:80 is not an IPv4 address with a port", faultOf("listen 1.2.3:80;"));
    EXPECT_EQ("1.2.3.4:65536 is not an IPv4 address with a port", faultOf("listen 1.2.3.4:65536;"));
    EXPECT_EQ("this has been said already", faultOf("listen 1.2.3.4:80, 1.2.3.4:80;"));
    EXPECT_EQ("there are more than 8 addresses",
              faultOf("listen 1.1.1.1:1, 1.1.1.1:2, 1.1.1.1:3, 1.1.1.1:4, 1.1.1.1:5, 1.1.1.1:6, "
                      "1.1.1.1:7, 1.1.1.1:8, 1.1.1.1:9;"));
    EXPECT_EQ("this must not be empty", faultOf("hook '';"));
    EXPECT_EQ("this has been said already", faultOf("tick every 1 ms; tick every 1 ms;"));
    EXPECT_EQ("the number must be from 1 to 86400", faultOf("tick every 86401 seconds;"));
    EXPECT_EQ("the number must be from 1 to 86400000", faultOf("tick every 0 ms;"));
    EXPECT_EQ("a socket cannot have this path",
              faultOf("control socket '" + std::string(108, 'a') + "';"));
    EXPECT_EQ("a job's name has up to 31 letters, digits, - and _", faultOf("job 'a b' 'c';"));
    EXPECT_EQ("the job a has no command", faultOf("job a '';"));
    EXPECT_EQ("there is a job a already", faultOf("job a 'b'; job a 'c';"));
    EXPECT_EQ("nobody-of-this-name: no such user", faultOf("job user 'nobody-of-this-name';"));
    EXPECT_EQ("there is a user anna already",
              faultOf("user 'anna' password 'a'; user 'anna' password 'b';"));
    EXPECT_EQ("this is not 32 hexadecimal digits, in lowercase",
              faultOf("user 'anna' ha1 '939E7578ED9E3C518A452ACEE763BCE9';"));
    EXPECT_EQ("a user's name is a text without colon, quotes and backslash",
              faultOf("user 'a:b' password 'c';"));
    EXPECT_EQ("the password must not be empty", faultOf("user 'anna' password '';"));
    EXPECT_EQ("the key must not be empty", faultOf("download key '' for 1 minute;"));
}

TEST_F(Complaint, IsMadeOfRules) {
    EXPECT_EQ("there is no rule dry above", faultOf("water lawn only when dry;"));
    EXPECT_EQ("there is no rule dry above", faultOf("rule dry = not dry;"));
    EXPECT_EQ("there is a rule dry already", faultOf("rule dry = on mon; rule dry = on mon;"));
    EXPECT_EQ("lawn has a condition already",
              faultOf("water lawn only when on mon; water lawn only when on mon;"));
    EXPECT_EQ("the percentage must be from 0 to 100", faultOf("rule dry = moisture below 101 %;"));
    EXPECT_EQ("there is no zone ivy above", faultOf("rule r = ivy is closed;"));
    EXPECT_EQ("this is nested too deep", faultOf("rule r = " + std::string(10000, '(') + "on mon"));
}

// However small a file is that asks for that: a check would take longer than the world exists.
TEST_F(Complaint, IsMadeOfRulesThatAskForTooMuch) {
    std::string doubled = "rule r0 = on mon;\n";
    for (int i = 1; i <= 9; ++i) {
        const std::string before = " r" + std::to_string(i - 1);
        doubled += "rule r" + std::to_string(i) + " =" + before + " and" + before + ";\n";
    }
    EXPECT_EQ(
        "garden.conf:12:11: this asks for too much at once\n"
        "    rule r9 = r8 and r8\n"
        "              ^~~~~~~~~\n",
        complaintAbout(doubled));

    std::string chain = "rule r = on mon";
    for (int i = 0; i < 31; ++i) {
        chain += " or on tue";
    }
    accept(chain + ";");
    EXPECT_EQ("this asks for too much at once", faultOf(chain + " or on tue;"));
}

// --- files ---

class FileOnDisk : public ::testing::Test {
  protected:
    std::string complaintAbout(const std::string& path) {
        CText complaints;
        EXPECT_EQ(nullptr, readConfiguration(path.c_str(), complaints));
        return complaints.get();
    }

    SyslogCapture log;
    TempDir folder;
};

TEST_F(FileOnDisk, IsRead) {
    std::ofstream(folder.file("a")) << kZones;
    CText complaints;

    const std::unique_ptr<Configuration> read =
        readConfiguration(folder.file("a").c_str(), complaints);

    ASSERT_NE(nullptr, read);
    EXPECT_EQ(2, read->zones.getCount());
}

TEST_F(FileOnDisk, MustBeThere) {
    const std::string path = folder.file("nowhere");

    EXPECT_EQ(path + " cannot be read: No such file or directory\n", complaintAbout(path));
    ASSERT_EQ(1U, log.lines().size());
    EXPECT_EQ(path + " cannot be read: No such file or directory", log.lines()[0].text);
}

TEST_F(FileOnDisk, MustBeAFile) {
    EXPECT_EQ(folder.path() + " cannot be read: it is not a file\n", complaintAbout(folder.path()));
    EXPECT_EQ("/dev/zero cannot be read: it is not a file\n", complaintAbout("/dev/zero"));
    const std::string fifo = folder.file("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    EXPECT_EQ(fifo + " cannot be read: it is not a file\n", complaintAbout(fifo));
}

TEST_F(FileOnDisk, MustNotBeLarge) {
    std::ofstream(folder.file("a")) << kZones << std::string(65536, '#');

    EXPECT_EQ(folder.file("a") + " cannot be read: it is too large\n",
              complaintAbout(folder.file("a")));
}

TEST_F(FileOnDisk, MustBeReadToItsEnd) {
    std::ofstream(folder.file("a")) << kZones;
    FILE* const unreadable = fdopen(open(folder.file("a").c_str(), O_WRONLY), "w");
    CText complaints;

    EXPECT_EQ(nullptr, parseConfiguration(unreadable, "a", complaints));

    EXPECT_THAT(complaints.get(), StartsWith("a:1:1: the file could not be read to its end\n"));
    fclose(unreadable);
}

TEST_F(FileOnDisk, MayBeTheSample) {
    CText complaints;

    const std::unique_ptr<Configuration> read = readConfiguration(GARDEND_SAMPLE, complaints);

    EXPECT_STREQ("", complaints.get());
    ASSERT_NE(nullptr, read);
    EXPECT_EQ(4, read->zones.getCount());
    EXPECT_EQ(3, read->schedules.getCount());
}

TEST_F(FileOnDisk, MayBeTheSampleWithAllThatItSuggests) {
    std::ifstream sample(GARDEND_SAMPLE);
    std::ofstream whole(folder.file("whole"));
    for (std::string line; std::getline(sample, line);) {
        const bool isSuggestion = line.size() > 1 && line[0] == '#' && islower(line[1]) != 0;
        whole << (isSuggestion && line.find("job user") == std::string::npos ? line.substr(1)
                                                                             : line)
              << "\n";
    }
    whole.close();
    CText complaints;

    const std::unique_ptr<Configuration> read =
        readConfiguration(folder.file("whole").c_str(), complaints);

    EXPECT_STREQ("", complaints.get());
    ASSERT_NE(nullptr, read);
    EXPECT_EQ(2, read->users.getCount());
    EXPECT_EQ(2, read->settings.jobs.getCount());
}

// --- rules ---

// A garden in which roses and lawn are watered only when a condition holds.
class Rule : public ConfigurationFile {
  protected:
    Rule() {
        garden.add(fourZones());
        look(garden);  // lawn 42 %, roses 31 %
    }

    // It is a Wednesday, the day 3.
    bool holds(const std::string& condition, int hour = 12, int minute = 0,
               const char* zone = "roses") {
        accept("water lawn only when " + condition + "; water roses only when " + condition + ";");
        tm now = {};
        now.tm_wday = 3;
        now.tm_hour = hour;
        now.tm_min = minute;
        return read->rules.allow({garden, *garden.findZone(zone), now});
    }

    FakeDrivers drivers;
    CGarden garden{drivers.wiring()};
};

TEST_F(Rule, LooksAtTheMoistureOfTheZoneThatIsToBeWatered) {
    EXPECT_TRUE(holds("moisture below 32 %"));
    EXPECT_FALSE(holds("moisture below 31 %"));
    EXPECT_FALSE(holds("moisture above 31 %"));
    EXPECT_TRUE(holds("moisture above 30 %"));
    EXPECT_TRUE(holds("moisture above 41 %", 12, 0, "lawn"));
}

TEST_F(Rule, LooksAtTheMoistureOfAnotherZone) {
    EXPECT_TRUE(holds("moisture of lawn above 41 %"));
    EXPECT_FALSE(holds("moisture of lawn above 42 %"));
}

TEST_F(Rule, LooksAtTheTimeOfTheDay) {
    EXPECT_FALSE(holds("between 11:00 and 17:00", 10, 59));
    EXPECT_TRUE(holds("between 11:00 and 17:00", 11, 0));
    EXPECT_TRUE(holds("between 11:00 and 17:00", 16, 59));
    EXPECT_FALSE(holds("between 11:00 and 17:00", 17, 0));
}

TEST_F(Rule, LooksAtATimeThatGoesOverMidnight) {
    EXPECT_TRUE(holds("between 22:00 and 05:00", 22, 0));
    EXPECT_TRUE(holds("between 22:00 and 05:00", 0, 0));
    EXPECT_FALSE(holds("between 22:00 and 05:00", 5, 0));
    EXPECT_FALSE(holds("between 22:00 and 05:00", 21, 59));
    EXPECT_TRUE(holds("between 22:00 and 00:00", 23, 59));
    EXPECT_FALSE(holds("between 22:00 and 00:00", 0, 0));
}

TEST_F(Rule, LooksAtTheDay) {
    EXPECT_TRUE(holds("on mon, wed"));
    EXPECT_FALSE(holds("on sat, sun"));
}

TEST_F(Rule, LooksAtValves) {
    EXPECT_TRUE(holds("lawn is closed"));
    EXPECT_FALSE(holds("lawn is open"));

    garden.findZone("lawn")->open();

    EXPECT_FALSE(holds("lawn is closed"));
    EXPECT_TRUE(holds("lawn is open"));
}

TEST_F(Rule, BindsNotThenAndThenOr) {
    const std::string yes = "on wed";
    const std::string no = "on mon";
    EXPECT_TRUE(holds(yes + " or " + yes + " and " + no));
    EXPECT_FALSE(holds("(" + yes + " or " + yes + ") and " + no));
    EXPECT_TRUE(holds("not " + no + " and " + yes));
    EXPECT_FALSE(holds("not (" + no + " or " + yes + ")"));
    EXPECT_FALSE(holds("not not " + no));
    EXPECT_TRUE(holds(no + " or " + no + " or " + yes));
    EXPECT_FALSE(holds(yes + " and " + yes + " and " + no));
}

TEST_F(Rule, ReadsAndOfAPeriodAsPartOfThat) {
    EXPECT_TRUE(holds("between 11:00 and 17:00 and on wed"));
    EXPECT_FALSE(holds("between 11:00 and 17:00 and on mon"));
}

TEST_F(Rule, RefersToOthers) {
    accept(
        "rule dry = moisture below 32 %; rule noon = between 11:00 and 17:00;\n"
        "rule good = dry and not noon; water roses only when good; water lawn only when good;");
    tm now = {};
    now.tm_hour = 6;
    EXPECT_TRUE(read->rules.allow({garden, *garden.findZone("roses"), now}));
    EXPECT_FALSE(read->rules.allow({garden, *garden.findZone("lawn"), now}));

    now.tm_hour = 12;
    EXPECT_FALSE(read->rules.allow({garden, *garden.findZone("roses"), now}));
}

TEST_F(Rule, DoesNotMatterToOtherZones) {
    accept("water lawn only when on mon;");

    EXPECT_TRUE(read->rules.allow({garden, *garden.findZone("roses"), tm()}));
    EXPECT_FALSE(read->rules.allow({garden, *garden.findZone("lawn"), tm()}));
}

TEST_F(Rule, TakesAZoneThatHasGoneForDryAsABoneAndClosed) {
    garden.keep({});

    EXPECT_EQ(0, garden.getZoneCount());
    FakeDrivers others;
    CGarden other(others.wiring());
    other.add(fourZones());
    accept("water roses only when lawn is open or moisture of lawn above 0 %;");
    EXPECT_FALSE(read->rules.allow({garden, *other.findZone("roses"), tm()}));
}

}  // namespace

}  // namespace gardend
