"""Pictures: known pixels, the same as the command line's, and what can be said of them."""

import io
import subprocess
import warnings

import numpy as np
import pytest
from conftest import CUBE_FACES, CUBE_VERTICES, covered

import selvarin
from selvarin import Camera, Style

FRONT = Camera.view("front", parallel=True)


def test_a_picture_is_the_librarys_memory(cube, small):
    picture = selvarin.render(cube, **small)
    assert picture.pixels.shape == (60, 80, 4) and picture.pixels.dtype == np.uint8
    assert picture.shape == (60, 80, 4) and (picture.width, picture.height) == (80, 60)
    assert picture.pixels.flags.c_contiguous and not picture.pixels.flags.owndata
    assert not picture.pixels.flags.writeable
    assert np.shares_memory(np.asarray(picture), picture.pixels)
    assert np.array(picture, dtype=float).dtype == float
    pixels = picture.pixels
    copy = pixels.copy()
    del picture
    selvarin.render(cube, **small)
    assert np.array_equal(pixels, copy), "it lives as long as anybody looks at it"


def test_known_pixels():
    """A red square to the left above, seen from the front, over a background of its own."""
    scene = selvarin.Scene()
    scene.add_mesh([[-1, 0, 0], [0, 0, 0], [0, 0, 1], [-1, 0, 1]], [[0, 1, 2, 3]], color="#ff0000")
    frame = scene.add_lines([[-1, 0, -1], [1, 0, 1]])
    camera = Camera.parallel(direction=(0, 1, 0), target=(0, 0, 0), height=2.0)
    frame.hide()
    picture = selvarin.render(scene, (40, 40), camera, Style(add=[]), antialias=0, background="#204060")
    pixels = picture.pixels
    assert np.all(pixels[..., 3] == 255)
    assert np.all(pixels[:, 20:] == (0x20, 0x40, 0x60, 255)) and np.all(pixels[20:] == (0x20, 0x40, 0x60, 255))
    left_above = pixels[:20, :20].reshape(-1, 4)
    assert np.all(left_above[:, 0] > 90) and np.all(left_above[:, 1:3] == left_above[0, 1:3])
    assert np.all(left_above == left_above[0]), "one flat colour"


def test_the_built_in_scene_is_that_of_the_command_line(program, tmp_path):
    options = ["-s", "200x150", "-a", "1", "--shadows", "-q"]
    subprocess.run([program, "render", "--demo", "-o", tmp_path / "cli.png", *options], check=True)
    scene = selvarin.Scene()
    scene.add_demo()
    picture = selvarin.render(scene, (200, 150), antialias=1, shadows=True)
    picture.save(tmp_path / "python.png")
    assert (tmp_path / "cli.png").read_bytes() == (tmp_path / "python.png").read_bytes()
    assert 0.2 < np.mean(np.any(picture.pixels[..., :3] != picture.pixels[0, 0, :3], axis=-1)) < 0.8


def write_obj(path):
    with open(path, "w") as file:
        for x, y, z in CUBE_VERTICES:
            file.write(f"v {x} {y} {z}\n")
        for face in CUBE_FACES:
            file.write("f " + " ".join(str(i + 1) for i in face) + "\n")


@pytest.mark.parametrize("style", ["Comic", "Pencil", "Watercolour"])
def test_a_file_and_its_arrays_give_the_picture_of_the_command_line(program, tmp_path, style):
    write_obj(tmp_path / "cube.obj")
    subprocess.run([program, "render", tmp_path / "cube.obj", "-o", tmp_path / "cli.png", "-s", "120x90", "-a", "0", "-q",
                    "--style", style], check=True)
    loaded = selvarin.Scene()
    loaded.load(tmp_path / "cube.obj")
    selvarin.render(loaded, (120, 90), style=style, antialias=0).save(tmp_path / "loaded.png")
    assert (tmp_path / "cli.png").read_bytes() == (tmp_path / "loaded.png").read_bytes()
    arrays = selvarin.Scene(up="y")
    arrays.add_mesh(CUBE_VERTICES, CUBE_FACES)
    selvarin.render(arrays, (120, 90), style=style, antialias=0).save(tmp_path / "arrays.png")
    assert (tmp_path / "cli.png").read_bytes() == (tmp_path / "arrays.png").read_bytes()


