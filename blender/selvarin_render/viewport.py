"""What a view of the scene shows in Rendered shading: a picture that a thread of its own draws, quickly while the view
changes, then once more as F12 would.

Only the main thread may read Blender's data, and while the library draws, whoever else asks it for something waits. So
everything that a picture needs is gathered between two pictures, and a fine one gives way when the view has changed.

A quick look is worth having only while it keeps up: it becomes coarser until there are five pictures a second, and where
not even the coarsest one is in time, the view is drawn when it rests, and not before.
"""

import atexit
import threading
import time
import weakref
from typing import Any, Callable, List, NamedTuple, Optional, Tuple

import numpy as np

from . import library
from .threads import drawing

#: Of a view's pixels along one side, what is drawn while it changes.
QUICK_PARTS = (1 / 2, 1 / 3, 1 / 4)
#: From the beginning of a quick picture until the view shows it, at most.
QUICK_SECONDS = 0.2
#: One picture may be late for other reasons, the first of a scene as its meshes are welded for it: the best and the
#: worst of so many decide.
PICTURES_TO_JUDGE = 3
#: Beyond this the coarsest picture would be late as well, if all of the time went into pixels: then fewer decide.
HOPELESS_SECONDS = QUICK_SECONDS * (QUICK_PARTS[0] / QUICK_PARTS[-1]) ** 2
PICTURES_TO_GIVE_UP = 2

TOO_SLOW = "Too much for a look while the view turns: it is drawn once it rests"

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
    begun: float  #: by the monotonic clock


class Pace:
    """How coarse a quick picture has to be to be in time, by the times of those before."""

    def __init__(self) -> None:
        self._number = 0  # of the part; behind the last one: none
        self._recent: List[float] = []
        self._is_hopeless = False

    @property
    def part(self) -> Optional[float]:
        """Of the view's pixels along one side; None if no quick picture is in time."""
        return QUICK_PARTS[self._number] if self._number < len(QUICK_PARTS) else None

    def tell(self, seconds: float) -> None:
        """What the last quick picture took."""
        self._recent = self._recent[1 - PICTURES_TO_JUDGE:] + [seconds]
        if len(self._recent) >= PICTURES_TO_GIVE_UP and min(self._recent[-PICTURES_TO_GIVE_UP:]) > HOPELESS_SECONDS:
            self._is_hopeless = True
            self._set(len(QUICK_PARTS))
        elif len(self._recent) == PICTURES_TO_JUDGE:
            self._judge()

    def _judge(self) -> None:
        if min(self._recent) > QUICK_SECONDS:
            self._set(self._number + 1)
        elif self._number > 0:
            finer = QUICK_PARTS[self._number - 1] / QUICK_PARTS[self._number]
            if max(self._recent) * finer * finer < QUICK_SECONDS:
                self._set(self._number - 1)

    def rest(self) -> None:
        """The view has stopped: what came a little late may have been other work of the machine."""
        if not self._is_hopeless:
            self._set(min(self._number, len(QUICK_PARTS) - 1))

    def begin(self) -> None:
        """The scene is another one."""
        self._is_hopeless = False
        self.rest()

    def _set(self, number: int) -> None:
        if number != self._number:
            self._number, self._recent = number, []


class Viewer:
    """redraw is called by the thread when there is another picture to be shown."""

    def __init__(self, redraw: Callable[[], None]) -> None:
        self.shown: Optional[Shown] = None
        #: Why there is no picture; "" if there is one.
        self.problem = ""
        self.pace = Pace()
        self._redraw = redraw
        self._judged: Optional[Shown] = None
        self._failed: Optional[Tuple[Subject, View]] = None
        self._subject: Optional[Subject] = None
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
        if self._failed is not None and self._failed[0] is subject and self._failed[1] == view:
            return  # it would fail again
        is_there = self.shown is not None and self.shown.subject is subject and self.shown.view == view
        if is_there and self.shown.is_fine:  # type: ignore[union-attr]
            return
        if subject is not self._subject:
            self._subject = subject
            self.pace.begin()
        part = None if is_there else self.pace.part
        self._is_fine, self._stops = part is None, False
        self._thread = threading.Thread(target=self._draw, args=(subject, view, part), daemon=True)
        self._thread.start()

    def take(self, view: View) -> Optional[Shown]:
        """What the view is to show now. Where no quick picture is in time, one of another view only misleads."""
        shown = self.shown
        if shown is None or (self.pace.part is None and shown.view != view):
            return None
        if shown is not self._judged:
            self._judged = shown
            if shown.is_fine:
                self.pace.rest()
            else:
                self.pace.tell(time.monotonic() - shown.begun)
        return shown

    def stop(self) -> None:
        """Waits for the thread."""
        self._stops = True
        if self._thread is not None:
            self._thread.join()

    def _draw(self, subject: Subject, view: View, part: Optional[float]) -> None:
        """part: as of a Pace; None for a picture as F12 draws it."""
        is_fine = part is None
        width, height = (max(int(side * (part or 1.0)), 1) for side in view.size)
        try:
            with drawing(lambda: not self._stops) as is_mine:
                if is_mine:
                    begun = time.monotonic()
                    picture = library.selvarin.render(
                        subject.scene, (width, height), view.camera, subject.style, background=subject.background,
                        ambient=subject.ambient, antialias=1 if is_fine else 0, shadows=subject.shadows and is_fine,
                        progress=lambda _done, _text: not self._stops)
                    self.shown, self.problem = Shown(picture.pixels, subject, view, is_fine, begun), ""
        except library.selvarin.Cancelled:
            pass
        except (RuntimeError, ValueError, OSError, MemoryError) as error:
            self.problem = str(error) or "there is not enough memory"
            self._failed = subject, view
        self.redraw()

    def redraw(self) -> None:
        try:
            self._redraw()
        except ReferenceError:
            pass  # the view was closed meanwhile


def stop_all() -> None:
    for viewer in list(_viewers):
        viewer.stop()


atexit.register(stop_all)
