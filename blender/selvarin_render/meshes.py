"""The geometry of an object as arrays: triangles with their normals and materials, marked and loose edges."""

from typing import Any, Dict, List, NamedTuple, Optional

import numpy as np

from .colors import to_screen


class MeshArrays(NamedTuple):
    vertices: np.ndarray  #: (N, 3)
    triangles: np.ndarray  #: (M, 3)
    normals: np.ndarray  #: (M, 3, 3), by corner
    materials: np.ndarray  #: (M,), numbers of slots
    marks: List[np.ndarray]  #: runs of vertices along edges with a Freestyle mark
    loose: List[np.ndarray]  #: runs of vertices along edges without a face
    colors: Dict[str, np.ndarray]  #: (M, 3, 3) by corner, from 0 to 1 as a screen shows them, of each colour attribute;
    #: "" the active
    places: Dict[str, np.ndarray]  #: (M, 3, 2) by corner, of each UV map; "" that of renders


def _read(collection: Any, attribute: str, width: int, kind: Any) -> np.ndarray:
    values = np.empty(len(collection) * width, kind)
    collection.foreach_get(attribute, values)
    return values.reshape(-1, width) if width > 1 else values


def arrays_of(mesh: Any) -> MeshArrays:
    """Of a mesh whose modifiers were applied."""
    mesh.calc_loop_triangles()
    if hasattr(mesh, "calc_normals_split"):  # until Blender 4.0; later corners always have normals
        mesh.calc_normals_split()
    corners = _read(mesh.loop_triangles, "loops", 3, np.int32)
    if hasattr(mesh, "corner_normals"):  # from Blender 4.1
        normals = _read(mesh.corner_normals, "vector", 3, np.float32)
    else:
        normals = _read(mesh.loops, "normal", 3, np.float32)
    edges = _read(mesh.edges, "vertices", 2, np.int32)
    triangles = _read(mesh.loop_triangles, "vertices", 3, np.int32)
    return MeshArrays(
        _read(mesh.vertices, "co", 3, np.float32), triangles, normals[corners],
        _read(mesh.loop_triangles, "material_index", 1, np.int32), runs_of(edges[_marked(mesh)]),
        runs_of(edges[_read(mesh.edges, "is_loose", 1, bool)]), _colors_of(mesh, triangles, corners),
        _places_of(mesh, corners))


def _marked(mesh: Any) -> np.ndarray:
    """Which edges have a Freestyle mark; a build of Blender without Freestyle has none."""
    attribute = mesh.attributes.get("freestyle_edge")  # from Blender 5.0
    if attribute is not None:
        return _read(attribute.data, "value", 1, bool)
    if len(mesh.edges) and hasattr(mesh.edges[0], "use_freestyle_mark"):
        return _read(mesh.edges, "use_freestyle_mark", 1, bool)
    return np.zeros(len(mesh.edges), bool)


def _colors_of(mesh: Any, triangles: np.ndarray, corners: np.ndarray) -> Dict[str, np.ndarray]:
    found: Dict[str, np.ndarray] = {}
    active = mesh.color_attributes.active_color
    for attribute in mesh.color_attributes:
        values = to_screen(_read(attribute.data, "color", 4, np.float32)[:, :3])
        found[attribute.name] = values[triangles if attribute.domain == "POINT" else corners]
        if active is not None and attribute.name == active.name:
            found[""] = found[attribute.name]
    return found


def _places_of(mesh: Any, corners: np.ndarray) -> Dict[str, np.ndarray]:
    found: Dict[str, np.ndarray] = {}
    for layer in mesh.uv_layers:
        found[layer.name] = _read(layer.data, "uv", 2, np.float32)[corners]
        if layer.active_render:
            found[""] = found[layer.name]
    return found


def runs_of(edges: np.ndarray) -> List[np.ndarray]:
    """Edges (K, 2) joined to runs of vertices that end where other than two edges meet: longer lines are drawn as one."""
    neighbours: Dict[int, List[int]] = {}
    for a, b in edges.tolist():
        neighbours.setdefault(a, []).append(b)
        neighbours.setdefault(b, []).append(a)
    left = {(min(a, b), max(a, b)) for a, b in edges.tolist()}
    runs = []
    ends = [v for v in sorted(neighbours) if len(neighbours[v]) != 2]
    for start in ends + sorted(neighbours):
        for following in neighbours[start]:
            run = _run(start, following, neighbours, left)
            if run is not None:
                runs.append(np.array(run, np.int64))
    return runs


def _run(start: int, following: int, neighbours: Dict[int, List[int]], left: set) -> Optional[List[int]]:
    run = [start]
    while (min(run[-1], following), max(run[-1], following)) in left:
        left.remove((min(run[-1], following), max(run[-1], following)))
        run.append(following)
        if len(neighbours[following]) != 2 or following == start:
            break
        ahead = [v for v in neighbours[following] if v != run[-2]]
        following = ahead[0] if ahead else run[-2]
    return run if len(run) > 1 else None
