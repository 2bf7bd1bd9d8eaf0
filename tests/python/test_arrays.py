"""What goes in: arrays of all kinds, good and hostile, and meshes of other libraries."""

import types

import numpy as np
import pytest
from conftest import CUBE_FACES, CUBE_VERTICES, covered

import selvarin
from selvarin._arrays import as_faces, mesh_arrays, padded_faces
from selvarin._colors import palette_of, parse_color, parse_colors

TRIANGLES = np.concatenate([CUBE_FACES[:, [0, 1, 2]], CUBE_FACES[:, [0, 2, 3]]])


def drawn(vertices, faces, **more):
    scene = selvarin.Scene()
    scene.add_mesh(vertices, faces, color="#ff0000", **more)
    return selvarin.render(scene, (60, 45), antialias=0, background="#ffffff").pixels


EXPECTED = {}


def expected():
    if "cube" not in EXPECTED:
        EXPECTED["cube"] = drawn(CUBE_VERTICES, TRIANGLES).copy()
    return EXPECTED["cube"]


@pytest.mark.parametrize("vertices", [
    CUBE_VERTICES.astype(np.float32),
    CUBE_VERTICES.astype(int),
    CUBE_VERTICES.astype(">f8"),
    np.asfortranarray(CUBE_VERTICES),
    np.repeat(CUBE_VERTICES, 2, axis=0)[::2],
    np.hstack([CUBE_VERTICES, CUBE_VERTICES])[:, :3],
    CUBE_VERTICES[::-1][::-1],
    CUBE_VERTICES.tolist(),
], ids=["float32", "int", "big endian", "fortran", "every second row", "of wider rows", "negative strides", "list"])
def test_vertices_of_any_layout_give_the_same_picture(vertices):
    assert np.array_equal(drawn(vertices, TRIANGLES), expected())


@pytest.mark.parametrize("faces", [
    TRIANGLES.astype(np.int32), TRIANGLES.astype(np.uint32), TRIANGLES.astype(np.uint64), TRIANGLES.astype(np.uint8),
    TRIANGLES.astype(">i4"), np.asfortranarray(TRIANGLES), TRIANGLES[::-1][::-1], TRIANGLES.tolist(),
    [tuple(t) for t in TRIANGLES],
], ids=["int32", "uint32", "uint64", "uint8", "big endian", "fortran", "negative strides", "lists", "tuples"])
def test_faces_of_any_layout_give_the_same_picture(faces):
    assert np.array_equal(drawn(CUBE_VERTICES, faces), expected())


def test_polygons_give_the_picture_of_their_triangles():
    assert np.array_equal(drawn(CUBE_VERTICES, CUBE_FACES), expected())
    mixed = [CUBE_FACES[0], *TRIANGLES[[1, 7]], *CUBE_FACES[2:].tolist()]
    assert np.array_equal(drawn(CUBE_VERTICES, mixed), expected())


def test_a_transform_moves_the_vertices():
    matrix = np.diag([2.0, 2.0, 2.0, 1.0])
    matrix[:3, 3] = (100.0, -5.0, 3.0)
    scene = selvarin.Scene()
    mesh = scene.add_mesh(CUBE_VERTICES, TRIANGLES, transform=matrix)
    assert np.array_equal(mesh.bounds, [[100.0, -5.0, 3.0], [102.0, -3.0, 5.0]])
    assert np.array_equal(drawn(CUBE_VERTICES, TRIANGLES, transform=matrix), expected())


