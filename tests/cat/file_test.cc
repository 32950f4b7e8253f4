// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Sound catalog files: what is found in them, how they are printed, who owns the open file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include "zol/cat.h"

#include "catalog_fixture.h"
#include "support/open_fds.h"

using zol::CStr;
using zol::cat::CFile;
using zol::cat::CMessage;
using zol::cat::CSet;

namespace {

class CatalogFile : public CatalogFiles {
  protected:
    int open(const CatalogBytes& catalog) {
        return file.open(write("test.cat", catalog.bytes()).c_str(), catalogId);
    }

    void openGarden() {
        ASSERT_EQ(0, open({3, "garden", {{0, "zones", {"roses", "", "lawn"}}, {5, "", {"rain"}}}}));
    }

    CFile file;
    unsigned catalogId = 999;
};

TEST_F(CatalogFile, TellsItsIdNameAndSets) {
    openGarden();

    EXPECT_EQ(3U, catalogId);
    EXPECT_EQ(3U, file.getId());
    EXPECT_STREQ("garden", file.getName().get());
    ASSERT_EQ(6, file.getSets().getCount());
    EXPECT_STREQ("zones", file.getSets()[0].getName().get());
    EXPECT_EQ(3, file.getSets()[0].getMessages().getCount());
}

TEST_F(CatalogFile, BeforeItIsOpenedIsEmpty) {
    EXPECT_EQ(0U, file.getId());
    EXPECT_STREQ("", file.getName().get());
    EXPECT_EQ(nullptr, file.getStream());
    EXPECT_EQ(0, file.getSets().getCount());
    EXPECT_EQ(kMissing, textIn(file, 0));
}

TEST_F(CatalogFile, FindsAMessageBySetAndNumber) {
    openGarden();

    EXPECT_EQ("roses", textIn(file, 0x03000000));
    EXPECT_EQ("lawn", textIn(file, 0x03000002));
    EXPECT_EQ("rain", textIn(file, 0x03050000));
}

TEST_F(CatalogFile, DoesNotLookAtTheCatalogInAMessageId) {
    openGarden();

    EXPECT_EQ("roses", textIn(file, 0x00000000));
    EXPECT_EQ("roses", textIn(file, 0xFF000000));
}

TEST_F(CatalogFile, DoesNotFindNumbersAndSetsBeyondTheLast) {
    openGarden();

    EXPECT_EQ(kMissing, textIn(file, 0x03000003));
    EXPECT_EQ(kMissing, textIn(file, 0x0300FFFF));
    EXPECT_EQ(kMissing, textIn(file, 0x03050001));
    EXPECT_EQ(kMissing, textIn(file, 0x03060000));
    EXPECT_EQ(kMissing, textIn(file, 0x03FF0000));
}

TEST_F(CatalogFile, HasEmptySetsForIdsThatNoRecordUsed) {
    openGarden();

    for (const int set : {1, 2, 3, 4}) {
        EXPECT_STREQ("", file.getSets()[set].getName().get());
        EXPECT_EQ(0U, file.getSets()[set].getBase());
        EXPECT_EQ(0, file.getSets()[set].getMessages().getCount());
        EXPECT_EQ(kMissing, textIn(file, static_cast<unsigned>(set) << 16));
    }
}

TEST_F(CatalogFile, AnEmptyMessageIsMissing) {
    openGarden();
    CStr text("as it was");

    EXPECT_EQ(-1, file.getMessage(0x03000001, text));

    EXPECT_STREQ("as it was", text.get());
}

TEST_F(CatalogFile, LeavesTheTextAloneWhenTheMessageIsMissing) {
    openGarden();
    CStr text("as it was");

    EXPECT_EQ(-1, file.getMessage(0x03000003, text));
    EXPECT_EQ(-1, file.getMessage(0x03060000, text));

    EXPECT_STREQ("as it was", text.get());
}

TEST_F(CatalogFile, LeavesOtherHoldersOfTheTextUnchanged) {
    openGarden();
    const CStr other("before, and longer than what comes");
    CStr text(other);

    ASSERT_EQ(0, file.getMessage(0x03000000, text));

    EXPECT_STREQ("roses", text.get());
    EXPECT_EQ(5, text.getLength());
    EXPECT_STREQ("before, and longer than what comes", other.get());
}

TEST_F(CatalogFile, WithoutSetsOpensAndHasNoMessages) {
    ASSERT_EQ(0, open({1, "none", {}}));

    EXPECT_EQ(0, file.getSets().getCount());
    EXPECT_EQ(kMissing, textIn(file, 0x01000000));
}

TEST_F(CatalogFile, KeepsTextsAsTheyStand) {
    const std::string bytes = "\x01\x7F\x80\xFF %s \\n \" \n\t\xC3\xA9";
    ASSERT_EQ(0, open({1, "", {{0, "", {bytes}}}}));

    EXPECT_EQ(bytes, textIn(file, 0));
}

TEST_F(CatalogFile, NotesWhereTextsLie) {
    openGarden();

    const CSet& set = file.getSets()[0];
    // Magic 8, length 4, id 4, name 2 + 7, sets 4; length 4, id 4, name 2 + 6.
    EXPECT_EQ(45U, set.getBase());
    EXPECT_EQ(6U, set.getMessages()[1].getOffset());
    EXPECT_EQ(0U, set.getMessages()[1].getLength());
    EXPECT_EQ(7U, set.getMessages()[2].getOffset());
    EXPECT_EQ(4U, set.getMessages()[2].getLength());
}

TEST_F(CatalogFile, FindsTheTextsOfALargeSet) {
    std::vector<std::string> texts;
    for (int i = 0; i < 600; ++i) {
        texts.push_back(std::to_string(i));
    }
    ASSERT_EQ(0, open({1, "", {{0, "", texts}}}));

    for (unsigned i = 0; i < 600; ++i) {
        EXPECT_EQ(texts[i], textIn(file, i));
    }
    EXPECT_EQ(kMissing, textIn(file, 600));
}

TEST_F(CatalogFile, IgnoresWhatFollowsTheLastSet) {
    const std::string bytes = CatalogBytes(1, "", {{0, "", {"rain"}}}).bytes() + "anything";

    EXPECT_EQ(0, file.open(write("test.cat", bytes).c_str(), catalogId));

    EXPECT_EQ("rain", textIn(file, 0));
}

TEST_F(CatalogFile, OfTwoSetsWithOneIdHasTheLater) {
    ASSERT_EQ(0, open({1, "", {{2, "old", {"a", "b"}}, {2, "new", {"c"}}}}));

    EXPECT_STREQ("new", file.getSets()[2].getName().get());
    EXPECT_EQ("c", textIn(file, 0x00020000));
    EXPECT_EQ(kMissing, textIn(file, 0x00020001));
}

TEST_F(CatalogFile, TakesSetsInAnyOrder) {
    ASSERT_EQ(0, open({1, "", {{255, "", {"last"}}, {7, "", {"seven"}}, {0, "", {"first"}}}}));

    EXPECT_EQ(256, file.getSets().getCount());
    EXPECT_EQ("last", textIn(file, 0x00FF0000));
    EXPECT_EQ("seven", textIn(file, 0x00070000));
    EXPECT_EQ("first", textIn(file, 0x00000000));
}

TEST_F(CatalogFile, DoesNotLookAtTheTerminatorsOfNames) {
    CatalogBytes catalog(1, "garden", {{0, "zones", {"rain"}}});
    catalog.nameTerminator = 'x';
    catalog.sets[0].nameTerminator = 'y';

    ASSERT_EQ(0, open(catalog));

    EXPECT_STREQ("garden", file.getName().get());
    EXPECT_STREQ("zones", file.getSets()[0].getName().get());
}

TEST_F(CatalogFile, KeepsNulsInNames) {
    ASSERT_EQ(0, open({1, std::string("a\0b", 3), {{0, std::string("\0c", 2), {"rain"}}}}));

    EXPECT_EQ(3, file.getName().getLength());
    EXPECT_EQ(0, memcmp("a\0b", file.getName().get(), 4));
    EXPECT_EQ(2, file.getSets()[0].getName().getLength());
    EXPECT_EQ("rain", textIn(file, 0));
}

// --- what changes on disk ---

TEST_F(CatalogFile, ReadsATextAnewAtEveryLookup) {
    openGarden();
    ASSERT_EQ("roses", textIn(file, 0));
    const int fd = ::open(dir.file("test.cat").c_str(), O_WRONLY);
    ASSERT_EQ(5, pwrite(fd, "ROSES", 5, 45));
    close(fd);

    EXPECT_EQ("ROSES", textIn(file, 0));
}

TEST_F(CatalogFile, AnswersFromTheOpenFileWhenItsPathIsReplaced) {
    openGarden();
    const std::string fresh = writeText("fresh", 3, "tulips");
    ASSERT_EQ(0, rename(fresh.c_str(), dir.file("test.cat").c_str()));

    EXPECT_EQ("roses", textIn(file, 0));
}

TEST_F(CatalogFile, LeavesAnEmptyTextWhenReadingFails) {
    openGarden();
    ASSERT_EQ(0, truncate(dir.file("test.cat").c_str(), 47));
    CStr text("as it was");

    EXPECT_EQ(-1, file.getMessage(0x03000000, text));

    EXPECT_STREQ("", text.get());
    EXPECT_EQ(0, text.getLength());
}

// --- printing ---

TEST_F(CatalogFile, IsPrintedWithAllSlotsAndTheMessagesThatThereAre) {
    openGarden();

    EXPECT_EQ(
        "CATALOG 'garden' (id=3):\n"
        "  SET 'zones' (id=0):\n"
        "    __xmsg__(0x03000000): \"roses\"\n"
        "    __xmsg__(0x03000002): \"lawn\"\n"
        "  SET '' (id=1):\n"
        "  SET '' (id=2):\n"
        "  SET '' (id=3):\n"
        "  SET '' (id=4):\n"
        "  SET '' (id=5):\n"
        "    __xmsg__(0x03050000): \"rain\"\n",
        printed([this](FILE* out) { file.dump(out); }));
}

TEST_F(CatalogFile, IsPrintedWithoutEscapes) {
    ASSERT_EQ(0, open({255, "", {{255, "", {"say \"50 %\"\nnow"}}}}));

    const std::string text = printed([this](FILE* out) { file.dump(out); });

    EXPECT_EQ("  SET '' (id=255):\n    __xmsg__(0xffff0000): \"say \"50 %\"\nnow\"\n",
              text.substr(text.find("  SET '' (id=255)")));
}

TEST_F(CatalogFile, IsPrintedWithoutTheMessagesThatCannotBeRead) {
    openGarden();
    ASSERT_EQ(0, truncate(dir.file("test.cat").c_str(), 55));

    const std::string text = printed([this](FILE* out) { file.dump(out); });

    EXPECT_NE(std::string::npos, text.find("\"roses\""));
    EXPECT_EQ(std::string::npos, text.find("0x03000002"));
    EXPECT_EQ(std::string::npos, text.find("0x03050000"));
    EXPECT_NE(std::string::npos, text.find("  SET '' (id=5):\n"));
}

TEST_F(CatalogFile, ThatIsNotOpenIsPrintedAsAnEmptyOne) {
    EXPECT_EQ("CATALOG '' (id=0):\n", printed([this](FILE* out) { file.dump(out); }));
}

TEST_F(CatalogFile, DumpOfAPathPrintsTheSame) {
    const std::string path = writeText("test.cat", 7, "rain");

    EXPECT_EQ(
        "CATALOG 'test' (id=7):\n"
        "  SET '' (id=0):\n"
        "    __xmsg__(0x07000000): \"rain\"\n",
        printed([&](FILE* out) { EXPECT_EQ(0, xcat_dump_file(path.c_str(), out)); }));
}

TEST_F(CatalogFile, DumpOfAPathThatIsNoCatalogPrintsNothing) {
    const std::string path = write("test.cat", "#CATALOGUE");

    EXPECT_EQ("", printed([&](FILE* out) {
                  EXPECT_EQ(-1, xcat_dump_file(path.c_str(), out));
                  EXPECT_EQ(-1, xcat_dump_file(dir.file("nowhere.cat").c_str(), out));
              }));
}

TEST_F(CatalogFile, DumpOfAPathLeavesNothingOpen) {
    const std::string path = writeText("test.cat", 7, "rain");
    const std::string damaged = write("bad.cat", "#CATALOG");
    const int before = openFds();

    printed([&](FILE* out) {
        xcat_dump_file(path.c_str(), out);
        xcat_dump_file(damaged.c_str(), out);
    });

    EXPECT_EQ(before, openFds());
}

// --- the open file ---

TEST_F(CatalogFile, IsOpenUntilItIsDestroyed) {
    const int before = openFds();
    {
        CFile opened;
        ASSERT_EQ(0, opened.open(writeText("a.cat", 1, "rain").c_str(), catalogId));
        EXPECT_EQ(before + 1, openFds());
    }

    EXPECT_EQ(before, openFds());
}

TEST_F(CatalogFile, IsClosedOnExec) {
    openGarden();

    EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(file.getStream()), F_GETFD) & FD_CLOEXEC);
}

