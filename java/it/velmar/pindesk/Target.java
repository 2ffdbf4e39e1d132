// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** What tells a call which card it is for: options, a reader, or a card that was found. */
public interface Target {
    /**
     * The same as options.
     *
     * @return options, never null
     */
    Options options();
}
