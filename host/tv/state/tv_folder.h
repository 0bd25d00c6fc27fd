// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace hidlaudio::host {

/** What kind of TV the folder holds; kept in its tv.json. */
struct TvModel {
    bool backEnd = true;       // it has a back-end audio controller
    bool centreInput = false;  // it can be the centre speaker of an audio system
};

enum class FolderContent { Nothing, Tv, SomethingElse };

/** What lies at tvRoot(). Nothing: an empty folder, or none. */
FolderContent contentOfFolder();

/**
 * Makes a new TV of that model at tvRoot(): everything that a TV holds at the
 * factory. What a TV held there before goes, other files in the folder stay. No
 * program may run on it. Returns 0; else an errno, with `failed` the path that it is
 * about.
 */
int makeTv(const TvModel& model, std::string& failed);

/** The model of the TV at tvRoot(), or nothing once the user was told why there is none. */
std::optional<TvModel> openTv();

}  // namespace hidlaudio::host
