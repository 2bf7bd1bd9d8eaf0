"""Mutants of C++ sources: copies of a file in which one line says something else.

The engine works on single lines of formatted text and knows no grammar. A few of the changes that it proposes do not
compile or compile to the same code; the compiler sorts those out later. The set of changes follows Offutt, Lee,
Rothermel, Untch and Zapf, "An experimental determination of sufficient mutant operators" (1996), with statements that
are removed and arguments that are swapped beside it.
"""

import random
import re
from dataclasses import dataclass

KINDS = ("comparison", "logic", "constant", "statement", "condition", "arguments", "return", "sign")


@dataclass(frozen=True)
class Mutant:
    path: str  # from the root of the sources
    line: int  # counted from 1
    kind: str
    before: str
    after: str

    def apply(self, text):
        """The whole text of the file with this line changed."""
        lines = text.split("\n")
        if lines[self.line - 1] != self.before:
            raise ValueError(f"{self.path}:{self.line} is not the line that the mutant was made of")
        lines[self.line - 1] = self.after
        return "\n".join(lines)


# --- what is code ---

_SKIPPED = re.compile(
    r'//(?:[^\n\\]|\\.|\\\n)*|/\*.*?\*/|R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:[^"\\\n]|\\.)*"'
    r"|(?<![0-9a-fA-F])'(?:[^'\\\n]|\\.)+'",
    re.DOTALL,
)


def code_only(text):
    """The text with its comments, preprocessor lines and the insides of its literals blanked; lengths stay."""

    def blank(match):
        found = match.group()
        inside = re.sub(r"[^\n]", "\0" if found[0] in "\"'R" else " ", found)
        return '"' + inside[1:-1] + '"' if found[0] in "\"'R" else inside

    lines = _SKIPPED.sub(blank, text).split("\n")
    continued = False
    for i, line in enumerate(lines):
        directive = continued or line.lstrip().startswith("#")
        continued = directive and line.endswith("\\")
        lines[i] = " " * len(line) if directive else line
    return lines


# --- changes of one line ---
# Each takes the line and its code, in which literals are blanked, and yields changed lines.


def _replaced(line, match, text, group=0):
    return line[: match.start(group)] + text + line[match.end(group) :]


def _swap_words(line, code, words):
    # Formatted operators of two operands stand between blanks, and brackets of templates do not.
    for match in re.finditer(r"(?<= )(" + "|".join(re.escape(word) for word in words) + r")(?= |$)", code):
        yield _replaced(line, match, words[match.group()])


