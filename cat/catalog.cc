// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/cat.h"

#include "slots.h"

namespace zol {
namespace cat {

int CCatalog::openFile(const char* path) {
    CFile file;
    unsigned id = 0;
    if (file.open(path, id) != 0) {
        return -1;
    }
    CFile* const slot = slotOf(m_files, id);
    if (slot == nullptr) {
        return -1;
    }
    // Deliberate: what the slot had open is not closed.
    // Pinned by Registry.AReplacedFileStaysOpenAfterItIsClosed.
    *slot = file;
    (void)file.releaseStream();
    return 0;
}

int CCatalog::getMessage(unsigned id, CStr& text) const {
    const unsigned file = id >> 24;
    if (file >= static_cast<unsigned>(m_files.getCount())) {
        return -1;
    }
    return m_files[static_cast<int>(file)].getMessage(id, text);
}

}  // namespace cat
}  // namespace zol

int xcat_open_file(xcat_catalog* catalog, const char* path) {
    return catalog->openFile(path);
}

int xcat_msg(const xcat_catalog* catalog, unsigned id, xstr* text) {
    if (catalog == nullptr) {
        return -1;
    }
    // Lent to a CStr for the call: both are the same handle word.
    zol::CStr lent;
    *lent.handle() = *text;
    const int result = catalog->getMessage(id, lent);
    *text = *lent.handle();
    xstr_init(lent.handle());
    return result;
}
