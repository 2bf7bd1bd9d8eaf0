"""What of Blender's scenes is drawn: geometry, materials, lights, cameras, worlds."""

import math

import bpy
import numpy as np
import pytest
from conftest import GREEN, RED, SIZE, add_cube, extent, greenish, plain_material, reddish

PIXELS_PER_UNIT = 40


def test_known_pixels(scene, render):
    add_cube((1.0, 0.0, 0.5))
    pixels = render()
    assert pixels.shape == (*reversed(SIZE), 4)
    left, upper, right, lower = extent(np.any(pixels[..., :3] < 250, axis=2))
    assert np.allclose((left, right), (80 + 20, 80 + 60), atol=3)
    assert np.allclose((upper, lower), (60 - 40, 60), atol=3)
    assert reddish(pixels)[40, 120] and np.all(pixels[..., 3] == 255) and np.all(pixels[0, 0] == 255)


def test_modifiers_are_applied_as_for_renders(scene, render):
    cube = add_cube()
    array = cube.modifiers.new("Array", "ARRAY")
    array.count, array.show_viewport = 2, False
    array.relative_offset_displace = (-1.5, 0.0, 0.0)
    assert np.mean(reddish(render())[40:80, :60]) > 0.2
    array.show_render = False
    assert not np.any(reddish(render())[:, :55])


def test_hidden_objects_and_collections_are_left_out(scene, render):
    add_cube().hide_render = True
    assert np.all(render() == 255)


def test_instances_are_drawn(scene, render):
    cube = add_cube((-1.0, 0.0, 0.0), size=0.6)
    collection = bpy.data.collections.new("Cubes")
    collection.objects.link(cube)
    empty = bpy.data.objects.new("Instance", None)
    empty.instance_type, empty.instance_collection = "COLLECTION", collection
    empty.location = (2.0, 0.0, 0.5)
    scene.collection.objects.link(empty)
    left, upper, right, lower = extent(reddish(render()))
    assert abs(right - (80 + 40 + 12)) < 3 and abs(left - (80 - 40 - 12)) < 3 and abs(upper - (60 - 20 - 12)) < 3


@pytest.mark.parametrize("kind", ["curve", "text", "surface", "metaball"])
def test_curves_and_texts_are_meshes(scene, render, kind):
    if kind == "curve":
        bpy.ops.curve.primitive_bezier_circle_add(radius=1.0, rotation=(math.pi / 2, 0, 0))
        bpy.context.object.data.bevel_depth = 0.2
    elif kind == "text":
        bpy.ops.object.text_add(rotation=(math.pi / 2, 0, 0), location=(-0.8, 0, -0.3))
    elif kind == "surface":
        bpy.ops.surface.primitive_nurbs_surface_sphere_add()
    else:
        bpy.ops.object.metaball_add(type="BALL")
    bpy.context.object.data.materials.append(plain_material("Red", RED))
    assert np.mean(reddish(render())) > 0.008


def test_a_curve_without_a_surface_is_a_line(scene, render):
    bpy.ops.curve.primitive_bezier_circle_add(radius=1.0, rotation=(math.pi / 2, 0, 0))
    pixels = render()
    dark = np.all(pixels[..., :3] < 128, axis=2)
    assert 0.003 < np.mean(dark) < 0.06
    assert np.allclose(extent(dark), (40, 20, 120, 100), atol=3)


def test_a_mirrored_object_shows_its_outer_side(scene, render):
    cube = add_cube((0.7, 0.0, 0.0))
    bpy.ops.object.light_add(type="SUN", rotation=(math.pi / 2, 0, 0))
    first = render()
    cube.scale = (-1.0, 1.0, 1.0)
    assert np.mean(render() != first) < 0.01


