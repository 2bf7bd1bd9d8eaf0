"""Looks in Blender's data: a base look, added looks and each of their settings, from the library's own tables.

A style fills them in. What is drawn is what stands in the properties, so that a file looks the same where the style is
not at hand.
"""

import re
import zlib
from typing import Any, Callable, Dict, List, Tuple, Type

import bpy
import numpy as np
from bpy.props import BoolProperty, EnumProperty, FloatProperty, FloatVectorProperty, IntProperty, PointerProperty, \
    StringProperty

from . import library

NONE = "NONE"
FILE = "FILE"

_classes: List[type] = []
#: The class of a look's properties; it has those of the shaders that the library has.
Look: Any = None


def words(key: str) -> str:
    """"SilhouetteWidth" as a label: "Silhouette width"."""
    parts = re.findall(r"[A-Z]?[a-z0-9]+|[A-Z]+(?![a-z])", key)
    return " ".join([parts[0]] + [part.lower() for part in parts[1:]]) if parts else key


def number_of(name: str) -> int:
    """Blender's files keep the number of a choice: it must not depend on what else can be chosen."""
    return zlib.crc32(name.encode()) & 0x7FFFFFFF


def item(name: str, label: str = "", text: str = "") -> Tuple[str, str, str, int]:
    return name, label or name, text, number_of(name)


# --- one setting ---

def settings_name(tag: str) -> str:
    return "shader_" + tag


def use_name(tag: str) -> str:
    return "use_" + tag


def property_of(setting: Any) -> Any:
    """A property of Blender for a setting of the library's table."""
    common = {"name": words(setting.key), "description": setting.text}
    if setting.kind == "bool":
        return BoolProperty(default=setting.default, **common)
    if setting.kind == "choice":
        return EnumProperty(items=[item(choice, choice.capitalize()) for choice in setting.choices],
                            default=setting.default, **common)
    if setting.kind == "colour":
        return FloatVectorProperty(subtype="COLOR_GAMMA", size=3, min=0.0, max=1.0,
                                   default=floats_of(setting.default), **common)
    if setting.kind == "int":
        return IntProperty(min=int(setting.minimum), max=int(setting.maximum), default=int(setting.default), **common)
    return FloatProperty(min=setting.minimum, max=setting.maximum, default=setting.default, precision=2, **common)


def floats_of(color: str) -> Tuple[float, ...]:
    """Of "#rrggbb"."""
    return tuple(int(color[i:i + 2], 16) / 255.0 for i in (1, 3, 5))


def value_of(setting: Any, text: str) -> Any:
    """A setting's text as its property has it."""
    if setting.kind == "bool":
        return text not in ("0", "")
    if setting.kind == "colour":
        return floats_of(text)
    if setting.kind == "int":
        return int(float(text))
    return float(text) if setting.kind == "float" else text


def text_of(setting: Any, value: Any) -> str:
    """A property's value as the library reads it."""
    if setting.kind == "bool":
        return "1" if value else "0"
    if setting.kind == "colour":
        return "#" + "".join(f"{round(part * 255.0):02x}" for part in value)
    if setting.kind == "float":
        text = str(np.float32(value))  # the fewest digits that give this number: 0.1 and not 0.10000000149
        return text[:-2] if text.endswith(".0") else text
    return str(value)


# --- styles ---

def _style_items() -> List[Tuple[str, str, str, int]]:
    items = [item(NONE, "None", "The shaders' own settings"), item(FILE, "From a file", "A style file (.kiv)")]
    if library.selvarin is not None:
        items += [item(style.name, style.name, f"Fills in everything below as in {style.name}")
                  for style in library.selvarin.styles()]
    return items


def resolved(style: str) -> Tuple[str, List[str], Dict[str, str]]:
    """Base, added and all settings of all shaders, under a style's name or file; "" for none."""
    selvarin = library.selvarin
    chosen = selvarin.Style(style or None).resolved()
    added = [shader.tag for shader in library.shaders() if not shader.is_base]
    values: Dict[str, str] = {}
    for base in ["none"] + [shader.tag for shader in library.shaders() if shader.is_base]:
        whole = selvarin.Style(style or None, base=base, add=added).resolved()
        values.update({key: whole[key] for key in whole})
    return chosen.base, list(chosen.add), values


