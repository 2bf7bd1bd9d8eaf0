"""From what users have (arrays, lists, meshes of other libraries) to the arrays that the compiled half reads."""

from itertools import chain
from typing import Any, List, NamedTuple, Optional, Tuple

import numpy as np

from . import _core


class Faces(NamedTuple):
    """Triangles (M, 3), or the corners of polygons one behind the other with M + 1 offsets."""

    corners: np.ndarray
    offsets: Optional[np.ndarray]

    def __len__(self) -> int:  # type: ignore[override]
        return len(self.corners) if self.offsets is None else len(self.offsets) - 1

    def mean_of(self, values: np.ndarray) -> np.ndarray:
        """Of values at the vertices, one for each face."""
        if self.offsets is None:
            return values[self.corners].mean(axis=1)
        sizes = np.diff(self.offsets)
        sums = np.add.reduceat(values[self.corners], self.offsets[:-1].astype(np.int64), axis=0)
        return sums / sizes[:, None]


class MeshArrays(NamedTuple):
    vertices: np.ndarray
    faces: Faces
    face_colors: Optional[np.ndarray] = None
    vertex_colors: Optional[np.ndarray] = None


def as_points(points: Any, what: str) -> np.ndarray:
    """(N, 3) of float32 or float64, without a copy where it is that already."""
    array = np.asarray(points)
    if array.dtype == object or array.dtype.kind not in "fiu":
        raise TypeError(f"{what} must be numbers, not {array.dtype}")
    if array.size == 0 and array.ndim < 2:
        array = array.reshape(0, 3)
    if array.dtype not in (np.dtype(np.float32), np.dtype(np.float64)):
        array = array.astype(np.float64)
    return array


def as_indices(indices: Any, what: str) -> np.ndarray:
    """Whole numbers in a type that the compiled half reads, without a copy where it is that already."""
    array = np.asarray(indices)
    if array.size == 0:
        return array.astype(np.int64)
    if array.dtype.kind not in "iu":
        raise TypeError(f"{what} must be whole numbers, not {array.dtype}")
    if array.dtype.itemsize < 4 or not array.dtype.isnative:
        array = array.astype(np.int64)
    return array


def as_faces(faces: Any) -> Faces:
    """(M, 3), (M, K), or a list of polygons with three or more corners each."""
    if not isinstance(faces, np.ndarray):
        faces = list(faces)
        if len({_length_of(face, i) for i, face in enumerate(faces)}) > 1:
            return _polygons(faces)
    array = as_indices(faces, "faces")
    if array.size == 0:
        return Faces(array.reshape(0, 3), None)
    if array.ndim != 2 or array.shape[1] < 3:
        raise ValueError(f"faces must have the shape (M, 3), or (M, K) for polygons, not {array.shape}")
    if array.shape[1] == 3:
        return Faces(array, None)
    return Faces(array.reshape(-1), np.arange(array.shape[0] + 1, dtype=np.uint64) * np.uint64(array.shape[1]))


def _length_of(face: Any, number: int) -> int:
    try:
        return len(face)
    except TypeError:
        raise TypeError(f"faces[{number}] is no list of vertex numbers but {face!r}") from None


def _polygons(faces: List[Any]) -> Faces:
    sizes = [len(face) for face in faces]
    corners = as_indices(list(chain.from_iterable(faces)), "faces")
    return Faces(corners, np.concatenate([[0], np.cumsum(sizes)]).astype(np.uint64))


def padded_faces(cells: Any, what: str) -> Faces:
    """The form of VTK: a count before the corners of each face."""
    array = as_indices(cells, what)
    if array.ndim != 1:
        raise ValueError(f"{what} must have one dimension, not the shape {array.shape}")
    if array.size % 4 == 0 and np.all(array[::4] == 3):
        return Faces(array.reshape(-1, 4)[:, 1:], None)
    offsets, places = _core.padded_cells(array, what)
    return Faces(array[places], offsets)


def as_transform(transform: Any) -> Optional[Tuple[float, ...]]:
    """The rows of a 4 by 4 matrix that moves column vectors."""
    if transform is None:
        return None
    matrix = np.asarray(transform, dtype=float)
    if matrix.shape != (4, 4):
        raise ValueError(f"transform must have the shape (4, 4), not {matrix.shape}")
    if not np.all(np.isfinite(matrix)) or not np.allclose(matrix[3], (0.0, 0.0, 0.0, 1.0)):
        raise ValueError("transform must be finite, with the last row (0, 0, 0, 1)")
    return tuple(matrix.ravel())


