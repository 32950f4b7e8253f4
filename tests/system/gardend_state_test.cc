// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What gardend keeps in files: its state, and the samples of the moisture. And how a garden and its
// plan change while they live.

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

#include "zol/digest.h"

#include "gardend_drivers.h"
#include "moisture_files.h"
#include "state_file.h"
#include "support/syslog_capture.h"
#include "support/temp_dir.h"

namespace gardend {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string readFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool exists(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

zol::CTab<ScheduleWish> twoWishes() {
    zol::CTab<ScheduleWish> wishes;
    wishes.append({"roses", ZOL_MONDAY, 6, 30, 20});
    wishes.append({"lawn", 127, 21, 0, 30});
    return wishes;
}

// A garden with a plan, of which there may be several in a test: one after the other.
struct Life {
    explicit Life(const std::string& file)
        : path(file), state(path.c_str(), loop.getThread(), garden, plan) {
        EXPECT_EQ(0, plan.configure(twoWishes(), garden));
    }

    std::string list() const {
        std::string all;
        for (const Schedule& schedule : plan.getSchedules()) {
            all += std::to_string(schedule.number) + " " + schedule.zone->getName() +
                   (schedule.isConfigured ? "; " : " by hand; ");
        }
        return all;
    }

    std::string path;
    FakeDrivers drivers;
    zol::CEventLoop loop;  // which is not run
    FourZones garden{drivers.wiring()};
    CWateringPlan plan{nullptr};  // is not asked to follow the clock
    CStateFile state;
};

class State : public ::testing::Test {
  protected:
    // The library tells what it does, too, below that.
    std::vector<SyslogCapture::Line> noticed() const {
        std::vector<SyslogCapture::Line> lines;
        for (const SyslogCapture::Line& line : log.lines()) {
            if (line.priority <= LOG_NOTICE) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    SyslogCapture log;
    TempDir folder;
    std::string path = folder.file("state");
};

TEST_F(State, BringsBackSchedulesThatWereAddedByHand) {
    {
        Life life(path);
        EXPECT_EQ(3, life.plan.add({life.garden.findZone("hedge"), ZOL_FRIDAY, 5, 0, 7}));
        life.state.write();
    }
    Life life(path);

    life.state.read();

    EXPECT_EQ("1 roses; 2 lawn; 3 hedge by hand; ", life.list());
    const Schedule& hedge = life.plan.getSchedules()[2];
    EXPECT_EQ(ZOL_FRIDAY, hedge.days);
    EXPECT_EQ(5, hedge.hour);
    EXPECT_EQ(7, hedge.runMinutes);
}

TEST_F(State, KeepsSchedulesAwayThatWereRemovedByHand) {
    {
        Life life(path);
        EXPECT_TRUE(life.plan.remove(1));
        life.state.write();
    }
    for (int i = 0; i < 2; ++i) {
        Life life(path);

        life.state.read();

        EXPECT_EQ("2 lawn; ", life.list());
        EXPECT_EQ(1, life.plan.getWithdrawn().getCount());
        life.state.write();
    }
}

TEST_F(State, BringsBackWhatZonesHaveDeliveredAndSampled) {
    {
        Life life(path);
        life.garden.findZone("roses")->restore(1234567890123,
                                               CMoistureLog(46441, 3, 900, 200, 400));
        life.state.write();
    }
    Life life(path);

    life.state.read();

    const CZone& roses = *life.garden.findZone("roses");
    EXPECT_EQ(1234567890123, roses.getNanolitres());
    EXPECT_EQ(46441, roses.getMoistureLog().getDay());
    EXPECT_EQ(3, roses.getMoistureLog().getCount());
    EXPECT_EQ(300, roses.getMoistureLog().getMean());
    EXPECT_EQ(200, roses.getMoistureLog().getLowest());
    EXPECT_EQ(400, roses.getMoistureLog().getHighest());
    EXPECT_EQ(0, life.garden.findZone("lawn")->getNanolitres());
}

TEST_F(State, IsATextWithADigest) {
    Life life(path);
    life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7});
    life.plan.remove(1);

    life.state.write();

    EXPECT_EQ(
        "gardend state 1\n"
        "zone lawn 0 0 0 0 0 0\n"
        "zone roses 0 0 0 0 0 0\n"
        "zone vegetables 0 0 0 0 0 0\n"
        "zone hedge 0 0 0 0 0 0\n"
        "schedule hedge daily 05:00 7\n"
        "without roses mon 06:30 20\n"
        "digest 7ea2e759bdb54ca3d513850cdb9619bc\n",
        readFile(path));
    EXPECT_EQ("", readFile(path + ".new"));
}

TEST_F(State, OfAZoneThatHasGoneIsForgotten) {
    {
        Life life(path);
        life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7});
        life.state.write();
    }
    Life life(path);
    zol::CTab<ZoneWish> zones = fourZones();
    zones.remove(3);
    life.garden.keep(zones);

