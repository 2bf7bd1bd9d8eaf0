"""Runs pytest in Blender; its arguments come after "--": the folder of the package selvarin, then those of pytest."""

import os
import sys

import pytest

here = os.path.dirname(os.path.abspath(__file__))
packages, *arguments = sys.argv[sys.argv.index("--") + 1:]
sys.path[:0] = [packages, os.path.join(here, "..", "..", "blender"), here]
sys.exit(int(pytest.main(["-q", "-p", "no:cacheprovider", *arguments])))
