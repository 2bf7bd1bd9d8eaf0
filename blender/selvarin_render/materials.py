"""What the surfaces of Blender's materials look like, as far as a drawing goes: colour or texture, opacity and gloss."""

import math
from typing import Any, Dict, List, NamedTuple, Optional, Tuple

import numpy as np

from . import library
from .colors import screen_color, to_screen


class Skin(NamedTuple):
    """A texture, and where on a mesh it lies."""

    texture: Any  #: of the library
    layer: str  #: of the mesh's UV maps; "" for that of renders
    #: (2, 3), from the mesh's coordinates to those of the texture.
    placement: Tuple[Tuple[float, float, float], ...] = ((1.0, 0.0, 0.0), (0.0, 1.0, 0.0))

    def placed(self, uv: np.ndarray) -> np.ndarray:
        matrix = np.array(self.placement)
        return uv @ matrix[:, :2].T + matrix[:, 2]


class Paint(NamedTuple):
    color: Tuple[float, float, float] = (0.9063, 0.9063, 0.9063)  # Blender's own for what has no material
    opacity: float = 1.0
    gloss: float = 0.0
    #: The colour attribute that says the colour in place of the above; "" for the mesh's active one.
    attribute: Optional[str] = None
    #: What does so in its place; the colour above is then the mean of it.
    skin: Optional[Skin] = None


# The sockets of surface nodes that have the colour.
_COLOR_SOCKETS = ("Base Color", "Color")


def paint_of(material: Any) -> Paint:
    """Of a material, or of None."""
    if material is None:
        return Paint()
    if material.use_nodes and material.node_tree is not None:
        output = material.node_tree.get_output_node("ALL")
        if output is not None and output.inputs["Surface"].is_linked:
            return _paint_of_node(output.inputs["Surface"].links[0].from_node, set(), material)
    return Paint(screen_color(material.diffuse_color), float(material.diffuse_color[3]),
                 1.0 - _part(material.roughness))


def _part(value: float) -> float:
    return min(max(float(value), 0.0), 1.0)


def _paint_of_node(node: Any, seen: set, material: Any) -> Paint:
    """Of a shader node; seen: nodes before it, as groups may be tied into circles."""
    if node.name in seen:
        return Paint()
    seen = seen | {node.name}
    if node.type == "BSDF_TRANSPARENT":
        return Paint(opacity=0.0)
    if node.type in ("MIX_SHADER", "ADD_SHADER"):
        return _mixed(node, seen, material)
    color = next((node.inputs[name] for name in _COLOR_SOCKETS if name in node.inputs), None)
    if color is None:
        inner = [s.links[0].from_node for s in node.inputs if s.is_linked and s.type == "SHADER"]
        return _paint_of_node(inner[0], seen, material) if inner else Paint()
    paint = _color_of(color, set())
    if paint.skin is not None:
        paint = paint._replace(skin=_cut_out(paint.skin, node, material))
    return paint._replace(opacity=_value(node, "Alpha", 1.0), gloss=1.0 - _value(node, "Roughness", 1.0))


def _mixed(node: Any, seen: set, material: Any) -> Paint:
    shaders = [s.links[0].from_node for s in node.inputs if s.is_linked and s.type == "SHADER"]
    paints = [_paint_of_node(each, seen, material) for each in shaders]
    if not paints:
        return Paint()
    factor = "Fac" if "Fac" in node.inputs else "Factor"  # from Blender 5.0
    share = _value(node, factor, 0.5) if len(paints) == 2 else 0.0
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


def _color_of(socket: Any, seen: set) -> Paint:
    """What the colour of a socket is, which may come from other nodes."""
    if not socket.is_linked:
        return Paint(screen_color(socket.default_value))
    node = socket.links[0].from_node
    if node.name in seen:
        return Paint()
    seen = seen | {node.name}
    if node.type == "RGB":
        return Paint(screen_color(node.outputs[0].default_value))
    if node.type == "TEX_IMAGE" and node.image is not None:
        return _paint_of_image(node)
    if node.type in ("VERTEX_COLOR", "ATTRIBUTE"):
        return Paint(attribute=getattr(node, "layer_name", "") or getattr(node, "attribute_name", ""))
    for each in node.inputs:
        if each.type == "RGBA" and each.enabled:
            return _color_of(each, seen)
    return Paint()


# --- textures ---

# How an image node says that its image goes on beyond its borders; MIRROR is known from Blender 3.5.
_WRAPS = {"REPEAT": "repeat", "EXTEND": "clamp", "CLIP": "clamp", "MIRROR": "mirror"}


def _paint_of_image(node: Any) -> Paint:
    pixels = _pixels_of(node.image)
    if pixels is None:
        return Paint()
    red, green, blue = (float(v) / 255.0 for v in pixels[..., :3].reshape(-1, 3).mean(axis=0, dtype=float))
    place = _place_of(node)
    if place is None:
        return Paint((red, green, blue))
    texture = _texture_of(node.image, pixels, _WRAPS.get(node.extension, "repeat"), 0.0)
    return Paint((red, green, blue), skin=Skin(texture, *place))


