// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/alloc.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include "zol/event.h"
#include "zol/list.h"
#include "zol/str.h"
#include "zol/tab.h"

namespace {

const xabuf_def_s kDef = {sizeof(xtabh_s), 4, 8};

struct OwnedBlock {
    ~OwnedBlock() { xabuf_free(&h); }
    xtabh_s* header() { return static_cast<xtabh_s*>(xabuf_get_header(&h)); }
    xhandle h = nullptr;
};

TEST(Alloc, ZeroesTheHeaderAndStoresTheDescriptor) {
    OwnedBlock block;

    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 100));

    ASSERT_NE(nullptr, block.h);
    EXPECT_EQ(0, block.header()->count);
    EXPECT_EQ(0, block.header()->capacity);
    EXPECT_EQ(0, block.header()->refCount);
    EXPECT_EQ(&kDef, block.header()->def);
    EXPECT_EQ(&kDef, xabuf_get_def(&block.h));
}

TEST(Alloc, PutsTheDescriptorIntoTheWordBeforeTheData) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));

    const xabuf_def_s* word = nullptr;
    memcpy(&word, static_cast<char*>(block.h) - sizeof word, sizeof word);

    EXPECT_EQ(&kDef, word);
    EXPECT_EQ(static_cast<char*>(block.h) - kDef.headerSize, xabuf_get_header(&block.h));
}

TEST(Alloc, OfSizeZeroFreesTheOldBlockAndLeavesANullHandle) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));

    EXPECT_EQ(0, xabuf_alloc(&block.h, &kDef, 0));

    EXPECT_EQ(nullptr, block.h);
}

TEST(Alloc, ReplacesTheOldBlock) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));
    block.header()->count = 7;

    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 8));

    EXPECT_EQ(0, block.header()->count);
}

TEST(Alloc, OfASizeThatCannotBeHadFailsWithANullHandle) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));
    // More than any address space of ours holds in one piece, by a header that big.
    const xabuf_def_s huge = {0xFFFFFFF0U, 1, 1};

    if (sizeof(void*) == 4) {
        EXPECT_EQ(-1, xabuf_alloc(&block.h, &huge, 0xFFFFFFF0U));
        EXPECT_EQ(nullptr, block.h);
    }
}

TEST(Alloc, AcceptsHeadersOfOtherSizes) {
    const xabuf_def_s def = {sizeof(void*), 1, 1};
    OwnedBlock block;

    ASSERT_EQ(0, xabuf_alloc(&block.h, &def, 10));
    memset(block.h, 'x', 10);

    EXPECT_EQ(&def, xabuf_get_def(&block.h));
    EXPECT_EQ(static_cast<char*>(block.h) - sizeof(void*), xabuf_get_header(&block.h));
}

TEST(Realloc, OfANullHandleAllocates) {
    OwnedBlock block;

    ASSERT_EQ(0, xabuf_realloc(&block.h, &kDef, 12));

    ASSERT_NE(nullptr, block.h);
    EXPECT_EQ(&kDef, xabuf_get_def(&block.h));
    EXPECT_EQ(0, block.header()->refCount);
}

TEST(Realloc, KeepsHeaderAndData) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));
    block.header()->count = 1;
    block.header()->refCount = 3;
    memcpy(block.h, "abcd", 4);

    ASSERT_EQ(0, xabuf_realloc(&block.h, &kDef, 100000));

    EXPECT_EQ(1, block.header()->count);
    EXPECT_EQ(3, block.header()->refCount);
    EXPECT_EQ(&kDef, block.header()->def);
    EXPECT_EQ(0, memcmp(block.h, "abcd", 4));
}

TEST(Realloc, GoesByTheDescriptorItIsGivenAndKeepsTheOneThatIsStored) {
    const xabuf_def_s other = {kDef.headerSize, 1, 1};
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));
    ASSERT_EQ(0, xabuf_realloc(&block.h, &other, 100));
    EXPECT_EQ(&kDef, xabuf_get_def(&block.h));

    // A stored descriptor that tells a wrong size of the header is not looked at.
    const xabuf_def_s wrong = {kDef.headerSize + 64, 4, 8};
    block.header()->def = &wrong;
    ASSERT_EQ(0, xabuf_realloc(&block.h, &kDef, 200));
    memset(block.h, 'x', 200);
    xtabh_s* const header = reinterpret_cast<xtabh_s*>(block.h) - 1;
    EXPECT_EQ(&wrong, header->def);
    header->def = &kDef;
}

TEST(Realloc, ToSizeZeroFreesTheBlock) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));

    EXPECT_EQ(0, xabuf_realloc(&block.h, &kDef, 0));

    EXPECT_EQ(nullptr, block.h);
}

