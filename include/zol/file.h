/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_FILE_H
#define ZOL_FILE_H

/**
 * @file zol/file.h
 * Small files at once.
 */

#include "zol/export.h"

#ifdef __cplusplus

namespace zol {

/**
 * Reads, writes, copies and compares whole files, for what a daemon keeps in small ones. Some
 * operations do not tell of failures, and isSameFile() does not look at everything: read what
 * each says. A file that must survive a loss of power needs rename(2) and fsync(2).
 *
 * Paths and buffers are never null. Any thread; the operations share nothing but the files.
 */
class ZOL_API CFileUtil {
  public:
    /**
     * Writes a text to a file, which is made where there is none.
     *
     * @param text  written without its NUL
     * @param mode  1 appends; all others begin the file anew
     * @return      what fclose(3) does: 0, or -1 when it fails, as it does when the disk is full
     * and the text is short. What will bite: 0 also for a file that cannot be opened, and for an
     * error before the end of a text of 4 KiB and more.
     */
    static int writeFile(const char* path, const char* text, int mode);

    /**
     * Reads the beginning of a file as a NUL-terminated text.
     *
     * @param size  of `buffer` in bytes, at least 1; one byte less is read at most
     * @return      0; 1, with an empty text, when the file cannot be opened
     */
    static int readFile(const char* path, char* buffer, unsigned size);

    /** @return whether stat(2) finds something there */
    static bool fileExists(const char* path);

    /**
     * Copies what is in a file.
     *
     * @param to  begun anew, and before anything is read: a file copied onto itself is empty then
     * @return    0; 1 when one of the two cannot be opened. Errors of reading and writing are not
     *            reported.
     */
    static int copy(const char* from, const char* to);

    /**
     * A quick look for a change. What will bite: of each four bytes only the first is compared, and
     * the last one to three bytes of a file not at all.
     *
     * @return false when one cannot be opened, the sizes differ, or a difference was seen; what
     *         cannot be opened, and another size, are logged at priority 7. True of things without
     * a size: two pipes, two folders, two files of /proc.
     */
    static bool isSameFile(const char* a, const char* b);

    /** @return size in bytes; -1 for more than an int holds, and for what has no size; 0, logged at
     *  priority 3, when the file cannot be opened */
    static int getFileSize(const char* path);
};

}  // namespace zol

#endif
#endif
