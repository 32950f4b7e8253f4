/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_STR_H
#define ZOL_STR_H

/**
 * @file zol/str.h
 * Strings: NUL-terminated text behind one handle word, shared until written.
 *
 *     xstr name, copy;
 *     xstr_init(&name);
 *     xstr_init(&copy);
 *     xstr_format(&name, "zone %d", 4);
 *     xstr_copy(&copy, &name);       // both point at the same bytes
 *     xstr_concat(&copy, "!", -1);   // copy has its own bytes now
 *     puts(copy);                    // a handle is the text
 *     xstr_free(&copy);
 *     xstr_free(&name);
 *
 * Unless a function says otherwise:
 *  - `s` is the address of an initialised handle, never null, nor is a text passed in;
 *  - lengths and indexes count bytes, the terminating NUL excluded; a length of -1 means
 *    "measure the text up to its NUL";
 *  - text passed in is copied, and may be part of the string that is changed; text handed out
 *    belongs to the string and is valid until the string is next changed or freed;
 *  - a failed allocation leaves the string valid: empty or as it was; xstr_replace() may have
 *    done a part of its work;
 *  - a string, and every string that shares its bytes, belongs to one thread at a time;
 *  - nothing is logged.
 *
 * A string of length 0 owns nothing: its handle points at one static empty text. What will bite:
 * taking off all of a text with xstr_ltrim(), xstr_trim() or xstr_replace(), or opening an empty
 * string for one byte, leaves a block without text. The functions look at the length alone, so
 * such a block is never given back; where that matters, give it back with xsbuf_free() and start
 * the handle again with xstr_init().
 */

#include <stdarg.h>

#include "zol/alloc.h"

ZOL_BEGIN_DECLS

/** A string handle: points at the first byte of the text. Start with xstr_init(). */
typedef char* xstr;

/** Descriptor of strings: tables of bytes that grow in steps of 16. */
ZOL_API extern const xabuf_def_s xstr_def;

/** The handle of every empty string: one static text, which is never written nor freed. */
ZOL_API extern const xstr xstr_null;

/** Makes the handle an empty string; frees nothing. */
ZOL_API void xstr_init(xstr* s);

/** Gives the text up; the string is empty then, and may be used again. */
ZOL_API void xstr_free(xstr* s);

/** @return length of the text; 0 also for a null handle */
ZOL_API int xstr_get_length(const xstr* s);

/** @return 1 for a length of 0, else 0 */
ZOL_API int xstr_is_empty(const xstr* s);

/** @return strcmp(3) with `rhs`; -1 when `rhs` is null */
ZOL_API int xstr_compare(const xstr* s, const char* rhs);

/** @return strncmp(3) over `n` bytes; strcmp(3) when `n` is (unsigned)-1; -1 when `rhs` is null */
ZOL_API int xstr_ncompare(const xstr* s, const char* rhs, unsigned n);

/**
 * Opens the text for direct writing, made private first.
 *
 * @param size  room wanted, in bytes, NUL included
 * @return      at least `size` writable bytes, the present text first, new bytes zero. Owned by
 *              the string, good until the next call on it. For an empty string and `size` below
 *              1: the shared empty text, which must not be written. Null without memory.
 *
 * Finish with xstr_release_buffer().
 */
ZOL_API char* xstr_get_buffer(xstr* s, int size);

/**
 * Ends writing through xstr_get_buffer() and gives spare room back.
 *
 * @param size  bytes to keep, NUL included: 5 keeps four characters. 0 or less keeps the text up
 *              to its first NUL.
 * @return      `s`
 */
ZOL_API xstr* xstr_release_buffer(xstr* s, int size);

/**
 * Sets the text.
 *
 * @param len  bytes to copy, NULs among them included; -1: all of `text`; below 1: empties the
 *             string, as a null `text` with -1 does
 * @return     `s`
 */
ZOL_API xstr* xstr_set(xstr* s, const char* text, int len);

/** Sets the text to `n` times `ch`; below 1 empties the string. @return `s` */
ZOL_API xstr* xstr_set_char(xstr* s, char ch, int n);

