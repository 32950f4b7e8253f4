// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "zol/plugin.h"

#include "support/plugin_dir.h"
#include "support/syslog_capture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zol::CDynLib;

using Line = SyslogCapture::Line;

extern "C" __attribute__((visibility("default"))) int symbolOfTheProgram;
int symbolOfTheProgram = 7;

namespace {

class DynLib : public testing::Test {
  protected:
    PlugInDir dir;
    SyslogCapture log;
    const std::string file = dir.addBuilt(NO_ENTRY_PLUGIN, "moon.so");
    const std::string missing = dir.path("missing.so");
    const std::string missingText =
        " open(#): Cannot open dynamic library: " + loadersReason(missing);
};

TEST_F(DynLib, IsClosedAndWithoutNameAtFirst) {
    const CDynLib library;

    EXPECT_FALSE(library.isOpen());
    EXPECT_STREQ("", library.getName().get());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DynLib, OpensALibraryAndLogsThat) {
    CDynLib library;

    EXPECT_TRUE(library.open(file.c_str()));

    EXPECT_TRUE(library.isOpen());
    EXPECT_EQ(file, library.getName().get());
    EXPECT_TRUE(isMapped(file));
    EXPECT_THAT(log.lines(), ElementsAre(Line{6, " open(#): Opening dynamic library: " + file}));
}

TEST_F(DynLib, IsOpenedWhenItIsMade) {
    const CDynLib library(file.c_str());

    EXPECT_TRUE(library.isOpen());
    EXPECT_EQ(file, library.getName().get());
}

TEST_F(DynLib, LogsWhyALibraryCannotBeOpenedAndHasNoNameThen) {
    CDynLib library;

    EXPECT_FALSE(library.open(missing.c_str()));

    EXPECT_FALSE(library.isOpen());
    EXPECT_STREQ("", library.getName().get());
    EXPECT_THAT(log.lines(), ElementsAre(Line{6, " open(#): Opening dynamic library: " + missing},
                                         Line{3, missingText}));
}

TEST_F(DynLib, OpensTheMainProgramForANullName) {
    CDynLib program;

    EXPECT_TRUE(program.open(nullptr));

    EXPECT_STREQ("", program.getName().get());
    EXPECT_EQ(&symbolOfTheProgram, program.getSymbol("symbolOfTheProgram"));
    EXPECT_THAT(log.lines(), ElementsAre(Line{6, " open(#): Opening dynamic library: "}));
}

TEST_F(DynLib, FindsASymbol) {
    CDynLib library(file.c_str());
    log.clear();

    const auto answer = reinterpret_cast<int (*)()>(library.getSymbol("answerOfNoEntry"));

    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(42, answer());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DynLib, FindsTheSymbolsOfWhatALibraryIsLinkedWith) {
    CDynLib library(dir.add("a.so").c_str());

    EXPECT_EQ(reinterpret_cast<void*>(xlib_get_symbol), library.getSymbol("xlib_get_symbol"));
}

TEST_F(DynLib, LogsASymbolThatItCannotFound) {
    CDynLib library(file.c_str());
    log.clear();

    EXPECT_EQ(nullptr, library.getSymbol("noSuchSymbol"));

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, " getSymbol(#): Cannot found symbol: noSuchSymbol"}));
}

TEST_F(DynLib, LooksInTheWholeProcessWhenItIsClosed) {
    CDynLib closed;

    EXPECT_EQ(&symbolOfTheProgram, closed.getSymbol("symbolOfTheProgram"));
    EXPECT_EQ(nullptr, closed.getSymbol("noSuchSymbol"));
}

TEST_F(DynLib, MakesItsSymbolsVisibleToAll) {
    EXPECT_EQ(nullptr, xlib_get_symbol("answerOfNoEntry"));

    CDynLib library(file.c_str());

    EXPECT_EQ(library.getSymbol("answerOfNoEntry"), xlib_get_symbol("answerOfNoEntry"));
    EXPECT_NE(nullptr, xlib_get_symbol("answerOfNoEntry"));
}

TEST_F(DynLib, IsGoneAfterItHasBeenClosed) {
    CDynLib library(file.c_str());

    EXPECT_EQ(0, library.close());

    EXPECT_FALSE(library.isOpen());
    EXPECT_EQ(file, library.getName().get());
    EXPECT_FALSE(isMapped(file));
}

