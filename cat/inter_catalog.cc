// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <glob.h>
#include <new>
#include <string.h>

#include "zol/cat.h"

namespace zol {
namespace cat {

namespace {

// Whether printf(3) needs no more than one text to make a path of the pattern.
bool isPattern(const char* pattern) {
    bool taken = false;
    for (const char* sign = strchr(pattern, '%'); sign != nullptr; sign = strchr(sign + 2, '%')) {
        if (sign[1] != '%' && (sign[1] != 's' || taken)) {
            return false;
        }
        taken = taken || sign[1] == 's';
    }
    return true;
}

}  // namespace

// --- one language ---

static_assert(sizeof(void*) != 4 || sizeof(CInterCatalog::CInter) == 8);

CInterCatalog::CInter::~CInter() = default;

CInterCatalog::CInter& CInterCatalog::CInter::operator=(const CInter& other) = default;

int CInterCatalog::CInter::open(CTab<CStr>& paths) {
    for (const CStr& path : paths) {
        (void)m_catalog.openFile(path.get());  // one bad file does not cost the others
    }
    return 0;
}

// --- all languages ---

static_assert(sizeof(void*) != 4 || sizeof(CInterCatalog) == 12);

CInterCatalog::CInterCatalog(const char* defaultLanguage, const char* pattern)
    : m_defaultLanguage(defaultLanguage) {
    if (pattern != nullptr) {
        addCatalogs(pattern);
    }
}

void CInterCatalog::addCatalogs(const char* pattern) {
    m_pattern = pattern;
    if (m_languages.isEmpty() && addLanguage(m_defaultLanguage) == nullptr) {
        return;
    }
    CTab<CStr> paths = findFiles(m_defaultLanguage, m_pattern);
    (void)m_languages.getTable()->open(paths);
}

CCatalog* CInterCatalog::getCatalog(const char* language) {
    CInter* const languages = m_languages.getTable();
    const int count = m_languages.getCount();
    if (count == 0) {
        return nullptr;  // only addCatalogs() adds the first one, the default language
    }
    for (int i = 0; i < count; ++i) {
        if (languages[i].getName() == language) {
            return &languages[i].getCatalog();
        }
    }
    CTab<CStr> paths = findFiles(language, m_pattern);
    CInter* const added = paths.isEmpty() ? nullptr : addLanguage(language);
    if (added == nullptr) {
        return &m_languages.getTable()->getCatalog();
    }
    // From now on this language is answered from here, even if none of its files can be read.
    (void)added->open(paths);
    return &added->getCatalog();
}

// Appends a language without files. Null without memory.
CInterCatalog::CInter* CInterCatalog::addLanguage(const char* name) {
    const CInter language(name);
    const bool isNamed = language.getName() == name;
    if (!isNamed || m_languages.append(language) == -1) {
        return nullptr;
    }
    return m_languages.getTable() + m_languages.getCount() - 1;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the interface
CTab<CStr> CInterCatalog::findFiles(const char* language, CStr pattern) {
    CTab<CStr> paths;
    if (language == nullptr || !isPattern(pattern.get())) {
        return paths;
    }
    CStr wildcards;  // empty without memory, and then nothing is found
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    (void)wildcards.format(pattern.get(), language);
#pragma GCC diagnostic pop
    glob_t found = {};
    if (glob(wildcards.get(), 0, nullptr, &found) == 0) {
        for (size_t i = 0; i < found.gl_pathc; ++i) {
            const CStr path(found.gl_pathv[i]);
            if (path.isEmpty() || paths.append(path) == -1) {
                paths.empty();  // all or nothing, without memory
                break;
            }
        }
    }
    globfree(&found);
    return paths;
}

}  // namespace cat
}  // namespace zol

xcat_registry* xcat_create(const char* defaultLanguage) {
    return new (std::nothrow) zol::cat::CInterCatalog(defaultLanguage, nullptr);
}

void xcat_add_catalogs(xcat_registry* registry, const char* pattern) {
    registry->addCatalogs(pattern);
}

xcat_catalog* xcat_get_catalog(xcat_registry* registry, const char* language) {
    return registry->getCatalog(language);
}

void xcat_close(xcat_registry* registry) {
    delete registry;
}
