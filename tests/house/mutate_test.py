#!/usr/bin/env python3
"""scripts/mutate: its changes on small sources, what it counts and prints, and a whole run on a project of three files."""

import contextlib
import io
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from importlib.machinery import SourceFileLoader
from importlib.util import module_from_spec, spec_from_loader
from pathlib import Path

sys.dont_write_bytecode = True
SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))

from mutation import campaign, mutants, reach, report  # noqa: E402
from mutation.tree import Outcome, Suite, Tree  # noqa: E402


def load_command():
    spec = spec_from_loader("mutate", SourceFileLoader("mutate", str(SCRIPTS / "mutate")))
    module = module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def changes(body, kind=None):
    """What becomes of one line in a function, without its indentation."""
    found = mutants.mutants_of_file("a.cpp", "void f() {\n    " + body + "\n}\n")
    return {each.after.strip() for line in found for each in line if kind in (None, each.kind)}


class Changes(unittest.TestCase):
    def test_each_kind(self):
        cases = (
            ("comparison", "x = a < b;", {"x = a <= b;"}),
            ("comparison", "x = a == b && c >= d;", {"x = a != b && c >= d;", "x = a == b && c > d;"}),
            ("logic", "x = a || b;", {"x = a && b;"}),
            ("constant", "f(3);", {"f(4);", "f(2);"}),
            ("constant", "f(010, 0x1F);", {"f(9, 0x1F);", "f(7, 0x1F);", "f(010, 32);", "f(010, 30);"}),
            ("constant", "x = 2.5e-08;", {"x = (2.5e-08 * 2);", "x = 2.5e-9;", "x = 2.5e-7;"}),
            ("constant", "f(0U, true);", {"f(1U, true);", "f(0U, false);"}),
            ("constant", "x = 0.5F;", {"x = (0.5 * 2)F;"}),
            ("constant", 'f(L"name");', {'f(L"name~");'}),
            ("statement", "call(a);", {";"}),
            ("statement", "Guard guard(flag);", {";"}),
            ("condition", "if (a) {", {"if (!(a)) {"}),
            ("condition", "if (int x = f(); x) {", {"if (int x = f();!(x)) {"}),
            ("condition", "while (a && (b || c)) {", {"while (!(a && (b || c))) {"}),
            ("arguments", "f(a, g(b, c));", {"f(g(b, c), a);", "f(a, g(c, b));"}),
            ("return", "return a + b;", {"return {};"}),
            ("sign", "x = a + b;", {"x = a - b;"}),
            ("sign", "x = -a;", {"x = a;"}),
            ("sign", "++x;", {"--x;"}),
        )
        for kind, line, expected in cases:
            with self.subTest(kind=kind, line=line):
                self.assertEqual(changes(line, kind), expected)

    def test_what_is_no_code_stays(self):
        for line in ("// a < b", "/* a < b */", "using A = B<3>;", "static_assert(a < 3);"):
            with self.subTest(line=line):
                self.assertEqual(changes(line), set())
        self.assertEqual(changes('f("a < b");'), {'f("a < b~");', ";"})
        self.assertEqual(changes("f(','); // 3"), {";"})
        self.assertEqual(mutants.mutants_of_file("a.cpp", "#define A \\\n    f(3)\n"), [])

    def test_what_others_need_is_not_removed(self):
        for line in ("int x = f();", "std::vector<int> x;", "return;", "} while (x);", "A(const A&) = delete;"):
            with self.subTest(line=line):
                self.assertEqual(changes(line, "statement"), set())

    def test_among_declarations_only_values_change(self):
        text = "class A {\npublic:\n    void f(int a, int b);\n    int x = 1;\n};\nconstexpr int y = 5;\nint g(int a, int b);\n"
        found = {each.after.strip() for line in mutants.mutants_of_file("a.h", text) for each in line}
        self.assertEqual(found, {"int x = 2;", "int x = 0;", "constexpr int y = 6;", "constexpr int y = 4;"})

    def test_one_line_changes_and_nothing_else(self):
        text = "void f() {\n    a(1);\n    a(1);\n}\n"
        for line in mutants.mutants_of_file("a.cpp", text):
            for each in line:
                changed = [i for i, (a, b) in enumerate(zip(text.split("\n"), each.apply(text).split("\n"))) if a != b]
                self.assertEqual(changed, [each.line - 1])
        with self.assertRaises(ValueError):
            mutants.Mutant("a.cpp", 1, "constant", "    a(1);", "    a(2);").apply(text)

    def test_the_seed_decides(self):
        texts = {"a.cpp": "void f() {\n" + "".join(f"    call({i});\n" for i in range(100)) + "}\n"}
        first = mutants.sample(texts, 7, 20)
        self.assertEqual(first, mutants.sample(texts, 7, 20))
        self.assertNotEqual(first, mutants.sample(texts, 8, 20))
        self.assertEqual(len({each.line for each in first}), 20)
        self.assertEqual(len(mutants.sample(texts, 7, 1000)), 100)

    def test_a_mutant_is_found_in_a_newer_file(self):
        old = mutants.Mutant("a.cpp", 2, "constant", "    a(1);", "    a(2);")
        self.assertEqual(mutants.find_again(old, "\n\n    a(1);\n").line, 3)
        self.assertIsNone(mutants.find_again(old, "    a(9);\n"))


