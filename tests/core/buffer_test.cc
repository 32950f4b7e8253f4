// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/buffer.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>
#include <string>

namespace {

// A buffer that is given up at the end of its test.
struct OwnedBuffer {
    OwnedBuffer() = default;
    explicit OwnedBuffer(const std::string& bytes) {
        xbuffer_set(&h, bytes.data(), static_cast<int>(bytes.size()));
    }
    ~OwnedBuffer() { xsbuf_free(&h); }
    OwnedBuffer(const OwnedBuffer&) = delete;
    OwnedBuffer& operator=(const OwnedBuffer&) = delete;

    operator xbuffer*() { return &h; }
    int length() { return xtab_get_count(&h); }
    int capacity() { return static_cast<xtabh_s*>(xabuf_get_header(&h))->capacity; }
    int holders() { return xsbuf_get_refcount(&h); }
    const char* bytes() const { return static_cast<const char*>(h); }
    std::string text() {
        return h == nullptr ? "" : std::string(bytes(), static_cast<size_t>(length()));
    }

    xbuffer h = nullptr;
};

const std::string kZeroes(20, '\0');

TEST(Buffer, HasItsDescriptor) {
    OwnedBuffer b("a");

    EXPECT_EQ(sizeof(xtabh_s), xbuffer_def.headerSize);
    EXPECT_EQ(1U, xbuffer_def.elementSize);
    EXPECT_EQ(16U, xbuffer_def.growStep);
    EXPECT_EQ(&xbuffer_def, xabuf_get_def(b));
}

TEST(Buffer, HasItsBytesAndNoNul) {
    OwnedBuffer b(std::string("a\0b", 3));

    EXPECT_EQ(3, b.length());
    EXPECT_EQ(0, memcmp("a\0b", b.h, 3));
    EXPECT_EQ(1, b.holders());
}

// --- empty ---

TEST(BufferIsEmpty, GoesByTheLength) {
    OwnedBuffer empty;
    OwnedBuffer nul(std::string("\0", 1));

    EXPECT_EQ(1, xbuffer_is_empty(empty));
    EXPECT_EQ(0, xbuffer_is_empty(nul));
}

// --- compare ---

TEST(BufferCompare, AShorterBufferAnswersZeroAsAnEqualOne) {
    OwnedBuffer two("ab");
    OwnedBuffer three("abc");
    OwnedBuffer other("xyz");
    OwnedBuffer empty;

    EXPECT_EQ(0, xbuffer_compare(two, three));
    EXPECT_EQ(0, xbuffer_compare(two, other));
    EXPECT_EQ(0, xbuffer_compare(empty, three));
}

TEST(BufferCompare, ALongerBufferAnswersOne) {
    OwnedBuffer two("ab");
    OwnedBuffer three("abc");
    OwnedBuffer low("!!!");
    OwnedBuffer empty;

    EXPECT_EQ(1, xbuffer_compare(three, two));
    EXPECT_EQ(1, xbuffer_compare(low, two));
    EXPECT_EQ(1, xbuffer_compare(two, empty));
}

TEST(BufferCompare, OfEqualLengthsComparesTheBytesAsUnsignedNumbers) {
    OwnedBuffer a("abc");
    OwnedBuffer same("abc");
    OwnedBuffer below("abb");
    OwnedBuffer high("ab\xff");

    EXPECT_EQ(0, xbuffer_compare(a, same));
    EXPECT_GT(xbuffer_compare(a, below), 0);
    EXPECT_LT(xbuffer_compare(below, a), 0);
    EXPECT_LT(xbuffer_compare(a, high), 0);
}

TEST(BufferCompare, LooksBehindNuls) {
    OwnedBuffer a(std::string("a\0b", 3));
    OwnedBuffer b(std::string("a\0c", 3));

    EXPECT_LT(xbuffer_compare(a, b), 0);
}

TEST(BufferCompare, OfTwoEmptyBuffersIsZero) {
    OwnedBuffer a;
    OwnedBuffer b;

    EXPECT_EQ(0, xbuffer_compare(a, b));
}

// --- set ---

TEST(BufferSet, CopiesTheBytes) {
    OwnedBuffer b("old");
    char bytes[] = "new bytes";

    EXPECT_EQ(&b.h, xbuffer_set(b, bytes, 9));
    bytes[0] = 'X';

    EXPECT_EQ("new bytes", b.text());
    EXPECT_EQ(16, b.capacity());
}

TEST(BufferSet, WithoutDataSetsZeroBytes) {
    OwnedBuffer b("old bytes, many of them");

    xbuffer_set(b, nullptr, 5);

    EXPECT_EQ(kZeroes.substr(0, 5), b.text());
}

TEST(BufferSet, BelowOneByteEmptiesTheBuffer) {
    OwnedBuffer b("old");
    OwnedBuffer c("old");

    EXPECT_EQ(&b.h, xbuffer_set(b, "new", 0));
    EXPECT_EQ(&c.h, xbuffer_set(c, "new", -1));

    EXPECT_EQ(nullptr, b.h);
    EXPECT_EQ(nullptr, c.h);
}

TEST(BufferSet, LeavesOtherHoldersTheirBytes) {
    OwnedBuffer b("old");
    OwnedBuffer other;
    xsbuf_copy(other, b);

    xbuffer_set(b, "new", 3);

    EXPECT_EQ("new", b.text());
    EXPECT_EQ("old", other.text());
    EXPECT_EQ(1, b.holders());
    EXPECT_EQ(1, other.holders());
}

TEST(BufferSet, TakesBytesOfTheBufferItself) {
    OwnedBuffer b("0123456789");

    xbuffer_set(b, b.bytes() + 3, 4);

    EXPECT_EQ("3456", b.text());
}

// --- concat ---

TEST(BufferConcat, Appends) {
    OwnedBuffer b("abc");

    EXPECT_EQ(&b.h, xbuffer_concat(b, "de", 2));

    EXPECT_EQ("abcde", b.text());
}

TEST(BufferConcat, ToAnEmptyBufferSetsIt) {
    OwnedBuffer b;

    xbuffer_concat(b, "abc", 3);

    EXPECT_EQ("abc", b.text());
    EXPECT_EQ(1, b.holders());
}

TEST(BufferConcat, WithoutDataAppendsZeroBytes) {
    OwnedBuffer b("abc");

    xbuffer_concat(b, nullptr, 20);

    EXPECT_EQ("abc" + kZeroes, b.text());
}

TEST(BufferConcat, BelowOneByteChangesNothing) {
    OwnedBuffer b("abc");
    OwnedBuffer other;
    xsbuf_copy(other, b);

    EXPECT_EQ(&b.h, xbuffer_concat(b, "de", 0));
    EXPECT_EQ(&b.h, xbuffer_concat(b, "de", -1));
    EXPECT_EQ(&b.h, xbuffer_concat(b, nullptr, INT_MIN));

    EXPECT_EQ("abc", b.text());
    EXPECT_EQ(b.h, other.h);
}

TEST(BufferConcat, LeavesOtherHoldersTheirBytes) {
    OwnedBuffer b("abc");
    OwnedBuffer other;
    xsbuf_copy(other, b);

    xbuffer_concat(b, "de", 2);

    EXPECT_EQ("abcde", b.text());
    EXPECT_EQ("abc", other.text());
}

TEST(BufferConcat, TakesBytesOfTheBufferItself) {
    OwnedBuffer b("0123456789");
    OwnedBuffer shared("0123456789");
    OwnedBuffer other;
    xsbuf_copy(other, shared);

    xbuffer_concat(b, b.bytes() + 2, 8);
    xbuffer_concat(shared, shared.bytes() + 2, 8);

    EXPECT_EQ("012345678923456789", b.text());
    EXPECT_EQ("012345678923456789", shared.text());
    EXPECT_EQ("0123456789", other.text());
}

TEST(BufferConcat, OfMoreThanCanBeCountedLeavesTheBuffer) {
    OwnedBuffer b("abc");

    xbuffer_concat(b, nullptr, INT_MAX);

    EXPECT_EQ("abc", b.text());
}

// --- direct writing ---

TEST(BufferGetBuffer, AppendsZeroBytesUpToTheSize) {
    OwnedBuffer b("abc");

    EXPECT_NE(nullptr, xbuffer_get_buffer(b, 5));

    EXPECT_EQ("abc" + kZeroes.substr(0, 2), b.text());
}

TEST(BufferGetBuffer, UpToTheLengthAnswersTheBytesAsTheyAre) {
    OwnedBuffer b("abc");
    void* const before = b.h;

    EXPECT_EQ(before, xbuffer_get_buffer(b, 3));
    EXPECT_EQ(before, xbuffer_get_buffer(b, 2));
    EXPECT_EQ(before, xbuffer_get_buffer(b, 0));
    EXPECT_EQ(before, xbuffer_get_buffer(b, -1));

    EXPECT_EQ("abc", b.text());
}

TEST(BufferGetBuffer, OfAnEmptyBufferHasZeroBytes) {
    OwnedBuffer b;

    EXPECT_EQ(b.h, xbuffer_get_buffer(b, 4));

    EXPECT_EQ(kZeroes.substr(0, 4), b.text());
}

TEST(BufferGetBuffer, OfAnEmptyBufferWithoutASizeIsNull) {
    OwnedBuffer b;

    EXPECT_EQ(nullptr, xbuffer_get_buffer(b, 0));
    EXPECT_EQ(nullptr, xbuffer_get_buffer(b, -1));
}

TEST(BufferGetBuffer, MakesTheBytesPrivateWhateverTheSize) {
    OwnedBuffer b("abc");
    OwnedBuffer other;
    xsbuf_copy(other, b);

    static_cast<char*>(xbuffer_get_buffer(b, 0))[0] = 'X';

    EXPECT_EQ("Xbc", b.text());
    EXPECT_EQ("abc", other.text());
}

TEST(BufferReleaseBuffer, CutsToTheLengthInBytes) {
    OwnedBuffer b("abcdef");

    EXPECT_EQ(&b.h, xbuffer_release_buffer(b, 4));

    EXPECT_EQ("abcd", b.text());
}

TEST(BufferReleaseBuffer, GivesSpareRoomBack) {
    OwnedBuffer b("abcdef");
    ASSERT_EQ(16, b.capacity());

    xbuffer_release_buffer(b, 4);
    EXPECT_EQ(4, b.capacity());

    OwnedBuffer whole("abcdef");
    xbuffer_release_buffer(whole, 6);
    EXPECT_EQ(6, whole.capacity());
}

TEST(BufferReleaseBuffer, AboveTheLengthKeepsAll) {
    OwnedBuffer b("abc");

    xbuffer_release_buffer(b, 100);

    EXPECT_EQ("abc", b.text());
    EXPECT_EQ(3, b.capacity());
}

TEST(BufferReleaseBuffer, BelowOneByteGivesTheBytesUp) {
    OwnedBuffer b("abc");
    OwnedBuffer c("abc");

    EXPECT_EQ(&b.h, xbuffer_release_buffer(b, 0));
    EXPECT_EQ(&c.h, xbuffer_release_buffer(c, -1));

    EXPECT_EQ(nullptr, b.h);
    EXPECT_EQ(nullptr, c.h);
}

TEST(BufferReleaseBuffer, LeavesAnEmptyBufferAlone) {
    OwnedBuffer b;

    EXPECT_EQ(&b.h, xbuffer_release_buffer(b, 5));
    EXPECT_EQ(&b.h, xbuffer_release_buffer(b, 0));

    EXPECT_EQ(nullptr, b.h);
}

TEST(BufferReleaseBuffer, LeavesOtherHoldersTheirBytes) {
    OwnedBuffer b("abcdef");
    OwnedBuffer other;
    OwnedBuffer third;
    xsbuf_copy(other, b);
    xsbuf_copy(third, b);

    xbuffer_release_buffer(b, 2);
    xbuffer_release_buffer(third, 6);

    EXPECT_EQ("ab", b.text());
    EXPECT_EQ("abcdef", third.text());
    EXPECT_EQ("abcdef", other.text());
    EXPECT_EQ(16, other.capacity());
}

}  // namespace