    life.state.read();

    EXPECT_EQ("1 roses; 2 lawn; ", life.list());
    EXPECT_THAT(noticed(), ElementsAre(SyslogCapture::Line{
                               LOG_NOTICE, "a schedule of hedge is forgotten with its zone"}));
}

TEST_F(State, IsNotMissedAtTheFirstStart) {
    Life life(path);

    life.state.read();

    EXPECT_THAT(noticed(), ElementsAre());
}

TEST_F(State, MayBeNowhere) {
    Life life("");

    life.state.read();
    life.state.touch();
    life.state.write();

    EXPECT_THAT(noticed(), ElementsAre());
}

TEST_F(State, ThatIsDamagedIsPutAside) {
    {
        Life life(path);
        life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7});
        life.state.write();
    }
    const std::string whole = readFile(path);
    for (size_t i = strlen("gardend state"); i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ 1);
        for (const std::string& text : {damaged, whole.substr(0, i)}) {
            log.clear();
            std::ofstream(path) << text;
            Life life(path);

            EXPECT_TRUE(life.state.read());

            ASSERT_EQ("1 roses; 2 lawn; ", life.list()) << text;
            ASSERT_EQ(text, readFile(path + ".bad"));
            ASSERT_THAT(noticed(), ElementsAre(SyslogCapture::Line{
                                       LOG_ERR, path + " is damaged: it is put aside as .bad"}));
        }
    }
}

TEST_F(State, ThatIsSomethingElseIsLeftAlone) {
    for (const std::string text : {"", "gardend stat", "zone lawn on line 0, 200 ml/s;\n"}) {
        log.clear();
        std::ofstream(path) << text;
        Life life(path);

        EXPECT_FALSE(life.state.read());

        EXPECT_EQ(text, readFile(path));
        EXPECT_THAT(noticed(),
                    ElementsAre(SyslogCapture::Line{LOG_ERR, "the state file " + path +
                                                                 " cannot be read: it is not a "
                                                                 "state of gardend"}));
    }
}