TEST_F(DynLib, IsClosedByItsDestructor) {
    {
        const CDynLib library(file.c_str());
        ASSERT_TRUE(isMapped(file));
    }

    EXPECT_FALSE(isMapped(file));
}

TEST_F(DynLib, StaysUntilTheLastOfItsOwnersHasClosedIt) {
    CDynLib library(file.c_str());
    CDynLib other(file.c_str());

    EXPECT_EQ(0, library.close());
    EXPECT_TRUE(isMapped(file));

    EXPECT_EQ(0, other.close());
    EXPECT_FALSE(isMapped(file));
}

TEST_F(DynLib, CanBeOpenedAgainAfterClosing) {
    CDynLib library(file.c_str());
    (void)library.close();

    EXPECT_TRUE(library.open(file.c_str()));

    EXPECT_TRUE(isMapped(file));
}

TEST_F(DynLib, OpenedAgainClosesWhatItHadOpen) {
    const std::string other = dir.addBuilt(NO_ENTRY_PLUGIN, "other.so");
    CDynLib library(file.c_str());

    EXPECT_TRUE(library.open(other.c_str()));

    EXPECT_FALSE(isMapped(file));
    EXPECT_TRUE(isMapped(other));
    EXPECT_EQ(other, library.getName().get());
}

TEST_F(DynLib, OpenedAgainInVainIsClosed) {
    CDynLib library(file.c_str());

    EXPECT_FALSE(library.open(missing.c_str()));

    EXPECT_FALSE(isMapped(file));
    EXPECT_FALSE(library.isOpen());
    EXPECT_STREQ("", library.getName().get());
    EXPECT_EQ(missingText, log.lines().back().text);
}

TEST_F(DynLib, CanBeOpenedAgainByItsOwnName) {
    CDynLib library(file.c_str());

    EXPECT_TRUE(library.open(library.getName().get()));

    EXPECT_EQ(file, library.getName().get());
    (void)library.close();
    EXPECT_FALSE(isMapped(file));
}

TEST_F(DynLib, CopiedHasTheNameButIsClosed) {
    CDynLib library(file.c_str());

    const CDynLib copy(library);

    EXPECT_EQ(file, copy.getName().get());
    EXPECT_FALSE(copy.isOpen());
    EXPECT_TRUE(library.isOpen());
}

TEST_F(DynLib, IsItsNameAndItsHandle) {
    const CDynLib library(file.c_str());
    const void* words[2];
    static_assert(sizeof words == sizeof library);
    memcpy(words, static_cast<const void*>(&library), sizeof words);

    EXPECT_EQ(library.getName().get(), words[0]);
    EXPECT_NE(nullptr, words[1]);
}

TEST_F(DynLib, ThatIsNoLibraryIsRefusedWithTheReason) {
    for (const std::string& name :
         {dir.write("text.so", std::string(100, 'x')), dir.write("empty.so", ""),
          dir.write("short.so", std::string("\x7F") + "ELF"), dir.path("")}) {
        CDynLib library;
        log.clear();

        EXPECT_FALSE(library.open(name.c_str()));

        ASSERT_EQ(2U, log.lines().size());
        EXPECT_EQ(3, log.lines()[1].priority);
        EXPECT_EQ(" open(#): Cannot open dynamic library: " + loadersReason(name),
                  log.lines()[1].text);
#ifndef __UCLIBC__  // whose loader prints the name instead
        EXPECT_THAT(log.lines()[1].text, HasSubstr(name));
#endif
    }
}

TEST(GetSymbol, FindsWhatTheProgramExports) {
    EXPECT_EQ(&symbolOfTheProgram, xlib_get_symbol("symbolOfTheProgram"));
}

TEST(GetSymbol, LogsWhatItDoesNotFind) {
    (void)xlib_get_symbol("symbolOfTheProgram");
    const SyslogCapture log;

    EXPECT_EQ(nullptr, xlib_get_symbol("noSuchSymbol"));

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{3, " getSymbol(#): Cannot found symbol: noSuchSymbol"}));
}

}  // namespace
