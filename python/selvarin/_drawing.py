"""Drawings: renders as lines and areas."""

import hashlib
import os
import re
from dataclasses import dataclass
from typing import IO, Any, Dict, List, Optional, Tuple, Union

import numpy as np

from ._camera import Camera
from ._colors import Color
from ._files import write_whole
from ._picture import request_of, with_progress
from ._progress import Progress
from ._scene import PathLike, as_scene
from ._style import Style
from ._warnings import warn_all


def _within_a_page(svg: str) -> str:
    """An SVG that stands in HTML beside others: rules for classes hold for the whole page, so they get the drawing's own
    id, and a declaration of the encoding is an error in a text (nbconvert)."""
    svg = svg[svg.index("<svg "):]
    name = "selvarin-" + hashlib.sha256(svg.encode()).hexdigest()[:16]
    head, rules, rest = re.split(r"(?<=<style>)|(?=</style>)", svg, maxsplit=2)
    return head.replace("<svg ", f'<svg id="{name}" ', 1) + re.sub(r"^\.", f"#{name} .", rules, flags=re.MULTILINE) + rest


@dataclass(frozen=True)
class Stroke:
    """One line of a drawing. Places and widths are pixels, from the lower left corner of the picture."""

    kind: str  #: "contour", "boundary", "crease", "edge", "material", "intersection", or "line" for any other
    object: str  #: the name of the object; "" for none
    hidden: bool  #: something stands before it
    color: str  #: "#rrggbb"
    width: float
    closed: bool
    points: np.ndarray  #: (N, 2); curves come as points along them
    space: Optional[np.ndarray]  #: (M, 3), the same line in the scene's units; None where it is not known


@dataclass(frozen=True)
class Area:
    """One coloured area of a drawing. Places are pixels, from the lower left corner of the picture."""

    object: str  #: the name of the object; "" for none, and where it is not known
    color: str  #: "#rrggbb"
    opacity: float  #: from 0 to 1, which is opaque
    rings: List[np.ndarray]  #: each (N, 2), the outer one first; by the even-odd rule


class Drawing:
    """A render as lines and areas; a notebook shows it. Made by ``draw``; it stays as it is when the scene changes."""

    def __init__(self, core: Any) -> None:
        self._core = core

    @property
    def width(self) -> float:
        """Pixels."""
        return self._core.width

    @property
    def height(self) -> float:
        """Pixels."""
        return self._core.height

    @property
    def units_per_pixel(self) -> float:
        """The scene's units in a pixel of a parallel view; 0 in perspective."""
        return self._core.units_per_pixel

    def strokes(self, tolerance: float = 0.1) -> List[Stroke]:
        """All lines in the order of painting, above all areas. tolerance: how far points may leave a curve, in pixels."""
        return [Stroke(*stroke) for stroke in self._core.strokes(_checked(tolerance))]

    def areas(self, tolerance: float = 0.1) -> List[Area]:
        """All areas in the order of painting."""
        return [Area(*area) for area in self._core.areas(_checked(tolerance))]

    def encode(self, ending: str = "svg", **sheet: Any) -> bytes:
        """The bytes of a file: svg, pdf, eps, ps, ai, dxf, hpgl or plt. Raises ValueError. See ``save``."""
        return self._core.encode(ending.lower().lstrip("."), _sheet_words(sheet))

    def svg(self, **sheet: Any) -> str:
        """As a text: a group for each object, in it one for each kind of line, and a stylesheet."""
        return self.encode("svg", **sheet).decode("utf-8")

    def _repr_svg_(self) -> str:
        return _within_a_page(self.svg())

    def save(self, file: Union[PathLike, IO[bytes]], format: Optional[str] = None, **sheet: Any) -> None:
        """Writes svg, pdf, eps, ps, ai, dxf, hpgl or plt, by the name's ending unless format says which. The file is
        replaced as a whole or stays as it was. Raises ValueError and OSError.

        The sheet: page "A4", "210x297mm", "fit" or "picture" (the default); scale "1:2", of parallel views, with unit
        "mm", "cm", "m", "inch" of the scene's units; margin "10mm"; pens {"contour": "0.5mm"} or line_group "0.5" of
        ISO 128; hidden "none", "thin" or "dashed"; background False leaves the paper bare.
        """
        if hasattr(file, "write"):
            file.write(self.encode(format or "svg", **sheet))  # type: ignore[union-attr]
            return
        name = os.fspath(file)  # type: ignore[arg-type]
        write_whole(name, self.encode(format or os.path.splitext(name)[1], **sheet))

    def plot(self, axes: Any = None) -> Any:
        """Places the drawing in axes of matplotlib, by default the current ones, in pixels from the lower left corner.
        Returns the axes. It stays lines and areas in the files that matplotlib writes."""
        from matplotlib import pyplot
        from matplotlib.collections import LineCollection
        from matplotlib.patches import PathPatch
        from matplotlib.path import Path
        axes = pyplot.gca() if axes is None else axes
        for area in self.areas():
            rings = [Path(_turned(ring, number == 0), closed=False) for number, ring in enumerate(area.rings)]
            axes.add_patch(PathPatch(Path.make_compound_path(*rings), facecolor=area.color, alpha=area.opacity,
                                     linewidth=0))
        visible = [stroke for stroke in self.strokes() if not stroke.hidden]
        points_per_pixel = 72.0 / axes.figure.dpi
        axes.add_collection(LineCollection([stroke.points for stroke in visible],
                                           colors=[stroke.color for stroke in visible],
                                           linewidths=[stroke.width * points_per_pixel for stroke in visible],
                                           capstyle="round"))
        axes.set_xlim(0, self.width)
        axes.set_ylim(0, self.height)
        axes.set_aspect("equal")
        return axes

    def __repr__(self) -> str:
        return f"<Drawing of {self.width:g} x {self.height:g} pixels>"


