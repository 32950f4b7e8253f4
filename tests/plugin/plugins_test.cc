// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The manager: adding, patterns, update passes, removing, the end.

#include <algorithm>
#include <filesystem>

#include "plugin_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// --- adding ---

class AddPlugIn : public PlugInTest {};

TEST_F(AddPlugIn, LoadsAPlugInUnderItsExactName) {
    const std::string file = dir.add("a.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "onLoad a.so"));
    ASSERT_NE(nullptr, manager->findPlugIn(file.c_str()));
    EXPECT_EQ(file, manager->findPlugIn(file.c_str())->getName().get());
    EXPECT_THAT(log.lines(), ElementsAre(Line{6, " open(#): Opening dynamic library: " + file}));
}

TEST_F(AddPlugIn, OfAFileThatIsThereIsRefusedWithoutAWord) {
    ASSERT_TRUE(loadNew("a.so"));
    log.clear();

    EXPECT_FALSE(load("a.so", 1));

    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(dir.calledTo("onUpdate"), IsEmpty());
    EXPECT_EQ(1, removeAll("a.so"));
}

TEST_F(AddPlugIn, TakesAnotherSpellingOfAPathForAnotherFile) {
    ASSERT_TRUE(loadNew("a.so"));

    EXPECT_TRUE(load("./a.so"));

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("a.so", "a.so"));
    EXPECT_EQ(nullptr, manager->findPlugIn("a.so"));
    EXPECT_EQ(nullptr, manager->findPlugIn((dir.path("a.so") + "x").c_str()));
}

TEST_F(AddPlugIn, ListsPlugInsInTheOrderInWhichTheyWereLoaded) {
    EXPECT_TRUE(manager->getPlugIns().isEmpty());
    ASSERT_TRUE(loadNew("b.so"));
    ASSERT_TRUE(loadNew("a.so"));

    ASSERT_EQ(2, manager->getPlugIns().getCount());
    EXPECT_STREQ(dir.path("b.so").c_str(), manager->getPlugIns()[0].getName().get());
    EXPECT_STREQ(dir.path("a.so").c_str(), manager->getPlugIns()[1].getName().get());
}

TEST_F(AddPlugIn, OfAMissingFileFailsWithTheLoadersReason) {
    EXPECT_FALSE(load("a.so", 1));

    EXPECT_FALSE(has("a.so"));
    EXPECT_THAT(complaints(), ElementsAre(cannotOpen(dir.path("a.so"))));
}

TEST_F(AddPlugIn, OfWhatIsNoLibraryFailsWithTheLoadersReason) {
    dir.write("a.so", "This is not a library, but a text.\n");

    EXPECT_FALSE(load("a.so"));

    EXPECT_FALSE(has("a.so"));
    EXPECT_EQ(1U, complaints().size());
}

TEST_F(AddPlugIn, OfALibraryThatIsCutFails) {
    std::filesystem::resize_file(dir.add("a.so"), 100);

    EXPECT_FALSE(load("a.so"));

    EXPECT_FALSE(has("a.so"));
    EXPECT_EQ(1U, complaints().size());
}

TEST_F(AddPlugIn, WithoutEntryFunctionFailsAndClosesTheLibrary) {
    dir.addBuilt(NO_ENTRY_PLUGIN, "a.so");

    EXPECT_FALSE(load("a.so"));

    EXPECT_FALSE(has("a.so"));
    EXPECT_FALSE(isMapped("a.so"));
    EXPECT_THAT(complaints(), ElementsAre(kNoEntry));
}

TEST_F(AddPlugIn, WithoutInstanceLoadsButNothingElse) {
    dir.add("a.so");
    dir.on("entry a.so", [](int*) { return 1; });

    EXPECT_TRUE(load("a.so", 1));

    EXPECT_TRUE(has("a.so"));
    EXPECT_TRUE(remove("a.so"));
    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "destructor a.so"));
    EXPECT_THAT(complaints(), ElementsAre(kNoneSettled));
}

