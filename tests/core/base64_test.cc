// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>
#include <string>

#include "zol/buffer.h"

#include "support/owned_str.h"

namespace {

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

int lengthOf(const std::string& text) {
    return static_cast<int>(text.size());
}

// With just enough room.
std::string encode(const std::string& bytes) {
    int length = xbase64_get_encoded_maxlength(lengthOf(bytes)) + 1;
    std::string out(static_cast<size_t>(length), '#');
    EXPECT_EQ(0, xbase64_encode(&out[0], &length, bytesOf(bytes), lengthOf(bytes)));
    EXPECT_EQ('\0', out[static_cast<size_t>(length - 1)]);
    out.resize(static_cast<size_t>(length - 1));
    return out;
}

struct Decoded {
    int result;
    std::string bytes;  // none when it failed
    int inLen;
};

bool operator==(const Decoded& a, const Decoded& b) {
    return a.result == b.result && a.bytes == b.bytes && a.inLen == b.inLen;
}

void PrintTo(const Decoded& decoded, std::ostream* out) {
    *out << decoded.result << " \"" << decoded.bytes << "\" " << decoded.inLen;
}

Decoded decode(const std::string& text, int room) {
    int length = room;
    int inLen = lengthOf(text);
    unsigned char out[200];
    memset(out, '#', sizeof out);
    const int result = xbase64_decode(out, &length, text.data(), &inLen);
    EXPECT_EQ('#', out[room]) << "wrote behind its room";
    if (result != 0) {
        EXPECT_EQ(room, length) << "the length is told on success only";
        return {result, "", inLen};
    }
    return {result, std::string(reinterpret_cast<char*>(out), static_cast<size_t>(length)), inLen};
}

Decoded decode(const std::string& text) {
    return decode(text, 150);
}

// What a text becomes that decodes whole.
std::string decoded(const std::string& text) {
    const Decoded all = decode(text);
    EXPECT_EQ(0, all.result);
    EXPECT_EQ(lengthOf(text), all.inLen);
    return all.bytes;
}

constexpr int kFailed = -1;

// --- lengths ---

TEST(Base64EncodedMaxlength, IsFourForEachThreeOrLess) {
    EXPECT_EQ(0, xbase64_get_encoded_maxlength(0));
    EXPECT_EQ(4, xbase64_get_encoded_maxlength(1));
    EXPECT_EQ(4, xbase64_get_encoded_maxlength(2));
    EXPECT_EQ(4, xbase64_get_encoded_maxlength(3));
    EXPECT_EQ(8, xbase64_get_encoded_maxlength(4));
    EXPECT_EQ(400, xbase64_get_encoded_maxlength(300));
}

TEST(Base64EncodedMaxlength, EndsAtTheLargestInt) {
    EXPECT_EQ(2147483644, xbase64_get_encoded_maxlength(1610612733));
    EXPECT_EQ(INT_MAX, xbase64_get_encoded_maxlength(1610612734));
    EXPECT_EQ(INT_MAX, xbase64_get_encoded_maxlength(INT_MAX));
}

TEST(Base64DecodedMaxlength, CountsOneByteForAnIncompleteGroup) {
    EXPECT_EQ(0, xbase64_get_decoded_maxlength(0));
    EXPECT_EQ(1, xbase64_get_decoded_maxlength(1));
    EXPECT_EQ(1, xbase64_get_decoded_maxlength(2));
    EXPECT_EQ(1, xbase64_get_decoded_maxlength(3));
    EXPECT_EQ(3, xbase64_get_decoded_maxlength(4));
    EXPECT_EQ(4, xbase64_get_decoded_maxlength(6));
    EXPECT_EQ(4, xbase64_get_decoded_maxlength(7));
    EXPECT_EQ(6, xbase64_get_decoded_maxlength(8));
    EXPECT_EQ(1610612734, xbase64_get_decoded_maxlength(INT_MAX));
}

// --- encoding ---

TEST(Base64Encode, AnswersTheVectorsOfItsRfc) {
    EXPECT_EQ("", encode(""));
    EXPECT_EQ("Zg==", encode("f"));
    EXPECT_EQ("Zm8=", encode("fo"));
    EXPECT_EQ("Zm9v", encode("foo"));
    EXPECT_EQ("Zm9vYg==", encode("foob"));
    EXPECT_EQ("Zm9vYmE=", encode("fooba"));
    EXPECT_EQ("Zm9vYmFy", encode("foobar"));
}

TEST(Base64Encode, UsesTheWholeAlphabet) {
    EXPECT_EQ("ABCDEFGHIJKLMNOP",
              encode(std::string("\x00\x10\x83\x10\x51\x87\x20\x92\x8b\x30\xd3\x8f", 12)));
    EXPECT_EQ("QRSTUVWXYZabcdef", encode("\x41\x14\x93\x51\x55\x97\x61\x96\x9b\x71\xd7\x9f"));
    EXPECT_EQ("ghijklmnopqrstuv", encode("\x82\x18\xa3\x92\x59\xa7\xa2\x9a\xab\xb2\xdb\xaf"));
    EXPECT_EQ("wxyz0123456789+/", encode("\xc3\x1c\xb3\xd3\x5d\xb7\xe3\x9e\xbb\xf3\xdf\xbf"));
}

TEST(Base64Encode, TellsTheLengthAndTheNul) {
    char out[20];
    int length = 20;

    EXPECT_EQ(0, xbase64_encode(out, &length, bytesOf("foo"), 3));

    EXPECT_EQ(5, length);
    EXPECT_STREQ("Zm9v", out);
}

TEST(Base64Encode, OfNothingIsAnEmptyText) {
    for (const int nothing : {0, -1, INT_MIN}) {
        char out[2] = {'#', '#'};
        int length = 1;

        EXPECT_EQ(0, xbase64_encode(out, &length, nullptr, nothing));

        EXPECT_EQ(1, length);
        EXPECT_EQ('\0', out[0]);
        EXPECT_EQ('#', out[1]);
    }
}

TEST(Base64Encode, NeedsRoomForAGroupAndTheNul) {
    char out[10];
    int length = 4;

    EXPECT_EQ(kFailed, xbase64_encode(out, &length, bytesOf("f"), 1));
    EXPECT_EQ(4, length);

    length = 5;
    EXPECT_EQ(0, xbase64_encode(out, &length, bytesOf("f"), 1));
    EXPECT_STREQ("Zg==", out);
}

TEST(Base64Encode, NeedsRoomForEveryGroup) {
    char out[10];
    memset(out, '#', sizeof out);
    int length = 8;

    EXPECT_EQ(kFailed, xbase64_encode(out, &length, bytesOf("foobar"), 6));

    EXPECT_EQ(8, length);
    EXPECT_EQ("Zm9v######", std::string(out, 10));

    length = 9;
    EXPECT_EQ(0, xbase64_encode(out, &length, bytesOf("foobar"), 6));
    EXPECT_EQ(9, length);
}

TEST(Base64Encode, WithoutAnyRoomFails) {
    int length = 0;
    EXPECT_EQ(kFailed, xbase64_encode(nullptr, &length, bytesOf("f"), 1));

    length = INT_MIN;
    EXPECT_EQ(kFailed, xbase64_encode(nullptr, &length, bytesOf("f"), 1));
}

// --- decoding ---

TEST(Base64Decode, AnswersTheVectorsOfItsRfc) {
    EXPECT_EQ("", decoded(""));
    EXPECT_EQ("f", decoded("Zg=="));
    EXPECT_EQ("fo", decoded("Zm8="));
    EXPECT_EQ("foo", decoded("Zm9v"));
    EXPECT_EQ("foob", decoded("Zm9vYg=="));
    EXPECT_EQ("fooba", decoded("Zm9vYmE="));
    EXPECT_EQ("foobar", decoded("Zm9vYmFy"));
}

TEST(Base64Decode, KnowsTheWholeAlphabet) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

