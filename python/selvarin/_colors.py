"""Colours as users write them."""

import math
from typing import Optional, Sequence, Tuple, Union

import numpy as np

Color = Union[str, Sequence[float]]

_NAMES = {
    "black": "#000000", "white": "#ffffff", "red": "#d62728", "green": "#2ca02c", "blue": "#1f77b4",
    "orange": "#ff7f0e", "purple": "#9467bd", "brown": "#8c564b", "pink": "#e377c2", "gray": "#7f7f7f",
    "grey": "#7f7f7f", "olive": "#bcbd22", "cyan": "#17becf", "yellow": "#ffdd33", "silver": "#c0c0c0",
    "gold": "#d4a017", "teal": "#008080", "navy": "#1b2a49",
}


def parse_color(color: Color, what: str = "color") -> Tuple[float, float, float]:
    """Red, green and blue from 0 to 1, of "#rrggbb", "#rgb", a name, or three numbers from 0 to 1."""
    if isinstance(color, str):
        text = _NAMES.get(color.strip().lower(), color.strip())
        digits = text[1:] if text.startswith("#") else ""
        if len(digits) == 3:
            digits = "".join(c * 2 for c in digits)
        if len(digits) != 6 or any(c not in "0123456789abcdefABCDEF" for c in digits):
            raise ValueError(f'{what}: "{color}" is no colour; "#rrggbb", three numbers from 0 to 1, or one of '
                             f'{", ".join(sorted(_NAMES))} is expected')
        return tuple(int(digits[i:i + 2], 16) / 255.0 for i in (0, 2, 4))  # type: ignore[return-value]
    try:
        numbers = tuple(float(c) for c in color)
    except (TypeError, ValueError):
        raise TypeError(f'{what}: "#rrggbb", a name or three numbers are expected, not {color!r}') from None
    if len(numbers) not in (3, 4) or not all(math.isfinite(c) and 0.0 <= c <= 1.0 for c in numbers):
        raise ValueError(f"{what}: three numbers from 0 to 1 are expected, not {color!r}")
    return numbers[:3]  # type: ignore[return-value]


def hex_of(color: Color) -> str:
    """"#rrggbb"."""
    return "#" + "".join(f"{round(c * 255):02x}" for c in parse_color(color))


def parse_colors(colors: object, count: int, what: str) -> np.ndarray:
    """Colours of faces or vertices, (count, 3) or (count, 4), as bytes. Whole numbers count from 0 to 255, others from
    0 to 1; a fourth column is left out."""
    array = np.asarray(colors)
    if array.ndim != 2 or array.shape[1] not in (3, 4):
        raise ValueError(f"{what} must have the shape ({count}, 3) or ({count}, 4), not {array.shape}")
    if array.shape[0] != count:
        raise ValueError(f"{what} has {array.shape[0]} rows, but {count} are needed")
    array = array[:, :3]
    if array.dtype == np.uint8:
        return array
    if array.dtype.kind not in "fiu":
        raise TypeError(f"{what} must be numbers, not {array.dtype}")
    largest = 1.0 if array.dtype.kind == "f" else 255
    if not np.all((array >= 0) & (array <= largest)):
        raise ValueError(f"{what} must be from 0 to {largest:g}")
    return np.rint(array * (255.0 if array.dtype.kind == "f" else 1)).astype(np.uint8)


def palette_of(colors: np.ndarray, most: int) -> Tuple[np.ndarray, np.ndarray]:
    """At most so many colours, (K, 3) floats from 0 to 1, and the number of each row's."""
    packed = (colors[:, 0].astype(np.uint32) << 16) | (colors[:, 1].astype(np.uint32) << 8) | colors[:, 2]
    keys, inverse, counts = np.unique(packed, return_inverse=True, return_counts=True)
    known = np.stack([(keys >> 16) & 255, (keys >> 8) & 255, keys & 255], axis=1).astype(float)
    if len(known) <= most:
        return known / 255.0, inverse
    means, group = _median_cut(known, counts, most)
    return means / 255.0, group[inverse]


def _median_cut(colors: np.ndarray, counts: np.ndarray, most: int) -> Tuple[np.ndarray, np.ndarray]:
    # Heckbert 1982, Color image quantization for frame buffer display: the box with most to gain is cut where half of
    # its pixels lie on either side.
    boxes = [np.arange(len(colors))]
    gains = [_gain(colors, counts, boxes[0])]
    while len(boxes) < most and max(gains) > 0.0:
        at = int(np.argmax(gains))
        box = boxes[at]
        axis = int(np.argmax(np.ptp(colors[box], axis=0)))
        box = box[np.argsort(colors[box, axis], kind="stable")]
        sums = np.cumsum(counts[box])
        cut = min(max(int(np.searchsorted(sums, sums[-1] / 2.0)), 1), len(box) - 1)
        boxes[at], gains[at] = box[:cut], _gain(colors, counts, box[:cut])
        boxes.append(box[cut:])
        gains.append(_gain(colors, counts, box[cut:]))
    means = np.array([np.average(colors[box], axis=0, weights=counts[box]) for box in boxes])
    group = np.empty(len(colors), dtype=np.int64)
    for number, box in enumerate(boxes):
        group[box] = number
    return means, group


def _gain(colors: np.ndarray, counts: np.ndarray, box: np.ndarray) -> float:
    return float(np.ptp(colors[box], axis=0).max()) * math.sqrt(float(counts[box].sum())) if len(box) > 1 else 0.0


def optional_color(color: Optional[Color], what: str) -> Optional[Tuple[float, float, float]]:
    return None if color is None else parse_color(color, what)
