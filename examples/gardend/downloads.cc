// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "downloads.h"

#include <dirent.h>
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
// @return -1 when there is none
int openFile(const char* path, off_t& size) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    struct stat status = {};
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        (void)close(fd);
        return -1;
    }
    size = status.st_size;
    return fd;
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
        if (isLogName(entry->d_name) && names.getCount() < kMostFiles &&
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

// Reads a file; of a large one the end, from the beginning of a line on.
// @return 0; else what to say
int CDownloads::read(const char* name, CText& content) const {
    CText path;
    path.add(m_folder.get()).add("/").add(name);
    if (!path.isWhole()) {
        return 503;
    }
    off_t size = 0;
    const int fd = openFile(path.get(), size);
    if (fd < 0) {
        return 404;
    }
    off_t at = size > kMaxFileSize ? size - kMaxFileSize : 0;
    bool isInCutLine = at > 0;
    char bytes[8192];
    ssize_t count = 0;
    while (at < size && (count = pread(fd, bytes, sizeof(bytes), at)) > 0) {
        at += count;
        const char* begin = bytes;
        if (isInCutLine) {
            const void* const end = memchr(bytes, '\n', static_cast<size_t>(count));
            if (end == nullptr) {
                continue;
            }
            begin = static_cast<const char*>(end) + 1;
            isInCutLine = false;
        }
        content.add(begin, static_cast<int>(bytes + count - begin));
    }
    (void)close(fd);
    return count < 0 ? 503 : 0;
}

}  // namespace gardend