TEST_F(CatalogFile, OpenedAgainClosesWhatItHadOpen) {
    openGarden();
    const int before = openFds();

    ASSERT_EQ(0, open({4, "other", {{0, "", {"tulips"}}}}));

    EXPECT_EQ(before, openFds());
    EXPECT_EQ("tulips", textIn(file, 0));
    EXPECT_EQ(1, file.getSets().getCount());
}

TEST_F(CatalogFile, KeepsWhatItHasWhenOpeningAgainFails) {
    openGarden();

    EXPECT_EQ(-1, file.open(dir.file("nowhere.cat").c_str(), catalogId));
    EXPECT_EQ(-1, file.open(write("bad.cat", "#CATALOG").c_str(), catalogId));

    EXPECT_EQ(3U, file.getId());
    EXPECT_STREQ("garden", file.getName().get());
    EXPECT_EQ("roses", textIn(file, 0));
}

TEST_F(CatalogFile, HasTheNewIdWhenOpeningAgainFailsBehindIt) {
    openGarden();
    CatalogBytes damaged(9, "other", {});
    damaged.headLength = 17;

    EXPECT_EQ(-1, open(damaged));

    EXPECT_EQ(9U, catalogId);
    EXPECT_EQ(9U, file.getId());
    EXPECT_STREQ("garden", file.getName().get());
    EXPECT_NE(nullptr, file.getStream());
    EXPECT_EQ(6, file.getSets().getCount());
}