def test_flat_and_smooth_faces_differ(scene, render):
    bpy.ops.mesh.primitive_uv_sphere_add(segments=16, ring_count=8)
    bpy.ops.object.light_add(type="SUN", rotation=(0.5, 0.8, 0.0))
    scene.selvarin.look.use_Outline = False
    flat = render()
    for polygon in bpy.data.objects["Sphere"].data.polygons:
        polygon.use_smooth = True
    assert np.mean(render() != flat) > 0.02


# --- materials ---

def test_each_face_has_its_material(scene, render):
    cube = add_cube(size=2.0)
    cube.data.materials.append(plain_material("Green", GREEN))
    bpy.ops.object.modifier_add(type="SUBSURF")
    cube.modifiers[0].subdivision_type, cube.modifiers[0].render_levels = "SIMPLE", 1
    assert not np.any(greenish(render()))
    bpy.ops.object.modifier_apply(modifier=cube.modifiers[0].name)
    for polygon in cube.data.polygons:
        polygon.material_index = int(polygon.center.x > 0.0)
    pixels = render()
    assert np.mean(reddish(pixels)[30:90, 45:75]) > 0.95 and np.mean(greenish(pixels)[30:90, 85:115]) > 0.95
    dark = np.all(pixels[30:90, 60:100, :3] < 80, axis=2)
    assert not np.any(dark), "no line between two colours of one object"


def test_base_colours_are_those_of_a_screen(scene, render):
    scene.selvarin.look.use_Outline = False
    scene.selvarin.ambient = (1.0, 1.0, 1.0)
    add_cube(size=2.0, color=(0.2, 0.5, 0.05))
    bpy.ops.object.light_add(type="SUN", rotation=(math.pi / 2, 0, 0))
    middle = render()[60, 80, :3]
    expected = [255 * (1.055 * c ** (1 / 2.4) - 0.055) for c in (0.2, 0.5, 0.05)]
    assert np.allclose(middle, expected, atol=2)


def test_nodes_are_followed_to_a_colour(scene):
    from selvarin_render.materials import paint_of
    material = plain_material("Nodes", RED)
    tree = material.node_tree
    principled = tree.nodes["Principled BSDF"]
    rgb = tree.nodes.new("ShaderNodeRGB")
    rgb.outputs[0].default_value = (0.0, 1.0, 0.0, 1.0)
    tree.links.new(rgb.outputs[0], principled.inputs["Base Color"])
    assert np.allclose(paint_of(material).color, (0, 1, 0), atol=1e-6)
    image = bpy.data.images.new("Texture", 4, 4)
    image.pixels.foreach_set(np.tile(np.array([0.25, 0.5, 1.0, 1.0], np.float32), 16))
    texture = tree.nodes.new("ShaderNodeTexImage")
    texture.image = image
    tree.links.new(texture.outputs["Color"], principled.inputs["Base Color"])
    assert np.allclose(paint_of(material).color, (0.25, 0.5, 1.0), atol=0.01)
    glass, mix = tree.nodes.new("ShaderNodeBsdfTransparent"), tree.nodes.new("ShaderNodeMixShader")
    mix.inputs[0].default_value = 0.25
    tree.links.new(glass.outputs[0], mix.inputs[1])
    tree.links.new(principled.outputs[0], mix.inputs[2])
    tree.links.new(mix.outputs[0], tree.nodes["Material Output"].inputs["Surface"])
    assert paint_of(material).opacity == pytest.approx(0.25)
    plain = bpy.data.materials.new("Plain")
    plain.diffuse_color, plain.roughness = (1.0, 0.0, 0.0, 0.5), 0.75
    assert paint_of(plain).color == pytest.approx((1.0, 0.0, 0.0)) and paint_of(plain)[1:] == (0.5, 0.25, None, None)
    assert paint_of(None).opacity == 1.0


