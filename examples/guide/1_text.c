/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>
#include <zol/str.h>
#include <zol/tab.h>

struct lamp {
    xstr name;
    int watts;
};

/* Tables of lamps: their hidden header, their elements, and by how many they grow. */
static const xabuf_def_s lamps_def = {sizeof(xtabh_s), sizeof(struct lamp), 8};

/* Reads lamps from "kitchen 40; hall 15". */
static void read_lamps(xtab* lamps, const xstr* settings) {
    int begin, end;
    for (begin = 0; begin < xstr_get_length(settings); begin = end + 1) {
        struct lamp lamp = {NULL, 0};
        int blank;
        end = xstr_find(settings, ";", (unsigned)begin);
        if (end == -1) {
            end = xstr_get_length(settings);
        }
        xstr_init(&lamp.name);
        xstr_trim(xstr_set(&lamp.name, *settings + begin, end - begin), NULL);
        blank = xstr_find_last(&lamp.name, " ");
        if (blank == -1) {
            syslog(LOG_ERR, "a lamp without watts: %s", lamp.name);
            xstr_free(&lamp.name);
            continue;
        }
        lamp.watts = atoi(lamp.name + blank);
        xstr_set(&lamp.name, lamp.name, blank);
        xtab_insert(lamps, &lamps_def, -1, 1, &lamp); /* the name is the table's now */
    }
}

int main(int argc, char** argv) {
    xstr settings;
    xtab table = NULL, before = NULL;
    struct lamp* lamps;
    int i;
    openlog("lampd", LOG_PERROR, LOG_DAEMON); /* what the library logs goes the same way */

    xstr_init(&settings);
    xstr_set(&settings, argc > 1 ? argv[1] : "", -1);
    read_lamps(&table, &settings);
    lamps = table; /* a handle is the address of the first element */
    for (i = 0; i < xtab_get_count(&table); ++i) {
        printf("%s: %d W\n", lamps[i].name, lamps[i].watts);
    }

    xsbuf_copy(&before, &table); /* one increment: both have the same elements */
    xtab_detach(&table);         /* before writing: now the table has its own */
    lamps = table;
    if (lamps != NULL) {
        lamps[0].watts = 60;
        printf("%s: %d W now, %d W before\n", lamps[0].name, lamps[0].watts,
               ((struct lamp*)before)[0].watts);
    }

    for (i = 0; i < xtab_get_count(&table); ++i) {
        xstr_free(&lamps[i].name); /* C has copied bytes: the names are in both, and freed once */
    }
    xsbuf_free(&table);
    xsbuf_free(&before);
    xstr_free(&settings);
    return 0;
}
