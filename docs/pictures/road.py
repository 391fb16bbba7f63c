#!/usr/bin/env python3
"""Draws the road of one read from a trace of its calls.

Usage: road.py TRACE LIBRARY PICTURE_DIR PAGE_DIR. TRACE is what trace_read printed, LIBRARY the
instrumented library with its line numbers. Writes road.svg and road.md; needs `addr2line` and
Graphviz' `dot`.

A step is the first call of a function from another folder. Steps with hardly any calls below them
are left out: they fetch a count or unlock something.
"""

import dataclasses
import pathlib
import re
import subprocess
import sys

LEAST_CALLS = 12  # below a step; kernels are always shown
NAMESPACES = ("Kelbor", "MathModule", "Kernels", "Platform", "Detail", "morvex")
PLACE = re.compile(r"/src/([\w/]+)/([\w.]+\.cpp):")


@dataclasses.dataclass
class Call:
    depth: int
    name: str
    folder: str  # empty for what is defined in a header
    caller: "Call | None"  # the nearest one in a folder
    below: int = 0


def symbols(library, offsets):
    """Name and folder of each function, by its offset in the library."""
    told = subprocess.run(["addr2line", "-f", "-C", "-e", library, *offsets], check=True, text=True,
                          capture_output=True).stdout.splitlines()
    found = {}
    for offset, function, place in zip(offsets, told[::2], told[1::2]):
        function = function.replace("(anonymous namespace)::", "").split("(")[0]
        name = re.sub(r"<.*?>", "", function).split(" ")[-1]  # templates show what they return
        name = "::".join(part for part in name.split("::")[-2:] if part not in NAMESPACES)
        source = PLACE.search(place)
        found[offset] = (name, source.group(1) if source else "")
    return found


def calls_of(trace, library):
    lines = [line.split() for line in trace if re.fullmatch(r"\d+ 0x[0-9a-f]+", line)]
    names = symbols(library, sorted({offset for _, offset in lines}))
    open_calls = []
    for depth, offset in lines:
        while open_calls and open_calls[-1].depth >= int(depth):
            open_calls.pop()
        for call in open_calls:
            call.below += 1
        caller = next((call for call in reversed(open_calls) if call.folder), None)
        open_calls.append(Call(int(depth), *names[offset], caller))
        yield open_calls[-1]


def steps_of(calls):
    """The first call of each function that another folder calls, in their order."""
    steps = {}
    for call in calls:
        crosses = call.folder and (not call.caller or call.caller.folder != call.folder)
        if crosses and "~" not in call.name and call.name:
            steps.setdefault((call.folder, call.name), call)
    return [step for step in steps.values()
            if step.below >= LEAST_CALLS or step.folder.endswith("kernels")]


def shown_caller(step, steps):
    """The nearest step below which this one happens."""
    caller = step.caller
    while caller and not any(caller is other for other in steps):
        caller = caller.caller
    return caller


def drawing(steps):
    yield "digraph road {"
    yield '  rankdir=LR; compound=true; nodesep=0.12; ranksep=0.5;'
    yield '  node [shape=box, style="rounded,filled", fillcolor=white, fontname="Helvetica",'
    yield '    fontsize=10, height=0.3]; edge [color="#90a0b5", arrowsize=0.6];'
    for folder in dict.fromkeys(step.folder for step in steps):
        yield f'  subgraph "cluster_{folder}" {{ label="{folder}"; fontname="Helvetica";'
        yield '    style="rounded,filled"; color="#eef2f7";'
        for number, step in enumerate(steps, 1):
            if step.folder == folder:
                yield f'    s{number} [label="{number}  {step.name}"];'
        yield "  }"
    for number, step in enumerate(steps, 1):
        caller = shown_caller(step, steps)
        if caller:
            yield f"  s{steps.index(caller) + 1} -> s{number};"
    yield "}"


def page(steps):
    yield "# The road of a read {#road}"
    yield ""
    yield "Traced, not drawn: the calls of one `MX_getPartCoordinates` on the sample, with one thread."
    yield "A step is the first call of a function from another folder; an arrow leads from the step"
    yield "within which it happens. Small steps are left out. The page Architecture explains them."
    yield ""
    yield "![The road of a read](road.svg)"
    yield ""
    yield "| step | within | folder | function | calls below |"
    yield "|---|---|---|---|---|"
    for number, step in enumerate(steps, 1):
        caller = shown_caller(step, steps)
        within = steps.index(caller) + 1 if caller else ""
        yield f"| {number} | {within} | `{step.folder}` | `{step.name}` | {step.below} |"


def main():
    trace, library, picture_dir, page_dir = sys.argv[1:]
    lines = pathlib.Path(trace).read_text(encoding="utf-8").splitlines()
    calls = list(calls_of(lines, library))
    steps = steps_of(calls)
    if not steps:
        sys.exit("the trace has no call that leads from one folder to another")
    subprocess.run(["dot", "-Tsvg", "-o", pathlib.Path(picture_dir) / "road.svg"], check=True, text=True,
                   input="\n".join(drawing(steps)))
    text = "\n".join(page(steps)) + "\n"
    (pathlib.Path(page_dir) / "road.md").write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
