"""Drawings: lines and areas as data and as files."""

import io
import xml.etree.ElementTree as ElementTree

import numpy as np
import pytest
from conftest import CUBE_FACES, CUBE_VERTICES

import selvarin
from selvarin import Camera, Style

FRONT = Camera.view("front", parallel=True)


@pytest.fixture(scope="module")
def drawing():
    scene = selvarin.Scene()
    scene.add_mesh(CUBE_VERTICES, CUBE_FACES, color="#ff0000", name="red cube")
    scene.add_mesh(CUBE_VERTICES + (2, 0, 0), CUBE_FACES, color="#00ff00", name="green & cube")
    return selvarin.draw(scene, (400, 200), FRONT)


def test_areas_and_strokes_are_arrays(drawing):
    assert (drawing.width, drawing.height) == (400, 200)
    side = 1.0 / drawing.units_per_pixel
    strokes = drawing.strokes()
    assert strokes and all(stroke.points.shape[1] == 2 and stroke.width > 0 for stroke in strokes)
    kinds = {"contour", "boundary", "crease", "edge", "material", "intersection", "line"}
    assert {stroke.kind for stroke in strokes} <= kinds and not any(stroke.hidden for stroke in strokes)
    contours = {stroke.object: stroke for stroke in strokes if stroke.kind == "contour"}
    assert set(contours) == {"red cube", "green & cube"}
    red, green = (contours[name].points for name in ("red cube", "green & cube"))
    assert np.allclose(np.ptp(red, axis=0), side, rtol=0.02)
    assert green[:, 0].min() - red[:, 0].min() == pytest.approx(2 * side, rel=0.02)
    space = contours["green & cube"].space
    assert np.allclose(space[:, [0, 2]].min(axis=0), (2, 0), atol=1e-3), "in the scene's own units"
    assert np.allclose(space[:, [0, 2]].max(axis=0), (3, 1), atol=1e-3)
    areas = drawing.areas()
    assert areas and all(area.opacity == 1.0 and area.rings[0].shape[1] == 2 for area in areas)
    assert {area.object for area in areas if area.color != "#ffffff"} == {"red cube", "green & cube"}
    reddish = [a for a in areas if int(a.color[1:3], 16) > int(a.color[3:5], 16)]
    rings = np.concatenate([ring for area in reddish for ring in area.rings])
    assert np.allclose([rings.min(axis=0), rings.max(axis=0)], [red.min(axis=0), red.max(axis=0)], atol=1.0)


def test_a_drawing_is_an_svg_for_notebooks(drawing):
    root = ElementTree.fromstring(drawing._repr_svg_())
    assert root.tag.endswith("svg")
    assert "green &amp; cube" in drawing.svg()


def test_drawings_stand_in_one_page_of_a_notebook(drawing):
    """nbconvert refuses a declaration, and a rule for a class holds for all drawings of the page."""
    inline = drawing._repr_svg_()
    assert inline.startswith('<svg id="selvarin-')
    name = ElementTree.fromstring(inline).get("id")
    rules = inline[inline.index("<style>\n") + 8:inline.index("</style>")].splitlines()
    assert len(rules) > 3 and all(rule.startswith(f"#{name} .") for rule in rules)
    assert inline.replace(f'id="{name}" ', "").replace(f"#{name} .", ".") == drawing.svg().split("?>\n")[1]
    other = selvarin.draw(selvarin.Scene(), (20, 20), camera=selvarin.Camera((0, 0, 1), (0, 0, 0)))
    assert name not in other._repr_svg_()


@pytest.mark.parametrize("ending, begin", [("svg", b"<?xml"), ("pdf", b"%PDF"), ("eps", b"%!PS-Adobe"), ("ps", b"%!PS"),
                                           ("ai", b"%PDF"), ("dxf", b"0\n"), ("hpgl", b""), ("plt", b"")])
def test_files(drawing, tmp_path, ending, begin):
    drawing.save(tmp_path / ("drawing." + ending))
    data = (tmp_path / ("drawing." + ending)).read_bytes()
    assert data.startswith(begin) and len(data) > 100
    stream = io.BytesIO()
    drawing.save(stream, ending)
    assert stream.getvalue() == data == drawing.encode(ending)


