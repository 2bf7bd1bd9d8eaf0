"""The render engine: what F12, animations and exports of drawings run."""

import warnings
from typing import Any, Callable, List, NamedTuple, Optional, Tuple

import bpy
import numpy as np

from . import library, looks, viewport
from .colors import as_pass
from .export import Exporter, camera_of, view_of, world_color
from .properties import PASSES
from .threads import in_thread, unless_drawing

#: Set while an operator exports a drawing: called with the engine and its dependency graph in place of a render, as only
#: a render sees the scene with the modifiers and the visibility of renders.
pending_export: Optional[Callable[[Any, Any], None]] = None

_FARTHEST = 1e10  # what Blender's own engines put into the depth of what is empty


def tell(engine: Any, done: float, text: str) -> None:
    engine.update_stats("", text)
    engine.update_progress(done)


def wants_cancel(engine: Any) -> bool:
    return engine.test_break()


class Frame(NamedTuple):
    """What a render shows of the camera's view."""

    whole: Tuple[int, int]  #: pixels
    size: Tuple[int, int]  #: of the part that is drawn
    border: Tuple[float, float, float, float]  #: of that part in the whole: left, lower, right, upper


def frame_of(engine: Any, render: Any) -> Frame:
    width, height = engine.resolution_x, engine.resolution_y
    if not render.use_border:
        return Frame((width, height), (width, height), (0.0, 0.0, 1.0, 1.0))
    # In single precision, as Blender itself finds the pixels of a border.
    left, right, lower, upper = (int(np.float32(side) * np.float32(length)) for side, length in (
        (render.border_min_x, width), (render.border_max_x, width), (render.border_min_y, height),
        (render.border_max_y, height)))
    right, upper = max(right, left + 1), max(upper, lower + 1)
    return Frame((width, height), (right - left, upper - lower),
                 (left / width, lower / height, right / width, upper / height))


def background_of(scene: Any) -> Any:
    if scene.selvarin.background == "COLOR":
        return tuple(scene.selvarin.background_color)
    return world_color(scene.world)


class Job:
    """The pictures of one render."""

    def __init__(self, engine: Any, depsgraph: Any) -> None:
        self.engine = engine
        self.depsgraph = depsgraph
        self.options = depsgraph.scene.selvarin
        self.frame = frame_of(engine, depsgraph.scene.render)
        self.is_transparent = depsgraph.scene.render.film_transparent
        self._parts = (0.0, 1.0)
        tell(engine, 0.0, "Preparing the scene")
        self.scene = Exporter(depsgraph, self._check_cancel).run()
        camera = engine.camera_override or depsgraph.scene.camera
        if camera is None:
            raise ValueError("the scene has no camera")
        self.camera = camera_of(camera, depsgraph, self.frame.whole, self.frame.border)

    def _check_cancel(self) -> None:
        if wants_cancel(self.engine):
            raise library.selvarin.Cancelled("cancelled")

    def progress(self, done: float, text: str) -> bool:
        begin, end = self._parts
        tell(self.engine, begin + (end - begin) * done, text or "Drawing")
        return not wants_cancel(self.engine)

    def background(self) -> Any:
        return None if self.is_transparent else background_of(self.depsgraph.scene)

    def style(self) -> Any:
        """A see-through picture has no sheet behind it."""
        return looks.style_of(self.options.look, lambda shader: not (self.is_transparent and shader.covers_background))

    def picture(self, parts: Tuple[float, float], style: Any, background: Any, **wanted: Any) -> Any:
        self._parts = parts
        paper = "" if self.options.paper == looks.NONE else self.options.paper
        return in_thread(lambda progress: library.selvarin.render(
            self.scene, self.frame.size, self.camera, style, background=background, paper=paper or None,
            antialias=int(self.options.antialias), ambient=tuple(self.options.ambient), progress=progress, **wanted),
            self.progress)


