# SPDX-License-Identifier: Apache-2.0
"""The TV's build files against CMake's and the interfaces."""
import re

from .blueprint import load_blueprint
from .interfaces import FOLDER, ROOTS, versions
from .middleware import HEADER
from .tree import PACKAGE

FILE = "Android.bp"
# Headers of the platform, and the libraries that come with them.
PLATFORM = (
    (r"android/log\.h", ("liblog",)),
    (r"android/hardware/audio/(\d+\.\d+)/.*",
     (r"android.hardware.audio@\1", r"android.hardware.audio.common@\1")),
    (r"com/tovi/.*|hidl/.*", ("libhidlbase", "libutils", "libcutils")),
    (r"hardware_legacy/power\.h", ("libpower",)),
)


def load_binary(tree):
    """The module of the daemon, None (and a finding) where there is none."""
    for module in load_blueprint(tree, FILE):
        if module.kind == "cc_binary":
            return module
    tree.find(FILE, 1, "has no cc_binary", "restore it from version control")
    return None


def installed_path(binary):
    """Where the daemon lies on the TV."""
    folder = binary.text("relative_install_path")
    return "/vendor/bin/" + (f"{folder}/" if folder else "") + binary.text("name")


def check_binary(tree, binary):
    """What makes the program a service of the vendor partition."""
    if binary.text("vendor") != "true":
        tree.find(FILE, binary.line_of("vendor"), "the daemon is not built for the vendor partition",
                  "write: vendor: true,")
    for name in ("init_rc", "vintf_fragments"):
        if not binary.items(name):
            tree.find(FILE, binary.line_of(name), f"the daemon has no {name}",
                      f"name the file of packaging/ in {name}")
        for file, line in binary.items(name).items():
            if not tree.exists(file):
                tree.find(FILE, line, f"{file} is not there", f"name the file of packaging/ in {name}")


def check_sources(tree, binary, daemon):
    """The TV builds the daemon of the same sources as CMake."""
    listed = binary.items("srcs")
    for source, (file, line) in daemon.sources.items():
        if source not in listed:
            tree.find(FILE, binary.line_of("srcs"), f"srcs lacks {source} ({file}:{line})",
                      f'add "{source}",')
    for source, line in listed.items():
        if source not in daemon.sources:
            tree.find(FILE, line, f"CMake builds no {source} into the daemon",
                      "remove the line, or add it to its room")


def check_options(tree, binary, daemon):
    """Options that change what a room computes hold on the TV too."""
    for option, (file, line) in daemon.options.items():
        if option not in binary.items("cflags"):
            tree.find(FILE, binary.line_of("cflags"), f"cflags lacks {option} ({file}:{line})",
                      f'add "{option}",')


def check_libraries(tree, binary, headers):
    """The daemon links each version of the interfaces, the platform's and the vendor's libraries."""
    linked = binary.items("shared_libs")
    wanted = [f"{PACKAGE}@{version}" for version in versions(tree)]
    wanted += _platform_libraries(headers) + _vendor_libraries(tree)
    for name in wanted:
        if name not in linked:
            tree.find(FILE, binary.line_of("shared_libs"), f"shared_libs lacks {name}", f'add "{name}",')
    for name, line in linked.items():
        if name.startswith(f"{PACKAGE}@") and name not in wanted:
            tree.find(FILE, line, f"{name} has no .hal files", "remove the line")


def _platform_libraries(headers):
    """The libraries whose headers the code includes."""
    matches = ((re.fullmatch(pattern, header), names) for header in headers for pattern, names in PLATFORM)
    return sorted({match.expand(name) for match, names in matches if match for name in names})


def _vendor_libraries(tree):
    """The libraries that the header of the vendor's functions names."""
    match = re.search(r"vendor's libraries \(([^)]*)\)", tree.read(HEADER))
    if not match:
        tree.find(HEADER, 1, "does not name the vendor's libraries",
                  "write: vendor's libraries (libone, libtwo)")
        return []
    return re.findall(r"lib\w+", match[1])


def check_interface_modules(tree):
    """Each version of the interfaces has its module, below the package's root."""
    roots = load_blueprint(tree, f"{FOLDER}/{FILE}")
    if not any(module.kind == "hidl_package_root" and module.text("name") == PACKAGE for module in roots):
        tree.find(f"{FOLDER}/{FILE}", 1, f"has no hidl_package_root of {PACKAGE}",
                  f'write: hidl_package_root {{ name: "{PACKAGE}", use_current: true, }}')
    for version in versions(tree):
        _check_interface_module(tree, version)


def _check_interface_module(tree, version):
    file = f"{FOLDER}/{version}/{FILE}"
    anew = f"run: hidl-gen -Landroidbp -o . {' '.join(ROOTS)} {PACKAGE}@{version}"
    if not tree.exists(file):
        tree.find(file, 1, "is not there", anew)
        return
    modules = [module for module in load_blueprint(tree, file) if module.kind == "hidl_interface"]
    if len(modules) != 1 or modules[0].text("name") != f"{PACKAGE}@{version}":
        tree.find(file, 1, f"is not the hidl_interface {PACKAGE}@{version}", anew)
        return
    listed = modules[0].items("srcs")
    present = {path.rsplit("/", 1)[1] for path in tree.glob(f"{FOLDER}/{version}/*.hal")}
    for name in sorted(present ^ set(listed)):
        what = f"srcs lacks {name}" if name in present else f"{name} is not there"
        tree.find(file, listed.get(name, modules[0].line_of("srcs")), what, anew)
