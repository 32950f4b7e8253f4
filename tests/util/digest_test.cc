// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/digest.h"

#include <ctype.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <time.h>
#include <vector>

#include "support/syslog_capture.h"

namespace {

time_t now = 0;
std::vector<long> randomNumbers;

std::string text(const zol::CStr& s) {
    return s.get();
}

}  // namespace

// The program's own, which the library uses.
extern "C" time_t time(time_t* stored) noexcept {
    if (stored != nullptr) {
        *stored = now;
    }
    return now;
}

extern "C" long random() noexcept {
    const long number = randomNumbers.empty() ? 0 : randomNumbers.front();
    if (!randomNumbers.empty()) {
        randomNumbers.erase(randomNumbers.begin());
    }
    return number;
}

namespace {

// --- hexadecimal text ---

TEST(Binary2hexstring, WritesTwoLowercaseCharactersForEachByteHighHalfFirst) {
    const unsigned char bytes[] = {0x00, 0xAB, 0xFF, 0x1e};

    EXPECT_EQ("00abff1e", text(binary2hexstring(bytes, 4)));
    EXPECT_EQ(8, binary2hexstring(bytes, 4).getLength());
    EXPECT_EQ("00", text(binary2hexstring(bytes, 1)));
}

TEST(Binary2hexstring, OfNothingIsEmpty) {
    const unsigned char bytes[] = {0x12};

    EXPECT_EQ("", text(binary2hexstring(bytes, 0)));
    EXPECT_EQ("", text(binary2hexstring(bytes, -1)));
    EXPECT_EQ("", text(binary2hexstring(bytes, INT32_MIN)));
}

TEST(Binary2hexstring, OfMoreThanATextCanHoldIsEmpty) {
    const unsigned char bytes[] = {0x12};

    EXPECT_EQ("", text(binary2hexstring(bytes, INT32_MAX)));
    EXPECT_EQ("", text(binary2hexstring(bytes, INT32_MAX / 2 + 1)));
}

// --- hashes ---

TEST(Md5Encode, AnswersTheVectorsOfTheRfc) {
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", text(md5Encode("")));
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", text(md5Encode("abc")));
}

TEST(Md5Encode, GoesByTheLengthNotByTheFirstNul) {
    EXPECT_EQ("70350f6027bce3713f6b76473084309b", text(md5Encode(zol::CStr("a\0b", 3))));
}

TEST(HashEncode, IsTheSame) {
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", text(zolcrypt::hashEncode("abc")));
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", text(zolcrypt::hashEncode("")));
}

// --- digest authentication ---

// The example of RFC 2617, section 3.5.
TEST(GenerateHa1, IsThatOfTheRfc) {
    EXPECT_EQ("939e7578ed9e3c518a452acee763bce9",
              text(generateHa1("Mufasa", "testrealm@host.com", "Circle Of Life")));
}

TEST(GenerateHa1, KeepsTheSeparatorsOfEmptyTexts) {
    EXPECT_EQ(text(md5Encode("::")), text(generateHa1("", "", "")));
    EXPECT_EQ(text(md5Encode("a::")), text(generateHa1("a", "", "")));
    EXPECT_EQ(text(md5Encode(":b:")), text(generateHa1("", "b", "")));
    EXPECT_EQ(text(md5Encode("::c")), text(generateHa1("", "", "c")));
}

TEST(GenerateHa1, NeitherTrimsNorEscapes) {
    EXPECT_EQ(text(md5Encode(" a:b :\"c\":d")), text(generateHa1(" a:b ", "\"c\"", "d")));
}

TEST(GenerateAuthKey, JoinsItsTextsInOrder) {
    EXPECT_EQ(text(md5Encode("1:2:3:4")), text(generateAuthKey("1", "2", "3", "4")));
    EXPECT_EQ(text(md5Encode(":::")), text(generateAuthKey("", "", "", "")));
    EXPECT_EQ(text(md5Encode("::x:")), text(generateAuthKey("", "", "x", "")));
}

TEST(GenerateAuthKey, MakesTheResponseOfTheRfc) {
    const zol::CStr ha1 = generateHa1("Mufasa", "testrealm@host.com", "Circle Of Life");
    const zol::CStr ha2 = md5Encode("GET:/dir/index.html");

    EXPECT_EQ("6629fae49393a05397450978507c4ef1",
              text(generateAuthKey(ha1, "dcd98b7102dd2f0e8b11d0f600bfb0c093",
                                   "00000001:0a4f113b:auth", ha2)));
}

TEST(GenerateHa1, MakesTheResponseWithoutQop) {
    const zol::CStr ha1 = generateHa1("Mufasa", "testrealm@host.com", "Circle Of Life");
    const zol::CStr ha2 = md5Encode("GET:/dir/index.html");

    EXPECT_EQ(text(md5Encode("939e7578ed9e3c518a452acee763bce9:dcd98b7102dd2f0e8b11d0f600bfb0c093:"
                             "39aff3a2bab6126f332b942af96d3366")),
              text(generateHa1(ha1, "dcd98b7102dd2f0e8b11d0f600bfb0c093", ha2)));
}

// --- nonces ---

TEST(GenerateNonce, AddsTwoRandomNumbers) {
    randomNumbers = {1000, 234};

    EXPECT_EQ("1234", text(generateNonce()));
    EXPECT_TRUE(randomNumbers.empty());
}

TEST(GenerateNonce, IsUnsigned) {
    randomNumbers = {2147483647, 2147483647};

    EXPECT_EQ("4294967294", text(generateNonce()));
}

TEST(GenerateNonce, WrapsAround) {
    randomNumbers = {static_cast<long>(0xffffffffU), 3};

    EXPECT_EQ("2", text(generateNonce()));
}

TEST(GenerateNonce, OfZeroesIsADigit) {
    randomNumbers = {0, 0};

    EXPECT_EQ("0", text(generateNonce()));
}

// --- download addresses ---

TEST(GetDownloadURI, HasPrefixHashStampAndPath) {
    now = 0x5F5E1000;

    EXPECT_EQ("/dl/" + text(md5Encode("secret/f.bin5f5e1000")) + "/5f5e1000/f.bin",
              text(getDownloadURI("secret", "/dl/", "f.bin")));
}

TEST(GetDownloadURI, IsTheKnownOneOfAKnownTime) {
    now = 0x5F5E1000;

    EXPECT_EQ("/dl/f0f4c4e8dbdb2a9be79c6a28ee8aa43a/5f5e1000/f.bin",
              text(getDownloadURI("secret", "/dl/", "f.bin")));
}

TEST(GetDownloadURI, JoinsPrefixAndHashDirectly) {
    now = 1;

    EXPECT_EQ("x" + text(md5Encode("k/p00000001")) + "/00000001/p",
              text(getDownloadURI("k", "x", "p")));
    EXPECT_EQ(text(md5Encode("k/p00000001")) + "/00000001/p", text(getDownloadURI("k", "", "p")));
}

TEST(GetDownloadURI, StampsEightLowercaseDigits) {
    now = 0xABCDEF;
    EXPECT_NE(std::string::npos, text(getDownloadURI("k", "", "p")).find("/00abcdef/"));

    now = 0;
    EXPECT_NE(std::string::npos, text(getDownloadURI("k", "", "p")).find("/00000000/"));
}

#ifndef __UCLIBC__  // whose seconds have 32 bits
TEST(GetDownloadURI, KeepsEightDigitsAfterTheYear2106) {
    now = 0x100000002;

    EXPECT_EQ(text(md5Encode("k/p00000002")) + "/00000002/p", text(getDownloadURI("k", "", "p")));
}
#endif

TEST(GetDownloadURI, TakesAnEmptyPathAndKey) {
    now = 16;

    EXPECT_EQ("/" + text(md5Encode("/00000010")) + "/00000010/", text(getDownloadURI("", "/", "")));
}

TEST(GetDownloadURI, TakesPercentSignsForText) {
    now = 16;

    EXPECT_EQ("%s" + text(md5Encode("%n/%d00000010")) + "/00000010/%d",
              text(getDownloadURI("%n", "%s", "%d")));
}

TEST(GetDownloadURI, TakesLongPaths) {
    const SyslogCapture log;
    now = 16;
    const std::string path(5000, 'p');

    const std::string address = text(getDownloadURI("k", "/", path.c_str()));

    EXPECT_EQ("/" + text(md5Encode(("k/" + path + "00000010").c_str())) + "/00000010/" + path,
              address);
}

}  // namespace
