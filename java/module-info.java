// SPDX-License-Identifier: Apache-2.0

/**
 * Manages the PINs and PUKs of Italian national services cards. Start it with {@code
 * --enable-native-access=it.velmar.pindesk} on Java 22 and later.
 */
module it.velmar.pindesk {
    exports it.velmar;
    exports it.velmar.pindesk;
}
