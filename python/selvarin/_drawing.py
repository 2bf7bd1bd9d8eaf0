"""Drawings: renders as lines and areas."""

import os
import tempfile
from typing import IO, Any, Optional, Tuple, Union

from ._camera import Camera
from ._colors import Color
from ._files import write_whole
from ._picture import request_of, with_progress
from ._progress import Progress
from ._scene import PathLike, Scene, as_scene
from ._style import Style
from ._warnings import warn_all

_PAGES = ("svg", "pdf", "eps", "ps", "ai")


class Drawing:
    """A render as vectors; a notebook shows it. Made by ``draw``."""

    def __init__(self, scene: Scene, request: Any, simplify: bool) -> None:
        self._pages: dict = {}
        self._scene = scene
        self._request = request
        self._simplify = simplify

    @property
    def width(self) -> int:
        return self._request["width"]

    @property
    def height(self) -> int:
        return self._request["height"]

    def encode(self, ending: str = "svg") -> bytes:
        ending = ending.lower().lstrip(".")
        if ending not in _PAGES:
            raise ValueError(f'"{ending}" is no ending of a drawing: {", ".join(_PAGES)} is expected')
        return self._page(ending, False)

    def _page(self, ending: str, progress: Progress) -> bytes:
        if ending not in self._pages:
            with tempfile.TemporaryDirectory(prefix="selvarin-") as folder:
                file = os.path.join(folder, "drawing." + ending)
                warn_all(with_progress(progress, lambda callback: self._scene._core.draw_page(
                    self._request, self._simplify, file, callback)))
                with open(file, "rb") as page:
                    self._pages[ending] = page.read()
        return self._pages[ending]

    def svg(self) -> str:
        return self.encode("svg").decode("utf-8")

    def _repr_svg_(self) -> str:
        return self.svg()

    def save(self, file: Union[PathLike, IO[bytes]], format: Optional[str] = None) -> None:
        if hasattr(file, "write"):
            file.write(self.encode(format or "svg"))  # type: ignore[union-attr]
            return
        name = os.fspath(file)  # type: ignore[arg-type]
        write_whole(name, self.encode(format or os.path.splitext(name)[1]))


def draw(scene: Any, size: Tuple[int, int] = (1280, 960), camera: Optional[Camera] = None,
         style: Union[Style, PathLike, None] = None, *, transparency: Optional[bool] = None,
         background: Color = "#ffffff", ambient: Color = "#404040", simplify: bool = True,
         progress: Progress = None) -> Drawing:
    drawn = as_scene(scene)
    drawing = Drawing(drawn, request_of(drawn, size, camera, style, transparency, background, ambient), simplify)
    drawing._page("svg", progress)
    return drawing
