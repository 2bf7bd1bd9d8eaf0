"""What a run of mutants tells its reader."""

import json
from collections import Counter

from mutation.campaign import BROKEN, CAUGHT, NOT_REACHED, SAME, SURVIVED, Result
from mutation.mutants import Mutant


def changed_part(mutant, width=44):
    """What differs between the two lines, with a little around it: "a < b -> a <= b"."""
    before, after = mutant.before.strip(), mutant.after.strip()
    if after == ";":
        return f"{_short(before, width)} -> nothing"
    start = 0
    while start < min(len(before), len(after)) and before[start] == after[start]:
        start += 1
    end = 0
    while end < min(len(before), len(after)) - start and before[-1 - end] == after[-1 - end]:
        end += 1
    start = max(start - 10, 0)
    end = max(end - 10, 0)
    return f"{_short(before[start:len(before) - end], width)} -> {_short(after[start:len(after) - end], width)}"


def _short(text, width):
    return text if len(text) <= width else text[: width - 3] + "..."


def row(result):
    mutant = result.mutant
    outcome = f"{result.outcome} by {result.by}" if result.by else result.outcome
    return f"{mutant.path}:{mutant.line}", f"{mutant.kind}: {changed_part(mutant)}", outcome


def table(results):
    rows = [("line", "mutation", "outcome"), *map(row, sorted(results, key=lambda each: (each.mutant.path, each.mutant.line)))]
    widths = [max(len(each[column]) for each in rows) for column in (0, 1)]
    return "\n".join(f"{a:<{widths[0]}}  {b:<{widths[1]}}  {c}" for a, b, c in rows)


def share_caught(results):
    """Of the mutants that change something, in percent. 100 if there are none."""
    counts = Counter(result.outcome for result in results)
    lively = counts[CAUGHT] + counts[SURVIVED] + counts[NOT_REACHED]
    return 100 * counts[CAUGHT] / lively if lively else 100.0


def summary(results):
    counts = Counter(result.outcome for result in results)
    lively = counts[CAUGHT] + counts[SURVIVED] + counts[NOT_REACHED]
    return (f"{len(results)} mutants: {counts[BROKEN]} do not compile, {counts[SAME]} change no code; of the other {lively} "
            f"{counts[CAUGHT]} caught ({share_caught(results):.1f} %), {counts[SURVIVED]} survived, "
            f"{counts[NOT_REACHED]} in lines that no test reaches")


def survivors(results):
    """Each mutant that was not caught, as the line before and after it."""
    missed = [each for each in results if each.outcome in (SURVIVED, NOT_REACHED)]
    return "\n".join(f"{each.mutant.path}:{each.mutant.line}: {each.outcome}\n- {each.mutant.before.strip()}\n"
                     f"+ {each.mutant.after.strip()}" for each in missed)


def to_json(results):
    return json.dumps([{**vars(each.mutant), "outcome": each.outcome, "by": each.by} for each in results], indent=1)


def from_json(text):
    return [Result(Mutant(each["path"], each["line"], each["kind"], each["before"], each["after"]), each["outcome"],
                   each["by"]) for each in json.loads(text)]
