# SPDX-License-Identifier: Apache-2.0
"""Writes the C++ code of a recorder: text of the types and calls, and the instrumentation functions."""
from cpp import HEADER, cpp_type, includes
from model import fqname_of


def decoders_source(packages):
    """Defines the functions that write structs, enums, arguments and results, and the table of interfaces."""
    definitions = [d for package in packages for d in package.definitions]
    interfaces = [i for package in packages for i in package.interfaces]
    lines = [HEADER + '#include "decoder.h"\n', *includes(packages), "",
             "namespace hidlaudio::recorder {"]
    lines += [f"static void write(Text& text, const {d.name}& value);" for d in definitions]
    lines += [_enum(d) if d.storage else _struct(d) for d in definitions]
    lines += [_methods(number, interface) for number, interface in enumerate(interfaces)]
    rows = "".join(f'    {{"{fqname_of(i.name)}", methods{number}, {len(i.methods)}}},\n'
                   for number, i in enumerate(interfaces))
    return "\n".join(lines + [f"const InterfaceDecoder kInterfaces[] = {{\n{rows}}};",
                              f"const size_t kInterfaceCount = {len(interfaces)};", "}\n"])


def entry_points_source(packages):
    """Defines the function of each interface that an instrumented process calls."""
    lines = [HEADER + '#include "record.h"\n']
    for interface in (i for package in packages for i in package.interfaces):
        fqname = fqname_of(interface.name)
        package, name = fqname.split("::")
        symbol = "HIDL_INSTRUMENTATION_FUNCTION_" + package.replace("@", "_V").replace(".", "_") + "_" + name
        lines.append(f'RECORDER_ENTRY_POINT({symbol}, "{fqname}")')
    return "\n".join(lines) + "\n"


def _enum(definition):
    cases = "".join(f'        case {definition.name}::{name}: return text.string("{name}");\n'
                    for name in _distinct(definition.values))
    return f"""static void write(Text& text, const {definition.name}& value) {{
    switch (value) {{
{cases}    }}
    text.number(static_cast<int64_t>(value));
}}"""


def _distinct(values):
    """Returns the first name of each number."""
    names = {}
    for name, number in values:
        names.setdefault(number, name)
    return names.values()


def _struct(definition):
    members = "".join(f'    text.key("{f.name}"), write(text, value.{f.name});\n' for f in definition.fields)
    return f"""static void write(Text& text, const {definition.name}& value) {{
    (void)value;
    text.begin('{{');
{members}    text.end('}}');
}}"""


def _methods(number, interface):
    rows = ""
    for method in interface.methods:
        arguments = "nullptr" if method.unsupported else _writer(method.arguments)
        results = "nullptr" if method.unsupported else _writer(method.results)
        rows += f'    {{"{method.name}", {arguments}, {results}}},\n'
    return f"static const MethodDecoder methods{number}[] = {{\n{rows}}};" if rows else \
        f"static const MethodDecoder* const methods{number} = nullptr;"


def _writer(values):
    members = "".join(f' text.key("{value.name}"), write(text, at<{cpp_type(value.type)}>(values[{index}]));'
                      for index, value in enumerate(values))
    unused = "" if values else " (void)values;"
    return f"[](Text& text, void* const* values) {{{unused} text.begin('{{');{members} text.end('}}'); }}"
