// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/tab.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "zol/str.h"

namespace {

using testing::ElementsAre;

const xabuf_def_s kDef = {sizeof(xtabh_s), sizeof(int), 8};

// A table of ints.
struct OwnedTab {
    OwnedTab() = default;
    explicit OwnedTab(const std::vector<int>& elements) {
        xtab_insert(&h, &kDef, -1, static_cast<int>(elements.size()), elements.data());
    }
    ~OwnedTab() { xsbuf_free(&h); }
    OwnedTab(const OwnedTab&) = delete;
    OwnedTab& operator=(const OwnedTab&) = delete;

    operator xtab*() { return &h; }
    int* data() { return static_cast<int*>(h); }
    const xtabh_s* header() { return static_cast<xtabh_s*>(xabuf_get_header(&h)); }
    int capacity() { return header()->capacity; }
    int holders() { return xsbuf_get_refcount(&h); }
    std::vector<int> elements() { return {data(), data() + xtab_get_count(&h)}; }

    xtab h = nullptr;
};

TEST(Tab, OfANullHandleHasNoElements) {
    OwnedTab t;

    EXPECT_EQ(0, xtab_get_count(t));
}

TEST(TabInsert, MakesABlockForANullHandle) {
    OwnedTab t;
    const int one = 1;

    EXPECT_EQ(1, xtab_insert(t, &kDef, -1, 1, &one));

    EXPECT_THAT(t.elements(), ElementsAre(1));
    EXPECT_EQ(8, t.capacity());
    EXPECT_EQ(1, t.holders());
    EXPECT_EQ(&kDef, xabuf_get_def(t));
}

TEST(TabInsert, GrowsToTheNextMultipleOfTheStepAboveTheCount) {
    OwnedTab t;
    for (int i = 1; i <= 8; ++i) {
        ASSERT_EQ(i, xtab_insert(t, &kDef, -1, 1, &i));
        EXPECT_EQ(8, t.capacity());
    }

    const int nine = 9;
    ASSERT_EQ(9, xtab_insert(t, &kDef, -1, 1, &nine));

    EXPECT_EQ(16, t.capacity());
    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(TabInsert, OfAWholeStepAtOnceLeavesAnotherStepFree) {
    OwnedTab t;

    ASSERT_EQ(8, xtab_insert(t, &kDef, -1, 8, nullptr));

    EXPECT_EQ(16, t.capacity());
}

TEST(TabInsert, AtTheFrontMovesTheOthersUp) {
    OwnedTab t({1, 2});
    const int source[] = {8, 9};

    EXPECT_EQ(4, xtab_insert(t, &kDef, 0, 2, source));

    EXPECT_THAT(t.elements(), ElementsAre(8, 9, 1, 2));
}

TEST(TabInsert, WithoutSourceInsertsZeroes) {
    OwnedTab t({1, 2});

    EXPECT_EQ(4, xtab_insert(t, &kDef, 0, 2, nullptr));

    EXPECT_THAT(t.elements(), ElementsAre(0, 0, 1, 2));
}

TEST(TabInsert, InTheMiddle) {
    OwnedTab t({1, 2, 3});
    const int source[] = {9};

    EXPECT_EQ(4, xtab_insert(t, &kDef, 2, 1, source));

    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 9, 3));
}

TEST(TabInsert, OfNoElementsOnlyAnswersTheSum) {
    OwnedTab t({1, 2, 3});
    OwnedTab none;

    EXPECT_EQ(3, xtab_insert(t, &kDef, 1, 0, nullptr));
    EXPECT_EQ(1, xtab_insert(t, &kDef, 1, -2, nullptr));
    EXPECT_EQ(0, xtab_insert(none, &kDef, -1, 0, nullptr));

    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 3));
    EXPECT_EQ(nullptr, none.h);
}

TEST(TabInsert, MakesASharedTablePrivate) {
    OwnedTab a({1, 2});
    OwnedTab b;
    xsbuf_copy(b, a);
    const int three = 3;

    EXPECT_EQ(3, xtab_insert(b, &kDef, -1, 1, &three));

    EXPECT_THAT(a.elements(), ElementsAre(1, 2));
    EXPECT_THAT(b.elements(), ElementsAre(1, 2, 3));
    EXPECT_EQ(1, a.holders());
    EXPECT_EQ(1, b.holders());
}

