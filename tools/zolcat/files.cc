// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "files.h"

#include <errno.h>
#include <fcntl.h>
#include <filesystem>
#include <stdio.h>
#include <stdlib.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace zolcat {

namespace {

// @return 0, or an errno
int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0) {
            return errno;
        }
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return 0;
}

// @return 0, or an errno
int writeTo(const std::string& path, const std::string& bytes) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    int error = writeAll(descriptor, bytes);
    if (close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    return error;
}

// The permissions of a file that open() makes.
mode_t modeOfNewFiles() {
    const mode_t mask = umask(0);
    (void)umask(mask);
    return 0666 & ~mask;
}

// Writes a file with a name of its own, and then gives it the name. @return 0, or an errno
int moveInto(const std::filesystem::path& file, mode_t mode, const std::string& bytes) {
    std::string temporary = (file.parent_path() / ".zolcat-XXXXXX").string();
    const int descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    int error = writeAll(descriptor, bytes);
    // On the medium before it has the name: a power failure leaves the old contents or the new.
    if (error == 0 && (fchmod(descriptor, mode) != 0 || fsync(descriptor) != 0)) {
        error = errno;
    }
    if (close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error == 0 && rename(temporary.c_str(), file.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        (void)unlink(temporary.c_str());
    }
    return error;
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
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        const int error = errno;
        const bool isLink = lstat(path.c_str(), &status) == 0;
        return isLink ? error : moveInto(path, modeOfNewFiles(), bytes);
    }
    if (!S_ISREG(status.st_mode)) {
        return writeTo(path, bytes);
    }
    std::error_code error;
    const auto file = std::filesystem::canonical(path, error);
    return error ? error.value() : moveInto(file, status.st_mode & 0777, bytes);
}

}  // namespace zolcat
