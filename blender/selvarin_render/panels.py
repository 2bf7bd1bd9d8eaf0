"""Panels in the properties of render, view layer and object."""

from typing import Any, List

import bpy

from . import library, looks, operators
from .engine import SelvarinEngine
from .properties import PASSES

_classes: List[type] = []


def _draw_problem(layout: Any, text: str) -> None:
    box = layout.box()
    for number, line in enumerate(_lines(text)):
        box.label(text=line, icon="ERROR" if number == 0 else "BLANK1")


def _lines(text: str, width: int = 36) -> List[str]:
    lines = [""]
    for word in text.split():
        if len(lines[-1]) + len(word) > width and lines[-1]:
            lines.append("")
        lines[-1] += (" " if lines[-1] else "") + word
    return lines


def draw_look(layout: Any, look: Any) -> None:
    layout.prop(look, "style")
    if look.style == looks.FILE:
        layout.prop(look, "style_file")
    if look.problem:
        _draw_problem(layout, look.problem)
    layout.prop(look, "base")
    column = layout.column(heading="Added looks")
    for shader in library.shaders():
        if not shader.is_base:
            column.prop(look, looks.use_name(shader.tag))


def draw_settings(layout: Any, look: Any, shader: Any) -> None:
    group = getattr(look, looks.settings_name(shader.tag))
    for setting in shader.settings:
        layout.prop(group, setting.key)


class _RenderPanel(bpy.types.Panel):
    bl_space_type = "PROPERTIES"
    bl_region_type = "WINDOW"
    bl_context = "render"

    @classmethod
    def poll(cls, context: Any) -> bool:
        return context.engine == SelvarinEngine.bl_idname


class SELVARIN_PT_look(_RenderPanel):
    bl_label = "Look"
    bl_order = -2

    def draw(self, context: Any) -> None:
        layout = self.layout
        layout.use_property_split = True
        layout.use_property_decorate = False
        if library.selvarin is None:
            _draw_problem(layout, library.problem)
            return
        draw_look(layout, context.scene.selvarin.look)
        if operators.changes_colors(context.scene):
            _draw_problem(layout, "Colour management changes the colours of the picture.")
            layout.operator(operators.SELVARIN_OT_plain_colors.bl_idname)


class SELVARIN_PT_picture(_RenderPanel):
    bl_label = "Picture"
    bl_order = -1

    def draw(self, context: Any) -> None:
        layout = self.layout
        layout.use_property_split = True
        layout.use_property_decorate = False
        options = context.scene.selvarin
        layout.prop(options, "antialias")
        layout.prop(options, "shadows")
        layout.prop(options, "ambient")
        layout.prop(options, "background")
        if options.background == "COLOR":
            layout.prop(options, "background_color")
        layout.prop(context.scene.render, "film_transparent", text="Transparent")
        layout.prop(options, "paper")
        column = layout.column(heading="Lines")
        column.prop(options, "edge_marks")
        column.prop(options, "edge_mark_color")
        layout.operator(operators.SELVARIN_OT_export_drawing.bl_idname)


class SELVARIN_PT_passes(bpy.types.Panel):
    bl_label = "Passes"
    bl_space_type = "PROPERTIES"
    bl_region_type = "WINDOW"
    bl_context = "view_layer"

    @classmethod
    def poll(cls, context: Any) -> bool:
        return context.engine == SelvarinEngine.bl_idname

    def draw(self, context: Any) -> None:
        layout = self.layout
        layout.use_property_split = True
        layout.prop(context.view_layer, "use_pass_z", text="Depth")
        for name, _, _, _ in PASSES:
            layout.prop(context.view_layer.selvarin, name)


class SELVARIN_PT_object(bpy.types.Panel):
    bl_label = "Selvarin look"
    bl_space_type = "PROPERTIES"
    bl_region_type = "WINDOW"
    bl_context = "object"
    bl_options = {"DEFAULT_CLOSED"}

    @classmethod
    def poll(cls, context: Any) -> bool:
        return context.engine == SelvarinEngine.bl_idname and context.object is not None \
            and library.selvarin is not None

    def draw_header(self, context: Any) -> None:
        self.layout.prop(context.object.selvarin, "use_look", text="")

    def draw(self, context: Any) -> None:
        layout = self.layout
        layout.use_property_split = True
        layout.use_property_decorate = False
        options = context.object.selvarin
        layout.active = options.use_look
        draw_look(layout, options.look)
        for shader in looks.shaders_of(options.look):
            if not shader.covers_background:
                box = layout.box()
                box.label(text=shader.name)
                draw_settings(box, options.look, shader)


def _settings_panel(tag: str, name: str) -> type:
    """A panel below that of the look for the settings of one shader; it shows while the shader draws."""
    def chosen(look: Any) -> Any:
        return next((shader for shader in looks.shaders_of(look) if shader.tag == tag), None)

    def poll(_cls: Any, context: Any) -> bool:
        return context.engine == SelvarinEngine.bl_idname and chosen(context.scene.selvarin.look) is not None

    def draw(self: Any, context: Any) -> None:
        self.layout.use_property_split = True
        self.layout.use_property_decorate = True
        look = context.scene.selvarin.look
        draw_settings(self.layout, look, chosen(look))

    return type("SELVARIN_PT_shader_" + tag, (bpy.types.Panel,), {
        "bl_label": name, "bl_space_type": "PROPERTIES", "bl_region_type": "WINDOW", "bl_context": "render",
        "bl_parent_id": "SELVARIN_PT_look", "bl_options": {"DEFAULT_CLOSED"}, "poll": classmethod(poll), "draw": draw})


def register() -> None:
    _classes.append(SELVARIN_PT_look)
    _classes.extend(_settings_panel(shader.tag, shader.name) for shader in library.shaders())
    _classes.extend((SELVARIN_PT_picture, SELVARIN_PT_passes, SELVARIN_PT_object))
    for each in _classes:
        bpy.utils.register_class(each)


def unregister() -> None:
    for each in reversed(_classes):
        bpy.utils.unregister_class(each)
    _classes.clear()