def test_foreign_files_are_read_by_the_reader(tmp_path):
    corners = "vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
    stl = f"solid one\nfacet normal 0 0 1\nouter loop\n{corners}endloop\nendfacet\nendsolid one\n"
    (tmp_path / "one.stl").write_text(stl)
    scene = selvarin.Scene()
    objects = scene.load(tmp_path / "one.stl")
    assert [each.num_triangles for each in objects] == [1]


def test_files_that_can_not_be_used(tmp_path):
    scene = selvarin.Scene()
    with pytest.raises(FileNotFoundError):
        scene.load(tmp_path / "nothing.obj")
    (tmp_path / "broken.obj").write_text("f 1 2 3\n")
    with pytest.raises(selvarin.ModelError, match="broken.obj"):
        scene.load(tmp_path / "broken.obj")
    with pytest.raises(selvarin.ModelError, match="files that end in .txt can't be read"):
        (tmp_path / "text.txt").write_text("x")
        scene.load(tmp_path / "text.txt")
    assert len(scene) == 0
    assert "obj" in selvarin.formats()


def test_depth_and_shadow(cube):
    picture = selvarin.render(cube, (80, 60), antialias=0, shadows=True, depth=True, shadow_map=True,
                              background="#ffffff")
    assert picture.depth.shape == picture.shadow.shape == (60, 80)
    outside = np.all(picture.pixels[..., :3] == 255, axis=-1)
    inside = picture.depth < 255
    assert np.mean(outside == ~inside) > 0.9, "but for the lines around it"
    assert picture.shadow[0, 0] == 255 and 0 in picture.shadow[inside]
    assert selvarin.render(cube, (8, 6), antialias=0).depth is None
    with pytest.raises(ValueError, match="shadows=True"):
        selvarin.render(cube, (8, 6), shadow_map=True)


def test_a_see_through_background(cube, small):
    small["background"] = None
    clear = selvarin.render(cube, **{**small, "antialias": 2}).pixels.astype(float)
    opaque = selvarin.render(cube, **{**small, "antialias": 2, "background": "#3060c0"}).pixels.astype(float)
    assert clear[0, 0, 3] == 0 and clear[30, 40, 3] == 255
    alpha = clear[..., 3:] / 255.0
    over = clear[..., :3] * alpha + np.array([0x30, 0x60, 0xC0]) * (1.0 - alpha)
    assert np.mean(np.abs(over - opaque[..., :3])) < 0.5
    assert np.max(np.abs(over - opaque[..., :3])) < 12
    picture = selvarin.render(cube, **small)
    assert picture._repr_png_()[25] == 6, "a PNG with opacity"
    assert picture.encode("bmp")[:2] == b"BM"


def test_pictures_are_written_as_a_whole(cube, small, tmp_path):
    picture = selvarin.render(cube, **small)
    assert picture._repr_png_().startswith(b"\x89PNG")
    for ending, begin in {"png": b"\x89PNG", "jpg": b"\xff\xd8", "bmp": b"BM", "gif": b"GIF8", "tif": b"II*"}.items():
        picture.save(tmp_path / ("a." + ending))
        assert (tmp_path / ("a." + ending)).read_bytes().startswith(begin)
    stream = io.BytesIO()
    picture.save(stream)
    assert stream.getvalue() == picture._repr_png_() == (tmp_path / "a.png").read_bytes()
    with pytest.raises(ValueError, match="is no ending of a picture"):
        picture.save(tmp_path / "a.xyz")
    (tmp_path / "folder.png").mkdir()
    with pytest.raises(OSError):
        picture.save(tmp_path / "folder.png")
    with pytest.raises(FileNotFoundError) as missing:
        picture.save(tmp_path / "missing" / "a.png")
    assert missing.value.filename == str(tmp_path / "missing" / "a.png"), "not that of the part"
    assert sorted(p.name for p in tmp_path.iterdir()) == ["a.bmp", "a.gif", "a.jpg", "a.png", "a.tif", "folder.png"]


def test_matplotlib_shows_a_picture(cube, small, tmp_path):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("agg")
    from matplotlib import pyplot
    figure = pyplot.figure()
    pyplot.imshow(selvarin.render(cube, **small))
    figure.savefig(tmp_path / "figure.png")
    pyplot.close(figure)
    assert (tmp_path / "figure.png").stat().st_size > 1000


# --- objects ---

