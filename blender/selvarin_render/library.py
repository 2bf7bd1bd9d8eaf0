"""The drawing library: the Python package selvarin, in the add-on's own folder or among the packages of Blender's Python.

The add-on can be enabled without it; panels and renders then say what is missing.
"""

import importlib
import os
import sys
from typing import Any, List

OWN_FOLDER = os.path.join(os.path.dirname(__file__), "lib")

#: The module; None where it can't be used.
selvarin: Any = None
#: Why not, for users.
problem = ""
# Asked for once: whoever asks the library while it draws waits until the picture is there, and panels must not.
_shaders: List[Any] = []


def load() -> None:
    """Imports the library, if it was not imported yet."""
    global selvarin, problem, _shaders
    if os.path.isdir(OWN_FOLDER) and OWN_FOLDER not in sys.path:
        sys.path.insert(0, OWN_FOLDER)
    try:
        module = importlib.import_module("selvarin")
        _shaders = module.shaders()
    except (ImportError, RuntimeError) as error:
        selvarin, problem = None, _reason(error)
        return
    selvarin, problem = module, ""


def _reason(error: Exception) -> str:
    if isinstance(error, ModuleNotFoundError) and error.name == "selvarin":
        return f"The Python package selvarin is missing: put it into {OWN_FOLDER}, or install it for {sys.executable}"
    version = ".".join(str(part) for part in sys.version_info[:2])
    return f"The Python package selvarin can't be used by Blender's Python {version}: {error}"


def shaders() -> List[Any]:
    """All shaders with their settings; none without the library."""
    return [] if selvarin is None else _shaders
