// SPDX-License-Identifier: Apache-2.0
package hidlaudio.runtime;

import java.io.File;
import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.ArrayList;
import java.util.List;

/** The programs and the native library of the virtual TV: in the build folder, or installed. */
public final class Installation {
    private Installation() {}

    /**
     * Returns the path of a program. Searches the folder of the system property {@code hidlaudio.programs}, or
     * else that of {@code $HIDLAUDIO_PROGRAMS}, or else the build or installation that contains this jar, and
     * the folder of {@code tv} in {@code $PATH}.
     *
     * @throws IllegalStateException if the program is not found
     */
    public static Path program(String name) {
        return programFolders().stream().map(folder -> folder.resolve(name)).filter(Files::isExecutable).findFirst()
                .orElseThrow(() -> notFound("program", name));
    }

    /** Returns the path of a native library: beside this jar, or belonging to these programs. */
    public static Path nativeLibrary(String name) {
        List<Path> folders = new ArrayList<>(List.of(ownFolder()));
        for (Path programs : programFolders()) {
            Path prefix = programs.resolveSibling("lib");
            folders.add(programs.resolveSibling("java"));
            folders.add(prefix);
            folders.addAll(privateFolders(prefix));
        }
        return folders.stream().map(folder -> folder.resolve(name)).filter(Files::isRegularFile).findFirst()
                .orElseThrow(() -> notFound("library", name));
    }

    private static List<Path> programFolders() {
        String chosen = System.getProperty("hidlaudio.programs", System.getenv("HIDLAUDIO_PROGRAMS"));
        if (chosen != null && !chosen.isEmpty()) {
            return List.of(Path.of(chosen).toAbsolutePath());
        }
        // The jar is in build/java or <prefix>/share/java.
        List<Path> folders = new ArrayList<>();
        for (Path folder = ownFolder(); folder != null && folders.size() < 2; folder = folder.getParent()) {
            folders.add(folder.resolveSibling("bin"));
        }
        for (String folder : System.getenv().getOrDefault("PATH", "").split(File.pathSeparator)) {
            if (Files.isExecutable(Path.of(folder, "tv"))) {
                folders.add(realPath(Path.of(folder, "tv")).getParent());
            }
        }
        return folders;
    }

    private static List<Path> privateFolders(Path lib) {
        List<Path> found = new ArrayList<>();
        try (DirectoryStream<Path> architectures = Files.newDirectoryStream(lib, "*-linux-*")) {
            architectures.forEach(folder -> found.add(folder.resolve("hidlaudio")));
        } catch (IOException missing) {
            // These programs are not installed there.
        }
        return found;
    }

    /** Returns the folder of the jar, or of the classes, that contain this class. */
    private static Path ownFolder() {
        CodeSource source = Installation.class.getProtectionDomain().getCodeSource();
        try {
            return realPath(Path.of(source.getLocation().toURI())).getParent();
        } catch (URISyntaxException | NullPointerException unknown) {
            return Path.of("").toAbsolutePath();
        }
    }

    private static Path realPath(Path path) {
        try {
            return path.toRealPath();
        } catch (IOException unreadable) {
            return path.toAbsolutePath();
        }
    }

    private static IllegalStateException notFound(String kind, String name) {
        return new IllegalStateException(
                "no " + kind + " " + name + " of the virtual TV; build or install it, or set HIDLAUDIO_PROGRAMS");
    }
}