def _place_of(node: Any) -> Optional[Tuple[str, Tuple[Tuple[float, float, float], ...]]]:
    """The UV map that an image lies on, and how; None where it does not lie on one."""
    if node.projection != "FLAT":
        return None
    vector, placement = node.inputs["Vector"], np.eye(3)
    seen = set()
    while vector.is_linked:
        link = vector.links[0]
        source = link.from_node
        if source.name in seen:
            return None
        seen.add(source.name)
        if source.type == "UVMAP":
            return source.uv_map, _rows(placement)
        if source.type == "TEX_COORD":
            return ("", _rows(placement)) if link.from_socket.name == "UV" else None
        if source.type != "MAPPING":
            return None
        placement = placement @ _mapping_of(source)
        vector = source.inputs["Vector"]
    return "", _rows(placement)


def _rows(matrix: np.ndarray) -> Tuple[Tuple[float, float, float], ...]:
    return tuple(tuple(float(v) for v in row) for row in matrix[:2])  # type: ignore[misc]


def _mapping_of(node: Any) -> np.ndarray:
    """What a mapping node does to places in the plane: points are scaled, turned and moved, textures the other way."""
    location = node.inputs["Location"].default_value if "Location" in node.inputs else (0.0, 0.0, 0.0)
    angle, scale = node.inputs["Rotation"].default_value[2], node.inputs["Scale"].default_value
    turned = np.array([[math.cos(angle), -math.sin(angle), 0.0], [math.sin(angle), math.cos(angle), 0.0], [0.0, 0.0, 1.0]])
    matrix = turned @ np.diag([scale[0], scale[1], 1.0])
    if node.vector_type == "POINT":
        matrix[:2, 2] = location[0], location[1]
    elif node.vector_type == "TEXTURE":
        matrix[:2, 2] = location[0], location[1]
        matrix = np.linalg.inv(matrix) if abs(np.linalg.det(matrix)) > 0.0 else np.eye(3)
    return matrix


def _cut_out(skin: Skin, node: Any, material: Any) -> Skin:
    """Where the shader's alpha comes from an image, what is less opaque than the material says is not there."""
    if "Alpha" not in node.inputs or not node.inputs["Alpha"].is_linked:
        return skin
    image = node.inputs["Alpha"].links[0].from_node
    if image.type != "TEX_IMAGE" or image.image is None:
        return skin
    is_clipped = getattr(material, "blend_method", "") == "CLIP"  # gone in some Blenders of the future
    limit = float(getattr(material, "alpha_threshold", 0.5)) if is_clipped else 0.5
    pixels = _pixels_of(image.image)
    return skin if pixels is None else skin._replace(
        texture=_texture_of(image.image, pixels, _WRAPS.get(image.extension, "repeat"), limit))


class _Images:
    """Images as bytes, and what the library made of them, for as long as one scene is exported: they are large, and
    many objects share one."""

    def __init__(self) -> None:
        self.pixels: Dict[str, Optional[np.ndarray]] = {}
        self.textures: Dict[Any, Any] = {}


_images = _Images()


def forget_images() -> None:
    global _images
    _images = _Images()


def _pixels_of(image: Any) -> Optional[np.ndarray]:
    """(H, W, 4) bytes as a screen shows them, the top row first; None for an image that is not there."""
    key = image.name_full
    if key not in _images.pixels:
        _images.pixels[key] = _read_pixels(image)
    return _images.pixels[key]


def _read_pixels(image: Any) -> Optional[np.ndarray]:
    width, height = image.size
    if width * height == 0 or image.channels < 3:
        return None
    values = np.empty(width * height * image.channels, np.float32)
    image.pixels.foreach_get(values)
    values = values.reshape(height, width, image.channels)[::-1]
    pixels = np.full((height, width, 4), 255, np.uint8)
    colors = to_screen(values[..., :3]) if image.is_float else np.clip(values[..., :3], 0.0, 1.0)
    pixels[..., :3] = np.rint(colors * 255.0)
    if image.channels == 4:
        pixels[..., 3] = np.rint(np.clip(values[..., 3], 0.0, 1.0) * 255.0)
    return pixels


def _texture_of(image: Any, pixels: np.ndarray, wrap: str, cut_out: float) -> Any:
    key = (image.name_full, wrap, cut_out)
    if key not in _images.textures:
        _images.textures[key] = library.selvarin.Texture(pixels, wrap, cut_out)
    return _images.textures[key]


def paints_of(obj: Any) -> List[Paint]:
    """Of the slots of an object, one at least."""
    return [paint_of(slot.material) for slot in obj.material_slots] or [Paint()]
