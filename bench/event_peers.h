// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef EVENT_PEERS_H
#define EVENT_PEERS_H

#include <event2/event.h>
#include <event2/event_struct.h>
#include <glib-unix.h>
#include <glib.h>
#include <stdint.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <uv.h>

#include "evlp/evlp.h"
#include "zol/event.h"

// Event loops under one face, so that a subject is written once for all of them. Each has
//
//   - Loop: run() until stop();
//   - Watch<Node>: calls node->onReady() whenever a descriptor can be read;
//   - Timer<Node>: arm() it to call node->onReady() once, or cancel().
//
// The face costs nothing: what the library calls back calls the node directly. Watches and timers
// go before their loop; a watch may go in its own callback.

namespace bench {

/** A descriptor, closed at the end. */
class OwnedFd {
  public:
    explicit OwnedFd(int fd) : m_fd(fd) {}
    ~OwnedFd() { close(m_fd); }
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;

    int get() const { return m_fd; }

  private:
    int m_fd;
};

/** libzol's classes. */
struct ZolEvent {
    static constexpr const char* name = "zol";

    class Loop {
      public:
        void run() { (void)m_loop.loop(0, 0); }
        void stop() { (void)m_loop.exitLoop(); }
        evlp_thread_str* get() { return m_loop.getThread(); }

      private:
        zol::CEventLoop m_loop;
    };

    template <class Node>
    class Watch : public zol::CEventCallback {
      public:
        void open(Loop& loop, int fd, Node* node) {
            m_node = node;
            m_event.set(loop.get(), this, fd, zol::CEvent::kRead, 8);
            m_event.add(zol::CTime::infinite);
        }

        int onEvent(int, short, zol::CEvent*) override {
            m_node->onReady();
            return 0;
        }

      private:
        Node* m_node = nullptr;
        zol::CEvent m_event;
    };

    template <class Node>
    class Timer : public zol::CEventCallback {
      public:
        void open(Loop& loop, Node* node) {
            m_node = node;
            m_event.set(loop.get(), this, -1, 0, 8);
        }
        void arm(int delayMs) { m_event.add(zol::CTime(int64_t{delayMs} * 1000)); }
        void cancel() { m_event.remove(); }

        int onEvent(int, short, zol::CEvent*) override {
            m_node->onReady();
            return 0;
        }

      private:
        Node* m_node = nullptr;
        zol::CEvent m_event;
    };
};

/** The event-loop service alone. */
struct Evlp {
    static constexpr const char* name = "evlp";

    class Loop {
      public:
        Loop() : m_loop(evlp_openThreadInt("bench", 0, 0, 32, 10, 255, 10)) {}
        ~Loop() { evlp_closeThread(m_loop); }
        Loop(const Loop&) = delete;
        Loop& operator=(const Loop&) = delete;
        void run() { evlp_startThread(m_loop); }
        void stop() { evlp_stopThread(m_loop); }
        evlp_thread_str* get() { return m_loop; }

      private:
        evlp_thread_str* m_loop;
    };

    template <class Node>
    class Watch {
      public:
        Watch() = default;
        ~Watch() { fd_closeCtx(m_ctx); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void open(Loop& loop, int fd, Node* node) {
            m_ctx = fd_openCtx(loop.get(), ready, node, fd, EVLP_READ, 8);
            fd_startCtx(m_ctx, -1);
        }

      private:
        static void ready(void* node, int) { static_cast<Node*>(node)->onReady(); }

        evlp_ctx_str* m_ctx = nullptr;
    };

    template <class Node>
    class Timer {
      public:
        Timer() = default;
        ~Timer() { timer_closeCtx(m_ctx); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

        void open(Loop& loop, Node* node) { m_ctx = timer_openCtx(loop.get(), due, node, 0, 8); }
        void arm(int delayMs) { timer_startCtx(m_ctx, delayMs); }
        void cancel() { timer_stopCtx(m_ctx); }

      private:
        static void due(void* node) { static_cast<Node*>(node)->onReady(); }

        evlp_ctx_str* m_ctx = nullptr;
    };
};

struct Libevent {
    static constexpr const char* name = "libevent";

