// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "configuration.h"

#include <errno.h>
#include <fcntl.h>
#include <new>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "zol/buffer.h"

#include "configuration_builder.h"

namespace gardend {

namespace {

constexpr off_t kMaxSize = 65536;

constexpr char kBuiltIn[] =
    "zone lawn       on line 0, 200 ml/s;\n"
    "zone roses      on line 1,  60 ml/s;\n"
    "zone vegetables on line 2,  80 ml/s;\n"
    "zone hedge      on line 3, 120 ml/s;\n";

// Whatever the path leads to, this neither waits nor goes on for ever.
// @return null, with the reason
FILE* openFile(const char* path, const char*& reason) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        reason = strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        reason = "it is not a file";
    } else if (status.st_size > kMaxSize) {
        reason = "it is too large";
    } else {
        FILE* const file = fdopen(fd, "r");
        if (file != nullptr) {
            return file;
        }
        reason = strerror(errno);
    }
    if (fd >= 0) {
        (void)close(fd);
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Configuration> readConfiguration(const char* path, CText& complaints) {
    const bool isBuiltIn = *path == '\0';
    const char* reason = "no memory";
    FILE* const stream = isBuiltIn ? xstr_fopen_cstr(kBuiltIn, "r") : openFile(path, reason);
    if (stream == nullptr) {
        syslog(LOG_ERR, "%s cannot be read: %s", path, reason);
        complaints.add(path).add(" cannot be read: ").add(reason).add("\n");
        return nullptr;
    }
    std::unique_ptr<Configuration> read =
        parseConfiguration(stream, isBuiltIn ? "(built in)" : path, complaints);
    (void)fclose(stream);
    return read;
}

std::unique_ptr<Configuration> parseConfiguration(FILE* stream, const char* name,
                                                  CText& complaints) {
    std::unique_ptr<Configuration> read(new (std::nothrow) Configuration);
    if (read != nullptr) {
        CConfigurationBuilder builder(name, *read, complaints);
        runParser(stream, builder);
        if (builder.isGood()) {
            return read;
        }
    }
    if (complaints.isEmpty()) {
        syslog(LOG_ERR, "no memory to read %s", name);
        complaints.add(name).add(": no memory\n");
    }
    return nullptr;
}

}  // namespace gardend