HOSTILE = [
    ((CUBE_VERTICES[:, :2], TRIANGLES), ValueError, "vertices must have the shape (N, 3), not (8, 2)"),
    ((CUBE_VERTICES.ravel(), TRIANGLES), ValueError, "vertices must have the shape (N, 3), not (24,)"),
    ((CUBE_VERTICES.astype(complex), TRIANGLES), TypeError, "vertices must be numbers, not complex128"),
    ((CUBE_VERTICES.astype(str), TRIANGLES), TypeError, "vertices must be numbers"),
    (([object()] * 3, TRIANGLES), TypeError, "vertices must be numbers, not object"),
    ((np.where(CUBE_VERTICES > 0, np.nan, 0.0), TRIANGLES), ValueError, "vertices[1] is not finite"),
    ((np.full((8, 3), np.inf), TRIANGLES), ValueError, "vertices[0] is not finite"),
    ((np.concatenate([CUBE_VERTICES[:7], [[1.0, 1.0, np.nan]]]), TRIANGLES), ValueError, "vertices[7] is not finite"),
    ((np.concatenate([CUBE_VERTICES[:7], [[1.0, np.inf, 1.0]]]), TRIANGLES), ValueError, "vertices[7] is not finite"),
    ((CUBE_VERTICES * 1e31, TRIANGLES), ValueError, "vertices[1] lies beyond 1e30"),
    ((CUBE_VERTICES, TRIANGLES + 1), ValueError, "is 8, but there are 8 vertices"),
    ((CUBE_VERTICES, TRIANGLES - 1), ValueError, "faces[0, 0] is -1, but there are 8 vertices"),
    ((CUBE_VERTICES, TRIANGLES.astype(np.int32) - 1), ValueError, "faces[0, 0] is -1, but there are 8 vertices"),
    ((CUBE_VERTICES, np.array([[0, 1, 2**63]], dtype=np.uint64)), ValueError, "faces[0, 2] is 9223372036854775808"),
    ((CUBE_VERTICES, np.array([[0, 1, 2**32 + 2]])), ValueError, "faces[0, 2] is 4294967298"),
    ((CUBE_VERTICES, TRIANGLES.astype(float)), TypeError, "faces must be whole numbers, not float64"),
    ((CUBE_VERTICES, TRIANGLES[:, :2]), ValueError, "faces must have the shape (M, 3), or (M, K) for polygons"),
    ((CUBE_VERTICES, TRIANGLES.ravel()), ValueError, "faces must have the shape (M, 3), or (M, K) for polygons"),
    ((CUBE_VERTICES, [[0, 1, 2], [0, 1]]), ValueError, "faces[1] has 2 corners; from 3"),
    ((CUBE_VERTICES, [[0, 1, 2], 7]), TypeError, "faces[1] is no list of vertex numbers but 7"),
    ((CUBE_VERTICES, [[0, 1, 2, 3], [0, 1, 9]]), ValueError, "is 9, but there are 8 vertices"),
    ((np.zeros((0, 3)), TRIANGLES), ValueError, "but there are 0 vertices"),
    (("model", None), TypeError, "str is no mesh: give vertices and faces"),
]


@pytest.mark.parametrize("arguments, error, text", HOSTILE, ids=[case[2] for case in HOSTILE])
def test_what_is_wrong_is_told_with_its_place(arguments, error, text):
    scene = selvarin.Scene()
    with pytest.raises(error) as caught:
        scene.add_mesh(*arguments)
    assert text in str(caught.value)
    assert len(scene) == 0 and scene.bounds is None, "nothing of it is left"


HOSTILE_OPTIONS = [
    ({"opacity": 1.5}, ValueError, "opacity"), ({"opacity": float("nan")}, ValueError, "opacity"),
    ({"transform": np.eye(3)}, ValueError, "transform must have the shape (4, 4)"),
    ({"transform": np.full((4, 4), np.nan)}, ValueError, "transform must be finite"),
    ({"transform": np.diag([np.inf, 1.0, 1.0, 1.0])}, ValueError, "transform must be finite"),
    ({"transform": np.diag([1e300, 1.0, 1.0, 1.0])}, ValueError, "vertices[4] lies beyond 1e30"),
    ({"normals": CUBE_VERTICES[:5]}, ValueError, "normals has 5 rows, but there are 8 vertices"),
    ({"normals": CUBE_VERTICES * np.nan}, ValueError, "normals[0] is not finite"),
    ({"crease_angle": -1}, ValueError, "crease_angle"), ({"color": "#12"}, ValueError, "color"),
    ({"color": (1.0, 2.0, 0.0)}, ValueError, "three numbers from 0 to 1"), ({"color": 5}, TypeError, "color"),
    ({"face_colors": np.zeros((5, 3))}, ValueError, "face_colors has 5 rows, but 12 are needed"),
    ({"face_colors": np.zeros((12, 2))}, ValueError, "face_colors must have the shape (12, 3)"),
    ({"face_colors": np.full((12, 3), np.nan)}, ValueError, "face_colors must be from 0 to 1"),
    ({"face_colors": np.full((12, 3), 256)}, ValueError, "face_colors must be from 0 to 255"),
    ({"vertex_colors": np.zeros((12, 3))}, ValueError, "vertex_colors has 12 rows, but 8 are needed"),
    ({"color": "red", "vertex_colors": np.zeros((8, 3))}, ValueError, "give one of"),
]


@pytest.mark.parametrize("options, error, text", HOSTILE_OPTIONS, ids=[str(case[0])[:40] for case in HOSTILE_OPTIONS])
def test_options_are_checked(options, error, text):
    scene = selvarin.Scene()
    with pytest.raises(error) as caught:
        scene.add_mesh(CUBE_VERTICES, TRIANGLES, **options)
    assert text in str(caught.value)
    assert len(scene) == 0


