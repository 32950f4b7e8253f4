// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Plug-ins that add and remove plug-ins, and that throw, from each of their functions.

#include <stdexcept>

#include "plugin_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// More than a table has room for at first, so that it moves.
const Names kMany = {"1.so", "2.so", "3.so", "4.so", "5.so", "6.so", "7.so", "8.so", "9.so"};

class Reentrance : public PlugInTest {
  protected:
    Reentrance() {
        dir.add("a.so");
        dir.add("b.so");
    }

    void addManyOn(const std::string& call) {
        dir.on(call, [this](int* settled) {
            if (settled != nullptr) {
                ++*settled;
            }
            for (const std::string& name : kMany) {
                if (!has(name)) {
                    EXPECT_TRUE(loadNew(name)) << name;
                }
            }
            return 0;
        });
    }

    void removeOn(const std::string& call, const std::string& name) {
        dir.on(call, [this, name](int* settled) {
            if (settled != nullptr) {
                ++*settled;
            }
            EXPECT_TRUE(remove(name));
            return 0;
        });
    }

    bool hasMany() {
        for (const std::string& name : kMany) {
            if (!has(name)) {
                return false;
            }
        }
        return true;
    }
};

// --- adding others ---

TEST_F(Reentrance, OthersAreAddedWhileAPlugInIsLoaded) {
    for (const char* call : {"constructor a.so", "entry a.so", "onLoad a.so"}) {
        startAfresh();
        for (const std::string& name : kMany) {
            std::filesystem::remove(dir.path(name));
        }
        addManyOn(call);

        EXPECT_TRUE(load("a.so")) << call;

        EXPECT_TRUE(has("a.so") && hasMany()) << call;
        EXPECT_NE(nullptr, manager->findPlugIn(dir.path("a.so").c_str())->getInstance()) << call;
        EXPECT_EQ(1, removeAll("a.so")) << call;
        EXPECT_FALSE(isMapped("a.so")) << call;
        dir.on(call, [](int*) { return 0; });
    }
}

TEST_F(Reentrance, OneThatIsAddedInAPassIsAskedInIt) {
    addManyOn("onUpdate a.so");
    ASSERT_TRUE(load("a.so"));

    manager->updateAll();

    Names all = {"a.so"};
    all.insert(all.end(), kMany.begin(), kMany.end());
    EXPECT_EQ(all, dir.calledTo("onUpdate"));
}

TEST_F(Reentrance, OthersAreAddedWhileAPlugInIsRemoved) {
    addManyOn("onClose a.so");
    ASSERT_TRUE(load("a.so"));

    EXPECT_TRUE(remove("a.so"));

    EXPECT_FALSE(has("a.so") || isMapped("a.so"));
    EXPECT_TRUE(hasMany());
}

TEST_F(Reentrance, OneIsAddedByTheDestructorOfAnotherLibrary) {
    dir.on("destructor a.so", [this](int*) {
        EXPECT_TRUE(load("b.so"));
        return 0;
    });
    ASSERT_TRUE(load("a.so"));

    EXPECT_TRUE(remove("a.so"));

    EXPECT_FALSE(has("a.so") || isMapped("a.so"));
    EXPECT_TRUE(has("b.so"));
}

TEST_F(Reentrance, OneThatIsAddedAtTheManagersEndIsClosedToo) {
    addManyOn("onClose a.so");
    ASSERT_TRUE(load("a.so"));

    end();

    EXPECT_EQ(10U, dir.calledTo("onClose").size());
    EXPECT_FALSE(isMapped("a.so") || isMapped("9.so"));
}

TEST_F(Reentrance, OneThatIsBeingLoadedIsNotAddedAgain) {
    for (const char* call : {"constructor a.so", "entry a.so", "onLoad a.so"}) {
        int refused = 0;
        dir.on(call, [this, &refused](int*) {
            refused += load("a.so") ? 0 : 1;
            return 0;
        });

        EXPECT_TRUE(load("a.so"));

        EXPECT_EQ(1, refused) << call;
        EXPECT_EQ(1, removeAll("a.so")) << call;
        dir.on(call, [](int*) { return 0; });
    }
}

TEST_F(Reentrance, ADependencyMayBeAddedByTheConstructorOfAnother) {
    dir.add("top.so", "a.so:b.so");
    dir.on("constructor a.so", [this](int*) {
        EXPECT_TRUE(load("b.so"));
        return 0;
    });

    EXPECT_TRUE(load("top.so"));

    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("b.so", "a.so", "top.so"));
    EXPECT_EQ(1, removeAll("b.so"));
}

TEST_F(Reentrance, APassMayBeAskedForInAPass) {
    int passes = 0;
    dir.on("onUpdate a.so", [this, &passes](int* settled) {
        ++*settled;
        if (++passes == 1) {
            manager->updateAll();
        }
        return 0;
    });
    ASSERT_TRUE(load("a.so") && load("b.so"));

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so", "a.so", "b.so", "b.so"));
}