def test_objects_hide_and_change(cube, small):
    both = covered(selvarin.render(cube, camera=FRONT, **small))
    assert both > 0.1
    first = selvarin.render(cube, **small).pixels
    cube["cube"].color = "#0000ff"
    blue = selvarin.render(cube, **small).pixels
    assert np.any(first != blue) and np.sum(blue[..., 2].astype(int) - blue[..., 0]) > 1000
    cube["cube"].hide()
    assert covered(selvarin.render(cube, **small)) == 0.0
    cube["cube"].show()
    cube["cube"].color = "#ff0000"
    assert np.array_equal(selvarin.render(cube, **small).pixels, first)
    cube["cube"].name = "box"
    assert cube.find("b*") == [cube["box"]] and cube["box"].kind == "mesh"
    with pytest.raises(KeyError):
        cube["cube"]
    cube["box"].remove()
    assert len(cube) == 0
    assert covered(selvarin.render(cube, **small)) == 0.0


def test_an_object_has_a_style_of_its_own(cube, small):
    other = cube.add_mesh(CUBE_VERTICES + (1.5, 0.0, 0.0), CUBE_FACES, color="#ff0000")
    plain = selvarin.render(cube, camera=FRONT, **small).pixels
    other.style = Style(base="none", add="Outline")
    styled = selvarin.render(cube, camera=FRONT, **small).pixels
    assert np.array_equal(plain[:, :36], styled[:, :36]), "the other one stays as it was"
    assert np.any(plain[:, 44:] != styled[:, 44:])
    red = (plain[..., 0].astype(int) - plain[..., 1] > 60, styled[..., 0].astype(int) - styled[..., 1] > 60)
    assert np.any(red[0][:, 44:]) and not np.any(red[1][:, 44:])
    other.style = None
    assert np.array_equal(selvarin.render(cube, camera=FRONT, **small).pixels, plain)


def test_opacity_lets_through(cube, small):
    opaque = selvarin.render(cube, **small).pixels.astype(int)
    cube["cube"].opacity = 0.3
    clear = selvarin.render(cube, **small).pixels.astype(int)
    assert clear[30, 40, 1] > opaque[30, 40, 1] + 60
    assert np.array_equal(selvarin.render(cube, transparency=False, **small).pixels, opaque)


def test_faces_have_materials(small):
    red, glass = selvarin.Material("#ff0000", gloss=1.0), selvarin.Material((0, 1, 0), opacity=0.4)
    scene = selvarin.Scene()
    both = scene.add_mesh(CUBE_VERTICES, CUBE_FACES, materials=[red, glass], face_materials=[0, 0, 1, 0, 0, 0])
    assert both.opacity == 0.4
    pixels = selvarin.render(scene, camera=FRONT, **small).pixels[20:40, 30:50, :3].astype(int)
    assert np.all(pixels[..., 1] > pixels[..., 2]) and np.all(pixels[..., 1] - pixels[..., 0] < 150), "seen through"
    scene = selvarin.Scene()
    scene.add_mesh(CUBE_VERTICES, CUBE_FACES, materials=[red])
    scene.add_light("directional", direction=(0, 1, 0))
    shining = selvarin.render(scene, camera=FRONT, **small).pixels
    scene = selvarin.Scene()
    scene.add_mesh(CUBE_VERTICES, CUBE_FACES, color="#ff0000")
    scene.add_light("directional", direction=(0, 1, 0))
    dull = selvarin.render(scene, camera=FRONT, **small).pixels
    assert shining[30, 40, 1] > dull[30, 40, 1] + 30


def test_distances_are_those_of_the_scene(cube, small):
    for camera in (Camera.view("front", parallel=True), Camera.look_at((0.5, -3, 0.5), (0.5, 0, 0.5))):
        picture = selvarin.render(cube, camera=camera, depth=True, **small)
        assert picture.distances.shape == (60, 80) and np.isinf(picture.distances[0, 0])
    assert picture.distances[30, 40] == pytest.approx(3.0, abs=0.02)
    assert selvarin.render(cube, **small).distances is None


def test_normals_go_with_the_transform_and_stand_at_corners(small):
    normals = CUBE_VERTICES - 0.5
    turn = np.array([[0, -1, 0, 0], [1, 0, 0, 0], [0, 0, 3, 0], [0, 0, 0, 1.0]])

    def drawn(normals, transform=None):
        scene = selvarin.Scene()
        vertices = CUBE_VERTICES if transform is not None else CUBE_VERTICES @ turn[:3, :3].T
        scene.add_mesh(vertices, triangles, color="red", normals=normals, transform=transform)
        return selvarin.render(scene, **small).pixels

    triangles = CUBE_FACES[:, [[0, 1, 2], [0, 2, 3]]].reshape(-1, 3)
    expected = drawn(normals @ np.linalg.inv(turn[:3, :3]))
    assert np.array_equal(drawn(normals, turn), expected)
    assert np.mean(drawn(normals) != expected) > 0.02
    assert np.array_equal(drawn(normals[triangles], turn), expected)
    with pytest.raises(ValueError, match="normals by corner"):
        drawn(np.zeros((12, 2, 3)))
    with pytest.raises(ValueError, match="but there are 36 corners"):
        drawn(np.zeros((11, 3, 3)))


