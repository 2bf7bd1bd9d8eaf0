"""Which suites of tests reach which lines, counted by gcov and kept until the sources or the tests change."""

import hashlib
import json
from dataclasses import dataclass, field


@dataclass
class Reach:
    seconds: dict = field(default_factory=dict)  # of each suite that passes without a mutant
    lines: dict = field(default_factory=dict)  # suite -> file -> set of lines
    counted: dict = field(default_factory=dict)  # file -> lines that have a counter
    failing: list = field(default_factory=list)  # outcomes of suites that fail without a mutant

    def of_line(self, path, line):
        return [suite for suite in self.seconds if line in self.lines[suite].get(path, ())]

    def of_file(self, path):
        return [suite for suite in self.seconds if self.lines[suite].get(path)]

    def suites_for(self, path, line):
        """Whether the line may be reached, and the suites to run: those of its own folder first, then the quick ones.

        Lines without code of their own have no counter, and a test may end without writing its counters: where no suite
        is known to reach the line, all that reach the file are run.
        """
        reached = self.of_line(path, line)
        folder = path.rsplit("/", 2)[-2]
        chosen = reached or self.of_file(path)
        unseen = not reached and line in self.counted.get(path, ())
        return not unseen, sorted(chosen, key=lambda suite: (f"test_{folder}" not in suite.program, self.seconds[suite]))


def digest(folder):
    total = hashlib.sha256()
    for path in sorted(folder.rglob("*")):
        if path.is_file():
            total.update(f"{path.relative_to(folder)}\0".encode() + path.read_bytes())
    return total.hexdigest()


def _digest_of_tests(tree, programs):
    """What each program's tests are made of: its own folder, and what the programs share."""
    shared = "".join(digest(tree.source / "tests" / name) for name in ("support", "reference"))
    return {program: shared + digest(tree.source / tree.test_folder(program)) for program in programs}


def _read_cache(cache, sources, paths):
    """What was counted before for these sources and at least these files: the files, the lines, the suites by name."""
    known = json.loads(cache.read_text()) if cache.exists() else {}
    if known.get("sources") != sources or not set(paths) <= set(known["paths"]):
        return set(paths), {}, {}
    return set(known["paths"]), known["counted"], known["suites"]


def _count(tree, paths, suites, clock, limit, tell):
    """Runs each suite with counters in the files `paths`."""
    found, counted = {}, {}
    compilations = tree.instrument(sorted(paths))
    try:
        tree.counted_lines(compilations)
        for i, suite in enumerate(suites):
            tell(f"counting lines: {suite} ({i + 1} of {len(suites)})")
            begin = clock()
            outcome = tree.run(suite, limit)
            seconds = clock() - begin
            lines, with_counter = ({path: sorted(each) for path, each in part.items()} for part in tree.counted_lines(compilations))
            found[str(suite)] = {"seconds": seconds, "lines": lines, "fault": "" if outcome.passed else outcome.why}
            counted.update(with_counter)
    finally:
        tree.remove_counters(compilations)
    return found, counted


def measure(tree, paths, suites, cache, clock, limit, tell=lambda text: None):
    """Which lines of the files `paths` each suite reaches; counts only what earlier runs have not."""
    sources = digest(tree.source / "src")
    tests = _digest_of_tests(tree, {suite.program for suite in suites})
    paths, counted, known = _read_cache(cache, sources, paths)
    missing = [suite for suite in suites if known.get(str(suite), {}).get("tests") != tests[suite.program]]
    if missing:
        digests = {str(suite): tests[suite.program] for suite in missing}
        found, with_counter = _count(tree, paths, missing, clock, limit, tell)
        known.update((name, {**each, "tests": digests[name]}) for name, each in found.items())
        counted.update(with_counter)
        cache.write_text(json.dumps({"sources": sources, "paths": sorted(paths), "counted": counted, "suites": known}))
    reach = Reach(counted={path: set(lines) for path, lines in counted.items()})
    for suite in suites:
        found = known[str(suite)]
        if found["fault"]:
            reach.failing.append(f"{suite}: {found['fault']}")
            continue
        reach.seconds[suite] = found["seconds"]
        reach.lines[suite] = {path: set(lines) for path, lines in found["lines"].items()}
    return reach
