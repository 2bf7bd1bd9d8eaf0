"""The examples run and give what they say."""

import importlib.util
import os
from pathlib import Path

import pytest

pytest.importorskip("matplotlib")

EXAMPLES = Path(__file__).resolve().parents[2] / "examples" / "python"


def example(name):
    specification = importlib.util.spec_from_file_location(name, EXAMPLES / (name + ".py"))
    module = importlib.util.module_from_spec(specification)
    specification.loader.exec_module(module)
    return module


@pytest.mark.parametrize("name, files", [
    ("surface", ["surface.png", "surface.svg"]),
    ("molecule", ["molecule.png"]),
    ("part", ["part.png", "part-front.pdf", "part-front.dxf", "part-top.pdf", "part-top.dxf"]),
])
def test_examples(name, files, tmp_path):
    example(name).main(str(tmp_path))
    assert sorted(os.listdir(tmp_path)) == sorted(files)
    assert all((tmp_path / file).stat().st_size > 500 for file in files)


def test_the_contact_sheet(tmp_path):
    from matplotlib import image
    (tmp_path / "one.obj").write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 1 4 3\n")
    example("contact_sheet").main(str(tmp_path), tmp_path / "one.obj", size=(24, 18))
    height, width = image.imread(tmp_path / "contact_sheet.png").shape[:2]
    assert width == 120 and height % 18 == 0 and height >= 72
