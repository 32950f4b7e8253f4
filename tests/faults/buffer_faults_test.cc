// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Buffers, base64, streams, plain text and digests, with each of their allocations failing in turn.

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zol/buffer.h"
#include "zol/digest.h"
#include "zol/lyctx.h"

#include "support/alloc_faults.h"
#include "support/owned_str.h"
#include "support/syslog_capture.h"

namespace {

bool faulted() {
    return AllocFaults::hasFailed();
}

struct Buffer {
    ~Buffer() { xsbuf_free(&h); }
    int length() { return xtab_get_count(&h); }
    xbuffer h = nullptr;
};

TEST(AllocFaultsOfBuffers, SetEmptiesTheBuffer) {
    forEachFailingAllocation([] {
        Buffer b;
        xbuffer_set(&b.h, "abc", 3);
        EXPECT_EQ(faulted(), b.h == nullptr);
        const bool before = faulted();
        xbuffer_set(&b.h, "defghi", 6);
        EXPECT_EQ(faulted() != before, b.h == nullptr);
    });
}

TEST(AllocFaultsOfBuffers, ConcatKeepsTheBytes) {
    forEachFailingAllocation([] {
        Buffer b;
        xbuffer_set(&b.h, "abc", 3);
        const int before = b.length();
        xbuffer_concat(&b.h, nullptr, 10000);
        EXPECT_TRUE(b.length() == before + 10000 || (faulted() && b.length() == before));
        EXPECT_TRUE(before == 0 || memcmp("abc", b.h, 3) == 0);
    });
}

TEST(AllocFaultsOfBuffers, ConcatToSharedBytesEmptiesTheBufferOrAppends) {
    forEachFailingAllocation([] {
        Buffer b;
        Buffer other;
        xbuffer_set(&other.h, "abc", 3);
        xsbuf_copy(&b.h, &other.h);
        xbuffer_concat(&b.h, "d", 1);
        if (!faulted()) {
            EXPECT_EQ(4, b.length());
            EXPECT_EQ(0, memcmp("abc", other.h, 3));
        }
    });
}

TEST(AllocFaultsOfBuffers, GetBufferAnswersNull) {
    forEachFailingAllocation([] {
        Buffer b;
        void* const bytes = xbuffer_get_buffer(&b.h, 100);
        EXPECT_EQ(faulted(), bytes == nullptr);
        EXPECT_EQ(faulted() ? 0 : 100, b.length());
    });
}

TEST(AllocFaultsOfBuffers, GetBufferOfBytesThatAreThereAnswersThemOrNull) {
    forEachFailingAllocation([] {
        Buffer b;
        xbuffer_set(&b.h, "abc", 3);
        const int before = b.length();
        void* const bytes = xbuffer_get_buffer(&b.h, 1000);
        EXPECT_TRUE(bytes == nullptr ? faulted() && b.length() == before : b.length() == 1000);
        EXPECT_TRUE(b.length() == 0 || faulted() || memcmp("abc", b.h, 3) == 0);
    });
}

TEST(AllocFaultsOfBuffers, GetBufferOfSharedBytesAnswersThemOrNull) {
    forEachFailingAllocation([] {
        Buffer b;
        Buffer other;
        xbuffer_set(&other.h, "abcdef", 6);
        xsbuf_copy(&b.h, &other.h);
        const bool before = faulted();
        void* const bytes = xbuffer_get_buffer(&b.h, 3);
        if (!before) {
            EXPECT_TRUE(bytes == nullptr ? faulted() : memcmp("abcdef", bytes, 6) == 0);
            EXPECT_EQ(6, other.length());
        }
    });
}

TEST(AllocFaultsOfBuffers, GetAndReleaseOfSharedBytes) {
    forEachFailingAllocation([] {
        Buffer b;
        Buffer other;
        xbuffer_set(&other.h, "abcdef", 6);
        xsbuf_copy(&b.h, &other.h);
        (void)xbuffer_get_buffer(&b.h, 20);
        xbuffer_release_buffer(&b.h, 3);
        Buffer third;
        xsbuf_copy(&third.h, &other.h);
        xbuffer_release_buffer(&third.h, 2);
        EXPECT_TRUE(faulted() || third.length() == 2);
    });
}

TEST(AllocFaultsOfBase64, EncodeBufferKeepsTheString) {
    forEachFailingAllocation([] {
        OwnedStr s("old");
        const bool before = faulted();
        const int result =
            xbase64_encode_buffer(s, reinterpret_cast<const unsigned char*>("foobar"), 6);
        EXPECT_TRUE(faulted() || result == 0);
        if (result == 0) {  // also where the spare room could not be given back
            EXPECT_STREQ("Zm9vYmFy", s.h);
        } else {
            EXPECT_EQ(-1, result);
            EXPECT_STREQ(before ? "" : "old", s.h);
        }
    });
}

TEST(AllocFaultsOfBase64, DecodeBufferFails) {
    forEachFailingAllocation([] {
        Buffer b;
        int inLen = 40;
        const int result =
            xbase64_decode_buffer(&b.h, "Zm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFy", &inLen);
        EXPECT_EQ(b.length() == 30 ? 0 : -1, result);
        EXPECT_TRUE(faulted() || result == 0);
    });
}

// --- streams ---

// Whether a stream is there if and only if there was memory for it.
bool isAnswered(const FILE* stream, bool hasFaulted) {
#ifdef __UCLIBC__  // streams do without a buffer, if need be
    return stream != nullptr || hasFaulted;
#else
    return (stream == nullptr) == hasFaulted;
#endif
}

TEST(AllocFaultsOfStreams, OpenKeepsTheTarget) {
    forEachFailingAllocation([] {
        OwnedStr s("old");
        const bool before = faulted();
        FILE* const stream = xstr_fopen(s, "w");
        EXPECT_TRUE(isAnswered(stream, faulted() != before));
        if (stream != nullptr) {
            EXPECT_EQ(0, s.length());
            fclose(stream);
        } else {
            EXPECT_STREQ("old", s.h);
        }
    });
}

TEST(AllocFaultsOfStreams, OpenOnABufferKeepsTheTarget) {
    forEachFailingAllocation([] {
        Buffer b;
        xbuffer_set(&b.h, "old", 3);
        const int before = b.length();
        FILE* const stream = xbuffer_fopen(&b.h, "w");
        EXPECT_EQ(stream == nullptr ? before : 0, b.length());
        EXPECT_TRUE(faulted() || stream != nullptr);
        if (stream != nullptr) {
            fclose(stream);
        }
    });
}

TEST(AllocFaultsOfStreams, OpenOnAText) {
    forEachFailingAllocation([] {
        FILE* const stream = xstr_fopen_cstr("abc", "r");
        EXPECT_TRUE(isAnswered(stream, faulted()));
        if (stream != nullptr) {
            fclose(stream);
        }
    });
}

// Of a failure some C libraries tell by ferror(3) alone.
bool writes(FILE* stream, const char* text) {
    return fputs(text, stream) >= 0 && fflush(stream) == 0 && ferror(stream) == 0;
}

// A failed write is an error of the stream, and what was written before it stays.
template <class Target>
void writeTwice(FILE* stream, Target& target) {
    if (stream == nullptr) {
        return;
    }
    char buffer[16];
    setvbuf(stream, buffer, _IOFBF, sizeof buffer);
    const bool first = writes(stream, "abc");
    const int before = target.length();
    EXPECT_EQ(first ? 3 : 0, before);
    const bool second = writes(stream, "0123456789012345678901234567890");
    EXPECT_TRUE(faulted() || (first && second));
    if (first && second) {
        EXPECT_EQ(34, target.length());
    } else {
        EXPECT_NE(0, ferror(stream));
        EXPECT_GE(target.length(), 0);
    }
    fclose(stream);
}

TEST(AllocFaultsOfStreams, WriteToAString) {
    forEachFailingAllocation([] {
        OwnedStr s;
        writeTwice(xstr_fopen(s, "a"), s);
        EXPECT_EQ('\0', s.h[s.length()]);
    });
}

TEST(AllocFaultsOfStreams, WriteToABuffer) {
    forEachFailingAllocation([] {
        Buffer b;
        writeTwice(xbuffer_fopen(&b.h, "a"), b);
    });
}

TEST(AllocFaultsOfStreams, WriteToASharedString) {
    forEachFailingAllocation([] {
        OwnedStr other("abc");
        OwnedStr s;
        xstr_copy(s, other);
        FILE* const stream = xstr_fopen(s, "a");
        if (stream != nullptr) {
            fputs("d", stream);
            fclose(stream);
        }
        EXPECT_NE(nullptr, s.h);
        if (!faulted()) {
            EXPECT_STREQ("abcd", s.h);
        }
    });
}

// --- plain text ---

TEST(AllocFaultsOfPlainText, ASharedTextIsEmptyOrPlain) {
    forEachFailingAllocation([] {
        OwnedStr other("\xc3\xa9t\xc3\xa9 \xe2\x82\xac");
        OwnedStr s;
        xstr_copy(s, other);
        EXPECT_EQ(&s.h, xstr_replaceSpecialCharUTF8(s));
        EXPECT_TRUE(strcmp("ete _", s.h) == 0 || (faulted() && s.length() == 0));

        OwnedStr page437;
        xstr_copy(page437, other);
        EXPECT_EQ(&page437.h, xstr_replaceSpecialCharASCII(page437));
        EXPECT_NE(nullptr, page437.h);
    });
}

// --- digests ---

void expectDigest(const char* digest, const zol::CStr& text) {
    EXPECT_TRUE(text == digest || (faulted() && text.isEmpty())) << text.get();
}

TEST(AllocFaultsOfDigests, AnswerTheWholeTextOrNone) {
    const zol::CStr text("abc");
    forEachFailingAllocation(
        [&] { expectDigest("900150983cd24fb0d6963f7d28e17f72", md5Encode(text)); });
}

// Texts without memory are empty ones; made before, they are as they should be.
TEST(AllocFaultsOfDigests, OfSeveralTextsNeverTakeAPartForTheWhole) {
    const zol::CStr user("Mufasa");
    const zol::CStr realm("testrealm@host.com");
    const zol::CStr password("Circle Of Life");
    forEachFailingAllocation([&] {
        expectDigest("939e7578ed9e3c518a452acee763bce9", generateHa1(user, realm, password));
        expectDigest("6d0c5836979f7446f6ff6deb6988233d",
                     generateAuthKey(user, realm, password, user));
    });
}

TEST(AllocFaultsOfDigests, NoncesAreWholeOrEmpty) {
    forEachFailingAllocation([] {
        const zol::CStr nonce = generateNonce();
        EXPECT_EQ(faulted(), nonce.isEmpty());
    });
}

TEST(AllocFaultsOfDigests, AddressesAreWholeOrEmpty) {
    forEachFailingAllocation([] {
        const zol::CStr address = getDownloadURI("key", "/log/", "moisture.log");
        EXPECT_TRUE(address.getLength() == 5 + 32 + 1 + 8 + 1 + 12 ||
                    (faulted() && address.isEmpty()));
    });
}

// --- parsers ---

TEST(AllocFaultsOfParsers, AnErrorIsNoted) {
    forEachFailingAllocation([] {
        xlyctx_s context = {"config", {}, 0};
        xlyctx_location_s location = {};
        location.first_line = 3;
        location.first_column = 7;

        xlyctx_error(&context, &location, "unexpected", 1, 2, "word");

        EXPECT_EQ(1, context.error);
    });
}

TEST(AllocFaultsOfParsers, AnErrorWithoutMemoryIsLoggedWithItsPlace) {
    const SyslogCapture log;
    xlyctx_s context = {"config", {}, 0};
    xlyctx_location_s location = {};
    location.first_line = 3;
    location.first_column = 7;

    AllocFaults::failNth(1);
    xlyctx_error(&context, &location, "unexpected", 1, 2, "word");
    AllocFaults::failNth(0);

    const std::vector<SyslogCapture::Line> expected = {{3, "config parser (line=3, col=7)"}};
    EXPECT_EQ(expected, log.lines());
    EXPECT_EQ(1, context.error);
}

TEST(AllocFaultsOfParsers, MallocAnswersNull) {
    forEachFailingAllocation([] {
        void* const memory = xlyctx_malloc(nullptr, 10);
        EXPECT_EQ(faulted(), memory == nullptr);
        free(memory);
    });
}

}  // namespace
