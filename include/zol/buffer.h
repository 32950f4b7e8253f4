/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_BUFFER_H
#define ZOL_BUFFER_H

/**
 * @file zol/buffer.h
 * Byte buffers, base64, and streams on memory.
 *
 * Unless a function says otherwise:
 *  - handle addresses and texts are never null; a buffer's handle word may be;
 *  - a buffer or string and all that share its bytes belong to one thread at a time;
 *  - nothing is logged.
 */

#include <stdio.h>

#include "zol/str.h"
#include "zol/tab.h"

ZOL_BEGIN_DECLS

/* --- buffers --- */

/**
 * A buffer handle: points at the first byte, or is null for an empty buffer.
 *
 *     xbuffer b = NULL;
 *     xbuffer_concat(&b, "\x01\x02", 2);
 *     send(fd, b, xtab_get_count(&b), 0);
 *     xsbuf_free(&b);
 *
 * A buffer is a table of bytes, and what holds for tables holds for it: xtab_get_count() tells its
 * length, xsbuf_copy() shares it, xsbuf_free() gives it up; the functions below make it private
 * before they write. Unlike strings it has no NUL behind its bytes, and no length is ever measured.
 */
typedef xhandle xbuffer;

/** Descriptor of buffers: tables of bytes that grow in steps of 16. */
ZOL_API extern const xabuf_def_s xbuffer_def;

/** @return 1 for a length of 0, else 0 */
ZOL_API int xbuffer_is_empty(const xbuffer* b);

/**
 * Compares two buffers. What will bite: this is neither an ordering nor a test for equality, for a
 * shorter buffer answers 0 as an equal one does. Compare the lengths first.
 *
 * @return 1 when the first is longer, 0 when it is shorter; for equal lengths memcmp(3), and 0 when
 *         both are empty
 */
ZOL_API int xbuffer_compare(const xbuffer* b1, const xbuffer* b2);

/**
 * Opens the bytes for direct writing, made private first.
 *
 * @param size  bytes wanted
 * @return      at least `size` bytes, the present ones first, new ones zero; all of them belong to
 *              the buffer from now on. Good until the next call on it. Null for an empty buffer and
 *              a `size` below 1, and null without memory, when a shared buffer is empty then.
 *
 * Finish with xbuffer_release_buffer().
 */
ZOL_API void* xbuffer_get_buffer(xbuffer* b, int size);

/**
 * Ends writing through xbuffer_get_buffer() and gives spare room back.
 *
 * @param len  bytes to keep; below 1 empties the buffer; above the length keeps all
 * @return     `b`; empty when there is no memory to cut bytes that are shared
 */
ZOL_API xbuffer* xbuffer_release_buffer(xbuffer* b, int len);

/**
 * Sets the bytes.
 *
 * @param data  `len` bytes to copy, also of the buffer itself; null for zero bytes
 * @param len   below 1 empties the buffer
 * @return      `b`; empty when there is no memory
 */
ZOL_API xbuffer* xbuffer_set(xbuffer* b, const void* data, int len);

/**
 * Appends bytes.
 *
 * @param data  `len` bytes to copy, also of the buffer itself; null for zero bytes
 * @param len   below 1 changes nothing
 * @return      `b`; without memory as it was, or empty if it was shared
 */
ZOL_API xbuffer* xbuffer_concat(xbuffer* b, const void* data, int len);

/* --- base64 --- */

/*
 * The alphabet of RFC 4648, section 4, with padding. Encoding writes no line breaks. Decoding
 * skips all that is not of the alphabet, wherever it stands, and so takes text with line breaks
 * as RFC 2045 has it; it does not know the URL alphabet, whose "-" and "_" are skipped, too.
 */

/** @return characters that `n` bytes become, the NUL not counted; INT_MAX where that is more */
ZOL_API int xbase64_get_encoded_maxlength(int n);

/** @return bytes that `n` characters become at most */
ZOL_API int xbase64_get_decoded_maxlength(int n);

