"""A toy train in Blender, drawn by Selvarin: blender -b --factory-startup --python toy_train.py -- FOLDER

Draws train.png in the look of a comic, train-pencil.png in coloured pencil with the cab in a look of its own, and train.svg.
"""

import math
import sys

import addon_utils
import bpy


def material(name, color):
    new = bpy.data.materials.new(name)
    new.use_nodes = True
    node = new.node_tree.nodes["Principled BSDF"]
    node.inputs["Base Color"].default_value = (*color, 1.0)
    node.inputs["Roughness"].default_value = 0.6
    return new


RED, BLUE, GOLD = (0.65, 0.03, 0.02), (0.03, 0.13, 0.42), (0.8, 0.45, 0.05)


def finish(name, paint, bevel=0.0):
    obj = bpy.context.object
    obj.name = name
    obj.data.materials.append(paint)
    if bevel > 0.0:
        modifier = obj.modifiers.new("Bevel", "BEVEL")
        modifier.width, modifier.segments = bevel, 3
    return obj


def box(name, paint, location, scale, bevel=0.06):
    bpy.ops.mesh.primitive_cube_add(size=1.0, location=location)
    bpy.context.object.scale = scale
    bpy.ops.object.transform_apply(location=False)
    return finish(name, paint, bevel)


def tube(name, paint, location, radius, depth, along="z", top=None):
    turn = {"x": (0, math.pi / 2, 0), "y": (math.pi / 2, 0, 0), "z": (0, 0, 0)}[along]
    bpy.ops.mesh.primitive_cone_add(vertices=48, radius1=radius, radius2=radius if top is None else top, depth=depth,
                                    location=location, rotation=turn)
    obj = finish(name, paint)
    bpy.ops.object.shade_smooth()
    if hasattr(obj.data, "use_auto_smooth"):  # until Blender 4.0; later there is an operator
        obj.data.use_auto_smooth = True  # an edge of 30 degrees and more stays one
    else:
        bpy.ops.object.shade_smooth_by_angle()
    return obj


def build():
    red, blue, gold = material("Red", RED), material("Blue", BLUE), material("Gold", GOLD)
    dark, wood = material("Iron", (0.06, 0.06, 0.08)), material("Wood", (0.55, 0.3, 0.12))
    box("Frame", dark, (0.0, 0, 0.55), (3.4, 1.1, 0.16))
    box("Cab", red, (1.1, 0, 1.3), (1.1, 1.2, 1.35))
    box("Roof", dark, (1.1, 0, 2.05), (1.4, 1.45, 0.14))
    tube("Boiler", blue, (-0.55, 0, 1.15), 0.52, 2.2, "x")
    tube("Band", gold, (-1.1, 0, 1.15), 0.545, 0.1, "x")
    tube("Chimney", dark, (-1.2, 0, 1.85), 0.16, 0.6, top=0.26)
    bpy.ops.mesh.primitive_uv_sphere_add(radius=0.24, location=(-0.3, 0, 1.65))
    bpy.ops.object.shade_smooth()
    finish("Dome", gold)
    box("Wagon", wood, (3.7, 0, 1.0), (2.4, 1.15, 0.8))
    box("Coupling", dark, (2.15, 0, 0.55), (1.0, 0.2, 0.1), 0.0)
    for number, (x, y) in enumerate((x, y) for x in (-1.1, 0.0, 1.1, 3.0, 4.4) for y in (-0.62, 0.62)):
        tube(f"Wheel {number}", red, (x, y, 0.42), 0.42, 0.16, "y")
        tube(f"Hub {number}", gold, (x, y * 1.16, 0.42), 0.12, 0.1, "y")
    for y in (-0.62, 0.62):
        box("Rail", dark, (1.5, y, -0.05), (9.0, 0.12, 0.1), 0.0)
    for number in range(12):
        box("Sleeper", wood, (-2.6 + number * 0.75, 0, -0.15), (0.32, 2.0, 0.12), 0.0)
    bpy.ops.object.text_add(location=(2.85, -0.585, 0.88), rotation=(math.pi / 2, 0, 0))
    text = bpy.context.object
    text.data.body, text.data.size, text.data.extrude = "TOY 1", 0.55, 0.02
    text.data.materials.append(gold)


def light_and_camera():
    bpy.ops.object.light_add(type="SUN", rotation=(math.radians(38), math.radians(12), math.radians(20)))
    bpy.ops.object.camera_add(location=(-4.6, -9.2, 4.6), rotation=(math.radians(69), 0, math.radians(-32)))
    bpy.context.scene.camera = bpy.context.object
    bpy.context.object.data.lens = 46


def main(folder):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    addon_utils.enable("selvarin_render")
    build()
    light_and_camera()
    scene = bpy.context.scene
    scene.render.engine = "SELVARIN"
    scene.render.resolution_x, scene.render.resolution_y = 720, 440
    scene.selvarin.shadows = True
    bpy.ops.selvarin.plain_colors()

    scene.selvarin.look.style = "Comic"
    scene.render.filepath = folder + "/train.png"
    bpy.ops.render.render(write_still=True)
    bpy.ops.selvarin.export_drawing(filepath=folder + "/train.svg")

    scene.selvarin.look.style = "Coloured pencil"
    cab = bpy.data.objects["Cab"].selvarin
    cab.use_look = True
    cab.look.style = "Comic"
    scene.render.filepath = folder + "/train-pencil.png"
    bpy.ops.render.render(write_still=True)


main(sys.argv[sys.argv.index("--") + 1])
