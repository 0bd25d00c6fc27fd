# SPDX-License-Identifier: Apache-2.0
"""Breaks single lines in a copy of the tree and checks that the doctor reports file and problem."""
import json
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent.parent
DOCTOR = TREE / "tools" / "checks" / "doctor"
sys.path.insert(0, str(DOCTOR.parent))
from doctor_checks.examination import examine  # noqa: E402

HIDL_GEN = shutil.which("hidl-gen")
KNOWN = "client/services/known_services.cpp"
EXAMINED = ["Android.bp", "CMakeLists.txt", "client", "host/interfaces", "host/middleware", "host/tv",
            "interfaces", "packaging", "recorder/Android.bp", "service", "vts"]
RC, XML, MATRIX = "packaging/hidlaudio.rc", "packaging/hidlaudio.xml", "packaging/compatibility_matrix.xml"
POLICY, PAGE = "packaging/sepolicy/", "packaging/README.md"
MIC_ROW = r"    service<V\d_\d::IMicControl[^;]*?\),\n"

# File, pattern (must match once), replacement, expected problem; optional: other file that the finding names.
FAULTS = [
    # interfaces
    ("interfaces/1.0/IHdmiAudio.hal", r"\Z", "// a word more\n", "but has changed"),
    ("interfaces/current.txt", r"^.*@6\.0::IMicControl\n", "", "6.0::IMicControl is not frozen"),
    ("interfaces/current.txt", r"\Z", "00ff name\n", "is not a hash and a name"),
    ("interfaces/current.txt", r"\Z", "0" * 64 + " com.tovi.dtv.hardware.audio@9.0::IGone\n",
     "has no .hal file"),
    ("interfaces/6.0/IMicControl.hal", r"^package .*$", "package com.tovi@6.0;", "is not in package"),
    ("interfaces/6.0/IMicControl.hal", r"^interface IMicControl", "interface IMic",
     "does not declare interface IMicControl"),
    ("interfaces/6.1/IMicControl.hal", r"extends @6\.0", "extends @4.0",
     "extends com.tovi.dtv.hardware.audio@4.0"),
    # the table of services
    ("service/main.cpp", MIC_ROW, "", "::IMicControl is not implemented by any service"),
    ("service/main.cpp", r"V\d_\d::IMicControl", "V6_0::IMicControl",
     "6.1::IMicControl is not implemented by any service"),
    ("service/main.cpp", r"V\d_\d::IMicControl", "V9_9::IMicControl", "which has no .hal file"),
    ("service/main.cpp", r"(?=    service<V\d_\d::IMicControl)",
     '    service<V6_0::IMicControl, V6_0::implementation::MicControl>(""),\n',
     "IMicControl is registered twice"),
    # the workstation's commands
    (KNOWN, r"^.*::IMicControl::.*\n", "", "::IMicControl (service/main.cpp"),
    (KNOWN, r"V\d_\d::IMicControl", "V6_0::IMicControl", "names com.tovi.dtv.hardware.audio@6.0::IMic"),
    ("client/command_line.cpp", r", addMic", "", "does not call addMic (client/commands.h"),
    # the TV's build file
    ("Android.bp", r'^ *"com.tovi.dtv.hardware.audio@6.1",\n', "",
     "shared_libs lacks com.tovi.dtv.hardware.audio@6.1"),
    ("Android.bp", r"// The HIDL interfaces\.$", '"com.tovi.dtv.hardware.audio@9.9",',
     "9.9 has no .hal files"),
    ("Android.bp", r'^ *"libmtal",\n', "", "shared_libs lacks libmtal"),
    ("Android.bp", r'^ *"libpower",\n', "", "shared_libs lacks libpower"),
    ("Android.bp", r'^ *"android.hardware.audio@5.0",\n', "", "shared_libs lacks android.hardware.audio@5.0"),
    ("service/platform/soc_middleware.h", r"vendor's libraries \(", "libraries (",
     "does not name the vendor's libraries"),
    ("Android.bp", r"packaging/hidlaudio.xml", "packaging/gone.xml", "packaging/gone.xml does not exist"),
    ("recorder/Android.bp", r'^ *stem: ".*@6.1-recorder.profiler",\n', "",
     "lacks com.tovi.dtv.hardware.audio@6.1-recorder.profiler"),
    # the init script
    (RC, r"^.*@1\.0::IHdmiAudio default\n", "", "lacks com.tovi.dtv.hardware.audio@1.0::IHdmiAudio"),
    (RC, r"@6\.0::IMicControl", "@9.9::IMicControl", "9.9::IMicControl is not offered by any service"),
    (RC, r"^(.*@6\.0::IMicControl default)$", r"\1\n\1", "already listed in line"),
    (RC, r"@6\.0::IMicControl default", "@6.0::IMicControl", "not an interface and the instance"),
    (RC, r"class hal", "class main", "the class of the service is not hal"),
    (RC, r"^ *user .*\n", "", "has no user"),
    (RC, r"^ *capabilities .*\n", "", "capabilities lacks BLOCK_SUSPEND"),
    (RC, r" wakelock$", "", "group lacks wakelock"),
    (RC, r"^.*mkdir /data/vendor/tovi/hidlaudio.*\n", "", "does not create the folder /data/vendor/tovi/hidlaudio"),
    (RC, r"^.*mkdir /data/vendor/tovi .*\n", "", "does not create the folder /data/vendor/tovi ("),
    (RC, r"(mkdir /data/vendor/tovi) .*", r"\1", "does not set mode, owner and group"),
    (RC, r"\A", "user root\n", "is outside all sections"),
    (RC, r"^    class hal", "    klass hal", "init knows no klass below service"),
    (RC, r"^    user .*", r"\g<0> audio", "init refuses user with 2 arguments"),
    (RC, r"^    user .*", "    user audioserv", "no user or group audioserv"),
    (RC, r"system system$", "system systems", "no user or group systems"),
    (RC, r"BLOCK_SUSPEND$", "CAP_BLOCK_SUSPEND", "no capability CAP_BLOCK_SUSPEND"),
    (RC, r"^on post-fs-data", "on post-data", "init never triggers post-data"),
    (RC, r"\Z", "    interface a b\n", "init knows no interface below on"),
    (RC, r"^on post-fs-data", "on", "init refuses on with 0 arguments"),
    # the manifest and the matrix
    (XML, r"^.*@2\.0::IOutputSpeaker.*\n", "", "does not declare @2.0::IOutputSpeaker"),
    (XML, r"@1\.1::IHdmiAudio/default", "@1.1::IHdmiAudio/other", "is not a version, interface and instance"),
    (XML, r"^(.*::ICenterSpeaker.*\n)", r"\1\1", "already listed in line"),
    (XML, r"@6\.\d::IMicControl", "@6.0::IMicControl", "is not the newest minor version"),
    (XML, r"@4\.\d::ICenterSpeaker", "@9.9::ICenterSpeaker",
     "@9.9::ICenterSpeaker/default is not offered by any service"),
    (XML, r"hwbinder", "passthrough", "transport is not hwbinder"),
    (XML, r'format="hidl"', 'format="aidl"', "is not hidl"),
    (XML, r"<name>com\.", "<name>org.", "has no entry for"),
    (XML, r"</hal>", "", "is not well-formed XML"),
    (MATRIX, r"<version>4\.\d", "<version>4.9", "does not permit @4."),
    (MATRIX, r"<version>4\.\d", "<version>4.9", "permits @4.9::ICenterSpeaker"),
    (MATRIX, r"<instance>default</instance>(?=\s*</interface>\s*</hal>\s*</comp)", "", "has no instance"),
    (MATRIX, r' optional="true"(?=>\s*<name>\S+\s*<version>4)', "", "requires the services on every TV"),
    # the policy
    (POLICY + "hwservice_contexts", r"^.*IMicControl.*\n", "",
     "lacks com.tovi.dtv.hardware.audio::IMicControl"),
    (POLICY + "hwservice_contexts", r"::IMicControl", "::IMic", "IMic is not offered by any service"),
    (POLICY + "hwservice_contexts", r"^(.*IMicControl.*\n)", r"\1\1", "already listed in line"),
    (POLICY + "hwservice_contexts", r"^(.*IMicControl) .*", r"\1", "not an interface and a context"),
    (POLICY + "hwservice.te", r"^type .*\n", "", "does not have the attribute hwservice_manager_type",
     POLICY + "hwservice_contexts"),
    (POLICY + "file_contexts", r"^/vendor/.*\n", "", "does not label /vendor/bin/hw/hidlaudio"),
    (POLICY + "file_contexts", r"hidlaudio_exec", "hidlaudio_data_file", "which init does not start"),
    (POLICY + "file_contexts", r"^/dev/tovi_bectrl", "/dev/bectrl", "does not label /dev/tovi_bectrl"),
    (POLICY + "file_contexts", r"^/dev/tovi_bectrl", "/dev/bectrl", "which the daemon does not use"),
    (POLICY + "file_contexts", r"^(/dev/\S+).*", r"\1", "is not a path and a context"),
    (POLICY + "file_contexts", r"\(/\.\*\)\?(?= *u:object_r:hidl)", "(", "is not a regular expression"),
    (POLICY + "genfs_contexts", r"^genfscon.*\n", "", "does not label /proc/"),
    (POLICY + "device.te", r"^type .*\n", "", "type tovi_bectrl_device is not declared",
     POLICY + "file_contexts"),
    (POLICY + "file.te", r"^type proc", "type, proc", "is not a type declaration"),
    (POLICY + "hidlaudio.te", r"^allow hidlaudio proc_tovi_bectrl:file.*\n", "",
     "use proc_tovi_bectrl:file"),
    (POLICY + "hidlaudio.te", r"^allow hidlaudio vendor_data_file:dir.*\n", "", "use vendor_data_file:dir"),
    (POLICY + "hidlaudio.te", r"^allow hidlaudio tovi_bectrl_device.*\n", "",
     "use tovi_bectrl_device:chr_file"),
    (POLICY + "hidlaudio.te", r"^(allowxperm .*)0x6303", r"\g<1>0x6302", "does not permit ioctl 0x6303"),
    (POLICY + "hidlaudio.te", r"^wakelock_use.*\n", "", "a rule that service/headphone_virtualizer/"),
    (POLICY + "hidlaudio.te", r"^hal_client_domain.*\n", "", "a rule that service/platform/PrimaryHalAccessor"),
    (POLICY + "hidlaudio.te", r"^hal_server_domain.*\n", "", "is not a HAL server"),
    (POLICY + "hal_tovi_audio.te", r"^binder_call\(hal_tovi_audio_server.*\n", "",
     "no policy file contains binder_call",
     POLICY + "hidlaudio.te"),
    (POLICY + "attributes", r"^hal_attribute.*\n", "", "no policy file contains hal_attribute(tovi_audio)",
     POLICY + "hidlaudio.te"),
    (POLICY + "hidlaudio.te", r"^init_daemon_domain.*\n", "", "no domain that init starts"),
    # the conformance suite
    ("vts/mic_control_test.cpp", r"getMicDevices_", "micDevices_", "has no test of getMicDevices", "vts"),
    ("vts/mic_control_test.cpp", r"getMicDevices_", "micDevices_", "names micDevices, which is no method"),
    # names in the code
    ("service/mic_control/MicControl.cpp", r"\Z", 'const char* more = "/dev/more";\n', "does not label /dev/more",
     POLICY + "file_contexts"),
    ("service/platform/soc_middleware.h", r"MTEEPROM_Read\(", "MTEEPROM_ReadAll(", "does not name MTEEPROM_ReadAll",
     PAGE),
    ("host/middleware/functions.h", r"^.*MTEEPROM_Read.*\n", "", "lacks MTEEPROM_Read"),
    ("host/middleware/functions.h", r"MTEEPROM_Read", "MTEEPROM_Gone", "names MTEEPROM_Gone"),
    ("host/middleware/eeprom.cpp", r'"MTEEPROM_Init"', '""', "no source in its folder implements",
     "host/middleware/functions.h"),
    (PAGE, r"^\| `MTEEPROM_Read` .*\n", "| `MTEEPROM_Gone` | libmtal | |\n", "names MTEEPROM_Gone"),
    (PAGE, r"^\| `/data/\S*/aqda.bin` .*\n", "", "does not name /data/vendor/tmp/recipe/aqda.bin"),
]

