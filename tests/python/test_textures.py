"""Textures and colours at vertices, in pictures and drawings."""

import numpy as np
import pytest

import selvarin
from conftest import CUBE_FACES, CUBE_VERTICES

SQUARE = np.array([[-1.0, 0.0, -1.0], [1.0, 0.0, -1.0], [1.0, 0.0, 1.0], [-1.0, 0.0, 1.0]])
FACES = np.array([[0, 1, 2], [0, 2, 3]])
UV = np.array([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0], [0.0, 1.0]])
FRONT = selvarin.Camera.parallel((0.0, -5.0, 0.0), direction=(0.0, 1.0, 0.0), up=(0.0, 0.0, 1.0), height=2.0)

# Red and green above, blue and yellow below.
FOUR = np.array([[[230, 20, 20], [20, 230, 20]], [[20, 20, 230], [230, 230, 20]]], np.uint8)
QUARTERS = {(0.25, 0.25): "red", (0.75, 0.25): "green", (0.25, 0.75): "blue", (0.75, 0.75): "yellow"}


def name_of(color):
    red, green, blue = (int(c) > 100 for c in color[:3])
    return {(True, False, False): "red", (False, True, False): "green", (False, False, True): "blue",
            (True, True, False): "yellow"}.get((red, green, blue), str(tuple(color)))


def square(**arguments):
    scene = selvarin.Scene(up="z")
    scene.add_light("directional", direction=(0.0, 1.0, 0.0))
    scene.add_mesh(SQUARE, FACES, **arguments)
    return scene


def drawn(scene):
    return selvarin.render(scene, (80, 80), FRONT, antialias=0, background="#ffffff").pixels


def quarters(pixels):
    height, width = pixels.shape[:2]
    return {at: name_of(pixels[int(at[1] * height), int(at[0] * width)]) for at in QUARTERS}


@pytest.mark.parametrize("image", [FOUR, FOUR / 255.0, FOUR.astype(np.int64),
                                   np.concatenate([FOUR, np.full((2, 2, 1), 255, np.uint8)], axis=2)])
def test_a_texture_lies_upright_on_its_surface(image):
    assert quarters(drawn(square(uv=UV, texture=image))) == QUARTERS


def test_a_texture_may_be_a_file(tmp_path):
    selvarin.render(square(uv=UV, texture=FOUR), (64, 64), FRONT, antialias=0).save(tmp_path / "four.png")
    assert quarters(drawn(square(uv=UV, texture=tmp_path / "four.png"))) == QUARTERS


def test_places_may_be_given_by_corner():
    turned = drawn(square(uv=(1.0 - UV)[FACES], texture=FOUR))
    assert quarters(turned) == {at: QUARTERS[(1.0 - at[0], 1.0 - at[1])] for at in QUARTERS}


def test_what_goes_on_beyond_a_texture():
    repeated = quarters(drawn(square(uv=UV + (1.0, 2.0), texture=FOUR)))
    assert repeated == QUARTERS
    clamped = quarters(drawn(square(uv=UV + (1.0, 2.0), texture=selvarin.Texture(FOUR, "clamp"))))
    assert set(clamped.values()) == {"green"}


def test_what_is_cut_out_is_not_there():
    holes = np.concatenate([FOUR, np.full((2, 2, 1), 255, np.uint8)], axis=2)
    holes[0, 0, 3] = 0
    pixels = drawn(square(uv=UV, texture=selvarin.Texture(holes, "clamp", cut_out=0.5)))
    assert np.all(pixels[20, 20, :3] == 255) and name_of(pixels[20, 60]) == "green"
    assert name_of(drawn(square(uv=UV, texture=holes))[20, 20]) == "red", "alpha means nothing otherwise"


def test_colours_run_between_vertices():
    colors = np.array([[1.0, 0.0, 0.0], [0.0, 1.0, 0.0], [0.0, 1.0, 0.0], [1.0, 0.0, 0.0]])
    for given in (colors, colors[FACES]):
        row = drawn(square(vertex_colors=given))[40, 5:75].astype(int)
        assert np.all(np.diff(row[:, 0]) <= 0) and np.all(np.diff(row[:, 1]) >= 0)
        assert len(np.unique(row[:, 0])) > 20


def test_each_material_has_its_texture():
    scene = selvarin.Scene()
    scene.add_light("directional", direction=(0.0, 1.0, 0.0))
    red = np.full((1, 1, 3), (230, 20, 20), np.uint8)
    scene.add_mesh(SQUARE, FACES, uv=UV, face_materials=[0, 1],
                   materials=[selvarin.Material(texture=red), selvarin.Material("#1414e6")])
    pixels = drawn(scene)
    assert name_of(pixels[60, 60]) == "red" and name_of(pixels[20, 20]) == "blue"


