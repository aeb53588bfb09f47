#!/usr/bin/python3
"""Holds the includes of the tree against tools/layers.toml: `check_layers.py [--root DIR]`.

Prints one line for every include that its room may not have, every library outside its folder and
every ROOMS list of a CMakeLists.txt that differs from the table. Exits 1 when it printed any.
"""

import argparse
import re
import sys
import tomllib
from pathlib import Path, PurePosixPath

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
ROOM_CALL = re.compile(r"\broom\s*\(\s*(\w+)([^)]*)\)")
CALL_KEYWORDS = {"SOURCES", "ROOMS", "LIBRARIES"}
SUFFIXES = {".h", ".cc", ".cpp", ".hpp", ".inc"}
CHECKED = ("engine", "app")
SCANNED = ("engine", "app", "helpers", "bench", "fuzz", "tests", "tools")


def within(path, folder):
    return PurePosixPath(path).is_relative_to(folder)


def room_of(rooms, path):
    """The name of the room with the longest path that contains `path`, or None."""
    holders = [name for name, room in rooms.items() if within(path, room["path"])]
    return max(holders, key=lambda name: len(rooms[name]["path"]), default=None)


def sources(root, folders):
    for folder in folders:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SUFFIXES and path.is_file():
                yield path.relative_to(root).as_posix(), path.read_text(encoding="utf-8")


def line_of(text, match):
    return text.count("\n", 0, match.start()) + 1


def room_faults(root, rooms):
    for path, text in sources(root, CHECKED):
        own = room_of(rooms, path)
        if own is None:
            yield f"{path}: belongs to no room of layers.toml"
            continue
        allowed = rooms[own]["may_include"]
        for match in INCLUDE.finditer(text):
            header = match.group(1)
            if header is None or "*" in allowed:
                continue
            if (root / path).parent.joinpath(header).is_file():
                target = PurePosixPath(path).parent / header
                target = (root / target).resolve().relative_to(root.resolve()).as_posix()
            else:
                target = f"engine/{header}"
            other = room_of(rooms, target)
            if other is None:
                yield f"{path}:{line_of(text, match)}: \"{header}\" is in no room of layers.toml"
            elif other != own and other not in allowed:
                yield f"{path}:{line_of(text, match)}: {own} may not include {other} (\"{header}\")"


def library_faults(root, libraries):
    for path, text in sources(root, SCANNED):
        for match in INCLUDE.finditer(text):
            header = match.group(2)
            for library in libraries:
                if (header is not None
                        and any(header.startswith(start) for start in library["headers"])
                        and not any(within(path, folder) for folder in library["only_in"])):
                    yield (f"{path}:{line_of(text, match)}: <{header}>: {library['name']} stays in "
                           + ", ".join(library["only_in"]))


def cmake_rooms(text):
    """(room, its ROOMS) of every room() call in a CMakeLists.txt."""
    text = re.sub(r"#.*", "", text)
    for match in ROOM_CALL.finditer(text):
        listed, keyword = [], None
        for word in match.group(2).split():
            if word in CALL_KEYWORDS:
                keyword = word
            elif keyword == "ROOMS":
                listed.append(word)
        yield match.group(1), listed


def cmake_faults(root, rooms):
    for path in sorted((root / "engine").rglob("CMakeLists.txt")):
        shown = path.relative_to(root).as_posix()
        for name, listed in cmake_rooms(path.read_text(encoding="utf-8")):
            if name not in rooms:
                yield f"{shown}: room({name}) is not in layers.toml"
            elif set(listed) != set(rooms[name]["may_include"]):
                yield (f"{shown}: room({name}) lists {sorted(listed)}, "
                       f"layers.toml {sorted(rooms[name]['may_include'])}")


def table_faults(rooms):
    for name, room in rooms.items():
        for other in room["may_include"]:
            if other != "*" and other not in rooms:
                yield f"layers.toml: {name} lists {other}, which is no room"
    for cycle in sorted(set(cycles(rooms))):
        yield f"layers.toml: {cycle} include each other"


def cycles(rooms):
    def reachable(name, seen):
        for other in rooms.get(name, {"may_include": []})["may_include"]:
            if other not in seen:
                seen.add(other)
                reachable(other, seen)
        return seen
    reach = {name: reachable(name, set()) for name in rooms}
    for name in rooms:
        for other in reach[name]:
            if other in rooms and name in reach[other]:
                yield " and ".join(sorted({name, other}))


def faults(root):
    table = tomllib.loads((root / "tools/layers.toml").read_text(encoding="utf-8"))
    rooms = table["rooms"]
    yield from table_faults(rooms)
    yield from room_faults(root, rooms)
    yield from library_faults(root, table["libraries"])
    yield from cmake_faults(root, rooms)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=Path, default=Path(__file__).resolve().parent.parent)
    found = list(faults(parser.parse_args().root))
    print("\n".join(found) if found else "every include is allowed")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
