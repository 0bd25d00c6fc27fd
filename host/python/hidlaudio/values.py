# SPDX-License-Identifier: Apache-2.0
"""Converts Python values to and from the JSON form of HIDL values, and makes the classes of the types."""
import collections
import dataclasses
import enum
import functools
import json
import math
import re
import struct

_INTEGER = re.compile(r"(u?)int(\d+)_t")
_ZEROS = {"bool": False, "float": 0.0, "double": 0.0, "string": "", "interface": None, "handle": None}


def snake_case(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).lower()


def _short_name(name):
    """Returns "D" of "package@3.1::IName.D"."""
    return re.split(r"::|\.(?=[A-Za-z])", name)[-1]


def _version(name):
    """Returns the sort key of "package@3.1::IName": the version."""
    return tuple(int(number) for number in re.search(r"@(\d+)\.(\d+)::", name).groups())


class Types:
    """The types and interfaces of one description, by their names such as "a.b@1.0::IC"."""

    def __init__(self, file):
        description = json.loads(file.read_text())
        self._types = description["types"]
        self.interfaces = {name: _methods(found) for name, found in description["interfaces"].items()}
        self._classes = {}

    def newest(self, name):
        """Returns the full name of the newest interface or type that has this short name, or None."""
        found = [full for full in (*self.interfaces, *self._types) if _short_name(full) == name]
        return max(found, key=_version, default=None)

    def class_of(self, name, flags=False):
        """Returns the class of an enum or struct; IntFlag for the bits of an enum."""
        key = (name, flags)
        if key not in self._classes:
            self._classes[key] = self._make_class(name, flags)
        return self._classes[key]

    def short_names(self):
        return sorted({_short_name(name) for name in self._types})

    def _make_class(self, name, flags):
        if name not in self._types:
            raise AttributeError(f"unknown type {name}")
        definition = self._types[name]
        short = _short_name(name)
        if definition["kind"] == "enum":
            return (enum.IntFlag if flags else enum.IntEnum)(short, definition["values"], module="hidlaudio.types")
        fields = [(snake_case(field["name"]), object,
                   dataclasses.field(default_factory=functools.partial(self.zero, field["type"])))
                  for field in definition["fields"]]
        return dataclasses.make_dataclass(short, fields, namespace={"__module__": "hidlaudio.types"})

    def zero(self, type_):
        """Returns the zero or empty value of a type."""
        kind = type_["kind"]
        if kind in ("vec", "array"):
            size = type_.get("size", 0)
            return bytes(size) if _is_byte(type_["of"]) else [self.zero(type_["of"]) for _ in range(size)]
        if kind == "struct":
            return self.class_of(type_["name"])()
        if kind in ("enum", "mask"):
            return self._number_to_enum(type_, 0)
        return _ZEROS.get(kind, 0)

    def encode(self, type_, value, path, objects):
        """Returns the JSON form. Raises TypeError or ValueError with the path of the wrong value."""
        kind = type_["kind"]
        encode = getattr(self, "_encode_" + kind, None)
        if encode is not None:
            return encode(type_, value, path, objects)
        return _encode_integer(kind, value, path)

    def _encode_bool(self, type_, value, path, objects):
        return _expect(isinstance(value, bool), value, path, "bool")

    def _encode_float(self, type_, value, path, objects):
        number = self._encode_double(type_, value, path, objects)
        if not isinstance(number, str):
            try:
                struct.pack("<f", number)
            except OverflowError:
                raise ValueError(f"{path}: {value!r} is out of range of float") from None
        return number

    def _encode_double(self, type_, value, path, objects):
        _expect(isinstance(value, (int, float)) and not isinstance(value, bool), value, path, "float")
        try:
            number = float(value)
        except OverflowError:
            raise ValueError(f"{path}: {value!r} is out of range of double") from None
        if math.isnan(number):
            return "NaN"
        if math.isinf(number):
            return "Infinity" if number > 0 else "-Infinity"
        return number

    def _encode_string(self, type_, value, path, objects):
        if isinstance(value, (bytes, bytearray)):
            return bytes(value)
        _expect(isinstance(value, str), value, path, "str")
        try:
            value.encode()
        except UnicodeEncodeError:
            return value.encode("utf-8", "surrogateescape")
        return value

    def _encode_vec(self, type_, value, path, objects):
        if _is_byte(type_["of"]):
            _expect(isinstance(value, (bytes, bytearray, memoryview)), value, path, "bytes")
            return bytes(value)
        _expect(isinstance(value, (list, tuple)), value, path, "list")
        return [self.encode(type_["of"], element, f"{path}[{i}]", objects) for i, element in enumerate(value)]

    def _encode_array(self, type_, value, path, objects):
        encoded = self._encode_vec(type_, value, path, objects)
        if len(encoded) != type_["size"]:
            raise ValueError(f"{path}: expected {type_['size']} elements, not {len(encoded)}")
        return encoded

    def _encode_enum(self, type_, value, path, objects):
        if isinstance(value, str):
            members = self.class_of(type_["name"]).__members__
            if value not in members:
                raise ValueError(f"{path}: {value!r} is not one of {', '.join(members)}")
            return int(members[value])
        return _encode_integer(self._types[type_["name"]]["storage"], value, path)

    def _encode_mask(self, type_, value, path, objects):
        if not isinstance(value, (list, tuple)):
            return self._encode_enum(type_, value, path, objects)
        bits = 0
        for i, element in enumerate(value):
            bits |= self._encode_enum(type_, element, f"{path}[{i}]", objects)
        return bits

    def _encode_struct(self, type_, value, path, objects):
        class_ = self.class_of(type_["name"])
        names = [field.name for field in dataclasses.fields(class_)]
        if isinstance(value, dict):
            unknown = [name for name in value if name not in names]
            if unknown:
                raise TypeError(f"{path}: {class_.__name__} has no field {unknown[0]!r}")
            value = class_(**value)
        _expect(isinstance(value, class_), value, path, f"{class_.__name__} or dict")
        return {field["name"]: self.encode(field["type"], getattr(value, name), f"{path}.{name}", objects)
                for name, field in zip(names, self._types[type_["name"]]["fields"])}

    def _encode_interface(self, type_, value, path, objects):
        return None if value is None else objects.encode_object(type_["name"], value, path)

    def _encode_handle(self, type_, value, path, objects):
        return _expect(value is None, value, path, "None, since handles cannot be passed")

    def decode(self, type_, value, objects):
        kind = type_["kind"]
        if kind in ("float", "double"):
            return float(value)
        if kind == "string":
            return value.decode("utf-8", "surrogateescape") if isinstance(value, bytes) else value
        if kind in ("vec", "array"):
            if _is_byte(type_["of"]):
                return value if isinstance(value, bytes) else bytes(number & 255 for number in value)
            return [self.decode(type_["of"], element, objects) for element in value]
        if kind in ("enum", "mask"):
            return self._number_to_enum(type_, value)
        if kind == "struct":
            values = {snake_case(field["name"]): self.decode(field["type"], value[field["name"]], objects)
                      for field in self._types[type_["name"]]["fields"]}
            return self.class_of(type_["name"])(**values)
        if kind == "interface":
            return None if value is None else objects.decode_object(value)
        return value

    def _number_to_enum(self, type_, value):
        class_ = self.class_of(type_["name"], type_["kind"] == "mask")
        if isinstance(value, str):
            return class_[value]
        try:
            return class_(value)
        except ValueError:
            return value