# Required files: a missing or unreadable one must be reported as a finding.
NEEDED = [RC, XML, MATRIX, PAGE, KNOWN, "Android.bp", "service/main.cpp",
          "interfaces/current.txt",
          "service/platform/soc_middleware.h", "host/middleware/functions.h", POLICY + "file_contexts",
          POLICY + "genfs_contexts", POLICY + "hwservice_contexts", POLICY + "hidlaudio.te"]


class DoctorTest(unittest.TestCase):
    """Runs the checks on a copy of the files that the doctor examines. Each test restores the copy."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.copy = Path(folder.name)
        for name in EXAMINED:
            source, target = TREE / name, cls.copy / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copytree(source, target) if source.is_dir() else shutil.copy(source, target)

    def findings_with(self, file, content, hidl_gen=None):
        """Returns the findings with `content` in the file, or without the file if `content` is None."""
        path = self.copy / file
        before = path.read_bytes()
        try:
            path.unlink()
            if content is not None:
                path.write_bytes(content)
            return examine(self.copy, hidl_gen)
        finally:
            path.write_bytes(before)

    def assert_found(self, findings, file, problem):
        places = [finding for finding in findings if problem in finding.problem]
        self.assertIn(file, [finding.file for finding in places], "\n".join(map(str, findings)))
        self.assertTrue(all(finding.line >= 1 and finding.fix for finding in findings))

    def test_intact_tree_has_no_findings(self):
        self.assertEqual([], [str(finding) for finding in examine(self.copy, HIDL_GEN)])

    def test_each_broken_line_is_reported(self):
        for file, pattern, replacement, problem, *where in FAULTS:
            with self.subTest(file=file, problem=problem):
                text = (self.copy / file).read_text(encoding="utf-8")
                broken, count = re.subn(pattern, replacement, text, flags=re.MULTILINE)
                self.assertEqual(1, count, f"{pattern} in {file}")
                findings = self.findings_with(file, broken.encode())
                self.assert_found(findings, where[0] if where else file, problem)

    def test_finding_names_broken_line(self):
        text = (self.copy / RC).read_text(encoding="utf-8")
        line = text[: text.index("@6.0::IMicControl")].count("\n") + 1
        findings = self.findings_with(RC, text.replace("@6.0::IMicControl", "@9.9::IMicControl").encode())
        self.assertIn((RC, line), [(finding.file, finding.line) for finding in findings])

    def test_missing_or_unreadable_file_is_a_finding(self):
        for file in NEEDED:
            with self.subTest(file=file):
                self.assertIn(file, [finding.file for finding in self.findings_with(file, None)])
                self.assert_found(self.findings_with(file, b"\xff\xfe"), file, "is not valid UTF-8")
                self.assertIn(file, [finding.file for finding in self.findings_with(file, b"")])
                self.findings_with(file, b"{ [ < \" ( , : = service on type")

    @unittest.skipUnless(HIDL_GEN, "hidl-gen is not installed")
    def test_hidl_gen_errors_are_findings(self):
        file = "interfaces/6.1/Android.bp"
        changed = (self.copy / file).read_bytes().replace(b"gen_java: true", b"gen_java: false")
        self.assert_found(self.findings_with(file, changed, HIDL_GEN), file, "generates: gen_java: true")
        missing = self.findings_with(file, None, HIDL_GEN)
        self.assert_found(missing, file, "does not exist")
        self.assertTrue(any("hidl-gen -Landroidbp" in finding.fix for finding in missing), missing)
        file = "interfaces/4.0/ICenterSpeaker.hal"
        changed = (self.copy / file).read_bytes().replace(b"interface ICenterSpeaker {", b"interface {")
        self.assert_found(self.findings_with(file, changed, HIDL_GEN), "interfaces/4.0",
                          "hidl-gen -Lcheck fails")
        file = "interfaces/6.1/IMicControl.hal"
        changed = (self.copy / file).read_bytes().replace(b" extends @6.0::IMicControl", b"")
        fixes = [finding.fix for finding in self.findings_with(file, changed, HIDL_GEN)]
        self.assertTrue(any("to the next minor version" in fix for fix in fixes), fixes)

    def run_doctor(self, *arguments):
        command = [sys.executable, "-B", DOCTOR, *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_command_prints_findings_and_sets_exit_status(self):
        with tempfile.TemporaryDirectory() as empty:
            result = self.run_doctor("--json", "--tree", empty)
            self.assertEqual(1, result.returncode)
            self.assertEqual({"file", "line", "problem", "fix"}, set(json.loads(result.stdout)[0]))
            lines = self.run_doctor("--tree", empty).stdout.splitlines()
        self.assertTrue(all(re.fullmatch(r"\S+:\d+: .+; fix: .+", line) for line in lines), lines)
        result = self.run_doctor("--json", "--tree", self.copy)
        self.assertEqual((0, "[]\n"), (result.returncode, result.stdout))
        self.assertEqual(2, self.run_doctor("--tree", "/nonexistent").returncode)
        self.assertIn("Each finding is a line", self.run_doctor("--help").stdout)


if __name__ == "__main__":
    unittest.main()
