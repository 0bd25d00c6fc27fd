# SPDX-License-Identifier: Apache-2.0
"""Makes calls with the C++ client of the Python package, on a TV of its own.

Reads lines of interface, method and arguments, separated by tabs. Prints the result of each as JSON.
"""
import dataclasses
import json
import re
import sys

import hidlaudio


def plain(value):
    """Returns a result in the form of JSON."""
    if dataclasses.is_dataclass(value):
        return {field.name: plain(getattr(value, field.name)) for field in dataclasses.fields(value)}
    if isinstance(value, (list, tuple)):
        return [plain(element) for element in value]
    return int(value) if isinstance(value, int) and not isinstance(value, bool) else value


def main():
    event = hidlaudio.Events()
    listener = {"on_force_encoding_changed": event, "on_encoding_format_changed": event}
    with hidlaudio.Tv() as tv, tv.client() as client:
        for line in sys.stdin:
            interface, method, arguments = line.rstrip("\n").split("\t")
            callback = listener if "Listener" in method else event
            arguments = [callback if argument == "callback" else argument for argument in json.loads(arguments)]
            if method == "append":
                arguments[1] = bytes(arguments[1])
            name = re.sub("([A-Z])", lambda found: "_" + found.group(1).lower(), method)
            print(json.dumps(plain(getattr(client.get(interface), name)(*arguments))))


main()
