"""How far a render is, for people who wait for it."""

import sys
import time
from typing import Callable, Optional, Tuple, Union

Callback = Callable[[float, str], Optional[bool]]
Progress = Union[None, bool, Callback]

_DELAY = 1.0  # seconds: a bar that flashes up and goes is a nuisance
_PAUSE = 0.1
_WIDTH = 32


class _Bar:
    """Draws itself late for short renders, and removes itself at the end."""

    def __init__(self, delay: float) -> None:
        self._next = time.monotonic() + delay
        self._shown = False

    def __call__(self, fraction: float, text: str) -> None:
        now = time.monotonic()
        if now >= self._next:
            self._next = now + _PAUSE
            self._show(fraction, text)
            self._shown = True

    def finish(self) -> None:
        if self._shown:
            self._clear()

    def _show(self, fraction: float, text: str) -> None:
        filled = int(fraction * _WIDTH)
        sys.stderr.write(f"\r[{'#' * filled}{'.' * (_WIDTH - filled)}] {fraction * 100:3.0f} %  {text[:36]}\033[K")
        sys.stderr.flush()

    def _clear(self) -> None:
        sys.stderr.write("\r\033[K")
        sys.stderr.flush()


class _NotebookBar(_Bar):
    def __init__(self, delay: float) -> None:
        super().__init__(delay)
        self._handle = None

    def _show(self, fraction: float, text: str) -> None:
        from html import escape

        from IPython.display import HTML, display
        html = HTML(f'<progress value="{fraction:.3f}" max="1"></progress> {escape(text)}')
        if self._handle is None:
            self._handle = display(html, display_id=True)
        else:
            self._handle.update(html)

    def _clear(self) -> None:
        from IPython.display import HTML
        if self._handle is not None:
            self._handle.update(HTML(""))


def _in_notebook() -> bool:
    shell = sys.modules.get("IPython")
    instance = shell.get_ipython() if shell is not None and hasattr(shell, "get_ipython") else None
    return instance is not None and getattr(instance, "kernel", None) is not None


def reporter(progress: Progress) -> Tuple[Optional[Callback], Callable[[], None]]:
    """The callback for the library and what ends it. None: a bar for people, that is in a notebook or an interactive
    session, for renders that take longer than a second; True: always a bar; False: nothing."""
    if callable(progress):
        return progress, lambda: None
    if progress is None:
        progress = _in_notebook() or (hasattr(sys, "ps1") and sys.stderr.isatty())
        delay = _DELAY
    else:
        delay = 0.0
    if not progress:
        return None, lambda: None
    bar = _NotebookBar(delay) if _in_notebook() else _Bar(delay)
    return bar, bar.finish
