"""Textures as users have them: arrays, image files, and places on them."""

import os
from typing import Any, Optional, Tuple, Union

import numpy as np

from . import _core

_LARGEST_SIDE = 16384
_MOST_PIXELS = 1 << 26


class Texture:
    """A picture for surfaces. It is copied once, and all meshes that it lies on share it.

    image: (H, W, 3) or (H, W, 4), the top row first, whole numbers from 0 to 255 or floats from 0 to 1 as a screen shows
        them (sRGB); or the path of an image file (png, jpeg, bmp, gif, tiff), whose alpha does not count.
    wrap: how it goes on beyond its borders, "repeat", "clamp" or "mirror".
    cut_out: from 0 to 1; what is less opaque in the image is not there. 0: its alpha means nothing.

    Raises ValueError for other shapes, numbers that are out of range and files that are no pictures, TypeError for
    anything but numbers, and OSError.
    """

    def __init__(self, image: Any, wrap: str = "repeat", cut_out: float = 0.0) -> None:
        if wrap not in ("repeat", "clamp", "mirror"):
            raise ValueError(f'wrap: "repeat", "clamp" or "mirror" is expected, not {wrap!r}')
        if not 0.0 <= float(cut_out) <= 1.0:
            raise ValueError(f"cut_out: a number from 0 to 1 is expected, not {cut_out!r}")
        if isinstance(image, (str, os.PathLike)):
            path = os.fspath(image)
            with open(path, "rb"):
                pass  # raises the reason for which it can't be read
            self._core = _core.read_texture(path, wrap, float(cut_out))
        else:
            self._core = _core.make_texture(_pixels_of(np.asarray(image), "texture"), wrap, float(cut_out))


#: What stands for a texture: one, an array, or the path of an image file.
TextureLike = Union[Texture, np.ndarray, str, "os.PathLike[str]"]


def _pixels_of(image: np.ndarray, what: str) -> np.ndarray:
    if image.ndim != 3 or image.shape[2] not in (3, 4):
        raise ValueError(f"{what} must have the shape (H, W, 3) or (H, W, 4), not {image.shape}")
    height, width = image.shape[:2]
    if not (0 < height <= _LARGEST_SIDE and 0 < width <= _LARGEST_SIDE and width * height <= _MOST_PIXELS):
        raise ValueError(f"{what} must have from 1 to {_LARGEST_SIDE} pixels along each side and at most "
                         f"{_MOST_PIXELS} in all, not {width} x {height}")
    if image.dtype.kind not in "fiu":
        raise TypeError(f"{what} must be numbers, not {image.dtype}")
    if image.dtype != np.uint8:
        largest = 1.0 if image.dtype.kind == "f" else 255
        if not np.all((image >= 0) & (image <= largest)):
            raise ValueError(f"{what} must be from 0 to {largest:g}")
        image = np.rint(image * (255.0 if image.dtype.kind == "f" else 1)).astype(np.uint8)
    if image.shape[2] == 3:
        image = np.concatenate([image, np.full((height, width, 1), 255, np.uint8)], axis=2)
    return np.ascontiguousarray(image)


def texture_places(uv: Any, faces: Any) -> Tuple[np.ndarray, bool]:
    """Rows of (u, 1 - v, 0), and whether there is one for each corner."""
    array = np.asarray(uv)
    if array.dtype.kind not in "fiu":
        raise TypeError(f"uv must be numbers, not {array.dtype}")
    by_corner = array.ndim == 3
    if by_corner:
        if faces.offsets is not None or array.shape[1:] != (3, 2):
            raise ValueError(f"uv by corner must have the shape (M, 3, 2), of triangles, not {array.shape}")
        array = array.reshape(-1, 2)
    if array.ndim != 2 or array.shape[1] != 2:
        raise ValueError(f"uv must have the shape (N, 2), or (M, 3, 2) by corner, not {array.shape}")
    places = np.zeros((len(array), 3), np.float64)
    places[:, 0] = array[:, 0]
    places[:, 1] = 1.0 - array[:, 1]
    return places, by_corner


def core_texture(texture: Any) -> Any:
    return (texture if isinstance(texture, Texture) else Texture(texture))._core


def vertex_color_places(colors: Any, count: int, corners: Optional[int], parse: Any) -> Tuple[np.ndarray, bool]:
    """Colours by vertex, (N, 3), or by corner of triangles, (M, 3, 3), as floats from 0 to 1."""
    array = np.asarray(colors)
    by_corner = array.ndim == 3
    if by_corner and (corners is None or array.shape[1] != 3):
        raise ValueError(f"vertex_colors by corner must have the shape (M, 3, 3), of triangles, not {array.shape}")
    rows = array.reshape(-1, array.shape[2]) if by_corner else array
    bytes_ = parse(rows, corners if by_corner else count, "vertex_colors")
    return np.asarray(bytes_, np.float64) / 255.0, by_corner