    EXPECT_EQ(alphabet, encode(decoded(alphabet)));
    EXPECT_EQ(std::string("\x00\x10\x83", 3), decoded("ABCD"));
    EXPECT_EQ("\xfb\xff\xbf", decoded("+/+/"));
}

TEST(Base64Decode, SkipsWhatIsNotOfTheAlphabetAnywhere) {
    EXPECT_EQ("foobar", decoded("Zm9v\nYmFy"));
    EXPECT_EQ("foobar", decoded("\r\nZ m\t9-v_Y.m,Fy\n"));
    EXPECT_EQ("foo", decoded(std::string("Z\0m\xff"
                                         "9\x80v",
                                         7)));
    EXPECT_EQ("f", decoded("Z g = ="));
}

TEST(Base64Decode, SkipsEveryCharacterThatHasNoValue) {
    const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    for (int character = 0; character < 256; ++character) {
        if (alphabet.find(static_cast<char>(character)) == std::string::npos) {
            EXPECT_EQ("foo", decoded(std::string("Zm") + static_cast<char>(character) + "9v"))
                << character;
        }
    }
}

TEST(Base64Decode, OfNothingButSkippedCharactersIsNothing) {
    EXPECT_EQ("", decoded("\n- _\n"));
}

TEST(Base64Decode, EndsWithAPaddedGroup) {
    EXPECT_EQ("f", decoded("Zg==garbage"));
    EXPECT_EQ("fo", decoded("Zm8=Zm8="));
    EXPECT_EQ("f", decoded("Zg==Zh=="));
}

