// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Child processes that end at once, one after the other, in a parent of so many megabytes.
//
//   process_start   starts one: for that long the loop stands still
//   process_run     starts one and is told of its end
//
// The peer posix_spawn has no loop: it waits for its child with waitpid(2).

#include <chrono>
#include <functional>
#include <memory>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>

#include "zol/process.h"

#include "event_peers.h"
#include "measure.h"

namespace {

constexpr char kProgram[] = "/bin/true";

char* const* words() {
    static char name[] = "true";
    static char* const all[] = {name, nullptr};
    return all;
}

/** Memory that the parent holds, every page of it its own. */
void holdMegabytes(int count) {
    static std::unique_ptr<char[]> held;
    static int megabytes = 0;
    if (count != megabytes) {
        const size_t bytes = static_cast<size_t>(count) << 20;
        held.reset(new char[bytes + 1]);
        memset(held.get(), 1, bytes);
        megabytes = count;
    }
}

// --- peers ---
// Each starts a child, and runs until it has been told of its end.

class Zol : zol::IProcTermHandler {
  public:
    static constexpr const char* name = "zol";

    bool start() { return m_process.start(kProgram, words(), XEXEC_PLAIN) == 0; }
    void awaitEnd() { (void)m_loop.loop(0, 0); }

  private:
    void onProcTerm(zol::CProcess*, int) override { (void)m_loop.exitLoop(); }

    zol::CEventLoop m_loop;
    zol::CProcess m_process{this, m_loop.getThread(), 8};
};

class PosixSpawn {
  public:
    static constexpr const char* name = "posix_spawn";

    bool start() { return posix_spawn(&m_pid, kProgram, nullptr, nullptr, words(), environ) == 0; }
    void awaitEnd() { (void)waitpid(m_pid, nullptr, 0); }

  private:
    pid_t m_pid = 0;
};

class Libuv {
  public:
    static constexpr const char* name = "libuv";

    bool start() {
        uv_stdio_container_t streams[3] = {};
        for (int fd = 0; fd != 3; ++fd) {
            streams[fd].flags = UV_INHERIT_FD;
            streams[fd].data.fd = fd;
        }
        uv_process_options_t options = {};
        options.file = kProgram;
        options.args = const_cast<char**>(words());
        options.stdio = streams;
        options.stdio_count = 3;
        options.exit_cb = [](uv_process_t* process, int64_t, int) {
            uv_close(reinterpret_cast<uv_handle_t*>(process), nullptr);
        };
        return uv_spawn(m_loop.get(), &m_process, &options) == 0;
    }
    void awaitEnd() { m_loop.run(); }

  private:
    bench::Libuv::Loop m_loop;
    uv_process_t m_process;
};

class Glib {
  public:
    static constexpr const char* name = "glib";

    bool start() {
        GPid pid = 0;
        char program[sizeof kProgram];
        memcpy(program, kProgram, sizeof program);
        char* argv[] = {program, nullptr};
        if (g_spawn_async(nullptr, argv, nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, &pid,
                          nullptr) == 0) {
            return false;
        }
        GSource* const watch = g_child_watch_source_new(pid);
        g_source_set_callback(watch, G_SOURCE_FUNC(onEnded), this, nullptr);
        g_source_attach(watch, m_loop.get());
        g_source_unref(watch);
        return true;
    }
    void awaitEnd() { m_loop.run(); }

  private:
    static void onEnded(GPid pid, gint, gpointer self) {
        g_spawn_close_pid(pid);
        static_cast<Glib*>(self)->m_loop.stop();
    }

    bench::Glib::Loop m_loop;
};

// --- subjects ---

/** @param wholeRun  whether the time counts until the end of the child, or only the start */
template <class Peer>
void run(benchmark::State& state, int megabytes, bool wholeRun) {
    using Clock = std::chrono::steady_clock;
    holdMegabytes(megabytes);
    Peer peer;
    bench::measure(state, 1, [&] {
        const Clock::time_point before = Clock::now();
        if (!peer.start()) {
            state.SkipWithError("cannot start a child");
            return;
        }
        const Clock::time_point started = Clock::now();
        peer.awaitEnd();
        const Clock::time_point after = wholeRun ? Clock::now() : started;
        state.SetIterationTime(std::chrono::duration<double>(after - before).count());
    });
}

template <class Peer>
void addPeer(int megabytes) {
    for (const bool wholeRun : {false, true}) {
        bench::add(wholeRun ? "process_run" : "process_start", Peer::name, megabytes,
                   [=](benchmark::State& state) { run<Peer>(state, megabytes, wholeRun); })
            ->UseManualTime();
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const int megabytes : {0, 100}) {
        addPeer<Zol>(megabytes);
        addPeer<PosixSpawn>(megabytes);
        addPeer<Libuv>(megabytes);
        addPeer<Glib>(megabytes);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