TEST_F(AddPlugIn, UpdatesAllWhenAskedAndLoaded) {
    ASSERT_TRUE(loadNew("a.so"));

    EXPECT_TRUE(loadNew("b.so", 1));
    EXPECT_FALSE(load("missing.so", 1));

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so", "b.so"));
}

TEST_F(AddPlugIn, UpdatesAllForAnyWishOtherThanNought) {
    ASSERT_TRUE(loadNew("a.so", -1));

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so"));
}

TEST_F(AddPlugIn, IsRefusedAboveTheTenthLevel) {
    dir.add("a.so");

    EXPECT_FALSE(load("a.so", 0, 11));
    EXPECT_THAT(log.lines(), ElementsAre(kTooDeep));
    EXPECT_TRUE(load("a.so", 0, 10));
}

TEST_F(AddPlugIn, OfAFileThatIsThereSaysNothingAboutTheLevel) {
    ASSERT_TRUE(loadNew("a.so"));
    log.clear();

    EXPECT_FALSE(load("a.so", 0, 11));

    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AddPlugIn, TakesMoreThanTheTableHoldsAtFirst) {
    Names names;
    for (char letter = 'a'; letter <= 't'; ++letter) {
        names.push_back(std::string(1, letter) + ".so");
        EXPECT_TRUE(loadNew(names.back()));
    }
    manager->updateAll();

    EXPECT_EQ(names, dir.calledTo("onUpdate"));
}

TEST(PlugIns, OpenTheMainProgramAsTheirHost) {
    const SyslogCapture log;

    const zol::CPlugIns manager;

    EXPECT_THAT(log.lines(), ElementsAre(Line{6, " open(#): Opening dynamic library: "}));
}

class UnloadablePlugIn : public PlugInTest {
  protected:
    // Whether a table of the plug-in's own does not keep it in the process.
    bool goesAway(const char* built) {
        dir.addBuilt(built, "a.so");
        EXPECT_TRUE(load("a.so", 1));
        EXPECT_TRUE(remove("a.so"));
        return !isMapped("a.so");
    }
};

TEST_F(UnloadablePlugIn, MayHaveTablesOfItsOwn) {
    EXPECT_TRUE(goesAway(OWN_TABLE_PLUGIN));
}

#if defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
TEST_F(UnloadablePlugIn, StaysWhenItsTablesAreUniqueInTheProcess) {
    EXPECT_FALSE(goesAway(UNIQUE_TABLE_PLUGIN));
}
#endif

// --- patterns ---

class AddPatterns : public PlugInTest {
  protected:
    // Patterns in the folder of the plug-ins.
    void add(const Names& patterns) {
        std::string list;
        for (const std::string& pattern : patterns) {
            list += (list.empty() ? "" : ":") + dir.path(pattern);
        }
        manager->addPatterns(list.c_str());
    }
};

TEST_F(AddPatterns, KnowsNoBracesAndLetsABackslashTakeAwayAMeaning) {
    dir.add("a.so");
    dir.add("{a,b}.so");
    dir.add("*.so");

    add({"{a,b}.so", "\\*.so"});

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("{a,b}.so", "*.so"));
}

TEST_F(AddPatterns, LoadsWhatMatchesPatternByPatternAndSorted) {
    for (const char* name : {"b.so", "z.so", "a.so", "y.so", "c.la"}) {
        dir.add(name);
    }

    add({"[yz].so", "nothing*", "*.so"});

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("y.so", "z.so", "a.so", "b.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(AddPatterns, UpdatesAllOnceAfterwards) {
    dir.add("a.so");
    dir.add("b.so");

    add({"a*", "b*"});

    EXPECT_THAT(dir.calls(),
                ElementsAre("constructor a.so", "entry a.so", "onLoad a.so", "constructor b.so",
                            "entry b.so", "onLoad b.so", "onUpdate a.so", "onUpdate b.so"));
}

TEST_F(AddPatterns, UpdatesAllAlsoWhenNothingMatches) {
    ASSERT_TRUE(loadNew("a.so"));

    add({"nothing*"});

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so"));
}

TEST_F(AddPatterns, WithoutAnyPlugInSaysSo) {
    manager->addPatterns("");

    EXPECT_THAT(log.lines(), ElementsAre(kNoneSettled));
}

TEST_F(AddPatterns, SkipsEmptyPatterns) {
    dir.add("a.so");

    manager->addPatterns(("::" + dir.path("*.so") + "::").c_str());

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("a.so"));
}

