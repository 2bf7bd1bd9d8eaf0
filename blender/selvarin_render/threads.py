"""Drawing in a thread of its own: one that has Blender's OpenGL context, as the main thread of its window, can't have the
library's as well."""

import threading
from contextlib import contextmanager
from typing import Any, Callable, Iterator, List, Set

from . import library

_SECONDS_BETWEEN_CALLS = 0.04

# Held by whoever draws. The library lets one draw and makes all others wait who want anything of it; the main thread
# must not be among them, as it would not hear of Esc.
_turn = threading.Lock()
_turned_away: Set[Callable[[], None]] = set()


@contextmanager
def drawing(is_wanted: Callable[[], bool] = lambda: True) -> Iterator[bool]:
    """Waits for the library, then has it; False if that is no longer wanted before."""
    while not _turn.acquire(timeout=_SECONDS_BETWEEN_CALLS):
        if not is_wanted():
            yield False
            return
    try:
        yield True
    finally:
        _turn.release()
        while _turned_away:
            _turned_away.pop()()


def unless_drawing(work: Callable[[], Any], later: Callable[[], None]) -> Any:
    """What work returns; where somebody draws None at once, and later() is called once the library is free."""
    _turned_away.add(later)  # before the look at the turn, which may end right after it
    if not _turn.acquire(blocking=False):
        return None
    try:
        _turned_away.discard(later)
        return work()
    finally:
        _turn.release()


def in_thread(work: Callable[[Callable[[float, str], bool]], Any], tell: Callable[[float, str], bool]) -> Any:
    """work(progress) in another thread, while this one tells of its progress, as only it may talk to Blender. An answer
    False cancels. Returns and raises what work does."""
    state: List[Any] = [0.0, "", True]
    results: List[Any] = []
    errors: List[BaseException] = []

    def progress(done: float, text: str) -> bool:
        state[:2] = done, text
        return state[2]

    def run() -> None:
        try:
            with drawing(lambda: state[2]) as is_mine:
                if not is_mine:
                    raise library.selvarin.Cancelled("cancelled")
                results.append(work(progress))
        except BaseException as error:  # raised again below
            errors.append(error)

    thread = threading.Thread(target=run, name="selvarin")
    thread.start()
    thread.join(_SECONDS_BETWEEN_CALLS)
    while thread.is_alive():
        if state[2]:
            state[2] = tell(state[0], state[1])
        thread.join(_SECONDS_BETWEEN_CALLS)
    if errors:
        raise errors[0]
    return results[0]
