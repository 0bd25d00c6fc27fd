// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "host/audio_hal/operations.h"
#include "host/kernel/faults/calls.h"
#include "host/middleware/functions.h"
#include "host/power/functions.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

using Text = std::optional<std::string>;

template <typename Names>
bool isIn(const Names& names, const std::string& name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isHalOperation(const std::string& name) {
    return isIn(kHalOperations, name);
}

bool isCall(const std::string& name) {
    return isIn(kFaultableCalls, name);
}

bool isFunction(const std::string& name) {
    return isIn(kMiddlewareFunctions, name) || isIn(kPowerFunctions, name) || isHalOperation(name);
}

std::string folderOf(const std::string& name) {
    return tvRoot() + (isCall(name)           ? kCallFaultFolder
                       : isHalOperation(name) ? kHalFaultFolder
                                              : "/soc/faults");
}

std::string allFunctions() {
    std::string names;
    for (const std::string_view name : kMiddlewareFunctions) names += "\n  " + std::string(name);
    for (const std::string_view name : kPowerFunctions) names += "\n  " + std::string(name);
    for (const std::string_view name : kHalOperations) names += "\n  " + std::string(name) + " (audio HAL)";
    return names;
}

/** Lists the system calls, six per line. */
std::string allCalls() {
    std::string names;
    for (size_t i = 0; i < std::size(kFaultableCalls); ++i)
        names += (i % 6 == 0 ? "\n  " : " ") + std::string(kFaultableCalls[i]);
    return names;
}

std::string allResults() {
    std::string names;
    for (size_t i = 0; i < std::size(kHalResults); ++i) {
        names += (i == 0 ? "" : ", ") + std::to_string(i) + " " + std::string(kHalResults[i]);
    }
    return names;
}

/** Prints the fault on function `name`, or all faults. */
int print(const Text& name) {
    for (const StateEntry& fault : faultState()) {
        if (!name || fault.name == *name) printf("%s\n", fault.text.c_str());
    }
    return kDone;
}

int clear(const Text& name) {
    for (const std::string& path : faultFiles()) {
        const std::filesystem::path file = path;
        if (name && file.filename() != *name) continue;
        const FolderLock lock(file.parent_path());
        if (lock.error() != 0) return fail(fileError(file.parent_path(), lock.error()));
        if (unlink(path.c_str()) != 0 && errno != ENOENT) return fail(fileError(path, errno));
    }
    return kDone;
}

int set(const std::string& name, const std::string& text) {
    const std::optional<FaultSetting> fault = isCall(name) ? parseCallFault(text) : parseFault(text);
    if (!fault) {
        return fail(
            "\"" + text + "\" is not a fault" +
                (isCall(name)
                     ? " of a system call: STATUS must be the name or number of an errno, short=BYTES, "
                     : ": STATUS must be a 32-bit number, ") +
                "delay=MILLISECONDS or dies; COUNT must be at least 1, PASS at least 0",
            kWrongUsage);
    }
    if (fault->kind == FaultKind::Shortens && !canBeShort(name))
        return fail("short=BYTES is only possible for read, write, fread and fwrite", kWrongUsage);
    if (isHalOperation(name) && fault->kind == FaultKind::Returns && !isHalResult(fault->status))
        return fail("the STATUS of " + name + " must be one of " + allResults(), kWrongUsage);
    // The TV of an earlier version does not have the folders of the system calls' faults.
    for (const std::string folder : {"/kernel", kCallFaultFolder})
        if (isCall(name)) mkdir((tvRoot() + folder).c_str(), 0755);
    const std::string path = folderOf(name) + "/" + name;
    const FolderLock lock(folderOf(name));
    const int error = lock.error() != 0 ? lock.error() : writeValueFile(path, formatFault(*fault));
    return error == 0 ? kDone : fail(fileError(path, error));
}

/** Joins the arguments to a text for parseFault(). An empty argument becomes "?", which is refused. */
std::string joined(const std::string& value, const Text& count, const Text& pass) {
    std::string text = value;
    for (const Text& word : {count, pass}) {
        if (word) text += word->empty() ? " ?" : " " + *word;
    }
    return text;
}

int fault(const Text& name, const Text& value, const Text& count, const Text& pass, bool isCleared) {
    if (!openTv()) return kWrongUsage;
    if (name && !isFunction(*name) && !isCall(*name)) {
        return fail("\"" + *name + "\" is not a function that can be made to fail. The functions are:" +
                        allFunctions() + "\nThe system calls are:" + allCalls(),
                    kWrongUsage);
    }
    if (isCleared) return clear(name);
    if (!name || !value) return print(name);
    return set(*name, joined(*value, count, pass));
}

}  // namespace

void addFault(Command app, int& status) {
    const Command command = app.addCommand(
        "fault", "Make a function of the middleware, libpower or the audio HAL fail, or a system call");
    command.setHelp(
        R"(Lists the faults if STATUS is not given. A fault takes effect at the next call of FUNCTION, or
after PASS more calls. It is stored in soc/faults/<function>, in hal/faults/<function> for the audio
HAL, or in kernel/faults/<call> for a system call.

STATUS is one of:
  NUMBER              FUNCTION has no effect and returns this status
  delay=MILLISECONDS  FUNCTION works, but takes this much longer by the clock of the programs
  dies                the process that serves the call is killed
The status of a function of the audio HAL is a Result:
  )" + allResults() +
            R"(

A FUNCTION may also be a system call of the daemon. The faults affect its calls on the TV's files,
and all its sleep, thread, timer and epoll calls. STATUS is then one of:
  ERRNO               name or number, such as ENOSPC: the call has no effect and fails
  short=BYTES         read, write, fread or fwrite transfers at most this many bytes
  delay=MILLISECONDS, dies
If HIDLAUDIO_FAULT also has a fault for a call, only that fault is injected.

Functions:)" +
            allFunctions() + "\n\nSystem calls:" + allCalls(),
        {"1  the fault cannot be stored or cleared", kNeedsTv},
        {"tv fault a_mtktvapi_config_set_value 7 1   # the next call fails with status 7",
         "tv fault getParameters delay=3000          # each call takes 3 s longer",
         "tv fault write ENOSPC 1                    # the daemon's next write fails", "tv fault --clear"});
    const Option name =
        command.argument("FUNCTION", "Function or system call to make fail (default: list all faults)");
    const Option value =
        command.argument("STATUS",
                         "Status or errno to return, or short=BYTES, or\ndelay=MILLISECONDS, or dies\n"
                         "(default: list the fault on FUNCTION)");
    const Option count =
        command.argument("COUNT", "Number of calls that fail, at least 1 (default: all calls)");
    const Option pass = command.argument("PASS", "Number of calls that succeed before that (default: 0)");
    const Option clearFlag =
        command.flag("--clear", "Remove the fault on FUNCTION (default: all faults)").excludes(value);
    command.onRun([=, &status] {
        status = fault(name.given(), value.given(), count.given(), pass.given(), clearFlag.isGiven());
    });
}

}  // namespace hidlaudio::host
