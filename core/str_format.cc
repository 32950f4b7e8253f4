// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

#include "zol/str.h"

namespace {

// Formats a text that is known to have `length` bytes on the heap. False without memory.
ZOL_PRINTF(3, 0) bool setLongText(xstr* s, int length, const char* format, va_list args) {
    const int error = errno;  // the text may print it, and must be as long as it was measured
    const size_t size = static_cast<size_t>(length) + 1;
    char* const text = static_cast<char*>(malloc(size));
    if (text == nullptr) {
        return false;
    }
    syslog(LOG_NOTICE, "xstr_format, static buf is too small");
    errno = error;
    (void)vsnprintf(text, size, format, args);
    xstr_set(s, text, length);
    free(text);
    return true;
}

}  // namespace

int xstr_vformat(xstr* s, const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    char text[512];
    text[0] = '\0';
    int length = vsnprintf(text, sizeof text, format, args);
    if (length <= 511) {
        if (length < 0) {
            text[sizeof text - 1] = '\0';
        }
        xstr_set(s, text, length);
    } else if (!setLongText(s, length, format, again)) {
        length = -1;
    }
    va_end(again);
    return length;
}

int xstr_format(xstr* s, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = xstr_vformat(s, format, args);
    va_end(args);
    return length;
}

int zol::CStr::format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = xstr_vformat(&m_str, format, args);
    va_end(args);
    return length;
}
