"""Pictures: the same as the command line's, borders, passes, animations, cancelled and failed renders."""

import math
import os
import signal
import time

import addon_utils
import bpy
import numpy as np
import pytest
from conftest import GREEN, SIZE, add_cube, command_line, load_picture, plain_material, reddish, similarity


def exported_scene(scene, path):
    """A scene with all that glTF has, and its file."""
    add_cube((-1.2, 0.0, 0.0), size=1.4)
    bpy.ops.mesh.primitive_monkey_add(size=2.0, location=(1.0, 0.0, 0.0))
    monkey = bpy.context.object
    bpy.ops.object.shade_smooth()
    monkey.modifiers.new("Subdivision", "SUBSURF").render_levels = 1
    monkey.data.materials.append(plain_material("Green", GREEN, Roughness=0.4))
    bpy.ops.mesh.primitive_cylinder_add(radius=3.0, depth=0.2, location=(0.0, 0.0, -1.0))
    bpy.context.object.data.materials.append(plain_material("Sand", (0.7, 0.5, 0.2)))
    bpy.ops.object.light_add(type="SUN", rotation=(0.6, 0.4, 0.2))
    camera = scene.camera
    camera.data.type, camera.data.lens = "PERSP", 40.0
    camera.location, camera.rotation_euler = (3.0, -7.0, 3.0), (math.radians(70), 0, math.radians(23))
    scene.render.resolution_x, scene.render.resolution_y = 320, 240
    addon_utils.enable("io_scene_gltf2")
    bpy.ops.export_scene.gltf(filepath=str(path), export_apply=True, export_cameras=True, export_lights=True)


@pytest.mark.parametrize("style, arguments", [
    ("NONE", []), ("Comic", []), ("Comic", ["--shadows"]), ("Technical", []),
])
def test_it_is_the_picture_of_the_command_line(scene, render, tmp_path, style, arguments):
    exported_scene(scene, tmp_path / "scene.glb")
    look = scene.selvarin.look
    look.style = style
    scene.selvarin.antialias = "1"
    scene.selvarin.shadows = "--shadows" in arguments
    ours = render()
    command_line("render", tmp_path / "scene.glb", "-o", tmp_path / "theirs.png", "-s", "320x240", "-a", 1, "-q",
                 "--background", "#ffffff", *([] if style == "NONE" else ["--style", style]), *arguments)
    theirs = load_picture(tmp_path / "theirs.png")
    assert similarity(ours, theirs) >= 0.99
    assert similarity(ours, np.roll(theirs, 2, axis=1)) < 0.97, "the measure sees two pixels"


def test_an_empty_scene_has_its_background(scene, render):
    assert np.all(render() == 255)


def test_a_scene_without_a_camera_is_told(scene, render):
    scene.camera = None
    with pytest.raises(RuntimeError, match="[Nn]o camera|[Cc]amera"):
        render()


# --- the size ---