@pytest.mark.parametrize("arguments, text", [
    ({"materials": []}, "materials is empty"),
    ({"materials": [selvarin.Material()] * 2}, "several materials want face_materials"),
    ({"materials": [selvarin.Material()], "color": "red"}, "give one of"),
    ({"materials": [selvarin.Material(gloss=2)]}, "gloss: a number from 0 to 1"),
    ({"materials": [selvarin.Material()], "face_materials": [0, 0, 1, 0, 0, 0]}, "face_materials[2] is 1"),
    ({"materials": [selvarin.Material()], "face_materials": [0]}, "1 materials for 6 faces"),
])
def test_materials_are_checked(arguments, text):
    with pytest.raises(ValueError) as caught:
        selvarin.Scene().add_mesh(CUBE_VERTICES, CUBE_FACES, **arguments)
    assert text in str(caught.value)


def test_many_colours_get_one_outline(small):
    """Colours by vertex make many meshes; their borders are no lines."""
    n = 24
    x, y = np.meshgrid(np.linspace(-1, 1, n), np.linspace(-1, 1, n))
    vertices = np.stack([x, y, 0.2 * np.cos(3 * x)], axis=-1).reshape(-1, 3)
    i = np.arange(n * n).reshape(n, n)
    faces = np.stack([i[:-1, :-1], i[:-1, 1:], i[1:, 1:], i[1:, :-1]], axis=-1).reshape(-1, 4)
    level = (x.ravel() + 1) / 2

    def dark(**colors):
        scene = selvarin.Scene()
        scene.add_mesh(vertices, faces, **colors)
        pixels = selvarin.render(scene, **{**small, "size": (160, 120)}).pixels
        return np.all(pixels[..., :3] < 60, axis=-1)

    one = dark(color="#ffff80")
    many = dark(vertex_colors=np.stack([np.ones(n * n), level, np.full(n * n, 0.5)], axis=1))
    assert np.mean(one) > 0.005
    assert np.mean(one != many) < 0.002


def test_the_place_of_a_scene_does_not_matter(small):
    """Far from the origin, very small and very large scenes look the same."""
    def drawn(scale, move):
        scene = selvarin.Scene()
        scene.add_mesh(CUBE_VERTICES * scale + move, CUBE_FACES, color="#ff0000")
        return selvarin.render(scene, **small).pixels

    first = drawn(1.0, 0.0)
    for scale, move in [(1e-6, 0.0), (1e9, 0.0), (1.0, 1e6)]:
        assert np.mean(drawn(scale, move) != first) < 0.01, (scale, move)


def test_what_is_added_later_does_not_change_what_was_there(cube, small):
    alone = selvarin.render(cube, camera=FRONT, **small).pixels
    other = cube.add_mesh(CUBE_VERTICES * 40 + 3, CUBE_FACES)
    selvarin.render(cube, **small)
    other.hide()
    hidden = selvarin.render(cube, camera=FRONT, **small).pixels
    assert np.mean(hidden != alone) < 0.01
    other.remove()
    assert np.mean(selvarin.render(cube, camera=FRONT, **small).pixels != alone) < 0.01


# --- cameras and lights ---

def test_standard_views_show_their_sides(small):
    colors = {"front": (1, 0, 0), "right": (0, 1, 0), "top": (0, 0, 1)}
    faces = {"front": [0, 4, 5, 1], "right": [4, 6, 7, 5], "top": [1, 5, 7, 3]}
    for up, turned in (("z", CUBE_VERTICES), ("y", CUBE_VERTICES[:, [0, 2, 1]] * (1, 1, -1))):
        scene = selvarin.Scene(up=up)
        for name, color in colors.items():
            scene.add_mesh(turned, [faces[name]], color=color)
        for name, color in colors.items():
            pixels = selvarin.render(scene, camera=Camera.view(name, parallel=True), **small).pixels
            assert np.argmax(pixels[30, 40, :3]) == np.argmax(color), (up, name)


