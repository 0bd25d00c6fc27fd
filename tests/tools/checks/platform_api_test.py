# SPDX-License-Identifier: Apache-2.0
"""Uses names that only the workstation's headers have and checks that each is reported.

Argument: the build folder.
"""
import json
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent.parent
BUILD = Path(sys.argv.pop()) if len(sys.argv) > 1 else TREE / "build"
DATABASE = BUILD / "compile_commands.json"
SKIPPED = 77  # the exit status that ctest reports as "Skipped"

# Uses only names of the platform.
CLEAN = """
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <algorithm>
#include <string>
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
struct Client : ::android::hardware::hidl_death_recipient {
    void serviceDied(uint64_t, const ::android::wp<::android::hidl::base::V1_0::IBase>&) override {}
};
::android::hardware::Return<int32_t> count(const hidl_vec<hidl_string>& names) {
    hidl_vec<uint8_t> copy(std::vector<uint8_t>{1, 2});
    copy = {3};
    const hidl_string first = names[0];
    const bool any = std::any_of(names.begin(), names.end(), [](const hidl_string& n) { return !n.empty(); });
    if (!any || first != "a" || std::string(first) != first.c_str()) return copy.data()[0];
    return static_cast<int32_t>(names.size());
}
int use() {
    ::android::hardware::Return<int32_t> result = count({"a"});
    return result.isOk() ? result.withDefault(0) : 1;
}
"""
HEADER = """
#pragma once
#include <hidl/HidlTransportSupport.h>
inline bool isPlain() { return ::android::hardware::details::kIsPlainData<int>; }  // foreign
"""
FOREIGN = """
#include <hwbinder/Parcel.h>  // foreign
#include <transport/message.h>  // foreign
#include "helper.h"
using ::android::hardware::details::hidl_pointer;  // foreign
constexpr size_t kOffset = ::android::hardware::hidl_vec<int>::kOffsetOfBuffer;  // foreign
bool first(const ::android::hardware::hidl_vec<int>& vec) { return *vec.cbegin() == 0; }  // foreign
bool fine(const ::android::hardware::Return<void>& result) { return result.isOkUnchecked(); }  // foreign
auto* body(const ::android::hardware::Parcel& parcel) { return &parcel.outgoing(); }  // foreign
struct Recipient : ::android::hardware::IBinder::DeathRecipient {  // foreign
    void binderDied(const ::android::wp<::android::hardware::IBinder>&) override {}  // foreign
};
"""
# Uses headers that only another header of the workstation includes, and some that it includes itself.
INDIRECT = """
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <hidl/ServiceManagement.h>
#include "workstation.h"
#include "own.h"
using ::android::hidl::manager::V1_0::IServiceManager;  // indirect
struct Listener : ::android::hidl::manager::V1_0::IServiceNotification {};
::android::sp<::android::hidl::base::V1_0::IBase> base;
::android::hardware::Return<void> result() { return ::android::hardware::Void(); }
bool same() { return ::android::hardware::interfacesEqual(base, base); }  // indirect
bool found() { return ::android::hardware::defaultServiceManager() != nullptr; }
"""
OWN = """
#pragma once
#include <android/hidl/manager/1.0/IServiceNotification.h>
"""


def write_tree(folder):
    """Writes two sources of a module and the compilation database, with the flags of service/main.cpp."""
    entry = next(entry for entry in json.loads(DATABASE.read_text(encoding="utf-8"))
                 if entry["file"].endswith("/service/main.cpp"))
    module = folder / "a-module"
    module.mkdir()
    (module / "helper.h").write_text(HEADER, encoding="utf-8")
    entries = []
    (module / "own.h").write_text(OWN, encoding="utf-8")
    # A header that is found only on the include path, as those of the workstation's runtime are.
    (folder / "path").mkdir()
    (folder / "path/workstation.h").write_text("""#include <android/hidl/manager/1.0/IServiceManager.h>
        #include <hidl/HidlTransportSupport.h>""", encoding="utf-8")
    for name, text in (("clean.cpp", CLEAN), ("foreign.cpp", FOREIGN), ("indirect.cpp", INDIRECT)):
        (module / name).write_text(text, encoding="utf-8")
        words = [word.replace(entry["file"], str(module / name)) for word in shlex.split(entry["command"])]
        command = shlex.join([*words, "-I", str(folder / "path")])
        entries.append({"directory": entry["directory"], "file": str(module / name), "command": command})
    (folder / "compile_commands.json").write_text(json.dumps(entries), encoding="utf-8")
    return module


def marked(file, mark):
    """Returns the lines that must be reported, as FILE:LINE."""
    lines = file.read_text(encoding="utf-8").splitlines()
    return {f"{file}:{number}" for number, line in enumerate(lines, 1) if line.endswith(f"// {mark}")}


class PlatformApiTest(unittest.TestCase):
    """Checks that exactly the marked lines are reported."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(suffix=" with a space")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name).resolve()
        self.module = write_tree(self.folder)

    def check(self, name):
        command = [TREE / "tools/checks/platform_api", "-p", self.folder, self.module / name]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_foreign_uses_are_reported(self):
        result = self.check("foreign.cpp")
        self.assertEqual(1, result.returncode, result.stderr)
        reported = set(re.findall(r"^(.+?:\d+):\d+: the platform", result.stdout, re.MULTILINE))
        expected = marked(self.module / "foreign.cpp", "foreign") | marked(self.module / "helper.h", "foreign")
        self.assertEqual(expected, reported, result.stdout)

    def test_headers_that_only_the_workstation_includes_are_reported(self):
        result = self.check("indirect.cpp")
        self.assertEqual(1, result.returncode, result.stderr)
        reported = set(re.findall(r"^(.+?:\d+):\d+: includes <", result.stdout, re.MULTILINE))
        self.assertEqual(marked(self.module / "indirect.cpp", "indirect"), reported, result.stdout)
        self.assertEqual(2, len(result.stdout.splitlines()), result.stdout)

    def test_platform_uses_pass(self):
        (self.module / "helper.h").unlink()
        result = self.check("clean.cpp")
        self.assertEqual((0, "", ""), (result.returncode, result.stdout, result.stderr))

    def test_compile_error_is_reported(self):
        (self.module / "clean.cpp").write_text("#include <hidl/Gone.h>\n", encoding="utf-8")
        result = self.check("clean.cpp")
        self.assertEqual(2, result.returncode)
        self.assertIn("hidl/Gone.h", result.stderr)


if __name__ == "__main__":
    if not shutil.which("clang-query"):
        print("platform_api_test: clang-query is not installed (package clang-tools)", file=sys.stderr)
        sys.exit(SKIPPED)
    unittest.main()
