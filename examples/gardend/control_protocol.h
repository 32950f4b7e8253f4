// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_CONTROL_PROTOCOL_H
#define GARDEND_CONTROL_PROTOCOL_H

/**
 * @file
 * The control protocol, spoken over a stream socket with a path.
 *
 * A request is one line, an answer is lines, of which the last one is the status: "OK", or
 * "ERROR" and a sentence. A connection takes any number of requests, one after the other.
 *
 *     request      lines before the status
 *     status       "zones N", "open N", "litres N.NNN"
 *     zones        for each zone "NAME open|closed PERCENT LITRES": "roses closed 31.0 0.000"
 *     open ZONE    none; the valve of the zone is open now
 *     close ZONE   none; the valve is closed now
 *     quit         none; the daemon ends
 *
 * Lines end with LF and are UTF-8. After a line that is too long the daemon closes the connection.
 */

namespace gardend {

constexpr char kDefaultControlPath[] = "/run/gardend.sock";
constexpr int kMaxControlLine = 128;  // bytes of a request, LF included

}  // namespace gardend

#endif
