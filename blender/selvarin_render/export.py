"""From Blender's scene to one of the library's: objects, lights, camera and world."""

import math
from typing import Any, Callable, Dict, List, Optional, Tuple

import numpy as np

from . import library, looks
from .colors import screen_color
from .materials import forget_images, paints_of
from .meshes import MeshArrays, arrays_of

_WITH_SURFACES = ("MESH", "CURVE", "CURVES", "SURFACE", "FONT", "META")


class Exporter:
    """Fills a scene of the library. check_cancel is called between objects and may raise."""

    def __init__(self, depsgraph: Any, check_cancel: Callable[[], None] = lambda: None) -> None:
        self.scene = library.selvarin.Scene(up="z")
        self._depsgraph = depsgraph
        self._check_cancel = check_cancel
        self._options = depsgraph.scene.selvarin
        self._arrays: Dict[Any, Optional[MeshArrays]] = {}
        self._styles: Dict[str, Any] = {}

    def run(self) -> Any:
        try:
            self._add_all()
        finally:
            forget_images()
        return self.scene

    def _add_all(self) -> None:
        for instance in self._depsgraph.object_instances:
            self._check_cancel()
            obj = instance.object
            if not instance.show_self:
                continue
            if obj.type == "LIGHT":
                self._add_light(obj.data, np.array(instance.matrix_world))
            elif obj.type in _WITH_SURFACES:
                self._add_object(obj, np.array(instance.matrix_world), instance)

    # --- objects ---

    def _add_object(self, obj: Any, matrix: np.ndarray, instance: Any) -> None:
        arrays = self._arrays_of(obj)
        if arrays is None or not np.all(np.isfinite(matrix)):
            return
        owner = instance.parent if instance.is_instance and instance.parent is not None else obj
        added = []
        if len(arrays.triangles):
            added.append(self._add_mesh(obj, arrays, matrix))
        runs = list(arrays.loose) + (arrays.marks if self._options.edge_marks else [])
        if runs:
            added.append(self.scene.add_lines(arrays.vertices, runs, name=obj.name, transform=matrix,
                                              color=tuple(self._options.edge_mark_color)))
        for look_owner in (obj, owner):
            if added and look_owner.selvarin.use_look:
                for each in added:
                    each.style = self._style_of(look_owner)
                break

    def _add_mesh(self, obj: Any, arrays: MeshArrays, matrix: np.ndarray) -> Any:
        triangles, normals, colors = arrays.triangles, arrays.normals, self._colors(obj, arrays)
        if np.linalg.det(matrix[:3, :3]) < 0.0:  # a mirrored one, whose faces would be wound the other way
            triangles, normals = triangles[:, ::-1], normals[:, ::-1]
            for by_corner in ("uv", "vertex_colors"):
                if by_corner in colors:
                    colors[by_corner] = colors[by_corner][:, ::-1]
        return self.scene.add_mesh(arrays.vertices, triangles, name=obj.name, transform=matrix, normals=normals,
                                   **colors)

    def _colors(self, obj: Any, arrays: MeshArrays) -> Dict[str, Any]:
        paints = paints_of(obj)
        numbers = np.clip(arrays.materials, 0, len(paints) - 1)
        used, places = np.unique(numbers, return_inverse=True)
        chosen = [paints[number] for number in used]
        if any(paint.skin is not None and paint.skin.layer in arrays.places for paint in chosen):
            return self._textured(chosen, places, arrays)
        if any(paint.attribute in arrays.colors for paint in chosen):
            colors = np.repeat(np.array([paint.color for paint in chosen])[places][:, None], 3, axis=1)
            for number, paint in enumerate(chosen):
                if paint.attribute in arrays.colors:
                    colors[places == number] = arrays.colors[paint.attribute][places == number]
            return {"vertex_colors": colors, "opacity": min(paint.opacity for paint in chosen)}
        materials = [library.selvarin.Material(paint.color, paint.opacity, paint.gloss) for paint in chosen]
        return {"materials": materials, "face_materials": places if len(materials) > 1 else None}

    def _textured(self, chosen: List[Any], places: np.ndarray, arrays: MeshArrays) -> Dict[str, Any]:
        """Materials with textures; one that goes by a colour attribute beside them has the mean of it."""
        materials, uv = [], np.zeros((len(places), 3, 2), np.float32)
        for number, paint in enumerate(chosen):
            own = places == number
            color, texture = paint.color, None
            if paint.skin is not None and paint.skin.layer in arrays.places:
                texture = paint.skin.texture
                uv[own] = paint.skin.placed(arrays.places[paint.skin.layer][own])
            elif paint.attribute in arrays.colors:
                color = tuple(arrays.colors[paint.attribute][own].reshape(-1, 3).mean(axis=0, dtype=float))
            materials.append(library.selvarin.Material(color, paint.opacity, paint.gloss, texture))
        return {"materials": materials, "face_materials": places if len(materials) > 1 else None, "uv": uv}

    def _arrays_of(self, obj: Any) -> Optional[MeshArrays]:
        """Those of instances, and of objects that share their data, are read once."""
        key = (obj.original.as_pointer() if len(obj.modifiers) else 0, obj.data.as_pointer())
        if key not in self._arrays:
            self._arrays[key] = _arrays_of(obj, self._depsgraph)
        return self._arrays[key]

    def _style_of(self, obj: Any) -> Any:
        if obj.name not in self._styles:
            self._styles[obj.name] = looks.style_of(obj.selvarin.look, lambda shader: not shader.covers_background)
        return self._styles[obj.name]

    # --- lights ---

    def _add_light(self, light: Any, matrix: np.ndarray) -> None:
        """Only the hue of a light counts in a drawing, as in files: its strength is given in watts."""
        shines = _color_of(light)
        top = max(shines)
        if light.energy <= 0.0 or top <= 0.0 or not np.all(np.isfinite(matrix)):
            return
        color = tuple(min(max(part / top, 0.0), 1.0) for part in shines)
        position, direction = tuple(matrix[:3, 3]), tuple(-matrix[:3, 2])
        if light.type == "SUN":
            self.scene.add_light("directional", direction=direction, color=color)
        elif light.type == "SPOT":
            self.scene.add_light("spot", position=position, direction=direction, color=color,
                                 angle=min(max(math.degrees(light.spot_size) / 2.0, 0.1), 90.0))
        else:
            self.scene.add_light("point", position=position, color=color)