def test_opacity_lets_through(scene, render):
    add_cube((0.0, 2.0, 0.0), size=2.0, color=GREEN, name="Behind")
    front = add_cube(size=1.0)
    assert not np.any(greenish(render()[50:70, 70:90]))
    front.data.materials[0].node_tree.nodes["Principled BSDF"].inputs["Alpha"].default_value = 0.1
    assert np.all(greenish(render()[50:70, 70:90]))


@pytest.mark.parametrize("domain", ["POINT", "CORNER"])
def test_colour_attributes_are_drawn(scene, render, domain):
    cube = add_cube(size=2.0)
    attribute = cube.data.color_attributes.new("Paint", "FLOAT_COLOR", domain)
    attribute.data.foreach_set("color", np.tile(np.array([*GREEN, 1.0], np.float32), len(attribute.data)))
    assert np.all(reddish(render()[50:70, 70:90]))
    tree = cube.data.materials[0].node_tree
    node = tree.nodes.new("ShaderNodeVertexColor")
    node.layer_name = "Paint"
    tree.links.new(node.outputs["Color"], tree.nodes["Principled BSDF"].inputs["Base Color"])
    assert np.all(greenish(render()[50:70, 70:90]))


# --- marks ---

def test_marked_edges_are_lines(scene, render):
    bpy.ops.mesh.primitive_grid_add(x_subdivisions=4, y_subdivisions=4, size=2.0, rotation=(math.pi / 2, 0, 0))
    grid = bpy.context.object
    grid.data.materials.append(plain_material("Red", RED))

    def dark():
        return np.all(render()[30:90, 50:110, :3] < 100, axis=2)

    assert not np.any(dark())
    for edge in grid.data.edges:
        edge.use_freestyle_mark = all(abs(grid.data.vertices[v].co.x) < 0.01 for v in edge.vertices)
    marked = dark()
    assert np.all(np.any(marked[:, 26:34], axis=1)), "a line from below to above"
    assert not np.any(marked[:, :24]) and not np.any(marked[:, 36:])
    scene.selvarin.edge_marks = False
    assert not np.any(dark())


def test_edges_are_joined_to_runs():
    from selvarin_render.meshes import runs_of
    edges = np.array([[0, 1], [2, 1], [2, 3], [5, 6], [6, 7], [7, 5], [3, 8], [3, 9]])
    runs = [run.tolist() for run in runs_of(edges)]
    assert runs == [[0, 1, 2, 3], [3, 8], [3, 9], [5, 6, 7, 5]]
    assert runs_of(np.zeros((0, 2), int)) == []


# --- lights and worlds ---

@pytest.mark.parametrize("kind, values", [
    ("SUN", {}), ("POINT", {}), ("SPOT", {"spot_size": 2.0}), ("AREA", {}),
])
def test_lights_shine(scene, render, kind, values):
    add_cube(size=2.0, color=(0.8, 0.8, 0.8))
    bpy.ops.object.light_add(type=kind, location=(0.0, -5.0, 0.0), rotation=(math.pi / 2, 0, 0))
    light = bpy.context.object
    for key, value in values.items():
        setattr(light.data, key, value)
    lit = render()[60, 80]
    light.rotation_euler = (-math.pi / 2, 0, 0)
    light.location = (0.0, 5.0, 0.0)
    dark = render()[60, 80]
    assert dark.sum() < lit.sum() - 40, "from behind it does not reach the front"
    light.data.energy = 0.0
    assert render()[60, 80].sum() > dark.sum() + 40, "without a light there is one over the viewer's shoulder"


def test_only_the_hue_of_a_light_counts(scene):
    from selvarin_render.export import Exporter
    given = []
    exporter = Exporter(bpy.context.evaluated_depsgraph_get())
    exporter.scene.add_light = lambda kind, **values: given.append((kind, values))
    light = bpy.data.lights.new("Sun", "SUN")
    light.color, light.energy = (0.5, 0.25, 0.0), 1000.0
    exporter._add_light(light, np.eye(4))
    assert given == [("directional", {"direction": (0.0, 0.0, -1.0), "color": (1.0, 0.5, 0.0)})]


