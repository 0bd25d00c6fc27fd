// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/** Files and folders of a TV, below its root. kModelFile marks the folder as a TV. */
constexpr char kModelFile[] = "/tv.json";
constexpr char kStoredFiles[] = "/data/vendor/tovi/hidlaudio";  // the daemon's persisted files
constexpr char kRunFolder[] = "/run";
constexpr char kRegistryFolder[] = "/run/hwbinder";
constexpr char kPropertyFolder[] = "/properties";  // a value file for each system property that is set

/**
 * Declares the TV's services, one `interface/instance` per line:
 *     com.tovi.dtv.hardware.audio@6.1::IMicControl/default    # a comment
 */
constexpr char kManifestFile[] = "/manifest";

/** The folders of a TV. Anything else in the folder is the user's. */
constexpr const char* kTvParts[] = {"/data",   "/soc",   "/bectrl",  "/proc", "/hal",
                                    "/kernel", "/power", kRunFolder, "/log",  kPropertyFolder};

/**
 * The checks below return an empty string if the TV can be used, or else a message that names the file or
 * folder. They accept folders that do not exist.
 *
 * If a TV passes, no other user can put links or files into its folders, so its files can be opened by their
 * paths.
 */

/** Checks that the path is a folder, belongs to the caller and is not writable for others. Refuses a link. */
std::string folderProblem(const std::string& path);

/** Like folderProblem(), for the TV's root. A link is accepted if it belongs to the caller or to root. */
std::string rootProblem(const std::string& root);

/** Checks that `name` below the root is a regular file of plausible size, or does not exist. */
std::string fileProblem(const std::string& root, const std::string& name);

/** Checks the TV's root, its folder run/ and the registry below that, which must be readable. */
std::string registryProblem(const std::string& root);

/** Checks the TV's root and all folders of kTvParts with their subfolders. */
std::string foldersProblem(const std::string& root);

/** Checks like foldersProblem(), and like fileProblem() for all files except the registry's sockets. */
std::string contentProblem(const std::string& root);

}  // namespace hidlaudio::host