TEST_F(AddPatterns, SkipsWhatIsThereAlready) {
    ASSERT_TRUE(loadNew("b.so"));
    dir.add("a.so");

    add({"*.so"});

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("b.so", "a.so"));
}

TEST_F(AddPatterns, LoadsDependenciesFirst) {
    dir.add("a.so", "b.so");
    dir.add("b.so");

    add({"*.so"});

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("b.so", "a.so"));
}

TEST_F(AddPatterns, GoesOnBehindAFileThatIsNoPlugIn) {
    dir.write("a.so", "a text");
    dir.add("b.so");

    add({"*"});

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("b.so"));
    EXPECT_EQ(1U, complaints().size());
}

TEST_F(AddPatterns, TakesAPathWithoutWildcards) {
    dir.add("a.so");

    add({"a.so"});

    EXPECT_TRUE(has("a.so"));
}

// --- update passes ---

class UpdateAll : public PlugInTest {};

TEST_F(UpdateAll, WithoutPlugInsLogsThatSomeCouldNotBeLoaded) {
    manager->updateAll();

    EXPECT_THAT(log.lines(), ElementsAre(kNoneSettled));
}

TEST_F(UpdateAll, AsksAllInTheOrderOfLoading) {
    ASSERT_TRUE(loadNew("b.so") && loadNew("a.so"));

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("b.so", "a.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(UpdateAll, AsksAgainAsLongAsOneChanges) {
    ASSERT_TRUE(loadNew("a.so") && loadNew("b.so"));
    int changes = 2;
    dir.on("onUpdate a.so", [&changes](int* settled) {
        ++*settled;
        return changes-- > 0 ? -1 : 0;
    });

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"),
                ElementsAre("a.so", "b.so", "a.so", "b.so", "a.so", "b.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(UpdateAll, AsksAgainWhenTwoHaveChanged) {
    ASSERT_TRUE(loadNew("a.so") && loadNew("b.so"));
    int changes = 2;
    for (const char* call : {"onUpdate a.so", "onUpdate b.so"}) {
        dir.on(call, [&changes](int* settled) {
            ++*settled;
            return changes-- > 0 ? 1 : 0;
        });
    }

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so", "b.so", "a.so", "b.so"));
}

TEST_F(UpdateAll, IsContentWithOneInWorkingOrder) {
    ASSERT_TRUE(loadNew("a.so") && loadNew("b.so"));
    dir.on("onUpdate a.so", [](int*) { return 0; });

    manager->updateAll();

    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(UpdateAll, EndsWithAMessageWhenNoneIsInWorkingOrder) {
    ASSERT_TRUE(loadNew("a.so") && loadNew("b.so"));
    dir.on("onUpdate a.so", [](int*) { return 1; });
    dir.on("onUpdate b.so", [](int*) { return 0; });

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so", "b.so"));
    EXPECT_THAT(complaints(), ElementsAre(kNoneSettled));
}

TEST_F(UpdateAll, CountsAfreshInEachPass) {
    ASSERT_TRUE(loadNew("a.so"));
    int pass = 0;
    dir.on("onUpdate a.so", [&pass](int* settled) {
        *settled += ++pass == 1 ? 1 : 0;
        return 1;
    });

    manager->updateAll();

    EXPECT_EQ(2, pass);
    EXPECT_THAT(complaints(), ElementsAre(kNoneSettled));
}

// --- removing, and the end ---

class RemovePlugIn : public PlugInTest {};

TEST_F(RemovePlugIn, ThatIsNotThereAnswersNought) {
    EXPECT_EQ(0, static_cast<int>(remove("a.so")));

    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RemovePlugIn, AnswersOtherThanNoughtAlsoForTheFirstAndOnlyOne) {
    ASSERT_TRUE(loadNew("a.so"));

    EXPECT_NE(0, static_cast<int>(remove("a.so")));

    EXPECT_FALSE(has("a.so"));
}

TEST_F(RemovePlugIn, TellsItAndUnloadsIt) {
    ASSERT_TRUE(loadNew("a.so"));
    ASSERT_TRUE(isMapped("a.so"));
    dir.forgetCalls();

    EXPECT_TRUE(remove("a.so"));

    EXPECT_THAT(dir.calls(), ElementsAre("onClose a.so", "destructor a.so"));
    EXPECT_FALSE(isMapped("a.so"));
}

TEST_F(RemovePlugIn, FindsItByItsNameUntilItHasBeenTold) {
    ASSERT_TRUE(loadNew("a.so"));
    bool isThere = false;
    dir.on("onClose a.so", [this, &isThere](int*) {
        isThere = has("a.so") && !load("a.so");
        return 0;
    });

    EXPECT_TRUE(remove("a.so"));

    EXPECT_TRUE(isThere);
    EXPECT_FALSE(has("a.so"));
}

TEST_F(RemovePlugIn, TakesANameThatBelongsToThePlugIn) {
    ASSERT_TRUE(loadNew("a.so"));
    const char* const name = manager->findPlugIn(dir.path("a.so").c_str())->getName().get();

    EXPECT_TRUE(manager->removePlugIn(name));

    EXPECT_FALSE(isMapped("a.so"));
}

TEST_F(RemovePlugIn, LeavesItsDependencies) {
    dir.add("a.so", "b.so");
    dir.add("b.so");
    ASSERT_TRUE(load("a.so"));

    EXPECT_TRUE(remove("a.so"));

    EXPECT_TRUE(has("b.so"));
}

TEST_F(RemovePlugIn, LetsItBeLoadedAgain) {
    ASSERT_TRUE(loadNew("a.so"));
    ASSERT_TRUE(remove("a.so"));

    EXPECT_TRUE(load("a.so"));

    EXPECT_TRUE(isMapped("a.so"));
}

TEST_F(RemovePlugIn, RemovesARowThatHasBeenClosedByHand) {
    ASSERT_TRUE(loadNew("a.so"));
    zol::CDynLib host(nullptr);
    (void)manager->findPlugIn(dir.path("a.so").c_str())->close(host);
    dir.forgetCalls();

    EXPECT_TRUE(remove("a.so"));

    EXPECT_FALSE(has("a.so"));
    EXPECT_THAT(dir.calls(), IsEmpty());
}

TEST_F(RemovePlugIn, WorksInEveryOrder) {
    Names order = {"a.so", "b.so", "c.so"};
    for (const std::string& name : order) {
        dir.add(name);
    }
    do {
        ASSERT_TRUE(load("a.so") && load("b.so") && load("c.so"));
        dir.forgetCalls();

        for (const std::string& name : order) {
            EXPECT_TRUE(remove(name));
            EXPECT_FALSE(isMapped(name));
        }

        EXPECT_EQ(order, dir.calledTo("onClose"));
        EXPECT_EQ(order, dir.calledTo("destructor"));
    } while (std::next_permutation(order.begin(), order.end()));
}

class ManagersEnd : public PlugInTest {};

TEST_F(ManagersEnd, ClosesAllInTheOrderOfLoading) {
    ASSERT_TRUE(loadNew("c.so") && loadNew("a.so") && loadNew("b.so"));
    dir.forgetCalls();

    end();

    EXPECT_THAT(dir.calls(), ElementsAre("onClose c.so", "destructor c.so", "onClose a.so",
                                         "destructor a.so", "onClose b.so", "destructor b.so"));
    EXPECT_FALSE(isMapped("a.so") || isMapped("b.so") || isMapped("c.so"));
}

TEST_F(ManagersEnd, LeavesWhatAnotherManagerHas) {
    zol::CPlugIns other;
    ASSERT_TRUE(loadNew("a.so"));
    ASSERT_TRUE(other.addPlugIn(dir.path("a.so").c_str(), 0, 0));

    end();

    EXPECT_TRUE(isMapped("a.so"));
}

}  // namespace
