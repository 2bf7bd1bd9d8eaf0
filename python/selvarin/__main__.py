"""``python -m selvarin`` is the command line, the program that comes with the package."""

import os
import sys

from . import _core


def main() -> int:
    program = os.path.join(_core.library_folder(), "selvarin")
    if not os.path.exists(program):
        print(f"selvarin: the program is missing: {program}", file=sys.stderr)
        return 1
    os.execv(program, ["selvarin", *sys.argv[1:]])


if __name__ == "__main__":
    sys.exit(main())
