#!/usr/bin/env python3
"""Builds a program once more, with a defect in the library, so that a campaign can show that it would notice one.

usage: planted.py BUILD PROGRAM FUNCTION CODE FOLDER

BUILD is a folder that CMake has configured, PROGRAM one of its targets, built. In FOLDER it is linked to a library whose
FUNCTION begins with CODE. Prints the path of the program.
"""

import sys
from pathlib import Path

sys.dont_write_bytecode = True
import mutants
from ninjabuild import LIBRARY, Build, BuildFailure, build, replace_option

ROOT = Path(__file__).resolve().parents[2]


def library_of(plan, inputs):
    for target, objects, shared in plan.libraries():
        if target in inputs:
            return target, objects, shared
    raise SystemExit(f"The program is not linked to the sources in {LIBRARY}.")


def compile_changed(plan, objects, defect, folder):
    name = next(name for name in objects if Path(plan.compilations[name][1]).name == defect.file)
    command, source = plan.compilations[name]
    changed = folder / defect.file
    changed.write_text(defect.apply(Path(source).read_text()))
    result = str(folder / f"{changed.stem}.o")
    command = [str(changed) if part == source else part for part in replace_option(command, "-o", result)]
    build([*command, "-w", "-Wno-error"], plan.binary)
    return name, result


def main():
    binary, target, function, code, folder = sys.argv[1:]
    plan = Build(ROOT, (ROOT / binary).resolve())
    plan.read_rules()
    folder = (ROOT / folder).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    target = next(name for name in plan.rules if Path(name).name == target and plan.rules[name][0].startswith("CXX_EXEC"))
    library, objects, shared = library_of(plan, plan.rules[target][2].split())
    original, changed = compile_changed(plan, objects, mutants.plant(ROOT, LIBRARY, function, code), folder)
    program = str(folder / Path(target).name)
    link = replace_option(plan.link_command(target), "-o", program)
    if shared:
        substitute = str(folder / plan.loaded_as(library))
        command = replace_option(plan.link_command(library), "-o", substitute)
        build([changed if part == original else part for part in command], plan.binary)
        link = [substitute if part == library else part for part in link]
        link[1:1] = [f"-Wl,-rpath,{folder}"]
    else:
        link[1:1] = [changed]  # before the archive that has the original
    build(link, plan.binary)
    print(program)


if __name__ == "__main__":
    try:
        main()
    except BuildFailure as failure:
        raise SystemExit(f"{str(failure)[-4000:]}\nThe planted defect does not build.")
