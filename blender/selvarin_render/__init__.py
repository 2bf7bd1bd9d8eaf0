"""Selvarin as a render engine of Blender: F12 draws the open scene as a person would."""

bl_info = {
    "name": "Selvarin",
    "description": "Cartoon and sketch pictures and exact line drawings of the scene",
    "author": "The Selvarin developers",
    "version": (2, 0, 0),
    "blender": (3, 4, 0),
    "location": "Render Properties > Render Engine",
    "category": "Render",
}

from . import engine, library, looks, operators, panels, properties


def register() -> None:
    library.load()
    looks.register()
    properties.register()
    engine.register()
    operators.register()
    panels.register()


def unregister() -> None:
    panels.unregister()
    operators.unregister()
    engine.unregister()
    properties.unregister()
    looks.unregister()
