// SPDX-License-Identifier: Apache-2.0
//
// The desk through the real PC/SC service, and beside another program that holds the card: the
// same virtual machine, by its own smart card classes.

package it.velmar;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import it.velmar.pindesk.Desk;
import it.velmar.pindesk.Detail;
import it.velmar.pindesk.Options;
import it.velmar.pindesk.Outcome;
import it.velmar.pindesk.Report;
import it.velmar.pindesk.Secret;
import java.time.Duration;
import java.util.concurrent.TimeUnit;
import javax.smartcardio.Card;
import javax.smartcardio.TerminalFactory;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;

@Timeout(value = 60, unit = TimeUnit.SECONDS)
class DeskOverServiceTest {
    private static final char[] PIN = "13572468".toCharArray();
    private static final char[] OTHER = "24681357".toCharArray();

    @Test
    void changesThePinUnderSecureMessagingAndBack() throws Exception {
        try (Desk desk = Desk.open()) {
            var card = desk.identify(Options.DEFAULT);
            assertTrue(desk.change(card, Secret.DS_PIN, PIN, OTHER).done());
            Report wrong = desk.verify(card, Secret.DS_PIN, PIN);
            assertEquals(Outcome.WRONG_SECRET, wrong.outcome());
            assertEquals(2, wrong.triesLeft().getAsInt());
            assertTrue(desk.change(card, Secret.DS_PIN, OTHER, PIN).done());
        }
    }

    @Test
    void waitsForAnotherProgramNoLongerThanAgreedAndNotWhenInterrupted() throws Exception {
        Card other = TerminalFactory.getDefault().terminals().list().get(0).connect("*");
        other.beginExclusive();
        try (Desk desk = Desk.open()) {
            Report late =
                desk.verify(Options.DEFAULT.timeout(Duration.ofMillis(300)), Secret.DS_PIN, PIN);
            assertEquals(Outcome.IN_USE, late.outcome());
            assertEquals(0, late.secretsSent());
            Thread.currentThread().interrupt();
            Report cancelled = desk.verify(Options.DEFAULT, Secret.DS_PIN, PIN);
            assertTrue(Thread.interrupted());
            assertEquals(Detail.CANCELLED, cancelled.detail());
            other.endExclusive();
            assertTrue(desk.verify(Options.DEFAULT, Secret.DS_PIN, PIN).done());
        } finally {
            other.disconnect(false);
        }
    }
}
