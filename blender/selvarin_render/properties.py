"""What the add-on adds to Blender's scenes, view layers and objects."""

from typing import Any, Dict, List

import bpy
from bpy.props import BoolProperty, EnumProperty, FloatVectorProperty, PointerProperty

from . import library, looks

_classes: List[type] = []
_OWNERS = ("Scene", "ViewLayer", "Object")

#: The passes of a view layer beside the combined one: property, name of the pass, channels, what it shows.
PASSES = (
    ("use_pass_colors", "Colours", "RGBA", "What the base look paints, without lines"),
    ("use_pass_lines", "Lines", "RGBA", "What the added looks draw, on a see-through sheet"),
    ("use_pass_shadow", "Cast shadows", "X", "How many of the lights reach what is seen: 1 all of them, 0 none"),
)


def _color(name: str, text: str, default: str) -> Any:
    return FloatVectorProperty(name=name, description=text, subtype="COLOR_GAMMA", size=3, min=0.0, max=1.0,
                               default=looks.floats_of(default))


def _paper_items() -> List[Any]:
    items = [looks.item(looks.NONE, "None", "The picture stays as it is drawn")]
    if library.selvarin is not None:
        items += [looks.item(name, name.capitalize()) for name in library.selvarin.papers()]
    return items


def _scene_properties() -> Dict[str, Any]:
    return {
        "look": PointerProperty(type=looks.Look),
        "antialias": EnumProperty(name="Smoothing", description="How finely the picture is drawn before it is brought "
                                  "to its size", default="2", items=[("0", "None", "As it is"), ("1", "2 x", "Twice"),
                                                                     ("2", "4 x", "Four times as wide and high")]),
        "shadows": BoolProperty(name="Cast shadows", description="Things throw shadows on one another"),
        "background": EnumProperty(name="Background", items=[
            ("WORLD", "World", "The colour of the world"), ("COLOR", "Colour", "A colour of its own")]),
        "background_color": _color("Colour", "What lies behind the scene", "#f7f2e8"),
        "ambient": _color("Ambient light", "The colour of the light that is everywhere", "#404040"),
        "paper": EnumProperty(name="Paper", description="The drawing paper under the picture", items=_paper_items(),
                              default=looks.NONE),
        "edge_marks": BoolProperty(name="Edge marks", default=True,
                                   description="Edges with a Freestyle mark are drawn as lines"),
        "edge_mark_color": _color("Colour", "The colour of marked and of loose edges", "#181420"),
    }


def register() -> None:
    passes = {name: BoolProperty(name=label, description=text) for name, label, _, text in PASSES}
    of_objects = {
        "use_look": BoolProperty(name="Look of its own", description="Draws this object in a look of its own"),
        "look": PointerProperty(type=looks.Look),
    }
    for owner, annotations in zip(_OWNERS, (_scene_properties(), passes, of_objects)):
        group = type("SELVARIN_PG_" + owner.lower(), (bpy.types.PropertyGroup,), {"__annotations__": annotations})
        bpy.utils.register_class(group)
        _classes.append(group)
        setattr(getattr(bpy.types, owner), "selvarin", PointerProperty(type=group))


def unregister() -> None:
    for owner in _OWNERS:
        delattr(getattr(bpy.types, owner), "selvarin")
    for each in reversed(_classes):
        bpy.utils.unregister_class(each)
    _classes.clear()
