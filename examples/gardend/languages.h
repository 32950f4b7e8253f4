// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_LANGUAGES_H
#define GARDEND_LANGUAGES_H

#include <initializer_list>
#include <stdint.h>

#include "zol/cat.h"

#include "gardend_messages.h"
#include "text.h"

namespace gardend {

// Only these ever become part of a path. The first one is the default.
constexpr const char* kLanguages[] = {"en", "fr", "de"};
constexpr int kLanguageCount = sizeof(kLanguages) / sizeof(kLanguages[0]);

/**
 * What is said to people, in one language. texts/en.msg has all of it.
 *
 *     phrases.add(page, GARDEND_OPEN_FOR, {"4:59"});
 *
 * Catalogs are files: they may be missing or damaged, or be somebody else's. A text that is not
 * there, is empty, or is no line of UTF-8, is said in English, which is part of the program. A text
 * is never a format of printf(3): it is copied, and nothing but "%1$s", "%2$s", for which there are
 * values, and "%%" means anything in it. For HTML it is escaped as everything is.
 */
class CPhrases {
  public:
    /** @param catalog  null: English; must live as long as this */
    CPhrases(const char* language, const zol::cat::CCatalog* catalog);

    /** @return "en", "fr" or "de" */
    const char* getLanguage() const { return m_language; }

    /** Adds a text, with values in their places. @param id of gardend_messages.h */
    void add(CText& out, unsigned id, std::initializer_list<Value> values = {}) const;

    /** @return the number with the decimal point of the language, see makeDecimal() */
    CShort decimal(int64_t number, int decimals) const;

  private:
    const char* m_language;
    const zol::cat::CCatalog* m_catalog;
    CShort m_point{"."};
};

/**
 * The languages that gardend speaks.
 *
 * All are loaded at the start: one that a client wants in a moment without descriptors must not be
 * missed from then on.
 */
class CLanguages {
  public:
    /** @param pattern  of the catalog files, with "%s" for the language; see zol/cat.h */
    explicit CLanguages(const char* pattern);

    /** @return whether there is a catalog of the default language */
    bool hasDefault() const { return m_catalogs[0] != nullptr; }

    /**
     * Chooses, of the languages for which there is a catalog, the one that somebody likes best.
     *
     * @param wishes  whatever a client has sent, see findWish(); "" for the default
     */
    CPhrases choose(const char* wishes) const;

  private:
    zol::cat::CInterCatalog m_registry;
    const zol::cat::CCatalog* m_catalogs[kLanguageCount] = {};  // null: there is none
};

/** @return where the catalogs of this program are, for CLanguages: in "texts" beside it, where it
 *  was built, or where both were installed */
zol::CStr findCatalogs();

}  // namespace gardend

#endif
