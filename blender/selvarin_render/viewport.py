"""What a view of the scene shows in Rendered shading: a picture that a thread of its own draws, quickly while the view
changes, then once more as F12 would.

Only the main thread may read Blender's data, and while the library draws, whoever else asks it for something waits. So
everything that a picture needs is gathered between two pictures, and a fine one gives way when the view has changed.
"""

import atexit
import threading
import weakref
from typing import Any, Callable, NamedTuple, Optional, Tuple

import numpy as np

from . import library

#: Of a view's pixels along one side, what is drawn while it changes.
QUICK_PART = 0.5

_viewers: "weakref.WeakSet[Viewer]" = weakref.WeakSet()


class View(NamedTuple):
    """What is to be seen."""

    size: Tuple[int, int]  #: pixels
    camera: Any  #: of the library


class Subject(NamedTuple):
    """What is seen, gathered in the main thread."""

    scene: Any  #: of the library
    style: Any
    background: Any
    ambient: Tuple[float, ...]
    shadows: bool


class Shown(NamedTuple):
    pixels: np.ndarray
    subject: Subject
    view: View
    is_fine: bool


class Viewer:
    """redraw is called by the thread when there is another picture to be shown."""

    def __init__(self, redraw: Callable[[], None]) -> None:
        self.shown: Optional[Shown] = None
        #: Why there is no picture; "" if there is one.
        self.problem = ""
        self._redraw = redraw
        self._thread: Optional[threading.Thread] = None
        self._is_fine = False
        self._stops = False
        _viewers.add(self)

    def is_busy(self) -> bool:
        return self._thread is not None and self._thread.is_alive()

    def give_way(self) -> None:
        """What is being drawn is no longer wanted. A quick picture is finished all the same, so that there is one."""
        self._stops = self._stops or self._is_fine

    def ask(self, subject: Subject, view: View) -> None:
        """Begins to draw what is missing for this view, if nothing is being drawn."""
        if self.is_busy():
            return
        is_there = self.shown is not None and self.shown.subject is subject and self.shown.view == view
        if is_there and (self.shown.is_fine or self.problem):  # type: ignore[union-attr]
            return
        self._is_fine, self._stops = is_there, False
        self._thread = threading.Thread(target=self._draw, args=(subject, view, is_there), daemon=True)
        self._thread.start()

    def stop(self) -> None:
        """Waits for the thread."""
        self._stops = True
        if self._thread is not None:
            self._thread.join()

    def _draw(self, subject: Subject, view: View, is_fine: bool) -> None:
        width, height = view.size
        if not is_fine:
            width, height = max(int(width * QUICK_PART), 1), max(int(height * QUICK_PART), 1)
        try:
            picture = library.selvarin.render(
                subject.scene, (width, height), view.camera, subject.style, background=subject.background,
                ambient=subject.ambient, antialias=1 if is_fine else 0, shadows=subject.shadows and is_fine,
                progress=lambda _done, _text: not self._stops)
            self.shown, self.problem = Shown(picture.pixels, subject, view, is_fine), ""
        except library.selvarin.Cancelled:
            pass
        except (RuntimeError, ValueError, OSError, MemoryError) as error:
            self.problem = str(error) or "there is not enough memory"
        try:
            self._redraw()
        except ReferenceError:
            pass  # the view was closed meanwhile


def stop_all() -> None:
    for viewer in list(_viewers):
        viewer.stop()


atexit.register(stop_all)