class FakeTree:
    """Three mutants: one that is caught, one that is not, one in a line that no test reaches."""

    def __init__(self):
        self.ran = []
        self.open = 0
        self.finished = False

    def apply(self, mutant):
        self.open += 1
        self.current = mutant
        return {4: "does not compile", 5: "changes no code"}.get(mutant.line, "built")

    def restore(self):
        self.open -= 1

    def same_when_optimised(self, mutant):
        return mutant.line == 6

    def run(self, suite, limit):
        self.ran.append((self.current.line, suite.name))
        if self.current.line == 7:
            raise OSError("disk full")
        return Outcome(self.current.line != 1 or suite.name != "Second", "Second.Case")

    def finish(self):
        self.finished = True


class Campaigns(unittest.TestCase):
    first, second, other = Suite("tests/test_far", "First"), Suite("tests/test_near", "Second"), Suite("tests/test_near", "Third")

    def setUp(self):
        self.tree = FakeTree()
        self.reach = reach.Reach(
            seconds={self.first: 0.1, self.second: 5.0, self.other: 9.0},
            counted={"src/near/a.cpp": {1, 2, 3, 4, 5, 6, 7}},
            lines={self.first: {"src/near/a.cpp": {1, 2, 4, 5, 6, 7}}, self.second: {"src/near/a.cpp": {1, 2}}, self.other: {}})

    def run_lines(self, *lines, time_left=lambda: 1):
        chosen = [mutants.Mutant("src/near/a.cpp", line, "constant", f"    a({line});", "    a(0);") for line in lines]
        return campaign.run([self.tree], chosen, self.reach, time_left)

    def test_outcomes(self):
        results = self.run_lines(1, 2, 3, 4, 5, 6)
        self.assertEqual([each.outcome for each in results],
                         [campaign.CAUGHT, campaign.SURVIVED, campaign.NOT_REACHED, campaign.BROKEN, campaign.SAME, campaign.SAME])
        self.assertEqual(results[0].by, "Second.Case")
        self.assertEqual(self.tree.open, 0, "each mutant is taken back")
        self.assertTrue(self.tree.finished)

    def test_the_first_failure_ends_a_mutant_and_its_own_folder_comes_first(self):
        self.run_lines(1, 2)
        self.assertEqual(self.tree.ran, [(1, "Second"), (2, "Second"), (2, "First")])

    def test_a_line_that_none_reaches_is_tried_with_all_that_reach_the_file(self):
        self.run_lines(3)
        self.assertEqual(self.tree.ran, [(3, "Second"), (3, "First")])

    def test_a_line_without_a_counter_is_not_called_unseen(self):
        self.assertEqual(self.run_lines(8)[0].outcome, campaign.SURVIVED)

    def test_time_that_is_up_begins_no_mutant(self):
        left = iter([1, 1, 0])
        self.assertEqual(len(self.run_lines(1, 2, 3, time_left=lambda: next(left))), 2)
        self.assertTrue(self.tree.finished)

    def test_a_fault_of_the_machine_is_told_and_leaves_nothing_behind(self):
        with self.assertRaisesRegex(OSError, "disk full"):
            self.run_lines(7, 1)
        self.assertEqual(self.tree.open, 0)
        self.assertTrue(self.tree.finished)


def result(line, before, after, outcome, by=""):
    return campaign.Result(mutants.Mutant("a.cpp", line, "sign", before, after), outcome, by)


class Reports(unittest.TestCase):
    results = [result(12, "    x = a + b;", "    x = a - b;", campaign.SURVIVED),
               result(3, "    ++x;", "    ;", campaign.CAUGHT, "Suite.Case"),
               result(5, "    y = -b;", "    y = b;", campaign.NOT_REACHED),
               result(6, "    z = -b;", "    z = b;", campaign.BROKEN),
               result(7, "    w = -b;", "    w = b;", campaign.SAME)]

    def test_table(self):
        self.assertEqual(report.table(self.results[:2]),
                         "line      mutation                        outcome\n"
                         "a.cpp:3   sign: ++x; -> nothing           caught by Suite.Case\n"
                         "a.cpp:12  sign: x = a + b; -> x = a - b;  survived")

    def test_summary(self):
        self.assertEqual(report.summary(self.results),
                         "5 mutants: 1 do not compile, 1 change no code; of the other 3 1 caught (33.3 %), 1 survived, "
                         "1 in lines that no test reaches")
        self.assertEqual(report.share_caught([]), 100)

    def test_survivors(self):
        self.assertEqual(report.survivors(self.results),
                         "a.cpp:12: survived\n- x = a + b;\n+ x = a - b;\na.cpp:5: not reached\n- y = -b;\n+ y = b;")

    def test_results_are_kept(self):
        self.assertEqual(report.from_json(report.to_json(self.results)), self.results)

    def test_long_lines_are_cut_around_the_change(self):
        before = "    " + "a" * 100 + " + " + "b" * 100 + ";"
        self.assertEqual(report.row(result(1, before, before.replace("+", "-"), campaign.SURVIVED))[1],
                         "sign: " + "a" * 9 + " + " + "b" * 9 + " -> " + "a" * 9 + " - " + "b" * 9)


