// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/host/tv/tv_command.h"

namespace hidlaudio::test {

/** Runs the daemon in a shell script. The path is in an environment variable, so it needs no quoting. */
#define RUN_DAEMON "\"$DAEMON\""

/**
 * Runs `tv_stress` with a private folder for temporary files and, on request, a script in place of the
 * daemon.
 */
class ScratchCommand : public TvCommand {
  protected:
    ScratchCommand() {
        command_ = TV_STRESS;
        std::filesystem::create_directory(scratch_);
    }

    std::vector<std::string> commandLine(const std::vector<std::string>& arguments) const {
        std::vector<std::string> all{command_};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    std::vector<std::string> variables() const { return {"TMPDIR=" + scratch_, "DAEMON=" DAEMON}; }

    Outcome runHere(const std::vector<std::string>& arguments) {
        return runProgram(commandLine(arguments), variables());
    }

    /** Replaces the daemon with a shell script, which can start the daemon with RUN_DAEMON. */
    void useScript(const std::string& script) {
        const std::string bin = folder_ / "bin/";
        if (!std::filesystem::exists(bin)) {
            createBin();
            for (const char* program : {TV_COMMAND, TV_STRESS, AUDIO_HAL, AUDIOCTL, SOAK_CLIENT})
                std::filesystem::copy(program, bin);
        }
        makeFile(bin + "hidlaudio", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(bin + "hidlaudio", std::filesystem::perms::owner_all);
        command_ = bin + "tv_stress";
    }

    std::vector<std::string> leftBehind() const {
        // The thread sanitizer leaves this file if a program is killed during its start.
        constexpr const char* kOfTheSanitizer = "tsan.rodata.";
        std::vector<std::string> files;
        for (const auto& file : std::filesystem::recursive_directory_iterator(scratch_))
            if (file.path().filename().string().rfind(kOfTheSanitizer, 0) != 0) files.push_back(file.path());
        return files;
    }

    const std::string scratch_ = folder_ / "tmp";
};

}  // namespace hidlaudio::test
