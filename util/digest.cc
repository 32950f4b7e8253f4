// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/digest.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// The hash of several texts behind one another. They are never put together: without memory a part
// of them could pass for the whole.
class Hash {
  public:
    Hash() { cvs_MD5Init(&m_context); }

    Hash& add(const char* text, int length) {
        cvs_MD5Update(&m_context, reinterpret_cast<const unsigned char*>(text),
                      static_cast<size_t>(length));
        return *this;
    }
    Hash& add(const char* text) { return add(text, static_cast<int>(strlen(text))); }
    Hash& add(const zol::CStr& text) { return add(text.get(), text.getLength()); }

    zol::CStr get() {
        unsigned char digest[16];
        cvs_MD5Final(digest, &m_context);
        return binary2hexstring(digest, sizeof digest);
    }

  private:
    cvs_MD5Context m_context;
};

}  // namespace

zol::CStr binary2hexstring(const unsigned char* bytes, int length) {
    zol::CStr result;
    if (length < 1 || length > (INT32_MAX - 1) / 2) {
        return result;
    }
    const int size = 2 * length + 1;
    char* out = xstr_get_buffer(result.handle(), size);
    if (out == nullptr) {
        return result;
    }
    for (int i = 0; i < length; ++i) {
        *out++ = kHexDigits[bytes[i] >> 4];
        *out++ = kHexDigits[bytes[i] & 15];
    }
    xstr_release_buffer(result.handle(), size);
    return result;
}

zol::CStr md5Encode(const zol::CStr& text) {
    return Hash().add(text).get();
}

zol::CStr zolcrypt::hashEncode(const zol::CStr& text) {
    return md5Encode(text);
}

zol::CStr generateNonce() {
    const auto first = static_cast<uint32_t>(random());
    const auto second = static_cast<uint32_t>(random());
    zol::CStr nonce;
    (void)nonce.format("%u", static_cast<unsigned>(first + second));
    return nonce;
}

zol::CStr generateHa1(const zol::CStr& user, const zol::CStr& realm, const zol::CStr& password) {
    return Hash().add(user).add(":").add(realm).add(":").add(password).get();
}

zol::CStr generateAuthKey(const zol::CStr& first, const zol::CStr& second, const zol::CStr& third,
                          const zol::CStr& fourth) {
    return Hash().add(first).add(":").add(second).add(":").add(third).add(":").add(fourth).get();
}

zol::CStr getDownloadURI(const char* key, const char* prefix, const char* path) {
    char stamp[9];
    (void)snprintf(stamp, sizeof stamp, "%08x", static_cast<unsigned>(time(nullptr)));
    const zol::CStr hash = Hash().add(key).add("/").add(path).add(stamp).get();
    zol::CStr address;
    if (!hash.isEmpty()) {
        (void)address.format("%s%s/%s/%s", prefix, hash.get(), stamp, path);
    }
    return address;
}
