// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DOWNLOADS_H
#define GARDEND_DOWNLOADS_H

#include <time.h>

#include "zol/tab.h"

#include "http_server.h"

namespace gardend {

/**
 * Log files to be downloaded, at addresses "/log/HASH/STAMP/moisture.log" that the status page
 * hands out, and that are good for some minutes. They need no login: a download can be passed on to
 * a program, or to somebody else.
 *
 * Only files of one folder are served, whose names are those of logs: "moisture.log",
 * "moisture.log.1". Of one that is too large for an answer it is the end. An answer is in memory
 * until the client has taken it, and HttpLoad bounds how many of them are.
 */
class CDownloads {
  public:
    static constexpr int kMaxFileSize = HttpLoad::kLargeAnswer;
    static constexpr int kMostFiles = 16;
    static constexpr int kMaxSkewSeconds = 5;  // that an address may come from the future

    /**
     * From now on there are downloads, and addresses that were made with another key are void.
     *
     * @param key     makes the addresses; whoever knows it can make some. Empty: no downloads
     * @param minutes that an address is good for
     * @param folder  where the files are; empty: no downloads
     */
    void configure(const zol::CStr& key, int minutes, const zol::CStr& folder);

    /** @return the names of the files there are, the first kMostFiles of them, sorted; without
     *  memory some are missing */
    zol::CTab<zol::CStr> list() const;

    /** @return a fresh address for one of list(); empty without memory */
    zol::CStr makeAddress(const zol::CStr& name) const;

    /** @return whether answer() is to answer to this path, well or badly */
    static bool isAddress(const zol::CStr& path);

    /**
     * Answers with the file. Else 403: the address was not made here, or is from the future; 404:
     * there is no such file; 410: it is too old; 503: no memory, or the file cannot be read.
     *
     * @param now  time(2)
     */
    void answer(const zol::CStr& path, time_t now, HttpAnswer& answer) const;

  private:
    int check(const char* hash, const char* stamp, const char* name, time_t now) const;
    int read(const char* name, CText& content) const;
    bool isOn() const { return !m_key.isEmpty() && !m_folder.isEmpty(); }

    zol::CStr m_key;
    int m_minutes = 0;
    zol::CStr m_folder;
};

}  // namespace gardend

#endif