TEST(TabInsert, GrowsAPrivateCopyThatIsSmallerThanTheSharedBlock) {
    OwnedTab a({1, 2, 3, 4, 5, 6, 7, 8, 9});
    xtab_strip_buffer(a);
    xtab_delete(a, 0, 2);
    ASSERT_EQ(9, a.capacity());
    OwnedTab b;
    xsbuf_copy(b, a);

    ASSERT_EQ(9, xtab_insert(b, &kDef, -1, 2, nullptr));  // the copy has room for eight

    EXPECT_EQ(16, b.capacity());
    EXPECT_THAT(b.elements(), ElementsAre(3, 4, 5, 6, 7, 8, 9, 0, 0));
    EXPECT_THAT(a.elements(), ElementsAre(3, 4, 5, 6, 7, 8, 9));
}

TEST(TabInsert, OfElementsWithoutSizeFails) {
    const xabuf_def_s def = {sizeof(xtabh_s), 0, 8};
    OwnedTab t;

    EXPECT_EQ(-1, xtab_insert(t, &def, -1, 1, nullptr));
}

TEST(TabInsert, TakesElementsOfTheTableItself) {
    // Six elements and room for eight: the first insertion grows the block, the second does not.
    OwnedTab t({1, 2, 3, 4, 5, 6});

    ASSERT_EQ(10, xtab_insert(t, &kDef, 2, 4, t.data() + 1));
    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 2, 3, 4, 5, 3, 4, 5, 6));

    ASSERT_EQ(12, xtab_insert(t, &kDef, 10, 2, t.data()));
    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 2, 3, 4, 5, 3, 4, 5, 6, 1, 2));

    ASSERT_EQ(14, xtab_insert(t, &kDef, 0, 2, t.data() + 10));
    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 1, 2, 2, 3, 4, 5, 3, 4, 5, 6, 1, 2));
}

TEST(TabInsert, TakesElementsOfTheBlockThatItLeaves) {
    OwnedTab a({1, 2, 3});
    OwnedTab b;
    xsbuf_copy(b, a);

    ASSERT_EQ(5, xtab_insert(b, &kDef, 0, 2, b.data() + 1));

    EXPECT_THAT(b.elements(), ElementsAre(2, 3, 1, 2, 3));
    EXPECT_THAT(a.elements(), ElementsAre(1, 2, 3));
}

TEST(TabInsert, OfMoreThanCanBeCountedFailsAndChangesNothing) {
    OwnedTab t({1, 2});

    EXPECT_EQ(-1, xtab_insert(t, &kDef, -1, INT32_MAX, nullptr));
    EXPECT_EQ(-1, xtab_insert(t, &kDef, -1, INT32_MAX - 2, nullptr));
    EXPECT_EQ(-1, xtab_insert(t, &kDef, -1, 0x40000000, nullptr));  // 2^32 bytes

    EXPECT_THAT(t.elements(), ElementsAre(1, 2));
    EXPECT_EQ(8, t.capacity());
}

TEST(TabDelete, WithNegativeCountRemovesAllToTheEnd) {
    OwnedTab t({1, 2, 3});

    EXPECT_EQ(1, xtab_delete(t, 1, -1));

    EXPECT_THAT(t.elements(), ElementsAre(1));
}

TEST(TabDelete, ClosesTheGap) {
    OwnedTab t({1, 2, 3, 4});

    EXPECT_EQ(1, xtab_delete(t, 1, 2));

    EXPECT_THAT(t.elements(), ElementsAre(1, 4));
}

TEST(TabDelete, OfNothingAnswersTheResolvedIndex) {
    OwnedTab t({1, 2, 3});

    EXPECT_EQ(3, xtab_delete(t, -1, 0));
    EXPECT_EQ(1, xtab_delete(t, 1, 0));
    EXPECT_EQ(3, xtab_delete(t, 3, -1));
    EXPECT_EQ(3, xtab_delete(t, -1, -1));

    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 3));
}

TEST(TabDelete, OfTheOnlyElementLeavesNoBlock) {
    OwnedTab t({1});

    EXPECT_EQ(0, xtab_delete(t, 0, 1));

    EXPECT_EQ(nullptr, t.h);
}

TEST(TabDelete, OfTheOnlyElementLeavesNoBlockHoweverSmallItIs) {
    OwnedTab t({1});
    xtab_strip_buffer(t);
    ASSERT_EQ(1, t.capacity());

    xtab_delete(t, 0, 1);

    EXPECT_EQ(nullptr, t.h);
}

