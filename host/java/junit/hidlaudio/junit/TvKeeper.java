// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

import hidlaudio.runtime.Installation;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;

/**
 * A process that shuts one TV down and deletes its folder when its input ends: at {@link #close}, or when this
 * virtual machine ends, even if it is killed.
 */
final class TvKeeper {
    // $1: program tv, $2: folder. Signals of the terminal go to all of its processes.
    private static final String SCRIPT =
            "trap '' INT HUP TERM; cat; [ ! -d \"$2/tv\" ] || \"$1\" --tv \"$2/tv\" shutdown; rm -rf \"$2\"";

    private final Path folder;
    private final String program;
    private final Process process;

    TvKeeper() {
        program = Installation.program("tv").toString();
        try {
            folder = Files.createTempDirectory("hidlaudio-");
            process = new ProcessBuilder("sh", "-c", SCRIPT, "sh", program, folder.toString())
                    .redirectOutput(ProcessBuilder.Redirect.DISCARD)
                    .redirectError(ProcessBuilder.Redirect.DISCARD)
                    .start();
        } catch (IOException failed) {
            throw new TvException("cannot create a TV", failed);
        }
    }

    /** Returns an empty folder for the TV. */
    Path folder() {
        return folder;
    }

    /** Returns the path of {@code tv}. */
    String program() {
        return program;
    }

    void close() {
        try {
            process.getOutputStream().close();
            process.waitFor();
        } catch (IOException failed) {
            throw new TvException("cannot end a TV", failed);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt(); // the process continues
        }
    }
}
