"""What differs between versions of Blender, held by stand-ins of both shapes; needs no Blender.

The names are those of the interface's own descriptions: until 3.6 normals are asked for and lie at the loops, from 4.1
they lie at corners; 4.0 renamed most sockets of the Principled node, 4.2 brought manifests and panels of a second Eevee,
4.3 a white balance, 4.5 the temperature of lights, 5.0 keeps edge marks as an attribute."""

import importlib
import importlib.machinery
import importlib.util
import os
import sys
import types
from types import SimpleNamespace

import numpy as np
import pytest

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")


class Items(list):
    """A collection of Blender: rows that foreach_get lays one behind the other."""

    def foreach_get(self, name, values):
        values[:] = np.concatenate([np.ravel(getattr(item, name)) for item in self]) if self else []


class Named(Items):
    def get(self, name, default=None):
        return next((item for item in self if item.name == name), default)


@pytest.fixture
def addon(monkeypatch):
    """Imports modules of the add-on, over a bpy that knows the names of classes and nothing else."""
    class Panel:
        pass

    bpy = types.ModuleType("bpy")
    bpy.types = SimpleNamespace(Panel=Panel, **{name: type(name, (), {}) for name in
                                                ("RenderEngine", "Operator", "PropertyGroup")})
    bpy.utils = SimpleNamespace(register_class=lambda each: None, unregister_class=lambda each: None)
    props = types.ModuleType("bpy.props")
    for name in ("Bool", "Enum", "Float", "FloatVector", "Int", "Pointer", "String"):
        setattr(props, name + "Property", lambda **given: given)
    bpy.props = props
    extras = types.ModuleType("bpy_extras.io_utils")
    extras.ExportHelper = type("ExportHelper", (), {})
    # In Blender the real ones are there: they shall be the same afterwards.
    for name in [name for name in sys.modules if name.startswith("selvarin_render.")]:
        monkeypatch.delitem(sys.modules, name)
    package = types.ModuleType("selvarin_render")
    package.__path__ = [os.path.join(ROOT, "blender", "selvarin_render")]
    for name, module in {"bpy": bpy, "bpy.props": props, "bpy_extras": types.ModuleType("bpy_extras"),
                         "bpy_extras.io_utils": extras, "selvarin_render": package}.items():
        monkeypatch.setitem(sys.modules, name, module)
    yield lambda name: importlib.import_module("selvarin_render." + name)
    for name in [name for name in sys.modules if name.startswith("selvarin_render.")]:
        del sys.modules[name]


# --- meshes ---

NORMALS = np.array([[0.0, 0.0, 1.0], [0.0, 0.6, 0.8], [0.6, 0.0, 0.8]], np.float32)


def triangle(version):
    """A mesh of one triangle, of which the first edge is marked."""
    mesh = SimpleNamespace(asked=False)
    mesh.calc_loop_triangles = lambda: None
    mesh.vertices = Items(SimpleNamespace(co=co) for co in ((0, 0, 0), (1, 0, 0), (0, 1, 0)))
    mesh.loop_triangles = Items([SimpleNamespace(loops=(0, 1, 2), vertices=(0, 1, 2), material_index=0)])
    mesh.edges = Items(SimpleNamespace(vertices=ends, is_loose=False) for ends in ((0, 1), (1, 2), (2, 0)))
    mesh.color_attributes, mesh.uv_layers, mesh.attributes = Named(), Named(), Named()
    mesh.color_attributes.active_color = None
    if version < (4, 1):
        mesh.loops = Items(SimpleNamespace(normal=(0, 0, 0)) for _ in NORMALS)

        def calc():
            for loop, normal in zip(mesh.loops, NORMALS):
                loop.normal = normal
        mesh.calc_normals_split = calc
    else:
        mesh.loops = Items(SimpleNamespace(vertex_index=i) for i in range(3))
        mesh.corner_normals = Items(SimpleNamespace(vector=normal) for normal in NORMALS)
    if version < (5, 0):
        for i, edge in enumerate(mesh.edges):
            edge.use_freestyle_mark = i == 0
    else:
        mesh.attributes.append(SimpleNamespace(name="freestyle_edge", data=Items(
            SimpleNamespace(value=i == 0) for i in range(3))))
    return mesh


