# SPDX-License-Identifier: Apache-2.0
"""Breaks single lines in a copy of the daemon's policy and checks that tools/checks/policy reports each."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent.parent
CHECK = TREE / "tools" / "checks" / "policy"
SKIPPED = 77  # the exit status that ctest reports as "Skipped"
DOMAIN, HAL = "hidlaudio.te", "hal_tovi_audio.te"
VIOLATION = r"neverallow(?:xperm)? on line (\d+) of .*/(\w+\.te) .*violated by\s+allow(?:xperm)? "


def violation(rule):
    """Returns the pattern of checkpolicy's message about a violated neverallow rule."""
    return VIOLATION + re.escape(rule)


def missing(pattern):
    """Returns the case in which a rule is missing: the pattern of its line, and an empty replacement."""
    return rf"^ *{pattern}.*\n", ""


# File, pattern (must match once), replacement, pattern of the expected report.
FAULTS = [
    # promises that neverallow rules keep
    (DOMAIN, r"\Z", "allow system_server hidlaudio_data_file:file read;\n",
     violation("system_server hidlaudio_data_file:file { read }")),
    (DOMAIN, r"\Z", "allow hal_audio_default hidlaudio_data_file:file rw_file_perms;\n",
     violation("hal_audio_default hidlaudio_data_file:file")),
    (DOMAIN, r"\Z", "allow hidlaudio vendor_data_file:file write;\n",
     violation("hidlaudio vendor_data_file:file { write }")),
    (DOMAIN, r"\Z", "allow hidlaudio proc_tovi_bectrl:file write;\n",
     violation("hidlaudio proc_tovi_bectrl:file { write }")),
    (DOMAIN, r"^(allowxperm .*)0x6303", r"\g<1>0x6304", violation("hidlaudio tovi_bectrl_device:chr_file")),
    (DOMAIN, *missing("allowxperm"), violation("hidlaudio tovi_bectrl_device:chr_file")),
    (HAL, r"\Z", "hal_client_domain(priv_app, hal_tovi_audio)\n",
     violation("priv_app hal_tovi_audio_hwservice:hwservice_manager { find }")),
    (HAL, r"userdebug_or_eng\(`$", "ifelse(a, a, `",
     "user: (?:.*\n)*.*" + violation("shell hal_tovi_audio_hwservice:hwservice_manager { find }")),
    (HAL, r"\Z", "allow untrusted_app_29 hal_tovi_audio_server:binder call;\n",
     violation("untrusted_app_29 hidlaudio:binder { call }")),
    (HAL, r"\Z", "add_hwservice(hal_audio_default, hal_tovi_audio_hwservice)\n",
     violation("hal_audio_default hal_tovi_audio_hwservice:hwservice_manager { add }")),
    # permissions that the daemon or a client lacks
    (DOMAIN, *missing("init_daemon_domain"), "init does not start hidlaudio_exec"),
    (DOMAIN, *missing("hal_server_domain"), "may not add hal_tovi_audio_hwservice"),
    (DOMAIN, *missing("hal_client_domain"), "may not find hal_audio_hwservice"),
    (DOMAIN, *missing("wakelock_use"), "may not find system_suspend_hwservice"),
    (DOMAIN, r"create_file_perms", "rw_file_perms", "may not unlink hidlaudio_data_file:file"),
    (DOMAIN, r"rw_dir_perms", "r_dir_perms", "may not remove_name hidlaudio_data_file:dir"),
    (DOMAIN, r"(?<=tovi_bectrl_device:chr_file \{ getattr open read )write", "",
     "may not write tovi_bectrl_device"),
    (DOMAIN, r"^(allowxperm .*)0x6303", r"\g<1>0x6302", "may use the ioctl commands"),
    (DOMAIN, *missing("allow hidlaudio proc_tovi_bectrl:file"), "may not open proc_tovi_bectrl:file"),
    (HAL, *missing(r"hal_client_domain\(system_app"), "system_app may not find the services"),
    (HAL, *missing(r"binder_call\(hal_tovi_audio_client"), "platform_app may not call the services"),
    (HAL, *missing(r"binder_call\(hal_tovi_audio_server"), "may not call back system_server"),
    (HAL, *missing("allow hal_tovi_audio_server dumpstate:fifo_file"), "to a pipe of dumpstate"),
    (HAL, *missing(r"hal_client_domain\(shell"), "userdebug: shell may not find"),
    (HAL, r"\Z", "hal_client_domain(audioserver, hal_tovi_audio)\n", "audioserver may find the services"),
    (HAL, r"\Z", "allow hal_tovi_audio_server system_app:fifo_file write;\n", "may write to a pipe of system_app"),
    # text that the compiler rejects, and labels
    (DOMAIN, r"proc_tovi_bectrl:dir", "proc_gone:dir", "unknown type proc_gone"),
    (DOMAIN, r"wakelock_use", "wakelock_used", "syntax error"),
    ("attributes", *missing("hal_attribute"), "hal_tovi_audio"),
    ("file_contexts", r"hidlaudio_data_file", "hidlaudio_data", "file_contexts uses the type hidlaudio_data,"),
    ("genfs_contexts", r"proc_tovi_bectrl", "proc_gone", "proc_gone"),
    ("hwservice_contexts", r"(IMicControl +u:object_r:)\w+", r"\1gone", "uses the type gone"),
]