// --- removing others ---

TEST_F(Reentrance, OthersAreRemovedWhileAPlugInIsLoaded) {
    for (const char* call : {"constructor a.so", "entry a.so", "onLoad a.so"}) {
        ASSERT_TRUE(load("b.so"));
        removeOn(call, "b.so");

        EXPECT_TRUE(load("a.so")) << call;

        EXPECT_TRUE(has("a.so")) << call;
        EXPECT_FALSE(has("b.so") || isMapped("b.so")) << call;
        EXPECT_TRUE(remove("a.so"));
        EXPECT_FALSE(isMapped("a.so")) << call;
        dir.on(call, [](int*) { return 0; });
    }
}

TEST_F(Reentrance, OneBehindThatIsRemovedInAPassIsNotAsked) {
    removeOn("onUpdate a.so", "b.so");
    ASSERT_TRUE(load("a.so") && load("b.so"));

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so"));
}

TEST_F(Reentrance, OneInFrontThatIsRemovedInAPassCostsTheNextOneItsTurn) {
    removeOn("onUpdate b.so", "a.so");
    ASSERT_TRUE(load("a.so") && load("b.so") && loadNew("c.so") && loadNew("d.so"));

    manager->updateAll();

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so", "b.so", "d.so"));
}

TEST_F(Reentrance, OthersAreRemovedWhileAPlugInIsRemoved) {
    removeOn("onClose b.so", "a.so");
    ASSERT_TRUE(load("a.so") && load("b.so") && loadNew("c.so"));

    EXPECT_TRUE(remove("b.so"));

    EXPECT_FALSE(has("a.so") || has("b.so"));
    EXPECT_FALSE(isMapped("a.so") || isMapped("b.so"));
    EXPECT_TRUE(has("c.so"));
}

TEST_F(Reentrance, OthersAreRemovedAtTheManagersEnd) {
    removeOn("onClose a.so", "b.so");
    dir.add("c.so");
    ASSERT_TRUE(load("a.so") && load("b.so") && load("c.so"));

    end();

    EXPECT_THAT(dir.calledTo("onClose"), ElementsAre("a.so", "b.so", "c.so"));
    EXPECT_FALSE(isMapped("a.so") || isMapped("b.so") || isMapped("c.so"));
}

TEST_F(Reentrance, AllAreToldAtTheManagersEndWhereARowInFrontIsRemoved) {
    removeOn("onClose b.so", "a.so");
    dir.add("c.so");
    ASSERT_TRUE(load("a.so") && load("b.so") && load("c.so"));

    end();

    EXPECT_THAT(dir.calledTo("onClose"), ElementsAre("a.so", "b.so", "c.so"));
}

// --- removing itself: where somebody else has the library open, so that its code stays ---

TEST_F(Reentrance, OneThatRemovesItselfWhileItIsLoadedIsNotLoaded) {
    for (const char* call : {"constructor a.so", "entry a.so", "onLoad a.so"}) {
        const bool isEarly = std::string(call) == "constructor a.so";
        auto keeper = std::make_unique<zol::CDynLib>();
        if (!isEarly) {
            (void)keeper->open(dir.path("a.so").c_str());
        }
        removeOn(call, "a.so");

        EXPECT_FALSE(load("a.so", 1)) << call;

        EXPECT_FALSE(has("a.so")) << call;
        keeper.reset();
        EXPECT_FALSE(isMapped("a.so")) << call;
        EXPECT_THAT(dir.calledTo("onUpdate"), IsEmpty());
        dir.on(call, [](int*) { return 0; });
    }
}

TEST_F(Reentrance, OneThatRemovesAndAddsItselfWhileItIsLoadedIsThereOnce) {
    for (const char* call : {"constructor a.so", "entry a.so", "onLoad a.so"}) {
        auto keeper = std::make_unique<zol::CDynLib>();
        if (std::string(call) != "constructor a.so") {
            (void)keeper->open(dir.path("a.so").c_str());
        }
        bool isFirst = true;
        dir.on(call, [this, &isFirst](int*) {
            if (isFirst) {
                isFirst = false;
                EXPECT_TRUE(remove("a.so"));
                EXPECT_TRUE(load("a.so"));
            }
            return 0;
        });

        dir.forgetCalls();

        (void)load("a.so");

        // Each instance is told once: where onLoad() does it, there are two.
        EXPECT_EQ(std::string(call) == "onLoad a.so" ? 2U : 1U, dir.calledTo("onLoad").size());
        EXPECT_EQ(1, removeAll("a.so")) << call;
        keeper.reset();
        EXPECT_FALSE(isMapped("a.so")) << call;
        dir.on(call, [](int*) { return 0; });
    }
}