TEST_F(State, ThatIsNotAFileIsLeftAlone) {
    EXPECT_FALSE(Life(folder.path()).state.read());
    EXPECT_FALSE(Life("/dev/null").state.read());
    const std::string fifo = folder.file("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    EXPECT_FALSE(Life(fifo).state.read());
    std::ofstream(folder.file("file")) << "x";
    EXPECT_FALSE(Life(folder.file("file") + "/state").state.read());
    EXPECT_FALSE(exists(folder.path() + ".bad"));
    EXPECT_FALSE(exists(fifo + ".bad"));
}

// The digests are right: somebody has made these files.
TEST_F(State, WithALineThatIsNoGoodDoesNotCountAtAll) {
    const char* const kBadLines[] = {
        "zone roses 9223372036854775807 1 1 1 1 1\n",
        "zone roses 1 1 2147483647 1 1 1\n",
        "zone roses 1 1 1 9223372036854775807 1 1\n",
        "schedule hedge daily 24:00 7\n",
        "nonsense\n",
    };
    for (const char* const line : kBadLines) {
        const std::string text =
            std::string("gardend state 1\nschedule hedge daily 05:00 7\n") + line;
        std::ofstream(path) << text << "digest " << md5Encode(text.c_str()).get() << "\n";
        Life life(path);

        EXPECT_TRUE(life.state.read());

        EXPECT_EQ("1 roses; 2 lawn; ", life.list()) << line;
        EXPECT_TRUE(exists(path + ".bad"));
        EXPECT_FALSE(exists(path));
    }
}

TEST_F(State, IsNotWrittenToWhatIsInItsWay) {
    const std::string other = folder.file("other");
    std::ofstream(other) << "precious";
    ASSERT_EQ(0, symlink(other.c_str(), (path + ".new").c_str()));
    Life life(path);

    life.state.write();

    EXPECT_EQ("precious", readFile(other));
    EXPECT_THAT(readFile(path), HasSubstr("gardend state 1\n"));
    ASSERT_EQ(0, mkfifo((path + ".new").c_str(), 0600));
    life.state.write();
    EXPECT_THAT(readFile(path), HasSubstr("gardend state 1\n"));
    EXPECT_FALSE(exists(path + ".new"));
}

TEST_F(State, TellsWhenItIsWrittenAgain) {
    path = folder.file("later/state");
    Life life(path);
    life.state.write();
    log.clear();
    ASSERT_EQ(0, mkdir(folder.file("later").c_str(), 0700));

    life.state.write();
    life.state.write();

    EXPECT_THAT(noticed(),
                ElementsAre(SyslogCapture::Line{LOG_NOTICE, path + " is written again"}));
}

TEST_F(State, LeavesNothingBehindWhereItCannotBeWritten) {
    ASSERT_EQ(0, mkdir(path.c_str(), 0700));
    Life life(path);

    life.state.write();

    EXPECT_THAT(noticed(), ElementsAre(SyslogCapture::Line{
                               LOG_ERR, path + " cannot be written: Is a directory"}));
    EXPECT_FALSE(exists(path + ".new"));
}

TEST_F(State, ThatCannotBeWrittenIsLoggedOnce) {
    path = folder.file("nowhere/state");
    Life life(path);

    life.state.write();
    life.state.write();

    EXPECT_THAT(noticed(), ElementsAre(SyslogCapture::Line{
                               LOG_ERR, path + " cannot be written: No such file or directory"}));
}

// --- samples ---

using Samples = State;

TEST_F(Samples, AreLinesOfAFile) {
    CMoistureFiles files;
    files.setFolder(folder.path().c_str());
    zol::CTime::synchronized = 1;

    files.onSample("roses", 310);
    files.onSample("lawn", 1000);
    zol::CTime::synchronized = 0;
    files.onSample("lawn", 7);

    EXPECT_THAT(readFile(folder.file("moisture.log")),
                ::testing::ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z roses 31\\.0\n"
                                         "[0-9TZ:-]+ lawn 100\\.0\n"
                                         "\\+[0-9]+ lawn 0\\.7\n$"));
}

TEST_F(Samples, FillSomeGenerationsOfFiles) {
    CMoistureFiles files(1);
    files.setFolder(folder.path().c_str());

    for (int i = 1; i <= 6; ++i) {
        files.onSample("roses", i);
    }

    EXPECT_THAT(readFile(folder.file("moisture.log")), HasSubstr(" roses 0.6\n"));
    EXPECT_THAT(readFile(folder.file("moisture.log.1")), HasSubstr(" roses 0.5\n"));
    EXPECT_THAT(readFile(folder.file("moisture.log.3")), HasSubstr(" roses 0.3\n"));
    EXPECT_EQ("", readFile(folder.file("moisture.log.4")));
    EXPECT_THAT(noticed(), ElementsAre());
}

