"""A copy of the sources with a build of its own, in which mutants are compiled, linked and tested.

The build system makes the copy's programs once. A mutant is compiled and linked by the same commands without it: only
one object and the files that are linked from it change, and the objects that stood there before are put back.
"""

import json
import os
import re
import shlex
import shutil
import signal
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

COMPILE_LIMIT = 180  # seconds
MEMORY_LIMIT = 12 << 30  # bytes of address space; OpenGL in software reserves much more than it uses
LARGEST_SHARE = 8  # a header that more objects than this include is not worth its compilation


class BuildError(Exception):
    pass


@dataclass(frozen=True)
class Suite:
    """The tests of one GoogleTest suite in one program, which run in one process."""

    program: str
    name: str
    environment: tuple = field(default=(), compare=False, hash=False)

    def __str__(self):
        return f"{Path(self.program).name} {self.name}"


@dataclass(frozen=True)
class Outcome:
    passed: bool
    why: str = ""


@dataclass(frozen=True)
class Compilation:
    source: str
    object: Path
    command: str
    directory: str


def checkout_files(root):
    """What belongs to the checkout, with what is new in it and without what git ignores."""
    command = ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, check=True, capture_output=True).stdout.decode().split("\0")
    return sorted(name for name in set(names) if name and (root / name).is_file())