def _comparison(line, code):
    yield from _swap_words(line, code, {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="})


def _logic(line, code):
    yield from _swap_words(line, code, {"&&": "||", "||": "&&"})


def _constant(line, code):
    for match in re.finditer(r"(?<![\w.'])(\d+\.\d*(?:[eE][-+]?\d+)?)(?=[fFlL]?(?![\w.]))", code):
        yield _replaced(line, match, "1.0" if float(match.group()) == 0 else f"({match.group()} * 2)")
    for match in re.finditer(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|\d+)(?=[uUlLzZ]*(?![\w.']))", code):
        digits = match.group()  # perhaps those of an exponent: 08 is one, and no octal number
        value = int(digits, 8 if re.fullmatch(r"0[0-7]+", digits) else 10 if digits.isdigit() else 16)
        yield _replaced(line, match, str(value + 1))
        if value > 0:
            yield _replaced(line, match, str(value - 1))
    for match in re.finditer(r"\b(true|false)\b", code):
        yield _replaced(line, match, "false" if match.group() == "true" else "true")
    for match in re.finditer(r'"\0*"', code):
        if line[match.start()] == '"':
            yield _replaced(line, match, line[match.start() : match.end() - 1] + '~"')


_KEPT = re.compile(r"(return|using|typedef|static_assert|friend|template|goto|case|default|public|private|delete)\b")
# Two words before the sign of an assignment, or before the end: a variable that the lines below need. An object that is
# made with arguments may be a guard, which nothing needs by name.
_DECLARES = re.compile(r"[\w:<>,*& ]+[ *&]\w+( = .*)?;$")


def _statement(line, code):
    body = code.strip()
    if not body.endswith(";") or _KEPT.match(body) or body == ";" or body.count("(") != body.count(")"):
        return
    if _DECLARES.match(body) or body.endswith(("= delete;", "= default;")):
        return
    if body.startswith(("}", ")", "]", ".", "?", ":", "<<", "&&", "||", "+", "->")) and not body.startswith("++"):
        return  # the end of something that began above
    yield line[: len(line) - len(line.lstrip())] + ";"


def _closing(code, start):
    depth = 0
    for i in range(start, len(code)):
        depth += (code[i] in "([{") - (code[i] in ")]}")
        if depth == 0:
            return i
    return -1


def _condition(line, code):
    for match in re.finditer(r"\b(?:if|while) \(", code):
        end = _closing(code, match.end() - 1)
        begin = match.end()
        if end < 0:
            continue
        begin += code[begin:end].rfind(";") + 1
        yield f"{line[:begin]}!({line[begin:end].strip()}){line[end:]}"


def _top_level_parts(code, begin, end):
    """Where the parts between commas begin and end, without what stands in inner brackets."""
    parts = []
    depth = 0
    start = begin
    for i in range(begin, end):
        depth += (code[i] in "([{") - (code[i] in ")]}")
        if code[i] == "," and depth == 0:
            parts.append((start, i))
            start = i + 1
    parts.append((start, end))
    return parts


def _arguments(line, code):
    for match in re.finditer(r"\w[({]", code):
        end = _closing(code, match.end() - 1)
        if end < 0:
            continue
        parts = _top_level_parts(code, match.end(), end)
        for (a, b), (c, d) in zip(parts, parts[1:]):
            first, second = line[a:b].strip(), line[c:d].strip()
            if first != second and "<" not in first + second:
                blank = line[a : a + len(line[a:b]) - len(line[a:b].lstrip())]
                yield f"{line[:a]}{blank}{second}, {first}{line[d:]}"


def _return(line, code):
    match = re.match(r"\s*return (.+);$", code)
    if match and match.group(1) != "{}":
        yield _replaced(line, match, "{}", 1)


def _sign(line, code):
    yield from _swap_words(line, code, {"+": "-", "-": "+", "*": "/", "/": "*", "+=": "-=", "-=": "+="})
    for match in re.finditer(r"\+\+|--", code):
        yield _replaced(line, match, "--" if match.group() == "++" else "++")
    for match in re.finditer(r"(?<=[(,=?:] )-(?=[\w(])|(?<=[({])-(?=[\w(])|(?<=return )-(?=[\w(])", code):
        yield _replaced(line, match, "")


_CHANGES = {
    "comparison": _comparison,
    "logic": _logic,
    "constant": _constant,
    "statement": _statement,
    "condition": _condition,
    "arguments": _arguments,
    "return": _return,
    "sign": _sign,
}


def _enclosing(codes, index):
    """The nearest line above that is indented less: in formatted text the head of what the line stands in."""
    depth = len(codes[index]) - len(codes[index].lstrip())
    for code in reversed(codes[:index]):
        body = code.strip()
        if body and len(code) - len(code.lstrip()) < depth and not body.endswith(":"):
            return body
    return ""


def _kinds_for(codes, index):
    """Statements stand in functions; among declarations only values mean something that a test can see."""
    code = codes[index]
    if code.startswith("    ") and not re.search(r"\b(class|struct|enum|union)\b", _enclosing(codes, index)):
        return KINDS
    return ("constant", "sign") if re.search(r"\bconst(expr)?\b| = ", code) else ()


def mutants_of_line(path, index, line, codes):
    found = []
    code = codes[index]
    if re.match(r"\s*(static_assert|using|friend|template|typedef)\b", code):
        return found
    for kind in _kinds_for(codes, index):
        for after in _CHANGES[kind](line, code):
            if after != line and all(after != other.after for other in found):
                found.append(Mutant(path, index + 1, kind, line, after))
    return found


def mutants_of_file(path, text):
    """The mutants of each line that has any, as a list of lists."""
    codes = code_only(text)
    each = (mutants_of_line(path, i, line, codes) for i, line in enumerate(text.split("\n")))
    return [found for found in each if found]


def sample(texts, seed, count):
    """At most `count` mutants of distinct lines. `texts` maps paths to texts; the same seed gives the same mutants."""
    chance = random.Random(seed)
    lines = [found for path in sorted(texts) for found in mutants_of_file(path, texts[path])]
    chance.shuffle(lines)
    return [chance.choice(found) for found in lines[:count]]


def find_again(mutant, text):
    """The mutant in a newer text of its file: at the same line of text, the nearest if there are several. None if gone."""
    lines = text.split("\n")
    same = [i + 1 for i, line in enumerate(lines) if line == mutant.before]
    if not same:
        return None
    line = min(same, key=lambda number: abs(number - mutant.line))
    return Mutant(mutant.path, line, mutant.kind, mutant.before, mutant.after)