def test_a_mesh_without_faces_draws_nothing():
    scene = selvarin.Scene()
    scene.add_mesh(np.zeros((0, 3)), np.zeros((0, 3), int))
    scene.add_mesh([], [])
    scene.add_mesh(CUBE_VERTICES, np.zeros((0, 3), int))
    picture = selvarin.render(scene, (40, 30), antialias=0, background="#ffffff")
    assert covered(picture) == 0.0


def test_lines_and_points_are_checked():
    scene = selvarin.Scene()
    with pytest.raises(ValueError, match="lines\\[1\\] has fewer than two points"):
        scene.add_lines(CUBE_VERTICES, [[0, 1], [2]])
    with pytest.raises(ValueError, match="is 8, but there are 8 points"):
        scene.add_lines(CUBE_VERTICES, np.array([[0, 8]]))
    with pytest.raises(ValueError, match="points\\[0\\] is not finite"):
        scene.add_points(CUBE_VERTICES * np.nan)
    assert len(scene) == 0


# --- meshes of other libraries ---

def named(**fields):
    return types.SimpleNamespace(**fields)


class Vector3dVector:
    """Open3D's arrays are of types of their own that numpy can read."""

    def __init__(self, data, dtype):
        self.data = np.asarray(data, dtype)

    def __array__(self, dtype=None):
        return self.data

    def __len__(self):
        return len(self.data)


def pyvista_faces(faces):
    return np.concatenate([[len(face), *face] for face in faces])


MESHES = {
    "trimesh": named(vertices=CUBE_VERTICES, faces=TRIANGLES, visual=named(kind=None)),
    "Open3D": named(vertices=Vector3dVector(CUBE_VERTICES, float), triangles=Vector3dVector(TRIANGLES, np.int32),
                    vertex_colors=Vector3dVector(np.zeros((0, 3)), float)),
    "pyvista of triangles": named(points=CUBE_VERTICES.astype(np.float32), faces=pyvista_faces(TRIANGLES)),
    "pyvista of quads": named(points=CUBE_VERTICES, faces=pyvista_faces(CUBE_FACES)),
    "pyvista of both": named(points=CUBE_VERTICES, faces=pyvista_faces([CUBE_FACES[0], *TRIANGLES[[1, 7]],
                                                                       *CUBE_FACES[2:]])),
    "pyvista of volumes": named(points=CUBE_VERTICES, cells=np.array([8, 0, 1, 2, 3, 4, 5, 6, 7]),
                                extract_surface=lambda: named(points=CUBE_VERTICES, faces=pyvista_faces(TRIANGLES))),
    "meshio": named(points=CUBE_VERTICES, cells=[named(type="triangle", data=TRIANGLES),
                                                 named(type="line", data=np.array([[0, 1]]))]),
    "meshio of both": named(points=CUBE_VERTICES, cells=[named(type="quad", data=CUBE_FACES[2:]),
                                                         named(type="triangle", data=TRIANGLES[[0, 1, 6, 7]])]),
    "meshio of volumes": named(points=CUBE_VERTICES,
                               cells=[named(type="hexahedron", data=np.array([[0, 4, 6, 2, 1, 5, 7, 3]]))]),
}


@pytest.mark.parametrize("kind", MESHES)
def test_meshes_of_other_libraries_are_taken(kind):
    scene = selvarin.Scene()
    mesh = scene.add_mesh(MESHES[kind], color="#ff0000")
    assert mesh.num_triangles == 12
    picture = selvarin.render(scene, (60, 45), antialias=0, background="#ffffff")
    assert np.mean(picture.pixels != expected()) < 0.01


def test_the_real_meshio_is_taken(tmp_path):
    meshio = pytest.importorskip("meshio")
    mesh = meshio.Mesh(CUBE_VERTICES, [("quad", CUBE_FACES)])
    mesh.write(tmp_path / "cube.vtk")
    scene = selvarin.Scene()
    assert scene.add_mesh(meshio.read(tmp_path / "cube.vtk")).num_triangles == 12


def test_the_inner_sides_of_volumes_are_left_out():
    tetra = named(points=np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1], [1, 1, 1]], float),
                  cells=[named(type="tetra", data=np.array([[0, 1, 2, 3], [1, 2, 3, 4]]))])
    assert len(mesh_arrays(tetra).faces) == 6


