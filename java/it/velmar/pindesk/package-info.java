// SPDX-License-Identifier: Apache-2.0

/**
 * The desk in Java: readers, cards, and what becomes of their secrets. Begin with {@link
 * it.velmar.pindesk.Desk}.
 */
package it.velmar.pindesk;
