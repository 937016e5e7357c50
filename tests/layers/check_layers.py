#!/usr/bin/env python3
"""Checks that no folder of src includes from a folder above it.

The layers, lowest first: mdb; core/plot; core/text, core/errors, core/settings,
core/readings, core/db, core/sources, core/graphs, core/summaries, core/import, core/remote,
core/export, core/cycle;
ui; app.
A file may include from its own folder and from the folders below it.
Prints every include that breaks the order and exits 1 if there is one.
"""
import pathlib
import re
import sys

LAYERS = ["mdb", "core/plot", "core/text", "core/errors", "core/settings", "core/readings", "core/db",
          "core/sources", "core/graphs", "core/summaries", "core/import", "core/remote", "core/export", "core/cycle", "ui", "app"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def layer_of(path):
    """The index in LAYERS of the folder a path (relative to src) lies in."""
    for index in reversed(range(len(LAYERS))):
        if path == LAYERS[index] or path.startswith(LAYERS[index] + "/"):
            return index
    return None


def main(source_root):
    root = pathlib.Path(source_root)
    faults = []
    for file in sorted(root.rglob("*")):
        if file.suffix not in (".h", ".cpp"):
            continue
        own = layer_of(file.relative_to(root).as_posix())
        for included in INCLUDE.findall(file.read_text(encoding="utf-8")):
            target = layer_of(included)
            if target is None:
                faults.append(f"{file}: includes \"{included}\", which names no folder of src")
            elif own is None or target > own:
                faults.append(f"{file}: includes \"{included}\" from a layer above its own")
    for fault in faults:
        print(fault)
    print(f"{len(faults)} includes against the layer order")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "src"))