TEST_F(Samples, ThatCannotBeWrittenAreLoggedOnce) {
    CMoistureFiles files;
    files.setFolder(folder.file("nowhere").c_str());

    files.onSample("roses", 310);
    files.onSample("roses", 310);

    EXPECT_THAT(noticed(),
                ElementsAre(SyslogCapture::Line{
                    LOG_ERR, folder.file("nowhere/moisture.log") + " cannot be written"}));
}

TEST_F(Samples, BeginTheFileAnewWhereItCannotBeRenamed) {
    path = folder.file("moisture.log");
    ASSERT_EQ(0, mkdir((path + ".1").c_str(), 0700));
    std::ofstream(path + ".2") << "x";
    ASSERT_EQ(0, mkdir((path + ".3").c_str(), 0700));
    CMoistureFiles files(1);
    files.setFolder(folder.path().c_str());

    for (int i = 1; i <= 3; ++i) {
        files.onSample("roses", i);
    }

    EXPECT_THAT(readFile(path), ::testing::EndsWith(" roses 0.3\n"));
    EXPECT_THAT(readFile(path), ::testing::Not(HasSubstr(" roses 0.2\n")));
    EXPECT_THAT(noticed(), ElementsAre(SyslogCapture::Line{
                               LOG_ERR, path + " cannot be renamed: it begins anew"}));
}

TEST_F(Samples, DoNotWaitForWhatIsNotAFile) {
    path = folder.file("moisture.log");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    CMoistureFiles files;
    files.setFolder(folder.path().c_str());

    files.onSample("roses", 310);
    files.onSample("roses", 310);

    EXPECT_THAT(noticed(), ElementsAre(SyslogCapture::Line{LOG_ERR, path + " cannot be written"}));
}

TEST_F(Samples, GoNowhereWithoutAFolder) {
    CMoistureFiles files;

    files.onSample("roses", 310);

    EXPECT_THAT(noticed(), ElementsAre());
}

// --- changes ---

zol::CTab<ZoneWish> otherZones() {
    zol::CTab<ZoneWish> wishes;
    wishes.append({"roses", 1, 90});
    wishes.append({"tomatoes", 0, 50});
    wishes.append({"hedge", 2, 120});
    return wishes;
}

class ChangedGarden : public State {
  protected:
    std::string names() const {
        std::string all;
        for (const CZone& zone : life.garden.getZones()) {
            all += zone.getName() + std::string(" ");
        }
        return all;
    }

    void start() {
        const zol::CTime hour(3600000000);
        ASSERT_TRUE(life.garden.start(life.loop.getThread(), hour, hour));
    }

    Life life{""};
};

TEST_F(ChangedGarden, ClosesTheZonesThatGo) {
    start();
    CZone* const roses = life.garden.findZone("roses");
    roses->open();
    life.garden.findZone("lawn")->open();
    life.garden.findZone("vegetables")->open();

    ASSERT_TRUE(life.garden.add(otherZones()));
    EXPECT_TRUE(life.drivers.isOpen[0]);
    life.garden.keep(otherZones());

    EXPECT_EQ("roses tomatoes hedge ", names());
    EXPECT_FALSE(life.drivers.isOpen[0]);
    EXPECT_TRUE(life.drivers.isOpen[1]);
    EXPECT_FALSE(life.drivers.isOpen[2]);
    EXPECT_EQ(roses, life.garden.findZone("roses"));
    EXPECT_TRUE(roses->isOpen());
    EXPECT_EQ(1, life.garden.getOpenCount());
}

TEST_F(ChangedGarden, KeepsWhatZonesHaveDeliveredAlsoOnAnotherLine) {
    start();
    life.garden.findZone("hedge")->restore(7000000, CMoistureLog());
    life.garden.findZone("hedge")->open();

    ASSERT_TRUE(life.garden.add(otherZones()));
    life.garden.keep(otherZones());

    EXPECT_LE(7, life.garden.findZone("hedge")->getMillilitres());
    EXPECT_FALSE(life.garden.findZone("hedge")->isOpen());
    EXPECT_FALSE(life.drivers.isOpen[3]);
    life.garden.findZone("hedge")->open();
    EXPECT_TRUE(life.drivers.isOpen[2]);
}

