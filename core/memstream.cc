// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Streams of stdio(3) on memory. The system's stream layer calls back to read, write, seek and
// close, and keeps a buffer of its own in between.

#include <errno.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zol/buffer.h"

#include "handle.h"

namespace {

struct Stream {
    void* target;      // the handle of a buffer or string; or the constant text itself
    int32_t size;      // of the data, as far as the stream knows
    int32_t position;  // where reading goes on
};

Stream& streamOf(void* cookie) {
    return *static_cast<Stream*>(cookie);
}

xbuffer* bufferOf(const Stream& stream) {
    return static_cast<xbuffer*>(stream.target);
}

xstr* stringOf(const Stream& stream) {
    return static_cast<xstr*>(stream.target);
}

int smaller(int a, int b) {
    return a < b ? a : b;
}

int countOf(size_t bytes) {
    return bytes < INT_MAX ? static_cast<int>(bytes) : INT_MAX;
}

// --- what the system's layer calls ---

// `present` is less than the stream knows when others have shortened the data.
ssize_t readData(Stream& stream, const void* data, int present, char* bytes, size_t room) {
    const int end = smaller(stream.size, present);
    if (stream.position >= end) {
        return 0;
    }
    const int count = smaller(end - stream.position, countOf(room));
    memcpy(bytes, static_cast<const char*>(data) + stream.position, static_cast<size_t>(count));
    stream.position += count;
    return count;
}

ssize_t readBuffer(void* cookie, char* bytes, size_t room) {
    Stream& stream = streamOf(cookie);
    xbuffer* const b = bufferOf(stream);
    return readData(stream, core::dataOf(b), xtab_get_count(b), bytes, room);
}

ssize_t readString(void* cookie, char* bytes, size_t room) {
    Stream& stream = streamOf(cookie);
    xstr* const s = stringOf(stream);
    return readData(stream, core::dataOf(core::tableOf(s)), xstr_get_length(s), bytes, room);
}

ssize_t readText(void* cookie, char* bytes, size_t room) {
    Stream& stream = streamOf(cookie);
    return readData(stream, stream.target, stream.size, bytes, room);
}

// What tells the stream that nothing could be written. Others than glibc take 0 for no error and
// lose the bytes, or try again for ever; glibc mistakes a negative number for a large one.
#if defined(__GLIBC__) && !defined(__UCLIBC__)
constexpr ssize_t kWriteFailed = 0;
#else
constexpr ssize_t kWriteFailed = -1;
#endif

ssize_t writeBuffer(void* cookie, const char* bytes, size_t length) {
    if (length == 0) {  // as musl asks for when it empties its buffer
        return 0;
    }
    Stream& stream = streamOf(cookie);
    xbuffer* const b = bufferOf(stream);
    const int count = countOf(length);
    const int end = smaller(stream.size, xtab_get_count(b));
    const int newSize = xtab_insert(b, &xbuffer_def, end, count, bytes);
    if (newSize == -1) {
        return kWriteFailed;
    }
    stream.size = newSize;
    return count;
}

ssize_t writeString(void* cookie, const char* bytes, size_t length) {
    if (length == 0) {
        return 0;
    }
    Stream& stream = streamOf(cookie);
    xstr* const s = stringOf(stream);
    const int count = countOf(length);
    const int before = xstr_get_length(s);
    if (before == 0) {
        xstr_set(s, bytes, count);
    } else if (xtab_insert(core::tableOf(s), &xstr_def, smaller(stream.size, before), count,
                           bytes) == -1 &&
               core::dataOf(core::tableOf(s)) == nullptr) {
        xstr_init(s);
    }
    const int after = xstr_get_length(s);
    if (after <= before) {
        return kWriteFailed;
    }
    stream.size = after;
    return count;
}

// Where nothing is read, the position follows what is written, as in a file.
template <ssize_t (*write)(void*, const char*, size_t)>
ssize_t writeAndFollow(void* cookie, const char* bytes, size_t length) {
    const ssize_t written = write(cookie, bytes, length);
    streamOf(cookie).position = streamOf(cookie).size;
    return written;
}

int seek(void* cookie, off64_t* offset, int whence) {
    Stream& stream = streamOf(cookie);
    // Deliberate: of an offset the low 32 bits count. Pinned by
    // MemStreamSeek.TakesTheLow32BitsOfAnOffset.
    int64_t position = static_cast<int32_t>(*offset);
    switch (whence) {
        case SEEK_SET:
            break;
        case SEEK_CUR:
            position += stream.position;
            break;
        case SEEK_END:
            position += stream.size;
            break;
        default:
            position = -1;
    }
    if (position < 0 || position > stream.size) {
        errno = EINVAL;
        return -1;
    }
    stream.position = static_cast<int32_t>(position);
    *offset = position;  // which ftell(3) relies on
    return 0;
}

int close(void* cookie) {
    free(cookie);
    return 0;
}

// What is done with a kind of target; the second ones where the mode is "w".
constexpr cookie_io_functions_t kBufferFunctions[] = {
    {readBuffer, writeBuffer, seek, close},
    {nullptr, writeAndFollow<writeBuffer>, seek, close},
};
constexpr cookie_io_functions_t kStringFunctions[] = {
    {readString, writeString, seek, close},
    {nullptr, writeAndFollow<writeString>, seek, close},
};
constexpr cookie_io_functions_t kTextFunctions = {readText, nullptr, seek, close};

// --- opening ---

bool isMode(const char* mode) {
    if (*mode != 'r' && *mode != 'w' && *mode != 'a') {
        return false;
    }
    return strcmp(mode + 1, "") == 0 || strcmp(mode + 1, "+") == 0;
}

// The mode for the system's layer, which has to know that writing goes to the end.
const char* layerMode(const char* mode) {
    if (mode[1] == '+' || *mode == 'a') {
        return "a+";
    }
    return *mode == 'w' ? "a" : "r";
}

FILE* open(void* target, int size, const char* mode, const cookie_io_functions_t& functions) {
    auto* const stream = static_cast<Stream*>(malloc(sizeof(Stream)));
    if (stream == nullptr) {
        return nullptr;
    }
    *stream = {target, size, 0};
    FILE* const file = fopencookie(stream, layerMode(mode), functions);
    if (file == nullptr) {
        free(stream);
    }
    return file;
}

bool isWriteOnly(const char* mode) {
    return strcmp(mode, "w") == 0;
}

FILE* refuseMode() {
    errno = EINVAL;
    return nullptr;
}

}  // namespace

FILE* xbuffer_fopen(xbuffer* b, const char* mode) {
    if (!isMode(mode)) {
        return refuseMode();
    }
    const bool empties = *mode == 'w';
    FILE* const file =
        open(b, empties ? 0 : xtab_get_count(b), mode, kBufferFunctions[isWriteOnly(mode)]);
    if (file != nullptr && empties) {
        xsbuf_free(b);
    }
    return file;
}

FILE* xstr_fopen(xstr* s, const char* mode) {
    if (!isMode(mode)) {
        return refuseMode();
    }
    const bool empties = *mode == 'w';
    FILE* const file =
        open(s, empties ? 0 : xstr_get_length(s), mode, kStringFunctions[isWriteOnly(mode)]);
    if (file != nullptr && empties) {
        xstr_free(s);
    }
    return file;
}

FILE* xstr_fopen_cstr(const char* text, const char* mode) {
    if (strcmp(mode, "r") != 0) {
        return refuseMode();
    }
    return open(const_cast<char*>(text), countOf(strlen(text)), mode, kTextFunctions);
}