TEST(Realloc, OfANullHandleToSizeZeroDoesNothing) {
    OwnedBlock block;

    EXPECT_EQ(0, xabuf_realloc(&block.h, &kDef, 0));

    EXPECT_EQ(nullptr, block.h);
}

TEST(AbufFree, ClearsTheHandleWhateverTheCount) {
    OwnedBlock block;
    ASSERT_EQ(0, xabuf_alloc(&block.h, &kDef, 4));
    block.header()->refCount = 5;

    xabuf_free(&block.h);  // a leak checker would tell if the block stayed

    EXPECT_EQ(nullptr, block.h);
}

TEST(AbufFree, OfANullHandleDoesNothing) {
    xhandle h = nullptr;

    xabuf_free(&h);

    EXPECT_EQ(nullptr, h);
}

TEST(NullHandle, HasNeitherDescriptorNorHeader) {
    xhandle h = nullptr;

    EXPECT_EQ(nullptr, xabuf_get_def(&h));
    EXPECT_EQ(nullptr, xabuf_get_header(&h));
}

TEST(Descriptors, OfStringsHaveBytesInStepsOf16) {
    EXPECT_EQ(sizeof(xtabh_s), xstr_def.headerSize);
    EXPECT_EQ(1U, xstr_def.elementSize);
    EXPECT_EQ(16U, xstr_def.growStep);
    if (sizeof(void*) == 4) {
        EXPECT_EQ(16U, xstr_def.headerSize);
    }
}

TEST(Descriptors, OfTypedTablesHaveTheSizeOfTheirElementAndStepsOf8) {
    EXPECT_EQ(sizeof(xtabh_s), (zol::CTab<zol::CStr, 8, xtabh_s>::_def.headerSize));
    EXPECT_EQ(sizeof(void*), (zol::CTab<zol::CStr, 8, xtabh_s>::_def.elementSize));
    EXPECT_EQ(8U, (zol::CTab<zol::CStr, 8, xtabh_s>::_def.growStep));
    EXPECT_EQ(12U, (zol::CTab<char[12], 8, xtabh_s>::_def.elementSize));
}

TEST(EmptyRecords, TheEmptyStringIsABlockWithoutElementsAndHolders) {
    xhandle h = xstr_null;

    const xtabh_s* const header = static_cast<xtabh_s*>(xabuf_get_header(&h));

    EXPECT_EQ(0, header->count);
    EXPECT_EQ(0, header->capacity);
    EXPECT_EQ(0, header->refCount);
    EXPECT_EQ(&xstr_def, header->def);
    EXPECT_EQ('\0', xstr_null[0]);
}

TEST(EmptyRecords, OfContainersAreAllZero) {
    EXPECT_EQ(nullptr, xlist_null.head);
    EXPECT_EQ(nullptr, xlist_null.tail);
    EXPECT_EQ(0, xlist_null.count);
    EXPECT_EQ(nullptr, xfifo_null.head);
    EXPECT_EQ(nullptr, xfifo_null.tail);
    EXPECT_EQ(nullptr, xlifo_null.top);
}

// --- zol_obj_free ---

class Derived : public zol::CEventCallback {
  public:
    explicit Derived(int* destroyed) : m_destroyed(destroyed) {}
    ~Derived() override { ++*m_destroyed; }
    int onEvent(int, short, zol::CEvent*) override { return 0; }

  private:
    int* m_destroyed;
};

TEST(ObjFree, OfNullDoesNothing) {
    zol_obj_free(nullptr);
}

TEST(ObjFree, RunsTheDestructorOfTheDerivedClass) {
    int destroyed = 0;
    void* const object = new Derived(&destroyed);

    zol_obj_free(object);  // a leak checker would tell if the storage stayed

    EXPECT_EQ(1, destroyed);
}

// --- zol_getoption ---

TEST(GetOption, OfAnUnsetVariableIsTheDefault) {
    unsetenv("ZOL_TEST_OPTION");
    const char* const fallback = "fallback";

    EXPECT_EQ(fallback, zol_getoption("ZOL_TEST_OPTION", fallback));
    EXPECT_EQ(nullptr, zol_getoption("ZOL_TEST_OPTION", nullptr));
}

TEST(GetOption, OfASetVariableIsTheEnvironmentsOwnText) {
    setenv("ZOL_TEST_OPTION", "value", 1);

    EXPECT_EQ(getenv("ZOL_TEST_OPTION"), zol_getoption("ZOL_TEST_OPTION", "fallback"));
    unsetenv("ZOL_TEST_OPTION");
}

TEST(GetOption, OfAVariableSetToNothingIsEmpty) {
    setenv("ZOL_TEST_OPTION", "", 1);

    EXPECT_STREQ("", zol_getoption("ZOL_TEST_OPTION", "fallback"));
    unsetenv("ZOL_TEST_OPTION");
}

}  // namespace
