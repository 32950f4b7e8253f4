// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// gardend's readers of what HTTP clients send: any bytes become the same requests wherever they are
// cut, and the field Authorization says the same when it is written in another way. None of them
// logs in, and none is the address of a download. The first byte of the input decides where to cut.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <syslog.h>
#include <vector>

#include "digest_login.h"
#include "downloads.h"
#include "http_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using gardend::CHttpParser;
using gardend::DigestCredentials;

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}

std::string describe(const gardend::HttpRequest& request) {
    std::string text;
    for (const zol::CStr* part : {&request.method, &request.target, &request.path,
                                  &request.languages, &request.authorization}) {
        text += part->get() + std::string("\n");
    }
    return text + (request.keepAlive ? "stays" : "ends");
}

// What comes of the bytes when they come in pieces of a size. The credentials are seen, too.
std::vector<std::string> parse(const std::string& bytes, size_t pieceSize,
                               std::vector<std::string>& credentials) {
    std::vector<std::string> found;
    CHttpParser parser;
    for (size_t at = 0; at < bytes.size() && parser.getState() != CHttpParser::kFailed;) {
        const size_t size = std::min(pieceSize, bytes.size() - at);
        const int taken = parser.feed(bytes.data() + at, static_cast<int>(size));
        check(taken > 0 && taken <= static_cast<int>(size), "it takes some of the bytes");
        at += static_cast<size_t>(taken);
        if (parser.getState() == CHttpParser::kComplete) {
            found.push_back(describe(parser.getRequest()));
            credentials.emplace_back(parser.getRequest().authorization.get());
            parser.restart();
        } else if (parser.getState() == CHttpParser::kIncomplete) {
            check(taken == static_cast<int>(size), "it takes all of what is not complete");
        }
    }
    if (parser.getState() == CHttpParser::kFailed) {
        found.push_back(std::to_string(parser.getError()));
    }
    return found;
}

// Writes credentials with all values in quotes, and every character escaped.
std::string write(const DigestCredentials& credentials) {
    constexpr const char* kNames[] = {"username",  "realm", "nonce", "uri",   "response",
                                      "algorithm", "qop",   "nc",    "cnonce"};
    std::string text = "dIGEST";
    for (int i = DigestCredentials::kNameCount - 1; i >= 0; --i) {
        if (credentials.isThere[i]) {
            text += std::string(" ") + kNames[i] + "\t= \"";
            for (const char* c = credentials.values[i].get(); *c != '\0'; ++c) {
                text += std::string("\\") + *c;
            }
            text += "\" ,other=\"\\\"\",";
        }
    }
    return text;
}

void checkCredentials(const std::string& field) {
    DigestCredentials credentials;
    const int status = gardend::readCredentials(field.c_str(), credentials);
    check(status == 0 || status == 400 || status == 401, "it is good, malformed, or none");
    if (status != 0) {
        return;
    }
    DigestCredentials again;
    check(gardend::readCredentials(write(credentials).c_str(), again) == 0, "it is good again");
    check(credentials.count == again.count, "the count is the same");
    for (int i = 0; i < DigestCredentials::kNameCount; ++i) {
        check(credentials.isThere[i] == again.isThere[i], "the same are there");
        check(credentials.values[i].getStr() == again.values[i].getStr(), "they are the same");
    }
}

// Nobody knows the secret, the password and the key.
void checkLogin(const gardend::HttpRequest& request) {
    (void)setlogmask(LOG_MASK(LOG_EMERG));  // wrong logins are logged
    zol::CTab<gardend::User> users;
    users.append({"a", "00112233445566778899aabbccddeeff"});
    gardend::CDigestLogin login("ffeeddccbbaa99887766554433221100");
    login.setUsers(users);
    gardend::CText fields;
    const int status = login.check(request, zol::CTime(1000000), fields);
    check(status == 400 || status == 401, "nobody is let in");
    check(fields.isEmpty() == (status == 400), "a login is asked for");
}

void checkAddress(const zol::CStr& path) {
    gardend::CDownloads downloads;
    downloads.configure("key", 10, "/nowhere");
    gardend::HttpAnswer answer;
    downloads.answer(path, 0x5f5e1000, answer);
    check(answer.status == 403 || answer.status == 404, "nothing is served");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<std::string> credentials;
    const std::vector<std::string> whole = parse(bytes, bytes.size() + 1, credentials);
    check(parse(bytes, 1, credentials) == whole, "single bytes make no difference");
    check(parse(bytes, data[0] + 1U, credentials) == whole, "pieces make no difference");
    for (const std::string& field : credentials) {
        checkCredentials(field);
    }
    const zol::CStr text(bytes.c_str());
    checkCredentials(text.get());
    gardend::HttpRequest request;
    request.authorization = text;
    checkLogin(request);
    if (gardend::CDownloads::isAddress(text)) {
        checkAddress(text);
    }
    return 0;
}
