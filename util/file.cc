// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/file.h"

#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "core/diag.h"

namespace {

// Owns a stream. Closing it by hand tells what close() says.
class Stream {
  public:
    Stream(const char* path, const char* mode) : m_file(fopen(path, mode)) {}
    ~Stream() {
        if (m_file != nullptr) {
            (void)fclose(m_file);
        }
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    FILE* get() const { return m_file; }

    int close() {
        FILE* const file = m_file;
        m_file = nullptr;
        return fclose(file);
    }

    // Leaves the stream at its end. -1 when that cannot be told.
    off_t measure() { return fseeko(m_file, 0, SEEK_END) == 0 ? ftello(m_file) : -1; }

  private:
    FILE* m_file;
};

static_assert(sizeof(off_t) == 8, "files of more than 2 GiB have sizes, too");

// Whether two streams at their start, of `size` bytes each, begin their blocks alike.
bool areAlike(Stream& a, Stream& b, off_t size) {
    // Deliberate: blocks of four bytes, of which the first counts; what is left of a block that is
    // not whole is not looked at. Pinned by
    // IsSameFile.ComparesTheFirstByteOfEachFour and .DoesNotSeeTheBytesBehindTheLastWholeBlock.
    constexpr size_t kBlock = 4;
    for (off_t passed = 0; passed < size; passed += kBlock) {
        char blockOfA[kBlock] = {};
        char blockOfB[kBlock] = {};
        const size_t read = fread(blockOfA, kBlock, 1, a.get());
        (void)fread(blockOfB, kBlock, 1, b.get());
        if (read == 0) {
            break;
        }
        if (memcmp(blockOfA, blockOfB, read) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

int zol::CFileUtil::writeFile(const char* path, const char* text, int mode) {
    Stream file(path, mode == 1 ? "a" : "w");
    if (!file.isOpen()) {
        // Deliberate: the caller is not told. Pinned by
        // WriteFile.ThatCannotBeOpenedAnswersZeroAllTheSame.
        return 0;
    }
    (void)fwrite(text, 1, strlen(text), file.get());
    return file.close();
}

int zol::CFileUtil::readFile(const char* path, char* buffer, unsigned size) {
    const Stream file(path, "r");
    if (!file.isOpen()) {
        buffer[0] = '\0';
        return 1;
    }
    const size_t length = fread(buffer, 1, size - 1, file.get());
    buffer[length] = '\0';
    return 0;
}

bool zol::CFileUtil::fileExists(const char* path) {
    struct stat status = {};
    return stat(path, &status) == 0;
}

int zol::CFileUtil::copy(const char* from, const char* to) {
    const Stream source(from, "r");
    if (!source.isOpen()) {
        return 1;
    }
    const Stream target(to, "w+");
    if (!target.isOpen()) {
        return 1;
    }
    char chunk[4096];
    size_t length = 0;
    while ((length = fread(chunk, 1, sizeof chunk, source.get())) > 0) {
        (void)fwrite(chunk, 1, length, target.get());
    }
    return 0;
}

bool zol::CFileUtil::isSameFile(const char* a, const char* b) {
    Stream fileA(a, "r");
    if (!fileA.isOpen()) {
        DIAGF(LOG_DEBUG, "open %s failed", a);
        return false;
    }
    Stream fileB(b, "r");
    if (!fileB.isOpen()) {
        DIAGF(LOG_DEBUG, "open %s failed", b);
        return false;
    }
    const off_t size = fileA.measure();
    if (size != fileB.measure()) {
        DIAG(LOG_DEBUG, "size different");
        return false;
    }
    rewind(fileA.get());
    rewind(fileB.get());
    return areAlike(fileA, fileB, size);
}

int zol::CFileUtil::getFileSize(const char* path) {
    Stream file(path, "r");
    if (!file.isOpen()) {
        DIAGF(LOG_ERR, "open %s failed", path);
        return 0;
    }
    const off_t size = file.measure();
    return size > INT_MAX ? -1 : static_cast<int>(size);
}
