/* SPDX-License-Identifier: Apache-2.0
 *
 * What a test that links the in-process PC/SC can do beside calling it: begin anew, let something
 * happen between two calls, and count at the card.
 */

#ifndef TOOLS_VIRTUALCARD_INPROCESS_CONTROL_H
#define TOOLS_VIRTUALCARD_INPROCESS_CONTROL_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Forgets readers, cards, contexts and handles. The next call of PC/SC makes new ones from the
 *  environment as it is then. */
void vcard_restart(void);

/** Lets an event happen to the first reader, or to the service: "removed", "pulled", "swapped",
 *  "reset", "killed" or "restarted", as among the faults. \return 0, or -1 for another name */
int vcard_play(const char* szEvent);

/** How often each secret arrived at each card, its tries left, and whether it is active: JSON, by
 *  reader and secret.
 *  \param szBuffer  receives it, cut where it doesn't fit, and a NUL; null only to ask for the size
 *  \return          its length without the NUL */
size_t vcard_counters(char* szBuffer, size_t cbBuffer);

/** How many contexts, connections and transactions are open. */
size_t vcard_open_handles(void);

#ifdef __cplusplus
}
#endif

#endif