TEST_F(CatalogFile, CopiedHasTheStructureButNoStream) {
    openGarden();

    const CFile copy(file);

    EXPECT_EQ(3U, copy.getId());
    EXPECT_STREQ("garden", copy.getName().get());
    EXPECT_EQ(6, copy.getSets().getCount());
    EXPECT_EQ(nullptr, copy.getStream());
    EXPECT_EQ(kMissing, textIn(copy, 0));
    EXPECT_EQ("roses", textIn(file, 0));
    EXPECT_EQ("  SET 'zones' (id=0):\n  SET '' (id=1):\n",
              printed([&](FILE* out) { copy.dump(out); }).substr(25, 39));
}

TEST_F(CatalogFile, AssignedHasTheSameStreamAndSets) {
    openGarden();
    const int before = openFds();
    CFile other;

    other = file;

    EXPECT_EQ(file.getStream(), other.getStream());
    EXPECT_EQ(3U, other.getId());
    EXPECT_STREQ("garden", other.getName().get());
    EXPECT_EQ(&file.getSets()[0], &other.getSets()[0]);
    EXPECT_EQ(before, openFds());

    EXPECT_EQ(other.getStream(), file.releaseStream());
    EXPECT_EQ(nullptr, file.getStream());
    EXPECT_EQ("roses", textIn(other, 0));
}