def test_a_drawing_has_areas_along_a_texture():
    scene = square(uv=UV, texture=np.kron(FOUR, np.ones((8, 8, 1), np.uint8)), name="square")
    drawing = selvarin.draw(scene, (80, 80), FRONT)
    areas = {name_of(tuple(int(a.color[i:i + 2], 16) for i in (1, 3, 5))): a for a in drawing.areas()
             if a.object == "square"}
    assert set(areas) == set(QUARTERS.values())
    for (x, y), name in QUARTERS.items():
        ring = areas[name].rings[0]
        assert np.allclose(ring.mean(axis=0), (80 * x, 80 * (1 - y)), atol=6)
    mean = selvarin.draw(scene, (80, 80), FRONT, textures="mean")
    assert len([a for a in mean.areas() if a.object == "square"]) == 1
    pictures = selvarin.draw(scene, (80, 80), FRONT, textures="picture")
    assert b"<image" in pictures.encode("svg")
    assert b"<image" not in drawing.encode("svg")
    assert [area.color for area in pictures.areas()] == [area.color for area in mean.areas()]
    with pytest.raises(ValueError, match="textures"):
        selvarin.draw(scene, (80, 80), FRONT, textures="dots")


def test_a_moved_scene_keeps_its_texture():
    scene = square(uv=UV, texture=FOUR)
    first = drawn(scene)
    other = scene.add_mesh(CUBE_VERTICES + 40, CUBE_FACES)
    assert quarters(drawn(scene)) == QUARTERS
    other.remove()
    assert np.mean(drawn(scene) != first) < 0.01


def test_a_colour_takes_the_place_of_a_texture():
    scene = square(uv=UV, texture=FOUR)
    scene.objects[0].color = "#1414e6"
    assert set(quarters(drawn(scene)).values()) == {"blue"}
    drawn(scene)
    scene.objects[0].color = "#e61414"
    assert set(quarters(drawn(scene)).values()) == {"red"}


@pytest.mark.parametrize("arguments, error, text", [
    ({"texture": FOUR}, ValueError, "a texture wants uv"),
    ({"uv": UV}, ValueError, "uv wants a texture"),
    ({"uv": UV, "texture": FOUR, "color": "red"}, ValueError, "give one of"),
    ({"uv": UV[:3], "texture": FOUR}, ValueError, "uv has 3 rows, but there are 4 vertices"),
    ({"uv": UV[FACES][:1], "texture": FOUR}, ValueError, "uv has 3 rows, but there are 6 corners"),
    ({"uv": np.zeros((4, 3)), "texture": FOUR}, ValueError, "uv must have the shape (N, 2)"),
    ({"uv": [["a", "b"]] * 4, "texture": FOUR}, TypeError, "uv must be numbers"),
    ({"uv": np.full((4, 2), np.nan), "texture": FOUR}, ValueError, "uv[0] is not finite"),
    ({"uv": UV, "texture": FOUR[0]}, ValueError, "texture must have the shape (H, W, 3)"),
    ({"uv": UV, "texture": FOUR[:0]}, ValueError, "texture must have from 1 to"),
    ({"uv": UV, "texture": FOUR / 100.0}, ValueError, "texture must be from 0 to 1"),
    ({"uv": UV, "texture": FOUR.astype(int) * 2}, ValueError, "texture must be from 0 to 255"),
    ({"uv": UV, "texture": FOUR.astype(str)}, TypeError, "texture must be numbers"),
    ({"uv": UV, "texture": "nowhere.png"}, FileNotFoundError, "nowhere.png"),
    ({"uv": UV, "texture": __file__}, ValueError, "is no picture that can be read"),
    ({"vertex_colors": np.zeros((2, 2, 3))}, ValueError, "vertex_colors by corner must have the shape"),
    ({"vertex_colors": np.zeros((1, 3, 3))}, ValueError, "vertex_colors has 3 rows, but 6 are needed"),
])
def test_what_is_wrong_is_told(arguments, error, text):
    with pytest.raises(error) as caught:
        selvarin.Scene().add_mesh(SQUARE, FACES, **arguments)
    assert text in str(caught.value)


@pytest.mark.parametrize("arguments, text", [(("red", "mirrored"), "wrap"), ((FOUR, "clamp", 2.0), "cut_out")])
def test_a_texture_is_checked(arguments, text):
    with pytest.raises(ValueError, match=text):
        selvarin.Texture(*arguments)
