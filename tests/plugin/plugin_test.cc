// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// One plug-in without a manager.

#include "zol/plugin.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdint.h>
#include <string.h>

#include "support/plugin_dir.h"
#include "support/syslog_capture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using zol::CDynLib;
using zol::CPlugIn;
using zol::CPlugInInstance;

namespace {

std::string switched;

std::string contentOf(const char* path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

}  // namespace

// What the plug-in of the manual asks its program for.
extern "C" __attribute__((visibility("default"))) void gardend_switch(int line, int on);

void gardend_switch(int line, int on) {
    switched = "line " + std::to_string(line) + ": " + std::to_string(on);
}

namespace {

class PlugIn : public testing::Test {
  protected:
    PlugInDir dir;
    SyslogCapture log;
    const std::string file = dir.add("a.so");
    CDynLib host{nullptr};
    CPlugIn plugIn;
};

TEST_F(PlugIn, IsAskedForItsInstanceWhichIsToldThatItIsLoaded) {
    EXPECT_TRUE(plugIn.open(file.c_str(), host));

    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "onLoad a.so"));
    EXPECT_NE(nullptr, plugIn.getInstance());
    EXPECT_EQ(file, plugIn.getName().get());
}

TEST_F(PlugIn, IsToldBeforeItIsClosed) {
    (void)plugIn.open(file.c_str(), host);
    dir.forgetCalls();

    EXPECT_EQ(0, plugIn.close(host));

    EXPECT_THAT(dir.calls(), ElementsAre("onClose a.so", "destructor a.so"));
    EXPECT_EQ(nullptr, plugIn.getInstance());
    EXPECT_FALSE(plugIn.isOpen());
    EXPECT_FALSE(isMapped(file));
}

TEST_F(PlugIn, AnswersWhatItsInstanceAnswersToAnUpdate) {
    (void)plugIn.open(file.c_str(), host);
    dir.on("onUpdate a.so", [](int* settled) {
        *settled += 3;
        return -4;
    });
    int settled = 10;

    EXPECT_EQ(-4, plugIn.update(host, &settled));

    EXPECT_EQ(13, settled);
}

TEST_F(PlugIn, WithoutInstanceIsOpenAndTakesPartInNothing) {
    dir.on("entry a.so", [](int*) { return 1; });
    int settled = 0;

    EXPECT_TRUE(plugIn.open(file.c_str(), host));
    EXPECT_EQ(0, plugIn.update(host, &settled));
    EXPECT_EQ(0, plugIn.close(host));

    EXPECT_EQ(0, settled);
    EXPECT_THAT(dir.calls(), ElementsAre("constructor a.so", "entry a.so", "destructor a.so"));
}

TEST_F(PlugIn, ThatIsNotOpenAnswersNoughtToAnUpdate) {
    int settled = 0;

    EXPECT_EQ(0, plugIn.update(host, &settled));

    EXPECT_EQ(0, settled);
}

TEST_F(PlugIn, WithoutEntryFunctionIsClosedAgain) {
    const std::string other = dir.addBuilt(NO_ENTRY_PLUGIN, "other.so");
    log.clear();

    EXPECT_FALSE(plugIn.open(other.c_str(), host));

    EXPECT_FALSE(plugIn.isOpen());
    EXPECT_FALSE(isMapped(other));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(SyslogCapture::Line{6, " open(#): Opening dynamic library: " + other},
                    SyslogCapture::Line{3, " getSymbol(#): Cannot found symbol: zol_getPlugIn"}));
}

TEST_F(PlugIn, ThatCannotBeOpenedIsClosed) {
    EXPECT_FALSE(plugIn.open(dir.path("missing.so").c_str(), host));

    EXPECT_FALSE(plugIn.isOpen());
    EXPECT_EQ(nullptr, plugIn.getInstance());
}

