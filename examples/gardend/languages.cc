// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "languages.h"

#include <limits.h>
#include <string.h>
#include <unistd.h>

#include "accept_language.h"

namespace gardend {

namespace {

// Only these ever become part of a path. The first one is the default.
constexpr const char* kLanguages[] = {"en", "fr", "de"};
constexpr int kLanguageCount = 3;

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

// A line end in the middle of an answer would be taken for the end of the answer.
bool hasControl(const char* text) {
    for (const char* c = text; *c != '\0'; ++c) {
        if (static_cast<unsigned char>(*c) < 0x20 || *c == 0x7f) {
            return true;
        }
    }
    return false;
}

bool comesBefore(const Wish& one, const Wish& other) {
    return one.quality > other.quality ||
           (one.quality == other.quality && one.position < other.position);
}

// Adds a path to a pattern, in which it stands for itself.
void addPath(CText& pattern, const char* path, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (strchr("*?[\\", path[i]) != nullptr) {
            pattern.add("\\");
        }
        pattern.add(path[i] == '%' ? "%" : "").add(path + i, 1);
    }
}

}  // namespace

CPhrases::CPhrases(const char* language, const zol::cat::CCatalog* catalog)
    : m_language(language), m_catalog(catalog) {
    CText point;
    add(point, GARDEND_DECIMAL_POINT);
    if (point.isWhole()) {
        m_point = CShort("%s", point.get());
    }
}

void CPhrases::add(CText& out, unsigned id, std::initializer_list<Value> values) const {
    zol::CStr text;
    const bool isThere = m_catalog != nullptr && m_catalog->getMessage(id, text) == 0;
    out.addFilled(isThere && !hasControl(text.get()) ? text.get() : englishText(id), values);
}

CShort CPhrases::decimal(int64_t number, int decimals) const {
    return makeDecimal(number, decimals, m_point.get());
}

bool CLanguages::hasDefault() {
    return find(kLanguages[0]) != nullptr;
}

CPhrases CLanguages::choose(const char* wishes) {
    Wish left[kLanguageCount];
    for (int i = 0; i < kLanguageCount; ++i) {
        left[i] = findWish(wishes, kLanguages[i]);
    }
    for (;;) {
        int best = 0;
        for (int i = 1; i < kLanguageCount; ++i) {
            best = comesBefore(left[i], left[best]) ? i : best;
        }
        const bool isDefault = best == 0 || left[best].quality == 0;
        const char* const language = kLanguages[isDefault ? 0 : best];
        const zol::cat::CCatalog* const catalog = find(language);
        if (isDefault || catalog != nullptr) {
            return CPhrases(language, catalog);
        }
        left[best] = Wish();
    }
}

// Loads it the first time. For a language without files the registry has another one's catalog.
const zol::cat::CCatalog* CLanguages::find(const char* language) {
    const zol::cat::CCatalog* const catalog = m_registry.getCatalog(language);
    zol::CStr found;
    const bool isRight = catalog != nullptr && catalog->getMessage(GARDEND_LANGUAGE, found) == 0 &&
                         found == language;
    return isRight ? catalog : nullptr;
}

zol::CStr findCatalogs() {
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
    program[length < 0 ? 0 : length] = '\0';
    const char* const slash = strrchr(program, '/');
    const size_t folderLength = slash == nullptr ? 0 : static_cast<size_t>(slash - program);

    CText built;
    built.add(program, static_cast<int>(folderLength)).add("/texts");
    CText pattern;
    addPath(pattern, program, folderLength);
    pattern.add(access(built.get(), F_OK) == 0 ? "/texts" : "/../share/gardend");
    pattern.add("/%s/gardend.cat");
    return pattern.isWhole() ? pattern.get() : "";
}

}  // namespace gardend
