// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "languages.h"

#include "accept_language.h"
#include "program_folder.h"

namespace gardend {

namespace {

constexpr int kMaxPointLength = 4;  // any one character

struct EnglishText {
    unsigned id;
    const char* text;
};

constexpr EnglishText kEnglish[] = {
#include "gardend_english.inc"
};

const char* englishText(unsigned id) {
    for (const EnglishText& english : kEnglish) {
        if (english.id == id) {
            return english.text;
        }
    }
    return "";
}

// For a language without files the registry has another one's catalog.
bool isOf(const zol::cat::CCatalog* catalog, const char* language) {
    zol::CStr found;
    return catalog != nullptr && catalog->getMessage(GARDEND_LANGUAGE, found) == 0 &&
           found == language;
}

bool comesBefore(const Wish& one, const Wish& other) {
    return one.quality > other.quality ||
           (one.quality == other.quality && one.position < other.position);
}

}  // namespace

CPhrases::CPhrases(const char* language, const zol::cat::CCatalog* catalog)
    : m_language(language), m_catalog(catalog) {
    CText point;
    add(point, GARDEND_DECIMAL_POINT);
    if (point.isWhole() && point.getLength() <= kMaxPointLength) {
        m_point = CShort("%s", point.get());
    }
}

void CPhrases::add(CText& out, unsigned id, std::initializer_list<Value> values) const {
    zol::CStr text;
    const bool isThere =
        m_catalog != nullptr && m_catalog->getMessage(id, text) == 0 && *text.get() != '\0';
    // A line end in the middle of an answer would be taken for the end of the answer.
    out.addFilled(isThere && isLine(text.get()) ? text.get() : englishText(id), values);
}

CShort CPhrases::decimal(int64_t number, int decimals) const {
    return makeDecimal(number, decimals, m_point.get());
}

CLanguages::CLanguages(const char* pattern) : m_registry(kLanguages[0], pattern) {
    for (const char* language : kLanguages) {
        (void)m_registry.getCatalog(language);
    }
    m_registry.addCatalogs("");  // finds no more languages: loading one moves all catalogs
    for (int i = 0; i < kLanguageCount; ++i) {
        const zol::cat::CCatalog* const catalog = m_registry.getCatalog(kLanguages[i]);
        m_catalogs[i] = isOf(catalog, kLanguages[i]) ? catalog : nullptr;
    }
}

CPhrases CLanguages::choose(const char* wishes) const {
    int chosen = 0;
    Wish best;
    for (int i = 0; i < kLanguageCount; ++i) {
        const Wish wish = findWish(wishes, kLanguages[i]);
        const bool isThere = i == 0 || m_catalogs[i] != nullptr;  // English always is
        if (isThere && comesBefore(wish, best)) {
            chosen = i;
            best = wish;
        }
    }
    return CPhrases(kLanguages[chosen], m_catalogs[chosen]);
}

zol::CStr findCatalogs() {
    zol::CStr folder = findFolder("/texts", "/../share/gardend");
    folder.replace("%", "%%");
    CText pattern;
    pattern.add(folder.get()).add("/%s/gardend.cat");
    return folder.isEmpty() || !pattern.isWhole() ? "" : pattern.get();
}

}  // namespace gardend