TEST_F(PlugIn, OpenedAgainIsClosedBefore) {
    (void)plugIn.open(file.c_str(), host);
    const std::string other = dir.add("b.so");
    dir.forgetCalls();

    EXPECT_TRUE(plugIn.open(other.c_str(), host));

    EXPECT_THAT(dir.calls(), ElementsAre("onClose a.so", "destructor a.so", "constructor b.so",
                                         "entry b.so", "onLoad b.so"));
}

TEST_F(PlugIn, CanBeOpenedAgainByItsOwnName) {
    (void)plugIn.open(file.c_str(), host);

    EXPECT_TRUE(plugIn.open(plugIn.getName().get(), host));

    EXPECT_EQ(file, plugIn.getName().get());
}

TEST_F(PlugIn, DestroyedIsClosedWithoutBeingTold) {
    {
        CPlugIn other;
        (void)other.open(file.c_str(), host);
        dir.forgetCalls();
    }

    EXPECT_THAT(dir.calls(), ElementsAre("destructor a.so"));
}

TEST_F(PlugIn, CopiedHasTheNameButIsClosed) {
    (void)plugIn.open(file.c_str(), host);

    const CPlugIn copy(plugIn);

    EXPECT_EQ(file, copy.getName().get());
    EXPECT_FALSE(copy.isOpen());
    EXPECT_EQ(nullptr, copy.getInstance());
}

TEST_F(PlugIn, IsALibraryAndItsInstance) {
    (void)plugIn.open(file.c_str(), host);
    const void* words[3];
    static_assert(sizeof words == sizeof plugIn);
    memcpy(words, static_cast<const void*>(&plugIn), sizeof words);

    EXPECT_EQ(plugIn.getName().get(), words[0]);
    EXPECT_EQ(plugIn.getInstance(), words[2]);
}

TEST_F(PlugIn, OfTheManualUsesAFunctionOfItsProgram) {
    switched.clear();
    ASSERT_TRUE(plugIn.open(RELAY_PLUGIN, host));

    int settled = 0;
    EXPECT_EQ(0, plugIn.update(host, &settled));
    EXPECT_EQ(0, plugIn.close(host));

    EXPECT_EQ(1, settled);
    EXPECT_EQ("line 4: 0", switched);
}

TEST(PlugInPage, ShowsThePlugInThatIsBuilt) {
    const std::string page = contentOf(PLUGINS_PAGE);
    const std::string source = contentOf(RELAY_SOURCE);
    const size_t code = source.find("#include");
    ASSERT_NE(std::string::npos, code);

    EXPECT_NE(std::string::npos, page.find("```cpp\n" + source.substr(code) + "```\n"));
}

TEST(PlugInTable, HasTheDescriptorOfItsElements) {
    const xabuf_def_s& def = zol::CTab<CPlugIn, 8, xtabh_s>::_def;

    EXPECT_EQ(sizeof(xtabh_s), def.headerSize);
    EXPECT_EQ(sizeof(CPlugIn), def.elementSize);
    EXPECT_EQ(8U, def.growStep);
}

// --- the instance ---

TEST(PlugInInstance, IsInWorkingOrderByDefault) {
    CDynLib host;
    CPlugInInstance instance;
    int settled = 4;

    instance.onLoad(host);
    EXPECT_EQ(0, instance.onUpdate(host, &settled));
    instance.onClose(host);

    EXPECT_EQ(5, settled);
}

// Where a call through a pointer to member finds the function; the lowest bit is a mark.
template <class Function>
unsigned slotOf(Function function) {
    uintptr_t offset = 0;
    memcpy(&offset, &function, sizeof offset);
    return static_cast<unsigned>(offset / sizeof(void*));
}

TEST(PlugInInstance, HasItsFunctionsInTheSlotsBehindTheDestructors) {
    EXPECT_EQ(2U, slotOf(&CPlugInInstance::onLoad));
    EXPECT_EQ(3U, slotOf(&CPlugInInstance::onClose));
    EXPECT_EQ(4U, slotOf(&CPlugInInstance::onUpdate));
    EXPECT_EQ(sizeof(void*), sizeof(CPlugInInstance));
}

}  // namespace