TEST(Base64Decode, DoesNotLookAtTheFourthCharacterOfAGroupPaddedInTheThird) {
    EXPECT_EQ("f", decoded("Zg=A"));
    EXPECT_EQ("f", decoded("Zg=/more"));
}

TEST(Base64Decode, RefusesBitsThatPaddingLeavesUnused) {
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zh=="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zo=="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zm9="));
    EXPECT_EQ((Decoded{kFailed, "", 5}), decode("Zm-9="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zi=="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zk=="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zm+="));
    EXPECT_EQ("fo", decoded("Zm8="));
}

TEST(Base64Decode, RefusesPaddingInTheFirstAndSecondPlace) {
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("===="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("=m9v"));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Z=9v"));
    EXPECT_EQ((Decoded{kFailed, "", 8}), decode("Zm9v===="));
}

TEST(Base64Decode, TellsWhereAnIncompleteGroupBegins) {
    EXPECT_EQ((Decoded{kFailed, "", 0}), decode("Zm9"));
    EXPECT_EQ((Decoded{kFailed, "", 0}), decode("Z"));
    EXPECT_EQ((Decoded{kFailed, "", 0}), decode("Zg="));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zm9vYm"));
    EXPECT_EQ((Decoded{kFailed, "", 8}), decode("Zm9vYmFyZ"));
    EXPECT_EQ((Decoded{kFailed, "", 5}), decode("Zm9-vYm\n"));
}

TEST(Base64Decode, CanGoOnWhereItStopped) {
    const std::string text = "Zm9vYmFy";
    unsigned char out[6];
    int length = 6;
    int inLen = 6;
    ASSERT_EQ(kFailed, xbase64_decode(out, &length, text.data(), &inLen));
    ASSERT_EQ(4, inLen);
    ASSERT_EQ(0, memcmp("foo", out, 3));

    int rest = 4;
    length = 3;
    EXPECT_EQ(0, xbase64_decode(out + 3, &length, text.data() + inLen, &rest));
    EXPECT_EQ(0, memcmp("foobar", out, 6));
}

TEST(Base64Decode, NeedsRoomForEachByte) {
    EXPECT_EQ((Decoded{kFailed, "", 8}), decode("Zm9vYmFy", 5));
    EXPECT_EQ((Decoded{kFailed, "", 8}), decode("Zm9vYmFy", 4));
    EXPECT_EQ((Decoded{kFailed, "", 8}), decode("Zm9vYmFy", 3));
    EXPECT_EQ((Decoded{0, "foobar", 8}), decode("Zm9vYmFy", 6));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zg==", 0));
    EXPECT_EQ((Decoded{0, "f", 4}), decode("Zg==", 1));
    EXPECT_EQ((Decoded{kFailed, "", 4}), decode("Zm8=", 1));
    EXPECT_EQ((Decoded{0, "fo", 4}), decode("Zm8=", 2));
    EXPECT_EQ((Decoded{0, "", 0}), decode("", 0));
    EXPECT_EQ((Decoded{0, "foo", 5}), decode("Z\nm9v", 3));
    EXPECT_EQ((Decoded{kFailed, "", 5}), decode("Z\nm9v", 2));
    EXPECT_EQ((Decoded{kFailed, "", 5}), decode("Z\nm9v", 1));
}

TEST(Base64Decode, MayWriteOverItsText) {
    char text[] = "Zm9v\nYmFy";
    int inLen = 9;
    int length = 9;

    EXPECT_EQ(0, xbase64_decode(reinterpret_cast<unsigned char*>(text), &length, text, &inLen));

    EXPECT_EQ("foobar", std::string(text, static_cast<size_t>(length)));
}

TEST(Base64Decode, TakesANegativeLengthForNothing) {
    int inLen = -1;
    int length = 5;

    EXPECT_EQ(0, xbase64_decode(nullptr, &length, "Zm9v", &inLen));

    EXPECT_EQ(0, length);
}

// --- into strings ---

TEST(Base64EncodeBuffer, SetsTheString) {
    OwnedStr s("something older and longer than the text");

    EXPECT_EQ(0, xbase64_encode_buffer(s, bytesOf("foob"), 4));

    EXPECT_STREQ("Zm9vYg==", s.h);
    EXPECT_EQ(8, s.length());
    EXPECT_EQ(9, s.capacity());
}

TEST(Base64EncodeBuffer, OfNothingEmptiesTheString) {
    OwnedStr s("old");

    EXPECT_EQ(0, xbase64_encode_buffer(s, bytesOf(""), 0));

    EXPECT_EQ(0, s.length());
    EXPECT_EQ(xstr_null, s.h);

    EXPECT_EQ(0, xbase64_encode_buffer(s, nullptr, -1));
    EXPECT_EQ(xstr_null, s.h);
}

TEST(Base64EncodeBuffer, LeavesOtherHoldersTheirText) {
    OwnedStr s("old");
    OwnedStr other;
    xstr_copy(other, s);

    xbase64_encode_buffer(s, bytesOf("foo"), 3);

    EXPECT_STREQ("Zm9v", s.h);
    EXPECT_STREQ("old", other.h);
}

TEST(Base64EncodeBuffer, EncodesTheStringsOwnText) {
    OwnedStr s("foobar");

    EXPECT_EQ(0, xbase64_encode_buffer(s, reinterpret_cast<unsigned char*>(s.h), 6));

    EXPECT_STREQ("Zm9vYmFy", s.h);
}

TEST(Base64EncodeBuffer, OfMoreThanAStringHoldsFails) {
    OwnedStr s("old");

    EXPECT_EQ(-1, xbase64_encode_buffer(s, nullptr, INT_MAX));

    EXPECT_STREQ("old", s.h);
}

// --- into buffers ---

class Base64DecodeBuffer : public ::testing::Test {
  protected:
    ~Base64DecodeBuffer() override { xsbuf_free(&b); }

    int decode(const std::string& text) {
        m_inLen = lengthOf(text);
        return xbase64_decode_buffer(&b, text.data(), &m_inLen);
    }

    std::string bytes() {
        return b == nullptr
                   ? ""
                   : std::string(static_cast<char*>(b), static_cast<size_t>(xtab_get_count(&b)));
    }

    xbuffer b = nullptr;
    int m_inLen = 0;
};

TEST_F(Base64DecodeBuffer, SetsTheBuffer) {
    xbuffer_set(&b, "something older and longer than the bytes", 41);

    EXPECT_EQ(0, decode("Zm9v\nYg=="));

    EXPECT_EQ("foob", bytes());
    EXPECT_EQ(9, m_inLen);
    EXPECT_EQ(4, static_cast<xtabh_s*>(xabuf_get_header(&b))->capacity);
}

TEST_F(Base64DecodeBuffer, OfNothingEmptiesTheBuffer) {
    xbuffer_set(&b, "old", 3);

    EXPECT_EQ(0, decode(""));

    EXPECT_EQ(nullptr, b);
}

TEST_F(Base64DecodeBuffer, OfSkippedCharactersEmptiesTheBuffer) {
    EXPECT_EQ(0, decode("\n\n"));

    EXPECT_EQ(nullptr, b);
}

TEST_F(Base64DecodeBuffer, KeepsAllItsRoomAfterAFailure) {
    EXPECT_EQ(-1, decode("Zm9vYm"));

    EXPECT_EQ(std::string("foo\0", 4), bytes());
    EXPECT_EQ(4, m_inLen);
}

TEST_F(Base64DecodeBuffer, KeepsAllItsRoomAfterAFailureOverOlderBytes) {
    xbuffer_set(&b, "0123456789", 10);

    EXPECT_EQ(-1, decode("Zm9vZh=="));

    EXPECT_EQ("foof45", bytes());
}

TEST_F(Base64DecodeBuffer, LeavesOtherHoldersTheirBytes) {
    xbuffer other = nullptr;
    xbuffer_set(&b, "0123456789", 10);
    xsbuf_copy(&other, &b);

    EXPECT_EQ(0, decode("Zm9v"));

    EXPECT_EQ("foo", bytes());
    EXPECT_EQ(0, memcmp("0123456789", other, 10));
    xsbuf_free(&other);
}

TEST_F(Base64DecodeBuffer, DecodesTheBuffersOwnBytes) {
    xbuffer_set(&b, "Zm9vYmFy", 8);
    int inLen = 8;

    EXPECT_EQ(0, xbase64_decode_buffer(&b, static_cast<char*>(b), &inLen));

    EXPECT_EQ("foobar", bytes());
}

TEST_F(Base64DecodeBuffer, DecodesBytesThatItShares) {
    xbuffer other = nullptr;
    xbuffer_set(&b, "Zm9vYmFy", 8);
    xsbuf_copy(&other, &b);
    int inLen = 8;

    EXPECT_EQ(0, xbase64_decode_buffer(&b, static_cast<char*>(other), &inLen));

    EXPECT_EQ("foobar", bytes());
    EXPECT_EQ(0, memcmp("Zm9vYmFy", other, 8));
    xsbuf_free(&other);
}

TEST_F(Base64DecodeBuffer, TakesANegativeLengthForNothing) {
    xbuffer_set(&b, "old", 3);
    int inLen = -1;

    EXPECT_EQ(0, xbase64_decode_buffer(&b, "Zm9v", &inLen));

    EXPECT_EQ(nullptr, b);
}

}  // namespace
