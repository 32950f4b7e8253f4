// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "moisture_files.h"

#include <inttypes.h>
#include <stdio.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>

#include "zol/file.h"
#include "zol/time.h"

namespace gardend {

namespace {

void addTime(CText& line) {
    const zol::CTime now = zol::CTime::getCurrent();
    if (zol::CTime::synchronized == 0) {
        line.addFormat("+%" PRId64, now.getMicroseconds() / 1000000);
        return;
    }
    tm utc = {};
    char text[40];
    now.getTm(utc, 0);
    (void)strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &utc);
    line.add(text);
}

// What is not there yet cannot be renamed, and need not. @return whether the newest one could
bool rotate(const char* path) {
    bool isRenamed = false;
    for (int generation = CMoistureFiles::kGenerations - 1; generation > 0; --generation) {
        CText older;
        CText newer;
        older.add(path).addFormat(".%d", generation);
        newer.add(path);
        if (generation > 1) {
            newer.addFormat(".%d", generation - 1);
        }
        isRenamed = older.isWhole() && newer.isWhole() && rename(newer.get(), older.get()) == 0;
    }
    return isRenamed;
}

// Logs the first failure of several. @return whether it is good
bool note(bool isGood, bool wasGood, const char* path, const char* fault) {
    if (!isGood && wasGood) {
        syslog(LOG_ERR, "%s cannot be %s", path, fault);
    }
    return isGood;
}

}  // namespace

void CMoistureFiles::setFolder(const zol::CStr& folder) {
    m_folder = folder;
    m_isWritable = true;
    m_isRotatable = true;
}

void CMoistureFiles::onSample(const char* zone, int permille) {
    if (m_folder.isEmpty()) {
        return;
    }
    CText path;
    path.add(m_folder.get()).add("/moisture.log");
    CText line;
    addTime(line);
    line.add(" ").add(zone).add(" ").addDecimal(permille, 1).add("\n");
    if (!path.isWhole() || !line.isWhole()) {
        return;  // there is another sample soon
    }
    m_isWritable = note(append(path.get(), line), m_isWritable, path.get(), "written");
}

// Opens only what is a file: a pipe without a reader would be waited for. That writeFile() could
// not open it shows in the size.
bool CMoistureFiles::append(const char* path, const CText& line) {
    struct stat before = {};
    const bool isThere = stat(path, &before) == 0;
    if (isThere && !S_ISREG(before.st_mode)) {
        return false;
    }
    const bool isFull = before.st_size >= m_maxSize;
    if (isThere && isFull) {
        m_isRotatable = note(rotate(path), m_isRotatable, path, "renamed: it begins anew");
    }
    struct stat after = {};
    return zol::CFileUtil::writeFile(path, line.get(), isFull ? 0 : 1) == 0 &&
           stat(path, &after) == 0 &&
           after.st_size == (isFull ? 0 : before.st_size) + line.getLength();
}

}  // namespace gardend