def _fill(result_pass: Any, values: np.ndarray) -> None:
    values = np.ascontiguousarray(values, np.float32)
    try:
        result_pass.rect.foreach_set(values)  # Blender 3 counts rows
    except TypeError:
        result_pass.rect.foreach_set(values.ravel())


def _grey(values: np.ndarray) -> np.ndarray:
    return values[::-1].reshape(-1, 1)


def draw_layer(job: Job, layer: Any) -> None:
    """Fills the passes of a view layer; each that needs one has a picture of its own."""
    names = {each.name for each in layer.passes}
    extra = [name for _, name, channels, _ in PASSES if channels == "RGBA" and name in names]
    step = 1.0 / (1 + len(extra))
    shadows = job.options.shadows or "Cast shadows" in names
    picture = job.picture((0.0, step), job.style(), job.background(), shadows=job.options.shadows or shadows,
                          shadow_map="Cast shadows" in names, depth="Depth" in names)
    _fill(layer.passes["Combined"], as_pass(picture.pixels))
    if "Depth" in names:
        _fill(layer.passes["Depth"], _grey(np.minimum(picture.distances, _FARTHEST)))
    if "Cast shadows" in names:
        _fill(layer.passes["Cast shadows"], _grey(picture.shadow / np.float32(255.0)))
    keeps = {"Colours": lambda shader: shader.is_base,
             "Lines": lambda shader: not shader.is_base and not shader.covers_background}
    for number, name in enumerate(extra, 1):
        style = looks.style_of(job.options.look, keeps[name])
        drawn = job.picture((number * step, (number + 1) * step), style, None if name == "Lines" else job.background(),
                            shadows=job.options.shadows and name != "Lines")
        _fill(layer.passes[name], as_pass(drawn.pixels))


class SelvarinEngine(bpy.types.RenderEngine):
    bl_idname = "SELVARIN"
    bl_label = "Selvarin"
    bl_use_preview = False
    bl_use_postprocess = True
    bl_use_eevee_viewport = True

    def update_render_passes(self, scene: Any = None, renderlayer: Any = None) -> None:
        self.register_pass(scene, renderlayer, "Combined", 4, "RGBA", "COLOR")
        if renderlayer.use_pass_z:
            self.register_pass(scene, renderlayer, "Depth", 1, "Z", "VALUE")
        for name, label, channels, _ in PASSES:
            if getattr(renderlayer.selvarin, name):
                self.register_pass(scene, renderlayer, label, len(channels), channels,
                                   "COLOR" if channels == "RGBA" else "VALUE")

    def render(self, depsgraph: Any) -> None:
        if library.selvarin is None:
            self._fail(library.problem)
            return
        try:
            with warnings.catch_warnings(record=True) as caught:
                warnings.simplefilter("always", library.selvarin.SelvarinWarning)
                if pending_export is not None:
                    pending_export(self, depsgraph)
                else:
                    self._draw(depsgraph)
            for text in dict.fromkeys(str(each.message) for each in caught):
                self.report({"WARNING"}, text)
        except library.selvarin.Cancelled:
            pass  # Blender knows already: it has asked for this
        except (RuntimeError, ValueError, OSError, MemoryError) as error:
            self._fail(str(error) or "there is not enough memory")

    def _draw(self, depsgraph: Any) -> None:
        job = Job(self, depsgraph)
        width, height = job.frame.size
        result = self.begin_result(0, 0, width, height, layer=depsgraph.view_layer.name)
        done = False
        try:
            draw_layer(job, result.layers[0])
            done = True
        finally:
            self.end_result(result, cancel=not done)

    def _fail(self, text: str) -> None:
        self.error_set(text)
        self.report({"ERROR"}, text)

    # --- the view in Rendered shading ---

    def view_update(self, _context: Any, _depsgraph: Any) -> None:
        self._subject = None
        viewer = getattr(self, "_viewer", None)
        if viewer is not None:
            viewer.give_way()

    def view_draw(self, context: Any, depsgraph: Any) -> None:
        if library.selvarin is None:
            self.update_stats("", library.problem)
            return
        if getattr(self, "_viewer", None) is None:
            self._viewer = viewport.Viewer(self.tag_redraw)
        viewer = self._viewer
        view = viewport.View((context.region.width, context.region.height), view_in(context.region_data))
        shown = viewer.take(view)
        if viewer.is_busy():
            if viewer.shown is None or viewer.shown.view != view:
                viewer.give_way()
        else:
            if getattr(self, "_subject", None) is None:
                self._subject = unless_drawing(lambda: subject_of(depsgraph), viewer.redraw)
            if self._subject is not None:
                viewer.ask(self._subject, view)
        self.update_stats("", viewer.problem or (viewport.TOO_SLOW if viewer.pace.part is None else ""))
        if shown is not None:
            show(shown.pixels, view.size)

    def __del__(self) -> None:
        # What Blender has removed already refuses its attributes by the usual way.
        viewer = object.__getattribute__(self, "__dict__").get("_viewer")
        if viewer is not None:
            viewer.stop()
        inherited = getattr(super(), "__del__", None)  # from Blender 4.4
        if inherited is not None:
            inherited()


