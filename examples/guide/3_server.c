/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <evlp/evlp.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zol/list.h>
#include <zol/sock.h>

struct server {
    evlp_thread_str* loop;
    xlist connections;
    const char* lamp;
};

struct connection {
    xlist_link_s link;
    struct server* server;
    evlp_ctx_str* ctx;
    int fd;
    xstr input; /* the beginning of a line whose end has not come */
};

static void close_connection(struct connection* c) {
    xlist_remove(&c->server->connections, c, offsetof(struct connection, link));
    fd_closeCtx(c->ctx);
    close(c->fd);
    xstr_free(&c->input);
    free(c);
}

static void answer(struct connection* c, const char* line) {
    char text[300];
    if (strcmp(line, "on") == 0 || strcmp(line, "off") == 0) {
        c->server->lamp = strcmp(line, "on") == 0 ? "on" : "off";
    }
    if (strcmp(line, "state") == 0 || strcmp(line, c->server->lamp) == 0) {
        snprintf(text, sizeof text, "%s\n", c->server->lamp);
    } else {
        snprintf(text, sizeof text, "error: %s\n", line);
    }
    (void)send(c->fd, text, strlen(text), MSG_NOSIGNAL);
}

static void on_data(void* user, int fd) {
    struct connection* c = user;
    char bytes[256];
    ssize_t n = recv(fd, bytes, sizeof bytes, 0);
    int end;
    if (n > 0) {
        xstr_concat(&c->input, bytes, (int)n);
        while ((end = xstr_find(&c->input, "\n", 0)) != -1) {
            c->input[end] = '\0'; /* nobody shares it */
            answer(c, c->input);
            xstr_set(&c->input, c->input + end + 1, xstr_get_length(&c->input) - end - 1);
        }
    }
    if (n <= 0 || xstr_get_length(&c->input) > 1000) {
        close_connection(c);
    }
}

static void on_connect(void* user, int fd) {
    struct server* s = user;
    int socket = xsock_accept(fd, 1);
    struct connection* c = socket == -1 ? NULL : calloc(1, sizeof *c);
    if (c == NULL) {
        close(socket);
        return;
    }
    c->server = s;
    c->fd = socket;
    xstr_init(&c->input);
    c->ctx = fd_openCtx(s->loop, on_data, c, socket, EVLP_READ, 8);
    xlist_add_tail(&s->connections, c, offsetof(struct connection, link));
    fd_startCtx(c->ctx, -1);
}

static void quit(void* user) {
    evlp_stopThread(user);
}

int main(int argc, char** argv) {
    struct server s = {NULL, {NULL, NULL, 0}, "off"};
    int fd = argc < 2 ? -1 : xsock_open_unix_server(argv[1], 1);
    evlp_ctx_str *listening, *terminate;
    int result;
    if (fd == -1) {
        return 1;
    }
    s.loop = evlp_openThreadInt("lampd", 0, 0, 32, 10, 255, 10);
    listening = fd_openCtx(s.loop, on_connect, &s, fd, EVLP_READ, 8);
    fd_startCtx(listening, -1);
    terminate = sig_openCtx(s.loop, quit, s.loop, SIGTERM, 8);
    sig_startCtx(terminate);
    puts("ready");
    result = evlp_startThread(s.loop);

    while (s.connections.head != NULL) {
        close_connection(s.connections.head); /* the link is the first field of the record */
    }
    sig_closeCtx(terminate);
    fd_closeCtx(listening);
    close(fd);
    evlp_closeThread(s.loop);
    return result == 0 ? 0 : 1;
}
