// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "digest_login.h"

#include <inttypes.h>
#include <stdlib.h>

#include "zol/digest.h"

#include "secret.h"

namespace gardend {

namespace {

using Credentials = DigestCredentials;

constexpr int kDigestLength = 32;
constexpr uint32_t kLastCount = UINT32_MAX;

// Of nobody: so that the answer to an unknown user takes as long as to a wrong password.
constexpr char kNobodysHa1[] = "00000000000000000000000000000000";

// Looks at all users, wherever the one is. @return false when there is none of that name
bool findHa1(const zol::CTab<User>& users, const zol::CStr& name, zol::CStr& ha1) {
    bool isKnown = false;
    for (const User& user : users) {
        if (user.name == name) {
            ha1 = user.ha1;
            isKnown = true;
        }
    }
    return isKnown;
}

}  // namespace

zol::CStr makeResponse(const Credentials& credentials, const zol::CStr& method,
                       const zol::CStr& ha1) {
    CText action;
    action.add(method.get()).add(":").add(credentials[Credentials::kUri].get());
    const zol::CStr ha2 = md5Encode(action.getStr());
    CText middle;
    middle.add(credentials[Credentials::kCount].get()).add(":");
    middle.add(credentials[Credentials::kCnonce].get()).add(":auth");
    // A digest of what is incomplete might be one that somebody else can make.
    if (!action.isWhole() || !middle.isWhole() || !isDigest(ha1) || !isDigest(ha2)) {
        return zol::CStr();
    }
    const zol::CStr& nonce = credentials[Credentials::kNonce];
    return credentials.count > 0 ? generateAuthKey(ha1, nonce, middle.getStr(), ha2)
                                 : generateHa1(ha1, nonce, ha2);
}

int CDigestLogin::check(const HttpRequest& request, const zol::CTime& now, CText& fields) {
    if (m_users.isEmpty()) {
        return 0;
    }
    Credentials credentials;
    const int fault = readCredentials(request.authorization.get(), credentials);
    if (fault != 0) {
        return fault == 401 ? askForLogin(false, now, fields) : fault;
    }
    if (credentials[Credentials::kUri] != request.target) {
        return 400;
    }

    zol::CStr ha1(kNobodysHa1);
    const bool isKnown = findHa1(m_users, credentials[Credentials::kUsername], ha1);
    const zol::CStr response = makeResponse(credentials, request.method, ha1);
    if (response.isEmpty()) {
        return 503;
    }
    const bool isRight = isSameDigest(response, credentials[Credentials::kResponse]);
    if (!isRight || !isKnown || credentials[Credentials::kRealm] != kLoginRealm) {
        return askForLogin(false, now, fields);
    }
    // Who knows the password may try again with another nonce.
    return use(credentials, now) ? 0 : askForLogin(true, now, fields);
}

// A nonce is "STAMP-NUMBER-DIGEST": when it was made, a number by chance, and the proof of that.
int CDigestLogin::askForLogin(bool isStale, const zol::CTime& now, CText& fields) {
    const int64_t time = now.getMicroseconds();
    m_lastStamp = time > m_lastStamp ? time : m_lastStamp + 1;
    CText text;
    text.addFormat("%016" PRIx64 "-%s-", m_lastStamp, generateNonce().get());
    const zol::CStr proof = prove(text.getStr());
    if (!text.isWhole() || !isDigest(proof)) {
        return 503;
    }
    fields.add("WWW-Authenticate: Digest realm=\"").add(kLoginRealm).add("\", nonce=\"");
    fields.add(text).add(proof.get()).add("\", qop=\"auth\", algorithm=MD5");
    fields.add(isStale ? ", stale=true\r\n" : "\r\n");
    return 401;
}

// The secret stands at both ends: nothing can be added to a text whose proof is known.
// @return empty when there is no secret, or no memory
zol::CStr CDigestLogin::prove(const zol::CStr& text) const {
    return m_secret.isEmpty() ? zol::CStr()
                              : generateAuthKey(m_secret, text, kLoginRealm, m_secret);
}

bool CDigestLogin::isOurs(const zol::CStr& nonce) const {
    const int textLength = nonce.getLength() - kDigestLength;
    if (textLength <= 0) {
        return false;
    }
    const zol::CStr text(nonce.get(), textLength);
    return isSameDigest(prove(text), nonce.get() + textLength);
}

// Counts a request by who knows the password. @return false when its nonce is not good (any more)
bool CDigestLogin::use(const DigestCredentials& credentials, const zol::CTime& now) {
    const zol::CStr& nonce = credentials[Credentials::kNonce];
    if (!isOurs(nonce)) {
        return false;
    }
    const auto stamp = static_cast<int64_t>(strtoull(nonce.get(), nullptr, 16));
    UsedNonce* const used = zol::CTime(stamp) + kNonceLife < now ? nullptr : findUsed(stamp);
    const uint32_t count = credentials.count > 0 ? credentials.count : kLastCount;
    if (used == nullptr || used->count >= count) {
        return false;
    }
    used->count = count;
    return true;
}

// Finds a nonce, or gives it the place of the oldest one.
// @return null when it is older than one that had to go: what has become of it is not known
CDigestLogin::UsedNonce* CDigestLogin::findUsed(int64_t stamp) {
    UsedNonce* oldest = m_used;
    for (UsedNonce& used : m_used) {
        if (used.stamp == stamp) {
            return &used;
        }
        oldest = used.stamp < oldest->stamp ? &used : oldest;
    }
    if (stamp < oldest->stamp) {
        return nullptr;
    }
    *oldest = {stamp, 0};
    return oldest;
}

}  // namespace gardend