    class Loop {
      public:
        explicit Loop(int flags = 0) {
            event_config* const config = event_config_new();
            event_config_set_flag(config, flags);
            m_base = event_base_new_with_config(config);
            event_config_free(config);
        }
        ~Loop() { event_base_free(m_base); }
        Loop(const Loop&) = delete;
        Loop& operator=(const Loop&) = delete;
        void run() { event_base_loop(m_base, EVLOOP_NO_EXIT_ON_EMPTY); }
        void stop() { event_base_loopbreak(m_base); }
        event_base* get() { return m_base; }

      private:
        event_base* m_base;
    };

    template <class Node>
    class Watch {
      public:
        Watch() = default;
        ~Watch() { event_del(&m_event); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void open(Loop& loop, int fd, Node* node) {
            event_assign(&m_event, loop.get(), fd, EV_READ | EV_PERSIST, ready, node);
            event_add(&m_event, nullptr);
        }

      private:
        static void ready(int, short, void* node) { static_cast<Node*>(node)->onReady(); }

        event m_event = {};
    };

    template <class Node>
    class Timer {
      public:
        Timer() = default;
        ~Timer() { event_del(&m_event); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

        void open(Loop& loop, Node* node) { evtimer_assign(&m_event, loop.get(), due, node); }
        void arm(int delayMs) {
            const timeval delay = {delayMs / 1000, delayMs % 1000 * 1000};
            evtimer_add(&m_event, &delay);
        }
        void cancel() { evtimer_del(&m_event); }

      private:
        static void due(int, short, void* node) { static_cast<Node*>(node)->onReady(); }

        event m_event = {};
    };
};

struct Libuv {
    static constexpr const char* name = "libuv";

    class Loop {
      public:
        Loop() { uv_loop_init(&m_loop); }
        ~Loop() {
            uv_run(&m_loop, UV_RUN_DEFAULT);  // until all handles are closed
            uv_loop_close(&m_loop);
        }
        Loop(const Loop&) = delete;
        Loop& operator=(const Loop&) = delete;
        void run() { uv_run(&m_loop, UV_RUN_DEFAULT); }
        void stop() { uv_stop(&m_loop); }
        uv_loop_t* get() { return &m_loop; }

      private:
        uv_loop_t m_loop;
    };

    /** Closes a handle, which the loop frees later. */
    template <class Handle>
    static void close(Handle* handle) {
        if (handle != nullptr) {
            uv_close(reinterpret_cast<uv_handle_t*>(handle),
                     [](uv_handle_t* closed) { delete reinterpret_cast<Handle*>(closed); });
        }
    }

    template <class Node>
    class Watch {
      public:
        Watch() = default;
        ~Watch() { close(m_poll); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void open(Loop& loop, int fd, Node* node) {
            m_poll = new uv_poll_t;
            uv_poll_init(loop.get(), m_poll, fd);
            m_poll->data = node;
            uv_poll_start(m_poll, UV_READABLE, ready);
        }

      private:
        static void ready(uv_poll_t* poll, int, int) { static_cast<Node*>(poll->data)->onReady(); }

        uv_poll_t* m_poll = nullptr;
    };

    template <class Node>
    class Timer {
      public:
        Timer() = default;
        ~Timer() { close(m_timer); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

        void open(Loop& loop, Node* node) {
            m_timer = new uv_timer_t;
            uv_timer_init(loop.get(), m_timer);
            m_timer->data = node;
        }
        void arm(int delayMs) { uv_timer_start(m_timer, due, static_cast<uint64_t>(delayMs), 0); }
        void cancel() { uv_timer_stop(m_timer); }

      private:
        static void due(uv_timer_t* timer) { static_cast<Node*>(timer->data)->onReady(); }

        uv_timer_t* m_timer = nullptr;
    };
};

struct Glib {
    static constexpr const char* name = "glib";

    class Loop {
      public:
        Loop() : m_context(g_main_context_new()), m_loop(g_main_loop_new(m_context, FALSE)) {
            g_main_context_push_thread_default(m_context);
        }
        ~Loop() {
            g_main_context_pop_thread_default(m_context);
            g_main_loop_unref(m_loop);
            g_main_context_unref(m_context);
        }
        Loop(const Loop&) = delete;
        Loop& operator=(const Loop&) = delete;
        void run() { g_main_loop_run(m_loop); }
        void stop() { g_main_loop_quit(m_loop); }
        GMainContext* get() { return m_context; }

