"""Scenes and their objects."""

import errno
import math
import os
import weakref
from fnmatch import fnmatchcase
from typing import Any, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._arrays import as_faces, as_indices, as_points, as_transform, mesh_arrays
from ._camera import _direction, _vector
from ._colors import Color, optional_color, palette_of, parse_color, parse_colors
from ._progress import Progress, reporter
from ._style import Style, as_style
from ._textures import TextureLike, core_texture, texture_places, vertex_color_places
from ._warnings import warn_all

PathLike = Union[str, "os.PathLike[str]"]


class Material(NamedTuple):
    """What a face is painted with. opacity and gloss are from 0 to 1; looks that have highlights draw them on what is
    glossy. texture: a Texture, an array or the path of an image file, in place of the colour; the mesh has uv then."""

    color: Color = "#cccccc"
    opacity: float = 1.0
    gloss: float = 0.0
    texture: Optional[TextureLike] = None


class SceneObject:
    """An object of a scene. Made by the scene's methods; it can be hidden, coloured and given a style of its own."""

    def __init__(self, core: Any, scene: "Scene", opacity: float = 1.0) -> None:
        self._core = core
        self._scene = weakref.ref(scene)  # a ring would keep large meshes until the collector comes
        self._style: Optional[Style] = None
        self._opacity = opacity

    @property
    def name(self) -> str:
        """Its name; several objects may have the same one."""
        return self._core.name

    @name.setter
    def name(self, name: str) -> None:
        self._core.name = name

    @property
    def kind(self) -> str:
        """"mesh", "lines" or "points"."""
        return self._core.kind

    @property
    def visible(self) -> bool:
        """Whether it is drawn, and counts when the scene is framed."""
        return self._core.visible

    @visible.setter
    def visible(self, visible: bool) -> None:
        self._core.visible = bool(visible)

    def hide(self) -> None:
        self.visible = False

    def show(self) -> None:
        self.visible = True

    @property
    def color(self) -> None:
        """Write only: "#rrggbb", a name, or three numbers from 0 to 1, for the whole object in place of those it has."""
        raise AttributeError("the colour of an object can be set, not read: it may have many")

    @color.setter
    def color(self, color: Color) -> None:
        self._core.set_color(parse_color(color))

    @property
    def opacity(self) -> float:
        """From 0 to 1, which is opaque. Of objects from files it is that which was set here, else 1."""
        return self._opacity

    @opacity.setter
    def opacity(self, opacity: float) -> None:
        self._opacity = _checked_opacity(opacity)
        self._core.set_opacity(self._opacity)

    @property
    def style(self) -> Optional[Style]:
        """A style of its own; None for that of the picture. May be set to a Style, a name or a file."""
        return self._style

    @style.setter
    def style(self, style: Union[Style, PathLike, None]) -> None:
        chosen = None if style is None else as_style(style)
        self._core.set_look(None if chosen is None else chosen._request())
        self._style = chosen

    @property
    def num_triangles(self) -> int:
        """Triangles; those without an area are left out when the scene is drawn for the first time."""
        return self._core.num_triangles

    @property
    def num_vertices(self) -> int:
        """Vertices. When a mesh is drawn for the first time, equal ones become one, and those at sharp edges several."""
        return self._core.num_vertices

    @property
    def bounds(self) -> np.ndarray:
        """The lowest and the highest coordinates, (2, 3); of objects from one file those of the whole file."""
        return np.array(self._core.bounds)

    def remove(self) -> None:
        """Takes it out of its scene."""
        scene = self._scene()
        if scene is None:
            raise ValueError(f"{self.name!r} is not in the scene: that has gone")
        scene.remove(self)

    def __repr__(self) -> str:
        return f"<{self.kind} {self.name!r}>"


