"""Pictures: renders as arrays."""

import os
import struct
import tempfile
import zlib
from contextlib import contextmanager
from typing import IO, Any, Dict, Iterator, Optional, Tuple, Union

import numpy as np

from ._camera import Camera
from ._colors import Color, optional_color, parse_color
from ._files import write_whole
from ._progress import Progress, reporter
from ._scene import PathLike, Scene, as_scene
from ._style import Style, as_style
from ._warnings import warn_all


class Picture:
    """A render. ``pixels`` is the memory that the library has drawn into: nothing is copied.

    numpy, matplotlib and PIL take it as it is; a notebook shows it.
    """

    def __init__(self, core: Any) -> None:
        self._core = core
        #: (height, width, 4) uint8: red, green, blue and opacity from 0 to 255, the top row first. Read only.
        self.pixels: np.ndarray = core.pixels
        #: (height, width) uint8: 0 at the near plane of the camera, 255 at the far plane and where nothing is; in
        #: perspective most of it lies near 255. None unless it was asked for. Read only.
        self.depth: Optional[np.ndarray] = core.depth
        #: (height, width) uint8: how many of the lights reach what is seen there, 255 for all of them, 0 for none.
        #: None unless it was asked for. Read only.
        self.shadow: Optional[np.ndarray] = core.shadow

    @property
    def width(self) -> int:
        """Pixels."""
        return self.pixels.shape[1]

    @property
    def height(self) -> int:
        """Pixels."""
        return self.pixels.shape[0]

    @property
    def shape(self) -> Tuple[int, ...]:
        """(height, width, 4)."""
        return self.pixels.shape

    @property
    def distances(self) -> Optional[np.ndarray]:
        """(height, width) float32: how far before the plane of the eye things are, in the scene's units, infinite where
        nothing is. As coarse as ``depth``, of which it is made. None unless that was asked for."""
        if self.depth is None:
            return None
        near, far = self._core.depth_range
        part = np.arange(256) / 255.0
        steps = near * far / (far - part * (far - near)) if self._core.is_perspective else near + part * (far - near)
        steps[255] = np.inf
        return steps.astype(np.float32)[self.depth]

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> np.ndarray:
        if dtype is not None and np.dtype(dtype) != self.pixels.dtype:
            return self.pixels.astype(dtype)
        return self.pixels.copy() if copy else self.pixels

    def encode(self, ending: str = "png") -> bytes:
        """The bytes of a file: png, jpg, tif, bmp or gif. A picture that is see-through keeps that in png alone;
        elsewhere it stands on white. Raises ValueError for another ending."""
        ending = ending.lower().lstrip(".")
        if self._core.is_opaque:
            return self._core.encode(ending)
        return _png(self.pixels) if ending == "png" else _on_white(self.pixels, ending)

    def _repr_png_(self) -> bytes:
        return self.encode("png")

    def save(self, file: Union[PathLike, IO[bytes]], format: Optional[str] = None) -> None:
        """Writes png, jpg, tif, bmp or gif, by the name's ending unless format says which. The file is replaced as a
        whole or stays as it was. Raises ValueError for an unknown ending and OSError."""
        if hasattr(file, "write"):
            file.write(self.encode(format or "png"))  # type: ignore[union-attr]
            return
        name = os.fspath(file)  # type: ignore[arg-type]
        write_whole(name, self.encode(format or os.path.splitext(name)[1]))

    def __repr__(self) -> str:
        return f"<Picture of {self.width} x {self.height} pixels>"


