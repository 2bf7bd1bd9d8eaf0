"""Progress, cancels, threads, forks, memory, and the program behind ``python -m``."""

import _thread
import gc
import os
import subprocess
import sys
import threading
import time
import weakref

import numpy as np
import pytest
from conftest import CUBE_FACES, CUBE_VERTICES

import selvarin


@pytest.fixture(scope="module")
def large():
    """A scene that takes some seconds at full size."""
    scene = selvarin.Scene()
    scene.add_demo()
    selvarin.render(scene, (16, 12), antialias=0)
    return scene


BIG = {"size": (1600, 1200), "antialias": 2, "shadows": True}


def test_progress_grows_and_has_words(large):
    calls = []
    selvarin.render(large, (640, 480), antialias=1, progress=lambda done, text: calls.append((done, text)))
    assert len(calls) >= 2
    assert all(0.0 <= done <= 1.0 for done, _ in calls) and any(text for _, text in calls)
    assert [done for done, _ in calls] == sorted(done for done, _ in calls)


def test_false_cancels(large, small):
    start = time.monotonic()
    with pytest.raises(selvarin.Cancelled):
        selvarin.render(large, progress=lambda done, text: False, **BIG)
    selvarin.render(large, **small)
    assert issubclass(selvarin.Cancelled, selvarin.Error)
    assert time.monotonic() - start < 60


def test_what_a_callback_raises_comes_out(large, small):
    class Own(Exception):
        pass

    def callback(done, text):
        raise Own("from inside")

    with pytest.raises(Own, match="from inside"):
        selvarin.render(large, progress=callback, **BIG)
    assert selvarin.render(large, **small).width == 80


def test_ctrl_c_cancels(large, small):
    timer = threading.Timer(0.3, _thread.interrupt_main)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        for _ in range(50):
            selvarin.render(large, **BIG)
    timer.join()
    assert selvarin.render(large, **small).width == 80


def test_a_callback_can_not_use_the_library(large, small):
    with pytest.raises(selvarin.RenderError, match="a render is under way in this very thread"):
        selvarin.render(large, progress=lambda done, text: selvarin.styles() and None, **BIG)
    assert selvarin.render(large, **small).width == 80


def test_a_bar_is_drawn_and_removed(large, capfd):
    selvarin.render(large, (640, 480), antialias=1, progress=True)
    err = capfd.readouterr().err
    assert "%" in err and err.endswith("\r\033[K")
    selvarin.render(large, (640, 480), antialias=1, progress=False)
    assert capfd.readouterr().err == ""


def test_threads_get_their_pictures(small):
    def scene_of(color):
        scene = selvarin.Scene()
        scene.add_mesh(CUBE_VERTICES, CUBE_FACES, color=color)
        return scene

    colors = ["#ff0000", "#00ff00", "#0000ff", "#ffff00"]
    expected = [selvarin.render(scene_of(color), **small).pixels for color in colors]
    wrong = []

    def work(number):
        for _ in range(5):
            if not np.array_equal(selvarin.render(scene_of(colors[number]), **small).pixels, expected[number]):
                wrong.append(number)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(120)
    assert not wrong and not any(thread.is_alive() for thread in threads)


def test_other_threads_run_while_a_picture_is_drawn(large):
    turns = []
    stop = threading.Event()

    def count():
        while not stop.is_set():
            turns.append(time.monotonic())
            time.sleep(0.001)

    counter = threading.Thread(target=count)
    counter.start()
    try:
        begin = time.monotonic()
        selvarin.render(large, (800, 600), antialias=2)
        end = time.monotonic()
    finally:
        stop.set()
        counter.join()
    inside = [t for t in turns if begin < t < end]
    assert len(inside) > 10
    # Only what needs no interpreter lock keeps the longest gap below the whole.
    assert max(np.diff([begin, *inside, end])) < (end - begin) / 2


FORK = """
import os, sys, numpy as np, selvarin
scene = selvarin.Scene()
scene.add_mesh(np.eye(3), [[0, 1, 2]])
if sys.argv[1] == "drawn":
    selvarin.render(scene, (8, 6), antialias=0)
child = os.fork()
if child == 0:
    try:
        print(selvarin.render(scene, (8, 6), antialias=0), flush=True)
    except selvarin.RenderError as error:
        print(error, flush=True)
    os._exit(0)
os.waitpid(child, 0)
print(selvarin.render(scene, (8, 6), antialias=0))
"""


@pytest.mark.parametrize("before, answer", [("drawn", "spawn"), ("fresh", "<Picture of 8 x 6 pixels>")])
def test_forks(before, answer):
    out = subprocess.run([sys.executable, "-c", FORK, before], capture_output=True, text=True, timeout=120, check=True)
    child, parent = out.stdout.splitlines()
    assert answer in child
    assert parent == "<Picture of 8 x 6 pixels>"


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_memory_stays_flat(cube, small):
    colored = np.linspace(0.0, 1.0, 18).reshape(6, 3)
    cube.add_mesh(CUBE_VERTICES + 2, CUBE_FACES, face_colors=colored).style = "Comic"

    small["size"] = (40, 30)

    def some(count):
        for _ in range(count):
            selvarin.render(cube, **small)

    some(20)
    before = resident()
    some(100)
    assert resident() - before < 4 << 20


def test_memory_of_drawings_stays_flat(cube):
    def some(count):
        for _ in range(count):
            selvarin.draw(cube, (80, 60)).svg()

    some(20)
    before = resident()
    some(100)
    assert resident() - before < 4 << 20


