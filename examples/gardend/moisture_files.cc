// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "moisture_files.h"

#include <inttypes.h>
#include <stdio.h>
#include <syslog.h>
#include <time.h>

#include "zol/file.h"
#include "zol/time.h"

#include "text.h"

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

}  // namespace

void CMoistureFiles::setFolder(const zol::CStr& folder) {
    m_folder = folder;
    m_isWritable = true;
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
    if (zol::CFileUtil::fileExists(path.get()) &&
        zol::CFileUtil::getFileSize(path.get()) >= m_maxSize) {
        rotate(path.get());
    }
    const bool isWritten = zol::CFileUtil::writeFile(path.get(), line.get(), 1) == 0 &&
                           zol::CFileUtil::fileExists(path.get());
    if (!isWritten && m_isWritable) {
        syslog(LOG_ERR, "%s cannot be written", path.get());
    }
    m_isWritable = isWritten;
}

// What is not there yet cannot be renamed, and need not.
void CMoistureFiles::rotate(const char* path) const {
    for (int generation = kGenerations - 1; generation > 0; --generation) {
        CText older;
        CText newer;
        older.add(path).addFormat(".%d", generation);
        newer.add(path);
        if (generation > 1) {
            newer.addFormat(".%d", generation - 1);
        }
        if (older.isWhole() && newer.isWhole()) {
            (void)rename(newer.get(), older.get());
        }
    }
}

}  // namespace gardend
