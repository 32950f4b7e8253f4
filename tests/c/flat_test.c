/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */

/* The flat interface from C99: that it compiles, links under plain names, and works. */

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "zol/zol.h"

static int failures = 0;

#define CHECK(condition)                                           \
    do {                                                           \
        if (!(condition)) {                                        \
            printf("%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            ++failures;                                            \
        }                                                          \
    } while (0)

static int formatted(xstr* s, const char* format, ...) ZOL_PRINTF(2, 3);

static int formatted(xstr* s, const char* format, ...) {
    va_list args;
    int length;
    va_start(args, format);
    length = xstr_vformat(s, format, args);
    va_end(args);
    return length;
}

static void strings(void) {
    xstr a;
    xstr b;
    xstr_init(&a);
    xstr_init(&b);
    CHECK(a == xstr_null);
    CHECK(xstr_format(&a, "zone %d", 4) == 6);
    CHECK(formatted(&b, "%s", a) == 6);
    xstr_copy(&b, &a);
    CHECK(a == b);
    CHECK(xsbuf_get_refcount((xhandle*)&a) == 2);
    CHECK(xabuf_get_def((xhandle*)&a) == &xstr_def);
    xstr_concat(&b, "!", -1);
    CHECK(strcmp(a, "zone 4") == 0);
    CHECK(strcmp(b, "zone 4!") == 0);
    CHECK(xstr_find_last(&b, "4") == 5);
    CHECK(xstrref_compare("abc", 3, "abc") == 0);
    xstr_free(&a);
    xstr_free(&b);
}

struct record {
    int id;
    xlist_link_s link;
    void* below;
};

static void containers(void) {
    static const xabuf_def_s def = {sizeof(xtabh_s), sizeof(struct record), 8};
    struct record r = {7, {NULL, NULL}, NULL};
    xtab t = NULL;
    xlist list = xlist_null;
    xfifo fifo = xfifo_null;
    xlifo lifo = xlifo_null;

    CHECK(xtab_insert(&t, &def, -1, 1, &r) == 1);
    CHECK(((struct record*)t)[0].id == 7);
    CHECK(xtab_delete(&t, 0, -1) == 0);
    CHECK(t == NULL);

    xlist_add_tail(&list, &r, offsetof(struct record, link));
    CHECK(xlist_get_count(&list) == 1);
    CHECK(xlist_remove_head(&list, offsetof(struct record, link)) == &r);
    CHECK(xfifo_add(&fifo, &r, offsetof(struct record, below)) == &fifo);
    CHECK(xfifo_remove(&fifo, offsetof(struct record, below)) == &r);
    CHECK(xlifo_push(&lifo, &r, offsetof(struct record, below)) == &lifo);
    CHECK(xlifo_pull(&lifo, offsetof(struct record, below)) == &r);
}

static void helpers(void) {
    CHECK(strcmp(zol_getoption("ZOL_SURELY_NOT_SET", "default"), "default") == 0);
    zol_obj_free(NULL);
    xlog_set_name("test");
    xlog_level_filter(3);
}

static void loop(void) {
    void* l = xeventloop_new();
    CHECK(l != NULL);
    xeventloop_free(l);
    xeventloop_free(NULL);
}

static void sockets(void) {
    uint16_t family = 0;
    int fd = xsock_open_inet_server(0x7F000001, 0, 1);
    CHECK(fd >= 0);
    CHECK(xsock_get_info(fd, &family, NULL, NULL, NULL, NULL) == 0);
    CHECK(family == AF_INET);
    CHECK(xsock_accept(fd, 1) == -1);
    CHECK(xsock_peek(fd) == -1);
    close(fd);
}

static void catalogs(void) {
    xcat_registry* texts = xcat_create("en");
    xstr text;
    xstr_init(&text);
    CHECK(texts != NULL);
    CHECK(xcat_get_catalog(texts, "en") == NULL);
    xcat_add_catalogs(texts, "/nowhere/%s/texts.cat");
    CHECK(xcat_get_catalog(texts, "de") == xcat_get_catalog(texts, "en"));
    CHECK(xcat_open_file(xcat_get_catalog(texts, "en"), "/nowhere/texts.cat") == -1);
    CHECK(xcat_msg(xcat_get_catalog(texts, "en"), 0x01000000, &text) == -1);
    CHECK(xcat_dump_file("/nowhere/texts.cat", stdout) == -1);
    xcat_close(texts);
    xcat_close(NULL);
}

int symbol_of_the_program = 7;

static void libraries(void) {
    CHECK(xlib_get_symbol("xlib_get_symbol") != NULL);
    CHECK(xlib_get_symbol("symbol_of_the_program") == &symbol_of_the_program);
    CHECK(xlib_get_symbol("no_such_symbol") == NULL);
}

int main(void) {
    strings();
    containers();
    helpers();
    loop();
    sockets();
    catalogs();
    libraries();
    if (failures == 0) {
        puts("all passed");
    }
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