def neverallow_rules(policy, places=None):
    """Returns the neverallow rules in the policy's files, or of those at (line, file)."""
    rules = {(str(number), file): line for file in (DOMAIN, HAL)
             for number, line in enumerate((policy / file).read_text(encoding="utf-8").splitlines(), 1)
             if line.startswith("neverallow")}
    return {rules[place] for place in (rules if places is None else places) if place in rules}


def run_check(folder):
    return subprocess.run([CHECK, "--policy", folder], capture_output=True, text=True, check=False)


class PolicyTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(suffix=" with a space")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def copy_with(self, number, file, pattern, replacement):
        """Returns a copy of the policy with one broken line."""
        copy = self.folder / str(number)
        shutil.copytree(TREE / "packaging" / "sepolicy", copy)
        text, count = re.subn(pattern, replacement, (copy / file).read_text(encoding="utf-8"), flags=re.MULTILINE)
        self.assertEqual(1, count, f"{pattern} in {file}")
        (copy / file).write_text(text, encoding="utf-8")
        return copy

    def test_policy_passes(self):
        result = run_check(TREE / "packaging" / "sepolicy")
        self.assertEqual((0, "", ""), (result.returncode, result.stdout, result.stderr))

    def test_each_broken_line_is_reported(self):
        copies = [self.copy_with(number, *fault[:3]) for number, fault in enumerate(FAULTS)]
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(run_check, copies))
        fired = set()
        for (file, pattern, replacement, expected), result, copy in zip(FAULTS, results, copies):
            with self.subTest(file=file, pattern=pattern, replacement=replacement):
                self.assertEqual(1, result.returncode, result.stderr)
                self.assertRegex(result.stdout, expected)
            fired.update(neverallow_rules(copy, re.findall(VIOLATION, result.stdout)))
        self.assertEqual(neverallow_rules(TREE / "packaging" / "sepolicy"), fired)

    def test_wrong_usage(self):
        for option in ("--policy", "--platform"):
            result = subprocess.run([CHECK, option, self.folder / "gone"], capture_output=True, text=True, check=False)
            self.assertEqual(2, result.returncode)
            self.assertIn("gone", result.stderr)


if __name__ == "__main__":
    probe = run_check(TREE / "packaging" / "sepolicy")
    if "not installed" in probe.stderr:
        print(probe.stderr, file=sys.stderr)
        sys.exit(SKIPPED)
    unittest.main()