def mesh_arrays(mesh: Any) -> MeshArrays:
    """Of a mesh of trimesh, Open3D, meshio, pyvista or anything of the same shape."""
    if hasattr(mesh, "cells") and hasattr(mesh, "points") and _is_meshio(mesh.cells):
        return _of_meshio(mesh)
    if hasattr(mesh, "points") and not hasattr(mesh, "faces") and hasattr(mesh, "extract_surface"):
        mesh = mesh.extract_surface()
    if hasattr(mesh, "points") and hasattr(mesh, "faces"):
        return MeshArrays(as_points(mesh.points, "points"), padded_faces(mesh.faces, "faces"))
    if hasattr(mesh, "vertices") and hasattr(mesh, "triangles"):
        colors = np.asarray(getattr(mesh, "vertex_colors", ()))
        return MeshArrays(as_points(mesh.vertices, "vertices"), as_faces(np.asarray(mesh.triangles)),
                          vertex_colors=colors if len(colors) else None)
    if hasattr(mesh, "vertices") and hasattr(mesh, "faces"):
        kind = getattr(getattr(mesh, "visual", None), "kind", None)
        return MeshArrays(as_points(mesh.vertices, "vertices"), as_faces(np.asarray(mesh.faces)),
                          face_colors=mesh.visual.face_colors if kind == "face" else None,
                          vertex_colors=mesh.visual.vertex_colors if kind == "vertex" else None)
    raise TypeError(f"{type(mesh).__name__} is no mesh: give vertices and faces, or an object with .vertices and "
                    ".faces (trimesh), .vertices and .triangles (Open3D), .points and .cells (meshio) or .points and "
                    ".faces (pyvista)")


# --- meshio: blocks of cells, of volumes the outer faces ---

_FLAT = {"triangle": 3, "triangle6": 3, "triangle7": 3, "quad": 4, "quad8": 4, "quad9": 4}
_SIDES = {
    "tetra": ((0, 2, 1), (0, 1, 3), (1, 2, 3), (0, 3, 2)),
    "hexahedron": ((0, 3, 2, 1), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)),
}


def _is_meshio(cells: Any) -> bool:
    return isinstance(cells, (list, tuple)) and all(hasattr(c, "type") and hasattr(c, "data") for c in cells)


def _outer_sides(cells: np.ndarray, sides: Tuple[Tuple[int, ...], ...]) -> np.ndarray:
    every = cells[:, np.array(sides)].reshape(-1, len(sides[0]))
    _, first, counts = np.unique(np.sort(every, axis=1), axis=0, return_index=True, return_counts=True)
    return every[np.sort(first[counts == 1])]


def _of_meshio(mesh: Any) -> MeshArrays:
    polygons: List[np.ndarray] = []
    left_out = set()
    for block in mesh.cells:
        data = as_indices(block.data, "cells") if len(block.data) and not block.type.startswith("poly") else block.data
        if block.type in _FLAT:
            polygons.append(data[:, :_FLAT[block.type]])
        elif block.type == "polygon":
            polygons.extend(as_indices(face, "cells").reshape(1, -1) for face in data)
        elif block.type in _SIDES:
            polygons.append(_outer_sides(data, _SIDES[block.type]))
        elif block.type not in ("vertex", "line", "line3"):
            left_out.add(block.type)
    if left_out:
        raise TypeError("cells of these types have no faces that can be drawn: " + ", ".join(sorted(left_out)))
    points = as_points(mesh.points, "points")
    if points.ndim == 2 and points.shape[1] == 2:
        points = np.column_stack([points, np.zeros(len(points))])
    if {p.shape[1] for p in polygons} <= {3}:
        return MeshArrays(points, Faces(np.concatenate(polygons) if polygons else np.zeros((0, 3), int), None))
    sizes = np.concatenate([np.full(len(p), p.shape[1]) for p in polygons])
    offsets = np.concatenate([[0], np.cumsum(sizes)]).astype(np.uint64)
    return MeshArrays(points, Faces(np.concatenate([p.reshape(-1) for p in polygons]), offsets))
