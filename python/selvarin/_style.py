"""Looks: styles by name or file, shaders, and their settings."""

import os
from dataclasses import dataclass
from typing import Any, Dict, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

from . import _core
from ._colors import hex_of
from ._warnings import warn_all

Value = Union[bool, int, float, str, Sequence[float]]


@dataclass(frozen=True)
class SettingInfo:
    """One setting of a shader. kind: "bool", "int", "float", "colour" or "choice"; numbers have a range, a choice has
    its names."""

    key: str
    kind: str
    minimum: Optional[float]
    maximum: Optional[float]
    default: Union[bool, int, float, str]
    text: str
    choices: Tuple[str, ...]


@dataclass(frozen=True)
class ShaderInfo:
    """A shader. A base paints the surfaces, of which a picture has one at most; any number of others add to it. One that
    covers the background leaves nothing of its colour, and no picture with it is see-through."""

    tag: str
    name: str
    is_base: bool
    settings: Tuple[SettingInfo, ...]
    covers_background: bool = False

    def setting(self, key: str) -> SettingInfo:
        """The setting of that key, whatever its case. Raises KeyError."""
        for setting in self.settings:
            if setting.key.lower() == key.lower():
                return setting
        raise KeyError(f"{self.tag} has no setting {key}")


@dataclass(frozen=True)
class StyleInfo:
    """A style: its name, its file, and the shaders that it names."""

    name: str
    path: str
    base: str
    added: Tuple[str, ...]


def shaders() -> List[ShaderInfo]:
    """All shaders with their settings."""
    return [ShaderInfo(s["tag"], s["name"], s["is_base"], tuple(SettingInfo(**i) for i in s["settings"]),
                       s["covers_background"]) for s in _core.shaders()]


def styles() -> List[StyleInfo]:
    """The styles that come with the package, and those of the user."""
    return [StyleInfo(s["name"], s["path"], s["base"], s["added"]) for s in _core.styles()]


def papers() -> List[str]:
    """The names of the drawing papers, for ``paper`` of a render."""
    return list(_core.papers())


class Style:
    """What a picture looks like: a style by its name or file (``.kiv``), shaders, and single settings.

        Style("Comic")
        Style("Comic", {"Outline.Colour": "#203040"})
        Style(base="Cartoon", add=["Sketch"], settings={"Cartoon.Bands": 2})

    base: the shader that paints, "none" for none; add: the tags of those that add to it. Without them a style's own are
    taken, without a style Cartoon and Outline. Settings are called "Shader.Key"; colours are "#rrggbb" or three numbers
    from 0 to 1. Raises ValueError, with the nearest known name, for what is unknown or out of range, and
    selvarin.Error for a file that is no style.
    """

    def __init__(self, name: Union[str, "os.PathLike[str]", None] = None,
                 settings: Optional[Mapping[str, Value]] = None, *, base: Optional[str] = None,
                 add: Union[str, Sequence[str], None] = None) -> None:
        self.name = "" if name is None else os.fspath(name)
        self.base = base
        self.add = [add] if isinstance(add, str) else None if add is None else list(add)
        self._settings: Dict[str, str] = {}
        for key, value in (settings or {}).items():
            self._settings[key] = _text_of(key, value)
        warn_all(self._check())

    def __setitem__(self, key: str, value: Value) -> None:
        before = dict(self._settings)
        self._settings[key] = _text_of(key, value)
        try:
            self._check()
        except Exception:
            self._settings = before
            raise

    def __getitem__(self, key: str) -> str:
        return self._settings[key]

    def __iter__(self) -> Iterator[str]:
        return iter(self._settings)

    def resolved(self) -> "Style":
        """The same look with nothing left to a style: base and add are the shaders that draw, and there is a value for
        each of their settings, as text."""
        found = _core.resolved_look(self._request())
        settings = {f"{shader}.{key}": value for shader, key, value in found["settings"]}
        return Style(None, settings, base=found["base"] or "none", add=found["added"])

    def __repr__(self) -> str:
        return f"Style({self.name!r}, {self._settings!r}, base={self.base!r}, add={self.add!r})"

    def _check(self) -> List[str]:
        return _core.check_look(self._request())

    def _request(self) -> Dict[str, Any]:
        settings = [(*key.split(".", 1), value) for key, value in self._settings.items()]
        base = "" if self.base == "none" else self.base
        return {"style": self.name, "base": base, "add": self.add, "settings": settings}


def _text_of(key: str, value: Value) -> str:
    if key.count(".") != 1:
        raise ValueError(f'a setting is called "Shader.Key", not {key!r}')
    if isinstance(value, bool):
        return "1" if value else "0"
    if isinstance(value, str):
        return value
    if isinstance(value, (int, float)) or hasattr(value, "__float__"):
        return repr(int(value)) if float(value).is_integer() else repr(float(value))  # type: ignore[arg-type]
    return hex_of(value)


def as_style(style: Union[Style, str, "os.PathLike[str]", None]) -> Style:
    return style if isinstance(style, Style) else Style(style)