PROJECT = {
    "CMakeLists.txt": """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES CXX)
enable_testing()
add_library(small SHARED src/small/small.cpp)
add_executable(test_small tests/small/small_test.cpp)
target_link_libraries(test_small small)
set_target_properties(test_small PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
add_test(NAME Small.Works COMMAND test_small --gtest_filter=Small.Works)
""",
    "CMakePresets.json": """{"version": 6, "configurePresets": [{"name": "release", "generator": "Ninja",
"binaryDir": "${sourceDir}/build/release",
"cacheVariables": {"CMAKE_BUILD_TYPE": "Release", "CMAKE_EXPORT_COMPILE_COMMANDS": "ON"}}]}""",
    ".gitignore": "/build/\n",
    "src/small/small.cpp": """int larger(int a, int b) {
    if (a > b) {
        return a;
    }
    return b;
}
int loops(int n) {
    while (n > 10) {
        n -= 3;
    }
    return n;
}
int unseen(int a) {
    return a + 1;
}
""",
    "tests/small/small_test.cpp": """#include <cstdio>
int larger(int a, int b);
int loops(int n);
int main() {
    std::puts("[ RUN      ] Small.Works");
    return larger(1, 2) == 2 && larger(4, 3) == 4 && loops(20) == 8 ? 0 : 1;
}
""",
}


class WholeRun(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = Path(tempfile.mkdtemp())
        for name, text in PROJECT.items():
            (cls.root / name).parent.mkdir(parents=True, exist_ok=True)
            (cls.root / name).write_text(text)
        subprocess.run(["git", "init", "-q", str(cls.root)], check=True)
        cls.status, cls.output = cls.mutate("src/small", "--count", "20", "--seed", "3", "--list-survivors", "--at-least", "90")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.root)

    @classmethod
    def mutate(cls, *arguments):
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            status = load_command().main([*arguments, "--root", str(cls.root)])
        return status, output.getvalue()

    def test_every_line_is_tried_and_the_unseen_one_missed(self):
        for line in (2, 3, 5, 8, 9, 11, 14):
            self.assertRegex(self.output, rf"(?m)^src/small/small.cpp:{line} ")
        self.assertRegex(self.output, r"(?m)^src/small/small.cpp:3 .* caught by Small.Works$")
        self.assertRegex(self.output, r"(?m)^src/small/small.cpp:14: not reached\n- return a \+ 1;$")
        self.assertRegex(self.output, r"\n7 mutants: .* 1 in lines that no test reaches\n$")

    def test_too_small_a_share_fails(self):
        self.assertEqual(self.status, 1)

    def test_the_checkout_is_as_it_was(self):
        for name, text in PROJECT.items():
            self.assertEqual((self.root / name).read_text(), text)
        self.assertEqual(sorted(each.name for each in self.root.iterdir()), sorted([*{name.split("/")[0] for name in PROJECT}, ".git", "build"]))
        self.assertEqual(os.listdir(self.root / "build"), ["mutate"])

    def test_the_copy_holds_no_mutant(self):
        tree = Tree(self.root, self.root / "build" / "mutate" / "0", [])
        self.assertEqual((tree.source / "src/small/small.cpp").read_text(), PROJECT["src/small/small.cpp"])
        self.assertFalse(tree.marker.exists())
        self.assertEqual(list(tree.build.rglob("*.kept")), [])
        self.assertEqual(subprocess.run([tree.build / "tests" / "test_small"], stdout=subprocess.DEVNULL).returncode, 0)

    def test_a_run_that_was_killed_leaves_nothing_to_the_next(self):
        tree = Tree(self.root, self.root / "build" / "mutate" / "0", [])
        tree._read_commands()
        wrong = mutants.Mutant("src/small/small.cpp", 3, "return", "        return a;", "        return 7;")
        program = tree.build / "tests" / "test_small"
        self.assertEqual(tree.apply(wrong), "built")
        self.assertEqual((tree.source / "src/small/small.cpp").read_text(), wrong.apply(PROJECT["src/small/small.cpp"]))
        tree.restore()  # and it ends here: the library still holds the mutant
        self.assertEqual(subprocess.run([program], stdout=subprocess.DEVNULL).returncode, 1)
        Tree(self.root, self.root / "build" / "mutate" / "0", []).make(["test_small"], 1)
        self.test_the_copy_holds_no_mutant()

    def test_what_was_missed_is_tried_again(self):
        status, output = self.mutate("src/small", "--again")
        self.assertEqual(status, 0)
        self.assertIn("\n1 mutants: ", output)
        self.assertNotIn("counting lines", output, "it is known from the first run")

    def test_faults_are_told(self):
        self.assertEqual(self.mutate("src/nowhere"), (2, "mutate: no C++ source is or lies under src/nowhere\n"))


if __name__ == "__main__":
    unittest.main()