COPIES = """
import resource, sys, numpy as np, selvarin
n, kind = 700, np.dtype(sys.argv[1])
x, y = np.meshgrid(np.arange(n, dtype=kind), np.arange(n, dtype=kind))
vertices = np.stack([x, y, 0 * x], axis=-1).reshape(-1, 3)
i = np.arange(n * n).reshape(n, n)
faces = np.concatenate([np.stack(part, axis=-1).reshape(-1, 3) for part in (
    (i[:-1, :-1], i[:-1, 1:], i[1:, 1:]), (i[:-1, :-1], i[1:, 1:], i[1:, :-1]))])
filler = np.ones(1 << 25)  # up to the most that the process had until now
del filler
filler = np.ones(max(0, resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024 - int(
    open("/proc/self/statm").read().split()[1]) * resource.getpagesize()) // 8)
scene = selvarin.Scene()
before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
scene.add_mesh(vertices, faces)
grown = (resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before) * 1024
print(grown / (24 * len(vertices) + 12 * len(faces)))
"""


@pytest.mark.parametrize("kind", ["float32", "float64"])
def test_arrays_are_copied_once(kind):
    """By the most memory that the process ever has."""
    out = subprocess.run([sys.executable, "-c", COPIES, kind], capture_output=True, text=True, timeout=120, check=True)
    assert 0.7 < float(out.stdout) < 1.4


FAULTS = """
import resource, numpy as np, selvarin
filler = np.ones(1 << 22)  # once this is given back, malloc keeps lists of its size in its heap, wherever that ends
del filler
vertices = np.random.default_rng(1).random((500_000, 3))
faces = np.arange(3_000_000, dtype=np.int32).reshape(-1, 3) % 500_000
scene = selvarin.Scene()
before = resource.getrusage(resource.RUSAGE_SELF).ru_minflt
scene.add_mesh(vertices, faces)
print(resource.getrusage(resource.RUSAGE_SELF).ru_minflt - before)
"""


def test_a_large_mesh_lies_in_huge_pages_from_end_to_end():
    """Faults of small pages take longer than the copy. Where the system is short of huge pages they are small ones all the
    same: the fewest of several processes count."""
    try:
        with open("/sys/kernel/mm/transparent_hugepage/enabled") as file:
            has_huge_pages = "[never]" not in file.read()
    except FileNotFoundError:
        has_huge_pages = False
    if not has_huge_pages:
        pytest.skip("the system has no transparent huge pages")
    faults = []
    for _ in range(5):
        out = subprocess.run([sys.executable, "-c", FAULTS], capture_output=True, text=True, timeout=120, check=True)
        faults.append(int(out.stdout))
        if faults[-1] < 100:
            break
    assert min(faults) < 100, faults


def test_what_was_drawn_before_changes_nothing(cube):
    """Small pictures share a context with the ones before them, large ones have their own."""
    looks = ["Clean toon", "Pencil", "Comic print", "Watercolour"]

    def drawn(look, size=(96, 72)):
        return selvarin.render(cube, size, style=look, antialias=0).pixels.copy()

    large = drawn("Clean toon", (2000, 1500))
    first = [drawn(look) for look in looks]
    assert all(not np.array_equal(first[0], other) for other in first[1:])
    for _ in range(2):
        for look, picture in reversed(list(zip(looks, first))):
            assert np.array_equal(drawn(look), picture)
    drawing = selvarin.draw(cube, (96, 72)).svg()
    assert np.array_equal(drawn("Clean toon", (2000, 1500)), large)
    assert selvarin.draw(cube, (96, 72)).svg() == drawing
    assert np.array_equal(drawn("Pencil"), first[1])


def test_a_scene_goes_with_its_last_name():
    """Not when the collector comes: until then large meshes would keep their memory."""
    gc.disable()
    try:
        scene = selvarin.Scene()
        cube = scene.add_mesh(CUBE_VERTICES, CUBE_FACES, name="cube")
        gone = weakref.ref(scene)
        del scene
        assert gone() is None
        assert cube.name == "cube" and cube.num_vertices == 8
        with pytest.raises(ValueError, match="'cube' is not in the scene: that has gone"):
            cube.remove()
    finally:
        gc.enable()


def test_scenes_are_given_back(small):
    n = 120
    x, y = np.meshgrid(np.arange(n, dtype=float), np.arange(n, dtype=float))
    vertices = np.stack([x, y, np.sin(x / 20.0)], axis=-1).reshape(-1, 3)
    i = np.arange(n * n).reshape(n, n)
    faces = np.stack([i[:-1, :-1], i[:-1, 1:], i[1:, 1:], i[1:, :-1]], axis=-1).reshape(-1, 4)

    def one():
        scene = selvarin.Scene()
        scene.add_mesh(vertices, faces)
        selvarin.render(scene, **small)

    for _ in range(3):
        one()
    before = resident()
    for _ in range(6):
        one()
    assert resident() - before < 6 << 20


def test_the_command_line():
    run = [sys.executable, "-m", "selvarin"]
    assert subprocess.run([*run, "--version"], capture_output=True, text=True).stdout.startswith("selvarin 2")
    wrong = subprocess.run([*run, "nonsense"], capture_output=True, text=True)
    assert wrong.returncode == 2 and "selvarin" in wrong.stderr


def test_a_new_scene_has_started_the_library():
    """The first mesh shall not wait for it: to load the shaders takes about as long as a million triangles."""
    code = "import selvarin; selvarin.Scene(); print(open('/proc/self/maps').read().count('outline.so') > 0)"
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout.strip() == "True", done.stdout + done.stderr
