"""Blender reckons in linear light, the library in colours as a screen shows them (sRGB, IEC 61966-2-1)."""

from typing import Any, Sequence, Tuple

import numpy as np


def to_screen(linear: Any) -> np.ndarray:
    values = np.clip(np.asarray(linear, dtype=float), 0.0, 1.0)
    return np.where(values <= 0.0031308, values * 12.92, 1.055 * values ** (1.0 / 2.4) - 0.055)


def to_linear(screen: Any) -> np.ndarray:
    values = np.asarray(screen, dtype=float)
    return np.where(values <= 0.04045, values / 12.92, ((values + 0.055) / 1.055) ** 2.4)


def screen_color(linear: Sequence[float]) -> Tuple[float, float, float]:
    red, green, blue = to_screen(tuple(linear)[:3])
    return float(red), float(green), float(blue)


_LINEAR_OF_BYTE = to_linear(np.arange(256) / 255.0).astype(np.float32)


def as_pass(pixels: np.ndarray) -> np.ndarray:
    """(height, width, 4) bytes with the top row first as a pass has them: (height * width, 4) linear floats, multiplied by
    opacity, the bottom row first."""
    rows = pixels[::-1]
    result = np.empty(rows.shape, np.float32)
    result[..., 3] = rows[..., 3] * np.float32(1.0 / 255.0)
    result[..., :3] = _LINEAR_OF_BYTE[rows[..., :3]]
    if result[..., 3].min(initial=1.0) < 1.0:
        result[..., :3] *= result[..., 3:]
    return result.reshape(-1, 4)
