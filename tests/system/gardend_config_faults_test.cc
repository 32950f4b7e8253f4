// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Configuration and state with each of their allocations failing in turn.

#include <gtest/gtest.h>
#include <string>

#include "zol/buffer.h"
#include "zol/file.h"

#include "configuration.h"
#include "gardend_drivers.h"
#include "state_file.h"
#include "support/alloc_faults.h"
#include "support/temp_dir.h"

namespace gardend {

namespace {

constexpr char kGood[] =
    "zone lawn on line 0, 200 ml/s; zone roses on line 1, 60 ml/s;\n"
    "listen 127.0.0.1:8080, 127.0.0.1:8081; job a 'b'; hook 'c'; state file 'd';\n"
    "user 'anna' password 'secret'; download key 'k' for 1 minute;\n"
    "water roses on mon, tue at 06:30 for 20 minutes;\n"
    "rule dry = moisture of lawn below 30 % and (not lawn is open or between 1:00 and 2:00);\n"
    "water roses only when dry and on mon or dry and lawn is closed;\n";
constexpr char kBad[] =
    "zone lawn on line 0, 200 ml/s;\n"
    "rule r = on mon and not (on tue and moisture below 3 % or ivy is open);\n"
    "water lawn only when on mon and (not on tue\n"
    "or;\n";

std::unique_ptr<Configuration> parse(const char* text, CText& complaints) {
    FILE* const stream = xstr_fopen_cstr(text, "r");
    if (stream == nullptr) {
        complaints.add("no memory\n");
        return nullptr;
    }
    std::unique_ptr<Configuration> read = parseConfiguration(stream, "f", complaints);
    (void)fclose(stream);
    return read;
}

void expectWhole(const Configuration& read) {
    ASSERT_EQ(2, read.zones.getCount());
    EXPECT_STREQ("roses", read.zones[1].name.get());
    ASSERT_EQ(2, read.settings.listen.getCount());
    ASSERT_EQ(1, read.settings.jobs.getCount());
    EXPECT_STREQ("b", read.settings.jobs[0].command.get());
    EXPECT_STREQ("c", read.settings.hook.get());
    EXPECT_STREQ("d", read.settings.stateFile.get());
    ASSERT_EQ(1, read.users.getCount());
    EXPECT_STREQ("f2f5fdc03b61c4d869db230099e03ed6", read.users[0].ha1.get());
    EXPECT_STREQ("k", read.downloadKey.get());
    ASSERT_EQ(1, read.schedules.getCount());
    EXPECT_STREQ("roses", read.schedules[0].zone.get());
    EXPECT_NE(nullptr, read.rules.find("dry"));
    EXPECT_TRUE(read.rules.isGuarded("roses"));
}

void sweep(const char* text) {
    forEachFailingAllocation([text] {
        CText complaints;

        const std::unique_ptr<Configuration> read = parse(text, complaints);

        EXPECT_EQ(read == nullptr, !complaints.isEmpty() || !complaints.isWhole());
        if (read != nullptr) {
            expectWhole(*read);  // some can do without
        }
    });
}

TEST(ConfigurationFaults, RefuseTheFileOrReadAllOfIt) {
    CText complaints;
    (void)parse(kBad, complaints);  // the system log allocates something once
    sweep(kGood);
}

TEST(ConfigurationFaults, LeaveNothingOfAFileThatIsWrong) {
    CText complaints;
    (void)parse(kBad, complaints);  // the system log allocates something once
    sweep(kBad);
}

TEST(GardenFaults, LeaveTheGardenAsItWas) {
    FakeDrivers drivers;
    zol::CTab<ZoneWish> more = fourZones();
    more.append({"tomatoes", 4, 50});
    more.append({"herbs", 5, 50});
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        FourZones garden(drivers.wiring());

        AllocFaults::failNth(nth);
        const bool isDone = garden.add(more);
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);

        EXPECT_EQ(!failed, isDone);
        EXPECT_EQ(failed ? 4 : 6, garden.getZoneCount());
        garden.keep(fourZones());
        EXPECT_EQ(4, garden.getZoneCount());
    }
}

// Not for leaks: schedules that are withdrawn again leave their records behind.
TEST(PlanFaults, LeaveThePlanAsItWasWhenItIsConfigured) {
    FakeDrivers drivers;
    FourZones garden(drivers.wiring());
    zol::CTab<ScheduleWish> before;
    before.append({"roses", ZOL_MONDAY, 6, 30, 20});
    before.append({"lawn", ZOL_MONDAY, 6, 30, 20});
    zol::CTab<ScheduleWish> after;
    after.append({"lawn", ZOL_MONDAY, 6, 30, 20});
    after.append({"hedge", ZOL_MONDAY, 6, 30, 20});
    after.append({"roses", ZOL_FRIDAY, 6, 30, 20});
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        zol::CEventLoop loop;
        CWateringPlan plan(loop.getThread());
        ASSERT_TRUE(plan.start());
        ASSERT_EQ(0, plan.configure(before, garden));

        AllocFaults::failNth(nth);
        const int error = plan.configure(after, garden);
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);

        EXPECT_EQ(error == 0 ? 3 : 2, plan.getSchedules().getCount());
        EXPECT_EQ(error == 0 ? 2 : 1, plan.getSchedules()[0].number);
        EXPECT_TRUE(error == 0 || failed);
    }
}

TEST(StateFaults, LeaveTheOldFileOrTheNewOne) {
    const TempDir folder;
    const std::string path = folder.file("state");
    FakeDrivers drivers;
    FourZones garden(drivers.wiring());
    CZone& roses = *garden.findZone("roses");
    zol::CEventLoop loop;
    CWateringPlan plan(nullptr);
    const std::string nowhere = folder.file("nowhere/state");
    CStateFile(nowhere.c_str(), loop.getThread(), garden, plan).write();  // the log allocates once
    CStateFile state(path.c_str(), loop.getThread(), garden, plan);
    state.write();
    bool failed = true;
    int64_t old = 0;
    for (int nth = 1; failed; ++nth) {
        roses.restore(nth, {});
        const long before = AllocFaults::liveBlocks();

        AllocFaults::failNth(nth);
        state.write();
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);

        EXPECT_EQ(before, AllocFaults::liveBlocks()) << "allocation no. " << nth;
        EXPECT_TRUE(state.read());
        EXPECT_FALSE(zol::CFileUtil::fileExists((path + ".bad").c_str()));
        EXPECT_FALSE(zol::CFileUtil::fileExists((path + ".new").c_str()));
        EXPECT_TRUE(roses.getNanolitres() == nth || (failed && roses.getNanolitres() == old));
        old = roses.getNanolitres();
    }
}

TEST(StateFaults, LeaveAFileThatCannotBeRead) {
    const TempDir folder;
    const std::string path = folder.file("state");
    FakeDrivers drivers;
    FourZones garden(drivers.wiring());
    zol::CEventLoop loop;
    CWateringPlan plan(nullptr);
    CStateFile state(path.c_str(), loop.getThread(), garden, plan);
    garden.findZone("roses")->restore(7, {});
    state.write();
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        garden.findZone("roses")->restore(0, {});

        AllocFaults::failNth(nth);
        const bool isRead = state.read();
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);

        EXPECT_EQ(isRead ? 7 : 0, garden.findZone("roses")->getNanolitres());
        EXPECT_TRUE(isRead || failed);
        EXPECT_TRUE(zol::CFileUtil::fileExists(path.c_str()));
    }
}

}  // namespace

}  // namespace gardend
