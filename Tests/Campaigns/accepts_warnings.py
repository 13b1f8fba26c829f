#!/usr/bin/env python3
"""Prints the targets of a build that compile a source with warnings: accepts_warnings.py BUILD SOURCE.

Each target of the project is tried with the flags of one of its own sources. None may accept a warning.
"""

import sys
from pathlib import Path

sys.dont_write_bytecode = True
from ninjabuild import Build, BuildFailure, build, replace_option

ROOT = Path(__file__).resolve().parents[2]


def main():
    plan = Build(ROOT, (ROOT / sys.argv[1]).resolve())
    planted = str((ROOT / sys.argv[2]).resolve())
    plan.read_rules()
    by_target = {name.split(".dir/")[0]: name for name in plan.compilations}
    if not by_target:
        raise SystemExit("The build has no targets.")
    for target, name in sorted(by_target.items()):
        command, source = plan.compilations[name]
        command = [planted if part == source else part for part in replace_option(command, "-o", "/dev/null")]
        try:
            build(command, plan.binary)
            print(target)
        except BuildFailure as failure:
            if "-Wshadow" not in str(failure):
                print(f"{target} fails without the warning:\n{failure}")


if __name__ == "__main__":
    main()
