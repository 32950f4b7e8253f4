/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <stdio.h>
#include <zol/cat.h>

#include "lampd_messages.h"

/* Sets a text in the language of the catalog, with the name of the lamp in it. */
static void say(const xcat_catalog* catalog, unsigned id, const char* lamp, xstr* text) {
    if (xcat_msg(catalog, id, text) != 0) {
        xstr_set(text, "{lamp}: ?", -1); /* a daemon says something even without its texts */
    }
    xstr_replace(text, "{lamp}", lamp);
}

int main(int argc, char** argv) {
    xcat_registry* texts;
    xstr pattern, text;
    int i;
    if (argc < 3) {
        fprintf(stderr, "usage: %s FOLDER LANGUAGE...\n", argv[0]);
        return 2;
    }
    xstr_init(&pattern);
    xstr_init(&text);
    xstr_format(&pattern, "%s/%%s.cat", argv[1]);
    texts = xcat_create("en");
    if (texts == NULL) {
        return 1;
    }
    xcat_add_catalogs(texts, pattern);
    for (i = 2; i < argc; ++i) {
        const xcat_catalog* const catalog = xcat_get_catalog(texts, argv[i]);
        say(catalog, LAMPD_ON, "cuisine", &text);
        puts(text);
        say(catalog, LAMPD_OFF, "cuisine", &text);
        xstr_replaceSpecialCharUTF8(&text); /* the display shows plain ASCII only */
        printf("[%-20s]\n", text);
    }
    xcat_close(texts);
    xstr_free(&text);
    xstr_free(&pattern);
    return 0;
}
