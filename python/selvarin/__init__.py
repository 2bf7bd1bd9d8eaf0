"""Selvarin draws 3-D scenes as a person would: cartoon and sketch pictures, and exact line drawings.

    import selvarin

    scene = selvarin.Scene()
    scene.add_mesh(vertices, faces, color="#d08040", name="part")   # numpy arrays, or a mesh of another library
    picture = selvarin.render(scene, size=(800, 600), style="Pen and ink")
    picture.save("part.png")                                         # a notebook shows it by itself
    selvarin.draw(scene).save("part.svg")

Coordinates are in whatever unit the model has; z is up unless ``Scene(up="y")`` or a file says otherwise. No display is
needed. All functions may be called from any thread: the library draws one picture at a time and the others wait, with
the interpreter's lock released. A process that was forked after its parent has drawn can't draw (``RenderError``); use
the start methods "spawn" or "forkserver".
"""

import os as _os

from . import _core
from ._camera import Camera
from ._core import Cancelled, Error, ModelError, RenderError
from ._drawing import Area, Drawing, Stroke, draw
from ._picture import Picture, render
from ._scene import Material, Scene, SceneObject
from ._style import SettingInfo, ShaderInfo, Style, StyleInfo, papers, shaders, styles
from ._textures import Texture
from ._warnings import SelvarinWarning

__all__ = [
    "Area", "Camera", "Cancelled", "Drawing", "Error", "Material", "ModelError", "Picture", "RenderError", "Scene",
    "SceneObject", "SelvarinWarning", "SettingInfo", "ShaderInfo", "Stroke", "Style", "StyleInfo", "Texture", "draw",
    "formats", "papers", "render", "shaders", "styles",
]
__version__: str = _core.version


def formats() -> "dict[str, str]":
    """The endings of model files that ``Scene.load`` reads, with the names of their formats."""
    return dict(_core.formats())


if hasattr(_os, "register_at_fork"):
    _os.register_at_fork(after_in_child=_core.after_fork)
