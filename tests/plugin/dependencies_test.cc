// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Dependency files.

#include <filesystem>

#include "plugin_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class Dependencies : public PlugInTest {
  protected:
    const Names& loaded() {
        m_loaded = dir.calledTo("onLoad");
        return m_loaded;
    }

    // Makes plug-ins of which each names the next: 0.so, 1.so, ...
    void addChain(int count) {
        for (int i = 0; i < count; ++i) {
            const std::string next = std::to_string(i + 1) + ".so";
            dir.add(std::to_string(i) + ".so", i + 1 < count ? next.c_str() : nullptr);
        }
    }

  private:
    Names m_loaded;
};

TEST_F(Dependencies, AreLoadedFirstInTheirOrder) {
    const std::string d = dir.add("opt/d.so");
    dir.add("p/a.so", ("b.so:" + d).c_str());
    dir.add("p/b.so");

    EXPECT_TRUE(load("p/a.so"));

    EXPECT_THAT(loaded(), ElementsAre("p/b.so", "opt/d.so", "p/a.so"));
    EXPECT_TRUE(has("p/a.so") && has("p/b.so") && has("opt/d.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, AreLoadedBeforeTheLibraryItselfIsOpened) {
    dir.add("a.so", "b.so");
    dir.add("b.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(dir.calls(), ElementsAre("constructor b.so", "entry b.so", "onLoad b.so",
                                         "constructor a.so", "entry a.so", "onLoad a.so"));
}

TEST_F(Dependencies, AreLoadedDepthFirst) {
    dir.add("a.so", "b.so:c.so");
    dir.add("b.so", "d.so");
    dir.add("c.so");
    dir.add("d.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("d.so", "b.so", "c.so", "a.so"));
}

TEST_F(Dependencies, SharedByTwoAreLoadedOnce) {
    dir.add("a.so", "b.so:c.so");
    dir.add("b.so", "d.so");
    dir.add("c.so", "d.so");
    dir.add("d.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("d.so", "b.so", "c.so", "a.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, AreRelativeToTheFolderOfWhoNamesThem) {
    dir.add("a.so", "sub/b.so");
    dir.add("sub/b.so", "c.so:../d.so");
    dir.add("sub/c.so");
    dir.add("d.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_TRUE(has("sub/c.so"));
    EXPECT_TRUE(has("sub/../d.so"));
    EXPECT_FALSE(has("d.so"));
}

TEST_F(Dependencies, OfANameWithoutFolderAreTakenAsTheyStand) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path(""));
    dir.write("zol-none.so.dep", "zol-other.so:sub/zol.so");

    EXPECT_FALSE(manager->addPlugIn("zol-none.so", 0, 0));

    std::filesystem::current_path(before);
    EXPECT_THAT(complaints(), ElementsAre(cannotOpen("zol-other.so"), cannotOpen("sub/zol.so"),
                                          cannotOpen("zol-none.so")));
}

TEST_F(Dependencies, ThatAreEmptyAreSkipped) {
    dir.add("a.so", ":b.so::c.so:");
    dir.add("b.so");
    dir.add("c.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", "c.so", "a.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, OfAnEmptyFileAreNone) {
    dir.add("a.so", "");
    dir.add("b.so", ":");

    EXPECT_TRUE(load("a.so") && load("b.so"));

    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, ALineEndIsPartOfTheName) {
    dir.add("a.so", "b.so:c.so\n");
    dir.add("b.so");
    dir.add("c.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", "a.so"));
    EXPECT_THAT(complaints(), ElementsAre(cannotOpen(dir.path("c.so\n"))));
}

TEST_F(Dependencies, BlanksArePartsOfTheNames) {
    dir.add("a.so", "b.so: c.so");
    dir.add("b.so");
    dir.add(" c.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", " c.so", "a.so"));
}

TEST_F(Dependencies, ANameEndsAtANul) {
    const std::string list("b.so\0rest:c.so", 14);
    dir.add("a.so");
    dir.add("b.so");
    dir.add("c.so");
    dir.write("a.so.dep", list);

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", "c.so", "a.so"));
}

TEST_F(Dependencies, ThatFailDoNotStopTheOthers) {
    dir.add("a.so", "missing.so:no_entry.so:b.so");
    dir.addBuilt(NO_ENTRY_PLUGIN, "no_entry.so");
    dir.add("b.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", "a.so"));
    EXPECT_THAT(complaints(), ElementsAre(cannotOpen(dir.path("missing.so")), kNoEntry));
}

TEST_F(Dependencies, StayWhenThePlugInItselfFails) {
    dir.write("a.so.dep", "b.so");
    dir.add("b.so");

    EXPECT_FALSE(load("a.so"));

    EXPECT_TRUE(has("b.so"));
}

TEST_F(Dependencies, AreUpdatedWithTheOneThatNamesThemAndOnlyThen) {
    dir.add("a.so", "b.so");
    dir.add("b.so");

    EXPECT_TRUE(load("a.so", 1));

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("b.so", "a.so"));
}

