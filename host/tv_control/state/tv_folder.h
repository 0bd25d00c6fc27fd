// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "host/tv_files/folder_lock.h"

namespace hidlaudio::host {

/** The model of a TV, which tv.json stores. */
struct TvModel {
    bool backEnd = true;       // whether it has a back-end audio controller
    bool centreInput = false;  // whether it has a center speaker input
};

enum class FolderContent { Nothing, Tv, SomethingElse };

/** Returns the kind of content at tvRoot(). A missing or empty folder is `Nothing`. */
FolderContent contentOfFolder();

/**
 * Locks the folder at tvRoot(), which may be a link. `tv init` holds this lock while it makes the TV, `tv
 * boot` while it starts the programs. It is taken before the locks of folders of the TV.
 */
FolderLock lockTv();

/**
 * Creates a TV of this model, in its factory state, at tvRoot(). Deletes the data of a previous TV and keeps
 * other files in the folder. Call it with lockTv(), and while no program runs on the TV. Returns 0, or an
 * errno with the path in `failed`.
 */
int makeTv(const TvModel& model, std::string& failed);

/** Returns the model of the TV at tvRoot(), or `std::nullopt` after printing an error message. */
std::optional<TvModel> openTv();

}  // namespace hidlaudio::host
