// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/** A look at readers or a card did not come to an end. Nothing was changed, no try was spent. */
public final class DeskException extends Exception {
    private static final long serialVersionUID = 1;

    private final transient Report report;

    DeskException(Report report) {
        super(report.message(Locale.ENGLISH));
        this.report = report;
    }

    /**
     * What it came to.
     *
     * @return the report; null after serialization
     */
    public Report report() { return report; }
}