TEST_F(Reentrance, OneThatRemovesItselfWhileItIsClosedIsToldOnce) {
    auto keeper = std::make_unique<zol::CDynLib>(dir.path("a.so").c_str());
    removeOn("onClose a.so", "a.so");
    ASSERT_TRUE(load("a.so"));

    EXPECT_TRUE(remove("a.so"));

    EXPECT_THAT(dir.calledTo("onClose"), ElementsAre("a.so"));
    EXPECT_FALSE(has("a.so"));
    keeper.reset();
    EXPECT_FALSE(isMapped("a.so"));
}

// --- exceptions ---

class PlugInException : public Reentrance {};

TEST_F(PlugInException, OfTheEntryFunctionLeavesThePlugInWithoutInstance) {
    dir.throwOn("entry a.so");

    EXPECT_THROW(load("a.so", 1), std::runtime_error);

    ASSERT_TRUE(has("a.so"));
    EXPECT_EQ(nullptr, manager->findPlugIn(dir.path("a.so").c_str())->getInstance());
    EXPECT_TRUE(remove("a.so"));
    EXPECT_FALSE(isMapped("a.so"));
    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "destructor a.so"));
}

TEST_F(PlugInException, OfOnLoadLeavesThePlugInLoaded) {
    dir.throwOn("onLoad a.so");

    EXPECT_THROW(load("a.so", 1), std::runtime_error);

    ASSERT_TRUE(has("a.so"));
    EXPECT_FALSE(load("a.so"));
    manager->updateAll();
    EXPECT_TRUE(remove("a.so"));
    EXPECT_FALSE(isMapped("a.so"));
    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "onLoad a.so",
                                         "onUpdate a.so", "onClose a.so", "destructor a.so"));
}

TEST_F(PlugInException, OfADependencyLeavesThatAndNotWhoNamesIt) {
    dir.add("top.so", "a.so:b.so");
    dir.throwOn("onLoad a.so");

    EXPECT_THROW(load("top.so"), std::runtime_error);

    EXPECT_TRUE(has("a.so"));
    EXPECT_FALSE(has("b.so") || has("top.so"));
    EXPECT_TRUE(load("top.so"));
    EXPECT_THAT(dir.calledTo("onLoad"), ElementsAre("a.so", "b.so", "top.so"));
}

TEST_F(PlugInException, OfAMatchEndsTheLoadingOfPatterns) {
    dir.throwOn("onLoad a.so");

    EXPECT_THROW(manager->addPatterns(dir.path("*.so").c_str()), std::runtime_error);

    EXPECT_TRUE(has("a.so"));
    EXPECT_FALSE(has("b.so"));
    EXPECT_THAT(dir.calledTo("onUpdate"), IsEmpty());
}

TEST_F(PlugInException, OfOnUpdateEndsThePasses) {
    ASSERT_TRUE(load("a.so") && load("b.so"));
    dir.throwOn("onUpdate a.so");

    EXPECT_THROW(manager->updateAll(), std::runtime_error);

    EXPECT_THAT(dir.calledTo("onUpdate"), ElementsAre("a.so"));
    EXPECT_TRUE(has("a.so") && has("b.so"));
}

TEST_F(PlugInException, OfOnUpdateLeavesThePlugInThatWasAdded) {
    dir.throwOn("onUpdate a.so");

    EXPECT_THROW(load("a.so", 1), std::runtime_error);

    EXPECT_TRUE(has("a.so"));
}

TEST_F(PlugInException, OfOnCloseLeavesThePlugInWithoutInstance) {
    ASSERT_TRUE(load("a.so"));
    dir.throwOn("onClose a.so");

    EXPECT_THROW(remove("a.so"), std::runtime_error);

    ASSERT_TRUE(has("a.so"));
    EXPECT_EQ(nullptr, manager->findPlugIn(dir.path("a.so").c_str())->getInstance());
    EXPECT_TRUE(isMapped("a.so"));
    EXPECT_TRUE(remove("a.so"));
    EXPECT_FALSE(isMapped("a.so"));
    EXPECT_THAT(dir.calledTo("onClose"), ElementsAre("a.so"));
}

TEST_F(PlugInException, OfOnCloseEndsTheProgramWhereTheManagerIsDestroyed) {
    ASSERT_TRUE(load("a.so"));
    dir.throwOn("onClose a.so");

    EXPECT_DEATH(end(), "");

    dir.on("onClose a.so", [](int*) { return 0; });
}

TEST_F(PlugInException, LeavesTheRestToTheManagersEnd) {
    dir.throwOn("entry a.so");
    dir.throwOn("onLoad b.so");
    EXPECT_THROW(load("a.so"), std::runtime_error);
    EXPECT_THROW(load("b.so"), std::runtime_error);

    end();

    EXPECT_THAT(dir.calledTo("onClose"), ElementsAre("b.so"));
    EXPECT_FALSE(isMapped("a.so") || isMapped("b.so"));
}

}  // namespace
