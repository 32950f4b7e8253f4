/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_LYCTX_H
#define ZOL_LYCTX_H

/**
 * @file zol/lyctx.h
 * What lexers and parsers that flex(1) and bison(1) generate call: input, locations that know the
 * text around a token, error reports, memory.
 *
 * A parser names xlyctx_location_s its location type, and starts each with line 1, column 0, and
 * empty texts. docs/parsers.md shows a pair from end to end.
 *
 * Columns and lengths count bytes; a tab is one column. Pointers are never null. Locations belong
 * to one lexer, and so to one thread at a time.
 */

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "zol/export.h"

ZOL_BEGIN_DECLS

/** Room for the texts of a location, NUL included. */
#define ZOL_LYCTX_TEXT_SIZE 60

/** Where a token is, or all that a rule has been made of, and what stands around it. */
typedef struct xlyctx_location_s {
    int32_t first_line;   /**< line of the first character */
    int32_t first_column; /**< its column; 1 for the first of a line */
    int32_t last_line;    /**< line of the last character */
    int32_t last_column;  /**< its column; 0 when it is the end of a line */
    /** The line up to the token, and the token up to its first newline. Where that is too long the
     *  front is missing, and the end as well if 30 characters are left before the token. */
    char token_text[ZOL_LYCTX_TEXT_SIZE];
    /** The line as far as it has been read; its end where it is too long. */
    char line_text[ZOL_LYCTX_TEXT_SIZE];
    /** Index of the token in `token_text`. Locations that have been merged may have lost the text
     *  where they begin: the index is below 0 then, taken for a signed number. */
    uint32_t token_position;
} xlyctx_location_s;

/** What a parser knows while it parses. */
typedef struct xlyctx_s {
    const char* name; /**< of the parser; begins every error report */
    int32_t own[2];   /**< the parser's own; not touched here */
    int32_t error;    /**< set to 1 by xlyctx_error() */
} xlyctx_s;

/**
 * Reads more input, from the stream's descriptor where it has one (what stdio has buffered is not
 * seen then), else with fread(3). Interrupted calls are repeated.
 *
 * @param max  room in `buffer`, in bytes
 * @return     bytes read; 0 at the end, on an error, and when nothing is there yet (EAGAIN)
 */
ZOL_API int xlyctx_read_file(FILE* stream, char* buffer, int max);

/**
 * Moves a location on to the next token. Call it for every token, blanks and comments included.
 *
 * @param location  of the token before
 * @param length    of the token in bytes; with 0 the location is just behind the last token
 */
ZOL_API void xlyctx_update_location(xlyctx_location_s* location, const char* token, int length);

/** Makes a location reach to the end of a later one, for a rule of several parts.
 *  @param source  not `location` itself */
ZOL_API void xlyctx_concat_location(xlyctx_location_s* location, const xlyctx_location_s* source);

/**
 * Notes an error in the context and logs it at priority 3; before a text of more than 511
 * characters comes the notice of xstr_vformat().
 *
 * The line is "NAME parser (line=L, col=C): TEXT NUMBER1 NUMBER2 TEXT2". What will bite: all of it
 * is the format for the further arguments, as of printf(3). What comes from the input must be one
 * of these, never a text, and a percent sign in a name or text has to be doubled.
 */
ZOL_API void xlyctx_error(xlyctx_s* context, const xlyctx_location_s* location, const char* text,
                          int number1, int number2, const char* text2, ...);

/** @return zeroed memory for free(3), or null. @param ignored  of any value */
ZOL_API void* xlyctx_malloc(void* ignored, size_t size);

ZOL_END_DECLS

#endif
