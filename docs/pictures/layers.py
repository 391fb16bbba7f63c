#!/usr/bin/env python3
"""Draws the folders of src/ from their includes and links, and lists them in a page.

Usage: layers.py PROJECT_DIR PICTURE_DIR PAGE_DIR. Writes layers.svg and folders.md; needs Graphviz'
`dot`.
"""

import collections
import pathlib
import re
import subprocess
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"/]+)/', re.MULTILINE)
LINKS = re.compile(r"target_link_libraries\(\s*(\w+)([^)]*)\)")


def folders_of(source_dir):
    """The folders in the order in which the project adds them, which is that of the layers."""
    listed = (source_dir.parent / "CMakeLists.txt").read_text(encoding="utf-8")
    loop = re.search(r"foreach\(folder ([^)]+)\)\s*add_subdirectory\(src/", listed)
    if not loop:
        sys.exit("CMakeLists.txt has no loop over the folders of src/")
    return loop.group(1).split()


def includes_of(source_dir, folders):
    """How many includes of each folder lead to each other folder."""
    counts = collections.Counter()
    for folder in folders:
        for path in (source_dir / folder).rglob("*.[ch]pp"):
            for target in INCLUDE.findall(path.read_text(encoding="utf-8")):
                if target in folders and target != folder:
                    counts[folder, target] += 1
    return counts


def libraries_of(source_dir, folders):
    """The libraries from outside that each folder links."""
    found = collections.defaultdict(set)
    for folder in folders:
        for path in (source_dir / folder).rglob("CMakeLists.txt"):
            for _, links in LINKS.findall(path.read_text(encoding="utf-8")):
                for package, name in re.findall(r"\b(\w+)::(\w+)", links):
                    found[folder].add(name if package == "PkgConfig" else package)
    return found


def drawing(folders, includes, libraries):
    yield "digraph layers {"
    yield '  rankdir=BT; node [shape=box, style="rounded,filled", fillcolor="#eef2f7", '
    yield '  fontname="Helvetica", fontsize=11, width=1.6]; edge [color="#90a0b5", arrowsize=0.6];'
    most = max(includes.values())
    for (folder, target), count in sorted(includes.items()):
        width = 0.5 + 2.5 * count / most
        yield f'  {target} -> {folder} [dir=back, penwidth={width:.2f}, tooltip="{count} includes"];'
    for folder in folders:
        used = ", ".join(sorted(libraries[folder]))
        small = f'<br/><font point-size="8">{used}</font>' if used else ""
        yield f"  {folder} [label=<{folder}{small}>];"
    yield "}"


def page(source_dir, folders, includes, libraries):
    yield "# Folders {#folders}"
    yield ""
    yield "Drawn from the sources when this page was made. An arrow is an include, its width their"
    yield "number; the small print names the libraries from outside that a folder links. Each folder"
    yield "builds on those below it and on no other."
    yield ""
    yield "![The layers of src/](layers.svg)"
    yield ""
    yield "| folder | files | lines | includes | libraries |"
    yield "|---|---|---|---|---|"
    for folder in folders:
        files = sorted((source_dir / folder).rglob("*.[ch]pp"))
        lines = sum(len(path.read_text(encoding="utf-8").splitlines()) for path in files)
        targets = ", ".join(other for other in folders if includes[folder, other])
        yield (f"| `src/{folder}` | {len(files)} | {lines} | {targets} | "
               f"{', '.join(sorted(libraries[folder]))} |")


def main():
    project_dir, picture_dir, page_dir = map(pathlib.Path, sys.argv[1:])
    source_dir = project_dir / "src"
    folders = folders_of(source_dir)
    includes = includes_of(source_dir, folders)
    libraries = libraries_of(source_dir, folders)
    subprocess.run(["dot", "-Tsvg", "-o", picture_dir / "layers.svg"], check=True, text=True,
                   input="\n".join(drawing(folders, includes, libraries)))
    text = "\n".join(page(source_dir, folders, includes, libraries)) + "\n"
    (page_dir / "folders.md").write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