// --- steps of a lookup in other streams ---

TEST(CatalogStream, InMemoryIsReadLikeAFile) {
    std::string bytes = "xx" + SetBytes(4, "zones", {"roses", "lawn"}).bytes();
    FILE* const stream = fmemopen(bytes.data(), bytes.size(), "r");
    fseek(stream, 2, SEEK_SET);
    CSet set;
    unsigned id = 999;

    ASSERT_EQ(0, set.read(stream, id));

    EXPECT_EQ(4U, id);
    EXPECT_EQ(18U, set.getBase());
    EXPECT_EQ("lawn", textIn(set, 0x00040001, stream));
    EXPECT_EQ("roses", textIn(set, 0x00040000, stream));
    EXPECT_EQ(kMissing, textIn(set, 0x00040002, stream));
    fclose(stream);
}

TEST(CatalogStream, ThatEndsBeforeTheTextLeavesItEmpty) {
    char bytes[] = "rose";
    FILE* const stream = fmemopen(bytes, 4, "r");
    CStr text("as it was");

    EXPECT_EQ(-1, CMessage(0, 5).getMessage(stream, 0, text));
    EXPECT_STREQ("", text.get());

    EXPECT_EQ(0, CMessage(1, 2).getMessage(stream, 1, text));
    EXPECT_STREQ("se", text.get());
    fclose(stream);
}

