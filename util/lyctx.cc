// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What the texts of a location are for: an error report shows the line with a mark under the token.
// The lexer has the line only as far as it has been read, in pieces, and the record has room for 59
// characters. So the line keeps its end, and the token's text as much of the line as leaves room
// for the token, but 30 characters at least.

#include "zol/lyctx.h"

#include <errno.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/str.h"

namespace {

constexpr int kMostText = ZOL_LYCTX_TEXT_SIZE - 1;
constexpr int kLeastContext = 30;  // characters before a token that are kept

static_assert(offsetof(xlyctx_location_s, token_text) == 16 &&
                  offsetof(xlyctx_location_s, line_text) == 76 &&
                  offsetof(xlyctx_location_s, token_position) == 136 &&
                  sizeof(xlyctx_location_s) == 140,
              "shared with generated code");
static_assert(offsetof(xlyctx_s, own) == sizeof(void*) &&
                  offsetof(xlyctx_s, error) == sizeof(void*) + 8,
              "shared with generated code");

int lengthOf(const char* text) {
    return static_cast<int>(strnlen(text, kMostText));
}

// Appends bytes that fit.
void append(char* text, int length, const char* bytes, int count) {
    memcpy(text + length, bytes, static_cast<size_t>(count));
    text[length + count] = '\0';
}

// Returns the length that is left.
int dropFront(char* text, int length, int count) {
    memmove(text, text + count, static_cast<size_t>(length - count));
    return length - count;
}

// Appends bytes, and keeps the end of what that makes.
void appendKeepingEnd(char* text, const char* bytes, int count) {
    const int skipped = count > kMostText ? count - kMostText : 0;
    const int taken = count - skipped;
    int length = lengthOf(text);
    if (length + taken > kMostText) {
        length = dropFront(text, length, length + taken - kMostText);
    }
    append(text, length, bytes + skipped, taken);
}

int smaller(int a, int b) {
    return a < b ? a : b;
}

// Lines and columns wrap around rather than overflow.
int32_t sum(int32_t a, uint32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + b);
}

// Makes the token's text of the line before the token, and of `count` characters of the token.
void setTokenText(xlyctx_location_s* location, const char* token, int count) {
    const int before = lengthOf(location->line_text);
    const int shown = smaller(count, kMostText + 1);  // all that is longer is cut alike
    int dropped = 0;
    if (before > kLeastContext && before + shown > kMostText) {
        dropped = smaller(before + shown - kMostText, before - kLeastContext);
    }
    const int position = before - dropped;
    append(location->token_text, 0, location->line_text + dropped, position);
    append(location->token_text, position, token, smaller(shown, kMostText - position));
    location->token_position = static_cast<uint32_t>(position);
}

// Appends what a later token on the same line adds to the text of a location.
void appendTokenText(xlyctx_location_s* location, const xlyctx_location_s* source) {
    char* const text = location->token_text;
    const int length = lengthOf(text);
    const int sourceLength = lengthOf(source->token_text);
    const int32_t end =
        sum(location->first_column, static_cast<uint32_t>(length) - location->token_position);
    const int32_t sourceStart = sum(source->first_column, 0U - source->token_position);
    const int64_t known = static_cast<int64_t>(end) - sourceStart;
    if (known < 0 || known >= sourceLength) {
        return;
    }
    int added = sourceLength - static_cast<int>(known);
    int kept = length;
    if (length + added > kMostText) {
        if (location->token_position > kLeastContext) {
            // Deliberate: as much goes as there is to add, the context and the beginning of the
            // location itself included. Pinned by
            // ConcatLocation.DropsMoreThanTheContextWhereTheTokenStandsBehindIt.
            const int dropped = length + added - kMostText;
            kept = dropFront(text, length, dropped);
            location->token_position -= static_cast<uint32_t>(dropped);
        } else {
            added = kMostText - length;
        }
    }
    append(text, kept, source->token_text + known, added);
}

}  // namespace

int xlyctx_read_file(FILE* stream, char* buffer, int max) {
    if (max < 1) {
        return 0;
    }
    const auto room = static_cast<size_t>(max);
    const int fd = fileno(stream);
    for (;;) {
        errno = 0;
        const int count =
            static_cast<int>(fd >= 0 ? read(fd, buffer, room)
                                     : static_cast<ssize_t>(fread(buffer, 1, room, stream)));
        if (count < 1 && errno == EINTR) {
            clearerr(stream);
            continue;
        }
        if (errno == EAGAIN) {
            clearerr(stream);
        }
        return count < 1 ? 0 : count;
    }
}

void xlyctx_update_location(xlyctx_location_s* location, const char* token, int length) {
    location->first_line = location->last_line;
    location->first_column = sum(location->last_column, 1);
    length = length < 0 ? 0 : length;

    int firstLineLength = length;
    int lastLineStart = 0;
    uint32_t newlines = 0;
    for (int i = 0; i < length; ++i) {
        if (token[i] == '\n') {
            if (newlines == 0) {
                firstLineLength = i;
            }
            ++newlines;
            lastLineStart = i + 1;
        }
    }
    setTokenText(location, token, firstLineLength);
    if (newlines > 0) {
        location->last_line = sum(location->last_line, newlines);
        location->last_column = 0;
        location->line_text[0] = '\0';
    }
    const int added = length - lastLineStart;
    location->last_column = sum(location->last_column, static_cast<uint32_t>(added));
    appendKeepingEnd(location->line_text, token + lastLineStart, added);
}

void xlyctx_concat_location(xlyctx_location_s* location, const xlyctx_location_s* source) {
    if (location->first_line == source->first_line &&
        location->first_column <= source->first_column) {
        appendTokenText(location, source);
    }
    location->last_line = source->last_line;
    location->last_column = source->last_column;
    append(location->line_text, 0, source->line_text, lengthOf(source->line_text));
}

void xlyctx_error(xlyctx_s* context, const xlyctx_location_s* location, const char* text,
                  int number1, int number2, const char* text2, ...) {
    context->error = 1;
    xstr format;
    xstr_init(&format);
    (void)xstr_format(&format, "%s parser (line=%d, col=%d): %s %d %d %s", context->name,
                      location->first_line, location->first_column, text, number1, number2, text2);
    if (xstr_is_empty(&format)) {  // no memory: where it was, at least
        syslog(LOG_ERR, "%s parser (line=%d, col=%d)", context->name, location->first_line,
               location->first_column);
        return;
    }
    va_list args;
    va_start(args, text2);
    // Deliberate: the texts are part of the format. Pinned by
    // ParserError.FillsConversionsInBothTextsFromTheFurtherArguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    vsyslog(LOG_ERR, format, args);
#pragma GCC diagnostic pop
    va_end(args);
    xstr_free(&format);
}

void* xlyctx_malloc(void*, size_t size) {
    void* const memory = malloc(size);
    if (memory != nullptr) {
        memset(memory, 0, size);
    }
    return memory;
}
