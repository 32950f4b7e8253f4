// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Text made plain: any bytes become what the rules, one by one, make of them.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zol/str.h"

#include "support/plain_text_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    zol::CStr utf8(text.data(), static_cast<int>(size));
    zol::CStr page437(utf8);

    xstr_replaceSpecialCharUTF8(utf8.handle());
    xstr_replaceSpecialCharASCII(page437.handle());

    const std::string plain(utf8.get(), static_cast<size_t>(utf8.getLength()));
    if (plain != plainText(text) || page437.getLength() != static_cast<int>(size)) {
        abort();
    }
    return 0;
}
