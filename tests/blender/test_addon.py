"""The add-on itself: enabled and disabled, without its library, its panels, looks and files."""

import sys

import addon_utils
import bpy
import numpy as np
import pytest
from conftest import add_cube, disable, enable


def names_of_the_addon():
    found = {name for name in dir(bpy.types) if "selvarin" in name.lower()}
    for owner in (bpy.types.Scene, bpy.types.ViewLayer, bpy.types.Object):
        found |= {f"{owner.__name__}.{name}" for name in dir(owner) if "selvarin" in name}
    for panel in bpy.types.Panel.__subclasses__():
        if "SELVARIN" in getattr(panel, "COMPAT_ENGINES", ()):
            found.add(panel.__name__)
    return found


def test_it_can_be_enabled_disabled_and_enabled_again(scene, render):
    add_cube()
    first = render()
    there = names_of_the_addon()
    assert len(there) > 10
    disable()
    assert names_of_the_addon() == set()
    enable()
    assert names_of_the_addon() == there
    scene = bpy.context.scene
    scene.render.engine = "SELVARIN"
    scene.selvarin.antialias, scene.selvarin.background = "0", "COLOR"
    assert np.array_equal(render(), first)


def test_a_missing_library_is_told(scene, monkeypatch):
    disable()
    for name in [name for name in sys.modules if name.split(".")[0] in ("selvarin", "selvarin_render")]:
        monkeypatch.delitem(sys.modules, name)
    monkeypatch.setitem(sys.modules, "selvarin", None)
    enable()
    scene = bpy.context.scene
    scene.render.engine = "SELVARIN"
    with pytest.raises(RuntimeError, match="The Python package selvarin is missing"):
        bpy.ops.render.render()
    with pytest.raises(RuntimeError, match="The Python package selvarin is missing"):
        bpy.ops.selvarin.export_drawing(filepath="/nowhere/drawing.svg")
    from selvarin_render import panels
    layout = Layout()
    panels.SELVARIN_PT_look.draw(Shown(layout), bpy.context)
    assert any("missing" in text for text in layout.texts)
    disable()
    for name in [name for name in sys.modules if name.split(".")[0] == "selvarin_render"]:
        monkeypatch.delitem(sys.modules, name)
    enable()


class Layout:
    """Takes what a panel draws, and refuses properties that are not there."""

    def __init__(self, texts=None, properties=None):
        self.texts = [] if texts is None else texts
        self.properties = [] if properties is None else properties

    def prop(self, data, name, **_options):
        assert name in data.bl_rna.properties, name
        self.properties.append(data.bl_rna.properties[name])

    def label(self, text="", **_options):
        self.texts.append(text)

    def operator(self, name, **_options):
        group, operator = name.split(".")
        assert operator in dir(getattr(bpy.ops, group))

    def _inner(self, **_options):
        return Layout(self.texts, self.properties)

    row = column = box = _inner


class Shown:
    def __init__(self, layout):
        self.layout = layout


class Context:
    def __init__(self, obj):
        self.scene, self.view_layer, self.object = bpy.context.scene, bpy.context.view_layer, obj
        self.engine = self.scene.render.engine


def test_panels_show_each_setting_with_its_tool_tip(scene):
    import selvarin
    from selvarin_render import looks, panels
    context = Context(add_cube())
    layout = Layout()
    for shader in selvarin.shaders():
        if not shader.is_base:
            setattr(scene.selvarin.look, looks.use_name(shader.tag), True)
    drawn = 0
    for panel in panels._classes:
        assert panel.poll(context), panel
        panel.draw(Shown(layout), context)
        drawn += 1
    assert drawn >= 4 + len(selvarin.shaders())
    shown = {(p.description, p.name) for p in layout.properties}
    for shader in selvarin.shaders():
        for setting in shader.settings:
            assert (setting.text, looks.words(setting.key)) in shown, setting.key
    outline = scene.selvarin.look.shader_Outline
    outline.CreaseAngle = 999.0
    assert outline.CreaseAngle == 180.0, "kept in the range of the library's table"
    scene.render.engine = "BLENDER_EEVEE"
    assert not any(panel.poll(Context(context.object)) for panel in panels._classes)


def test_each_style_fills_the_look_in(scene):
    import selvarin
    from selvarin_render import looks
    look = scene.selvarin.look
    for style in selvarin.styles():
        look.style = style.name
        expected, found = selvarin.Style(style.name).resolved(), looks.style_of(look)
        assert (found.base, found.add) == (expected.base, expected.add), style.name
        assert {key: found[key] for key in found} == {key: expected[key] for key in expected}, style.name
    look.style = looks.NONE
    assert {key: looks.style_of(look)[key] for key in looks.style_of(look)} == \
        {key: value for key, value in ((k, selvarin.Style().resolved()[k]) for k in selvarin.Style().resolved())}


def test_a_style_can_be_a_file_and_a_bad_one_is_told(scene, tmp_path):
    import selvarin
    look = scene.selvarin.look
    path = next(style.path for style in selvarin.styles() if style.name == "Comic")
    look.style = "FILE"
    look.style_file = path
    assert look.problem == ""
    expected = selvarin.Style("Comic").resolved()
    from selvarin_render import looks
    assert {key: looks.style_of(look)[key] for key in looks.style_of(look)} == {key: expected[key] for key in expected}
    (tmp_path / "bad.kiv").write_text("nonsense")
    look.style_file = str(tmp_path / "bad.kiv")
    assert "bad.kiv" in look.problem


def test_a_file_keeps_the_look(scene, tmp_path):
    scene.selvarin.look.style = "Comic"
    scene.selvarin.look.shader_Outline.Colour = (1.0, 0.0, 0.0)
    add_cube().selvarin.use_look = True
    path = str(tmp_path / "scene.blend")
    bpy.ops.wm.save_as_mainfile(filepath=path)
    bpy.ops.wm.read_factory_settings(use_empty=True)
    enable()
    bpy.ops.wm.open_mainfile(filepath=path)
    look = bpy.context.scene.selvarin.look
    assert look.style == "Comic" and tuple(look.shader_Outline.Colour) == (1.0, 0.0, 0.0)
    assert bpy.data.objects["Cube"].selvarin.use_look


def test_labels_are_words():
    from selvarin_render.looks import words
    assert [words(key) for key in ("Colour", "SilhouetteWidth", "DoubleSided")] == \
        ["Colour", "Silhouette width", "Double sided"]


def test_colour_management_can_be_set_aside(scene):
    from selvarin_render import operators
    assert not operators.changes_colors(scene)
    scene.view_settings.view_transform = "Filmic"
    assert operators.changes_colors(scene)


def test_blender_knows_what_the_addon_is():
    module = next(each for each in addon_utils.modules(refresh=False) if each.__name__ == "io_scene_gltf2")
    assert module is not None
    import selvarin_render
    assert selvarin_render.bl_info["category"] == "Render"