class Scene:
    """Named objects and lights. It keeps all it is given, by copy, and can be drawn any number of times.

    up: "z", "y", or None for that of the first file that is loaded, which is z without one.
    """

    def __init__(self, up: Optional[str] = None) -> None:
        if up not in (None, "y", "z"):
            raise ValueError(f'up: "y", "z" or None is expected, not {up!r}')
        self._core = _core.Scene(up or "\0")
        self._objects: List[SceneObject] = []

    # --- what is in it ---

    @property
    def objects(self) -> Tuple[SceneObject, ...]:
        """All objects in the order in which they came."""
        return tuple(self._objects)

    def __len__(self) -> int:
        return len(self._objects)

    def __iter__(self) -> Iterator[SceneObject]:
        return iter(self.objects)

    def __getitem__(self, name: str) -> SceneObject:
        """The first object of that name. Raises KeyError."""
        for each in self._objects:
            if each.name == name:
                return each
        raise KeyError(f"no object is called {name!r}")

    def find(self, pattern: str) -> List[SceneObject]:
        """All objects whose names match a pattern like "wheel*"."""
        return [each for each in self._objects if fnmatchcase(each.name, pattern)]

    def remove(self, which: SceneObject) -> None:
        """Raises ValueError for an object that is not in the scene."""
        if which not in self._objects:
            raise ValueError(f"{which!r} is not in this scene")
        self._core.remove(which._core)
        self._objects.remove(which)

    @property
    def up(self) -> str:
        """"y" or "z"."""
        return self._core.up

    @property
    def bounds(self) -> Optional[np.ndarray]:
        """The lowest and the highest coordinates, (2, 3); None for a scene with nothing in it."""
        boxes = [box for box in (each.bounds for each in self._objects) if np.all(box[0] <= box[1])]
        if not boxes:
            return None
        return np.array([np.min([b[0] for b in boxes], axis=0), np.max([b[1] for b in boxes], axis=0)])

    def _taken(self, core: Any, opacity: float = 1.0) -> SceneObject:
        added = SceneObject(core, self, opacity)
        self._objects.append(added)
        return added

    # --- geometry ---

    def add_mesh(self, vertices: Any, faces: Any = None, *, color: Optional[Color] = None, face_colors: Any = None,
                 vertex_colors: Any = None, opacity: float = 1.0, name: Optional[str] = None, transform: Any = None,
                 normals: Any = None, crease_angle: float = 50.0, max_colors: int = 256,
                 materials: Optional[Sequence[Material]] = None, face_materials: Any = None, uv: Any = None,
                 texture: Optional[TextureLike] = None) -> SceneObject:
        """Adds a mesh.

        vertices: (N, 3) numbers; float32 and float64 are read where they lie. Or, without faces, a mesh of trimesh,
            Open3D, meshio or pyvista.
        faces: (M, 3) whole numbers from 0 to N - 1, (M, K) for polygons, or a list of polygons. Faces without an area
            are left out, and pieces that are wound the wrong way are turned.
        color: of the whole object; without any colour objects take turns with a few that go well together.
        face_colors: (M, 3), floats from 0 to 1 or whole numbers from 0 to 255; at most max_colors are told apart, as
            each is a surface of its own.
        vertex_colors: (N, 3), or of triangles (M, 3, 3) by corner, which run evenly over the faces. Shaders that draw no
            textures show their mean.
        texture: a Texture, (H, W, 3) or (H, W, 4) numbers with the top row first, or the path of an image file.
        uv: (N, 2), or of triangles (M, 3, 2) by corner: places in textures, from (0, 0) at the lower left corner of the
            image to (1, 1) at its upper right one; what lies beyond goes by Texture.wrap.
        opacity: from 0 to 1, which is opaque.
        materials: Materials, several with face_materials, (M,) whole numbers, which say the one of each face; in place
            of colours, texture and opacity.
        transform: (4, 4), moves column vectors.
        normals: (N, 3) by vertex or, of triangles, (M, 3, 3) by corner, of any length; without them a surface is smooth up to crease_angle, in degrees, between faces.

        Raises ValueError for wrong shapes, numbers that are not finite and indices that are out of range, each with its
        place, and TypeError for anything but numbers.
        """
        opacity = _checked_opacity(opacity)
        if faces is None:
            vertices, faces, own_face_colors, own_vertex_colors = mesh_arrays(vertices)
            if color is None and face_colors is None and vertex_colors is None:
                face_colors, vertex_colors = own_face_colors, own_vertex_colors
        else:
            vertices, faces = as_points(vertices, "vertices"), as_faces(faces)
        if sum(c is not None for c in (color, face_colors, vertex_colors, materials, texture)) > 1:
            raise ValueError("give one of color, face_colors, vertex_colors, texture and materials")
        if not (math.isfinite(crease_angle) and 0.0 <= crease_angle <= 180.0):
            raise ValueError(f"crease_angle: degrees from 0 to 180 are expected, not {crease_angle!r}")
        if face_colors is not None:
            face_colors = parse_colors(face_colors, len(faces), "face_colors")
        paints: List[Any] = [] if color is None else [(*parse_color(color), opacity, 0.0)]
        if vertex_colors is not None or texture is not None:
            paints = [(1.0, 1.0, 1.0, opacity, 0.0)]
        skin, textures = _skin(vertices, faces, vertex_colors, uv, texture, materials)
        parts = None
        if materials is not None:
            paints, parts = _paints(materials, face_materials)
            opacity = min(paint[3] for paint in paints)
        if face_colors is not None and len(faces):
            if not 1 <= max_colors <= 4096:
                raise ValueError(f"max_colors: 1 to 4096 is expected, not {max_colors!r}")
            colors, parts = palette_of(face_colors, max_colors)
            paints = [(*c, opacity, 0.0) for c in colors]
        core = self._core.add_mesh(vertices, faces.corners, faces.offsets, name or f"mesh {len(self._objects) + 1}",
                                   as_transform(transform), *_normals(normals, faces, transform), paints, parts,
                                   opacity, float(crease_angle), skin, textures)
        return self._taken(core, opacity)

    def add_lines(self, points: Any, lines: Any = None, *, color: Color = "#29262b", closed: bool = False,
                  name: Optional[str] = None, transform: Any = None) -> SceneObject:
        """Adds lines.

        points: (N, 3) numbers.
        lines: (M, 2) numbers of points for single lines, (M, K) or a list of such rows for lines of several pieces;
            None: one line through all points. closed: each ends where it began.
        Raises as add_mesh does.
        """
        points = as_points(points, "points")
        rows = [np.arange(len(points))] if lines is None else lines
        if isinstance(rows, np.ndarray):
            places = as_indices(rows, "lines")
            if places.ndim != 2 or places.shape[1] < 2:
                raise ValueError(f"lines must have the shape (M, 2), or (M, K), not {places.shape}")
            sizes = [places.shape[1]] * len(places)
        else:
            rows = [as_indices(row, f"lines[{i}]").reshape(-1) for i, row in enumerate(rows)]
            places = np.concatenate(rows) if rows else np.zeros(0, np.int64)
            sizes = [len(row) for row in rows]
        offsets = np.concatenate([[0], np.cumsum(sizes)]).astype(np.int64)
        return self._taken(self._core.add_lines(points, places, offsets.tolist(), bool(closed),
                                                name or f"lines {len(self._objects) + 1}", as_transform(transform),
                                                parse_color(color)))

    def add_points(self, points: Any, *, name: Optional[str] = None, transform: Any = None) -> SceneObject:
        """Adds points, (N, 3) numbers. Shaders draw them as dots of their line colour. Raises as add_mesh does."""
        return self._taken(self._core.add_points(as_points(points, "points"),
                                                 name or f"points {len(self._objects) + 1}", as_transform(transform)))

    def load(self, *paths: PathLike, up: Optional[str] = None, crease_angle: float = 50.0,
             progress: Progress = None) -> List[SceneObject]:
        """Adds the objects of model files, whose cameras and lights count where none are given otherwise. Files of
        foreign formats are read by a process of its own, with limits; ``selvarin.formats()`` lists what can be read.

        up: "y" or "z" in place of what the format says. Raises FileNotFoundError, ModelError for a file that can't be
        used, with the reason, and Cancelled. What was wrong with a file that can be used comes as a SelvarinWarning.
        """
        files = [os.fspath(path) for path in paths]
        if not files:
            raise TypeError("load() needs a file")
        if up not in (None, "y", "z"):
            raise ValueError(f'up: "y", "z" or None is expected, not {up!r}')
        for file in files:
            if not os.path.exists(file):
                raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), file)
        callback, finish = reporter(progress)
        try:
            cores, warnings = self._core.load(files, up or "\0", float(crease_angle), callback)
        finally:
            finish()
        warn_all(warnings)
        return [self._taken(core) for core in cores]

    def add_demo(self) -> List[SceneObject]:
        """Adds the built-in scene, a gear train on a wooden base, whose y is up."""
        return [self._taken(core) for core in self._core.add_demo()]

    # --- lights ---

    def add_light(self, kind: str = "directional", *, direction: Optional[Sequence[float]] = None,
                  position: Optional[Sequence[float]] = None, angle: float = 30.0, color: Color = "#ffffff") -> None:
        """Adds a light. Without any, those of the files count, else one from over the viewer's left shoulder.

        kind: "directional" wants the direction in which it shines, "point" a position, "spot" both and the angle in
        degrees, from 0 to 90, from its axis to the edge of its cone.
        """
        if kind not in ("directional", "point", "spot"):
            raise ValueError(f'"{kind}" is no kind of light; there are directional, point and spot')
        if kind != "point" and direction is None:
            raise ValueError(f"a {kind} light needs a direction")
        if kind != "directional" and position is None:
            raise ValueError(f"a {kind} light needs a position")
        if kind == "spot" and not 0.0 < angle <= 90.0:
            raise ValueError(f"angle: degrees from 0 to 90 are expected, not {angle!r}")
        self._core.add_light(kind, _vector(position, "position"), _direction(direction, "direction"),
                             math.radians(angle) if kind == "spot" else 0.0, optional_color(color, "color"))

    def remove_lights(self) -> None:
        """Removes all lights, those of files too: the light over the viewer's shoulder is then in force."""
        self._core.remove_lights()

    def __repr__(self) -> str:
        return f"<Scene of {len(self._objects)} objects>"


