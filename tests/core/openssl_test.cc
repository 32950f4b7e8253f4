// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Base64 and MD5 of random bytes, compared with what the program openssl(1) makes of them.

#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <stdio.h>
#include <string>

#include "zol/buffer.h"
#include "zol/digest.h"

#include "support/owned_str.h"
#include "support/temp_dir.h"

namespace {

std::string outputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    for (int character = fgetc(pipe); character != EOF; character = fgetc(pipe)) {
        output += static_cast<char>(character);
    }
    EXPECT_EQ(0, pclose(pipe)) << command;
    return output;
}

class OpenSsl : public ::testing::Test {
  protected:
    // A file of so many random bytes.
    void makeFile(size_t size) {
        m_bytes.resize(size);
        for (char& byte : m_bytes) {
            byte = static_cast<char>(m_random());
        }
        std::ofstream(m_path, std::ios::binary) << m_bytes;
    }

    const unsigned char* bytes() const {
        return reinterpret_cast<const unsigned char*>(m_bytes.data());
    }
    int length() const { return static_cast<int>(m_bytes.size()); }

    const unsigned m_seed = std::random_device()();
    std::mt19937 m_random{m_seed};
    const TempDir m_folder;
    const std::string m_path = m_folder.file("bytes");
    std::string m_bytes;
};

constexpr size_t kSizes[] = {1, 2, 3, 55, 56, 63, 64, 65, 119, 120, 1000, 4097, 100003};

TEST_F(OpenSsl, DigestsAsWeDo) {
    SCOPED_TRACE(testing::Message() << "seed " << m_seed);
    for (const size_t size : kSizes) {
        makeFile(size);

        const zol::CStr text(m_bytes.data(), length());

        EXPECT_EQ(outputOf("openssl md5 -r <" + m_path).substr(0, 32), md5Encode(text).get())
            << size;
    }
}

TEST_F(OpenSsl, EncodesAsWeDo) {
    SCOPED_TRACE(testing::Message() << "seed " << m_seed);
    for (const size_t size : kSizes) {
        makeFile(size);

        OwnedStr text;
        ASSERT_EQ(0, xbase64_encode_buffer(text, bytes(), length()));

        EXPECT_TRUE(outputOf("openssl base64 -A -in " + m_path) == text.h) << size;
    }
}

TEST_F(OpenSsl, WritesLinesThatWeDecode) {
    SCOPED_TRACE(testing::Message() << "seed " << m_seed);
    for (const size_t size : kSizes) {
        makeFile(size);
        const std::string lines = outputOf("openssl base64 -in " + m_path);

        xbuffer decoded = nullptr;
        int inLen = static_cast<int>(lines.size());
        EXPECT_EQ(0, xbase64_decode_buffer(&decoded, lines.data(), &inLen));

        EXPECT_TRUE(m_bytes == std::string(static_cast<char*>(decoded),
                                           static_cast<size_t>(xtab_get_count(&decoded))))
            << size;
        xsbuf_free(&decoded);
    }
}

TEST(Base64, ComesBackAsItWas) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 100, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        OwnedStr text;
        ASSERT_EQ(0, xbase64_encode_buffer(text, reinterpret_cast<unsigned char*>(&bytes[0]),
                                           static_cast<int>(bytes.size())));
        std::string interrupted;
        for (const char* character = text.h; *character != '\0'; ++character) {
            interrupted += random() % 8 == 0 ? "\r\n" : "";
            interrupted += *character;
        }
        xbuffer decoded = nullptr;
        int inLen = static_cast<int>(interrupted.size());

        ASSERT_EQ(0, xbase64_decode_buffer(&decoded, interrupted.data(), &inLen));

        ASSERT_EQ(static_cast<int>(bytes.size()), xtab_get_count(&decoded));
        ASSERT_TRUE(bytes.empty() || memcmp(bytes.data(), decoded, bytes.size()) == 0);
        xsbuf_free(&decoded);
    }
}

}  // namespace