TEST(CatalogStream, ThatCannotSeekHasSetsWhoseLookupsFail) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const std::string bytes = SetBytes(4, "zones", {"roses", "lawn"}).bytes();
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), ::write(ends[1], bytes.data(), bytes.size()));
    close(ends[1]);
    FILE* const stream = fdopen(ends[0], "r");
    CSet set;
    unsigned id = 999;

    EXPECT_EQ(0, set.read(stream, id));

    EXPECT_EQ(4U, id);
    EXPECT_STREQ("zones", set.getName().get());
    EXPECT_EQ(2, set.getMessages().getCount());
    EXPECT_EQ(kMissing, textIn(set, 0, stream));
    EXPECT_EQ(EOF, getc(stream));
    fclose(stream);
}

// A set record at a position of a file that is otherwise empty.
class FarSet : public CatalogFile {
  protected:
    int readAt(off_t position) {
        const std::string path = write("far", "");
        stream = fopen(path.c_str(), "w+");
        const std::string bytes = SetBytes(4, "", {"roses", "lawn"}).bytes();
        EXPECT_EQ(0, fseeko(stream, position, SEEK_SET));
        EXPECT_EQ(1U, fwrite(bytes.data(), bytes.size(), 1, stream));
        EXPECT_EQ(0, fseeko(stream, position, SEEK_SET));
        return set.read(stream, catalogId);
    }
    ~FarSet() override { fclose(stream); }

    CSet set;
    FILE* stream = nullptr;
};

TEST_F(FarSet, IsFoundBehindTwoGigabytes) {
    ASSERT_EQ(0, readAt(0xC0000000));

    EXPECT_EQ(0xC000000BU, set.getBase());
    EXPECT_EQ("lawn", textIn(set, 1, stream));
}

TEST_F(FarSet, IsFoundUpToTheLastPositionThatCanBeNoted) {
    ASSERT_EQ(0, readAt(0xFFFFFFF4));

    EXPECT_EQ(0xFFFFFFFFU, set.getBase());
    EXPECT_EQ("roses", textIn(set, 0, stream));
    EXPECT_EQ("lawn", textIn(set, 1, stream));
}

TEST_F(FarSet, IsRefusedBehindIt) {
    EXPECT_EQ(-1, readAt(0xFFFFFFF5));
}

TEST_F(CatalogFile, PrintsOneSetUnderTheIdOfItsFirstMessage) {
    openGarden();

    EXPECT_EQ(
        "  SET 'zones' (id=171):\n"
        "    __xmsg__(0x12ab0000): \"roses\"\n"
        "    __xmsg__(0x12ab0002): \"lawn\"\n",
        printed([this](FILE* out) { file.getSets()[0].dump(file.getStream(), 0x12AB0000, out); }));
}

TEST_F(CatalogFile, PrintsOneMessageUnderItsId) {
    openGarden();
    const CSet& set = file.getSets()[0];

    EXPECT_EQ("    __xmsg__(0x0000000a): \"lawn\"\n", printed([&](FILE* out) {
                  set.getMessages()[2].dump(file.getStream(), set.getBase(), 10, out);
              }));
}

}  // namespace
