// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// One language: several files, each under the id of its catalog.
#include <gtest/gtest.h>

#include "zol/cat.h"

#include "catalog_fixture.h"
#include "support/open_fds.h"
#include "support/owned_str.h"

using zol::CStr;
using zol::CTab;
using zol::cat::CCatalog;

namespace {

template <class T>
void expectDescriptorOf(const char* what) {
    EXPECT_EQ(sizeof(xtabh_s), CTab<T>::_def.headerSize) << what;
    EXPECT_EQ(sizeof(T), CTab<T>::_def.elementSize) << what;
    EXPECT_EQ(8U, CTab<T>::_def.growStep) << what;
}

TEST(CatalogTables, HaveTheDescriptorsOfTheirElements) {
    expectDescriptorOf<zol::cat::CMessage>("messages");
    expectDescriptorOf<zol::cat::CSet>("sets");
    expectDescriptorOf<zol::cat::CFile>("files");
    expectDescriptorOf<zol::cat::CInterCatalog::CInter>("languages");
}

class Catalog : public CatalogFiles {
  protected:
    int open(const std::string& path) { return catalog.openFile(path.c_str()); }

    CCatalog catalog;
};

TEST_F(Catalog, FindsAMessageInTheFileOfItsCatalog) {
    ASSERT_EQ(0, open(writeText("a.cat", 0, "rain")));
    ASSERT_EQ(0, open(writeText("b.cat", 255, "sun")));

    EXPECT_EQ("rain", textIn(catalog, 0x00000000));
    EXPECT_EQ("sun", textIn(catalog, 0xFF000000));
}

TEST_F(Catalog, DoesNotFindWhatNoFileHas) {
    ASSERT_EQ(0, open(writeText("a.cat", 3, "rain")));

    EXPECT_EQ(kMissing, textIn(catalog, 200U << 24));
    EXPECT_EQ(kMissing, textIn(catalog, 0x02000000));
    EXPECT_EQ(kMissing, textIn(catalog, 0x03010000));
    EXPECT_EQ(kMissing, textIn(catalog, 0x03000001));
}

TEST_F(Catalog, WithoutFilesHasNoMessages) {
    EXPECT_EQ(kMissing, textIn(catalog, 0));
    EXPECT_EQ(kMissing, textIn(catalog, 0xFFFFFFFF));
}

TEST_F(Catalog, DoesNotFindAnEmptyMessageAndLeavesTheTextAlone) {
    ASSERT_EQ(0, open(writeText("a.cat", 3, "")));
    CStr text("as it was");

    EXPECT_EQ(-1, catalog.getMessage(0x03000000, text));

    EXPECT_STREQ("as it was", text.get());
}

TEST_F(Catalog, HasEmptySlotsForIdsThatNoFileUsed) {
    ASSERT_EQ(0, open(writeText("a.cat", 3, "rain")));

    ASSERT_EQ(4, catalog.getFiles().getCount());
    for (const int id : {0, 1, 2}) {
        EXPECT_EQ(0U, catalog.getFiles()[id].getId());
        EXPECT_STREQ("", catalog.getFiles()[id].getName().get());
        EXPECT_EQ(nullptr, catalog.getFiles()[id].getStream());
        EXPECT_EQ(0, catalog.getFiles()[id].getSets().getCount());
    }
    EXPECT_EQ(3U, catalog.getFiles()[3].getId());
    EXPECT_STREQ("test", catalog.getFiles()[3].getName().get());
}

TEST_F(Catalog, DoesNotGrowForAFileThatIsRefused) {
    EXPECT_EQ(-1, open(dir.file("nowhere.cat")));
    EXPECT_EQ(-1, open(writeText("a.cat", 256, "rain")));
    CatalogBytes damaged(9, "test", {});
    damaged.headLength += 1;
    EXPECT_EQ(-1, open(write("b.cat", damaged.bytes())));

    EXPECT_EQ(0, catalog.getFiles().getCount());
}

TEST_F(Catalog, KeepsAFileWhenAnotherOneWithItsIdIsRefused) {
    ASSERT_EQ(0, open(writeText("a.cat", 3, "rain")));
    CatalogBytes damaged(3, "test", {});
    damaged.headLength += 1;

    EXPECT_EQ(-1, open(write("b.cat", damaged.bytes())));

    EXPECT_EQ("rain", textIn(catalog, 0x03000000));
}

TEST_F(Catalog, OfTwoFilesWithOneIdHasTheLaterAndNothingOfTheEarlier) {
    ASSERT_EQ(
        0,
        open(write("a.cat",
                   CatalogBytes(3, "old", {{0, "", {"rain", "sun"}}, {1, "", {"snow"}}}).bytes())));
    ASSERT_EQ(0, open(write("b.cat", CatalogBytes(3, "new", {{0, "", {"hail"}}}).bytes())));

    EXPECT_EQ("hail", textIn(catalog, 0x03000000));
    EXPECT_EQ(kMissing, textIn(catalog, 0x03000001));
    EXPECT_EQ(kMissing, textIn(catalog, 0x03010000));
    EXPECT_STREQ("new", catalog.getFiles()[3].getName().get());
}

TEST_F(Catalog, DestroyedClosesItsFiles) {
    const int before = openFds();
    {
        CCatalog two;
        ASSERT_EQ(0, two.openFile(writeText("a.cat", 1, "rain").c_str()));
        ASSERT_EQ(0, two.openFile(writeText("b.cat", 9, "sun").c_str()));
        EXPECT_EQ(before + 2, openFds());
    }

    EXPECT_EQ(before, openFds());
}

TEST_F(Catalog, CopiedSharesItsFilesUntilBothAreGone) {
    const int before = openFds();
    {
        CCatalog copy;
        {
            CCatalog original;
            ASSERT_EQ(0, original.openFile(writeText("a.cat", 1, "rain").c_str()));
            copy = original;
            EXPECT_EQ(before + 1, openFds());
        }
        EXPECT_EQ("rain", textIn(copy, 0x01000000));
    }

    EXPECT_EQ(before, openFds());
}

TEST_F(Catalog, CopiedAndAddedToLeavesTheOtherItsFiles) {
    const int before = openFds();
    {
        CCatalog original;
        ASSERT_EQ(0, original.openFile(writeText("a.cat", 1, "rain").c_str()));
        CCatalog copy(original);

        ASSERT_EQ(0, copy.openFile(writeText("b.cat", 2, "sun").c_str()));

        EXPECT_EQ("sun", textIn(copy, 0x02000000));
        EXPECT_EQ(kMissing, textIn(copy, 0x01000000));  // a stream has one owner
        EXPECT_EQ("rain", textIn(original, 0x01000000));
        EXPECT_EQ(kMissing, textIn(original, 0x02000000));
    }

    EXPECT_EQ(before, openFds());
}

TEST_F(Catalog, AddedToAfterItWasCopiedLeavesTheCopyItsFiles) {
    const int before = openFds();
    {
        CCatalog original;
        ASSERT_EQ(0, original.openFile(writeText("a.cat", 1, "rain").c_str()));
        const CCatalog copy(original);

        ASSERT_EQ(0, original.openFile(writeText("b.cat", 2, "sun").c_str()));

        EXPECT_EQ("rain", textIn(copy, 0x01000000));
        EXPECT_EQ(kMissing, textIn(original, 0x01000000));
        EXPECT_EQ("sun", textIn(original, 0x02000000));
    }

    EXPECT_EQ(before, openFds());
}

TEST_F(Catalog, FlatLookupFillsTheString) {
    ASSERT_EQ(0, xcat_open_file(&catalog, writeText("a.cat", 1, "rain").c_str()));
    OwnedStr text("a text before, and a longer one");

    EXPECT_EQ(0, xcat_msg(&catalog, 0x01000000, text));

    EXPECT_STREQ("rain", text.h);
    EXPECT_EQ(4, text.length());
}

TEST_F(Catalog, FlatLookupLeavesOtherHoldersAlone) {
    ASSERT_EQ(0, xcat_open_file(&catalog, writeText("a.cat", 1, "rain").c_str()));
    OwnedStr other("before");
    OwnedStr text;
    xstr_copy(text, other);

    EXPECT_EQ(0, xcat_msg(&catalog, 0x01000000, text));

    EXPECT_STREQ("rain", text.h);
    EXPECT_STREQ("before", other.h);
    EXPECT_EQ(1, other.holders());
}

TEST_F(Catalog, FlatLookupOfWhatIsMissingLeavesTheStringAlone) {
    ASSERT_EQ(0, xcat_open_file(&catalog, writeText("a.cat", 1, "rain").c_str()));
    OwnedStr text("as it was");

    EXPECT_EQ(-1, xcat_msg(&catalog, 200U << 24, text));
    EXPECT_EQ(-1, xcat_msg(nullptr, 0x01000000, text));

    EXPECT_STREQ("as it was", text.h);
    EXPECT_EQ(-1, xcat_open_file(&catalog, dir.file("nowhere.cat").c_str()));
}

}  // namespace