class Method:
    """A method of an interface."""

    def __init__(self, description):
        self.name = description["name"]
        self.python_name = snake_case(self.name)
        self.unsupported = description.get("unsupported")
        self.arguments = [(snake_case(value["name"]), value) for value in description.get("arguments", [])]
        self.results = [(snake_case(value["name"]), value) for value in description.get("results", [])]
        self._tuple = collections.namedtuple("Results", [name for name, _ in self.results], rename=True)

    def encode_arguments(self, types, args, kwargs, objects):
        names = [name for name, _ in self.arguments]
        if len(args) > len(names):
            raise TypeError(f"{self.python_name}() takes {len(names)} arguments, not {len(args)}")
        given = dict(zip(names, args))
        for name, value in kwargs.items():
            if name not in names or name in given:
                why = "got two values for" if name in given else "has no"
                raise TypeError(f"{self.python_name}() {why} argument {name!r}")
            given[name] = value
        missing = [name for name in names if name not in given]
        if missing:
            raise TypeError(f"{self.python_name}() needs argument {missing[0]!r}")
        return {value["name"]: types.encode(value["type"], given[name], f"{self.python_name}(): {name}", objects)
                for name, value in self.arguments}

    def decode_arguments(self, types, values, objects):
        return [types.decode(value["type"], values[value["name"]], objects) for _, value in self.arguments]

    def encode_results(self, types, result, objects):
        if result is None:
            return {}
        values = (result,) if len(self.results) == 1 else result
        if not self.results:
            return {}
        if not isinstance(values, tuple) or len(values) != len(self.results):
            raise TypeError(f"{self.python_name}() must return a tuple of {len(self.results)} values")
        return {value["name"]: types.encode(value["type"], given, f"result of {self.python_name}(): {name}", objects)
                for (name, value), given in zip(self.results, values)}

    def decode_results(self, types, values, objects):
        decoded = [types.decode(value["type"], values[value["name"]], objects) for _, value in self.results]
        if len(decoded) > 1:
            return self._tuple(*decoded)
        return decoded[0] if decoded else None


def _methods(interface):
    methods = [Method(description) for description in interface["methods"]]
    return {method.python_name: method for method in methods}


def _is_byte(type_):
    return type_["kind"] in ("uint8_t", "int8_t")


def _expect(is_right, value, path, expected):
    if not is_right:
        raise TypeError(f"{path}: expected {expected}, not {type(value).__name__}")
    return value


def _encode_integer(kind, value, path):
    _expect(isinstance(value, int) and not isinstance(value, bool), value, path, "int")
    unsigned, bits = _INTEGER.fullmatch(kind).groups()
    least, most = (0, 2**int(bits) - 1) if unsigned else (-2**(int(bits) - 1), 2**(int(bits) - 1) - 1)
    if not least <= value <= most:
        raise ValueError(f"{path}: {value} is out of range of {kind}")
    return int(value)
