"""A surface with exact hidden lines, beside the same one as matplotlib plots it. surface.py FOLDER"""

import sys

import matplotlib

matplotlib.use("agg")
import numpy as np
from matplotlib import pyplot

import selvarin


def grid(n=40):
    x, y = np.meshgrid(np.linspace(-3, 3, n), np.linspace(-3, 3, n))
    return x, y, np.sin(x) * np.cos(y) * np.exp(-(x**2 + y**2) / 12) * 1.5


def surface_scene(x, y, z):
    vertices = np.stack([x, y, z], axis=-1).reshape(-1, 3)
    i = np.arange(x.size).reshape(x.shape)
    faces = np.stack([i[:-1, :-1], i[:-1, 1:], i[1:, 1:], i[1:, :-1]], axis=-1).reshape(-1, 4)
    level = (z.ravel() - z.min()) / (z.max() - z.min())
    scene = selvarin.Scene()
    scene.add_mesh(vertices, faces, vertex_colors=pyplot.cm.YlGnBu(level)[:, :3], name="surface")
    # Every second line of the grid, a hair above the surface.
    lines = [row for row in i[::2]] + [column for column in i.T[::2]]
    scene.add_lines(vertices + (0, 0, 0.01), lines, color="#203040", name="grid")
    return scene


def main(folder):
    x, y, z = grid()
    figure = pyplot.figure(figsize=(10, 4))
    axes = figure.add_subplot(1, 2, 1, projection="3d")
    axes.plot_surface(x, y, z, cmap="YlGnBu", edgecolor="#203040", linewidth=0.4)
    axes.set_title("matplotlib")
    axes.view_init(30, -60)
    axes = figure.add_subplot(1, 2, 2)
    scene = surface_scene(x, y, z)
    camera = selvarin.Camera.from_angles(30, -60)
    axes.imshow(selvarin.render(scene, (900, 700), camera, background="#ffffff"))
    axes.set_title("selvarin.render")
    axes.axis("off")
    figure.savefig(folder + "/surface.png", dpi=110)
    selvarin.draw(scene, (900, 700), camera).save(folder + "/surface.svg")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else ".")
