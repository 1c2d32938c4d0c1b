#!/usr/bin/env python3
"""Fails when a source folder includes one above it, or two folders include
each other. The layers, from the bottom, are listed once, here."""
import os
import re
import sys

LAYERS = ["base", "xml", "expr", "waveforms", "components", "solver", "traces", "document", "api"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([a-z_]+)/[^"]+"', re.M)


def edges(src):
    """(file, line, from folder, to folder) for every include across folders."""
    for folder in sorted(os.listdir(src)):
        path = os.path.join(src, folder)
        if not os.path.isdir(path):
            continue
        for root, _, files in os.walk(path):
            for name in sorted(files):
                file = os.path.join(root, name)
                with open(file, errors="replace") as f:
                    text = f.read()
                for m in INCLUDE.finditer(text):
                    if m[1] != folder and os.path.isdir(os.path.join(src, m[1])):
                        yield file, text.count("\n", 0, m.start()) + 1, folder, m[1]


def main(src):
    faults = []
    found = set()
    for file, line, lower, upper in edges(src):
        found.add((lower, upper))
        if lower not in LAYERS or upper not in LAYERS:
            faults.append(f"{file}:{line}: folder '{lower if lower not in LAYERS else upper}' has no place in the layers")
        elif LAYERS.index(upper) > LAYERS.index(lower):
            faults.append(f"{file}:{line}: {lower} includes {upper}, a layer above it")
    for a, b in sorted(found):
        if a < b and (b, a) in found:
            faults.append(f"{a} and {b} include each other")
    for fault in faults:
        print(fault)
    print(f"{len(faults)} layer faults" if faults else "layers: " + " < ".join(LAYERS))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "src")))