@pytest.mark.parametrize("version", [(3, 4), (4, 1), (5, 0)])
def test_normals_and_marks_of_a_mesh(addon, version):
    arrays = addon("meshes").arrays_of(triangle(version))
    assert np.array_equal(arrays.normals[0], NORMALS)
    assert [run.tolist() for run in arrays.marks] == [[0, 1]]


# --- materials ---

class Inputs(dict):
    def __iter__(self):
        return iter(self.values())


def socket(value, kind="RGBA", node=None):
    return SimpleNamespace(default_value=value, type=kind, enabled=True, is_linked=node is not None,
                           links=[SimpleNamespace(from_node=node)] if node is not None else [])


def principled(version):
    inputs = Inputs({"Base Color": socket((1.0, 0.0, 0.0, 1.0)), "Roughness": socket(0.25, "VALUE"),
                     "Alpha": socket(0.5, "VALUE")})
    old = {"Specular": socket(0.5, "VALUE"), "Emission": socket((0.0, 0.0, 0.0, 1.0))}
    new = {"Specular IOR Level": socket(0.5, "VALUE"), "Emission Color": socket((1.0, 1.0, 1.0, 1.0)),
           "Emission Strength": socket(0.0, "VALUE")}
    inputs.update(old if version < (4, 0) else new)
    return SimpleNamespace(name="Principled BSDF", type="BSDF_PRINCIPLED", inputs=inputs)


def material(node):
    output = SimpleNamespace(inputs={"Surface": socket(None, "SHADER", node)})
    return SimpleNamespace(use_nodes=True, node_tree=SimpleNamespace(get_output_node=lambda target: output))


@pytest.mark.parametrize("version", [(3, 4), (4, 0)])
def test_the_principled_node(addon, version):
    paint = addon("materials").paint_of(material(principled(version)))
    assert paint.color == pytest.approx((1.0, 0.0, 0.0)) and paint.opacity == 0.5 and paint.gloss == 0.75


@pytest.mark.parametrize("factor", ["Fac", "Factor"])
def test_the_factor_of_a_mix(addon, factor):
    clear = SimpleNamespace(name="Clear", type="BSDF_TRANSPARENT", inputs=Inputs())
    solid = principled((4, 0))
    solid.inputs["Alpha"].default_value = 1.0
    mix = SimpleNamespace(name="Mix", type="MIX_SHADER", inputs=Inputs({
        factor: socket(0.25, "VALUE"), "Shader": socket(None, "SHADER", clear), "Other": socket(None, "SHADER", solid)}))
    assert addon("materials").paint_of(material(mix)).opacity == pytest.approx(0.25)


# --- lights ---

@pytest.mark.parametrize("more, color", [
    ({}, (0.5, 1.0, 0.25)), ({"use_temperature": False, "temperature_color": (1.0, 0.5, 0.0)}, (0.5, 1.0, 0.25)),
    ({"use_temperature": True, "temperature_color": (1.0, 0.25, 0.5)}, (1.0, 0.5, 0.25))], ids=["3.4", "off", "on"])
def test_a_light_has_the_hue_of_its_temperature(addon, more, color):
    lit = []
    light = SimpleNamespace(type="POINT", color=(0.5, 1.0, 0.25), energy=3.0, **more)
    exporter = SimpleNamespace(scene=SimpleNamespace(add_light=lambda kind, **given: lit.append(given["color"])))
    addon("export").Exporter._add_light(exporter, light, np.eye(4))
    assert lit == [pytest.approx(color)]


# --- colours, panels, the zip ---