TEST(TabDelete, ShrinksOnceAWholeStepIsSpare) {
    OwnedTab t({1, 2, 3, 4, 5, 6, 7, 8, 9});
    ASSERT_EQ(16, t.capacity());  // seven spare

    xtab_delete(t, 0, 1);

    EXPECT_EQ(8, t.capacity());
    EXPECT_THAT(t.elements(), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(TabDelete, KeepsTheBlockWhileLessThanAStepIsSpare) {
    OwnedTab t({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    ASSERT_EQ(16, t.capacity());

    xtab_delete(t, 0, 3);

    EXPECT_EQ(16, t.capacity());  // seven spare
}

TEST(TabDelete, OnASharedTableLeavesTheOtherUnchanged) {
    OwnedTab a({1, 2, 3});
    OwnedTab b;
    xsbuf_copy(b, a);

    xtab_delete(b, 0, 2);

    EXPECT_THAT(a.elements(), ElementsAre(1, 2, 3));
    EXPECT_THAT(b.elements(), ElementsAre(3));
    EXPECT_EQ(1, a.holders());
    EXPECT_EQ(1, b.holders());
}

TEST(TabDetach, KeepsThePrivateBlock) {
    OwnedTab t({1});
    void* const before = t.h;

    xtab_detach(t);

    EXPECT_EQ(before, t.h);
}

TEST(TabDetach, CopiesTheBytesIntoABlockOfTheUsualCapacity) {
    OwnedTab a({1, 2, 3});
    xtab_strip_buffer(a);
    ASSERT_EQ(3, a.capacity());
    OwnedTab b;
    xsbuf_copy(b, a);

    xtab_detach(b);

    EXPECT_NE(a.h, b.h);
    EXPECT_THAT(b.elements(), ElementsAre(1, 2, 3));
    EXPECT_EQ(8, b.capacity());
    EXPECT_EQ(1, b.holders());
    EXPECT_EQ(1, a.holders());
    EXPECT_EQ(&kDef, xabuf_get_def(b));
}

TEST(TabDetach, OfASharedTableWithoutElementsLeavesANullHandle) {
    OwnedTab a;
    ASSERT_EQ(0, xabuf_alloc(a, &kDef, 16));
    xsbuf_add_ref(a, 1);
    OwnedTab b;
    xsbuf_copy(b, a);

    xtab_detach(b);

    EXPECT_EQ(nullptr, b.h);
    EXPECT_EQ(1, a.holders());
}

TEST(TabStripBuffer, LeavesTheCapacityAtTheCount) {
    OwnedTab t({1, 2, 3, 4, 5, 6, 7, 8, 9});
    xtab_delete(t, 0, 4);
    ASSERT_EQ(5, xtab_get_count(t));

    EXPECT_EQ(5, xtab_strip_buffer(t));

    EXPECT_EQ(5, t.capacity());
    EXPECT_THAT(t.elements(), ElementsAre(5, 6, 7, 8, 9));
}

TEST(TabStripBuffer, DoesNotMakeTheTablePrivate) {
    OwnedTab a({1, 2, 3});
    xtab_strip_buffer(a);
    OwnedTab b;
    xsbuf_copy(b, a);

    EXPECT_EQ(3, xtab_strip_buffer(b));

    EXPECT_EQ(a.h, b.h);
}

TEST(TabStripBuffer, OfANullHandleAnswersZero) {
    OwnedTab t;

    EXPECT_EQ(0, xtab_strip_buffer(t));
}

TEST(TabStripBuffer, ReleasesABlockWithoutElements) {
    OwnedTab t;
    ASSERT_EQ(0, xabuf_alloc(t, &kDef, 16));
    xsbuf_add_ref(t, 1);

    EXPECT_EQ(0, xtab_strip_buffer(t));

    EXPECT_EQ(nullptr, t.h);
}

TEST(TabFull, IsValidAndGrowsWithTheNextElement) {
    OwnedTab t({1, 2, 3});
    xtab_strip_buffer(t);
    const int four = 4;

    ASSERT_EQ(4, xtab_insert(t, &kDef, -1, 1, &four));

    EXPECT_EQ(8, t.capacity());
    EXPECT_THAT(t.elements(), ElementsAre(1, 2, 3, 4));
}

// Tables against std::vector, with copies that share elements at random.
TEST(TabRandom, BehavesLikeAVector) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    OwnedTab tables[4];
    std::vector<int> models[4];

    for (int step = 0; step < 20000; ++step) {
        const auto i = static_cast<size_t>(below(4));
        const auto j = static_cast<size_t>(below(4));
        const int count = static_cast<int>(models[i].size());
        switch (below(4)) {
            case 0: {
                const int index = below(count + 1);
                const std::vector<int> source(static_cast<size_t>(below(20)), step);
                const int n = static_cast<int>(source.size());
                ASSERT_EQ(count + n, xtab_insert(tables[i], &kDef, index, n, source.data()));
                models[i].insert(models[i].begin() + index, source.begin(), source.end());
                break;
            }
            case 1: {
                const int index = below(count + 1);
                const int n = below(count - index + 1);
                ASSERT_EQ(index, xtab_delete(tables[i], index, n));
                models[i].erase(models[i].begin() + index, models[i].begin() + index + n);
                break;
            }
            case 2:
                if (i != j) {
                    xsbuf_copy(tables[i], tables[j]);
                    models[i] = models[j];
                }
                break;
            case 3:
                if (tables[i].holders() == 1) {
                    ASSERT_EQ(count, xtab_strip_buffer(tables[i]));
                }
                break;
        }
        for (size_t k = 0; k < 4; ++k) {
            ASSERT_EQ(models[k], tables[k].elements());
            if (tables[k].h != nullptr) {
                ASSERT_LE(xtab_get_count(tables[k]), tables[k].capacity());
            }
        }
    }
}

// --- zol::CTab ---

// Counts the objects that are alive; owns a block, so that a double destruction is seen.
struct Counted {
    explicit Counted(int v) : value(new int(v)) { ++alive; }
    Counted(const Counted& other) : value(new int(*other.value)) { ++alive; }
    Counted& operator=(const Counted&) = delete;
    ~Counted() {
        destroyed.push_back(*value);
        delete value;
        --alive;
    }

    int* value;
    static int alive;
    static std::vector<int> destroyed;
};
int Counted::alive = 0;
std::vector<int> Counted::destroyed;

class TypedTab : public testing::Test {
  protected:
    TypedTab() { Counted::destroyed.clear(); }
    ~TypedTab() override { EXPECT_EQ(0, Counted::alive); }

    static std::vector<int> values(const zol::CTab<Counted>& table) {
        std::vector<int> result;
        for (const Counted& element : table) {
            result.push_back(*element.value);
        }
        return result;
    }

    static void fill(zol::CTab<Counted>& table, int count) {
        for (int i = 1; i <= count; ++i) {
            ASSERT_EQ(i, table.append(Counted(i)));
        }
        Counted::destroyed.clear();
    }
};

TEST_F(TypedTab, IsOneWord) {
    EXPECT_EQ(sizeof(void*), sizeof(zol::CTab<Counted>));
}

TEST_F(TypedTab, EmptyDestroysTheElementsFromIndexZeroUpwards) {
    zol::CTab<Counted> table;
    fill(table, 3);

    table.empty();

    EXPECT_THAT(Counted::destroyed, ElementsAre(1, 2, 3));
    EXPECT_EQ(0, table.getCount());
    EXPECT_EQ(nullptr, table.getTable());
}

TEST_F(TypedTab, EmptyOfASharedTableDestroysNothing) {
    zol::CTab<Counted> table;
    fill(table, 3);
    zol::CTab<Counted> copy(table);

    copy.empty();

    EXPECT_TRUE(Counted::destroyed.empty());
    EXPECT_EQ(0, copy.getCount());
    EXPECT_THAT(values(table), ElementsAre(1, 2, 3));
    xhandle block = table.getTable();
    EXPECT_EQ(1, xsbuf_get_refcount(&block));
}

TEST_F(TypedTab, CopyingSharesTheElements) {
    zol::CTab<Counted> table;
    fill(table, 2);

    const zol::CTab<Counted> copy(table);

    EXPECT_EQ(2, Counted::alive);
    EXPECT_EQ(table.begin(), copy.begin());
}

TEST_F(TypedTab, GetTableOfTheOnlyHolderIsTheHandle) {
    zol::CTab<Counted> table;
    fill(table, 2);
    const Counted* const before = table.begin();

    EXPECT_EQ(before, table.getTable());
}

TEST_F(TypedTab, GetTableMakesASharedTablePrivateWithCopiesOfItsElements) {
    zol::CTab<Counted> table;
    fill(table, 2);
    zol::CTab<Counted> copy(table);

    *copy.getTable()[0].value = 9;

    EXPECT_EQ(4, Counted::alive);
    EXPECT_THAT(values(table), ElementsAre(1, 2));
    EXPECT_THAT(values(copy), ElementsAre(9, 2));
}

TEST_F(TypedTab, PrivateCopiesOfStringsCountTheirBytes) {
    zol::CTab<zol::CStr> table;
    table.append("valve");
    zol::CTab<zol::CStr> copy(table);

    copy.append("pump");

    EXPECT_EQ(table[0].get(), copy[0].get());  // the bytes are shared, and freed once
    EXPECT_STREQ("valve", copy[0].get());
    EXPECT_EQ(1, table.getCount());
    EXPECT_EQ(2, copy.getCount());
}

TEST_F(TypedTab, AppendsAnElementOfItsOwn) {
    zol::CTab<Counted> table;
    fill(table, 8);

    ASSERT_EQ(9, table.append(table[2]));

    EXPECT_THAT(values(table), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 3));
}

TEST_F(TypedTab, AppendsSeveralPlainElementsAtOnce) {
    const int values[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    zol::CTab<int> table;
    table.append(0);
    const zol::CTab<int> other(table);

    EXPECT_EQ(10, table.append(values, 9));
    EXPECT_EQ(10, table.append(values, 0));

    EXPECT_EQ(0, table[0]);
    EXPECT_EQ(1, table[1]);
    EXPECT_EQ(9, table[9]);
    EXPECT_EQ(1, other.getCount());
}

TEST_F(TypedTab, InsertsBeforeAnIndex) {
    zol::CTab<Counted> table;
    fill(table, 2);

    ASSERT_EQ(3, table.insert(1, Counted(7)));

    EXPECT_THAT(values(table), ElementsAre(1, 7, 2));
}

TEST_F(TypedTab, RemoveDestroysWhatItRemoves) {
    zol::CTab<Counted> table;
    fill(table, 4);

    ASSERT_EQ(0, table.remove(1, 2));

    EXPECT_THAT(Counted::destroyed, ElementsAre(2, 3));
    EXPECT_THAT(values(table), ElementsAre(1, 4));
}

TEST_F(TypedTab, RemoveFromASharedTableLeavesTheOther) {
    zol::CTab<Counted> table;
    fill(table, 3);
    zol::CTab<Counted> copy(table);

    ASSERT_EQ(0, copy.remove(0, -1));

    EXPECT_EQ(0, copy.getCount());
    EXPECT_THAT(values(table), ElementsAre(1, 2, 3));
}

TEST_F(TypedTab, AssigningReleasesWhatWasHeld) {
    zol::CTab<Counted> table;
    fill(table, 2);
    zol::CTab<Counted> other;
    other.append(Counted(9));
    Counted::destroyed.clear();

    other = table;

    EXPECT_THAT(Counted::destroyed, ElementsAre(9));
    EXPECT_EQ(table.begin(), other.begin());
}

TEST_F(TypedTab, AssigningATableToItselfChangesNothing) {
    zol::CTab<Counted> table;
    fill(table, 2);
    const zol::CTab<Counted>& same = table;

    table = same;

    EXPECT_THAT(values(table), ElementsAre(1, 2));
}

struct Branch {
    zol::CTab<Branch> twigs;
};

TEST(TypedTabOfTables, TakesOverWhatOneOfItsElementsHolds) {
    zol::CTab<Branch> twigs;
    twigs.append(Branch());
    twigs.append(Branch());
    Branch branch;
    branch.twigs = twigs;
    twigs.empty();
    zol::CTab<Branch> copied;
    copied.append(branch);
    zol::CTab<Branch> moved;
    moved.append(branch);
    branch.twigs.empty();

    copied = copied[0].twigs;
    moved = static_cast<zol::CTab<Branch>&&>(moved.getTable()[0].twigs);

    EXPECT_EQ(2, copied.getCount());
    EXPECT_EQ(2, moved.getCount());
}

TEST_F(TypedTab, MovingTakesTheElementsAlong) {
    zol::CTab<Counted> table;
    fill(table, 2);

    zol::CTab<Counted> moved(static_cast<zol::CTab<Counted>&&>(table));

    EXPECT_EQ(0, table.getCount());
    EXPECT_THAT(values(moved), ElementsAre(1, 2));
}

}  // namespace