def _checked_opacity(opacity: float, what: str = "opacity") -> float:
    if not 0.0 <= float(opacity) <= 1.0:
        raise ValueError(f"{what}: a number from 0 to 1 is expected, not {opacity!r}")
    return float(opacity)


def _normals(normals: Any, faces: Any, transform: Any) -> Tuple[Optional[np.ndarray], bool]:
    # Their rows, and whether there is one for each corner.
    if normals is None:
        return None, False
    array = as_points(normals, "normals")
    by_corner = array.ndim == 3
    if by_corner:
        if faces.offsets is not None or array.shape[1:] != (3, 3):
            raise ValueError(f"normals by corner must have the shape (M, 3, 3), of triangles, not {array.shape}")
        array = array.reshape(-1, 3)
    if transform is not None and array.ndim == 2 and array.shape[1] == 3:
        # At right angles to a surface that is stretched; see Turkowski 1990, Properties of surface-normal transformations.
        matrix = np.asarray(transform, dtype=float)[:3, :3]
        if abs(np.linalg.det(matrix)) > 0.0:
            array = array @ np.linalg.inv(matrix)
    return array, by_corner


def _paints(materials: Sequence[Material], face_materials: Any) -> Tuple[List[Any], Optional[np.ndarray]]:
    paints = [(*(parse_color(m.color) if m.texture is None else (1.0, 1.0, 1.0)), _checked_opacity(m.opacity),
               _checked_opacity(m.gloss, "gloss")) for m in materials]
    if not paints:
        raise ValueError("materials is empty")
    if face_materials is None:
        if len(paints) > 1:
            raise ValueError("several materials want face_materials")
        return paints, None
    return paints, as_indices(face_materials, "face_materials").reshape(-1)


