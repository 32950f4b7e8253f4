// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <stdio.h>
#include <zol/cat.h>

#include "lampd_messages.h"

// A text in the language of the catalog, with the name of the lamp in it.
static zol::CStr say(const zol::cat::CCatalog* catalog, unsigned id, const char* lamp) {
    zol::CStr text;
    if (catalog == nullptr || catalog->getMessage(id, text) != 0) {
        text = "{lamp}: ?";  // a daemon says something even without its texts
    }
    return text.replace("{lamp}", lamp);
}

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s FOLDER LANGUAGE...\n", argv[0]);
        return 2;
    }
    zol::CStr pattern(argv[1]);
    zol::cat::CInterCatalog texts("en", pattern.concat("/%s.cat").get());
    for (int i = 2; i < argc; ++i) {
        const zol::cat::CCatalog* const catalog = texts.getCatalog(argv[i]);
        puts(say(catalog, LAMPD_ON, "cuisine").get());

        zol::CStr display = say(catalog, LAMPD_OFF, "cuisine");
        xstr_replaceSpecialCharUTF8(display.handle());  // it shows plain ASCII only
        printf("[%-20s]\n", display.get());
    }
    return 0;
}
