"""One model in all styles on one sheet. contact_sheet.py FOLDER [MODEL]"""

import sys

import numpy as np
from matplotlib import image

import selvarin


def main(folder, model=None, size=(240, 180), columns=5):
    scene = selvarin.Scene()
    if model is None:
        scene.add_demo()
    else:
        scene.load(model)
    pictures = [selvarin.render(scene, size, style=style.name, antialias=1).pixels for style in selvarin.styles()]
    blank = np.full_like(pictures[0], 255)
    pictures += [blank] * (-len(pictures) % columns)
    rows = [np.hstack(pictures[i:i + columns]) for i in range(0, len(pictures), columns)]
    image.imsave(folder + "/contact_sheet.png", np.vstack(rows))


if __name__ == "__main__":
    main(*(sys.argv[1:] or ["."]))