def test_their_colours_are_taken_unless_others_are_given():
    red = np.tile([255, 0, 0, 255], (12, 1)).astype(np.uint8)
    mesh = named(vertices=CUBE_VERTICES, faces=TRIANGLES, visual=named(kind="face", face_colors=red))
    scene = selvarin.Scene()
    scene.add_mesh(mesh)
    picture = selvarin.render(scene, (60, 45), antialias=0, background="#ffffff")
    assert np.array_equal(picture.pixels, expected())
    scene = selvarin.Scene()
    scene.add_mesh(mesh, color="#0000ff")
    pixels = selvarin.render(scene, (60, 45), antialias=0, background="#ffffff").pixels.astype(int)
    assert np.any(pixels[..., 2] > pixels[..., 0] + 60) and not np.any(pixels[..., 0] > pixels[..., 2] + 60)


@pytest.mark.parametrize("cells, text", [
    ([3, 0, 1], "cells[0] announces 3 corners, but the array ends before them"),
    ([3, 0, 1, 2, 4, 0], "cells[4] announces 4 corners"),
    ([[3, 0, 1, 2]], "cells must have one dimension"),
])
def test_padded_cells_are_checked(cells, text):
    with pytest.raises(ValueError) as caught:
        padded_faces(cells, "cells")
    assert text in str(caught.value)


# --- colours ---

def test_colours_as_people_write_them():
    assert parse_color("#ff8000") == (1.0, 128 / 255, 0.0)
    assert parse_color("#f80") == (1.0, 136 / 255, 0.0)
    assert parse_color("White") == (1.0, 1.0, 1.0)
    assert parse_color((0.25, 0.5, 1)) == (0.25, 0.5, 1.0)
    assert np.array_equal(parse_colors([[0.0, 0.5, 1.0]], 1, "c"), [[0, 128, 255]])
    assert np.array_equal(parse_colors(np.array([[0, 128, 255, 7]]), 1, "c"), [[0, 128, 255]])


def test_few_colours_are_kept_and_many_become_fewer():
    colors = np.array([[255, 0, 0], [0, 255, 0], [255, 0, 0]], np.uint8)
    palette, numbers = palette_of(colors, 2)
    assert len(palette) == 2 and np.array_equal(np.rint(palette[numbers] * 255), colors)
    ramp = np.stack([np.arange(256)] * 3, axis=1).astype(np.uint8)
    palette, numbers = palette_of(ramp, 16)
    assert len(palette) == 16
    assert np.max(np.abs(palette[numbers] * 255 - ramp)) <= 10


def test_faces_have_the_mean_of_their_vertices():
    faces = as_faces([[0, 1, 2], [0, 1, 2, 3]])
    assert np.array_equal(faces.mean_of(np.array([[0.0], [3.0], [6.0], [7.0]])), [[3.0], [4.0]])


def test_many_vertices_are_read_as_few_are():
    """More than are read at a time, whatever their layout."""
    vertices = np.random.default_rng(7).uniform(-1.0, 1.0, (5000, 3))
    matrix = np.eye(4)
    matrix[:3, 3] = (100.0, -5.0, 3.0)
    for kind in (np.float32, np.float64):
        given = vertices.astype(kind)
        wanted = np.array([given.min(axis=0), given.max(axis=0)], dtype=float)
        for array in (given, np.asfortranarray(given), np.repeat(given, 2, axis=0)[::2], given[::-1]):
            scene = selvarin.Scene()
            assert np.array_equal(scene.add_points(array).bounds, wanted)
            assert np.allclose(scene.add_points(array, transform=matrix).bounds, wanted + matrix[:3, 3])
            bad = array.copy()
            bad[4321, 1] = np.nan
            with pytest.raises(ValueError, match=r"points\[4321\] is not finite"):
                scene.add_points(bad)


def test_large_meshes_are_checked_as_small_ones_are():
    """Their vertices and faces are read side by side; the vertices' fault is told first."""
    vertices = np.random.default_rng(1).random((1000, 3))
    faces = np.arange(300_000).reshape(-1, 3) % 1000
    scene = selvarin.Scene()
    assert scene.add_mesh(vertices, faces).num_triangles == 100_000
    bad_faces, bad_vertices = faces.copy(), vertices.copy()
    bad_faces[70_000, 2], bad_vertices[7, 0] = 1000, np.nan
    for _ in range(20):
        with pytest.raises(ValueError, match="faces\\[70000, 2\\] is 1000, but there are 1000 vertices"):
            scene.add_mesh(vertices, bad_faces)
        with pytest.raises(ValueError, match="vertices\\[7\\] is not finite"):
            scene.add_mesh(bad_vertices, bad_faces)
    with pytest.raises(ValueError, match="vertices must have the shape"):
        scene.add_mesh(vertices[:, :2], bad_faces)
    assert len(scene) == 1
