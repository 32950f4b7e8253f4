// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONFIGURATION_BUILDER_H
#define GARDEND_CONFIGURATION_BUILDER_H

#include <stdint.h>
#include <stdio.h>

#include "zol/lyctx.h"

#include "configuration.h"

namespace gardend {

/**
 * Makes a configuration of what the parser finds (config.l, config.y), and complains about what is
 * no good. It goes on after that, so that all complaints of a file come together.
 *
 * A location says where the thing is that a complaint would be about.
 */
class CConfigurationBuilder {
  public:
    using Location = xlyctx_location_s;

    /** @param name, target, complaints  not copied */
    CConfigurationBuilder(const char* name, Configuration& target, CText& complaints)
        : m_name(name), m_target(target), m_complaints(complaints) {}

    /** @return whether nothing was wrong, and there was memory for everything */
    bool isGood() const { return m_context.error == 0 && m_hasMemory; }

    /** Complains as printf(3) does. Of each line only the first complaint counts: others may well
     *  come from it. */
    void complain(const Location& where, const char* format, ...) ZOL_PRINTF(3, 4);

    /** Complains about the token there. @param expected  what could stand in its place; "": much */
    void complainAboutToken(const Location& where, const char* expected);

    void noteMemory(bool isThere) { m_hasMemory = m_hasMemory && isThere; }

    // --- words ---

    /** @return a copy that lives as long as the builder */
    const char* keep(const char* text, int length);

    /** @return the number, or `low` with a complaint about "the WHAT" */
    int checkNumber(const Location& where, int number, int low, int high, const char* what);

    /** @return the minute of the day, or 1 with a complaint */
    int readTime(const Location& where, const char* text);

    /** @return the duration, or a second with a complaint */
    int64_t checkDuration(const Location& where, int number, int64_t unitUs);

    /** @return the name, or "" with a complaint when there is no zone of that name (yet) */
    const char* checkZone(const Location& where, const char* name);

    // --- settings ---

    void listen(const Location& where, const char* address);
    void set(const Location& where, zol::CStr Settings::*setting, const char* text);
    void set(const Location& where, zol::CTime Settings::*setting, int64_t microseconds);
    void setControlPath(const Location& where, const char* path);
    void setJobUser(const Location& where, const char* user);
    void addJob(const Location& where, const char* name, const char* command);
    void waitForClock() { m_target.settings.waitForClock = true; }
    void setDownloads(const Location& where, const char* key, int minutes);
    void addUser(const Location& where, const char* name, const Location& wherePassword,
                 const char* password);
    void addUserWithHa1(const Location& where, const char* name, const Location& whereHa1,
                        const char* ha1);

    // --- the garden ---

    void addZone(const Location& where, const char* name, const Location& whereLine, int line,
                 int flow);
    void addSchedule(const Location& where, const char* zone, int days, int minuteOfDay,
                     int runMinutes);
    void addRule(const Location& where, const char* name, const Term& term);
    void guard(const Location& where, const char* zone, const Term& term);

    // --- rules ---

    /** @return the term; a null one with a complaint when it asks for too much */
    Term check(const Location& where, const Term& term);
    Term makePeriod(const Location& where, int from, int to);
    Term makeReference(const Location& where, const char* rule);

    /** The end has been reached. */
    void finish(const Location& where);

  private:
    void appendUser(const Location& where, const char* name, const zol::CStr& ha1);
    bool isOnce(const Location& where, bool isFirst);
    // A term is null for want of memory, or because of something that was complained about.
    bool isMade(const Term& term) const { return term.tree != nullptr || m_context.error != 0; }
    void show(const Location& where);

    const char* m_name;
    Configuration& m_target;
    CText& m_complaints;
    xlyctx_s m_context = {"configuration", {0, 0}, 0};  // its own: complaints, line of the last
    bool m_hasMemory = true;
    zol::CTab<zol::CStr> m_kept;
};

/** Parses a stream; what comes of it is the builder's to say. */
void runParser(FILE* stream, CConfigurationBuilder& builder);

}  // namespace gardend

#endif
