// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Plug-ins with each allocation failing in turn, those of the system's loader included; and that
// nothing is lost on the road of an exception.

#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "zol/plugin.h"

#include "support/alloc_faults.h"
#include "support/open_fds.h"
#include "support/plugin_dir.h"

namespace {

// The loader keeps the text of its last error until it is asked for, and the one before.
void forgetLoaderErrors() {
    (void)dlerror();
    (void)dlerror();
}

// As forEachFailingAllocation(), after a first sweep in which nothing is counted: the loader keeps
// something for good when a certain allocation fails for the first time.
void sweep(const std::function<void()>& body) {
    const int before = openFds();
    bool failed = true;
    for (int n = 1; failed; ++n) {
        AllocFaults::failNth(n);
        body();
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);
    }
    forEachFailingAllocation([&body] {
        body();
        forgetLoaderErrors();
    });
    EXPECT_EQ(before, openFds());
}

class PlugInFaults : public testing::Test {
  protected:
    PlugInFaults() { dir.write("a.so.dep", "b.so:" + c); }

    static bool faulted() { return AllocFaults::hasFailed(); }

    PlugInDir dir;
    const std::string a = dir.addBuilt(PROVIDER_PLUGIN, "a.so");
    const std::string b = dir.addBuilt(PROVIDER_PLUGIN, "b.so");
    const std::string c = dir.addBuilt(PROVIDER_PLUGIN, "c.so");
};

TEST_F(PlugInFaults, ALibraryIsOpenOrClosed) {
    sweep([this] {
        zol::CDynLib library;
        const bool isOpen = library.open(a.c_str());
        EXPECT_EQ(isOpen, library.isOpen());
        EXPECT_STREQ(isOpen ? a.c_str() : "", library.getName().get());
        EXPECT_TRUE(isOpen || faulted());
    });
    EXPECT_FALSE(isMapped(a));
}

TEST_F(PlugInFaults, ALibraryThatIsNotOpenedAgainIsClosed) {
    sweep([this] {
        zol::CDynLib library;
        if (library.open(a.c_str())) {
            const bool isOpen = library.open(b.c_str());
            EXPECT_EQ(isOpen, library.isOpen());
            EXPECT_STREQ(isOpen ? b.c_str() : "", library.getName().get());
        }
    });
    EXPECT_FALSE(isMapped(a) || isMapped(b));
}

TEST_F(PlugInFaults, APlugInIsLoadedUnderItsNameOrNotAtAll) {
    sweep([this] {
        zol::CPlugIns manager;
        const bool isLoaded = manager.addPlugIn(a.c_str(), 0, 0);
        EXPECT_TRUE(isLoaded || faulted());
        EXPECT_EQ(isLoaded, manager.findPlugIn(a.c_str()) != nullptr);
        EXPECT_EQ(nullptr, manager.findPlugIn(""));
        EXPECT_EQ(isLoaded, manager.removePlugIn(a.c_str()));
        EXPECT_TRUE(manager.removePlugIn(b.c_str()) || faulted());
        EXPECT_TRUE(manager.removePlugIn(c.c_str()) || faulted());
    });
    EXPECT_FALSE(isMapped(a) || isMapped(b) || isMapped(c));
}

TEST_F(PlugInFaults, WithoutMemoryForItsDependenciesAPlugInIsNotLoaded) {
    zol::CPlugIns manager;
    dir.write("a.so.dep", std::string(9000, ':'));
    for (int fault = 1; fault <= 4; ++fault) {  // the file's name, and its three chunks
        AllocFaults::failNth(fault);
        EXPECT_FALSE(manager.addPlugIn(a.c_str(), 0, 0)) << fault;
        AllocFaults::failNth(0);
    }
    EXPECT_EQ(nullptr, manager.findPlugIn(a.c_str()));
    EXPECT_TRUE(manager.addPlugIn(a.c_str(), 0, 0));
}

TEST_F(PlugInFaults, PatternsLoadWhatTheyCan) {
    // One match a pattern, for glibc 2.36 has a fault of its own: a glob(3) that puts a folder
    // before several names frees them twice when it runs out of memory.
    const std::string patterns =
        dir.path("b*so") + ":" + dir.path("[c].so") + ":" + dir.path("a*o");
    sweep([this, &patterns] {
        zol::CPlugIns manager;
        manager.addPatterns(patterns.c_str());
        for (const std::string* file : {&a, &b, &c}) {
            EXPECT_TRUE(manager.findPlugIn(file->c_str()) != nullptr || faulted());
        }
    });
    EXPECT_FALSE(isMapped(a) || isMapped(b) || isMapped(c));
}

TEST_F(PlugInFaults, ManyPlugInsAreAllThatCouldBeLoaded) {
    std::vector<std::string> files;
    for (char name = 'A'; name <= 'L'; ++name) {
        files.push_back(dir.addBuilt(PROVIDER_PLUGIN, std::string(1, name)));
    }
    sweep([&files] {
        zol::CPlugIns manager;
        for (const std::string& file : files) {
            EXPECT_TRUE(manager.addPlugIn(file.c_str(), 0, 0) || faulted());
        }
        for (const std::string& file : files) {
            EXPECT_TRUE(manager.removePlugIn(file.c_str()) || faulted());
            EXPECT_FALSE(manager.removePlugIn(file.c_str()));
        }
    });
    EXPECT_FALSE(isMapped(files.front()) || isMapped(files.back()));
}

// --- exceptions ---

// Lets a plug-in throw, from a function of which `call` names it, while `use` uses a manager. How
// many blocks that costs each time; those that the loader keeps for good now and then do not count.
long blocksLostWhen(const std::string& call, const std::function<void(PlugInDir&)>& use) {
    constexpr int kTimes = 10;
    const long before = AllocFaults::liveBlocks();
    for (int i = 0; i < kTimes; ++i) {
        PlugInDir dir;
        dir.add("a.so", "b.so:c.so");
        dir.add("b.so");
        dir.add("c.so");
        dir.throwOn(call);
        use(dir);
    }
    forgetLoaderErrors();
    return (AllocFaults::liveBlocks() - before) / kTimes;
}

// Of the three plug-ins; as much as without an exception.
#ifdef __UCLIBC__
constexpr long kKeptByLoader = 3;
#else
constexpr long kKeptByLoader = 0;
#endif

void loadA(PlugInDir& dir) {
    zol::CPlugIns manager;
    const std::string a = dir.path("a.so");
    EXPECT_THROW(manager.addPlugIn(a.c_str(), 1, 0), std::runtime_error);
}

TEST(PlugInExceptionFaults, NothingIsLostOnTheRoadThroughTheManager) {
    for (const char* call : {"entry a.so", "onLoad a.so", "onUpdate a.so"}) {
        EXPECT_EQ(kKeptByLoader, blocksLostWhen(call, loadA)) << call;
    }
}

TEST(PlugInExceptionFaults, NothingIsLostWhereAPlugInIsRemoved) {
    const long lost = blocksLostWhen("onClose a.so", [](PlugInDir& dir) {
        zol::CPlugIns manager;
        const std::string a = dir.path("a.so");
        EXPECT_TRUE(manager.addPlugIn(a.c_str(), 0, 0));
        EXPECT_THROW(manager.removePlugIn(a.c_str()), std::runtime_error);
    });

    EXPECT_EQ(kKeptByLoader, lost);
}

}  // namespace
