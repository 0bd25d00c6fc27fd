# SPDX-License-Identifier: Apache-2.0
"""Compares the observations of one step on the real TV with its prediction. Each difference is a line of text."""

import re

import headphone_virtualizer as hv
import lab as lab_module
from prediction_values import ANY, FREE, f32


class Died:
    """The result of a call during which the daemon died."""

    def __eq__(self, other):
        return isinstance(other, Died)

    def __repr__(self):
        return "the daemon died"


def differences(lab, world, prediction, result, patience):
    lab.wait(lambda: _is_complete(lab, world, prediction), patience)
    lab.read_calls()
    expected = Died() if prediction.died else prediction.result
    found = [] if same_result(expected, result) else [f"result: {expected!r} expected, {result!r} returned"]
    found += _log_differences(lab, world, prediction)
    if world.events != lab.events:
        found.append(f"callbacks: {world.events} expected, {lab.events} made")
    if not same_result(world.nested, lab.nested):
        found.append(f"calls from callbacks: {world.nested} expected, {lab.nested} returned")
    return found + _call_differences(lab, prediction) + _file_differences(lab, world) + _lock_differences(lab, world)


def _is_complete(lab, world, prediction):
    """Whether everything expected has come, or something unexpected has come."""
    if any(not log_matches(*pair) for pair in zip(prediction.log, lab.main)):
        return True
    return (len(lab.main) >= len(prediction.log) and len(lab.events) >= len(world.events)
            and all(_upload_matches(*pair) for pair in _uploads(lab, world)))


def _uploads(lab, world):
    threads = list(lab.threads.values()) + [[] for _ in world.virtualizer.uploads]
    return list(zip(world.virtualizer.uploads, threads)) if world.running else []


def _upload_matches(upload, lines):
    if upload.log[-1] == "in progress" and lines[-3:] != hv.IN_PROGRESS:
        return False
    return thread_matches(upload.log, lines)


def _log_differences(lab, world, prediction):
    found = []
    for at in range(max(len(prediction.log), len(lab.main))):
        line = prediction.log[at] if at < len(prediction.log) else None
        actual = lab.main[at] if at < len(lab.main) else None
        if line is None or actual is None or not log_matches(line, actual):
            found.append(f"log, line {at + 1} of the step: {line} expected, {actual} found")
            break
    return found + [f"log of an upload: {upload.log} expected, {lines} found"
                    for upload, lines in _uploads(lab, world) if not _upload_matches(upload, lines)]


def _call_differences(lab, prediction):
    actual = lab.calls
    expected = [call for call in prediction.calls
                if call[0] not in lab_module.UPLOAD_CALLS and "tovi_bectrl" not in call[1]]
    if actual == expected:
        return []
    at = next((i for i, pair in enumerate(zip(expected, actual)) if pair[0] != pair[1]),
              min(len(expected), len(actual)))
    return [f"platform call {at + 1} of the step: {expected[at:at + 3]} expected, {actual[at:at + 3]} made"]


def _file_differences(lab, world):
    actual = lab.files()
    return [f"{path}: {world.files.get(path)!r} expected, {actual.get(path)!r} found"
            for path in sorted(actual.keys() | world.files.keys())
            if not lab_module.UNCOMPARED.match(path) and not same_file(world.files.get(path), actual.get(path))]


def _lock_differences(lab, world):
    if not world.running or world.wake_locks_stay:
        return []
    with open(lab.root + "power/wake_lock", encoding="utf-8") as file:
        held = sorted(file.read().split())
    expected = sorted(hv.LOCKS[slot.upload.kind] for slot in world.virtualizer.slots.values() if slot.upload)
    return [] if held == expected else [f"wake locks: {expected} expected, {held} held"]


def log_matches(predicted, actual):
    """Whether a line of the log is the predicted one: (level, tag, text), where ANY stands for a number."""
    if predicted == actual:
        return True
    if predicted[:2] != actual[:2] or not {ANY, FREE} & set(predicted[2]):
        return False
    pattern = re.escape(predicted[2]).replace(re.escape(ANY), r" *-?(?:0x[0-9a-f]+|[0-9a-f.]+|nan|inf)")
    return re.fullmatch(pattern.replace(re.escape(FREE), ".*"), actual[2], re.DOTALL) is not None


def thread_matches(predicted, actual):
    """Whether the lines of an upload's thread are the predicted ones."""
    at = 0
    progress = hv.IN_PROGRESS
    for line in predicted:
        if line == "in progress":  # the driver's first report may be seen, or be replaced by the last one
            while actual[at:at + 3] == progress:
                at += 3
        elif at < len(actual) and log_matches(line, actual[at]):
            at += 1
        else:
            return False
    return at == len(actual)


def same_result(predicted, actual):
    if isinstance(predicted, dict) and isinstance(actual, dict):
        return predicted.keys() == actual.keys() and all(
            same_result(predicted[name], actual[name]) for name in predicted)
    if isinstance(predicted, list) and isinstance(actual, (list, tuple)):
        return len(predicted) == len(actual) and all(map(same_result, predicted, actual))
    if isinstance(predicted, float) and isinstance(actual, float):
        return f32(predicted) == f32(actual) or predicted != predicted and actual != actual
    return predicted == actual


def same_file(predicted, actual):
    if isinstance(predicted, list):  # the equalizer's gains
        words = (actual or b"").split()
        return [f32(float(word)) for word in words] == [f32(gain) for gain in predicted]
    return predicted == actual
