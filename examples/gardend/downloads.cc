// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "downloads.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "zol/digest.h"

#include "secret.h"

namespace gardend {

namespace {

constexpr char kPrefix[] = "/log/";
constexpr size_t kHashLength = 32;
constexpr size_t kStampLength = 8;

// Never a part of a path other than the last, and never a hidden file.
bool isLogName(const char* name) {
    const size_t stem = strspn(name,
                               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "0123456789_-");
    if (stem == 0 || strncmp(name + stem, ".log", 4) != 0) {
        return false;
    }
    const char* const rotated = name + stem + 4;  // ".1", or nothing
    return *rotated == '\0' || (*rotated == '.' && rotated[1] != '\0' &&
                                rotated[1 + strspn(rotated + 1, "0123456789")] == '\0');
}

/** The parts of "/log/HASH/STAMP/NAME", each up to the next slash. */
struct Address {
    const char* hash;
    const char* stamp;
    const char* name;
};

// Skips so many hexadecimal digits and a slash. @return false when something else is there
bool skipHex(const char*& rest, size_t length) {
    if (strspn(rest, "0123456789abcdef") != length || rest[length] != '/') {
        return false;
    }
    rest += length + 1;
    return true;
}

bool readAddress(const char* path, Address& address) {
    const char* rest = path + strlen(kPrefix);
    address.hash = rest;
    if (!skipHex(rest, kHashLength)) {
        return false;
    }
    address.stamp = rest;
    if (!skipHex(rest, kStampLength)) {
        return false;
    }
    address.name = rest;
    return isLogName(rest);
}

// Opens a file that is neither a link to somewhere else nor something that makes us wait.
// @return 0; else what to say
int openFile(const char* path, int& fd, off_t& size) {
    fd = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) {
        return errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? 404 : 503;
    }
    struct stat status = {};
    const bool isKnown = fstat(fd, &status) == 0;
    if (!isKnown || !S_ISREG(status.st_mode)) {
        (void)close(fd);
        return isKnown ? 404 : 503;
    }
    size = status.st_size;
    return 0;
}

// Finds what to serve of a large file: from the beginning of a line on, where there is one.
off_t findStart(int fd, off_t size) {
    const off_t cut = size - CDownloads::kMaxFileSize;
    if (cut <= 0) {
        return 0;
    }
    char bytes[8192];
    ssize_t count = 0;
    // From the byte before, for the cut may be the beginning of a line.
    for (off_t at = cut - 1; (count = pread(fd, bytes, sizeof(bytes), at)) > 0; at += count) {
        const void* const end = memchr(bytes, '\n', static_cast<size_t>(count));
        if (end != nullptr) {
            const off_t start = at + (static_cast<const char*>(end) - bytes) + 1;
            return start < size ? start : cut;
        }
    }
    return cut;
}

void insertSorted(zol::CTab<zol::CStr>& names, const char* name) {
    int index = 0;
    while (index < names.getCount() && strcmp(names[index].get(), name) < 0) {
        ++index;
    }
    const zol::CStr copy(name);
    if (copy == name) {
        (void)names.insert(index, copy);
    }
    if (names.getCount() > CDownloads::kMostFiles) {
        (void)names.remove(CDownloads::kMostFiles);
    }
}

}  // namespace

void CDownloads::configure(const zol::CStr& key, int minutes, const zol::CStr& folder) {
    m_key = key;
    m_minutes = minutes;
    m_folder = folder;
}

zol::CTab<zol::CStr> CDownloads::list() const {
    zol::CTab<zol::CStr> names;
    DIR* const folder = isOn() ? opendir(m_folder.get()) : nullptr;
    if (folder == nullptr) {
        return names;
    }
    while (const dirent* const entry = readdir(folder)) {
        struct stat status = {};
        if (isLogName(entry->d_name) &&
            fstatat(dirfd(folder), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            insertSorted(names, entry->d_name);
        }
    }
    (void)closedir(folder);
    return names;
}

zol::CStr CDownloads::makeAddress(const zol::CStr& name) const {
    return getDownloadURI(m_key.get(), kPrefix, name.get());
}

bool CDownloads::isAddress(const zol::CStr& path) {
    return strncmp(path.get(), kPrefix, strlen(kPrefix)) == 0;
}

void CDownloads::answer(const zol::CStr& path, time_t now, HttpAnswer& answer) const {
    Address address = {};
    int fault = 404;
    if (isOn() && readAddress(path.get(), address)) {
        fault = check(address.hash, address.stamp, address.name, now);
        fault = fault == 0 ? read(address.name, answer.body) : fault;
    }
    if (fault != 0) {
        makeError(fault, answer);
        return;
    }
    answer.fields.add("Content-Disposition: attachment\r\n");
}

// @return 0 for an address that was made here, and not too long ago; else what to say
int CDownloads::check(const char* hash, const char* stamp, const char* name, time_t now) const {
    CText proven;
    proven.add(m_key.get()).add("/").add(name).add(stamp, kStampLength);
    const zol::CStr expected = md5Encode(proven.getStr());
    const zol::CStr given(hash, kHashLength);
    if (!proven.isWhole() || expected.isEmpty() || given.isEmpty()) {
        return 503;
    }
    if (!isSameDigest(expected, given)) {
        return 403;
    }
    // Modulo 2^32, as the stamp is.
    const auto made = static_cast<uint32_t>(strtoul(stamp, nullptr, 16));
    const auto ageSeconds = static_cast<int32_t>(static_cast<uint32_t>(now) - made);
    if (ageSeconds < -kMaxSkewSeconds) {
        return 403;
    }
    return ageSeconds <= m_minutes * 60 ? 0 : 410;
}

// Reads a file; of a large one the end.
// @return 0; else what to say
int CDownloads::read(const char* name, CText& content) const {
    CText path;
    path.add(m_folder.get()).add("/").add(name);
    if (!path.isWhole()) {
        return 503;
    }
    int fd = -1;
    off_t size = 0;
    const int fault = openFile(path.get(), fd, size);
    if (fault != 0) {
        return fault;
    }
    off_t at = findStart(fd, size);
    char bytes[8192];
    ssize_t count = 0;
    while (at < size) {
        // No more than that, should the file grow.
        const auto wanted = static_cast<size_t>(size - at);
        count = pread(fd, bytes, wanted < sizeof(bytes) ? wanted : sizeof(bytes), at);
        if (count <= 0) {
            break;
        }
        at += count;
        content.add(bytes, static_cast<int>(count));
    }
    (void)close(fd);
    return count < 0 ? 503 : 0;
}

}  // namespace gardend
