// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONTROL_PROTOCOL_H
#define GARDEND_CONTROL_PROTOCOL_H

/**
 * @file
 * The control protocol, spoken over a stream socket with a path.
 *
 * A request is one line of words with a blank between them, an answer is lines, of which the last
 * one is the status: "OK", or "ERROR" and a sentence. A connection takes any number of requests,
 * one after the other.
 *
 *     request                   lines before the status
 *     status                    "zones N", "open N", "litres N.NNN",
 *                               "clock synchronized" or "clock unsynchronized", "schedules N",
 *                               "next ZONE DAY HH:MM": the next watering, or "next none";
 *                               "skipped ZONE DAY HH:MM": the last one that was left out because
 *                               of a rule, or "skipped none"
 *     zones                     for each zone "NAME open|closed PERCENT LITRES [SECONDS]":
 *                               "roses open 31.0 0.000 1200" closes by itself in 1200 seconds
 *     moisture                  for each zone "NAME SAMPLES LOWEST MEAN HIGHEST", in percent,
 *                               since midnight: "roses 12 30.9 31.0 31.1"
 *     summary                   one, for people
 *     display                   the two lines of the display: ASCII, 20 characters at most
 *     open ZONE [MINUTES]       none; the valve of the zone is open now: until it is closed, or
 *                               for 1 to 1440 minutes from now, whatever was said before
 *     close ZONE                none; the valve is closed now
 *     schedule add ZONE DAYS HH:MM MINUTES
 *                               the number of the new schedule: on these days, at this local
 *                               time (00:01 to 23:59), the valve opens for 1 to 1440 minutes, or
 *                               stays open for longer where it is open for longer already
 *     schedule list             for each schedule "NUMBER ZONE DAYS HH:MM MINUTES"
 *     schedule remove NUMBER    none; a valve that it has opened stays open for its time
 *     clock synchronized        none; from now on the clock of the machine counts as right. To be
 *                               said again whenever it has been set
 *     language LIST             "en", "fr" or "de": the language of summary and display, and of the
 *                               sentences behind "ERROR", from now on, on this connection
 *     plugins                   for each plug-in "FILE DRIVES", in the order in which they were
 *                               loaded: "sim_valve.so valves". DRIVES is valves, sensors,
 *                               valves,sensors, or "-" for a library that drives nothing; FILE is
 *                               "?" when its name has control characters, or is not UTF-8
 *     jobs                      for each job "NAME STATE PID RUNS FAILURES LAST": STATE is idle,
 *                               running, or waiting to be started again after a failure; PID is
 *                               "-" unless it is running; LAST says how it has ended last: its exit
 *                               status, "signal-9", "unstarted", "lost", or "-": not yet
 *     run NAME                  none; the job is started now, also when it is waiting. Refused
 *                               while it is running
 *     reload                    the configuration is read again. Refused, with lines that say what
 *                               is wrong, when it is not good or cannot be followed: nothing has
 *                               changed then. Else a line for each change that waits for the next
 *                               start
 *     quit                      none; the daemon ends
 *
 * DAYS is "daily", or a list of mon, tue, wed, thu, fri, sat, sun with commas: "mon,wed,fri".
 * LIST is as in the HTTP field Accept-Language, without blanks: "de-AT" or "de,fr;q=0.5". All
 * other words are the same in every language, so that programs understand the lines; as long as
 * a client does not ask for a language, the sentences are English.
 *
 * Lines end with LF and are UTF-8. After a line that is too long the daemon closes the connection.
 * There are 64 schedules at most. Those that are added or removed here survive the daemon where it
 * has a state file; they have other numbers then.
 */

namespace gardend {

constexpr char kDefaultControlPath[] = "/run/gardend.sock";
constexpr int kMaxControlLine = 128;  // bytes of a request, LF included

}  // namespace gardend

#endif
