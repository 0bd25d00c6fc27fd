// SPDX-License-Identifier: Apache-2.0
#include "tv_folder.h"

#include <errno.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "eeprom_image.h"
#include "host/audio_hal/operations.h"
#include "host/kernel/faults/calls.h"
#include "host/middleware/config_keys.h"
#include "host/program/terminal.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "registry.h"
#include "tuning_file.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr int kFormat = 1;

struct Folder {
    const char* path;
    mode_t mode;
};

constexpr Folder kFolders[] = {
    {"/data/vendor/tmp/recipe", 0755},
    {kStoredFiles, 0755},
    {"/soc/config", 0755},
    {"/soc/faults", 0755},
    {"/soc/audio_decoder", 0755},
    {"/soc/audio_post", 0755},
    {kHalParameterFolder, 0755},
    {kHalFaultFolder, 0755},
    {kCallFaultFolder, 0755},
    {"/power", 0755},
    {"/run", 0700},
    {"/run/hwbinder", 0700},  // only this user may use the services
    {"/log", 0755},
    {kPropertyFolder, 0755},
};

/** Additional folders of a TV with a back-end controller. */
constexpr Folder kBackEndFolders[] = {
    {kBackEndFolder, 0755},
    {"/soc/bectrl", 0755},
    {kTransferStateFolder, 0755},
};

struct File {
    std::string path;
    std::string content;
};

std::vector<File> factoryFiles() {
    std::vector<File> files{{kManifestFile, factoryManifest()},
                            {"/data/vendor/tmp/dtv_svc_is_ready", ""},
                            {"/data/vendor/tmp/recipe/aqda.bin", makeTuningFile()},
                            {"/soc/audio_decoder/channel_main_delay_sp", "20\n"},
                            {"/soc/audio_post/ready", "1\n"},
                            {"/power/wake_lock", ""}};
    for (const ConfigKey& key : kConfigKeys) {
        files.push_back({"/soc/config/" + std::string(key.name), std::to_string(key.factoryValue) + "\n"});
    }
    return files;
}

std::vector<File> backEndFiles() {
    std::vector<File> files{{kBootStateFile, "1\n"}, {kCustomSpecLog, ""}, {kBehaviourFile, ""}};
    for (const UploadKind kind : kUploadKinds)
        files.push_back({transferStateFile(kind), idleTransferState()});
    return files;
}

int removeParts(const std::string& root, std::string& failed) {
    for (const char* part : kTvParts) {
        failed = root + part;
        std::error_code error;
        fs::remove_all(failed, error);
        if (error) return error.value();
    }
    return 0;
}

template <typename Folders>
int makeParts(const std::string& root, const Folders& folders, const std::vector<File>& files,
              std::string& failed) {
    for (const Folder& folder : folders) {
        failed = root + folder.path;
        std::error_code error;
        fs::create_directories(failed, error);
        if (error) return error.value();
        if (chmod(failed.c_str(), folder.mode) != 0) return errno;
    }
    for (const File& file : files) {
        failed = root + file.path;
        if (const int error = writeValueFile(failed, file.content); error != 0) return error;
    }
    return 0;
}

std::string describe(const TvModel& model) {
    const ordered_json json{{"format", kFormat},
                            {"model", model.backEnd ? "be" : "standard"},
                            {"centre_input", model.centreInput}};
    return json.dump(2) + "\n";
}

std::optional<TvModel> parseModel(const std::string& text) {
    const ordered_json json = ordered_json::parse(text, nullptr, false);
    if (!json.is_object() || json.value("format", ordered_json()) != kFormat) return std::nullopt;
    const ordered_json model = json.value("model", ordered_json());
    const ordered_json centre = json.value("centre_input", ordered_json());
    if ((model != "be" && model != "standard") || !centre.is_boolean()) return std::nullopt;
    return TvModel{model == "be", centre.get<bool>()};
}

}  // namespace

FolderContent contentOfFolder() {
    std::error_code error;
    if (fs::exists(tvRoot() + kModelFile, error)) return FolderContent::Tv;
    if (!fs::exists(tvRoot(), error) && !error) return FolderContent::Nothing;
    const bool empty = fs::is_directory(tvRoot(), error) && fs::is_empty(tvRoot(), error) && !error;
    return empty ? FolderContent::Nothing : FolderContent::SomethingElse;
}

FolderLock lockTv() {
    return FolderLock(tvRoot() + "/.");
}

int makeTv(const TvModel& model, std::string& failed) {
    const std::string root = tvRoot();
    failed = root;
    std::error_code error;
    fs::create_directories(root, error);
    if (error) return error.value();
    // Write tv.json first: after an interruption, `tv init --force` accepts the folder as a TV.
    failed = root + kModelFile;
    if (const int written = writeValueFile(failed, describe(model)); written != 0) return written;
    if (const int removed = removeParts(root, failed); removed != 0) return removed;
    if (const int made = makeParts(root, kFolders, factoryFiles(), failed); made != 0) return made;
    failed = root + "/soc/eeprom.bin";
    const int made = makeEeprom(model.backEnd, model.centreInput);
    if (made != 0 || !model.backEnd) return made;
    return makeParts(root, kBackEndFolders, backEndFiles(), failed);
}

std::optional<TvModel> openTv() {
    const std::string path = tvRoot() + kModelFile;
    std::error_code unknown;
    const bool isTv = fs::symlink_status(path, unknown).type() != fs::file_type::not_found;
    // Check permissions only if the folder is a TV.
    if (const std::string problem = isTv ? foldersProblem(tvRoot()) : ""; !problem.empty()) {
        note(problem);
        return std::nullopt;
    }
    std::string text;
    if (const int error = readValueFile(path, text); error != 0) {
        const bool isTvMissing = error == ENOENT || error == ENOTDIR;
        note(isTvMissing
                 ? tvRoot() +
                       " is not a TV; create one with `tv init`, or select another folder with --tv DIR"
                 : fileError(path, error));
        return std::nullopt;
    }
    const std::optional<TvModel> model = parseModel(text);
    if (!model) note(path + " is damaged or has an unknown format; `tv init --force` replaces the TV");
    return model;
}

}  // namespace hidlaudio::host
