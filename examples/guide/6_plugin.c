/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <zol/plugin.h>

int main(int argc, char** argv) {
    /* The manager of plug-ins is a class. C opens a library itself, for all to see... */
    void* const library = argc > 1 ? dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) : NULL;
    void (*set_lamp)(int is_on);
    void* symbol;
    if (library == NULL) {
        return 1;
    }
    puts("1 loaded");
    /* ... and finds what it offers by its name, in whichever library that is. */
    symbol = xlib_get_symbol("lampd_driver_set");
    if (symbol == NULL) {
        return 1;
    }
    memcpy(&set_lamp, &symbol, sizeof set_lamp); /* C has no cast from data to functions */
    set_lamp(1);
    set_lamp(0);
    dlclose(library);
    return 0;
}