TEST_F(Dependencies, OfAFolderInPlaceOfTheFileAreNone) {
    dir.add("a.so");
    std::filesystem::create_directory(dir.path("a.so.dep"));

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, OfALongFileAreReadToItsEnd) {
    // "b.so" lies across the end of the first 4096 bytes, "c.so" ends with the second ones.
    const std::string list = std::string(4094, ':') + "b.so" + std::string(4090, ':') + "c.so";
    ASSERT_EQ(8192U, list.size());
    dir.add("a.so", list.c_str());
    dir.add("b.so");
    dir.add("c.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(loaded(), ElementsAre("b.so", "c.so", "a.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, MayBeMoreThanTheLoaderTakes) {
    const std::string name(5000, 'x');
    dir.add("a.so", name.c_str());

    EXPECT_TRUE(load("a.so"));

    EXPECT_EQ(1U, complaints().size());
}

TEST_F(Dependencies, OfElevenLevelsAreLoaded) {
    addChain(11);

    EXPECT_TRUE(load("0.so"));

    EXPECT_THAT(loaded(), ElementsAre("10.so", "9.so", "8.so", "7.so", "6.so", "5.so", "4.so",
                                      "3.so", "2.so", "1.so", "0.so"));
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Dependencies, OfATwelfthLevelAreRefused) {
    addChain(12);

    EXPECT_TRUE(load("0.so"));

    EXPECT_THAT(loaded(), ElementsAre("10.so", "9.so", "8.so", "7.so", "6.so", "5.so", "4.so",
                                      "3.so", "2.so", "1.so", "0.so"));
    EXPECT_FALSE(has("11.so"));
    EXPECT_THAT(complaints(), ElementsAre(kTooDeep));
}

TEST_F(Dependencies, TwoFilesThatNameEachOtherAreElevenRows) {
    dir.add("a.so", "b.so");
    dir.add("b.so", "a.so");

    EXPECT_TRUE(load("a.so"));

    const Names alternating = {"a.so", "b.so", "a.so", "b.so", "a.so", "b.so",
                               "a.so", "b.so", "a.so", "b.so", "a.so"};
    EXPECT_EQ(alternating, loaded());
    EXPECT_THAT(complaints(), ElementsAre(kTooDeep));
    manager->updateAll();
    EXPECT_EQ(alternating, dir.calledTo("onUpdate"));
    EXPECT_EQ(6, removeAll("a.so"));
    EXPECT_FALSE(isMapped("a.so"));
    EXPECT_EQ(5, removeAll("b.so"));
    EXPECT_FALSE(isMapped("b.so"));
    EXPECT_EQ(11U, dir.calledTo("onClose").size());
}

TEST_F(Dependencies, AFileThatNamesItselfIsElevenRows) {
    dir.add("a.so", "a.so");

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(complaints(), ElementsAre(kTooDeep));
    EXPECT_EQ(11, removeAll("a.so"));
}

TEST_F(Dependencies, OfAnElevenfoldPlugInAreClosedOnceARow) {
    dir.add("a.so", "a.so");
    ASSERT_TRUE(load("a.so"));

    end();

    EXPECT_EQ(11U, dir.calledTo("onClose").size());
    EXPECT_EQ(1U, dir.calledTo("destructor").size());
    EXPECT_FALSE(isMapped("a.so"));
}

TEST_F(Dependencies, OfferTheirSymbolsToThePlugIn) {
    dir.addBuilt(NEEDY_PLUGIN, "needy.so");
    dir.addBuilt(PROVIDER_PLUGIN, "provider.so");
    dir.write("needy.so.dep", "provider.so");

    EXPECT_TRUE(load("needy.so"));

    EXPECT_THAT(dir.calls(), ElementsAre("provided needy.so"));
}

#if defined(__GLIBC__)
TEST_F(Dependencies, StayInTheProcessAsLongAsTheirSymbolsAreUsed) {
    dir.addBuilt(NEEDY_PLUGIN, "needy.so");
    dir.addBuilt(PROVIDER_PLUGIN, "provider.so");
    dir.write("needy.so.dep", "provider.so");
    ASSERT_TRUE(load("needy.so"));

    EXPECT_TRUE(remove("provider.so"));
    EXPECT_TRUE(isMapped("provider.so"));

    EXPECT_TRUE(remove("needy.so"));
    EXPECT_FALSE(isMapped("provider.so"));
}
#endif

TEST_F(Dependencies, ThatAreNotNamedAreMissed) {
    const std::string needy = dir.addBuilt(NEEDY_PLUGIN, "needy.so");

    EXPECT_FALSE(load("needy.so"));

    EXPECT_THAT(complaints(), ElementsAre(cannotOpen(needy)));
#ifndef __UCLIBC__  // whose loader prints the symbol instead
    EXPECT_THAT(loadersReason(needy), HasSubstr("textOfProvider"));
#endif
}

TEST_F(Dependencies, OneThatAddsWhoNamesItMakesThatTwoRows) {
    dir.add("a.so", "core.so");
    dir.add("core.so");
    dir.on("onLoad core.so", [this](int*) {
        EXPECT_TRUE(load("a.so"));
        return 0;
    });

    EXPECT_TRUE(load("a.so"));

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("core.so", "a.so", "a.so"));
}

TEST_F(Dependencies, OfRowsOfOneNameTheFirstIsFoundAndRemoved) {
    dir.add("a.so", "b.so");
    dir.add("b.so", "a.so");
    ASSERT_TRUE(load("a.so"));
    EXPECT_EQ(&manager->getPlugIns()[0], manager->findPlugIn(dir.path("a.so").c_str()));

    EXPECT_TRUE(remove("a.so"));

    EXPECT_EQ(dir.path("b.so"), manager->getPlugIns()[0].getName().get());
    EXPECT_EQ(dir.path("a.so"), manager->getPlugIns()[1].getName().get());
}

}  // namespace
