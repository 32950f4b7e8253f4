// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A string is a table of bytes whose last element is the NUL. Its handle is in one of three
// states: at the static empty text, which owns nothing; at a block; or, inside an operation, null.
//
// Deliberate: whether there is something to release is asked of the length, never of the handle.
// A block that holds nothing but its NUL, as trimming can leave it, is therefore dropped, not
// freed. Pinned by StrTrim.ABlockTrimmedToNothingIsNeverReleased.

#include "zol/str.h"

#include <string.h>

#include "zol/tab.h"

#include "handle.h"

namespace {

const char kBlanks[] = " \f\n\r\t\v";

using core::tableOf;

char* textOf(const xstr* s) {
    return static_cast<char*>(core::dataOf(reinterpret_cast<const xhandle*>(s)));
}

// Text to read: never null.
const char* readableText(const xstr* s) {
    const char* const text = textOf(s);
    return text != nullptr ? text : xstr_null;
}

// Ends an operation that lost the block for want of memory.
void emptyIfNull(xstr* s) {
    if (textOf(s) == nullptr) {
        xstr_init(s);
    }
}

// Makes the text of a string that is not empty private. False, and empty, without memory.
bool makePrivate(xstr* s) {
    xtab_detach(tableOf(s));
    emptyIfNull(s);
    return !xstr_is_empty(s);
}

// Appends `n` zeroed bytes to a string; to an empty one, which has no NUL, they are its first.
// False, and the string valid, without memory.
bool extend(xstr* s, int n) {
    if (xstr_is_empty(s)) {
        core::setData(tableOf(s), nullptr);
    }
    const bool done = xtab_insert(tableOf(s), &xstr_def, -1, n, nullptr) != -1;
    emptyIfNull(s);
    return done;
}

// The string gives up what it holds and takes over the text of another one.
void replaceBy(xstr* s, xstr* fresh) {
    xstr_free(s);
    core::setData(tableOf(s), core::takeData(tableOf(fresh)));
}

// An argument of an operation that changes the string `s`: the text itself, or a copy of it where
// it lies in the string's own bytes and would change under the operation.
class StableArgument {
  public:
    StableArgument(const xstr* s, const char* argument) : m_argument(argument) {
        xstr_init(&m_copy);
        const uintptr_t distance =
            reinterpret_cast<uintptr_t>(argument) - reinterpret_cast<uintptr_t>(textOf(s));
        const auto length = static_cast<uintptr_t>(xstr_get_length(s));
        if (argument != nullptr && distance < length) {
            xstr_set(&m_copy, argument, -1);
            m_argument = xstr_is_empty(&m_copy) && *argument != '\0' ? nullptr : m_copy;
        }
    }
    ~StableArgument() { xstr_free(&m_copy); }
    StableArgument(const StableArgument&) = delete;
    StableArgument& operator=(const StableArgument&) = delete;

    // Null when the argument was null, or when there was no memory for the copy.
    const char* get() const { return m_argument; }

  private:
    const char* m_argument;
    xstr m_copy;
};

struct EmptyText {
    xtabh_s header;
    char nul;
};

// Laid out like a heap string, without elements and without holders.
const EmptyText emptyText = {{0, 0, 0, &xstr_def}, '\0'};
static_assert(offsetof(EmptyText, nul) == sizeof(xtabh_s), "the text follows its header");

}  // namespace

const xabuf_def_s xstr_def = {sizeof(xtabh_s), 1, 16};

const xstr xstr_null = const_cast<char*>(&emptyText.nul);

const zol::CStr zol::CStr::EmptyStr;

// Tables of strings are common: their code and descriptor are here once for all, see zol/tab.h.
template class zol::CTab<zol::CStr, 8, xtabh_s>;

void xstr_init(xstr* s) {
    core::setData(tableOf(s), xstr_null);
}

void xstr_free(xstr* s) {
    if (xstr_get_length(s) > 0) {
        xsbuf_free(tableOf(s));
        xstr_init(s);
    }
}