def view_of(version):
    view = SimpleNamespace(view_transform="Filmic" if version < (4, 0) else "AgX", look="None", exposure=0.0, gamma=1.0,
                           use_curve_mapping=False)
    if version >= (4, 3):
        view.use_white_balance = True
    return view


@pytest.mark.parametrize("version", [(3, 4), (4, 0), (4, 3)])
def test_plain_colors(addon, version):
    operators = addon("operators")
    scene = SimpleNamespace(view_settings=view_of(version), render=SimpleNamespace(dither_intensity=1.0))
    assert operators.changes_colors(scene)
    operators.SELVARIN_OT_plain_colors.execute(None, SimpleNamespace(scene=scene))
    assert not operators.changes_colors(scene)
    assert getattr(scene.view_settings, "use_white_balance", False) is False
    if version >= (4, 3):
        scene.view_settings.use_white_balance = True
        assert operators.changes_colors(scene)


@pytest.mark.parametrize("names", [
    ("EEVEE_MATERIAL_PT_surface", "EEVEE_WORLD_PT_surface", "VIEWLAYER_PT_eevee_layer_passes_data"),
    ("EEVEE_NEXT_MATERIAL_PT_surface", "EEVEE_NEXT_WORLD_PT_surface", "VIEWLAYER_PT_eevee_next_layer_passes_data")])
def test_panels_of_either_eevee(addon, names):
    engine = addon("engine")
    panel = sys.modules["bpy"].types.Panel
    there = [type(name, (panel,), {"COMPAT_ENGINES": {"BLENDER_EEVEE_NEXT"}}) for name in (*names, "EEVEE_PT_other")]
    assert [each.__name__ for each in engine._panels() if each in there] == list(names)


def script():
    path = os.path.join(ROOT, "scripts", "blender-zip")
    loader = importlib.machinery.SourceFileLoader("blender_zip", path)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("blender_zip", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    return module


@pytest.mark.parametrize("machine, platform", [
    ("linux_x86_64", "linux-x64"), ("manylinux_2_34_aarch64", "linux-arm64"), ("macosx_11_0_arm64", "macos-arm64"),
    ("win_amd64", "windows-x64")])
def test_the_manifest_in_the_zip(tmp_path, machine, platform):
    import ast
    import tomllib
    import zipfile
    from pathlib import Path
    wheel = tmp_path / f"selvarin-3.4.5-cp311-cp311-{machine}.whl"
    with zipfile.ZipFile(wheel, "w") as archive:
        archive.writestr("selvarin/__init__.py", "")
    addon = Path(ROOT) / "blender" / "selvarin_render"
    script().main(addon, wheel, tmp_path)
    with zipfile.ZipFile(tmp_path / f"selvarin-blender-3.4.5-cp311-{machine}.zip") as archive:
        manifest = tomllib.loads(archive.read("selvarin_render/blender_manifest.toml").decode())
        code = archive.read("selvarin_render/__init__.py").decode()
        assert "selvarin_render/lib/selvarin/__init__.py" in archive.namelist()
    assert manifest["platforms"] == [platform] and manifest["version"] == "3.4.5"
    assert manifest["id"] == "selvarin_render" and manifest["type"] == "add-on" and manifest["schema_version"] == "1.0.0"
    assert manifest["blender_version_min"] == "4.2.0" and manifest["license"][0].startswith("SPDX:")
    # What Blender refuses: long taglines, and such with a full stop.
    assert len(manifest["tagline"]) <= 64 and manifest["tagline"][-1].isalnum()
    assert all(len(reason) <= 64 and reason[-1].isalnum() for reason in manifest["permissions"].values())
    # Earlier Blenders find the other description, which says the same.
    assigned = next(each for each in ast.parse(code).body if isinstance(each, ast.Assign))
    assert assigned.targets[0].id == "bl_info" and ast.literal_eval(assigned.value)["name"] == manifest["name"]