class Tree:
    def __init__(self, root, home, options):
        self.root = root
        self.source = home / "source"
        self.build = home / "build"
        self.scratch = home / "scratch"
        self.options = options  # of the configuration
        self.marker = home / "unfinished.json"
        self.environment = {key: value for key, value in os.environ.items() if key not in ("DISPLAY", "WAYLAND_DISPLAY")}
        self.stale = set()  # linked files that hold a mutant's object

    # --- the copy and its build ---

    def synchronise(self):
        """Brings the copy up to the checkout. Files that did not change keep their time, and so their objects."""
        self.scratch.mkdir(parents=True, exist_ok=True)
        names = checkout_files(self.root)
        for name in names:
            target = self.source / name
            content = (self.root / name).read_bytes()
            if not target.is_file() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
            shutil.copymode(self.root / name, target)
        wanted = set(names)
        for folder, _, files in os.walk(self.source):
            for file in files:
                path = Path(folder) / file
                if str(path.relative_to(self.source)) not in wanted:
                    path.unlink()

    def forget_unfinished(self):
        """What a run that was killed has left in the build is made anew: objects of mutants and what holds them."""
        if self.marker.exists():
            for path in json.loads(self.marker.read_text()):
                Path(path).unlink(missing_ok=True)
            self.marker.unlink()

    def make(self, programs, parallel):
        """Configures and builds; `programs` are patterns of names. Returns the paths of the programs."""
        self.forget_unfinished()
        self.synchronise()
        self._call(["cmake", "--preset", "release", "-B", str(self.build), *self.options], self.source)
        known = self._call(["ninja", "-t", "targets", "all"], self.build)
        names = re.findall(r"^(tests/(\w+)): ", known, re.MULTILINE)
        chosen = sorted(path for path, name in names if any(re.fullmatch(pattern, name) for pattern in programs))
        if not chosen:
            raise BuildError(f"no test program is named {' or '.join(programs)}")
        self._call(["ninja", "-j", str(parallel), *chosen], self.build)
        self._read_commands()
        return chosen

    def _call(self, command, directory):
        done = subprocess.run(command, cwd=directory, env=self.environment, capture_output=True, text=True)
        if done.returncode != 0:
            raise BuildError(f"{shlex.join(command)} failed:\n{(done.stdout + done.stderr)[-4000:]}")
        return done.stdout

    def _read_commands(self):
        self.compilations = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            built = Path(entry["directory"]) / re.search(r" -o (\S+)", entry["command"]).group(1)
            if built.exists() and entry["file"].startswith(f"{self.source}/"):
                name = str(Path(entry["file"]).relative_to(self.source))
                compilation = Compilation(name, built, entry["command"], entry["directory"])
                self.compilations.setdefault(name, []).append(compilation)
        self.includers = {}
        target = None
        for line in self._call(["ninja", "-t", "deps"], self.build).splitlines():
            if line and not line.startswith(" "):
                target = line.split(":")[0]
            elif line.strip().startswith(f"{self.source}/"):
                header = str(Path(line.strip()).relative_to(self.source))
                self.includers.setdefault(header, set()).add(target)

    def compilations_of(self, path):
        """What has to be compiled anew when this file changes; empty if that is nothing or too much."""
        if path in self.compilations:
            return self.compilations[path]
        targets = self.includers.get(path, set())
        if len(targets) > LARGEST_SHARE:
            return []
        return [each for all_of in self.compilations.values() for each in all_of
                if str(each.object.relative_to(self.build)) in targets]

    # --- tests ---

    def test_folder(self, program):
        """The folder of a program's sources, from the root."""
        target = f"/{Path(program).name}.dir/"
        return next(str(Path(name).parent) for name, all_of in self.compilations.items()
                    if any(target in str(each.object) for each in all_of))

    def suites(self, programs):
        """The suites of these programs, as CTest knows them."""
        listed = json.loads(self._call(["ctest", "--test-dir", str(self.build), "--show-only=json-v1"], self.build))
        found = {}
        for test in listed["tests"]:
            command = test.get("command", [])
            chosen = next((each.split("=", 1)[1] for each in command if each.startswith("--gtest_filter=")), None)
            if chosen is None or os.path.relpath(command[0], self.build) not in programs:
                continue
            environment = next((each["value"] for each in test["properties"] if each["name"] == "ENVIRONMENT"), [])
            suite = Suite(os.path.relpath(command[0], self.build), chosen.rsplit(".", 1)[0],
                          tuple(tuple(each.split("=", 1)) for each in environment))
            found.setdefault(suite, suite)
        return list(found)

    def run(self, suite, limit):
        """Runs one suite until its first failure."""
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir()
        environment = {**self.environment, **dict(suite.environment), "TMPDIR": str(self.scratch), "HOME": str(self.scratch)}
        command = ["prlimit", f"--as={MEMORY_LIMIT}", "--core=0", str(self.build / suite.program),
                   f"--gtest_filter={suite.name}.*", "--gtest_fail_fast"]
        with open(self.scratch / "output.txt", "w+b") as output:
            process = subprocess.Popen(command, cwd=self.scratch, env=environment, stdin=subprocess.DEVNULL,
                                       stdout=output, stderr=subprocess.STDOUT, start_new_session=True)
            try:
                status = process.wait(limit)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)  # with whatever the test has started
                except ProcessLookupError:
                    pass
                process.wait()
            output.seek(0)
            text = output.read(1 << 20).decode(errors="replace")
        return _outcome(suite, status, text)

    # --- mutants ---

    def compile(self, compilation, extra=""):
        done = subprocess.run(f"{compilation.command} {extra}", shell=True, cwd=compilation.directory,
                              env={**self.environment, "CCACHE_DISABLE": "1"}, capture_output=True, timeout=COMPILE_LIMIT)
        return done.returncode == 0

    def linked_from(self, compilations):
        """The programs and modules that hold these objects, those by way of archives included; archives come first."""
        archives, linked = [], []
        waiting = [str(each.object.relative_to(self.build)) for each in compilations]
        while waiting:
            text = self._call(["ninja", "-t", "query", waiting.pop()], self.build)
            for output in re.findall(r"^    (\S+)$", text.partition("\n  outputs:")[2], re.MULTILINE):
                if output.endswith(".a") and output not in archives:
                    archives.append(output)
                    waiting.append(output)
                elif (self.build / output).is_file() and not output.endswith((".a", ".stamp")) and output not in linked:
                    linked.append(output)
        return archives + [each for each in linked if not each.startswith("CMakeFiles")]

    def link(self, targets):
        for target in targets:
            command = self._call(["ninja", "-t", "commands", "-s", target], self.build).strip()
            command = command.partition(" && cd ")[0]  # without what the build does with a finished program
            done = subprocess.run(command, shell=True, cwd=self.build, env=self.environment, capture_output=True)
            if done.returncode != 0:
                return False
        return True

    def apply(self, mutant):
        """Compiles and links a mutant: "built", "does not compile" or "changes no code"."""
        compilations = self.compilations_of(mutant.path)
        file = self.source / mutant.path
        self._enter(mutant.path, compilations)
        file.write_text(mutant.apply(file.read_text()))
        before = [each.object.read_bytes() for each in compilations]
        if not all(self.compile(each) for each in compilations):
            return "does not compile"
        if [each.object.read_bytes() for each in compilations] == before:
            return "changes no code"
        if not self.link(self._with_stale(self.linked_from(compilations))):
            return "does not compile"
        return "built"

    def _with_stale(self, targets):
        every = list(targets) + sorted(self.stale - set(targets))
        self.stale = set(targets)
        return every

    def _enter(self, path, compilations):
        """Keeps what a mutant or a measurement replaces, and leaves word of it for a run after one that is killed."""
        self.kept = [(self.source / path, self._keep(self.source / path))] if path else []
        self.kept += [(each.object, self._keep(each.object)) for each in compilations]
        files = [each.object for each in compilations] + [self.build / each for each in self.linked_from(compilations)]
        files += [self.build / each for each in self.stale]
        self.marker.write_text(json.dumps(sorted({str(each) for each in files})))

    def _keep(self, path):
        copy = path.with_name(path.name + ".kept")
        shutil.copy2(path, copy)
        return copy

    def restore(self):
        """Puts the sources and objects back; what is linked from them follows with the next mutant or with finish."""
        for path, copy in self.kept:
            os.replace(copy, path)
        self.kept = []

    def finish(self):
        self.link(self._with_stale([]))
        self.stale = set()
        self.marker.unlink(missing_ok=True)

    def same_when_optimised(self, mutant):
        """Whether an optimising compiler sees no difference: then nothing that a program does can show one."""
        file = self.source / mutant.path
        text = file.read_text()
        compilations = self.compilations_of(mutant.path)
        seen = []
        self._enter(mutant.path, compilations)
        try:
            for content in (text, mutant.apply(text)):
                file.write_text(content)
                if not all(self.compile(each, "-O2") for each in compilations):
                    return False
                seen.append([each.object.read_bytes() for each in compilations])
        finally:
            self.restore()
        return seen[0] == seen[1]

    # --- which lines which tests reach ---

    def instrument(self, paths):
        """Puts counters into the objects of these files."""
        compilations = [each for path in paths for each in self.compilations_of(path)]
        self._enter(None, compilations)
        for each in compilations:
            if not self.compile(each, "--coverage"):
                raise BuildError(f"{each.source} can't be compiled with --coverage")
        if not self.link(self._with_stale(self.linked_from(compilations))):
            raise BuildError("what counts its lines can't be linked")
        return compilations

    def counted_lines(self, compilations):
        """The lines that have run since the last call and all that have a counter, by file; the counters go back to 0."""
        counters = [each.object.with_suffix(".gcda") for each in compilations]
        counters = [each for each in counters if each.exists()]
        lines, counted = {}, {}
        if counters:
            reports = self._call(["gcov", "--json-format", "--stdout", *map(str, counters)], self.scratch)
            for report in filter(None, reports.splitlines()):
                for file in json.loads(report)["files"]:
                    path = os.path.relpath(os.path.join(json.loads(report)["current_working_directory"], file["file"]),
                                           self.source)
                    if not path.startswith(".."):
                        ran = (line["line_number"] for line in file["lines"] if line["count"] > 0)
                        lines.setdefault(path, set()).update(ran)
                        counted.setdefault(path, set()).update(line["line_number"] for line in file["lines"])
        for each in counters:
            each.unlink()
        return lines, counted

    def remove_counters(self, compilations):
        self.restore()
        for each in compilations:
            each.object.with_suffix(".gcno").unlink(missing_ok=True)
        self.finish()


def _outcome(suite, status, text):
    if status == 0:
        return Outcome(True)
    failed = re.search(r"^\[  FAILED  \] (\S+)", text, re.MULTILINE)
    begun = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE)
    test = failed.group(1) if failed else begun[-1] if begun else suite.name
    if status is None:
        return Outcome(False, f"{test} (time limit)")
    if status < 0 and not failed:
        return Outcome(False, f"{test} ({signal.Signals(-status).name})")
    return Outcome(False, test.rstrip(","))