def subject_of(depsgraph: Any) -> viewport.Subject:
    options = depsgraph.scene.selvarin
    return viewport.Subject(Exporter(depsgraph).run(), looks.style_of(options.look), background_of(depsgraph.scene),
                            tuple(options.ambient), options.shadows)


def view_in(region_data: Any) -> Any:
    """The camera of a view, which may look through that of the scene."""
    return view_of(np.array(region_data.view_matrix.inverted(), dtype=float), np.array(region_data.window_matrix))


def show(pixels: np.ndarray, size: Tuple[int, int]) -> None:
    """Fills the view. Blender turns its linear light into colours of the screen afterwards."""
    import gpu
    from gpu_extras.presets import draw_texture_2d
    height, width = pixels.shape[:2]
    values = as_pass(pixels)
    buffer = gpu.types.Buffer("FLOAT", values.size, values.ravel())
    draw_texture_2d(gpu.types.GPUTexture((width, height), format="RGBA16F", data=buffer), (0, 0), *size)


# --- panels of Blender's own that make sense here ---

_LEFT_OUT = {"RENDER_PT_freestyle", "RENDER_PT_simplify_grease_pencil", "VIEWLAYER_PT_freestyle",
             "VIEWLAYER_PT_freestyle_lineset", "VIEWLAYER_PT_freestyle_linestyle", "RENDER_PT_gpencil",
             "VIEWLAYER_PT_layer_passes", "MATERIAL_PT_preview", "WORLD_PT_preview", "LIGHT_PT_preview",
             "TEXTURE_PT_preview"}


# Blender 4.2 to 4.5 have some of them for its old and for its new engine.
_OF_EEVEE = {"EEVEE_MATERIAL_PT_surface", "EEVEE_WORLD_PT_surface", "VIEWLAYER_PT_eevee_layer_passes_data"}


def _panels() -> List[Any]:
    found = []
    for panel in bpy.types.Panel.__subclasses__():
        engines = getattr(panel, "COMPAT_ENGINES", ())
        name = panel.__name__
        if name not in _LEFT_OUT and "BLENDER_RENDER" in engines:
            found.append(panel)
        elif name.replace("_NEXT_", "_").replace("_next_", "_") in _OF_EEVEE:
            found.append(panel)
    return found


def register() -> None:
    bpy.utils.register_class(SelvarinEngine)
    for panel in _panels():
        panel.COMPAT_ENGINES.add(SelvarinEngine.bl_idname)


def unregister() -> None:
    viewport.stop_all()
    for panel in bpy.types.Panel.__subclasses__():
        getattr(panel, "COMPAT_ENGINES", set()).discard(SelvarinEngine.bl_idname)
    bpy.utils.unregister_class(SelvarinEngine)
