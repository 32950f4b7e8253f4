// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "files.h"

#include <errno.h>
#include <fcntl.h>
#include <filesystem>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zolcat {

namespace {

// Writes everything and closes. @return 0, or the errno of the first failure
int writeAndClose(FILE* stream, const std::string& bytes) {
    const bool isWritten = fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    const int writeError = isWritten ? 0 : errno;
    const int closeError = fclose(stream) == 0 ? 0 : errno;
    return writeError != 0 ? writeError : closeError;
}

// The file behind symbolic links, or the path itself.
std::string target(const std::string& path) {
    std::error_code error;
    const auto real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

}  // namespace

int readFile(const std::string& path, std::string& bytes) {
    FILE* const stream = fopen(path.c_str(), "re");
    if (stream == nullptr) {
        return errno;
    }
    char chunk[65536];
    size_t count = 0;
    bytes.clear();
    while ((count = fread(chunk, 1, sizeof chunk, stream)) > 0) {
        bytes.append(chunk, count);
    }
    const int error = ferror(stream) != 0 ? errno : 0;
    (void)fclose(stream);  // nothing was written
    return error;
}

int replaceFile(const std::string& path, const std::string& bytes) {
    const std::string file = target(path);
    struct stat status;
    const bool exists = stat(file.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        FILE* const stream = fopen(file.c_str(), "we");
        return stream == nullptr ? errno : writeAndClose(stream, bytes);
    }

    const std::string temporary = file + ".new." + std::to_string(getpid());
    const mode_t mode = exists ? status.st_mode & 0777 : 0666;
    const int descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0) {
        return errno;
    }
    FILE* const stream = fdopen(descriptor, "w");
    int error = 0;
    if (stream == nullptr) {
        error = errno;
        (void)close(descriptor);
    } else {
        error = writeAndClose(stream, bytes);
    }
    if (error == 0 && rename(temporary.c_str(), file.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        (void)unlink(temporary.c_str());
    }
    return error;
}

}  // namespace zolcat
