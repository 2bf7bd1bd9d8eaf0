"""Operators: exporting drawings, showing colours as they were drawn."""

import os
from typing import Any, Set

import bpy
from bpy.props import BoolProperty, EnumProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import engine, library
from .threads import in_thread

_FORMATS = (("SVG", "SVG", "For web pages and drawing programs"), ("PDF", "PDF", "For print"),
            ("EPS", "EPS", "For typesetting"), ("DXF", "DXF", "For CAD programs"))


def numbered(path: str, frame: int) -> str:
    stem, ending = os.path.splitext(path)
    return f"{stem}{frame:04d}{ending}"


class SELVARIN_OT_export_drawing(bpy.types.Operator, ExportHelper):
    bl_idname = "selvarin.export_drawing"
    bl_label = "Export drawing"
    bl_description = "Writes the view of the camera as lines and areas, in the look of the scene"

    filename_ext = ".svg"
    check_extension = None
    filter_glob: StringProperty(default="*.svg;*.pdf;*.eps;*.dxf", options={"HIDDEN"})  # type: ignore[valid-type]
    format: EnumProperty(name="Format", items=_FORMATS)  # type: ignore[valid-type]
    hidden: BoolProperty(  # type: ignore[valid-type]
        name="Hidden lines", description="Also draws what something stands before, dashed")
    animation: BoolProperty(  # type: ignore[valid-type]
        name="Animation", description="A file for each frame of the scene, with its number in the name")

    def check(self, _context: Any) -> bool:
        wanted = os.path.splitext(self.filepath)[0] + "." + self.format.lower()
        changed = wanted != self.filepath
        self.filepath = wanted
        return changed

    def execute(self, context: Any) -> Set[str]:
        if library.selvarin is None:
            self.report({"ERROR"}, library.problem)
            return {"CANCELLED"}
        path = bpy.path.abspath(self.filepath)
        if not self._is_known(path):
            path += "." + self.format.lower()
        scene = context.scene
        frames = range(scene.frame_start, scene.frame_end + 1, scene.frame_step) if self.animation \
            else [scene.frame_current]
        before = scene.render.engine, scene.frame_current
        try:
            scene.render.engine = engine.SelvarinEngine.bl_idname
            for frame in frames:
                if frame != scene.frame_current:
                    scene.frame_set(frame)
                if not self._write(scene, numbered(path, frame) if self.animation else path):
                    return {"CANCELLED"}
        finally:
            engine.pending_export = None
            scene.render.engine = before[0]
            if scene.frame_current != before[1]:
                scene.frame_set(before[1])
        self.report({"INFO"}, f"Wrote {path}" if not self.animation else f"Wrote {len(frames)} drawings")
        return {"FINISHED"}

    @staticmethod
    def _is_known(path: str) -> bool:
        return os.path.splitext(path)[1][1:].upper() in {name for name, _, _ in _FORMATS}

    def _write(self, scene: Any, path: str) -> bool:
        written = []

        def draw(render_engine: Any, depsgraph: Any) -> None:
            job = engine.Job(render_engine, depsgraph)
            style, background = job.style(), job.background() or "#ffffff"
            drawing = in_thread(lambda progress: library.selvarin.draw(
                job.scene, job.frame.size, job.camera, style, shadows=job.options.shadows, background=background,
                ambient=tuple(job.options.ambient), hidden=self.hidden, title=scene.name, progress=progress),
                job.progress)
            sheet = {"hidden": "dashed" if self.hidden else "none"}
            if job.is_transparent:
                sheet["background"] = False
            drawing.save(path, **sheet)
            written.append(path)

        engine.pending_export = draw
        try:
            bpy.ops.render.render(scene=scene.name)
        except RuntimeError as error:  # what the engine has reported
            self.report({"ERROR"}, str(error).strip())
            return False
        if not written:
            self.report({"WARNING"}, "The drawing was cancelled")
        return bool(written)


class SELVARIN_OT_plain_colors(bpy.types.Operator):
    bl_idname = "selvarin.plain_colors"
    bl_label = "Show colours as drawn"
    bl_description = "Sets the view transform to Standard, without look, exposure, gamma and dither noise"
    bl_options = {"REGISTER", "UNDO"}

    def execute(self, context: Any) -> Set[str]:
        scene = context.scene
        scene.view_settings.view_transform = "Standard"
        scene.view_settings.look = "None"
        scene.view_settings.exposure = 0.0
        scene.view_settings.gamma = 1.0
        scene.view_settings.use_curve_mapping = False
        if hasattr(scene.view_settings, "use_white_balance"):  # from Blender 4.3
            scene.view_settings.use_white_balance = False
        scene.render.dither_intensity = 0.0
        return {"FINISHED"}


def changes_colors(scene: Any) -> bool:
    """Whether Blender shows other colours than those of the picture."""
    view = scene.view_settings
    return view.view_transform not in ("Standard", "Raw") or view.look != "None" or view.exposure != 0.0 or \
        view.gamma != 1.0 or view.use_curve_mapping or getattr(view, "use_white_balance", False)


_CLASSES = (SELVARIN_OT_export_drawing, SELVARIN_OT_plain_colors)


def _menu(self: Any, _context: Any) -> None:
    self.layout.operator(SELVARIN_OT_export_drawing.bl_idname, text="Selvarin drawing (.svg/.pdf/.eps/.dxf)")


def register() -> None:
    for each in _CLASSES:
        bpy.utils.register_class(each)
    bpy.types.TOPBAR_MT_file_export.append(_menu)


def unregister() -> None:
    bpy.types.TOPBAR_MT_file_export.remove(_menu)
    for each in reversed(_CLASSES):
        bpy.utils.unregister_class(each)
