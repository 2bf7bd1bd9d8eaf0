"""How a scene is seen."""

import math
from dataclasses import dataclass, replace
from typing import TYPE_CHECKING, Any, Dict, Optional, Sequence, Tuple

if TYPE_CHECKING:
    from ._scene import Scene

Vector = Tuple[float, float, float]

# Where the camera stands for each view of a scene whose z is up, seen from its middle.
_VIEWS: Dict[str, Vector] = {
    "front": (0.0, -1.0, 0.0), "back": (0.0, 1.0, 0.0), "right": (1.0, 0.0, 0.0), "left": (-1.0, 0.0, 0.0),
    "top": (0.0, 0.0, 1.0), "bottom": (0.0, 0.0, -1.0), "isometric": (1.0, -1.0, 1.0),
}


def _vector(value: Optional[Sequence[float]], what: str) -> Optional[Vector]:
    if value is None:
        return None
    numbers = tuple(float(v) for v in value)
    if len(numbers) != 3 or not all(math.isfinite(v) for v in numbers):
        raise ValueError(f"{what}: three finite numbers are expected, not {value!r}")
    return numbers


def _direction(value: Optional[Sequence[float]], what: str) -> Optional[Vector]:
    numbers = _vector(value, what)
    if numbers is not None and not any(numbers):
        raise ValueError(f"{what} has no length")
    return numbers


@dataclass(frozen=True)
class Camera:
    """A view of a scene, in the scene's own units. What is left None follows from the scene when it is drawn.

    Make one by ``perspective``, ``parallel``, ``look_at``, ``view`` or ``from_angles``. A camera never changes:
    ``frame`` gives another one.
    """

    eye: Optional[Vector] = None
    target: Optional[Vector] = None
    direction: Optional[Vector] = None
    up: Optional[Vector] = None
    fov: Optional[float] = None
    height: Optional[float] = None
    #: What the picture shows of the view: left, lower, right and upper side, where the view reaches from 0 to 1. Beyond
    #: that the lens is shifted; inside it the picture is a detail.
    window: Tuple[float, float, float, float] = (0.0, 0.0, 1.0, 1.0)
    # A place on the sphere around a scene whose z is up, which is turned for scenes whose y is.
    _place: Optional[Vector] = None

    def __post_init__(self) -> None:
        for name in ("eye", "target"):
            object.__setattr__(self, name, _vector(getattr(self, name), name))
        for name in ("direction", "up"):
            object.__setattr__(self, name, _direction(getattr(self, name), name))
        if self.fov is not None and not 0.01 <= float(self.fov) <= 170.0:
            raise ValueError(f"fov: degrees from 0.01 to 170 are expected, not {self.fov!r}")
        if self.height is not None and not (math.isfinite(self.height) and self.height >= 0.0):
            raise ValueError(f"height: a number from 0 is expected, not {self.height!r}")
        window = tuple(float(side) for side in self.window)
        if len(window) != 4 or not all(math.isfinite(s) for s in window) or window[0] >= window[2] \
                or window[1] >= window[3]:
            raise ValueError(f"window: left, lower, right and upper side are expected, not {self.window!r}")
        object.__setattr__(self, "window", window)
        if self.eye is not None and self.eye == self.target:
            raise ValueError("eye and target are the same place")

    @staticmethod
    def perspective(eye: Optional[Sequence[float]] = None, target: Optional[Sequence[float]] = None, *,
                    direction: Optional[Sequence[float]] = None, up: Optional[Sequence[float]] = None,
                    fov: float = 30.0) -> "Camera":
        """A view in perspective. Without an eye it is so far away that the scene fills the picture; without target and
        direction it looks at the scene from three quarters, with an eye at the scene's middle.

        fov: degrees from the lower edge of the picture to the upper one. Raises ValueError for numbers that are not
        finite or out of range.
        """
        return Camera(eye, target, direction, up, float(fov))  # type: ignore[arg-type]

    @staticmethod
    def parallel(eye: Optional[Sequence[float]] = None, target: Optional[Sequence[float]] = None, *,
                 direction: Optional[Sequence[float]] = None, up: Optional[Sequence[float]] = None,
                 height: float = 0.0) -> "Camera":
        """A parallel view. height: what the picture shows from its lower edge to the upper one, in the scene's units; 0
        fits the scene. The distance of the eye does not matter."""
        return Camera(eye, target, direction, up, None, float(height))  # type: ignore[arg-type]

    @staticmethod
    def look_at(eye: Sequence[float], target: Sequence[float], up: Optional[Sequence[float]] = None,
                fov: float = 30.0) -> "Camera":
        """A view in perspective from one place to another."""
        return Camera(eye, target, None, up, float(fov))  # type: ignore[arg-type]

    @staticmethod
    def view(name: str, *, parallel: bool = False, fov: float = 30.0) -> "Camera":
        """A standard view that fits the scene: front, back, left, right, top, bottom or isometric, which is parallel."""
        if name not in _VIEWS:
            raise ValueError(f'"{name}" is no standard view; there are {", ".join(_VIEWS)}')
        return Camera._around(_VIEWS[name], parallel or name == "isometric", fov)

    @staticmethod
    def from_angles(elevation: float, azimuth: float, *, parallel: bool = False, fov: float = 30.0) -> "Camera":
        """A view that fits the scene, from the angles in degrees that matplotlib's ``view_init`` takes: elevation above
        the plane of x and y, azimuth from the x axis. At 90 and -90 degrees the picture is a plan."""
        e, a = math.radians(elevation), math.radians(azimuth)
        if not (math.isfinite(e) and math.isfinite(a)):
            raise ValueError("elevation and azimuth must be finite")
        return Camera._around((math.cos(e) * math.cos(a), math.cos(e) * math.sin(a), math.sin(e)), parallel, fov)

    @staticmethod
    def _around(place: Vector, parallel: bool, fov: float) -> "Camera":
        return Camera(fov=None if parallel else float(fov), height=0.0 if parallel else None, _place=place)

    def cropped(self, left: float, lower: float, right: float, upper: float) -> "Camera":
        """The same view of which a picture shows only that part, from 0 to 1 of what it shows now; (0.1, 0, 1.1, 1) shifts
        the lens to the right by a tenth of the picture's width."""
        x, y = self.window[:2]
        width, height = self.window[2] - x, self.window[3] - y
        return replace(self, window=(x + width * left, y + height * lower, x + width * right, y + height * upper))

    def frame(self, scene: "Scene", size: Tuple[float, float] = (4, 3)) -> "Camera":
        """The same view moved so that the visible objects fill a picture of this shape (width, height), with all its
        numbers filled in."""
        here = self.resolved(scene, size)
        return Camera(None, None, here.direction, here.up, here.fov,
                      None if here.height is None else 0.0, self.window).resolved(scene, size)

    def resolved(self, scene: "Scene", size: Tuple[float, float] = (4, 3)) -> "Camera":
        """With all numbers filled in as a render of this shape would choose them."""
        found = scene._core.resolve(self._request(scene.up), float(size[0]) / float(size[1]))
        perspective = found["height"] == 0.0
        return Camera(found["eye"], None, found["direction"], found["up"], found["fov"] if perspective else None,
                      None if perspective else found["height"], self.window)

    def _request(self, up: str) -> Dict[str, Any]:
        direction = self.direction
        if self._place is not None:
            x, y, z = (-c for c in self._place)
            direction = (x, y, z) if up == "z" else (x, z, -y)
        return {"eye": self.eye, "target": self.target, "direction": direction, "up": self.up, "fov": self.fov,
                "height": self.height, "window": self.window}