TEST_F(ChangedGarden, OpensNewZonesForAWhile) {
    start();

    ASSERT_TRUE(life.garden.add(otherZones()));
    life.garden.keep(otherZones());

    CZone* const tomatoes = life.garden.findZone("tomatoes");
    EXPECT_EQ(420, tomatoes->getMoisturePermille());
    EXPECT_EQ(1, tomatoes->getMoistureLog().getCount());
    EXPECT_TRUE(tomatoes->openFor(minutesOf(1)));
}

TEST_F(ChangedGarden, MovesNothingForZonesThatAreNotKept) {
    start();
    life.garden.findZone("lawn")->open();
    const int calls = life.drivers.calls;

    ASSERT_TRUE(life.garden.add(otherZones()));
    life.garden.keep(fourZones());

    EXPECT_EQ("lawn roses vegetables hedge ", names());
    EXPECT_EQ(calls, life.drivers.calls);
    EXPECT_TRUE(life.garden.findZone("lawn")->isOpen());
}

TEST_F(ChangedGarden, TellsOfAValveThatItLeavesOpen) {
    life.garden.findZone("lawn")->open();
    life.drivers.obeys = false;
    log.clear();

    life.garden.keep({});

    EXPECT_THAT(noticed(),
                ElementsAre(SyslogCapture::Line{LOG_ERR, "the valve of lawn does not close"},
                            SyslogCapture::Line{LOG_ERR, "the valve of lawn is left open"}));
}

using ChangedPlan = ChangedGarden;

TEST_F(ChangedPlan, KeepsTheSchedulesThatStay) {
    life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7});
    zol::CTab<ScheduleWish> wishes = twoWishes();
    wishes.remove(0);
    wishes.append({"vegetables", 127, 4, 0, 1});

    EXPECT_EQ(0, life.plan.configure(wishes, life.garden));

    EXPECT_EQ("2 lawn; 3 hedge by hand; 4 vegetables; ", life.list());
}

TEST_F(ChangedPlan, LosesTheSchedulesOfZonesThatGo) {
    life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7});
    zol::CTab<ZoneWish> zones = fourZones();
    zones.remove(3);

    life.plan.keepZones(zones);

    EXPECT_EQ("1 roses; 2 lawn; ", life.list());
}

TEST_F(ChangedPlan, StaysAsItWasWhenThereAreTooManySchedules) {
    for (int i = 0; i < 62; ++i) {
        EXPECT_LT(0, life.plan.add({life.garden.findZone("hedge"), 127, 5, 0, 7}));
    }
    const std::string before = life.list();
    zol::CTab<ScheduleWish> wishes = twoWishes();
    wishes.append({"vegetables", 127, 4, 0, 1});

    EXPECT_EQ(CWateringPlan::kFull, life.plan.configure(wishes, life.garden));

    EXPECT_EQ(before, life.list());
    EXPECT_EQ(0, life.plan.configure(twoWishes(), life.garden));
    EXPECT_EQ(before, life.list());
}

TEST_F(ChangedPlan, BringsBackARemovedScheduleOnceTheConfigurationHasBeenWithoutIt) {
    life.plan.remove(1);
    EXPECT_EQ(0, life.plan.configure(twoWishes(), life.garden));
    EXPECT_EQ("2 lawn; ", life.list());

    EXPECT_EQ(0, life.plan.configure({}, life.garden));
    EXPECT_EQ(0, life.plan.configure(twoWishes(), life.garden));

    EXPECT_EQ("3 roses; 4 lawn; ", life.list());
}

}  // namespace

}  // namespace gardend