def test_sheets(drawing, tmp_path):
    svg = drawing.svg(page="A4", margin="20mm", scale="20:1", pens={"contour": "0.7mm"}, background=False)
    assert 'width="210mm"' in svg and 'height="297mm"' in svg
    for words, error in [({"page": "A99"}, ValueError), ({"scale": "0:1"}, ValueError), ({"margin": "wide"}, ValueError),
                         ({"pens": {"outline": "1mm"}}, ValueError), ({"paper": "A4"}, TypeError),
                         ({"page": "A4", "scale": "1000:1"}, ValueError), ({"hidden": "maybe"}, ValueError)]:
        with pytest.raises(error):
            drawing.save(tmp_path / "no.svg", **words)
    with pytest.raises(ValueError, match="is no ending of a drawing"):
        drawing.save(tmp_path / "drawing.png")
    assert not list(tmp_path.iterdir())


def test_what_is_wrong_with_the_call(cube):
    with pytest.raises(ValueError, match="areas"):
        selvarin.draw(cube, (40, 30), areas="all")
    with pytest.raises(ValueError, match="tolerance"):
        selvarin.draw(cube, (40, 30)).strokes(0)


def test_a_drawing_looks_like_its_picture(cube, tmp_path):
    """Areas of a drawing, painted, against the picture of the same scene without lines."""
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("agg")
    from matplotlib import pyplot
    camera = Camera.from_angles(25, -50)
    style = Style(add=[])
    picture = selvarin.render(cube, (300, 200), camera, style, antialias=0, background="#ffffff").pixels.astype(float)
    figure = pyplot.figure(figsize=(3, 2), dpi=100)
    axes = figure.add_axes((0, 0, 1, 1))
    axes.axis("off")
    selvarin.draw(cube, (300, 200), camera, style).plot(axes)
    figure.canvas.draw()
    painted = np.asarray(figure.canvas.buffer_rgba()).astype(float)
    pyplot.close(figure)
    assert np.mean(np.abs(painted[..., :3] - picture[..., :3])) < 4.0
    assert np.mean(np.any(painted[..., :3] != 255, axis=-1)) > 0.15


def test_a_drawing_does_not_change_with_its_scene(cube):
    drawing = selvarin.draw(cube, (60, 40))
    before = drawing.svg()
    cube["cube"].hide()
    selvarin.draw(cube, (60, 40))
    assert drawing.svg() == before
    assert not selvarin.draw(cube, (60, 40)).areas()


def test_a_drawing_is_cancelled():
    scene = selvarin.Scene()
    scene.add_demo()
    with pytest.raises(selvarin.Cancelled):
        selvarin.draw(scene, (640, 480), progress=lambda done, text: False)
    assert selvarin.draw(scene, (64, 48)).areas()


def test_shadows_are_areas(tmp_path):
    scene = selvarin.Scene(up="z")
    floor = np.array([(-4, -4, 0), (4, -4, 0), (4, 4, 0), (-4, 4, 0)], dtype=float)
    scene.add_mesh(floor, [(0, 1, 2), (0, 2, 3)], color="#c0c0c0", name="floor")
    scene.add_mesh(CUBE_VERTICES + (0, 0, 1.5), CUBE_FACES, color="#ff0000", name="cube")
    scene.add_light("directional", direction=(1, 0.5, -1))
    top = Camera.view("top", parallel=True)
    floors = {}
    for shadows in (False, True):
        drawing = selvarin.draw(scene, (200, 200), top, "Clean toon", shadows=shadows)
        floors[shadows] = {area.color for area in drawing.areas() if area.object == "floor"}
    assert len(floors[False]) == 1 and len(floors[True]) == 2 and floors[False] < floors[True]
    with pytest.raises(TypeError):
        selvarin.draw(scene, (40, 30), top, shadow_map=True)


@pytest.mark.parametrize("areas", ["regions", "faces", "triangles"])
def test_areas_of_every_kind_know_their_objects(areas):
    scene = selvarin.Scene()
    scene.add_mesh(CUBE_VERTICES, CUBE_FACES, color="#ff0000", name="left")
    scene.add_mesh(CUBE_VERTICES + (3, 0, 0), CUBE_FACES, color="#00ff00", name="right")
    drawing = selvarin.draw(scene, (200, 100), Camera.view("front", parallel=True), "Clean toon", areas=areas)
    seen = [area for area in drawing.areas() if area.object]
    assert {area.object for area in seen} == {"left", "right"}
    assert len(seen) >= {"regions": 2, "faces": 2, "triangles": 4}[areas]
    middle = {name: np.concatenate([r for a in seen if a.object == name for r in a.rings])[:, 0].mean()
              for name in ("left", "right")}
    assert middle["left"] < 100 < middle["right"]
