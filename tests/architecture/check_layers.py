#!/usr/bin/env python3
"""Checks the include arrows of the scene core and the panels.

- Each service folder of platform/velxcore includes only headers of its own folder or of the
  folders below it (objects < files < groups, tools < scene < settings < scripting < plugins <
  application), so the handles never reach the application object.
- The panels (editors/) include no Lua or CPython header and no header of the scene database
  (veldatabase) or the scene graph (velscenegraph); only the editor settings objects of
  editors/framework wrap scene-graph node types.

Prints each wrong arrow as file:line and exits 1 when there is one.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2])
CORE = ROOT / "platform" / "velxcore"
ORDER = ["objects", "files", "groups", "tools", "scene", "settings", "scripting", "plugins", "application"]
LEVEL = {name: i for i, name in enumerate(ORDER)}
LEVEL["tools"] = LEVEL["groups"]  # groups and tools stand side by side and never include each other
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')


def sources(folder):
    return [p for p in folder.rglob("*") if p.suffix in (".h", ".cpp") and p.is_file()]


def includes(path):
    for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1)


def main():
    home = {}
    for folder in ORDER:
        for header in (CORE / folder / "include" / "velxcore").glob("*.h"):
            home[header.name] = folder
    problems = []
    for folder in ORDER:
        for path in sources(CORE / folder):
            for number, name in includes(path):
                if not name.startswith("velxcore/"):
                    continue
                target = home.get(name.split("/", 1)[1])
                if target is None:
                    problems.append(f"{path}:{number}: {name} is no header of the core")
                elif LEVEL[target] > LEVEL[folder] or (target != folder and LEVEL[target] == LEVEL[folder]):
                    problems.append(f"{path}:{number}: {folder} includes {name} of {target}, a service above it")
    internal = re.compile(r"^(lua|lauxlib|lualib|Python|veldatabase/|velscenegraph/)")
    for path in sources(ROOT / "editors"):
        framework_settings = "framework" in path.relative_to(ROOT).parts and "Settings" in path.name
        for number, name in includes(path):
            if not internal.match(name):
                continue
            if framework_settings and name.startswith(("velscenegraph/", "veldatabase/Node.h")):
                continue
            problems.append(f"{path}:{number}: a panel includes the core internal {name}")
    for problem in problems:
        print(problem)
    print(f"{len(problems)} wrong include arrows" if problems else "every include arrow points down")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
