// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Plug-ins run code of their own whenever they are opened, called or closed, and that code may add
// and remove plug-ins: the table moves, and rows come and go. So no pointer to a row is held across
// such a call; the row is looked up again behind it. A row that is being loaded is the last one of
// its name, as nothing of a name that is there can be added.
//
// Exceptions of plug-ins pass through here without anything being cleaned up. So a row has what
// belongs to it before the next of these calls is made. What is lost are the lists of dependencies
// and of matches that are held while the plug-ins in them are loaded.

#include <fcntl.h>
#include <glob.h>
#include <string.h>
#include <unistd.h>

#include "zol/plugin.h"

#include "core/diag.h"

namespace zol {

namespace {

constexpr int kMaxLevel = 10;

// Bytes of a text, without a NUL of their own.
struct Bytes {
    const char* start;
    size_t count;
};

Bytes bytesOf(const char* text) {
    return {text, strlen(text)};
}

// False without memory.
bool append(CStr& text, const Bytes& bytes) {
    const size_t before = static_cast<size_t>(text.getLength());
    text.concat(bytes.start, static_cast<int>(bytes.count));
    return static_cast<size_t>(text.getLength()) == before + bytes.count;
}

// Takes the first entry off a list, up to its ":" or to the end, and the ":" with it.
Bytes takeFirst(Bytes& list) {
    const void* const colon = memchr(list.start, ':', list.count);
    if (colon == nullptr) {
        const Bytes last = list;
        list = {list.start + list.count, 0};
        return last;
    }
    const Bytes first = {list.start,
                         static_cast<size_t>(static_cast<const char*>(colon) - list.start)};
    list = {list.start + first.count + 1, list.count - first.count - 1};
    return first;
}

// The path up to and including its last "/"; empty where there is none.
Bytes folderOf(const char* path) {
    const char* const slash = strrchr(path, '/');
    return {path, slash == nullptr ? 0 : static_cast<size_t>(slash - path) + 1};
}

// Reads to the end, or to where reading fails. False without memory. Not to become part of its
// caller, in whose recursion each call would have a chunk on the stack.
[[gnu::noinline]] bool readAll(int fd, CStr& text) {
    char chunk[4096];
    for (;;) {
        const ssize_t count = read(fd, chunk, sizeof chunk);
        if (count <= 0) {
            return true;
        }
        if (!append(text, {chunk, static_cast<size_t>(count)})) {
            return false;
        }
    }
}

// Reads the dependency file of a plug-in. True also where it cannot be opened: most have none.
// False without memory.
bool readDependencies(const char* file, CStr& list) {
    CStr path;
    if (!append(path, bytesOf(file)) || !append(path, bytesOf(".dep"))) {
        return false;
    }
    const int fd = open(path.get(), O_RDONLY | O_CLOEXEC);
    if (fd == -1) {
        return true;
    }
    const bool isRead = readAll(fd, list);
    (void)close(fd);
    return isRead;
}

// The files that match a pattern.
class Matches {
  public:
    explicit Matches(const char* pattern) : m_found() {
        (void)glob(pattern, 0, nullptr, &m_found);  // none, where it fails
    }
    ~Matches() { globfree(&m_found); }
    Matches(const Matches&) = delete;
    Matches& operator=(const Matches&) = delete;

    size_t count() const { return m_found.gl_pathc; }
    const char* operator[](size_t index) const { return m_found.gl_pathv[index]; }

