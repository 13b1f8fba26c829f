"""Reads what a build by Ninja does, so that parts of it can be done again with other sources."""

import json
import os
import re
import shlex
import shutil
import signal
import subprocess
from pathlib import Path

LIBRARY = "Service/CommandPattern"


class BuildFailure(Exception):
    pass


def run(command, directory, timeout=600, environment=None):
    """Output and exit status; the status is None after a time-out."""
    process = subprocess.Popen(
        command,
        cwd=directory,
        env={**os.environ, **(environment or {})},
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        start_new_session=True,
    )
    try:
        output, _ = process.communicate(timeout=timeout)
        return output.decode(errors="replace"), process.returncode
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return output.decode(errors="replace"), None


def build(command, directory):
    output, status = run(command, directory)
    if status != 0:
        raise BuildFailure(output)


def require(command, directory):
    output, status = run(command, directory, timeout=3600)
    if status != 0:
        raise SystemExit(f"{output[-4000:]}\nThe unchanged project does not build.")


def replace_option(command, option, value):
    place = command.index(option)
    return command[: place + 1] + [value] + command[place + 2 :]


def copy_sources(root, folder):
    """The project's files as they are now. Copies only what has changed, so that only that is built again."""
    wanted = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard"], cwd=root, check=True, capture_output=True, text=True
    ).stdout.split("\n")
    wanted = {name for name in wanted if name and (root / name).is_file()}
    for name in wanted:
        here, there = root / name, folder / name
        if not there.exists() or there.read_bytes() != here.read_bytes():
            there.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(here, there)
    for there in [path for path in folder.rglob("*") if path.is_file()]:
        if str(there.relative_to(folder)) not in wanted:
            there.unlink()


class Build:
    """A configured build: `compilations` by object file, `rules` by target as (rule, object files, all inputs)."""

    def __init__(self, source, binary):
        self.source, self.binary = source, binary

    def ninja(self, *arguments):
        return subprocess.run(
            ["ninja", "-C", self.binary, *arguments], check=True, capture_output=True, text=True
        ).stdout

    def read_rules(self):
        entries = json.loads((self.binary / "compile_commands.json").read_text())
        self.compilations = {}
        for entry in entries:
            command = shlex.split(entry["command"])
            if Path(command[0]).name == "ccache":  # which a mutant gains nothing from
                command = command[1:]
            self.compilations[command[command.index("-o") + 1]] = (command, entry["file"])
        rules = re.findall(r"^build ([^:|]+?)(?: \|[^:]*)?: (\w+) (.*)$", (self.binary / "build.ninja").read_text(), re.M)
        self.rules = {
            target.strip(): (rule, [name for name in inputs.split("|")[0].split() if name.endswith(".o")], inputs)
            for target, rule, inputs in rules
        }

    def link_command(self, target):
        line = self.ninja("-t", "commands", target).strip().splitlines()[-1]
        command = shlex.split(line.replace(": && ", "", 1).replace(" && :", ""))
        return command[1:] if Path(command[0]).name == "ccache" else command

    def read_dependencies(self):
        self.dependencies, current = {}, None
        for line in self.ninja("-t", "deps").splitlines():
            if line and not line.startswith(" "):
                current = self.dependencies.setdefault(line.split(":")[0], set())
            elif line:
                current.add(line.strip())

    def libraries(self):
        """The targets that are made of the sources of the library, with the rule and the objects of each."""
        for target, (rule, objects, _) in self.rules.items():
            mine = [name for name in objects if self.is_of_library(self.compilations[name][1])]
            if mine and rule.startswith(("CXX_SHARED_LIBRARY_LINKER", "CXX_STATIC_LIBRARY_LINKER")):
                yield target, objects, "SHARED" in rule

    def is_of_library(self, source):
        return Path(source).parent == self.source / LIBRARY

    def loaded_as(self, target):
        """The name under which programs load this shared library."""
        names = [part.removeprefix("-Wl,-soname,") for part in self.link_command(target) if part.startswith("-Wl,-soname,")]
        if not names:
            raise SystemExit(f"{target} is linked without a name that programs would load it by.")
        return names[0]