int xstr_get_length(const xstr* s) {
    void* const text = textOf(s);
    const int count = text == nullptr ? 0 : core::tableHeaderOf(text)->count;
    return count == 0 ? 0 : count - 1;
}

int xstr_is_empty(const xstr* s) {
    return xstr_get_length(s) == 0;
}

int xstr_compare(const xstr* s, const char* rhs) {
    return rhs == nullptr ? -1 : strcmp(readableText(s), rhs);
}

int xstr_ncompare(const xstr* s, const char* rhs, unsigned n) {
    if (rhs == nullptr || n == UINT32_MAX) {
        return xstr_compare(s, rhs);
    }
    return strncmp(readableText(s), rhs, n);
}

char* xstr_get_buffer(xstr* s, int size) {
    const int length = xstr_get_length(s);
    if (length > 0 && !makePrivate(s)) {
        return nullptr;
    }
    const int count = length > 0 ? length + 1 : 0;
    if (size > count && !extend(s, size - count)) {
        return nullptr;
    }
    return textOf(s);
}

xstr* xstr_release_buffer(xstr* s, int size) {
    const int length = xstr_get_length(s);
    if (size == 1) {
        xstr_free(s);
        return s;
    }
    if (length < 1 || !makePrivate(s)) {
        return s;
    }
    char* const text = textOf(s);
    text[length] = '\0';
    const int newLength = size > 0 ? size - 1 : static_cast<int>(strlen(text));
    if (newLength < 1) {
        xstr_free(s);
        return s;
    }
    if (newLength < length) {
        (void)xtab_delete(tableOf(s), newLength, length - newLength);
    }
    (void)xtab_strip_buffer(tableOf(s));  // without memory the block just stays larger
    return s;
}

xstr* xstr_set(xstr* s, const char* text, int len) {
    const int length = xstrref_get_real_length(text, len);
    if (text == nullptr || length < 1) {
        xstr_free(s);
        return s;
    }
    // The new block first: `text` may lie in the old one.
    xstr fresh;
    xstr_init(&fresh);
    if (length < INT32_MAX && extend(&fresh, length + 1)) {
        memcpy(fresh, text, static_cast<size_t>(length));
    }
    replaceBy(s, &fresh);
    return s;
}

xstr* xstr_set_char(xstr* s, char ch, int n) {
    xstr_free(s);
    if (n > 0 && n < INT32_MAX && extend(s, n + 1)) {
        memset(textOf(s), ch, static_cast<size_t>(n));
    }
    return s;
}

xstr* xstr_concat(xstr* s, const char* text, int len) {
    const int added = xstrref_get_real_length(text, len);
    if (added < 1) {
        return s;
    }
    const int length = xstr_get_length(s);
    if (length == 0) {
        return xstr_set(s, text, added);
    }
    // `text` may lie in the string's own bytes, which may move.
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(text) - reinterpret_cast<uintptr_t>(textOf(s));
    const bool own = offset <= static_cast<uintptr_t>(length);
    if (makePrivate(s) && extend(s, added)) {
        char* const bytes = textOf(s);
        memmove(bytes + length, own ? bytes + offset : text, static_cast<size_t>(added));
        bytes[length + added] = '\0';
    }
    return s;
}

xstr* xstr_copy(xstr* dst, const xstr* source) {
    if (dst == source) {
        return dst;
    }
    if (xstr_is_empty(source)) {
        xstr_free(dst);
        return dst;
    }
    if (xstr_is_empty(dst)) {
        core::setData(tableOf(dst), nullptr);
    }
    xsbuf_attach(tableOf(dst), textOf(source));
    return dst;
}

int xstr_find(const xstr* s, const char* needle, unsigned from) {
    if (xstr_is_empty(s)) {
        return -1;
    }
    const char* const text = textOf(s);
    const char* const match = strstr(text + from, needle);
    return match == nullptr ? -1 : static_cast<int>(match - text);
}

