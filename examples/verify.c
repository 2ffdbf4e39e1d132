/* SPDX-License-Identifier: Apache-2.0
 *
 * Checks the CNS PIN that stands on standard input, and says what came of it. C11.
 */

#include <pindesk/desk.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    char pin[16];
    if (fgets(pin, sizeof pin, stdin) == NULL) {
        return PINDESK_USAGE;
    }
    const pindesk_bytes value = {(const unsigned char*)pin, strcspn(pin, "\n")};
    const pindesk_options options = {.size = sizeof options, .wait_ms = 20000};
    pindesk_report report = {.size = sizeof report};

    pindesk_desk* const desk = pindesk_open();
    const pindesk_outcome outcome = pindesk_verify(desk, PINDESK_CNS_PIN, value, &options, &report);
    pindesk_close(desk);

    char text[400];
    pindesk_text(&report, "en", text, sizeof text);
    puts(text);
    return (int)outcome;
}
