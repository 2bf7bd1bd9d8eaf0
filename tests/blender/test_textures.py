"""Textures and colour attributes: the same picture as the command line's of the exported file."""

import math

import addon_utils
import bpy
import numpy as np
from conftest import command_line, load_picture, plain_material, similarity


def image_of(pixels, name="Texture"):
    """pixels: (H, W, 3) from 0 to 1, the top row first."""
    height, width = pixels.shape[:2]
    image = bpy.data.images.new(name, width, height)
    values = np.ones((height, width, 4), np.float32)
    values[..., :3] = pixels[::-1]
    image.pixels.foreach_set(values.ravel())
    image.pack()
    return image


def four_colors(size=32):
    pixels = np.zeros((size, size, 3))
    half = size // 2
    pixels[:half, :half], pixels[:half, half:] = (0.9, 0.1, 0.1), (0.1, 0.8, 0.1)
    pixels[half:, :half], pixels[half:, half:] = (0.1, 0.1, 0.9), (0.9, 0.9, 0.1)
    return pixels


def textured_material(image):
    material = plain_material("Textured", (1.0, 1.0, 1.0))
    tree = material.node_tree
    node = tree.nodes.new("ShaderNodeTexImage")
    node.image = image
    tree.links.new(node.outputs["Color"], tree.nodes["Principled BSDF"].inputs["Base Color"])
    return material, node


def add_sheet(material):
    """Fills the view of the camera."""
    bpy.ops.mesh.primitive_plane_add(size=3.0, rotation=(math.pi / 2, 0.0, 0.0))
    sheet = bpy.context.object
    sheet.data.materials.append(material)
    bpy.ops.object.light_add(type="SUN", rotation=(math.pi / 2, 0, 0))
    return sheet


def names(pixels):
    """Of the four quarters, from the upper left one on."""
    found = []
    for x, y in ((50, 30), (110, 30), (50, 90), (110, 90)):
        red, green, blue = (int(c) > 120 for c in pixels[y, x, :3])
        found.append({(1, 0, 0): "red", (0, 1, 0): "green", (0, 0, 1): "blue", (1, 1, 0): "yellow"}.get(
            (red, green, blue), "?"))
    return found


def test_an_image_lies_upright(scene, render):
    add_sheet(textured_material(image_of(four_colors()))[0])
    assert names(render()) == ["red", "green", "blue", "yellow"]


def test_a_mapping_moves_an_image(scene, render):
    material, node = textured_material(image_of(four_colors()))
    tree = material.node_tree
    place, mapping = tree.nodes.new("ShaderNodeUVMap"), tree.nodes.new("ShaderNodeMapping")
    tree.links.new(place.outputs["UV"], mapping.inputs["Vector"])
    tree.links.new(mapping.outputs["Vector"], node.inputs["Vector"])
    mapping.inputs["Location"].default_value = (0.5, 0.0, 0.0)
    add_sheet(material)
    assert names(render()) == ["green", "red", "yellow", "blue"]
    node.extension = "EXTEND"
    assert names(render()) == ["green", "green", "yellow", "yellow"]


def test_the_map_of_a_node_counts(scene, render):
    material, node = textured_material(image_of(four_colors()))
    sheet = add_sheet(material)
    other = sheet.data.uv_layers.new(name="Other")
    for loop in range(len(other.data)):
        other.data[loop].uv = (0.25, 0.75)
    assert names(render()) == ["red", "green", "blue", "yellow"], "the one of renders"
    place = material.node_tree.nodes.new("ShaderNodeUVMap")
    place.uv_map = "Other"
    material.node_tree.links.new(place.outputs["UV"], node.inputs["Vector"])
    assert names(render()) == ["red"] * 4


def test_an_image_is_cut_out_by_its_alpha(scene, render):
    image = image_of(four_colors())
    values = np.array(image.pixels[:]).reshape(32, 32, 4)
    values[16:, :16, 3] = 0.0
    image.pixels.foreach_set(values.astype(np.float32).ravel())
    material, node = textured_material(image)
    add_sheet(material)
    assert names(render())[0] == "red"
    material.node_tree.links.new(node.outputs["Alpha"], material.node_tree.nodes["Principled BSDF"].inputs["Alpha"])
    assert np.all(render()[30, 50, :3] == 255)


def test_a_missing_image_is_no_failure(scene, render):
    image = bpy.data.images.new("Gone", 4, 4)
    image.source, image.filepath = "FILE", "//nowhere.png"
    add_sheet(textured_material(image)[0])
    assert render().shape == (120, 160, 4)


def test_colours_run_between_vertices(scene, render):
    material = plain_material("Painted", (1.0, 1.0, 1.0))
    tree = material.node_tree
    node = tree.nodes.new("ShaderNodeVertexColor")
    node.layer_name = "Paint"
    tree.links.new(node.outputs["Color"], tree.nodes["Principled BSDF"].inputs["Base Color"])
    sheet = add_sheet(material)
    attribute = sheet.data.color_attributes.new("Paint", "FLOAT_COLOR", "POINT")
    for number, vertex in enumerate(sheet.data.vertices):
        attribute.data[number].color = (1, 0, 0, 1) if vertex.co.x < 0.0 else (0, 1, 0, 1)
    row = render()[60, 40:120].astype(int)
    assert np.all(np.diff(row[:, 0]) <= 1) and np.all(np.diff(row[:, 1]) >= -1)
    assert len(np.unique(row[:, 0])) > 15


def test_it_is_the_picture_of_the_command_line(scene, render, tmp_path):
    rng = np.random.default_rng(3)
    image = image_of(np.kron(rng.uniform(0.1, 0.9, (6, 6, 3)), np.ones((16, 16, 1))))
    material, _ = textured_material(image)
    bpy.ops.mesh.primitive_uv_sphere_add(segments=48, ring_count=24)
    bpy.ops.object.shade_smooth()
    bpy.context.object.data.materials.append(material)
    bpy.ops.mesh.primitive_cube_add(size=1.2, location=(1.6, 0.5, -0.4), rotation=(0.2, 0.3, 0.5))
    bpy.context.object.data.materials.append(material)
    bpy.ops.object.light_add(type="SUN", rotation=(0.6, 0.4, 0.2))
    camera = scene.camera
    camera.data.type, camera.data.lens = "PERSP", 40.0
    camera.location, camera.rotation_euler = (0.5, -6.0, 1.0), (math.radians(80), 0, 0)
    scene.render.resolution_x, scene.render.resolution_y = 320, 240
    scene.selvarin.antialias = "1"
    addon_utils.enable("io_scene_gltf2")
    path = tmp_path / "scene.glb"
    bpy.ops.export_scene.gltf(filepath=str(path), export_apply=True, export_cameras=True, export_lights=True)
    ours = render()
    command_line("render", path, "-o", tmp_path / "theirs.png", "-s", "320x240", "-a", 1, "-q", "--background",
                 "#ffffff")
    theirs = load_picture(tmp_path / "theirs.png")
    assert similarity(ours, theirs) >= 0.99
    material.node_tree.nodes["Principled BSDF"].inputs["Base Color"].default_value = (0.5, 0.5, 0.5, 1.0)
    material.node_tree.links.remove(material.node_tree.nodes["Principled BSDF"].inputs["Base Color"].links[0])
    assert similarity(render(), theirs) < 0.97, "the measure sees the texture"