def draw(scene: Any, size: Tuple[int, int] = (1280, 960), camera: Optional[Camera] = None,
         style: Union[Style, PathLike, None] = None, *, shadows: bool = False, transparency: Optional[bool] = None,
         background: Color = "#ffffff", ambient: Color = "#404040", areas: str = "regions", textures: str = "areas",
         hidden: bool = False, title: str = "", progress: Progress = None) -> Drawing:
    """Draws a scene as lines and areas; also a mesh or a file of one.

    size: width and height in pixels, which decide how wide the lines are. areas: "regions" joins what is visible of one
    look of one object, "faces" what lies in one plane, "triangles" nothing. textures, of regions: "areas" draws them and
    colours at vertices as areas of flat colour, "picture" puts a picture of them into each area, which files of DXF and
    HPGL and ``areas`` leave out, "mean" gives each surface their mean colour. shadows: areas in them are of darker looks.
    hidden: also lines that something stands before, where the shaders know them. title: of the file. Everything else is
    as for ``render``.

    Raises ValueError, RenderError, Cancelled and KeyboardInterrupt.
    """
    if areas not in ("regions", "faces", "triangles"):
        raise ValueError(f'areas: "regions", "faces" or "triangles" is expected, not {areas!r}')
    if textures not in ("areas", "picture", "mean"):
        raise ValueError(f'textures: "areas", "picture" or "mean" is expected, not {textures!r}')
    drawn = as_scene(scene)
    request = request_of(drawn, size, camera, style, transparency, background, ambient)
    request.update(shadows=bool(shadows))
    core, warnings = with_progress(
        progress, lambda callback: drawn._core.draw(request, areas, textures, bool(hidden), title, callback))
    warn_all(warnings)
    return Drawing(core)


def _turned(ring: np.ndarray, counter_clockwise: bool) -> np.ndarray:
    # matplotlib fills by the winding of rings.
    x, y = ring[:, 0], ring[:, 1]
    turns = float(np.sum(x * np.roll(y, -1) - y * np.roll(x, -1))) > 0.0
    return ring if turns == counter_clockwise else ring[::-1]


def _checked(tolerance: float) -> float:
    if not 0.0 < tolerance < 1e6:
        raise ValueError(f"tolerance: a number of pixels above 0 is expected, not {tolerance!r}")
    return float(tolerance)


_SHEET = ("page", "scale", "margin", "unit", "pens", "line_group", "hidden", "background")


def _sheet_words(sheet: Dict[str, Any]) -> Dict[str, Any]:
    words: Dict[str, Any] = {}
    for key, value in sheet.items():
        if key not in _SHEET:
            raise TypeError(f"{key!r} is no option of a sheet; there are {', '.join(_SHEET)}")
        if value is None:
            continue
        if key == "pens" and not isinstance(value, str):
            value = ",".join(f"{kind}={width}" for kind, width in dict(value).items())
        words[key] = bool(value) if key == "background" else str(value)
    return words
