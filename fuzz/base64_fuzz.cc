// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Base64: any text is decoded as an obvious decoder does it, and what comes out of it comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zol/buffer.h"

#include "support/base64_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

// A vector of just the room that is told, so that a byte behind it is seen.
void decode(const std::string& text, size_t room) {
    const Base64Oracle oracle(text, room);
    std::vector<unsigned char> out(room);
    int outLen = static_cast<int>(room);
    int inLen = static_cast<int>(text.size());

    const int result = xbase64_decode(out.data(), &outLen, text.data(), &inLen);

    require(result == (oracle.fails ? -1 : 0));
    require(inLen == static_cast<int>(oracle.isIncomplete ? oracle.groupStart : text.size()));
    if (result == 0) {
        require(std::string(out.begin(), out.begin() + outLen) == oracle.bytes);
    }
}

void encode(const std::string& bytes) {
    zol::CStr text;
    require(xbase64_encode_buffer(text.handle(),
                                  reinterpret_cast<const unsigned char*>(bytes.data()),
                                  static_cast<int>(bytes.size())) == 0);
    const std::string encoded(text.get(), static_cast<size_t>(text.getLength()));
    const Base64Oracle back(encoded, bytes.size());
    require(!back.fails && back.bytes == bytes);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    decode(text, data[0] % (text.size() + 1));
    decode(text, text.size());
    encode(text);
    return 0;
}
