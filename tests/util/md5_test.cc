// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string.h>
#include <string>

#include "zol/digest.h"

namespace {

std::string hex(const unsigned char digest[16]) {
    return binary2hexstring(digest, 16).get();
}

std::string finish(cvs_MD5Context& context) {
    unsigned char digest[16];
    cvs_MD5Final(digest, &context);
    return hex(digest);
}

void update(cvs_MD5Context& context, const std::string& bytes) {
    cvs_MD5Update(&context, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string md5(const std::string& bytes) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);
    update(context, bytes);
    return finish(context);
}

TEST(Md5, AnswersTheVectorsOfItsRfc) {
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", md5(""));
    EXPECT_EQ("0cc175b9c0f1b6a831c399e269772661", md5("a"));
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", md5("abc"));
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", md5("message digest"));
    EXPECT_EQ("c3fcd3d76192e4007dfb496cca67e13b", md5("abcdefghijklmnopqrstuvwxyz"));
    EXPECT_EQ("d174ab98d277d9f5a5611c2c9f419d9f",
              md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"));
    EXPECT_EQ("57edf4a22be3c955ac49da2e2107b67a",
              md5("1234567890123456789012345678901234567890123456789012345678901234567890123456"
                  "7890"));
}

// 55 bytes are the most that leave room for the count of bits in the same block.
TEST(Md5, DigestsMessagesAroundTheEndOfABlock) {
    EXPECT_EQ("ef1772b6dff9a122358552954ad0df65", md5(std::string(55, 'a')));
    EXPECT_EQ("3b0c8ac703f828b04c6c197006d17218", md5(std::string(56, 'a')));
    EXPECT_EQ("b06521f39153d618550606be297466d5", md5(std::string(63, 'a')));
    EXPECT_EQ("014842d480b571495a4a0363793f7367", md5(std::string(64, 'a')));
    EXPECT_EQ("c743a45e0d2e6a95cb859adae0248435", md5(std::string(65, 'a')));
    EXPECT_EQ("8a7bd0732ed6a28ce75f6dabc90e1613", md5(std::string(119, 'a')));
    EXPECT_EQ("5f61c0ccad4cac44c75ff505e1f1e537", md5(std::string(120, 'a')));
}

TEST(Md5, BeginsWithTheStateOfItsRfc) {
    cvs_MD5Context context;
    memset(&context, 0xff, sizeof context);

    cvs_MD5Init(&context);

    EXPECT_EQ(0x67452301U, context.state[0]);
    EXPECT_EQ(0xefcdab89U, context.state[1]);
    EXPECT_EQ(0x98badcfeU, context.state[2]);
    EXPECT_EQ(0x10325476U, context.state[3]);
    EXPECT_EQ(0U, context.bits[0]);
    EXPECT_EQ(0U, context.bits[1]);
}

TEST(Md5, HasItsRecordInTheOrderOfItsRfc) {
    EXPECT_EQ(0U, offsetof(cvs_MD5Context, state));
    EXPECT_EQ(16U, offsetof(cvs_MD5Context, bits));
    EXPECT_EQ(24U, offsetof(cvs_MD5Context, buffer));
    EXPECT_EQ(88U, sizeof(cvs_MD5Context));
}

TEST(Md5, CountsBits) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);

    update(context, "abcdefghi");

    EXPECT_EQ(72U, context.bits[0]);
    EXPECT_EQ(0U, context.bits[1]);
    EXPECT_EQ(0, memcmp("abcdefghi", context.buffer, 9));
}

TEST(Md5, CarriesTheCountOfBitsIntoTheHighWord) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);
    context.bits[0] = 0xfffffff8;

    context.bits[0] &= ~0x1ffU;  // at the beginning of a block
    update(context, std::string(64, 'x'));

    EXPECT_EQ(0U, context.bits[0]);
    EXPECT_EQ(1U, context.bits[1]);
}

TEST(Md5, DigestsTheHighWordOfTheCountToo) {
    cvs_MD5Context low;
    cvs_MD5Context high;
    cvs_MD5Init(&low);
    cvs_MD5Init(&high);
    high.bits[1] = 1;

    EXPECT_NE(finish(low), finish(high));
}

TEST(Md5, ClearsItsContextAtTheEnd) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);
    update(context, "a password");

    finish(context);

    const cvs_MD5Context zero = {};
    EXPECT_EQ(0, memcmp(&zero, &context, sizeof context));
}

TEST(Md5, TransformTakesABlockOfNumbers) {
    // The whole of the message "abc": its bytes, the padding, and its 24 bits.
    uint32_t block[16] = {0x80636261};
    block[14] = 24;
    uint32_t state[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

    cvs_MD5Transform(state, block);

    EXPECT_EQ(0x98500190U, state[0]);
    EXPECT_EQ(0xb04fd23cU, state[1]);
    EXPECT_EQ(0x7d3f96d6U, state[2]);
    EXPECT_EQ(0x727fe128U, state[3]);
}

TEST(Md5, TakesNothing) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);

    cvs_MD5Update(&context, nullptr, 0);

    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", finish(context));
}

TEST(Md5, DoesNotMindHowTheBytesAreCut) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (size_t length : {55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U, 128U, 1000U}) {
        std::string bytes(length, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        cvs_MD5Context context;
        cvs_MD5Init(&context);
        for (size_t from = 0; from < length;) {
            const size_t count = std::min<size_t>(random() % 130, length - from);
            update(context, bytes.substr(from, count));
            from += count;
        }
        EXPECT_EQ(md5(bytes), finish(context)) << length;
    }
}

}  // namespace