int xstr_find_last(const xstr* s, const char* needle) {
    const int length = xstr_get_length(s);
    int last = -1;
    for (int from = 0; from <= length;) {
        const int match = xstr_find(s, needle, static_cast<unsigned>(from));
        if (match == -1) {
            break;
        }
        last = match;
        from = match + 1;
    }
    return last;
}

xstr* xstr_ltrim(xstr* s, const char* set) {
    const char* const text = readableText(s);
    const auto blanks = static_cast<int>(strspn(text, set != nullptr ? set : kBlanks));
    if (blanks == 0 || !makePrivate(s)) {
        return s;
    }
    const int count = xstr_get_length(s) + 1;
    char* const bytes = textOf(s);
    memmove(bytes, bytes + blanks, static_cast<size_t>(count - blanks));
    (void)xtab_delete(tableOf(s), count - blanks, blanks);
    return s;
}

xstr* xstr_rtrim(xstr* s, const char* set) {
    const int length = xstr_get_length(s);
    if (length == 0) {
        return s;
    }
    const char* const bytes = textOf(s);
    const char* const blanks = set != nullptr ? set : kBlanks;
    int last = length - 1;
    // Deliberate: the first byte stays, blank or not. Pinned by
    // StrRtrim.NeverTakesOffTheFirstByte.
    while (last > 0 && bytes[last] != '\0' && strchr(blanks, bytes[last]) != nullptr) {
        --last;
    }
    if (last == length - 1 || !makePrivate(s)) {
        return s;
    }
    textOf(s)[last + 1] = '\0';
    (void)xtab_delete(tableOf(s), last + 2, -1);
    return s;
}

xstr* xstr_trim(xstr* s, const char* set) {
    const StableArgument own(s, set);
    if (set != nullptr && own.get() == nullptr) {
        return s;
    }
    xstr_rtrim(s, own.get());
    return xstr_ltrim(s, own.get());
}

xstr* xstr_replace(xstr* s, const char* from, const char* to) {
    const StableArgument ownFrom(s, from);
    const StableArgument ownTo(s, to);
    if (ownFrom.get() == nullptr || ownTo.get() == nullptr) {
        return s;
    }
    const auto fromLength = static_cast<int>(strlen(ownFrom.get()));
    const auto toLength = static_cast<int>(strlen(ownTo.get()));
    const int growth = toLength - fromLength;
    if (fromLength == 0) {
        return s;
    }

    int match = xstr_find(s, ownFrom.get(), 0);
    while (match != -1) {
        if (growth > 0) {
            if (xtab_insert(tableOf(s), &xstr_def, match, growth, nullptr) == -1) {
                break;
            }
        } else if (growth < 0) {
            (void)xtab_delete(tableOf(s), match, -growth);
        }
        if (textOf(s) == nullptr) {
            break;
        }
        // Deliberate: with texts of equal length, whoever shares the bytes sees the change.
        // Pinned by StrReplace.OfEqualLengthChangesOtherHoldersToo.
        memcpy(textOf(s) + match, ownTo.get(), static_cast<size_t>(toLength));
        match = xstr_find(s, ownFrom.get(), static_cast<unsigned>(match + toLength));
    }
    emptyIfNull(s);
    return s;
}

int xstrref_get_real_length(const char* text, int len) {
    if (text == nullptr) {
        return 0;
    }
    return len == -1 ? static_cast<int>(strlen(text)) : len;
}

int xstrref_is_empty(const char* text, int len) {
    return xstrref_get_real_length(text, len) == 0;
}

int xstrref_compare(const char* text, unsigned len, const char* rhs) {
    if (text == nullptr || rhs == nullptr) {
        return text == rhs ? 0 : -1;
    }
    // Deliberate: not an ordering, another length is always "less". Pinned by
    // StrrefCompare.DifferentLengthsCompareAsLess.
    if (xstrref_get_real_length(text, static_cast<int>(len)) != xstrref_get_real_length(rhs, -1)) {
        return -1;
    }
    return strncmp(text, rhs, len);
}
