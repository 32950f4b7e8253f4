// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// MD5 and base64 beside OpenSSL and GLib.
//
//   md5             digests a message
//   base64_encode   makes text of bytes, in memory that is there already
//   base64_decode   makes bytes of such a text, without line breaks
//
// OpenSSL's functions for blocks (EVP_EncodeBlock) do not skip anything when they decode; its MD5
// is written in assembly.

#include <algorithm>
#include <glib.h>
#include <openssl/evp.h>
#include <string.h>
#include <vector>

#include "zol/buffer.h"
#include "zol/digest.h"

#include "measure.h"

namespace {

constexpr int kSizes[] = {64, 1024, 1048576};

using Bytes = std::vector<unsigned char>;

Bytes makeBytes(int size) {
    bench::Numbers numbers;
    Bytes bytes(static_cast<size_t>(size));
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<unsigned char>(numbers.below(256)); });
    return bytes;
}

int lengthOf(const Bytes& bytes) {
    return static_cast<int>(bytes.size());
}

// --- MD5: each digests a message ---

void zolDigest(const Bytes& message, unsigned char* digest) {
    cvs_MD5Context context;
    cvs_MD5Init(&context);
    cvs_MD5Update(&context, message.data(), message.size());
    cvs_MD5Final(digest, &context);
}

void opensslDigest(const Bytes& message, unsigned char* digest) {
    static EVP_MD* const md5 = EVP_MD_fetch(nullptr, "MD5", nullptr);
    static EVP_MD_CTX* const context = EVP_MD_CTX_new();
    EVP_DigestInit_ex2(context, md5, nullptr);
    EVP_DigestUpdate(context, message.data(), message.size());
    EVP_DigestFinal_ex(context, digest, nullptr);
}

void glibDigest(const Bytes& message, unsigned char* digest) {
    static GChecksum* const checksum = g_checksum_new(G_CHECKSUM_MD5);
    g_checksum_reset(checksum);
    g_checksum_update(checksum, message.data(), static_cast<gssize>(message.size()));
    gsize length = 16;
    g_checksum_get_digest(checksum, digest, &length);
}

using Digest = void (*)(const Bytes& message, unsigned char* digest);

void addDigest(const char* peer, int size, Digest digest) {
    bench::add("md5", peer, size, [=](benchmark::State& state) {
        const Bytes message = makeBytes(size);
        unsigned char expected[16];
        unsigned char result[16];
        zolDigest(message, expected);
        digest(message, result);
        if (memcmp(expected, result, sizeof result) != 0) {
            state.SkipWithError("has another digest");
            return;
        }
        bench::measure(state, 1, [&] {
            digest(message, result);
            benchmark::DoNotOptimize(result);
        });
    });
}

// --- base64: each answers the length of what it writes ---

int zolEncode(const Bytes& in, Bytes& out) {
    int length = lengthOf(out);
    (void)xbase64_encode(reinterpret_cast<char*>(out.data()), &length, in.data(), lengthOf(in));
    return length - 1;
}

int opensslEncode(const Bytes& in, Bytes& out) {
    return EVP_EncodeBlock(out.data(), in.data(), lengthOf(in));
}

int glibEncode(const Bytes& in, Bytes& out) {
    gint state = 0;
    gint save = 0;
    auto* const text = reinterpret_cast<gchar*>(out.data());
    const gsize length = g_base64_encode_step(in.data(), in.size(), FALSE, text, &state, &save);
    return static_cast<int>(length + g_base64_encode_close(FALSE, text + length, &state, &save));
}

int zolDecode(const Bytes& in, Bytes& out) {
    int inLen = lengthOf(in);
    int length = lengthOf(out);
    (void)xbase64_decode(out.data(), &length, reinterpret_cast<const char*>(in.data()), &inLen);
    return length;
}

int opensslDecode(const Bytes& in, Bytes& out) {
    const int length = EVP_DecodeBlock(out.data(), in.data(), lengthOf(in));
    return length - static_cast<int>(std::count(in.end() - 2, in.end(), '='));
}

int glibDecode(const Bytes& in, Bytes& out) {
    gint state = 0;
    guint save = 0;
    return static_cast<int>(g_base64_decode_step(reinterpret_cast<const gchar*>(in.data()),
                                                 in.size(), out.data(), &state, &save));
}

using Codec = int (*)(const Bytes& in, Bytes& out);

void addCodec(const char* subject, const char* peer, const Bytes& in, const Bytes& expected,
              int size, Codec codec) {
    bench::add(subject, peer, size, [=](benchmark::State& state) {
        Bytes out(2 * in.size() + 64);
        const int length = codec(in, out);
        if (length != lengthOf(expected) ||
            memcmp(out.data(), expected.data(), expected.size()) != 0) {
            state.SkipWithError("has another result");
            return;
        }
        bench::measure(state, 1, [&] {
            benchmark::DoNotOptimize(codec(in, out));
            benchmark::ClobberMemory();
        });
    });
}

void addCodecs(int size) {
    const Bytes bytes = makeBytes(size);
    Bytes text(2 * bytes.size() + 64);
    text.resize(static_cast<size_t>(zolEncode(bytes, text)));
    addCodec("base64_encode", "zol", bytes, text, size, zolEncode);
    addCodec("base64_encode", "openssl", bytes, text, size, opensslEncode);
    addCodec("base64_encode", "glib", bytes, text, size, glibEncode);
    addCodec("base64_decode", "zol", text, bytes, size, zolDecode);
    addCodec("base64_decode", "openssl", text, bytes, size, opensslDecode);
    addCodec("base64_decode", "glib", text, bytes, size, glibDecode);
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes) {
        addDigest("zol", size, zolDigest);
        addDigest("openssl", size, opensslDigest);
        addDigest("glib", size, glibDigest);
        addCodecs(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
