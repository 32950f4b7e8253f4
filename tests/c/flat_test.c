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

static void buffers(void) {
    xbuffer b = NULL;
    xstr text;
    char line[20] = "";
    int length = 4;
    FILE* stream;
    xstr_init(&text);
    CHECK(xbuffer_set(&b, "foob", 4) == &b);
    CHECK(xabuf_get_def(&b) == &xbuffer_def);
    CHECK(xbase64_encode_buffer(&text, (const unsigned char*)b, xtab_get_count(&b)) == 0);
    CHECK(strcmp(text, "Zm9vYg==") == 0);
    length = (int)strlen(text);
    CHECK(xbase64_decode_buffer(&b, text, &length) == 0);
    CHECK(xtab_get_count(&b) == 4);
    stream = xstr_fopen(&text, "w");
    CHECK(fprintf(stream, "zone %d", 4) == 6);
    CHECK(fclose(stream) == 0);
    CHECK(strcmp(text, "zone 4") == 0);
    stream = xstr_fopen_cstr("a line\n", "r");
    CHECK(fgets(line, sizeof line, stream) != NULL);
    CHECK(fclose(stream) == 0);
    CHECK(strcmp(line, "a line\n") == 0);
    xstr_set(&text, "\xc3\xa9t\xc3\xa9", -1);
    CHECK(xstr_replaceSpecialCharUTF8(&text) == &text);
    CHECK(strcmp(text, "ete") == 0);
    xbuffer_release_buffer(&b, 0);
    xstr_free(&text);
}

struct drier {
    xcond cond;
    int permille;
};

static int is_drier(const xcond* c, void* soil) {
    return *(const int*)soil < ((const struct drier*)c)->permille;
}

static void conditions(void) {
    struct drier dry = {{is_drier, NULL}, 300};
    xnotcond moist;
    int soil = 250;
    moist.cond = xnotcond_def;
    moist.child = &dry.cond;
    CHECK(moist.cond.check(&moist.cond, &soil) == 0);
    soil = 350;
    CHECK(moist.cond.check(&moist.cond, &soil) == 1);
    moist.cond.clean(&moist.cond);
}

static void digests(void) {
    static const unsigned char abc[16] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                          0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    unsigned char digest[16];
    cvs_MD5Context context;
    cvs_MD5Init(&context);
    cvs_MD5Update(&context, (const unsigned char*)"abc", 3);
    cvs_MD5Final(digest, &context);
    CHECK(memcmp(digest, abc, 16) == 0);
}

static void locations(void) {
    xlyctx_location_s location;
    char* memory = xlyctx_malloc(NULL, 4);
    memset(&location, 0, sizeof location);
    location.first_line = location.last_line = 1;
    xlyctx_update_location(&location, "x = ", 4);
    xlyctx_update_location(&location, "ab", 2);
    CHECK(location.first_column == 5);
    CHECK(location.last_column == 6);
    CHECK(strcmp(location.token_text, "x = ab") == 0);
    CHECK(memory != NULL && memory[3] == 0);
    free(memory);
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
    buffers();
    conditions();
    digests();
    locations();
    if (failures == 0) {
        puts("all passed");
    }
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
