"""Caffeine as balls and sticks. molecule.py FOLDER"""

import sys

import numpy as np

import selvarin

# Element, x, y, z in angstroms.
ATOMS = """
N  1.047 0.000 -1.312  C -0.208 0.000 -1.790  C  2.176 0.000 -2.246  C  1.285 0.000  0.016  N -1.276 0.000 -0.971
O -0.384 0.000 -2.993  C -2.629 0.000 -1.533  C -1.098 0.000  0.402  C  0.193 0.000  0.911  N -1.934 0.000  1.444
O  2.428 0.000  0.437  N  0.068 0.000  2.286  C -1.251 0.000  2.560  C  1.161 0.000  3.261
"""
COLORS = {"C": "#565a66", "N": "#3d6fd0", "O": "#d84434"}
RADII = {"C": 0.34, "N": 0.33, "O": 0.31}


def ball(n=24):
    """A sphere of radius 1 as quads."""
    t, p = np.meshgrid(np.linspace(0, np.pi, n // 2 + 1), np.linspace(0, 2 * np.pi, n, endpoint=False), indexing="ij")
    vertices = np.stack([np.sin(t) * np.cos(p), np.sin(t) * np.sin(p), np.cos(t)], axis=-1).reshape(-1, 3)
    i = np.arange(vertices.shape[0]).reshape(t.shape)
    after = np.roll(i, -1, axis=1)
    return vertices, np.stack([i[:-1], i[1:], after[1:], after[:-1]], axis=-1).reshape(-1, 4)


def stick(start, end, radius=0.1, n=12):
    """A cylinder without its ends."""
    axis = (end - start) / np.linalg.norm(end - start)
    side = np.cross(axis, (0.3, 0.9, 0.2))
    side /= np.linalg.norm(side)
    angles = np.linspace(0, 2 * np.pi, n, endpoint=False)[:, None]
    ring = radius * (np.cos(angles) * side + np.sin(angles) * np.cross(axis, side))
    i = np.arange(n)
    j = (i + 1) % n
    return np.concatenate([start + ring, end + ring]), np.stack([i, j, j + n, i + n], axis=-1)


def main(folder):
    words = ATOMS.split()
    elements = words[::4]
    places = np.array([[float(v) for v in words[i + 1:i + 4]] for i in range(0, len(words), 4)])
    scene = selvarin.Scene()
    vertices, faces = ball()
    for number, (element, place) in enumerate(zip(elements, places)):
        scene.add_mesh(vertices * RADII[element] + place, faces, color=COLORS[element], name=f"{element}{number + 1}")
    for a in range(len(places)):
        for b in range(a):
            if np.linalg.norm(places[a] - places[b]) < 1.6:
                scene.add_mesh(*stick(places[a], places[b]), color="#d8d4c8", name="bond")
    camera = selvarin.Camera.perspective(direction=(-0.4, 1.0, -0.5))
    selvarin.render(scene, (900, 800), camera, "Clean toon", shadows=True).save(folder + "/molecule.png")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else ".")
