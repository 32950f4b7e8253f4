// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Files that are not what they should be: each field below, at and above its limit, files that end
// anywhere, and many random damages, compared with what an obvious reader makes of them.
#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <random>

#include "zol/cat.h"

#include "catalog_fixture.h"
#include "support/catalog_comparison.h"
#include "support/open_fds.h"

using zol::cat::CFile;
using zol::cat::CSet;

namespace {

class DamagedFile : public CatalogFiles {
  protected:
    int open(const std::string& bytes) {
        file.emplace();
        catalogId = 999;
        return file->open(write("test.cat", bytes).c_str(), catalogId);
    }
    int open(const CatalogBytes& catalog) { return open(catalog.bytes()); }

    int slots() { return file->getSets().getCount(); }
    std::string text(unsigned id) { return textIn(*file, id); }

    std::optional<CFile> file;
    unsigned catalogId = 999;
};

std::string bytesOf(size_t count, char byte = 'x') {
    return std::string(count, byte);
}

// --- the head ---

TEST_F(DamagedFile, IsRefusedWhenThereIsNone) {
    const int before = openFds();
    CFile none;

    EXPECT_EQ(-1, none.open(dir.file("nowhere.cat").c_str(), catalogId));
    EXPECT_EQ(-1, none.open(dir.path().c_str(), catalogId));  // a folder
    EXPECT_EQ(-1, none.open("", catalogId));
    EXPECT_EQ(-1, none.open(write("empty.cat", "").c_str(), catalogId));

    EXPECT_EQ(999U, catalogId);
    EXPECT_EQ(before, openFds());
}

TEST_F(DamagedFile, IsRefusedForEveryOtherMagic) {
    for (size_t i = 0; i < 8; ++i) {
        CatalogBytes catalog(1, "garden", {});
        catalog.magic[i] ^= 0x20;

        EXPECT_EQ(-1, open(catalog)) << i;
        EXPECT_EQ(999U, catalogId);
    }
}

TEST_F(DamagedFile, HasAnIdOf255AtMost) {
    ASSERT_EQ(0, open({255, "garden", {}}));
    EXPECT_EQ(255U, file->getId());

    for (const uint32_t id : {256U, 0x01000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(-1, open({id, "garden", {}}));
        EXPECT_EQ(id, catalogId);
        EXPECT_EQ(0U, file->getId());
    }
}

TEST_F(DamagedFile, HasANameOf64BytesAtMost) {
    ASSERT_EQ(0, open({1, bytesOf(64), {}}));
    EXPECT_EQ(bytesOf(64), file->getName().get());

    CatalogBytes longName(1, bytesOf(65), {});
    EXPECT_EQ(-1, open(longName));
    EXPECT_EQ(999U, catalogId);  // the length of the head is above its limit
    longName.headLength = 75;
    EXPECT_EQ(-1, open(longName));
    EXPECT_EQ(1U, catalogId);
    EXPECT_EQ(1U, file->getId());
    longName.nameLength = 65535;
    EXPECT_EQ(-1, open(longName));
}

TEST_F(DamagedFile, IsRefusedWhenTheLengthOfItsHeadDisagrees) {
    for (const uint32_t length : {0U, 10U, 16U, 18U, 75U, 76U, 0xFFFFFFFFU}) {
        CatalogBytes catalog(1, "garden", {{0, "", {"rain"}}});
        catalog.headLength = length;

        EXPECT_EQ(-1, open(catalog)) << length;
        EXPECT_EQ(length > 75 ? 999U : 1U, catalogId);
        EXPECT_EQ(nullptr, file->getStream());
        EXPECT_EQ(0, slots());
    }
}

TEST_F(DamagedFile, HasANameAsLongAsItSays) {
    CatalogBytes catalog(1, "garden", {{0, "", {"rain"}}});
    for (const unsigned length : {0U, 5U, 7U}) {
        catalog.nameLength = length;
        EXPECT_EQ(-1, open(catalog)) << length;
    }
}

TEST_F(DamagedFile, Has256SetsAtMost) {
    std::vector<SetBytes> sets;
    for (uint32_t id = 0; id < 256; ++id) {
        sets.emplace_back(id, "", std::vector<std::string>{std::to_string(id)});
    }
    CatalogBytes catalog(1, "garden", sets);
    ASSERT_EQ(0, open(catalog));
    EXPECT_EQ(256, slots());
    EXPECT_EQ("255", text(0x00FF0000));

    catalog.setCount = 257;
    EXPECT_EQ(-1, open(catalog));
    EXPECT_EQ(1U, catalogId);
    catalog.setCount = 0xFFFFFFFF;
    EXPECT_EQ(-1, open(catalog));
}

TEST_F(DamagedFile, WithoutTheSetsThatItCountsLosesOnlyTheLastItHas) {
    CatalogBytes catalog(1, "garden", {{0, "", {"rain"}}, {1, "", {"sun"}}});
    catalog.setCount = 256;

    ASSERT_EQ(0, open(catalog));

    // The records that are not there have no id of their own.
    EXPECT_EQ(2, slots());
    EXPECT_EQ("rain", text(0x00000000));
    EXPECT_EQ(kMissing, text(0x00010000));
}

TEST_F(DamagedFile, RefusedLeavesNothingOpen) {
    const int before = openFds();

    EXPECT_EQ(-1, open({256, "garden", {}}));
    EXPECT_EQ(-1, open("#CATALOG"));
    EXPECT_EQ(-1, open("something else altogether"));

    EXPECT_EQ(before, openFds());
}

// --- sets ---

TEST_F(DamagedFile, KeepsTheSetsBesideOneAtFault) {
    CatalogBytes catalog(1, "", {{0, "", {"rain"}}, {1, "one", {"sun"}}, {2, "", {"snow"}}});
    catalog.sets[1].length -= 1;  // its text overruns it

    ASSERT_EQ(0, open(catalog));

    EXPECT_EQ(3, slots());
    EXPECT_EQ("rain", text(0x00000000));
    EXPECT_EQ(kMissing, text(0x00010000));
    EXPECT_STREQ("", file->getSets()[1].getName().get());
    EXPECT_EQ(0U, file->getSets()[1].getBase());
    EXPECT_EQ("snow", text(0x00020000));
}

TEST_F(DamagedFile, LosesAllTextsOfASetWhoseLastOverrunsIt) {
    CatalogBytes catalog(1, "", {{0, "", {"rain", "sun", "snow"}}});
    for (const uint32_t shorter : {1U, 2U, 4U}) {
        catalog.sets[0].length = 21 - shorter;
        ASSERT_EQ(0, open(catalog));
        EXPECT_EQ(1, slots());
        EXPECT_EQ(kMissing, text(0)) << shorter;
    }
    catalog.sets[0].length = 21 - 5;  // ends with "sun"
    ASSERT_EQ(0, open(catalog));
    EXPECT_EQ("sun", text(1));
    EXPECT_EQ(kMissing, text(2));
}

TEST_F(DamagedFile, HasSetIdsOf255AtMostAndStoresNothingForOthers) {
    for (const uint32_t id : {256U, 0x00010000U, 0xFFFFFFFFU}) {
        ASSERT_EQ(0, open({1, "", {{3, "", {"rain"}}, {id, "", {"sun"}}}}));

        EXPECT_EQ(4, slots());
        EXPECT_EQ("rain", text(0x00030000));
    }
}

TEST_F(DamagedFile, StoresNothingForWhatFollowsASetIdOutOfRangeWithoutAnId) {
    // A set at fault is left where its id was read: the rest of it is taken for the next record,
    // whose length is then above the limit.
    ASSERT_EQ(0, open({1, "", {{3, "", {"rain"}}, {256, "zones", {"sun"}}, {4, "", {"snow"}}}}));

    EXPECT_EQ(4, slots());
    EXPECT_EQ("rain", text(0x00030000));
}

TEST_F(DamagedFile, WithoutAReadableIdInItsFirstSetStoresNothing) {
    CatalogBytes catalog(1, "", {{3, "", {"rain"}}});
    catalog.sets[0].length = 131071;

    ASSERT_EQ(0, open(catalog));

    EXPECT_EQ(0, slots());
}

TEST_F(DamagedFile, SetReadTellsTheIdOnceItHasBeenRead) {
    struct {
        uint32_t length;
        uint32_t id;
        unsigned nameLength;
        int result;
        unsigned toldId;
    } const cases[] = {
        {7 + 0 + 5, 0, 0, 0, 0},
        {7 + 0 + 5, 255, 0, 0, 255},
        {7 + 0 + 5, 256, 0, -1, 256},
        {7 + 0 + 5, 0xFFFFFFFF, 0, -1, 0xFFFFFFFF},
        {131070, 3, 0, -1, 3},
        {131071, 3, 0, -1, 999},
        {0xFFFFFFFF, 3, 0, -1, 999},
        {7, 3, 0, 0, 3},
        {6, 3, 0, -1, 3},
        {0, 3, 0, -1, 3},
        {7 + 0 + 5, 3, 65, -1, 3},
        {7 + 0 + 5, 3, 65535, -1, 3},
    };
    for (const auto& given : cases) {
        SetBytes record(given.id, "", {"rain"});
        record.length = given.length;
        record.nameLength = given.nameLength;
        std::string bytes = record.bytes();
        FILE* const stream = fmemopen(bytes.data(), bytes.size(), "r");
        CSet set;
        unsigned id = 999;

        EXPECT_EQ(given.result, set.read(stream, id)) << given.length << " " << given.id;
        EXPECT_EQ(given.toldId, id);
        fclose(stream);
    }
}

TEST_F(DamagedFile, SetReadLeavesTheSetAsItWasAtAFault) {
    std::string bytes = SetBytes(1, "good", {"rain"}).bytes();
    SetBytes damaged(2, "bad", {"sun"});
    damaged.length -= 1;
    bytes += damaged.bytes();
    FILE* const stream = fmemopen(bytes.data(), bytes.size(), "r");
    CSet set;
    unsigned id = 999;
    ASSERT_EQ(0, set.read(stream, id));

    EXPECT_EQ(-1, set.read(stream, id));

    EXPECT_EQ(2U, id);
    EXPECT_STREQ("good", set.getName().get());
    EXPECT_EQ(15U, set.getBase());
    EXPECT_EQ("rain", textIn(set, 0, stream));
    fclose(stream);
}

TEST_F(DamagedFile, HasSetNamesOf64BytesAtMost) {
    ASSERT_EQ(0, open({1, "", {{0, bytesOf(64), {"rain"}}}}));
    EXPECT_EQ(bytesOf(64), file->getSets()[0].getName().get());
    EXPECT_EQ("rain", text(0));

    ASSERT_EQ(0, open({1, "", {{0, bytesOf(65), {"rain"}}}}));
    EXPECT_EQ(1, slots());
    EXPECT_EQ(kMissing, text(0));
}

TEST_F(DamagedFile, HasSetsOf65535BytesOfTextAtMost) {
    ASSERT_EQ(0, open({1, "", {{0, "", {bytesOf(60000), "", bytesOf(5532)}}}}));
    EXPECT_EQ(bytesOf(5532), text(2));

    ASSERT_EQ(0, open({1, "", {{0, "", {bytesOf(60000), "", bytesOf(5533)}}, {1, "", {"sun"}}}}));
    EXPECT_EQ(2, slots());
    EXPECT_EQ(kMissing, text(0));
    EXPECT_EQ("sun", text(0x00010000));
}

TEST_F(DamagedFile, HasTextsOf65534BytesAtMost) {
    ASSERT_EQ(0, open({1, "", {{0, "", {bytesOf(65534)}}}}));
    EXPECT_EQ(bytesOf(65534), text(0));

    for (const size_t length : {65535U, 65536U, 65537U, 131062U, 200000U}) {
        CatalogBytes catalog(1, "", {{0, "", {bytesOf(length)}}, {1, "", {"sun"}}});
        catalog.sets[0].length = std::min(catalog.sets[0].length, 131070U);
        ASSERT_EQ(0, open(catalog));
        EXPECT_EQ(2, slots()) << length;
        EXPECT_EQ(kMissing, text(0));
        EXPECT_EQ("sun", text(0x00010000));
    }
}

TEST_F(DamagedFile, Has65535EmptyTextsInASetAtMost) {
    ASSERT_EQ(0, open({1, "", {{0, "", std::vector<std::string>(65535)}}}));
    EXPECT_EQ(65535, file->getSets()[0].getMessages().getCount());

    ASSERT_EQ(0, open({1, "", {{0, "", std::vector<std::string>(65536)}}}));
    EXPECT_EQ(0, file->getSets()[0].getMessages().getCount());
}

TEST_F(DamagedFile, HasNoEndlessSet) {
    CatalogBytes catalog(1, "", {{0, "", {"rain"}}});
    catalog.sets[0].length = 131070;
    catalog.sets[0].texts += bytesOf(3 << 20);  // no NUL to the end

    ASSERT_EQ(0, open(catalog));

    EXPECT_EQ(1, slots());
    EXPECT_EQ(kMissing, text(0));
}

TEST_F(DamagedFile, WithASecondSetAtFaultUnderTheSameIdHasNone) {
    CatalogBytes catalog(1, "", {{2, "", {"rain"}}, {2, "", {"sun"}}});
    catalog.sets[1].length += 1;

    ASSERT_EQ(0, open(catalog));

    EXPECT_EQ(3, slots());
    EXPECT_EQ(kMissing, text(0x00020000));
}

TEST_F(DamagedFile, ASetWithoutReadableIdEmptiesTheOneBeforeIt) {
    CatalogBytes catalog(1, "", {{0, "", {"rain"}}, {1, "", {"sun"}}, {2, "", {"snow"}}});
    catalog.sets[2].length = 131071;

    ASSERT_EQ(0, open(catalog));

    EXPECT_EQ(2, slots());
    EXPECT_EQ("rain", text(0x00000000));
    EXPECT_EQ(kMissing, text(0x00010000));
}

// --- files that end too early ---

TEST_F(DamagedFile, CutAnywhereIsRefusedOrLosesTheSetsThatAreNotWhole) {
    const CatalogBytes catalog(1, "garden", {{1, "one", {"rain", "sun"}}, {2, "two", {"snow"}}});
    const std::string bytes = catalog.bytes();
    const size_t head = 8 + 4 + 17;             // magic, length, and what that counts
    const size_t firstEnd = head + 4 + 10 + 9;  // length, name, texts
    const size_t secondEnd = firstEnd + 4 + 10 + 5;
    ASSERT_EQ(secondEnd, bytes.size());
    const int before = openFds();

    for (size_t size = 0; size < head; ++size) {
        EXPECT_EQ(-1, open(bytes.substr(0, size))) << size;
        EXPECT_EQ(size < 16 ? 999U : 1U, catalogId);
        EXPECT_EQ(before, openFds());
    }
    for (size_t size = head; size < head + 8; ++size) {  // without the first id
        ASSERT_EQ(0, open(bytes.substr(0, size))) << size;
        EXPECT_EQ(0, slots());
    }
    for (size_t size = head + 8; size < firstEnd; ++size) {
        ASSERT_EQ(0, open(bytes.substr(0, size))) << size;
        EXPECT_EQ(2, slots());
        EXPECT_EQ(kMissing, text(0x00010000));
    }
    for (size_t size = firstEnd; size < firstEnd + 8; ++size) {  // without the second id
        ASSERT_EQ(0, open(bytes.substr(0, size))) << size;
        EXPECT_EQ(2, slots());
        EXPECT_EQ(kMissing, text(0x00010000));
    }
    for (size_t size = firstEnd + 8; size < secondEnd; ++size) {
        ASSERT_EQ(0, open(bytes.substr(0, size))) << size;
        EXPECT_EQ(3, slots());
        EXPECT_EQ("sun", text(0x00010001));
        EXPECT_EQ(kMissing, text(0x00020000));
    }
    ASSERT_EQ(0, open(bytes));
    EXPECT_EQ("snow", text(0x00020000));
}

// --- anything ---

using Random = std::independent_bits_engine<std::mt19937, 32, uint32_t>;

std::string randomText(Random& random, unsigned longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& byte : text) {
        byte = static_cast<char>(1 + random() % 255);
    }
    return text;
}

CatalogBytes randomCatalog(Random& random) {
    std::vector<SetBytes> sets;
    for (unsigned i = random() % 5; i > 0; --i) {
        std::vector<std::string> texts(random() % 8 == 0 ? random() % 600 : random() % 6);
        for (std::string& text : texts) {
            text = randomText(random, 20);
        }
        sets.emplace_back(random() % 8, randomText(random, 10), texts);
    }
    return {random() % 256, randomText(random, 10), sets};
}

// Changes a field, or a byte, or cuts, or repeats a part.
std::string damaged(CatalogBytes catalog, Random& random) {
    const uint32_t limits[] = {0,  1,   7,   10,     11,     64,         65,         75,
                               76, 255, 256, 131070, 131071, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const uint32_t limit = limits[random() % 16];
    if (!catalog.sets.empty() && random() % 3 != 0) {
        SetBytes& set = catalog.sets[random() % catalog.sets.size()];
        switch (random() % 5) {
            case 0:
                set.length += random() % 5 - 2;
                break;
            case 1:
                set.length = limit;
                break;
            case 2:
                set.id = limit;
                break;
            case 3:
                set.nameLength = limit & 0xFFFF;
                break;
            default:
                set.nameTerminator = 'x';
                break;
        }
    }
    std::string bytes = catalog.bytes();
    for (unsigned i = random() % 3; i > 0; --i) {
        const size_t at = random() % bytes.size();
        switch (random() % 3) {
            case 0:
                bytes[at] = static_cast<char>(random());
                break;
            case 1:
                bytes.erase(at, random() % 4);
                break;
            default:
                bytes.insert(at, bytes.substr(random() % bytes.size(), 9));
                break;
        }
        if (bytes.empty()) {
            break;
        }
    }
    return bytes;
}

TEST(DamagedFiles, AtRandomAreReadAsAnObviousReaderDoes) {
    const unsigned seed = 20261121;
    Random random(seed);
    CatalogComparison comparison;
    int opened = 0;
    for (int round = 0; round < 5000; ++round) {
        const std::string bytes = damaged(randomCatalog(random), random);

        ASSERT_EQ("", comparison.run(bytes)) << "seed " << seed << ", round " << round;

        opened += comparison.hasOpened() ? 1 : 0;
    }
    EXPECT_GT(opened, 1000);
}

}  // namespace