  private:
    glob_t m_found;
};

}  // namespace

CPlugIns::CPlugIns() : m_host(nullptr) {
    static_assert(sizeof(CPlugIns) == 3 * sizeof(void*) &&
                  offsetof(CPlugIns, m_host) == sizeof(void*));
}

CPlugIns::~CPlugIns() {
    while (CPlugIn* const row = firstOpenRow()) {
        (void)row->closeNext(m_host);
    }
}

CPlugIn* CPlugIns::findPlugIn(const char* file) {
    CPlugIn* const rows = m_plugIns.getTable();
    for (int i = 0; i < m_plugIns.getCount(); ++i) {
        if (rows[i].getName() == file) {
            return rows + i;
        }
    }
    return nullptr;
}

bool CPlugIns::addPlugIn(const char* file, int update, int level) {
    // Deliberate: only looked for here, before the dependencies are loaded. So files that name
    // each other do not find each other, and each is loaded once per level.
    // Pinned by Dependencies.TwoFilesThatNameEachOtherAreElevenRows.
    if (findPlugIn(file) != nullptr) {
        return false;
    }
    if (level > kMaxLevel) {
        DIAG(LOG_ERR, "Too many dependency levels for plug-ins. Maybe a circular dependency ?");
        return false;
    }
    if (!addDependencies(file, level) || !load(file)) {
        return false;
    }
    if (update != 0) {
        updateAll();
    }
    return true;
}

void CPlugIns::addPatterns(const char* patterns) {
    Bytes rest = bytesOf(patterns);
    while (rest.count > 0) {
        CStr pattern;
        if (append(pattern, takeFirst(rest))) {
            addMatches(pattern.get());
        }
    }
    updateAll();
}

bool CPlugIns::removePlugIn(const char* file) {
    CPlugIn* row = findPlugIn(file);
    if (row == nullptr) {
        return false;
    }
    while (row != nullptr && row->closeNext(m_host)) {
        row = findPlugIn(file);
    }
    if (row != nullptr) {
        deleteRow(row);
    }
    return true;
}

void CPlugIns::updateAll() {
    bool hasChanged = true;
    while (hasChanged) {
        hasChanged = false;
        int settled = 0;
        for (int i = 0; i < m_plugIns.getCount(); ++i) {
            if (m_plugIns.getTable()[i].update(m_host, &settled) != 0) {
                hasChanged = true;
            }
        }
        // Deliberate: said also when there is no plug-in at all.
        // Pinned by UpdateAll.WithoutPlugInsLogsThatSomeCouldNotBeLoaded.
        if (settled == 0) {
            DIAG(LOG_ERR, "Some plugins couldn't be loaded!");
            return;
        }
    }
}

// Loads the dependencies of a plug-in. False without memory for their list.
bool CPlugIns::addDependencies(const char* file, int level) {
    CStr list;
    if (!readDependencies(file, list)) {
        return false;
    }
    // Deliberate: nothing is stripped. Blanks and line ends are parts of the names.
    // Pinned by Dependencies.ALineEndIsPartOfTheName.
    Bytes rest = {list.get(), static_cast<size_t>(list.getLength())};
    while (rest.count > 0) {
        const Bytes entry = takeFirst(rest);
        if (entry.count == 0) {
            continue;
        }
        CStr path;
        if ((*entry.start == '/' || append(path, folderOf(file))) && append(path, entry)) {
            (void)addPlugIn(path.get(), 0, level + 1);  // one that fails does not stop the others
        }
    }
    return true;
}

void CPlugIns::addMatches(const char* pattern) {
    const Matches matches(pattern);
    for (size_t i = 0; i < matches.count(); ++i) {
        (void)addPlugIn(matches[i], 0, 0);  // what is there already, or fails, is skipped
    }
}

// Loads a plug-in whose dependencies are there.
bool CPlugIns::load(const char* file) {
    const CPlugIn::Entry entry = openRow(file);
    if (entry == nullptr) {
        return false;
    }
    CPlugInInstance* const instance = entry();
    CPlugIn* const row = lastRow(file);
    if (row == nullptr || row->m_instance != nullptr) {
        return false;  // removed meanwhile, and closed thereby; what is there now has been added
    }
    row->m_instance = instance;
    if (instance != nullptr) {
        instance->onLoad(m_host);
    }
    return findPlugIn(file) != nullptr;
}

// Appends a row and opens its library. Null, without the row, when there is no entry function to
// be called.
CPlugIn::Entry CPlugIns::openRow(const char* file) {
    if (!appendRow(file)) {
        return nullptr;
    }
    CDynLib library;  // not in the row, which the library's constructors may move or remove
    const CPlugIn::Entry entry = CPlugIn::openLibrary(library, file);
    CPlugIn* const row = lastRow(file);
    if (row == nullptr || row->isOpen()) {
        return nullptr;  // removed meanwhile; what is there now has been added by others
    }
    if (entry == nullptr) {
        deleteRow(row);
        return nullptr;
    }
    row->take(library);
    return entry;
}

// Appends a row that has a name and nothing else. False without memory.
bool CPlugIns::appendRow(const char* file) {
    CPlugIn row;
    return row.setName(file) && m_plugIns.append(row) != -1;
}

void CPlugIns::deleteRow(const CPlugIn* row) {
    (void)m_plugIns.remove(static_cast<int>(row - m_plugIns.begin()));
}

CPlugIn* CPlugIns::lastRow(const char* file) {
    CPlugIn* const rows = m_plugIns.getTable();
    for (int i = m_plugIns.getCount(); i-- > 0;) {
        if (rows[i].getName() == file) {
            return rows + i;
        }
    }
    return nullptr;
}

CPlugIn* CPlugIns::firstOpenRow() {
    CPlugIn* const rows = m_plugIns.getTable();
    for (int i = 0; i < m_plugIns.getCount(); ++i) {
        if (rows[i].isOpen()) {
            return rows + i;
        }
    }
    return nullptr;
}

}  // namespace zol
