"""What the library has to say though the work was done."""

import warnings
from typing import Iterable


class SelvarinWarning(UserWarning):
    """A picture or a scene is there, but something about it is not as it was asked for."""


def warn_all(lines: Iterable[str], stacklevel: int = 3) -> None:
    for line in lines:
        warnings.warn(line, SelvarinWarning, stacklevel=stacklevel)
