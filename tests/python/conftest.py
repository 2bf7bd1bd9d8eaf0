"""What the tests of the package share. The environment (tests/python/CMakeLists.txt) names the package to be tested."""

import os

import numpy as np
import pytest

import selvarin

CUBE_VERTICES = np.array([[x, y, z] for x in (0.0, 1.0) for y in (0.0, 1.0) for z in (0.0, 1.0)])
CUBE_FACES = np.array([[0, 1, 3, 2], [4, 6, 7, 5], [0, 4, 5, 1], [2, 3, 7, 6], [0, 2, 6, 4], [1, 5, 7, 3]])



@pytest.fixture
def cube():
    """A scene of one red unit cube."""
    scene = selvarin.Scene()
    scene.add_mesh(CUBE_VERTICES, CUBE_FACES, color="#ff0000", name="cube")
    return scene


@pytest.fixture
def small():
    """Options of a render that takes little time."""
    return {"size": (80, 60), "antialias": 0, "background": "#ffffff"}


@pytest.fixture(scope="session")
def program():
    """The command line, of the same build as the package."""
    path = os.path.join(selvarin._core.library_folder(), "selvarin")
    assert os.path.exists(path)
    return path


def covered(picture):
    """The part of a picture over white that is not white."""
    return float(np.mean(np.any(picture.pixels[..., :3] != 255, axis=-1)))
