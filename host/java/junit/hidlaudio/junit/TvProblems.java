// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

import java.util.List;

/** The problems of a TV during a failed test. The message contains the TV's logs. */
public class TvProblems extends Exception {
    public TvProblems(List<String> problems, String log) {
        super(String.join("\n", problems) + (problems.isEmpty() ? "" : "\n") + "log of the TV:\n" + log, null, true,
                false);
    }
}
