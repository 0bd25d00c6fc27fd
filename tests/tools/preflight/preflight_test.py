# SPDX-License-Identifier: Apache-2.0
"""Runs tools/preflight on small libraries, which this test writes without a compiler for ARM."""
import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent.parent.parent
PREFLIGHT = TREE / "tools" / "preflight"
PAGE = (TREE / "packaging" / "README.md").read_text(encoding="utf-8")
# {library: functions}, as the integrator's page shows them.
EXPECTED = {}
for function, library in re.findall(r"^\| `(\w+)` \| (lib\w+) \|", PAGE, re.MULTILINE):
    EXPECTED.setdefault(library, []).append(function)
LINKED = ["libmtal", "libapp_if", "libapp_if_rpc", "librpc_ipc", "libcmpb", "libdtv_osai", "libhandle_app"]
ARM, INTEL = 40, 3
DEFINED, UNDEFINED = 1, 0
FUNCTION, OBJECT = 2, 1


def write_library(path, functions, needed=(), soname=None, machine=ARM, section=DEFINED, kind=FUNCTION):
    """Writes a 32-bit shared library with a dynamic section and symbols, but without code."""
    texts = bytearray(b"\0")

    def text(value):
        texts.extend(value.encode() + b"\0")
        return len(texts) - len(value) - 1

    entries = [(1, text(name)) for name in needed] + ([(14, text(soname))] if soname else []) + [(0, 0)]
    symbols = struct.pack("<IIIBBH", 0, 0, 0, 0, 0, 0) + b"".join(
        struct.pack("<IIIBBH", text(name), 0x1000, 4, 1 << 4 | kind, 0, section) for name in functions)
    dynamic = b"".join(struct.pack("<iI", *entry) for entry in entries)
    names = b"\0.dynsym\0.dynstr\0.dynamic\0.shstrtab\0"
    parts = [(11, symbols, 2, 1, 16), (3, bytes(texts), 0, 0, 0), (6, dynamic, 2, 0, 8), (3, names, 0, 0, 0)]
    offsets = (1, 9, 17, 26)
    body, headers = b"", struct.pack("<10I", *[0] * 10)
    for name, (type_, data, link, info, size) in zip(offsets, parts):
        headers += struct.pack("<10I", name, type_, 2, 84 + len(body), 84 + len(body), len(data), link, info, 4, size)
        body += data + bytes(-len(data) % 4)
    start = 84 + len(symbols) + len(texts) + -len(texts) % 4
    header = b"\x7fELF\x01\x01\x01" + bytes(9) + struct.pack(
        "<HHIIIIIHHHHHH", 3, machine, 1, 0, 52, 84 + len(body), 0x5000000, 52, 32, 1, 40, 5, 4)
    segment = struct.pack("<8I", 2, start, start, start, len(dynamic), len(dynamic), 6, 4)
    path.write_bytes(header + segment + body + headers)


class PreflightTest(unittest.TestCase):
    """Each test starts with a complete set of libraries."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(suffix=" with a space")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for library in LINKED:
            self.write(library)

    def write(self, library, functions=None, needed=("libc.so", "liblog.so"), **options):
        functions = EXPECTED.get(library, []) if functions is None else functions
        options.setdefault("soname", f"{library}.so")
        write_library(self.folder / f"{library}.so", functions, needed, **options)

    def run_on(self, *arguments, **environment):
        return subprocess.run([sys.executable, "-B", PREFLIGHT, *arguments], capture_output=True, text=True,
                              check=False, env={**os.environ, **environment})

    def assert_report(self, status, *patterns):
        result = self.run_on(self.folder)
        self.assertEqual((status, ""), (result.returncode, result.stderr), result.stdout)
        for pattern in patterns:
            self.assertRegex(result.stdout, re.compile(pattern, re.MULTILINE))

    def test_complete_set_is_ready(self):
        owners = [rf"^{function} +{library}\.so$" for library in EXPECTED for function in EXPECTED[library]]
        self.assertEqual(15, len(owners))
        self.assert_report(0, r"^libhandle_app\.so +ok$", r"the platform:\nnone$", r"^Ready\.$", *owners)

    def test_functions_may_be_in_any_linked_library(self):
        self.write("libmtal", [name for name in EXPECTED["libmtal"] if name != "DRV_Init"])
        self.write("librpc_ipc", ["DRV_Init"])
        self.assert_report(0, r"^DRV_Init +librpc_ipc\.so$")

    def test_missing_function_is_reported(self):
        most = [name for name in EXPECTED["libmtal"] if name != "DRV_Init"]
        for case, write in (("absent", lambda: self.write("libmtal", most)),
                            ("undefined", lambda: self.write("libapp_if_rpc", ["DRV_Init"], section=UNDEFINED)),
                            ("no function", lambda: self.write("libapp_if_rpc", ["DRV_Init"], kind=OBJECT))):
            with self.subTest(case):
                self.write("libmtal", most)
                write()
                self.assert_report(1, r"^DRV_Init +MISSING$", r"^MTAL_Init +libmtal\.so$", r"Not ready: 1 problem\.")

    def test_function_of_another_library_is_named(self):
        self.write("libcmpb", [])
        self.write("libnew", ["IMtkPb_Ctrl_Init"])
        self.assert_report(1, r"^IMtkPb_Ctrl_Init +MISSING: only in libnew\.so, which the daemon does not link")

    def test_unusable_library_is_reported(self):
        path = self.folder / "libdtv_osai.so"
        for problem, make in (
                ("is missing", path.unlink),
                ("is ELF32 for Intel 80386, not 32-bit ARM", lambda: self.write("libdtv_osai", machine=INTEL)),
                ("has DT_SONAME libx.so instead", lambda: self.write("libdtv_osai", soname="libx.so")),
                ("has no DT_SONAME instead", lambda: self.write("libdtv_osai", soname=None)),
                ("is not an ELF library", lambda: path.write_text("INPUT(libother.so)\n")),
                ("is not an ELF library", lambda: path.write_bytes(b""))):
            with self.subTest(problem):
                make()
                self.assert_report(1, rf"^libdtv_osai\.so +{problem}", r"Not ready: 1 problem\.")

    def test_needed_libraries_are_named(self):
        self.write("libmtal", needed=["libc.so", "libhelper.so", "libapp_if.so", "android.hardware.audio@5.0.so"])
        self.write("libhelper", [], needed=["libsecret.so", "libmtal.so", "libbad.so"])
        self.write("libbad", [], machine=INTEL)
        self.write("libunused", [], needed=["libnobody.so"])
        self.assert_report(0, r"the platform:\nlibbad\.so +needed by libhelper\.so\nlibsecret\.so +needed by libhelper\.so\n\n")

    def test_wrong_usage(self):
        for arguments in ([], ["/nonexistent"], [PREFLIGHT], [self.folder, "more"]):
            with self.subTest(arguments):
                self.assertEqual(2, self.run_on(*arguments).returncode)
        result = self.run_on(self.folder, PATH="/nonexistent")
        self.assertEqual(2, result.returncode)
        self.assertIn("neither llvm-readelf nor readelf is installed", result.stderr)


if __name__ == "__main__":
    unittest.main()
