"""The view in Rendered shading, as far as it needs no window: its thread, and what it is asked for."""

import threading
import time
from types import SimpleNamespace

import bpy
import numpy as np
import pytest
from conftest import SIZE, add_cube, reddish


class View:
    """Stands in for a view of Blender's window, which looks through the scene's camera."""

    def __init__(self, scene):
        self.scene = scene
        self.depsgraph = bpy.context.evaluated_depsgraph_get()
        self.engine = SimpleNamespace(tag_redraw=lambda: self.redraws.append(1), problems=[])
        self.engine.update_stats = lambda _, text: self.engine.problems.append(text)
        self.redraws = []

    def context(self):
        camera = self.scene.camera
        self.depsgraph.update()
        return SimpleNamespace(region=SimpleNamespace(width=SIZE[0], height=SIZE[1]), region_data=SimpleNamespace(
            view_matrix=camera.matrix_world.inverted(),
            window_matrix=camera.calc_matrix_camera(self.depsgraph, x=SIZE[0], y=SIZE[1])))

    def draw(self):
        from selvarin_render.engine import SelvarinEngine
        SelvarinEngine.view_draw(self.engine, self.context(), self.depsgraph)

    def change(self):
        from selvarin_render.engine import SelvarinEngine
        SelvarinEngine.view_update(self.engine, None, self.depsgraph)

    def wait(self):
        end = time.monotonic() + 20.0
        while self.engine._viewer.is_busy():
            assert time.monotonic() < end
            time.sleep(0.005)


@pytest.fixture
def view(scene, monkeypatch):
    from selvarin_render import engine
    shown = []
    monkeypatch.setattr(engine, "show", lambda pixels, size: shown.append((pixels, size)))
    new = View(scene)
    new.shown = shown
    yield new
    if getattr(new.engine, "_viewer", None) is not None:
        new.engine._viewer.stop()


def test_a_quick_picture_comes_first_and_then_that_of_f12(scene, view, render, monkeypatch):
    from selvarin_render import library
    add_cube((0.5, 0.0, 0.2))
    scene.selvarin.antialias = "1"
    scene.selvarin.shadows = True
    expected = render()
    may_begin = threading.Event()
    at_once = library.selvarin.render
    monkeypatch.setattr(library.selvarin, "render",
                        lambda *words, **settings: may_begin.wait(20.0) and at_once(*words, **settings))
    view.draw()
    assert not view.shown, "nothing is there yet, and nobody waits for it"
    may_begin.set()
    view.wait()
    view.draw()
    quick, size = view.shown[-1]
    assert quick.shape == (SIZE[1] // 2, SIZE[0] // 2, 4) and size == SIZE
    assert np.mean(reddish(quick.astype(int)) != reddish(expected)[::2, ::2]) < 0.05
    view.wait()
    view.draw()
    assert np.array_equal(view.shown[-1][0], expected)
    assert len(view.redraws) == 2
    view.draw()
    assert not view.engine._viewer.is_busy(), "nothing is missing"


def test_it_follows_the_camera_and_the_scene(scene, view):
    cube = add_cube((1.0, 0.0, 0.0))
    for _ in range(3):
        view.draw()
        view.engine._viewer.is_busy() and view.wait()
    assert np.any(reddish(view.shown[-1][0].astype(int))[:, 90:])
    scene.camera.location.x = 2.0
    for _ in range(2):
        view.draw()
        view.wait()
    view.draw()
    pixels = view.shown[-1][0].astype(int)
    assert np.any(reddish(pixels)[:, :75]) and not np.any(reddish(pixels)[:, 85:])
    cube.location.x = 3.0
    view.change()
    for _ in range(3):
        view.draw()
        view.wait()
    pixels = view.shown[-1][0].astype(int)
    assert np.any(reddish(pixels)[:, pixels.shape[1] // 2 + 10:])


def test_a_fine_picture_gives_way_and_a_quick_one_does_not(scene, view):
    from selvarin_render import viewport
    viewer = viewport.Viewer(lambda: None)
    viewer._is_fine = True
    viewer.give_way()
    assert viewer._stops
    viewer._is_fine, viewer._stops = False, False
    viewer.give_way()
    assert not viewer._stops


def test_a_stopped_one_ends_and_leaves_no_picture(scene, view):
    from selvarin_render import viewport
    from selvarin_render.engine import subject_of, view_in
    add_cube()
    scene.selvarin.shadows = True
    subject = subject_of(view.depsgraph)
    viewer = viewport.Viewer(lambda: None)
    viewer.ask(subject, viewport.View((8000, 6000), view_in(view.context().region_data)))
    viewer.stop()
    assert not viewer.is_busy() and viewer.shown is None and viewer.problem == ""


def test_what_goes_wrong_is_told_once(scene, view):
    add_cube()
    context = view.context()
    context.region.width = 40000
    view.context = lambda: context
    view.draw()
    view.wait()
    view.draw()
    assert "can't draw the scene" in view.engine.problems[-1]


def test_a_view_that_was_closed_stops_its_picture(scene, view, monkeypatch):
    from selvarin_render import viewport
    from selvarin_render.engine import subject_of, view_in

    def closed():
        raise ReferenceError("StructRNA of type SelvarinEngine has been removed")

    viewer = viewport.Viewer(closed)
    viewer.ask(subject_of(view.depsgraph), viewport.View((8000, 6000), view_in(view.context().region_data)))

    escaped = []
    monkeypatch.setattr(threading, "excepthook", lambda given: escaped.append(given.exc_value))
    viewer.stop()
    assert not viewer.is_busy() and viewer.shown is None and not escaped