def test_a_framed_camera_shows_everything(cube, small):
    camera = Camera.look_at((5, -9, 4), (0, 0, 0), fov=25)
    framed = camera.frame(cube, (80, 60))
    assert framed.eye != camera.eye and framed.fov == 25
    alpha = selvarin.render(cube, camera=framed, **{**small, "background": None}).pixels[..., 3]
    rows, columns = np.nonzero(alpha)
    assert rows.min() > 0 and columns.min() > 0 and rows.max() < 59 and columns.max() < 79
    assert max((rows.max() - rows.min()) / 60, (columns.max() - columns.min()) / 80) > 0.8
    resolved = Camera().resolved(cube, (80, 60))
    first = selvarin.render(cube, **small).pixels
    assert np.mean(selvarin.render(cube, camera=resolved, **small).pixels != first) < 0.01
    flat = Camera.parallel(height=0).resolved(cube)
    assert flat.fov is None and 1.0 < flat.height < 3.0


@pytest.mark.parametrize("camera", [Camera.look_at((3, -4, 2), (0.5, 0.5, 0.5), fov=30), FRONT])
def test_a_window_shows_a_part_of_the_view_and_shifts_the_lens(cube, small, camera):
    whole = selvarin.render(cube, camera=camera, **{**small, "size": (160, 120)}).pixels
    detail = selvarin.render(cube, camera=camera.cropped(0.25, 0.5, 0.75, 1.0), **small).pixels
    assert covered(selvarin.render(cube, camera=camera, **small)) > 0.05
    assert np.mean(detail != whole[:60, 40:120]) < 0.02
    shifted = selvarin.render(cube, camera=camera.cropped(0.25, 0.0, 1.25, 1.0), **{**small, "size": (160, 120)}).pixels
    assert np.mean(shifted[:, :120] != whole[:, 40:]) < 0.02
    assert np.mean(whole[:, :120] != whole[:, 40:]) > 0.05
    assert camera.cropped(0.5, 0, 1, 1).cropped(0.5, 0, 1, 1).window == (0.75, 0, 1, 1)


@pytest.mark.parametrize("make", [
    lambda: Camera(window=(0, 0, 0, 1)), lambda: Camera(window=(0, 0, 1)), lambda: FRONT.cropped(0, 0, np.nan, 1),
    lambda: Camera.look_at((0, 0, 0), (0, 0, 0)), lambda: Camera.look_at((0, 0), (0, 0, 1)),
    lambda: Camera.perspective(fov=0), lambda: Camera.perspective(fov=180), lambda: Camera.parallel(height=-1),
    lambda: Camera.perspective(up=(0, 0, 0)), lambda: Camera.view("above"), lambda: Camera.from_angles(np.nan, 0),
    lambda: Camera.perspective((0, np.inf, 0)),
])
def test_cameras_are_checked(make):
    with pytest.raises(ValueError):
        make()


def test_a_camera_that_sees_nothing_is_told(cube, small):
    with pytest.warns(selvarin.SelvarinWarning, match="the camera sees nothing"):
        picture = selvarin.render(cube, camera=Camera.look_at((0, -5, 0), (0, -9, 0)), **small)
    assert covered(picture) == 0.0


def test_lights_count(cube, small):
    first = selvarin.render(cube, **small).pixels.astype(int)
    cube.add_light("point", position=(0.5, 0.5, 5.0), color="#00ff00")
    second = selvarin.render(cube, **small).pixels.astype(int)
    assert np.any(first != second)
    cube.remove_lights()
    assert np.array_equal(selvarin.render(cube, **small).pixels, first)
    cube.add_light("directional", direction=(0, 1, 0))
    cube.add_light("spot", position=(0, -3, 0), direction=(0, 1, 0), angle=20)
    for wrong in [{"kind": "sun"}, {"kind": "point"}, {"kind": "spot", "direction": (0, 0, 1)}, {},
                  {"direction": (0, 0, 0)}, {"kind": "spot", "direction": (0, 0, 1), "position": (0, 0, 0), "angle": 0}]:
        with pytest.raises(ValueError):
            cube.add_light(**wrong)


# --- styles ---

def test_styles_and_shaders_are_listed():
    names = {style.name: style for style in selvarin.styles()}
    assert {"Comic", "Pencil", "Technical"} <= set(names)
    assert names["Comic"].path.endswith("Comic.kiv")
    shaders = {shader.tag: shader for shader in selvarin.shaders()}
    assert shaders["Cartoon"].is_base and not shaders["Outline"].is_base
    bands = shaders["Cartoon"].setting("bands")
    assert bands.kind == "int" and bands.minimum <= bands.default <= bands.maximum and bands.text
    assert "watercolour" in selvarin.papers()