def _color_of(light: Any) -> Tuple[float, ...]:
    """Its colour as it is set, from Blender 4.5 on under that of its temperature where it has one."""
    if not getattr(light, "use_temperature", False):
        return tuple(light.color)
    return tuple(part * warmth for part, warmth in zip(light.color, light.temperature_color))


def _arrays_of(obj: Any, depsgraph: Any) -> Optional[MeshArrays]:
    try:
        mesh = obj.to_mesh()
    except RuntimeError:
        return None  # an object without geometry, as Blender says
    if mesh is None:
        return None
    try:
        return arrays_of(mesh)
    finally:
        obj.to_mesh_clear()


# --- camera ---

def camera_of(camera: Any, depsgraph: Any, size: Tuple[int, int],
              border: Tuple[float, float, float, float] = (0.0, 0.0, 1.0, 1.0)) -> Any:
    """size: of the whole picture in pixels; border: the part of it that is drawn, from 0 to 1."""
    projection = np.array(camera.calc_matrix_camera(depsgraph, x=size[0], y=size[1]))
    return view_of(np.array(camera.matrix_world, dtype=float), projection).cropped(*border)


def view_of(matrix: np.ndarray, projection: np.ndarray) -> Any:
    """From the place of a camera, which looks along its -z axis, and a projection as OpenGL has them."""
    eye, direction, up = tuple(matrix[:3, 3]), tuple(-matrix[:3, 2]), tuple(matrix[:3, 1])
    Camera = library.selvarin.Camera
    if projection[3, 3] != 0.0:  # a parallel one
        view = Camera.parallel(eye, direction=direction, up=up, height=2.0 / projection[1, 1])
        shift = -projection[0, 3] / 2.0, -projection[1, 3] / 2.0
    else:
        fov = math.degrees(2.0 * math.atan(1.0 / projection[1, 1]))
        view = Camera.perspective(eye, direction=direction, up=up, fov=min(max(fov, 0.01), 170.0))
        shift = projection[0, 2] / 2.0, projection[1, 2] / 2.0
    return view.cropped(shift[0], shift[1], 1.0 + shift[0], 1.0 + shift[1])


# --- world ---

def world_color(world: Any) -> Tuple[float, float, float]:
    if world is None:
        return 0.0, 0.0, 0.0
    if not world.use_nodes or world.node_tree is None:
        return screen_color(world.color)
    output = world.node_tree.get_output_node("ALL")
    links: List[Any] = list(output.inputs["Surface"].links) if output is not None else []
    if not links or links[0].from_node.type != "BACKGROUND":
        return screen_color(world.color) if links else (0.0, 0.0, 0.0)
    node = links[0].from_node
    if node.inputs["Color"].is_linked:
        return screen_color(world.color)
    strength = node.inputs["Strength"].default_value
    return screen_color([part * strength for part in node.inputs["Color"].default_value[:3]])
