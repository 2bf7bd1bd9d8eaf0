"""What the surfaces of Blender's materials look like, as far as a drawing goes: colour, opacity and gloss."""

from typing import Any, Dict, List, NamedTuple, Optional, Tuple

import numpy as np

from .colors import screen_color


class Paint(NamedTuple):
    color: Tuple[float, float, float] = (0.9063, 0.9063, 0.9063)  # Blender's own for what has no material
    opacity: float = 1.0
    gloss: float = 0.0
    #: The colour attribute that says the colour in place of the above; "" for the mesh's active one.
    attribute: Optional[str] = None


# The sockets of surface nodes that have the colour.
_COLOR_SOCKETS = ("Base Color", "Color")


def paint_of(material: Any) -> Paint:
    """Of a material, or of None."""
    if material is None:
        return Paint()
    if material.use_nodes and material.node_tree is not None:
        output = material.node_tree.get_output_node("ALL")
        if output is not None and output.inputs["Surface"].is_linked:
            return _paint_of_node(output.inputs["Surface"].links[0].from_node, set())
    return Paint(screen_color(material.diffuse_color), float(material.diffuse_color[3]),
                 1.0 - _part(material.roughness))


def _part(value: float) -> float:
    return min(max(float(value), 0.0), 1.0)


def _paint_of_node(node: Any, seen: set) -> Paint:
    """Of a shader node; seen: nodes before it, as groups may be tied into circles."""
    if node.name in seen:
        return Paint()
    seen = seen | {node.name}
    if node.type == "BSDF_TRANSPARENT":
        return Paint(opacity=0.0)
    if node.type in ("MIX_SHADER", "ADD_SHADER"):
        return _mixed(node, seen)
    color = next((node.inputs[name] for name in _COLOR_SOCKETS if name in node.inputs), None)
    if color is None:
        inner = [s.links[0].from_node for s in node.inputs if s.is_linked and s.type == "SHADER"]
        return _paint_of_node(inner[0], seen) if inner else Paint()
    rgb, attribute = _color_of(color, set())
    return Paint(rgb, _value(node, "Alpha", 1.0), 1.0 - _value(node, "Roughness", 1.0), attribute)


def _mixed(node: Any, seen: set) -> Paint:
    shaders = [s.links[0].from_node for s in node.inputs if s.is_linked and s.type == "SHADER"]
    paints = [_paint_of_node(each, seen) for each in shaders]
    if not paints:
        return Paint()
    share = _value(node, "Fac", 0.5) if len(paints) == 2 else 0.0
    visible = [paint for paint in paints if paint.opacity > 0.0]
    if not visible:
        return paints[0]
    if node.type == "ADD_SHADER":
        return visible[0]
    opacity = paints[0].opacity * (1.0 - share) + paints[-1].opacity * share
    if len(visible) == 1:
        return visible[0]._replace(opacity=opacity)
    mean = tuple(a * (1.0 - share) + b * share for a, b in zip(paints[0].color, paints[1].color))
    return paints[0 if share < 0.5 else 1]._replace(color=mean, opacity=opacity)


def _value(node: Any, socket: str, default: float) -> float:
    if socket not in node.inputs:
        return default
    return default if node.inputs[socket].is_linked else _part(node.inputs[socket].default_value)


def _color_of(socket: Any, seen: set) -> Tuple[Tuple[float, float, float], Optional[str]]:
    """The colour of a socket, which may come from other nodes; the name of a colour attribute, if it is that."""
    if not socket.is_linked:
        return screen_color(socket.default_value), None
    node = socket.links[0].from_node
    if node.name in seen:
        return Paint().color, None
    seen = seen | {node.name}
    if node.type == "RGB":
        return screen_color(node.outputs[0].default_value), None
    if node.type == "TEX_IMAGE" and node.image is not None:
        return _mean_of(node.image), None
    if node.type in ("VERTEX_COLOR", "ATTRIBUTE"):
        return Paint().color, getattr(node, "layer_name", "") or getattr(node, "attribute_name", "")
    for each in node.inputs:
        if each.type == "RGBA" and each.enabled:
            return _color_of(each, seen)
    return Paint().color, None


_MEANS: Dict[Any, Tuple[float, float, float]] = {}


def _mean_of(image: Any) -> Tuple[float, float, float]:
    """The mean colour of a texture, which is what the library draws of those in files."""
    width, height = image.size
    if width * height == 0 or image.channels < 3:
        return Paint().color
    key = (image.name_full, image.filepath, width, height, image.is_dirty)
    if key not in _MEANS or image.is_dirty:
        pixels = np.empty(width * height * image.channels, np.float32)
        image.pixels.foreach_get(pixels)
        mean = pixels.reshape(-1, image.channels)[:, :3].mean(axis=0, dtype=float)
        red, green, blue = screen_color(mean) if image.is_float else (float(v) for v in np.clip(mean, 0.0, 1.0))
        _MEANS[key] = (red, green, blue)
    return _MEANS[key]


def paints_of(obj: Any) -> List[Paint]:
    """Of the slots of an object, one at least."""
    return [paint_of(slot.material) for slot in obj.material_slots] or [Paint()]
