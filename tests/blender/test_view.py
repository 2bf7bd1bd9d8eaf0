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


def told(pace, *seconds):
    for each in seconds:
        pace.tell(each)
    return pace.part


def test_quick_pictures_get_coarser_until_they_are_in_time():
    from selvarin_render.viewport import Pace
    pace = Pace()
    assert told(pace, 0.9, 0.19, 0.3, 0.3, 0.1) == 1 / 2, "one in time of three is enough"
    assert told(pace, 0.21, 0.3, 0.21) == 1 / 3
    assert told(pace, 0.21, 0.3, 0.19, 0.19) == 1 / 3
    assert told(pace, 0.21, 0.21, 0.21) == 1 / 4
    assert told(pace, 0.1, 0.1, 0.12) == 1 / 4, "at a third they would take more than 0.2 s"
    assert told(pace, 0.1, 0.1, 0.1) == 1 / 3
    assert told(pace, 0.05, 0.05, 0.05) == 1 / 2
    assert told(pace, 0.01, 0.01, 0.01) == 1 / 2


def test_what_is_never_in_time_is_left_out():
    from selvarin_render.viewport import Pace
    pace = Pace()
    assert told(pace, *[0.3] * 8) == 1 / 4
    assert told(pace, 0.3) is None
    pace.rest()
    assert pace.part == 1 / 4, "that may have been other work"
    assert told(pace, *[0.3] * 3) is None
    pace.begin()
    assert told(pace, 3.0) == 1 / 4, "the first of a scene takes longer"
    assert told(pace, 0.81) is None
    pace.rest()
    assert pace.part is None
    pace.begin()
    assert pace.part == 1 / 4


def test_without_a_quick_look_the_view_waits_for_its_fine_picture(scene, view):
    from selvarin_render import viewport
    add_cube()
    view.draw()
    view.wait()
    view.draw()
    view.engine._viewer.stop()
    told(view.engine._viewer.pace, 9.0, 9.0)
    scene.camera.location.x = 0.5
    bpy.context.view_layer.update()
    del view.shown[:]
    view.draw()
    assert not view.shown, "what there is shows another view"
    assert view.engine.problems[-1] == viewport.TOO_SLOW
    view.wait()
    view.draw()
    assert [pixels.shape[:2] for pixels, _ in view.shown] == [SIZE[::-1]]
    assert view.engine._viewer.pace.part is None


def test_the_time_of_a_quick_picture_ends_where_the_view_shows_it(scene, view):
    add_cube()
    view.draw()
    view.wait()
    time.sleep(0.3)
    view.draw()
    view.draw()
    assert len(view.engine._viewer.pace._recent) == 1 and view.engine._viewer.pace._recent[0] > 0.3


def test_what_has_failed_is_not_drawn_again_and_again(scene, view, monkeypatch):
    from selvarin_render import library
    add_cube()
    calls = []

    def fail(*_words, **_settings):
        calls.append(1)
        raise RuntimeError("no memory")

    monkeypatch.setattr(library.selvarin, "render", fail)
    for _ in range(3):
        view.draw()
        view.wait()
    assert len(calls) == 1 and view.engine.problems[-1] == "no memory"
    scene.camera.location.x = 0.5
    bpy.context.view_layer.update()
    view.draw()
    view.wait()
    assert len(calls) == 2


def test_the_main_thread_never_waits_for_a_render(scene, view, monkeypatch):
    """F12 draws in another thread for as long as it takes; a view and panels that waited for it would not hear of Esc."""
    from selvarin_render import library, looks
    from selvarin_render.threads import in_thread
    add_cube((0.0, 0.0, 0.0))
    view.draw()
    view.wait()
    may_end, has_begun = threading.Event(), threading.Event()
    f12 = threading.Thread(target=in_thread, args=(lambda _: has_begun.set() or may_end.wait(20.0), lambda *_: True))
    f12.start()
    try:
        assert has_begun.wait(20.0)
        monkeypatch.setattr(library.selvarin, "shaders", lambda: pytest.fail("this waits while the library draws"))
        assert looks.shaders_of(scene.selvarin.look), "panels ask for these"
        view.change()
        redraws = len(view.redraws)
        begin = time.monotonic()
        view.draw()
        assert time.monotonic() - begin < 5.0 and not view.engine._viewer.is_busy()
        assert view.engine._subject is None and len(view.redraws) == redraws
    finally:
        may_end.set()
        f12.join()
    assert len(view.redraws) == redraws + 1, "the view is drawn once the library is free"
    view.draw()
    assert view.engine._subject is not None
    view.wait()


def test_what_waits_for_a_render_can_be_stopped(scene, view):
    from selvarin_render.threads import drawing, in_thread
    add_cube((0.0, 0.0, 0.0))
    for _ in range(3):
        view.draw()
        view.wait()
    with drawing():
        scene.camera.location.x = 1.0
        view.draw()
        assert view.engine._viewer.is_busy()
        view.engine._viewer.stop()
        assert not view.engine._viewer.is_busy()
        from selvarin_render import library
        with pytest.raises(library.selvarin.Cancelled):
            in_thread(lambda _: pytest.fail("it never got the library"), lambda *_: False)
