// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What the system's loader is asked for, and how dependency files are opened. A program of its own,
// for it defines these functions.

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "zol/plugin.h"

#include "support/syslog_capture.h"

using testing::ElementsAre;
using zol::CDynLib;

namespace {

std::vector<std::string>* calls = nullptr;
bool tellsClose = false;  // on the standard error
bool isSilent = false;    // no reason is given
int library = 0;          // whose address is the handle of everything

}  // namespace

extern "C" {

void* dlopen(const char* file, int mode) noexcept {
    const std::string name = file == nullptr ? "(null)" : file;
    if (calls != nullptr) {
        calls->push_back("open " + name +
                         (mode == (RTLD_NOW | RTLD_GLOBAL) ? " now, global" : " otherwise"));
    }
    const bool isMissing = name.compare(0, 9, "/nowhere/") == 0;
    if (calls != nullptr && !isMissing) {
        return &library;
    }
    const auto next = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    return next(file, mode);
}

char* dlerror() noexcept {
    return isSilent ? nullptr : reinterpret_cast<char* (*)()>(dlsym(RTLD_NEXT, "dlerror"))();
}

int dlclose(void* handle) noexcept {
    if (tellsClose) {
        (void)!write(STDERR_FILENO, "closed\n", 7);
    }
    if (calls == nullptr) {
        return reinterpret_cast<int (*)(void*)>(dlsym(RTLD_NEXT, "dlclose"))(handle);
    }
    void* volatile given = handle;  // declared as if it were never null
    const bool isNull = given == nullptr;
    calls->push_back(isNull ? "close nothing" : "close");
    return isNull ? -5 : 5;
}

int open(const char* file, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    if (calls != nullptr) {
        calls->push_back("read " + std::string(file) +
                         (flags == (O_RDONLY | O_CLOEXEC) ? ", closed on exec" : " otherwise"));
    }
    return openat(AT_FDCWD, file, flags, mode);
}

}  // extern "C"

namespace {

class LoaderCalls : public testing::Test {
  protected:
    LoaderCalls() { calls = &made; }
    ~LoaderCalls() override { calls = nullptr; }

    std::vector<std::string> made;
};

TEST(LoaderCallsDeathTest, TheHandleOfTheProcessIsClosedWhenItEnds) {
    EXPECT_EXIT(
        {
            (void)xlib_get_symbol("malloc");
            tellsClose = true;
            exit(0);
        },
        testing::ExitedWithCode(0), "closed");
}

TEST_F(LoaderCalls, ALibraryIsOpenedAtOnceAndForAll) {
    const CDynLib opened("moon.so");
    const CDynLib program(nullptr);

    EXPECT_THAT(made, ElementsAre("open moon.so now, global", "open (null) now, global"));
}

TEST_F(LoaderCalls, CloseAnswersWhatTheLoaderDoes) {
    CDynLib opened("moon.so");

    EXPECT_EQ(5, opened.close());
}

TEST_F(LoaderCalls, AClosedLibraryIsClosedAllTheSame) {
    CDynLib closed;

    EXPECT_EQ(-5, closed.close());

    EXPECT_THAT(made, ElementsAre("close nothing"));
}

TEST_F(LoaderCalls, AClosedLibraryIsDestroyedWithoutTheLoader) {
    { const CDynLib closed; }

    EXPECT_THAT(made, ElementsAre());
}

TEST_F(LoaderCalls, ARefusalWithoutAReasonIsLogged) {
    const SyslogCapture log;
    CDynLib refused;

    isSilent = true;
    EXPECT_FALSE(refused.open("/nowhere/a.so"));
    isSilent = false;

    ASSERT_EQ(2U, log.lines().size());
    EXPECT_EQ((SyslogCapture::Line{3, " open(#): Cannot open dynamic library: unknown error"}),
              log.lines()[1]);
}

TEST_F(LoaderCalls, TheNewLibraryIsOpenedBeforeTheOldOneIsClosed) {
    CDynLib opened("old.so");
    (void)opened.open("new.so");

    EXPECT_THAT(made, ElementsAre("open old.so now, global", "open new.so now, global", "close"));
}

TEST_F(LoaderCalls, ADependencyFileDoesNotReachOtherPrograms) {
    zol::CPlugIns plugIns;
    made.clear();

    (void)plugIns.addPlugIn("/nowhere/a.so", 0, 11);
    (void)plugIns.addPlugIn("/nowhere/a.so", 0, 10);

    ASSERT_LE(2U, made.size());
    EXPECT_EQ("read /nowhere/a.so.dep, closed on exec", made[0]);
    EXPECT_EQ("open /nowhere/a.so now, global", made[1]);
}

TEST_F(LoaderCalls, AManagerHasTheMainProgramOpen) {
    { const zol::CPlugIns plugIns; }

    EXPECT_THAT(made, ElementsAre("open (null) now, global", "close"));
}

}  // namespace