/**
 * Appends `len` bytes; below 1 changes nothing.
 *
 * @param text  not null when `len` is -1
 * @return      `s`
 */
ZOL_API xstr* xstr_concat(xstr* s, const char* text, int len);

/** Makes `s` share the text of `source`: one increment. An empty `source` empties `s`; a string
 *  copied onto itself stays as it is. @return `s` */
ZOL_API xstr* xstr_copy(xstr* s, const xstr* source);

/**
 * Sets the text as vprintf(3) would print it; the arguments may point into `s`.
 *
 * @return the length; negative, with the string empty or cut, when vsnprintf(3) fails; -1, with
 *         the string as it was, when there is no memory to format a long text. (The length also
 *         when there was none to keep the text: the string is empty then.)
 *
 * Needs no memory but the string's own up to 511 characters. A longer text logs "xstr_format,
 * static buf is too small" at priority 5.
 */
ZOL_API int xstr_vformat(xstr* s, const char* format, va_list args) ZOL_PRINTF(2, 0);
/** xstr_vformat() with the arguments themselves. */
ZOL_API int xstr_format(xstr* s, const char* format, ...) ZOL_PRINTF(2, 3);

/**
 * Finds text.
 *
 * @param from  first byte to look at; not above the length
 * @return      index of the first match, -1 for none; always -1 in an empty string
 */
ZOL_API int xstr_find(const xstr* s, const char* needle, unsigned from);

/** @return index of the last match, which may overlap others; -1 for none */
ZOL_API int xstr_find_last(const xstr* s, const char* needle);

/** @{ */
/**
 * Trimming takes off the bytes that are in `set`; a null `set` stands for the blanks " \f\n\r\t\v".
 * The right trim never takes off the first byte; the left trim may leave a text of length 0.
 * Each returns `s`.
 */
ZOL_API xstr* xstr_ltrim(xstr* s, const char* set);
ZOL_API xstr* xstr_rtrim(xstr* s, const char* set);
ZOL_API xstr* xstr_trim(xstr* s, const char* set);
/** @} */

/**
 * Replaces every `from` by `to`, left to right; what was put in is not searched again.
 *
 * @param from  an empty one changes nothing
 * @return      `s`
 *
 * What will bite: where both have the same length, the bytes are overwritten where they stand,
 * and every string that shares them changes too.
 */
ZOL_API xstr* xstr_replace(xstr* s, const char* from, const char* to);

/**
 * Makes UTF-8 text plain ASCII, for displays and file names, with one character for each: letters
 * of Latin-1 become the letter that they look like ("e" for an accented one, "a" for the ae
 * ligature, "B" for sharp s), all others that are not ASCII become "_". Where the text is not UTF-8
 * bytes may stay that are not ASCII; a character that is cut off at its end goes.
 *
 * @return `s`; null for a null handle. Without memory the string is empty or as it was.
 */
ZOL_API xstr* xstr_replaceSpecialCharUTF8(xstr* s);

/** Replaces accented letters of IBM code page 437 by the letters under the accents, byte for byte.
 *  All other bytes stay, and so do some of its letters: acute ones but the capital e, those with a
 *  tilde, and small u and y with a diaeresis. @return as xstr_replaceSpecialCharUTF8() */
ZOL_API xstr* xstr_replaceSpecialCharASCII(xstr* s);

/** @return 0 for a null `text`, its strlen(3) for a `len` of -1, else `len` */
ZOL_API int xstrref_get_real_length(const char* text, int len);

/** @return 1 when the real length is 0, else 0 */
ZOL_API int xstrref_is_empty(const char* text, int len);

/**
 * Compares a text and its length with a NUL-terminated text. Not an ordering: texts of different
 * length always answer -1.
 *
 * @return 0 for equal texts and for two nulls; -1 for one null or different lengths; else
 *         strncmp(3) over `len` bytes
 */