/**
 * Encodes bytes as NUL-terminated text.
 *
 * @param out     must not overlap `in`
 * @param outLen  before: the room in `out`, in bytes; after: the length of the text, plus 1
 * @param inLen   below 1 makes the empty text, for which `out` needs room for its NUL
 * @return        0; -1, with `*outLen` as it was and a part of the text written, when the room is
 *                less than xbase64_get_encoded_maxlength() + 1
 */
ZOL_API int xbase64_encode(char* out, int* outLen, const unsigned char* in, int inLen);

/**
 * Decodes text, up to a padded group or to its end.
 *
 * @param out     may be `in`, else must not overlap it
 * @param outLen  before: the room in `out`, in bytes; after: the number of bytes written
 * @param in      need not end with a NUL
 * @param inLen   length of the text; where that ends within a group of four: the offset of that
 *                group afterwards. The characters before it decode whole, so a caller can decode
 *                them alone, and go on from there when more text has come
 * @return        0; -1, with `*outLen` as it was and a part of the bytes written, when the room is
 *                too small, padding stands where none may be, bits that padding leaves unused are
 *                set, or the last group is incomplete
 */
ZOL_API int xbase64_decode(unsigned char* out, int* outLen, const char* in, int* inLen);

/**
 * Encodes bytes into a string.
 *
 * @param in  may be the string's own text
 * @return    0; -1, with the string as it was, when there is no memory
 */
ZOL_API int xbase64_encode_buffer(xstr* s, const unsigned char* in, int inLen);

/**
 * Decodes text into a buffer.
 *
 * @param in     may be the buffer's own bytes
 * @param inLen  as for xbase64_decode()
 * @return       as xbase64_decode(), and -1 without memory. What will bite: after a failure the
 *               buffer is not empty, but has xbase64_get_decoded_maxlength() bytes.
 */
ZOL_API int xbase64_decode_buffer(xbuffer* b, const char* in, int* inLen);

/* --- streams on memory --- */

/**
 * Opens a buffer or a string as a stream of stdio(3), for whatever reads or writes files.
 *
 *     xstr text;
 *     xstr_init(&text);
 *     FILE* f = xstr_fopen(&text, "w");
 *     fprintf(f, "%d litres", 5);
 *     fclose(f);  // text is "5 litres" now
 *
 * @param mode  "r", "w" or "a", and "+" behind each; nothing else. "w" empties the target first.
 * @return      the stream, to be closed with fclose(3); null with errno EINVAL for another mode,
 *              null when there is no memory
 *
 * In every mode reading begins at the start, and what is written goes to the end of the target,
 * wherever the stream stands: "r+" and "w+" are like the "a+" of files. "a" can be read, too.
 * Seeking goes from the start to the end, not beyond it (EINVAL). As with all streams, seek between
 * writing and reading, and flush before you look at the target. A write that fails for want of
 * memory is an error of the stream; the target is as it was then, or empty if its bytes were
 * shared.
 *
 * What will bite: writing does not move the place where reading goes on, but asking the stream
 * where it stands while output waits in it does, to the end. Seek to a place from the start before
 * you read, and ask the target for its length.
 *
 * The stream refers to the handle, which must stay where it is and live longer than the stream
 * (stdio flushes a stream that nobody closes at the end of the program), and does not free it. What
 * is written must not be a part of the target. Who changes the target meanwhile by other means
 * finds the stream with the length that it knew; it never reads or writes behind what is there.
 */
ZOL_API FILE* xbuffer_fopen(xbuffer* b, const char* mode);
/** xbuffer_fopen() for a string. */
ZOL_API FILE* xstr_fopen(xstr* s, const char* mode);

/**
 * Opens a constant text for reading, in place.
 *
 * @param text  must stay as it is until the stream is closed
 * @param mode  "r"
 * @return      as xbuffer_fopen()
 */
ZOL_API FILE* xstr_fopen_cstr(const char* text, const char* mode);

ZOL_END_DECLS

#endif
