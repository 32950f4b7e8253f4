// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_TEXT_H
#define GARDEND_TEXT_H

#include <stdint.h>

#include "zol/str.h"

namespace gardend {

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

    /** Adds a number with a decimal point: 1234 and 3 decimals give "1.234". Not negative. */
    CText& addDecimal(int64_t number, int decimals);

    /** Adds text that stands between tags or in a quoted attribute of an HTML page. */
    CText& addHtml(const char* text);

    /** Adds text that stands inside the quotes of a JSON string; it must be UTF-8. */
    CText& addJson(const char* text);

    /** Empties the text, which is whole again. */
    void clear();

    bool isWhole() const { return m_whole; }
    bool isEmpty() const { return m_str.isEmpty(); }
    const char* get() const { return m_str.get(); }
    int getLength() const { return m_str.getLength(); }

  private:
    zol::CStr m_str;
    bool m_whole = true;
};

}  // namespace gardend

#endif
