"""What the tests of the add-on share: an empty scene with the engine chosen, and pictures as arrays."""

import os
import subprocess

import addon_utils
import bpy
import numpy as np
import pytest

ADDON = "selvarin_render"
SIZE = (160, 120)


def enable():
    problems = []
    addon_utils.enable(ADDON, default_set=False, handle_error=problems.append)
    assert not problems, problems


def disable():
    problems = []
    addon_utils.disable(ADDON, default_set=False, handle_error=problems.append)
    assert not problems, problems


@pytest.fixture
def scene():
    """A scene with nothing in it but a camera at (0, -10, 0) that looks along y and shows 4 by 3 units around the origin."""
    bpy.ops.wm.read_factory_settings(use_empty=True)
    enable()
    new = bpy.context.scene
    new.render.engine = "SELVARIN"
    new.render.resolution_x, new.render.resolution_y = SIZE
    bpy.ops.selvarin.plain_colors()
    new.selvarin.antialias = "0"
    new.selvarin.background = "COLOR"
    new.selvarin.background_color = (1.0, 1.0, 1.0)
    camera = bpy.data.objects.new("Camera", bpy.data.cameras.new("Camera"))
    camera.location = (0.0, -10.0, 0.0)
    camera.rotation_euler = (np.pi / 2.0, 0.0, 0.0)
    camera.data.type = "ORTHO"
    camera.data.ortho_scale = 4.0
    new.collection.objects.link(camera)
    new.camera = camera
    yield new
    disable()


def load_picture(path):
    """(height, width, 4) from 0 to 255, the top row first."""
    image = bpy.data.images.load(str(path), check_existing=False)
    try:
        width, height = image.size
        values = np.empty(width * height * 4, np.float32)
        image.pixels.foreach_get(values)
    finally:
        bpy.data.images.remove(image)
    return np.rint(values.reshape(height, width, 4)[::-1] * 255.0).astype(int)


@pytest.fixture
def render(tmp_path):
    """Renders the open scene as F12 does, and gives what Blender writes of it."""
    def run():
        bpy.context.scene.render.filepath = str(tmp_path / "picture.png")
        bpy.context.scene.render.image_settings.color_mode = "RGBA"
        bpy.ops.render.render(write_still=True)
        return load_picture(tmp_path / "picture.png")
    return run


def plain_material(name, color, **values):
    material = bpy.data.materials.new(name)
    material.use_nodes = True
    node = material.node_tree.nodes["Principled BSDF"]
    node.inputs["Base Color"].default_value = (*color, 1.0)
    node.inputs["Roughness"].default_value = 1.0
    for key, value in values.items():
        node.inputs[key].default_value = value
    return material


RED, GREEN = (0.8, 0.0, 0.0), (0.0, 0.6, 0.0)


def add_cube(location=(0.0, 0.0, 0.0), size=1.0, color=RED, name="Cube"):
    bpy.ops.mesh.primitive_cube_add(size=size, location=location)
    cube = bpy.context.object
    cube.name = name
    cube.data.materials.append(plain_material(name, color))
    return cube


def reddish(pixels):
    return pixels[..., 0] - pixels[..., 1] > 60


def greenish(pixels):
    return pixels[..., 1] - pixels[..., 0] > 40


def extent(mask):
    """Left, upper, right and lower pixel."""
    rows, columns = np.nonzero(mask)
    return columns.min(), rows.min(), columns.max(), rows.max()


def similarity(a, b, side=8):
    """The mean of the structural similarity over windows of the brightness; Wang, Bovik, Sheikh, Simoncelli 2004, Image
    quality assessment: from error visibility to structural similarity."""
    from numpy.lib.stride_tricks import sliding_window_view
    a, b = (sliding_window_view(p[..., :3].mean(axis=2), (side, side))[::2, ::2] for p in (a, b))
    mean_a, mean_b = a.mean(axis=(2, 3)), b.mean(axis=(2, 3))
    covariance = (a * b).mean(axis=(2, 3)) - mean_a * mean_b
    c1, c2 = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    return float(np.mean((2 * mean_a * mean_b + c1) * (2 * covariance + c2) /
                         ((mean_a ** 2 + mean_b ** 2 + c1) * (a.var(axis=(2, 3)) + b.var(axis=(2, 3)) + c2))))


def command_line(*arguments):
    """The program of the same build."""
    import selvarin
    program = os.path.join(selvarin._core.library_folder(), "selvarin")
    subprocess.run([program, *(str(each) for each in arguments)], check=True, capture_output=True, timeout=60)
