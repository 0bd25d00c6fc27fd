# SPDX-License-Identifier: Apache-2.0
"""The stored values of a TV as mappings."""
from collections import namedtuple
from collections.abc import MutableMapping

from .errors import TvError

Command = namedtuple("Command", "type payload")
_EEPROM = {"back_end": 0x1001A, "segment": 0x10089, "center_speaker_mode": 0x10116}


class Files(MutableMapping):
    """The files below a folder, as bytes."""

    def __init__(self, folder):
        self._folder = folder

    def _path(self, name):
        return self._folder / str(name).lstrip("/")

    def __getitem__(self, name):
        try:
            return self._path(name).read_bytes()
        except OSError as error:
            raise KeyError(name) from error

    def __setitem__(self, name, content):
        path = self._path(name)
        path.parent.mkdir(mode=0o755, parents=True, exist_ok=True)
        path.write_bytes(content.encode() if isinstance(content, str) else content)

    def __delitem__(self, name):
        try:
            self._path(name).unlink()
        except OSError as error:
            raise KeyError(name) from error

    def __iter__(self):
        files = sorted(path for path in self._folder.rglob("*") if path.is_file())
        return (str(path.relative_to(self._folder)) for path in files)

    def __len__(self):
        return len(list(iter(self)))


class HalParameters(Files):
    """The parameters of the audio HAL, as text."""

    def __getitem__(self, name):
        return super().__getitem__(name).decode().rstrip("\n")

    def __setitem__(self, name, text):
        super().__setitem__(name, text + "\n")


class Config(Files):
    """The configuration store of the middleware."""

    def __init__(self, tv):
        super().__init__(tv.path / "soc/config")
        self._tv = tv

    def __getitem__(self, key):
        super().__getitem__(key)  # raises KeyError
        return int(self._tv.command("config", key))

    def __setitem__(self, key, value):
        self._tv.command("config", key, "--", str(value))


class Eeprom(MutableMapping):
    """The bytes of the EEPROM, by address or name. Iterates the named ones."""

    def __init__(self, tv):
        self._tv = tv

    @staticmethod
    def _address(key):
        return str(_EEPROM[key] if isinstance(key, str) else key)

    def __getitem__(self, key):
        return int(self._tv.command("eeprom", self._address(key)).split()[-1], 0)

    def __setitem__(self, key, byte):
        self._tv.command("eeprom", self._address(key), str(byte))

    def __delitem__(self, key):
        raise TypeError("a byte of the EEPROM cannot be deleted")

    def __iter__(self):
        return iter(_EEPROM)

    def __len__(self):
        return len(_EEPROM)


_SETTINGS = ("rate", "result", "state", "hang", "ioctl_fails", "open_fails")


class BackEndSettings:
    """The settings of the back-end controller for one kind of upload, or for both (kind "")."""

    def __init__(self, tv, kind=""):
        object.__setattr__(self, "_tv", tv)
        object.__setattr__(self, "_kind", kind)

    def __getattr__(self, name):
        if name not in _SETTINGS:
            raise AttributeError(name)
        found = set()
        for line in self._tv.command("bectrl").splitlines():
            words = line.split()
            if words[-2:-1] == [name] and words[:-2] in ([], ["device"], ["hrtf"]):
                if not words[:-2] or self._kind in ("", words[0]):
                    found.add(words[-1])
        if len(found) != 1:
            raise TvError(f"{name} differs between device and hrtf: {sorted(found)}")
        value = found.pop()
        return value == "on" if value in ("on", "off") else int(value, 0)

    def __setattr__(self, name, value):
        if name not in _SETTINGS:
            raise AttributeError(name)
        text = ("on" if value else "off") if isinstance(value, bool) else str(value)
        self._tv.command("bectrl", *filter(None, [self._kind]), name, text)

    @property
    def received(self):
        """Bytes of the last complete upload, or None."""
        return self._tv.files.get(f"bectrl/{self._kind}.bin")


class BackEnd(BackEndSettings):
    """The back-end controller."""

    @property
    def device(self):
        return BackEndSettings(self._tv, "device")

    @property
    def hrtf(self):
        return BackEndSettings(self._tv, "hrtf")

    @property
    def commands(self):
        """The commands that the daemon has sent, oldest first."""
        log = self._tv.files.get("soc/bectrl/custom_spec.log", b"").decode()
        words = [line.split(" ") for line in log.splitlines()]
        return [Command(int(type_), bytes.fromhex(payload)) for type_, _, payload in words]