def render(scene: Any, size: Tuple[int, int] = (1280, 960), camera: Optional[Camera] = None,
           style: Union[Style, PathLike, None] = None, *, antialias: int = 2, shadows: bool = False,
           transparency: Optional[bool] = None, background: Optional[Color] = "#f7f2e8", ambient: Color = "#404040",
           background_image: Optional[PathLike] = None, paper: Optional[PathLike] = None, depth: bool = False,
           shadow_map: bool = False, progress: Progress = None) -> Picture:
    """Draws a scene; also a mesh or a file of one.

    size: width and height in pixels; drawn at most 16384 wide or high, times 1, 2 or 4 for antialias 0, 1 or 2.
    camera: None for that of a file, else a view from three quarters that fits.
    style: a Style, the name of one or its file.
    transparency: whether opacities count; None: if an object is not opaque.
    background: a colour, or None for a see-through picture, which is drawn twice to tell by how much.
    ambient: the colour of the light that is everywhere.
    background_image: a file; paper: the name of a drawing paper (``selvarin.papers()``) or a file.
    depth, shadow_map: whether the picture gets these arrays; the second wants shadows.
    progress: None for a bar where people wait, True, False, or a function of the part that is done and a text; it is
        called some 20 times a second on this thread, and False as its answer cancels the render.

    Raises ValueError, RenderError for a picture that can't be made (with the reason), Cancelled, and KeyboardInterrupt.
    Oddities of a picture that was made all the same come as a SelvarinWarning.
    """
    drawn = as_scene(scene)
    if shadow_map and not shadows:
        raise ValueError("a shadow map wants shadows=True")
    request = request_of(drawn, size, camera, style, transparency, background, ambient)
    request.update(antialias=_checked_antialias(antialias), shadows=bool(shadows), depth=bool(depth),
                   shadow_map=bool(shadow_map), background_image=_path(background_image), paper=_path(paper))
    with _temporary_folder(depth or shadow_map) as request["temporary_folder"]:
        core, warnings = with_progress(progress, lambda callback: drawn._core.render(request, callback))
    warn_all(warnings)
    return Picture(core)


def request_of(scene: Scene, size: Tuple[int, int], camera: Optional[Camera], style: Union[Style, PathLike, None],
               transparency: Optional[bool], background: Optional[Color], ambient: Color) -> Dict[str, Any]:
    """What pictures and drawings have in common."""
    width, height = _checked_size(size)
    if transparency is None:
        transparency = any(each.visible and each.opacity < 1.0 for each in scene)
    return {
        "width": width, "height": height, "antialias": 0, "shadows": False, "transparency": bool(transparency),
        "depth": False, "shadow_map": False, "background": optional_color(background, "background"),
        "ambient": parse_color(ambient, "ambient"), "background_image": "", "paper": "", "offset": 5.0,
        "temporary_folder": "", "camera": (camera or Camera())._request(scene.up), "look": as_style(style)._request(),
    }


def with_progress(progress: Progress, work: Any) -> Any:
    callback, finish = reporter(progress)
    try:
        return work(callback)
    finally:
        finish()


def _checked_size(size: Tuple[int, int]) -> Tuple[int, int]:
    try:
        width, height = (int(side) for side in size)
    except (TypeError, ValueError):
        raise TypeError(f"size: width and height in pixels are expected, not {size!r}") from None
    if not (1 <= width <= 1 << 20 and 1 <= height <= 1 << 20) or (width, height) != tuple(size):
        raise ValueError(f"size: two whole numbers from 1 are expected, not {size!r}")
    return width, height


def _checked_antialias(antialias: int) -> int:
    if antialias not in (0, 1, 2):
        raise ValueError(f"antialias: 0, 1 or 2 is expected, not {antialias!r}")
    return int(antialias)


def _path(path: Optional[PathLike]) -> str:
    return "" if path is None else os.fspath(path)


@contextmanager
def _temporary_folder(wanted: bool) -> Iterator[str]:
    if not wanted:
        yield ""
        return
    with tempfile.TemporaryDirectory(prefix="selvarin-") as folder:
        yield folder


def _png(pixels: np.ndarray) -> bytes:
    """With opacity, which the library's own writer leaves out. Portable Network Graphics, second edition (ISO 15948)."""
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    height, width = pixels.shape[:2]
    rows = np.zeros((height, 1 + width * 4), np.uint8)  # a row begins with the number of its filter, 0 for none
    rows[:, 1:] = pixels.reshape(height, -1)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows.tobytes(), 6)) + chunk(b"IEND", b""))


def _on_white(pixels: np.ndarray, ending: str) -> bytes:
    from . import _core
    opacity = pixels[..., 3:].astype(np.uint16)
    colors = (pixels[..., :3] * opacity + 255 * (255 - opacity) + 127) // 255
    return _core.encode(np.ascontiguousarray(colors.astype(np.uint8)), ending)
