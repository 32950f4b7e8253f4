/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_CONTROL_H
#define SIM_CONTROL_H

// The socket through which somebody outside tells the time, where EVLP_SIM_CONTROL says so.

namespace sim::control {

/** Whether EVLP_SIM_CONTROL is set. */
bool isWanted();

/** Listens, if that is wanted and not done yet. */
int open();

bool isOn();

/**
 * Waits until a descriptor is readable or a client has asked for something, which is done at
 * once, unless it takes time: then a journey begins.
 *
 * @return  0; -1 when the system refuses
 */
int wait(int descriptor);

/** Does what clients have asked for, without waiting. */
void serve();

/** Whether nobody waits any more for the end of the journey that a client asked for. */
bool askerHasGone();

/** From now on the socket is this process's: of a daemon that goes on as a child of the one that
 *  has opened it. */
void claim();

/** The journey that a client asked for is over. @param error  0: it has come to its end */
void answer(int error);

}  // namespace sim::control

#endif