      private:
        GMainContext* m_context;
        GMainLoop* m_loop;
    };

    static void close(GSource* source) {
        if (source != nullptr) {
            g_source_destroy(source);
            g_source_unref(source);
        }
    }

    template <class Node>
    class Watch {
      public:
        Watch() = default;
        ~Watch() { close(m_source); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void open(Loop& loop, int fd, Node* node) {
            m_source = g_unix_fd_source_new(fd, G_IO_IN);
            g_source_set_callback(m_source, G_SOURCE_FUNC(ready), node, nullptr);
            g_source_attach(m_source, loop.get());
        }

      private:
        static gboolean ready(gint, GIOCondition, gpointer node) {
            static_cast<Node*>(node)->onReady();
            return G_SOURCE_CONTINUE;
        }

        GSource* m_source = nullptr;
    };

    /** A source with a ready time, which can be moved without being attached anew. */
    template <class Node>
    class Timer {
      public:
        Timer() = default;
        ~Timer() { close(m_source); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

        void open(Loop& loop, Node* node) {
            static GSourceFuncs functions = {nullptr, nullptr, due, nullptr, nullptr, nullptr};
            m_source = g_source_new(&functions, sizeof(GSource));
            g_source_set_callback(m_source, nullptr, node, nullptr);
            g_source_attach(m_source, loop.get());
        }
        void arm(int delayMs) {
            g_source_set_ready_time(m_source,
                                    g_source_get_time(m_source) + int64_t{delayMs} * 1000);
        }
        void cancel() { g_source_set_ready_time(m_source, -1); }

      private:
        static gboolean due(GSource* source, GSourceFunc, gpointer node) {
            g_source_set_ready_time(source, -1);
            static_cast<Node*>(node)->onReady();
            return G_SOURCE_CONTINUE;
        }

        GSource* m_source = nullptr;
    };
};

/** The limit for descriptors: a loop around epoll_wait, written for nothing else. */
struct PlainEpoll {
    static constexpr const char* name = "limit";

    struct Entry {
        void (*ready)(void* node);
        void* node;
    };

    class Loop {
      public:
        Loop() : m_epoll(epoll_create1(EPOLL_CLOEXEC)) {}
        ~Loop() { ::close(m_epoll); }
        Loop(const Loop&) = delete;
        Loop& operator=(const Loop&) = delete;

        void run() {
            m_stopping = false;
            while (!m_stopping) {
                const int count = epoll_wait(m_epoll, m_events, kEvents, -1);
                for (int i = 0; i < count; ++i) {
                    const Entry* const entry = static_cast<Entry*>(m_events[i].data.ptr);
                    entry->ready(entry->node);
                }
            }
        }
        void stop() { m_stopping = true; }
        int get() { return m_epoll; }

      private:
        static constexpr int kEvents = 1024;

        int m_epoll;
        bool m_stopping = false;
        epoll_event m_events[kEvents];
    };

    template <class Node>
    class Watch {
      public:
        Watch() = default;
        ~Watch() {
            if (m_epoll >= 0) {
                (void)epoll_ctl(m_epoll, EPOLL_CTL_DEL, m_fd, nullptr);
            }
        }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void open(Loop& loop, int fd, Node* node) {
            m_epoll = loop.get();
            m_fd = fd;
            m_entry = {[](void* ready) { static_cast<Node*>(ready)->onReady(); }, node};
            epoll_event event = {};
            event.events = EPOLLIN;
            event.data.ptr = &m_entry;
            (void)epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event);
        }

      private:
        int m_epoll = -1;
        int m_fd = -1;
        Entry m_entry = {};
    };
};

/** Calls `function` with each loop. */
template <class Function>
void forEachPeer(Function function) {
    function(ZolEvent());
    function(Evlp());
    function(PlainEpoll());
    function(Libevent());
    function(Libuv());
    function(Glib());
}

}  // namespace bench

#endif