def test_the_percentage_counts(scene, render):
    add_cube()
    scene.render.resolution_percentage = 50
    assert render().shape == (SIZE[1] // 2, SIZE[0] // 2, 4)


@pytest.mark.parametrize("shift", [0.0, 0.15])
def test_a_border_is_a_part_of_the_picture(scene, render, shift):
    scene.camera.data.shift_x = shift
    add_cube((0.4, 0.0, 0.2), size=1.5)
    scene.selvarin.shadows = True
    whole = render()
    scene.render.use_border = True
    scene.render.border_min_x, scene.render.border_max_x = 0.31, 0.83
    scene.render.border_min_y, scene.render.border_max_y = 0.2, 0.61
    left, right, lower, upper = 49, 132, 24, 73
    part = whole[SIZE[1] - upper:SIZE[1] - lower, left:right]
    inside = render()
    assert inside.shape == whole.shape
    assert np.mean(inside[SIZE[1] - upper:SIZE[1] - lower, left:right] != part) < 0.01
    assert np.all(inside[:SIZE[1] - upper] == 0) and np.all(inside[:, :left] == 0), "nothing beside it"
    scene.render.use_crop_to_border = True
    cropped = render()
    assert cropped.shape == part.shape
    assert np.mean(cropped != part) < 0.01


# --- passes ---

def test_a_transparent_film_has_opacity(scene, render):
    add_cube()
    scene.selvarin.look.style = "Comic"
    assert np.all(render()[..., 3] == 255)
    scene.render.film_transparent = True
    pixels = render()
    assert pixels[0, 0, 3] == 0 and pixels[60, 80, 3] == 255
    assert np.mean(pixels[..., 3] > 0) < 0.25, "the style's sheet is left out"


def test_passes_go_to_the_compositor(scene, render, tmp_path):
    bpy.ops.mesh.primitive_plane_add(size=3.0)
    add_cube((0.0, 0.0, 0.7), size=0.8)
    bpy.ops.object.light_add(type="SUN", rotation=(0.5, 0.9, 0.0))
    scene.camera.location, scene.camera.rotation_euler = (0.0, -6.0, 5.0), (math.radians(55), 0, 0)
    layer = scene.view_layers[0]
    layer.use_pass_z = True
    for name in ("use_pass_colors", "use_pass_lines", "use_pass_shadow"):
        setattr(layer.selvarin, name, True)
    scene.use_nodes = True
    tree = scene.node_tree
    tree.nodes.clear()
    source = tree.nodes.new("CompositorNodeRLayers")
    tree.links.new(source.outputs["Image"], tree.nodes.new("CompositorNodeComposite").inputs[0])
    target = tree.nodes.new("CompositorNodeOutputFile")
    target.base_path = str(tmp_path)
    target.format.color_mode = "RGBA"
    for name in ("Colours", "Lines", "Cast shadows", "Depth"):
        socket = target.file_slots.new(name.replace(" ", ""))
        output = source.outputs[name]
        if name == "Depth":
            scaled = tree.nodes.new("CompositorNodeMath")
            scaled.operation = "DIVIDE"
            scaled.inputs[1].default_value = 20.0
            tree.links.new(output, scaled.inputs[0])
            output = scaled.outputs[0]
        tree.links.new(output, target.inputs[-1 if socket is None else name.replace(" ", "")])
    whole = render()
    passes = {name: load_picture(tmp_path / f"{name}0001.png") for name in ("Colours", "Lines", "Castshadows", "Depth")}
    dark = np.all(whole[..., :3] < 60, axis=2)
    assert np.any(dark) and not np.any(np.all(passes["Colours"][..., :3] < 60, axis=2))
    lines = passes["Lines"]
    assert np.all(lines[dark][:, 3] > 0) and np.mean(lines[..., 3] > 0) < 0.2
    shadow = passes["Castshadows"][..., 0]
    assert np.any(shadow == 0) and np.mean(shadow > 250) > 0.5
    depth = passes["Depth"][..., 0]
    assert depth[0, 0] == 255 and 60 < depth[70, 80] < 150


# --- looks ---

def test_an_object_has_a_look_of_its_own(scene, render):
    first, second = add_cube((-1.0, 0.0, 0.0), name="First"), add_cube((1.0, 0.0, 0.0), name="Second")
    plain = render()
    own = second.selvarin
    own.use_look = True
    own.look.base = "none"
    pixels = render()
    assert np.array_equal(pixels[:, :78], plain[:, :78])
    assert np.any(reddish(plain)[:, 82:]) and not np.any(reddish(pixels)[:, 82:])
    assert first.selvarin.use_look is False


def test_an_instanced_collection_has_the_look_of_its_empty(scene, render):
    cube = add_cube()
    collection = bpy.data.collections.new("Cubes")
    collection.objects.link(cube)
    scene.collection.objects.unlink(cube)
    empty = bpy.data.objects.new("Instance", None)
    empty.instance_type, empty.instance_collection = "COLLECTION", collection
    scene.collection.objects.link(empty)
    assert np.any(reddish(render()))
    empty.selvarin.use_look, empty.selvarin.look.base = True, "none"
    assert not np.any(reddish(render()))


def test_each_view_layer_is_drawn_with_what_it_has(scene, monkeypatch):
    from selvarin_render import engine
    add_cube()
    bare = scene.view_layers.new("Bare")
    collection = bpy.data.collections.new("Cubes")
    scene.collection.children.link(collection)
    collection.objects.link(bpy.data.objects["Cube"])
    scene.collection.objects.unlink(bpy.data.objects["Cube"])
    bare.layer_collection.children["Cubes"].exclude = True
    filled = []
    monkeypatch.setattr(engine, "_fill", lambda _, values: filled.append(values))
    bpy.ops.render.render()
    assert [bool(np.any(values[:, 0] > values[:, 1] + 0.3)) for values in filled] == [True, False]


def test_a_setting_changes_the_picture_and_can_be_animated(scene, render):
    add_cube()
    settings = scene.selvarin.look.shader_Outline
    settings.keyframe_insert("SilhouetteWidth", frame=1)
    settings.SilhouetteWidth = 12.0
    settings.keyframe_insert("SilhouetteWidth", frame=5)
    scene.frame_set(1)
    thin = np.mean(np.all(render()[..., :3] < 60, axis=2))
    scene.frame_set(5)
    assert np.mean(np.all(render()[..., :3] < 60, axis=2)) > 2 * thin > 0.0


def test_an_animation_is_drawn(scene, tmp_path):
    cube = add_cube((-1.0, 0.0, 0.0))
    cube.keyframe_insert("location", frame=1)
    cube.location.x = 1.0
    cube.keyframe_insert("location", frame=3)
    scene.frame_start, scene.frame_end, scene.frame_step = 1, 3, 2
    scene.render.filepath = str(tmp_path / "frame")
    bpy.ops.render.render(animation=True)
    assert sorted(path.name for path in tmp_path.iterdir()) == ["frame0001.png", "frame0003.png"]
    assert np.array_equal(load_picture(tmp_path / "frame0001.png")[:, 10:70], load_picture(tmp_path / "frame0003.png")[:, 90:150])


# --- what goes wrong ---

def test_a_cancelled_render_leaves_nothing_and_the_next_one_works(scene, render, monkeypatch):
    from selvarin_render import engine
    add_cube()
    first = render()
    filled, calls = [], []

    def wants_cancel(_engine):
        calls.append(_engine)
        return len(calls) >= allowed

    for allowed in (1, 2, 3):
        calls.clear()
        with monkeypatch.context() as patched:
            patched.setattr(engine, "wants_cancel", wants_cancel)
            patched.setattr(engine, "_fill", lambda *_: filled.append(1))
            scene.selvarin.antialias, scene.selvarin.shadows = "2", True
            scene.render.resolution_x, scene.render.resolution_y = 1000, 750
            bpy.ops.render.render()
        assert len(calls) == allowed and not filled, "it asks, and heeds the answer"
    scene.selvarin.antialias, scene.selvarin.shadows = "0", False
    scene.render.resolution_x, scene.render.resolution_y = SIZE
    assert np.array_equal(render(), first)


def test_ctrl_c_cancels_as_it_does_for_other_engines(scene, render, monkeypatch):
    from selvarin_render import engine
    add_cube()
    first = render()
    told = engine.tell
    filled = []
    with monkeypatch.context() as patched:
        # Blender's own handler takes the signal; a second one would end the process.
        patched.setattr(engine, "tell", lambda *given: (os.kill(os.getpid(), signal.SIGINT), patched.undo(), told(*given)))
        patched.setattr(engine, "_fill", lambda *_: filled.append(1))
        bpy.ops.render.render()
    assert not filled
    assert np.array_equal(render(), first)


def test_the_progress_is_told(scene, render, monkeypatch):
    from selvarin_render import engine
    add_cube()
    scene.render.resolution_x, scene.render.resolution_y = 1000, 750
    scene.selvarin.antialias, scene.selvarin.shadows = "2", True
    told = []
    monkeypatch.setattr(engine, "tell", lambda _, done, text: told.append((done, text)))
    render()
    parts = [done for done, _ in told]
    assert parts == sorted(parts) and parts[0] == 0.0 and 0.0 < parts[-1] <= 1.0
    assert told[0][1] == "Preparing the scene" and len({text for _, text in told}) > 1


def test_what_the_library_refuses_is_told(scene):
    add_cube()
    scene.render.resolution_x = 20000
    with pytest.raises(RuntimeError, match="(?i)can't draw the scene"):
        bpy.ops.render.render()
    scene.render.resolution_x = 64
    bpy.ops.render.render()


def test_the_library_draws_in_a_thread_of_its_own(scene, monkeypatch, tmp_path):
    """In Blender's window the main thread has an OpenGL context, beside which it can't have another."""
    import threading

    import selvarin
    add_cube()
    names = []

    def noting(work):
        def run(*given, **named):
            names.append(threading.current_thread().name)
            return work(*given, **named)
        return run

    monkeypatch.setattr(selvarin, "render", noting(selvarin.render))
    monkeypatch.setattr(selvarin, "draw", noting(selvarin.draw))
    bpy.ops.render.render()
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg"))
    assert names == ["selvarin", "selvarin"]


def test_a_thread_gives_what_it_has_found_and_heeds_the_answer():
    from selvarin_render.threads import in_thread
    assert in_thread(lambda progress: progress(0.5, "half"), lambda done, text: True) is True
    with pytest.raises(ValueError, match="why"):
        in_thread(lambda progress: (_ for _ in ()).throw(ValueError("why")), lambda done, text: True)
    told = []

    def until_cancelled(progress):
        while progress(0.25, "drawing"):
            time.sleep(0.001)
        return "cancelled"

    assert in_thread(until_cancelled, lambda done, text: told.append((done, text)) or len(told) < 3) == "cancelled"
    assert told == [(0.25, "drawing")] * 3
