// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "digest_credentials.h"

#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include "http_parser.h"

namespace gardend {

namespace {

using Credentials = DigestCredentials;

constexpr char kBlanks[] = " \t";
constexpr const char* kNames[Credentials::kNameCount] = {
    "username", "realm", "nonce", "uri", "response", "algorithm", "qop", "nc", "cnonce",
};

bool isWord(const char* text, size_t length, const char* word) {
    return length == strlen(word) && strncasecmp(text, word, length) == 0;
}

size_t tokenLength(const char* text) {
    size_t length = 0;
    while (isTokenCharacter(text[length])) {
        ++length;
    }
    return length;
}

// Reads a text up to its closing quote. @return behind that; null when there is none
const char* readQuoted(const char* rest, CText& value) {
    for (;;) {
        const size_t plain = strcspn(rest, "\"\\");
        value.add(rest, static_cast<int>(plain));
        rest += plain;
        if (*rest == '"') {
            return rest + 1;
        }
        if (*rest == '\0' || rest[1] == '\0') {
            return nullptr;
        }
        value.add(rest + 1, 1);
        rest += 2;
    }
}

// Reads a token, or a text in quotes. @return behind it; null when it is malformed
const char* readValue(const char* rest, CText& value) {
    if (*rest == '"') {
        return readQuoted(rest + 1, value);
    }
    const size_t length = tokenLength(rest);
    value.add(rest, static_cast<int>(length));
    return length == 0 ? nullptr : rest + length;
}

// Reads "name=value". @return behind it; null when it is malformed, or there already
const char* readParameter(const char* rest, Credentials& credentials) {
    const size_t length = tokenLength(rest);
    int name = 0;
    while (name < Credentials::kNameCount && !isWord(rest, length, kNames[name])) {
        ++name;
    }
    rest += length;
    rest += strspn(rest, kBlanks);
    if (length == 0 || *rest != '=') {
        return nullptr;
    }
    ++rest;
    rest += strspn(rest, kBlanks);

    if (name == Credentials::kNameCount) {
        CText unknown;
        return readValue(rest, unknown);
    }
    if (credentials.isThere[name]) {
        return nullptr;
    }
    credentials.isThere[name] = true;
    return readValue(rest, credentials.values[name]);
}

// Reads a list of parameters, whose parts may be empty. @return false when it is malformed
bool readParameters(const char* rest, Credentials& credentials) {
    for (rest += strspn(rest, " \t,"); *rest != '\0'; rest += strspn(rest, " \t,")) {
        rest = readParameter(rest, credentials);
        if (rest == nullptr) {
            return false;
        }
        rest += strspn(rest, kBlanks);
        if (*rest != ',' && *rest != '\0') {
            return false;
        }
    }
    return true;
}

bool isWhole(const Credentials& credentials) {
    for (const CText& value : credentials.values) {
        if (!value.isWhole()) {
            return false;
        }
    }
    return true;
}

// @return 0 for what is no count
uint32_t readCount(const zol::CStr& digits) {
    const bool isCount =
        digits.getLength() == 8 && strspn(digits.get(), "0123456789abcdefABCDEF") == 8;
    return isCount ? static_cast<uint32_t>(strtoul(digits.get(), nullptr, 16)) : 0;
}

// @return whether all is there that is needed, and nothing was chosen that was not offered
bool isUsable(const Credentials& credentials) {
    for (const Credentials::Name name :
         {Credentials::kUsername, Credentials::kRealm, Credentials::kNonce, Credentials::kUri,
          Credentials::kResponse}) {
        if (!credentials.isThere[name]) {
            return false;
        }
    }
    if (credentials.isThere[Credentials::kAlgorithm] &&
        strcasecmp(credentials[Credentials::kAlgorithm].get(), "MD5") != 0) {
        return false;
    }
    return !credentials.isThere[Credentials::kQop] ||
           (credentials[Credentials::kQop] == "auth" && credentials.count > 0 &&
            credentials.isThere[Credentials::kCnonce]);
}

}  // namespace

int readCredentials(const char* field, DigestCredentials& credentials) {
    const size_t length = tokenLength(field);
    if (!isWord(field, length, "Digest")) {
        return 401;
    }
    const bool isWellFormed = readParameters(field + length, credentials);
    if (!isWhole(credentials)) {
        return 503;
    }
    if (credentials.isThere[Credentials::kQop]) {
        credentials.count = readCount(credentials[Credentials::kCount]);
    }
    return isWellFormed && isUsable(credentials) ? 0 : 400;
}

}  // namespace gardend
