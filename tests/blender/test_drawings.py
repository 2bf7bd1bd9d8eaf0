"""Drawings: the export to SVG, PDF and others."""

import os
from xml.etree import ElementTree

import bpy
import pytest
from conftest import add_cube


def shapes_in(path):
    return [each for each in ElementTree.parse(path).iter() if each.tag.endswith("path")]


def test_the_view_is_written_as_svg_and_pdf(scene, tmp_path):
    add_cube(name="The cube")
    scene.render.engine = "BLENDER_WORKBENCH"
    assert bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg")) == {"FINISHED"}
    assert scene.render.engine == "BLENDER_WORKBENCH", "as it was"
    text = (tmp_path / "drawing.svg").read_text()
    assert len(shapes_in(tmp_path / "drawing.svg")) >= 2 and "The cube" in text
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.pdf"))
    assert (tmp_path / "drawing.pdf").read_bytes().startswith(b"%PDF")
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "other"), format="EPS")
    assert sorted(os.listdir(tmp_path)) == ["drawing.pdf", "drawing.svg", "other.eps"]


def test_what_hides_in_renders_hides_in_drawings(scene, tmp_path):
    add_cube(name="Seen")
    add_cube((1.2, 0.0, 0.0), name="Not rendered").hide_render = True
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg"))
    text = (tmp_path / "drawing.svg").read_text()
    assert "Seen" in text and "Not rendered" not in text


def test_hidden_lines_are_dashed(scene, tmp_path):
    add_cube()
    scene.camera.location, scene.camera.rotation_euler = (2.0, -8.0, 3.0), (1.25, 0.0, 0.25)
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "plain.svg"))
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "hidden.svg"), hidden=True)
    assert "dasharray" not in (tmp_path / "plain.svg").read_text()
    assert "dasharray" in (tmp_path / "hidden.svg").read_text()


def test_an_animation_is_a_file_for_each_frame(scene, tmp_path):
    cube = add_cube((-1.0, 0.0, 0.0))
    cube.keyframe_insert("location", frame=1)
    cube.location.x = 1.0
    cube.keyframe_insert("location", frame=3)
    scene.frame_end = 3
    scene.frame_set(2)
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg"), animation=True)
    names = [f"drawing{number:04d}.svg" for number in (1, 2, 3)]
    assert sorted(os.listdir(tmp_path)) == names
    assert len({(tmp_path / name).read_text() for name in names}) == 3
    assert scene.frame_current == 2


def test_a_transparent_film_leaves_the_paper_bare(scene, tmp_path):
    add_cube()
    scene.selvarin.background_color = (1.0, 1.0, 0.0)
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "sheet.svg"))
    scene.render.film_transparent = True
    bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "bare.svg"))
    assert '<rect id="background" width="160" height="120" fill="#ff0"/>' in (tmp_path / "sheet.svg").read_text()
    bare = (tmp_path / "bare.svg").read_text()
    assert "#ff0" not in bare and "<rect" not in bare


def test_a_place_that_can_not_be_written_is_told(scene, tmp_path):
    add_cube()
    with pytest.raises(RuntimeError, match="nowhere"):
        bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "nowhere" / "drawing.svg"))
    assert bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg")) == {"FINISHED"}


def test_a_cancelled_export_writes_nothing(scene, tmp_path, monkeypatch):
    from selvarin_render import engine
    add_cube()
    monkeypatch.setattr(engine, "wants_cancel", lambda _: True)
    assert bpy.ops.selvarin.export_drawing(filepath=str(tmp_path / "drawing.svg")) == {"CANCELLED"}
    assert os.listdir(tmp_path) == []