ZOL_API int xstrref_compare(const char* text, unsigned len, const char* rhs);

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {

/**
 * Owns one xstr: frees it when destroyed, shares its bytes when copied.
 *
 *     zol::CStr line("moisture");
 *     line.concat(" low");
 *     puts(line.get());
 */
class ZOL_API CStr {
  public:
    CStr() { xstr_init(&m_str); }
    /** As set(). */
    CStr(const char* text, int len = -1) : CStr() { xstr_set(&m_str, text, len); }
    /** Shares the text of `other`. */
    CStr(const CStr& other) : CStr() { xstr_copy(&m_str, &other.m_str); }
    /** Takes the text of `other`, which is empty then. */
    CStr(CStr&& other) noexcept : m_str(other.m_str) { xstr_init(&other.m_str); }
    ~CStr() { xstr_free(&m_str); }

    /** Shares the text of `other`. */
    CStr& operator=(const CStr& other) {
        xstr_copy(&m_str, &other.m_str);
        return *this;
    }

    /** Takes the text of `other`, which is empty then. */
    CStr& operator=(CStr&& other) noexcept {
        if (this != &other) {
            xstr_free(&m_str);
            m_str = other.m_str;
            xstr_init(&other.m_str);
        }
        return *this;
    }

    /** As set(). */
    CStr& operator=(const char* text) {
        xstr_set(&m_str, text, -1);
        return *this;
    }

    /** Sets the text as printf(3) would print it. @return its length, see xstr_vformat() */
    int format(const char* format, ...) ZOL_PRINTF(2, 3);

    /** @return the text, never null */
    const char* get() const { return m_str; }
    /** @return the handle, for the xstr_ functions */
    xstr* handle() { return &m_str; }
    /** @return the handle, for the xstr_ functions that only read */
    const xstr* handle() const { return &m_str; }

    /** As xstr_get_length(). */
    int getLength() const { return xstr_get_length(&m_str); }
    /** As xstr_is_empty(). */
    bool isEmpty() const { return xstr_is_empty(&m_str) != 0; }
    /** As xstr_compare(). */
    int compare(const char* rhs) const { return xstr_compare(&m_str, rhs); }
    /** As xstr_find(). */
    int find(const char* needle, unsigned from = 0) const {
        return xstr_find(&m_str, needle, from);
    }
    /** As xstr_find_last(). */
    int findLast(const char* needle) const { return xstr_find_last(&m_str, needle); }

    /** As xstr_set(). @return this string */
    CStr& set(const char* text, int len = -1) {
        xstr_set(&m_str, text, len);
        return *this;
    }
    /** As xstr_concat(). @return this string */
    CStr& concat(const char* text, int len = -1) {
        xstr_concat(&m_str, text, len);
        return *this;
    }
    /** As xstr_trim(). @return this string */
    CStr& trim(const char* set = nullptr) {
        xstr_trim(&m_str, set);
        return *this;
    }
    /** As xstr_replace(). @return this string */
    CStr& replace(const char* from, const char* to) {
        xstr_replace(&m_str, from, to);
        return *this;
    }

    /** An empty string to refer to; never modified. */
    static const CStr EmptyStr;

  private:
    xstr m_str;
};

/** @{ */
/** Texts are compared as by xstr_compare(), up to a NUL in them. */
inline bool operator==(const CStr& lhs, const CStr& rhs) {
    return lhs.compare(rhs.get()) == 0;
}
inline bool operator!=(const CStr& lhs, const CStr& rhs) {
    return !(lhs == rhs);
}
inline bool operator==(const CStr& lhs, const char* rhs) {
    return lhs.compare(rhs) == 0;
}
inline bool operator!=(const CStr& lhs, const char* rhs) {
    return !(lhs == rhs);
}
inline bool operator==(const char* lhs, const CStr& rhs) {
    return rhs == lhs;
}
inline bool operator!=(const char* lhs, const CStr& rhs) {
    return !(rhs == lhs);
}
inline bool operator<(const CStr& lhs, const CStr& rhs) {
    return lhs.compare(rhs.get()) < 0;
}
/** @} */

}  // namespace zol

#endif
#endif