@pytest.mark.parametrize("make, text", [
    (lambda: Style("Comik"), "unknown style Comik; did you mean Comic?"),
    (lambda: Style("a/b"), "is neither a style's name nor a file"),
    (lambda: Style(settings={"Cartoon.Band": 2}), "Cartoon has no setting Band; did you mean Bands?"),
    (lambda: Style(settings={"Cartoon.Bands": 99}), "\"99\" is no value for it"),
    (lambda: Style(settings={"Kartoon.Bands": 2}), "unknown shader Kartoon; did you mean Cartoon?"),
    (lambda: Style(settings={"Bands": 2}), "Shader.Key"),
    (lambda: Style(base="Outline"), "Outline adds to a picture: give it as add"),
    (lambda: Style(add="Cartoon"), "Cartoon paints the surfaces itself: give it as base"),
    (lambda: Style(add="Blurr"), "unknown shader Blurr"),
])
def test_styles_are_checked(make, text):
    with pytest.raises(ValueError) as caught:
        make()
    assert text in str(caught.value)
    assert "--" not in str(caught.value), "those are the words of the command line"


def test_settings_change_the_picture_and_bad_ones_change_nothing(cube, small):
    style = Style("Comic")
    first = selvarin.render(cube, style=style, **small).pixels
    style["Outline.Colour"] = (1.0, 0.0, 1.0)
    assert style["Outline.Colour"] == "#ff00ff"
    second = selvarin.render(cube, style=style, **small).pixels
    assert np.any(first != second)
    with pytest.raises(ValueError):
        style["Outline.Colour"] = "nonsense"
    assert np.array_equal(selvarin.render(cube, style=style, **small).pixels, second)
    assert np.array_equal(selvarin.render(cube, style="Comic", **small).pixels, first)


@pytest.mark.parametrize("style", [Style("Comic"), Style(), Style("Pencil", {"Sketch.Wobble": 3}), Style(base="none")])
def test_a_resolved_style_is_the_same_look_without_its_style(cube, small, style):
    resolved = style.resolved()
    assert resolved.name == "" and resolved.base is not None
    covering = {shader.tag for shader in selvarin.shaders() if shader.covers_background}
    assert covering == {"Backdrop"}
    shaders = {shader.tag: shader for shader in selvarin.shaders()}
    used = resolved.add + ([] if resolved.base == "none" else [resolved.base])
    assert set(resolved) == {f"{tag}.{setting.key}" for tag in used for setting in shaders[tag].settings}
    for key in style:
        assert float(resolved[key]) == float(style[key])
    assert np.array_equal(selvarin.render(cube, style=resolved, **small).pixels,
                          selvarin.render(cube, style=style, **small).pixels)


def test_a_style_file_that_is_none(tmp_path, cube, small):
    (tmp_path / "none.kiv").write_text("nothing")
    with pytest.raises(RuntimeError, match="none.kiv"):
        Style(tmp_path / "none.kiv")
    with pytest.raises(RuntimeError, match="there is no such file"):
        selvarin.render(cube, style=tmp_path / "missing.kiv", **small)


# --- the call itself ---

@pytest.mark.parametrize("options, error", [
    ({"size": (0, 10)}, ValueError), ({"size": (10, -1)}, ValueError), ({"size": (10.5, 10)}, ValueError),
    ({"size": 10}, TypeError), ({"size": ("a", "b")}, TypeError), ({"antialias": 3}, ValueError),
    ({"background": "nothing"}, ValueError), ({"ambient": (1, 2, 3)}, ValueError),
    ({"background_image": "missing.png"}, selvarin.RenderError), ({"paper": "silk"}, RuntimeError),
    ({"size": (20000, 10), "antialias": 0}, selvarin.RenderError),
])
def test_the_call_is_checked(cube, options, error):
    with pytest.raises(error):
        selvarin.render(cube, **{"size": (8, 6), **options})


def test_a_mesh_or_a_file_will_do(tmp_path, small):
    write_obj(tmp_path / "cube.obj")
    assert covered(selvarin.render(tmp_path / "cube.obj", **small)) > 0.05
    with pytest.raises(TypeError, match="is no mesh"):
        selvarin.render(5, **small)


def test_no_word_is_said_about_a_good_picture(cube, small, capfd):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        selvarin.render(cube, **small)
    assert capfd.readouterr() == ("", "")
