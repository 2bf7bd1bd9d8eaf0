"""A turned part: three views and a picture of it as a drawing on an A4 sheet at 1:1. part.py FOLDER"""

import sys

import numpy as np

import selvarin
from selvarin import Camera


def turned(profile, n=96):
    """Turns a closed profile of (radius, height) around the z axis."""
    angles = np.linspace(0, 2 * np.pi, n, endpoint=False)
    profile = np.asarray(profile, float)
    vertices = np.stack([profile[:, :1] * np.cos(angles), profile[:, :1] * np.sin(angles),
                         np.broadcast_to(profile[:, 1:], (len(profile), n))], axis=-1).reshape(-1, 3)
    i = np.arange(len(vertices)).reshape(len(profile), n)
    below, after = np.roll(i, -1, axis=0), np.roll(i, -1, axis=1)
    return vertices, np.stack([i, after, np.roll(below, -1, axis=1), below], axis=-1).reshape(-1, 4)


FLANGE = [(10, 0), (40, 0), (40, 8), (20, 8), (20, 30), (24, 34), (24, 40), (10, 40)]  # millimetres


def main(folder):
    scene = selvarin.Scene()
    scene.add_mesh(*turned(FLANGE), color="#9fb4c4", name="flange", crease_angle=30)
    selvarin.render(scene, (800, 700), Camera.view("isometric"), "Technical").save(folder + "/part.png")
    # Bends of 45 degrees are edges of this part.
    lines = selvarin.Style(base="none", settings={"Outline.CreaseAngle": 30, "Outline.SmoothCreaseAngle": 30})
    for name in ("front", "top"):
        drawing = selvarin.draw(scene, (1000, 1000), Camera.view(name, parallel=True), lines)
        drawing.save(f"{folder}/part-{name}.pdf", page="A4", scale="1:1", line_group="0.5")
        drawing.save(f"{folder}/part-{name}.dxf", page="fit", scale="1:1")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else ".")
