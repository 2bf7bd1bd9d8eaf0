"""Which suites of tests reach which lines, counted once by gcov and kept until sources or tests change."""

import hashlib
import json
from dataclasses import dataclass, field


@dataclass
class Reach:
    suites: list = field(default_factory=list)
    seconds: dict = field(default_factory=dict)  # of each suite that passes without a mutant
    lines: dict = field(default_factory=dict)  # suite -> file -> set of lines
    failing: list = field(default_factory=list)  # outcomes of suites that fail without a mutant

    def of_line(self, path, line):
        return [suite for suite in self.seconds if line in self.lines[suite].get(path, ())]

    def of_file(self, path):
        return [suite for suite in self.seconds if self.lines[suite].get(path)]

    def suites_for(self, path, line):
        """Whether the line is reached, and the suites to run: those of its own folder first, then the quick ones.

        Lines without code of their own have no counter, and a test may end without writing its counters: where no suite
        is known to reach the line, all that reach the file are run.
        """
        reached = self.of_line(path, line)
        folder = path.rsplit("/", 2)[-2]
        chosen = reached or self.of_file(path)
        return bool(reached), sorted(chosen, key=lambda suite: (f"test_{folder}" not in suite.program, self.seconds[suite]))


def digest(folder):
    total = hashlib.sha256()
    for path in sorted(folder.rglob("*")):
        if path.is_file():
            total.update(f"{path.relative_to(folder)}\0".encode() + path.read_bytes())
    return total.hexdigest()


def _stored(reach):
    return {str(suite): {"seconds": reach.seconds[suite],
                         "lines": {path: sorted(lines) for path, lines in reach.lines[suite].items()}}
            for suite in reach.seconds}


def measure(tree, paths, suites, cache, clock, limit, tell=lambda text: None):
    """Runs every suite once with counters in the files `paths`, or takes what an earlier run of the same has found."""
    key = {"sources": digest(tree.source / "src"), "tests": digest(tree.source / "tests"), "paths": sorted(paths),
           "suites": sorted(map(str, suites))}
    reach = Reach(suites=list(suites))
    known = json.loads(cache.read_text()) if cache.exists() else {}
    if known.get("key") == key:
        for suite in suites:
            if str(suite) in known["reach"]:
                found = known["reach"][str(suite)]
                reach.seconds[suite] = found["seconds"]
                reach.lines[suite] = {path: set(lines) for path, lines in found["lines"].items()}
        reach.failing = known["failing"]
        return reach
    compilations = tree.instrument(paths)
    try:
        tree.counted_lines(compilations)
        for i, suite in enumerate(suites):
            tell(f"counting lines: {suite} ({i + 1} of {len(suites)})")
            begin = clock()
            outcome = tree.run(suite, limit)
            seconds = clock() - begin
            lines = tree.counted_lines(compilations)
            if outcome.passed:
                reach.seconds[suite] = seconds
                reach.lines[suite] = lines
            else:
                reach.failing.append(f"{suite}: {outcome.why}")
    finally:
        tree.remove_counters(compilations)
    cache.write_text(json.dumps({"key": key, "failing": reach.failing, "reach": _stored(reach)}))
    return reach
