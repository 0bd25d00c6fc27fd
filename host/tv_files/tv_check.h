// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/** The file that marks a folder as a TV, below its root. */
constexpr char kModelFile[] = "/tv.json";

constexpr char kRunFolder[] = "/run";
constexpr char kRegistryFolder[] = "/run/hwbinder";

/** The folders of a TV, below its root. Anything else in the folder is the user's. */
constexpr const char* kTvParts[] = {"/data", "/soc",   "/bectrl",  "/proc",
                                    "/hal",  "/power", kRunFolder, "/log"};

/**
 * The checks below return why the TV cannot be used, naming the file or folder; an empty string if it can.
 * A folder that does not exist is no problem of theirs.
 *
 * If a TV passes, only the caller can put links or files into its folders, so its files can be opened by
 * their paths.
 */

/** The folder must belong to the caller, and nobody else may write it. A link is refused. */
std::string folderProblem(const std::string& path);

/** As folderProblem(), but the TV's own folder may be reached by a link of the caller or of root. */
std::string rootProblem(const std::string& root);

/** The file, `name` below the root, must be a regular file of plausible size. */
std::string fileProblem(const std::string& root, const std::string& name);

/** As folderProblem() for the TV's own folder, its run/ and the registry in there, which must also be
 * readable. */
std::string registryProblem(const std::string& root);

/** The same for the TV's own folder and all folders of it. */
std::string foldersProblem(const std::string& root);

/** As foldersProblem(), and as fileProblem() for every file except the registry's sockets. */
std::string contentProblem(const std::string& root);

}  // namespace hidlaudio::host
