# SPDX-License-Identifier: Apache-2.0
"""Writes the C++ code: conversions of the types, and a table of the methods of each interface."""
from model import fqname_of

HARDWARE = "::android::hardware::"
BY_VALUE = ("enum", "mask")
# hidl-gen returns a single result of these types by value, and others through a callback.
RETURNED = BY_VALUE + ("interface",)
HEADER = "// Generated from the .hal files by host/hidl_json/generator.\n"
NAMESPACE = "namespace hidlaudio::hidl_json {\n"


def types_header(packages):
    """Declares the conversions of all structs and enums."""
    lines = [HEADER + '#pragma once\n\n#include "host/hidl_json/values.h"\n', *includes(packages), "",
             NAMESPACE]
    for name in (d.name for package in packages for d in package.definitions):
        lines += [f"Json toJson(const {name}& value, Objects& objects);",
                  f"bool fromJson(const Json& json, {name}& value, Reading& reading);"]
    return "\n".join(lines + ["\n}\n"])


def types_source(packages):
    lines = [HEADER + '#include "types.h"\n', NAMESPACE]
    for definition in (d for package in packages for d in package.definitions):
        lines.append(_enum(definition) if definition.storage else _struct(definition))
    return "\n".join(lines + ["}\n"])


def interfaces_source(package):
    """Defines and registers the tables of the package's interfaces."""
    lines = [HEADER + '#include "host/hidl_json/calls.h"\n#include "types.h"\n', NAMESPACE, "namespace {\n"]
    lines += [_interface(interface) for interface in package.interfaces]
    return "\n".join(lines + ["}", "}\n"])


def includes(packages):
    """Returns the #include lines of the generated C++ headers of the packages."""
    files = []
    for package in packages:
        name, version = package.fqname.split("@")
        folder = f"{name.replace('.', '/')}/{version}"
        names = [fqname_of(interface.name).split("::")[1] for interface in package.interfaces]
        if any("." not in fqname_of(d.name).split("::")[1] for d in package.definitions):
            names.append("types")
        files += [f"#include <{folder}/{name}.h>" for name in names]
    return sorted(files)


def _enum(definition):
    name = definition.name
    rows = "".join(f'        {{"{text}", {name}::{text}}},\n' for text, _ in definition.values)
    return f"""constexpr EnumName<{name}> {_table(name)}[] = {{
{rows}}};
Json toJson(const {name}& value, Objects&) {{ return enumToJson(value, {_table(name)}); }}
bool fromJson(const Json& json, {name}& value, Reading& reading) {{
    return enumFromJson(json, value, {_table(name)}, reading);
}}
"""


def _table(name):
    return "k" + name.replace("::", "_")


def _struct(definition):
    name = definition.name
    write = "".join(f'    json["{f.name}"] = toJson(value.{f.name}, objects);\n' for f in definition.fields)
    read = "".join(f'        && memberFromJson(json, "{f.name}", value.{f.name}, reading)\n'
                   for f in definition.fields)
    return f"""Json toJson(const {name}& value, Objects& objects) {{
    (void)value, (void)objects;
    Json json = Json::object();
{write}    return json;
}}
bool fromJson(const Json& json, {name}& value, Reading& reading) {{
    (void)value;
    return isObject(json, reading)
{read}    ;
}}
"""


def _interface(interface):
    space = interface.name.strip(":").replace("::", "_")
    methods = [method for method in interface.methods if not method.unsupported]
    complete = len(methods) == len(interface.methods)
    rows = "".join(_row(method) for method in methods)
    relay = _relay(methods) if complete else ""
    make = "makeRelay<Relay>" if complete else "nullptr"
    return f"""namespace {space} {{
using Type = {interface.name};
const std::vector<Method>& methods() {{
    static const std::vector<Method> list = {{
{rows}    }};
    return list;
}}
{relay}const Registration registration({{Type::descriptor, methods(), findService<Type>, castObject<Type>,
    registerObject<Type>, {make}}});
}}
"""


def _row(method):
    arguments = ", ".join(f'"{value.name}"' for value in method.arguments)
    results = ", ".join(f'"{value.name}"' for value in method.results)
    pointer = f"&Type::{method.name}"
    return (f'        {{"{method.name}", {{{arguments}}}, {{{results}}}, callMethod<{pointer}>}},\n')


def _relay(methods):
    bodies = "".join(_relay_method(number, method) for number, method in enumerate(methods))
    return f"""class Relay final : public Type, public RelayObject {{
  public:
    using RelayObject::RelayObject;
{bodies}}};
"""


def _relay_method(number, method):
    results = [cpp_type(value.type) for value in method.results]
    returned = len(results) == 1 and (_is_scalar(method.results[0].type)
                                      or method.results[0].type.kind in RETURNED)
    parameters = [_parameter(value) for value in method.arguments]
    if results and not returned:
        parameters.append(f"{method.name}_cb _hidl_cb")
    given = "".join(f", {value.name}" for value in method.arguments)
    call = f"request<{', '.join(results)}>(methods()[{number}]{given})"
    if returned:
        body = f"return std::get<0>({call});"
    elif results:
        body = f"std::apply(_hidl_cb, {call}); return {HARDWARE}Void();"
    else:
        body = f"{call}; return {HARDWARE}Void();"
    result = results[0] if returned else "void"
    return f"    {HARDWARE}Return<{result}> {method.name}({', '.join(parameters)}) override {{ {body} }}\n"


def _parameter(value):
    text = cpp_type(value.type)
    if not _is_scalar(value.type) and value.type.kind not in BY_VALUE:
        text = f"const {text}&"
    return f"{text} {value.name}"


def _is_scalar(type_):
    return not type_.name and not type_.of and type_.kind not in ("string", "handle")


def cpp_type(type_):
    """Returns the C++ type of a value."""
    if _is_scalar(type_):
        return type_.kind
    if type_.kind == "array":
        sizes = ""
        while type_.kind == "array":
            sizes += f", {type_.size}"
            type_ = type_.of
        return f"{HARDWARE}hidl_array<{cpp_type(type_)}{sizes}>"
    return {
        "string": lambda: f"{HARDWARE}hidl_string",
        "handle": lambda: f"{HARDWARE}hidl_handle",
        "vec": lambda: f"{HARDWARE}hidl_vec<{cpp_type(type_.of)}>",
        "mask": lambda: f"{HARDWARE}hidl_bitfield<{type_.name}>",
        "interface": lambda: f"::android::sp<{type_.name}>",
    }.get(type_.kind, lambda: type_.name)()
