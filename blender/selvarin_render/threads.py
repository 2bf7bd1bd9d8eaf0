"""Drawing in a thread of its own: one that has Blender's OpenGL context, as the main thread of its window, can't have the
library's as well."""

import threading
from typing import Any, Callable, List

_SECONDS_BETWEEN_CALLS = 0.04


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
