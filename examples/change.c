/* SPDX-License-Identifier: Apache-2.0
 *
 * Changes the CNS PIN, as carefully as can be. The old and the new value stand on two lines of
 * standard input. C11.
 */
#define _DEFAULT_SOURCE /* explicit_bzero */

#include <pindesk/desk.h>

#include <stdio.h>
#include <string.h>

static pindesk_bytes ask(const char* question, char* line, int size)
{
    fputs(question, stderr);
    const size_t length = fgets(line, size, stdin) == NULL ? 0 : strcspn(line, "\n");
    return (pindesk_bytes){(const unsigned char*)line, length};
}

static void change(pindesk_desk* desk, const pindesk_options* options, pindesk_report* report)
{
    char lines[2][16];
    const pindesk_bytes old_value = ask("CNS PIN: ", lines[0], sizeof lines[0]);
    const pindesk_bytes new_value = ask("new CNS PIN: ", lines[1], sizeof lines[1]);
    pindesk_change(desk, PINDESK_CNS_PIN, old_value, new_value, options, report);
    explicit_bzero(lines, sizeof lines);
}

int main(void)
{
    pindesk_options options = {.size = sizeof options, .wait_ms = 20000};
    pindesk_report report = {.size = sizeof report};
    pindesk_desk* const desk = pindesk_open();
    pindesk_check(desk, PINDESK_OP_CHANGE, PINDESK_CNS_PIN, &options, &report);
    if (report.outcome == PINDESK_DONE) { /* there is a card, and its PIN can be changed */
        char serial[PINDESK_SERIAL_SIZE];
        options.serial = strcpy(serial, report.serial); /* no other card from here on */
        change(desk, &options, &report);
    }
    char text[400], advice[400];
    pindesk_text(&report, "en", text, sizeof text);
    pindesk_advice(&report, "en", advice, sizeof advice);
    printf("%s\n%s\n", text, advice);
    pindesk_close(desk);
    return (int)report.outcome;
}