def test_the_cone_of_a_spot_is_as_wide_as_in_blender(scene, render):
    scene.selvarin.look.use_Outline = False
    bpy.ops.mesh.primitive_plane_add(size=20.0, rotation=(math.pi / 2, 0, 0))
    bpy.ops.object.light_add(type="SPOT", location=(0.0, -2.0, 0.0), rotation=(math.pi / 2, 0, 0))
    bpy.context.object.data.spot_size = 2.0 * math.atan(0.5)
    bright = render()[..., :3].sum(axis=2)
    left, _, right, _ = extent(bright > (bright.max() + bright.min()) / 2)
    assert abs((right - left) - 2 * PIXELS_PER_UNIT) <= 4


def test_worlds_have_colours(scene, render):
    from selvarin_render.export import world_color
    scene.selvarin.background = "WORLD"
    assert np.all(render()[..., :3] == 0), "no world, no light"
    world = scene.world = bpy.data.worlds.new("World")
    world.use_nodes = False
    world.color = (0.0, 1.0, 0.0)
    assert np.all(render()[..., :3] == (0, 255, 0))
    world.use_nodes = True
    node = world.node_tree.nodes["Background"]
    node.inputs["Color"].default_value = (0.25, 0.0, 0.0, 1.0)
    node.inputs["Strength"].default_value = 2.0
    assert world_color(world) == pytest.approx((0.7354, 0.0, 0.0), abs=1e-3)


# --- cameras ---

@pytest.mark.parametrize("values", [
    {"type": "PERSP"}, {"type": "PERSP", "lens": 45.0, "sensor_fit": "VERTICAL"},
    {"type": "PERSP", "shift_x": 0.08, "shift_y": -0.05}, {"type": "ORTHO", "ortho_scale": 7.0},
    {"type": "ORTHO", "ortho_scale": 5.0, "shift_x": 0.1, "shift_y": 0.15},
])
@pytest.mark.parametrize("size", [(160, 120), (90, 140)])
def test_things_are_where_blender_sees_them(scene, render, values, size):
    from bpy_extras.object_utils import world_to_camera_view
    scene.render.resolution_x, scene.render.resolution_y = size
    camera = scene.camera
    for key, value in values.items():
        setattr(camera.data, key, value)
    camera.location, camera.rotation_euler = (1.0, -9.0, 2.0), (1.4, 0.2, 0.1)
    scene.selvarin.look.use_Outline = False
    for number, (place, color) in enumerate([((0.3, 0.5, 0.4), RED), ((0.9, -0.5, -0.5), GREEN)]):
        add_cube(place, size=0.2, color=color, name=str(number))
    bpy.context.view_layer.update()
    pixels = render()
    for name, mask in (("0", reddish(pixels)), ("1", greenish(pixels))):
        left, upper, right, lower = extent(mask)
        seen = world_to_camera_view(scene, camera, bpy.data.objects[name].matrix_world.translation)
        assert (left + right + 1) / 2 == pytest.approx(seen.x * size[0], abs=1.5), name
        assert (upper + lower + 1) / 2 == pytest.approx((1.0 - seen.y) * size[1], abs=1.5), name


def test_two_hundred_objects(scene, render):
    from selvarin_render.export import Exporter
    mesh = add_cube((0.0, 0.0, 0.0), size=0.1).data
    for number in range(1, 200):
        copy = bpy.data.objects.new(f"Cube {number}", mesh)
        copy.location = ((number % 20 - 9.5) * 0.2, 0.0, (number // 20 - 4.5) * 0.25)
        scene.collection.objects.link(copy)
    exporter = Exporter(bpy.context.evaluated_depsgraph_get())
    assert len(exporter.run()) == 200
    assert len(exporter._arrays) == 1, "one mesh is read once"
    assert 0.03 < np.mean(reddish(render())) < 0.3
