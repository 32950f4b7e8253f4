// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_TEXT_H
#define GARDEND_TEXT_H

#include <initializer_list>
#include <stdint.h>

#include "zol/str.h"

namespace gardend {

class CShort;
struct Value;

/**
 * A text that is put together piece by piece.
 *
 *     CText page;
 *     page.add("<p>").addHtml(zone.name).add("</p>");
 *     if (page.isWhole()) ...
 *
 * A piece for which there is no memory is left out; so are all that follow, and the text is not
 * whole then. Thus the pieces need no check, only the text at its end.
 */
class CText {
  public:
    CText& add(const char* text, int length = -1);

    /** Adds another text; this one is whole only if that one is. */
    CText& add(const CText& text);

    /** Adds as printf(3) does; short pieces only, up to some hundred bytes. */
    CText& addFormat(const char* format, ...) ZOL_PRINTF(2, 3);

    /** Adds a number with a decimal point, see makeDecimal(). */
    CText& addDecimal(int64_t number, int decimals);

    /**
     * Adds a text with values in the places of "%1$s", "%2$s" and so on, up to nine; "%%" becomes
     * a percent sign. Everything else stands for itself, so that any text is harmless.
     */
    CText& addFilled(const char* text, std::initializer_list<Value> values);

    /** Adds text that stands between tags or in a quoted attribute of an HTML page. */
    CText& addHtml(const Value& text);

    /** Adds text that stands inside the quotes of a JSON string; it must be UTF-8. */
    CText& addJson(const char* text);

    /** Empties the text, which is whole again. */
    void clear();

    bool isWhole() const { return m_whole; }
    bool isEmpty() const { return m_str.isEmpty(); }
    const char* get() const { return m_str.get(); }
    const zol::CStr& getStr() const { return m_str; }
    int getLength() const { return m_str.getLength(); }

  private:
    zol::CStr m_str;
    bool m_whole = true;
};

/** A short text that needs no memory, and is cut off after 39 bytes. */
class CShort {
  public:
    /** As printf(3). */
    explicit CShort(const char* format, ...) ZOL_PRINTF(2, 3);

    const char* get() const { return m_text; }

  private:
    char m_text[40];
};

/** @return the number with a decimal point: "1.234" for 1234 and 3 decimals. Not negative. */
CShort makeDecimal(int64_t number, int decimals, const char* point = ".");

/** @return whether it is UTF-8 without control characters, such as the end of a line */
bool isLine(const char* text);

/** What stands in the place of a "%1$s", as long as that takes. */
struct Value {
    Value(const char* value) : text(value) {}
    Value(const CShort& value) : text(value.get()) {}
    Value(const CText& value) : text(value.get()), whole(value.isWhole()) {}

    const char* text;
    bool whole = true;
};

}  // namespace gardend

#endif
