# SPDX-License-Identifier: Apache-2.0
"""Fixtures and reports for pytest."""
import pytest

from . import programs
from .tv import Tv

_TVS = pytest.StashKey()


def pytest_addoption(parser):
    parser.getgroup("hidlaudio").addoption(
        "--hidlaudio-programs", metavar="DIR",
        help="folder of the virtual TV's programs (default: $HIDLAUDIO_PROGRAMS, or the build folder, or PATH)")


def pytest_configure(config):
    config.addinivalue_line("markers", "tv(**options): options of the fixture tv, see docs/python.md")
    folder = config.getoption("--hidlaudio-programs")
    if folder:
        programs.choose(folder)


def _marked_options(node):
    options = {}
    for marker in reversed(list(node.iter_markers("tv"))):
        if marker.args:
            raise pytest.UsageError(f"{node.nodeid}: the options of the marker tv need names")
        options.update(marker.kwargs)
    return options


@pytest.fixture
def make_tv(request):
    """A factory of TVs with the options of the marker."""
    tvs = request.node.stash.setdefault(_TVS, [])

    def make(**options):
        tvs.append(Tv(**options))
        return tvs[-1]

    yield make
    problems = _new_problems(tvs)  # of the time after the test
    for tv in tvs:
        tv.close()
    if problems:
        pytest.fail("\n".join(problems), pytrace=False)


@pytest.fixture
def tv(request, make_tv):
    """A TV with the options of the test's marker."""
    return make_tv(**_marked_options(request.node))


@pytest.fixture
def make_client(request):
    """A factory of clients, of the test's TV by default."""
    def make(tv=None):
        return (tv or request.getfixturevalue("tv")).client()
    return make


@pytest.fixture
def client(tv):
    """A client of the test's TV."""
    return tv.client()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    tvs = item.stash.get(_TVS, [])
    if report.when == "call":
        problems = _new_problems(tvs)
        if problems and report.passed:
            report.outcome = "failed"
            report.longrepr = "\n".join(problems)
        elif problems:
            report.sections.append(("Captured log problems", "\n".join(problems)))
    if report.when != "teardown" and report.failed:  # a teardown deletes the logs
        for number, tv in enumerate(tvs, 1):
            name = f"TV {number} " if len(tvs) > 1 else ""
            report.sections += [(f"Captured log {name}{title}", text) for title, text in _logs(tv)]


def _new_problems(tvs):
    return [problem for tv in tvs for problem in tv.problems()]


def _logs(tv):
    lines = "\n".join(f"{line.time} {line.program:9} {line.level} {line.tag}: {line.text}" for line in tv.log)
    return [("of the programs", lines), *((name, text) for name, text in tv.client_logs().items() if text)]
