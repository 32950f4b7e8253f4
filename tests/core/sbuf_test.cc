// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/sbuf.h"

#include <gtest/gtest.h>
#include <string.h>

namespace {

// A record of eight bytes behind the smallest header that a shared buffer can have.
const xabuf_def_s kDef = {sizeof(xsbufh_s), 8, 1};

struct OwnedBuf {
    OwnedBuf() = default;
    explicit OwnedBuf(const char* content) { xsbuf_set_content(&h, &kDef, content); }
    ~OwnedBuf() { xsbuf_free(&h); }
    OwnedBuf(const OwnedBuf&) = delete;
    OwnedBuf& operator=(const OwnedBuf&) = delete;

    operator xhandle*() { return &h; }
    const char* text() { return static_cast<char*>(h); }
    int count() { return xsbuf_get_refcount(&h); }

    xhandle h = nullptr;
};

TEST(Sbuf, OfANullHandleCountsZeroAndStaysNull) {
    OwnedBuf buf;

    EXPECT_EQ(0, xsbuf_get_refcount(buf));
    EXPECT_EQ(0, xsbuf_add_ref(buf, 3));
    EXPECT_EQ(0, xsbuf_release(buf, 3));
    xsbuf_free(buf);
    xsbuf_detach(buf);
    EXPECT_EQ(nullptr, buf.h);
}

TEST(SbufAddRef, AnswersTheNewCount) {
    OwnedBuf buf("content");

    EXPECT_EQ(4, xsbuf_add_ref(buf, 3));
    EXPECT_EQ(4, xsbuf_get_refcount(buf));
    EXPECT_EQ(1, xsbuf_release(buf, 3));
}

TEST(SbufRelease, NeverFrees) {
    OwnedBuf buf("content");

    EXPECT_EQ(0, xsbuf_release(buf, 1));

    EXPECT_STREQ("content", buf.text());
    xsbuf_add_ref(buf, 1);
}

TEST(SbufFree, OfTheLastHolderClearsTheHandle) {
    OwnedBuf buf("content");

    xsbuf_free(buf);  // a leak checker would tell if the block stayed

    EXPECT_EQ(nullptr, buf.h);
}

TEST(SbufFree, WithThreeHoldersLeavesTwo) {
    OwnedBuf a("content");
    OwnedBuf b;
    OwnedBuf c;
    xsbuf_copy(b, a);
    xsbuf_copy(c, a);
    ASSERT_EQ(3, a.count());

    xsbuf_free(a);

    EXPECT_EQ(nullptr, a.h);
    EXPECT_EQ(2, b.count());
    EXPECT_STREQ("content", b.text());
}

TEST(SbufFree, OfABlockThatWasNeverCountedOnlyClearsTheHandle) {
    OwnedBuf buf;
    ASSERT_EQ(8, xsbuf_alloc(buf, &kDef, 8));
    xhandle same = buf.h;

    xsbuf_free(buf);

    EXPECT_EQ(nullptr, buf.h);
    EXPECT_EQ(-1, xsbuf_get_refcount(&same));
    xabuf_free(&same);
}

TEST(SbufAttach, CountsTheNewHolder) {
    OwnedBuf a("content");
    OwnedBuf b;

    xsbuf_attach(b, a.h);

    EXPECT_EQ(a.h, b.h);
    EXPECT_EQ(2, a.count());
}

TEST(SbufAttach, GivesTheOldReferenceUp) {
    OwnedBuf first("1st one");
    OwnedBuf other;
    xsbuf_copy(other, first);
    OwnedBuf second("2nd one");

    xsbuf_attach(first, second.h);

    EXPECT_EQ(1, other.count());
    EXPECT_EQ(2, second.count());
    EXPECT_STREQ("2nd one", first.text());
}

TEST(SbufAttach, GivesTheOldReferenceUpBeforeItTakesTheNewOne) {
    OwnedBuf buf;
    ASSERT_EQ(8, xsbuf_alloc(buf, &kDef, 8));  // count 0

    xsbuf_attach(buf, buf.h);  // to -1 and back; the other way round 1 and 0 would free the block

    EXPECT_EQ(0, buf.count());
    EXPECT_EQ(0, memcmp(buf.h, "\0\0\0\0\0\0\0\0", 8));
    xsbuf_add_ref(buf, 1);
}

TEST(SbufAttach, OfNullGivesTheReferenceUp) {
    OwnedBuf a("content");
    OwnedBuf b;
    xsbuf_copy(b, a);

    xsbuf_attach(b, nullptr);

    EXPECT_EQ(nullptr, b.h);
    EXPECT_EQ(1, a.count());
}

TEST(SbufCopy, SharesTheBlockAndAnswersTheDestination) {
    OwnedBuf a("content");
    OwnedBuf b;

    xhandle* const result = xsbuf_copy(b, a);

    EXPECT_EQ(&b.h, result);
    EXPECT_EQ(a.h, b.h);
    EXPECT_EQ(2, b.count());
}

TEST(SbufCopy, OfANullHandleEmptiesTheDestination) {
    OwnedBuf a;
    OwnedBuf b("content");

    xsbuf_copy(b, a);

    EXPECT_EQ(nullptr, b.h);
}

TEST(SbufAlloc, ClearsTheDataAndStartsWithCountZero) {
    OwnedBuf buf;

    EXPECT_EQ(20, xsbuf_alloc(buf, &kDef, 20));

    EXPECT_EQ(0, buf.count());
    EXPECT_EQ(0, memcmp(buf.h, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20));
    xsbuf_add_ref(buf, 1);
}

TEST(SbufAlloc, OfMinusOneIsOneElement) {
    OwnedBuf buf;

    EXPECT_EQ(8, xsbuf_alloc(buf, &kDef, static_cast<unsigned>(-1)));

    EXPECT_EQ(0, memcmp(buf.h, "\0\0\0\0\0\0\0\0", 8));
    xsbuf_add_ref(buf, 1);
}

TEST(SbufAlloc, OfZeroGivesTheOldReferenceUp) {
    OwnedBuf a("content");
    OwnedBuf b;
    xsbuf_copy(b, a);

    EXPECT_EQ(0, xsbuf_alloc(b, &kDef, 0));

    EXPECT_EQ(nullptr, b.h);
    EXPECT_EQ(1, a.count());
}

TEST(SbufSetContent, CopiesTheRecordAndCountsOneHolder) {
    OwnedBuf buf;

    EXPECT_EQ(8, xsbuf_set_content(buf, &kDef, "content"));

    EXPECT_STREQ("content", buf.text());
    EXPECT_EQ(1, buf.count());
}

TEST(SbufSetContent, OfNullIsAZeroedRecord) {
    OwnedBuf buf("content");

    EXPECT_EQ(8, xsbuf_set_content(buf, &kDef, nullptr));

    EXPECT_EQ(0, memcmp(buf.h, "\0\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(1, buf.count());
}

TEST(SbufSetContent, TakesItsOwnContent) {
    OwnedBuf buf("content");

    xsbuf_set_content(buf, &kDef, buf.h);

    EXPECT_STREQ("content", buf.text());
}

TEST(SbufSetContent, LeavesOtherHoldersAlone) {
    OwnedBuf a("content");
    OwnedBuf b;
    xsbuf_copy(b, a);

    xsbuf_set_content(b, &kDef, "changed");

    EXPECT_STREQ("content", a.text());
    EXPECT_EQ(1, a.count());
}

TEST(SbufDetach, OfTheOnlyHolderKeepsTheBlock) {
    OwnedBuf buf("content");
    void* const before = buf.h;

    xsbuf_detach(buf);

    EXPECT_EQ(before, buf.h);
    EXPECT_EQ(1, buf.count());
}

TEST(SbufDetach, GivesASharedHandleACopyOfItsOwn) {
    OwnedBuf a("content");
    OwnedBuf b;
    xsbuf_copy(b, a);

    xsbuf_detach(b);

    EXPECT_NE(a.h, b.h);
    EXPECT_EQ(1, a.count());
    EXPECT_EQ(1, b.count());
    EXPECT_EQ(0, memcmp(a.h, b.h, 8));
    EXPECT_EQ(&kDef, xabuf_get_def(b));
}

TEST(SbufDetach, ComparesTheCountAsASignedNumber) {
    OwnedBuf buf;
    ASSERT_EQ(8, xsbuf_alloc(buf, &kDef, 8));
    xsbuf_release(buf, 1);
    void* const before = buf.h;

    xsbuf_detach(buf);

    EXPECT_EQ(before, buf.h);
    xsbuf_add_ref(buf, 2);
}

}  // namespace
