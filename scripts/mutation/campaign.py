"""Runs mutants against the tests that reach them, and tells which were caught."""

import queue
import threading
from dataclasses import dataclass

from mutation.mutants import Mutant

CAUGHT = "caught"
SURVIVED = "survived"
NOT_REACHED = "not reached"
SAME = "changes no code"
BROKEN = "does not compile"


@dataclass(frozen=True)
class Result:
    mutant: Mutant
    outcome: str
    by: str = ""


def try_mutant(tree, mutant, reach):
    """One mutant in one tree, which afterwards is as it was."""
    reached, suites = reach.suites_for(mutant.path, mutant.line)
    try:
        state = tree.apply(mutant)
        if state != "built":
            return Result(mutant, state)
        for suite in suites:
            # Ten times as long as without the mutant is an endless loop, or as good as one.
            outcome = tree.run(suite, 5 + 10 * reach.seconds[suite])
            if not outcome.passed:
                return Result(mutant, CAUGHT, outcome.why)
    finally:
        tree.restore()
    if tree.same_when_optimised(mutant):
        return Result(mutant, SAME)
    return Result(mutant, SURVIVED if reached else NOT_REACHED)


def run(trees, mutants, reach, time_left, tell=lambda result: None):
    """Tries mutants in the order given, one in each tree at a time, until the time is up."""
    waiting = queue.SimpleQueue()
    for mutant in mutants:
        waiting.put(mutant)
    results = []
    failures = []
    lock = threading.Lock()

    def work(tree):
        try:
            while time_left() > 0 and not failures:
                try:
                    mutant = waiting.get_nowait()
                except queue.Empty:
                    break
                result = try_mutant(tree, mutant, reach)
                with lock:
                    results.append(result)
                    tell(result)
        except BaseException as failure:  # told by the thread that waits
            failures.append(failure)
        finally:
            tree.finish()

    threads = [threading.Thread(target=work, args=(tree,)) for tree in trees]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]
    order = {mutant: i for i, mutant in enumerate(mutants)}
    return sorted(results, key=lambda result: order[result.mutant])