def _skin(vertices: np.ndarray, faces: Any, vertex_colors: Any, uv: Any, texture: Any,
          materials: Optional[Sequence[Material]]) -> Tuple[Any, List[Any]]:
    # What lies on the surface beside plain colours.
    if vertex_colors is not None:
        triangles = None if faces.offsets is not None else faces.corners.size
        places, by_corner = vertex_color_places(vertex_colors, len(vertices), triangles, parse_colors)
        return _core.SkinPlaces(places, "vertex_colors", by_corner, True), []
    wanted = [(0, texture)] if texture is not None else []
    wanted += [(i, m.texture) for i, m in enumerate(materials or ()) if m.texture is not None]
    if not wanted:
        if uv is not None and materials is None:
            raise ValueError("uv wants a texture")
        return _core.SkinPlaces(None, "uv", False, False), []
    if uv is None:
        raise ValueError("a texture wants uv: the places of the vertices on it")
    places, by_corner = texture_places(uv, faces)
    return _core.SkinPlaces(places, "uv", by_corner, False), [(number, core_texture(each)) for number, each in wanted]


def as_scene(source: Any) -> Scene:
    """A scene as it is, or one of a file or a mesh."""
    if isinstance(source, Scene):
        return source
    scene = Scene()
    if isinstance(source, (str, os.PathLike)):
        scene.load(source)
    else:
        scene.add_mesh(source)
    return scene