def load_style(look: Any, _context: Any = None) -> None:
    """Fills a look's properties in from the style that it names."""
    style = {NONE: "", FILE: bpy.path.abspath(look.style_file)}.get(look.style, look.style)
    look.problem = ""
    if look.style == FILE and not style:
        return
    try:
        base, added, values = resolved(style)
    except (RuntimeError, ValueError, OSError) as error:
        look.problem = str(error)
        return
    look.base = base
    for shader in library.shaders():
        if not shader.is_base:
            setattr(look, use_name(shader.tag), shader.tag in added)
        group = getattr(look, settings_name(shader.tag))
        for setting in shader.settings:
            setattr(group, setting.key, value_of(setting, values[f"{shader.tag}.{setting.key}"]))


def shaders_of(look: Any) -> List[Any]:
    """The shaders that draw: the base, then the added ones."""
    return [s for s in library.shaders() if s.is_base and s.tag == look.base] + \
           [s for s in library.shaders() if not s.is_base and getattr(look, use_name(s.tag))]


def style_of(look: Any, keeps: Callable[[Any], bool] = lambda shader: True) -> Any:
    """The look as the library takes it; keeps: which of its shaders count."""
    shaders = [shader for shader in shaders_of(look) if keeps(shader)]
    values = {f"{shader.tag}.{setting.key}": text_of(setting, getattr(getattr(look, settings_name(shader.tag)), setting.key))
              for shader in shaders for setting in shader.settings}
    base = next((shader.tag for shader in shaders if shader.is_base), "none")
    return library.selvarin.Style(None, values, base=base, add=[s.tag for s in shaders if not s.is_base])


# --- classes ---

def _settings_class(shader: Any) -> Type[bpy.types.PropertyGroup]:
    annotations = {setting.key: property_of(setting) for setting in shader.settings}
    return type("SELVARIN_PG_" + shader.tag, (bpy.types.PropertyGroup,), {"__annotations__": annotations})


def _look_class(settings: Dict[str, type]) -> Type[bpy.types.PropertyGroup]:
    base, added = "none", []  # type: ignore[var-annotated]
    if library.selvarin is not None:
        default = library.selvarin.Style().resolved()
        base, added = default.base, default.add
    bases = [item("none", "None", "Surfaces are not painted: lines alone")]
    bases += [item(shader.tag, shader.name) for shader in library.shaders() if shader.is_base]
    annotations: Dict[str, Any] = {
        "style": EnumProperty(name="Style", description="Fills in everything below", items=_style_items(), default=NONE,
                              update=load_style),
        "style_file": StringProperty(name="Style file", subtype="FILE_PATH", update=load_style),
        "base": EnumProperty(name="Base look", description="What paints the surfaces", items=bases, default=base),
        "problem": StringProperty(options={"HIDDEN", "SKIP_SAVE"}),
    }
    for shader in library.shaders():
        if not shader.is_base:
            annotations[use_name(shader.tag)] = BoolProperty(name=shader.name, default=shader.tag in added,
                                                             description=f"Adds {shader.name} to the picture")
        annotations[settings_name(shader.tag)] = PointerProperty(type=settings[shader.tag])
    return type("SELVARIN_PG_look", (bpy.types.PropertyGroup,), {"__annotations__": annotations})


def register() -> None:
    global Look
    settings = {}
    for shader in library.shaders():
        settings[shader.tag] = _settings_class(shader)
        _classes.append(settings[shader.tag])
    Look = _look_class(settings)
    _classes.append(Look)
    for each in _classes:
        bpy.utils.register_class(each)


def unregister() -> None:
    for each in reversed(_classes):
        bpy.utils.unregister_class(each)
    _classes.clear()
