"""Builds one mutant after the other as cheaply as possible, and runs the tests against it.

Everything is built once, from a copy of the sources. The library is linked as a shared library, on the real services and
on the recording ones, so that a mutated source costs the compilation of that one file (its headers precompiled) and a
link; the test programs stay. A mutated header costs what includes it.
"""

import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import threading
from dataclasses import dataclass, field
from pathlib import Path

LIBRARY = "Service/CommandPattern"
TESTS = "Tests/Service/CommandPattern"
RECORDING_ARCHIVE = "libCommandPatternOnRecordingServices.a"
LIBRARY_TO_REPLACE = re.compile(re.escape(RECORDING_ARCHIVE) + r"$|libVLDService_CommandPattern\.so[.\d]*$")
MODEL = {"VALDANE_MODEL_SEED": "1"}
QUICK_OPERATIONS = {"VALDANE_MODEL_OPERATIONS": "20000"}
MANY_OPERATIONS = {"VALDANE_MODEL_OPERATIONS": "300000"}
SLOW_TEST_MS = 100
QUICK_TIMEOUT = 20
SLOW_TIMEOUT = 180
# What a mutant may take: memory, no core dump, and a log of bounded size.
LIMITS = ["prlimit", "--as=6000000000", "--core=0", "--fsize=100000000"]


class BuildFailure(Exception):
    pass


@dataclass
class Program:
    """A test program."""

    name: str
    path: Path
    objects: list
    link: list  # the command
    slow: list = field(default_factory=list)  # names of tests
    seconds: float = 0.0  # without those


@dataclass
class Variant:
    """The library on one kind of services."""

    name: str
    file: str  # of the shared library
    objects: list
    link: list
    programs: list


@dataclass
class Verdict:
    kind: str  # "killed", "hang", "survived" or "invalid"
    by: str = ""
    output: str = ""


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


def replace_option(command, option, value):
    place = command.index(option)
    return command[: place + 1] + [value] + command[place + 2 :]


class Base:
    """The unchanged library and its tests."""

    def __init__(self, root, folder, compiler):
        self.root, self.folder, self.compiler = root, folder, compiler
        self.source, self.binary = folder / "source", folder / "base"
        self.precompiled_lock = threading.Lock()

    def prepare(self):
        self.configure_and_build()
        self.read_build()
        for variant in self.variants:
            self.link_shared(variant)
        for variant in self.variants:
            for program in variant.programs:
                self.measure(program)
            variant.programs.sort(key=lambda program: program.seconds)

    def copy_sources(self):
        """Only what has changed, so that only that is built again."""
        wanted = subprocess.run(
            ["git", "ls-files", "-co", "--exclude-standard"], cwd=self.root, check=True, capture_output=True, text=True
        ).stdout.split("\n")
        wanted = {name for name in wanted if name and (self.root / name).is_file()}
        for name in wanted:
            here, there = self.root / name, self.source / name
            if not there.exists() or there.read_bytes() != here.read_bytes():
                there.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(here, there)
        for there in [path for path in self.source.rglob("*") if path.is_file()]:
            if str(there.relative_to(self.source)) not in wanted:
                there.unlink()

    def configure_and_build(self):
        linker = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
        self.require(
            ["cmake", "-S", self.source, "-B", self.binary, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={self.compiler}"]
            # The assertions of the standard library make it an abort what would be chance otherwise.
            + ["-DCMAKE_CXX_FLAGS=-O0 -g0 -w -D_GLIBCXX_ASSERTIONS", "-DCMAKE_BUILD_TYPE="]
            + ["-DCMAKE_POSITION_INDEPENDENT_CODE=ON", "-DVALDANE_BUILD_EXAMPLES=OFF", "-DVALDANE_INSTALL=OFF"]
            + [f"-DCMAKE_EXE_LINKER_FLAGS={linker}", f"-DCMAKE_SHARED_LINKER_FLAGS={linker}"]
            + ["-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DCMAKE_CXX_COMPILER_LAUNCHER="]
        )
        self.require(["ninja", "-C", self.binary, f"{TESTS}/all", f"{TESTS}/{RECORDING_ARCHIVE}"])

    def require(self, command):
        output, status = run(command, self.root, timeout=3600)
        if status != 0:
            raise SystemExit(f"{output[-4000:]}\nThe unchanged project does not build.")

    def ninja(self, *arguments):
        return subprocess.run(
            ["ninja", "-C", self.binary, *arguments], check=True, capture_output=True, text=True
        ).stdout

    def read_build(self):
        commands = json.loads((self.binary / "compile_commands.json").read_text())
        compilations = [(shlex.split(entry["command"]), entry["file"]) for entry in commands]
        self.compilations = {command[command.index("-o") + 1]: (command, file) for command, file in compilations}
        self.dependencies, current = {}, None
        for line in self.ninja("-t", "deps").splitlines():
            if line and not line.startswith(" "):
                current = self.dependencies.setdefault(line.split(":")[0], set())
            elif line:
                current.add(line.strip())
        rules = re.findall(r"^build ([^:|]+?)(?: \|[^:]*)?: (\w+) (.*)$", (self.binary / "build.ninja").read_text(), re.M)
        objects = {
            target.strip(): (rule, [name for name in inputs.split("|")[0].split() if name.endswith(".o")], inputs)
            for target, rule, inputs in rules
        }
        library = next(name for name in objects if re.search(r"libVLDService_CommandPattern\.so[\d.]+$", name))
        self.variants = [
            Variant("recording services", "libRecording.so", objects[f"{TESTS}/{RECORDING_ARCHIVE}"][1], [], []),
            Variant("real services", "libVLDService_CommandPattern.so.0", objects[library][1], [], []),
        ]
        real_link = self.link_command(library)
        self.variants[1].link = [self.compiler, *[part for part in real_link[1:] if part not in objects[library][1]]]
        self.variants[0].link = [self.compiler, *(["-fuse-ld=lld"] if shutil.which("ld.lld") else []), "-shared", "-o", ""]
        self.variants[0].link.append("-Wl,-soname,libRecording.so")
        for target, (rule, inputs_objects, inputs) in objects.items():
            if not rule.startswith("CXX_EXECUTABLE_LINKER") or not target.startswith(TESTS + "/"):
                continue
            of_recording = RECORDING_ARCHIVE in inputs
            if of_recording or "libVLDService_CommandPattern.so" in inputs:
                program = Program(Path(target).name, self.binary / target, inputs_objects, self.link_command(target))
                self.variants[0 if of_recording else 1].programs.append(program)

    def link_command(self, target):
        line = self.ninja("-t", "commands", target).strip().splitlines()[-1]
        return shlex.split(line.replace(": && ", "", 1).replace(" && :", ""))

    def link_shared(self, variant):
        """The library as a shared one, and the test programs of the recording services relinked to it."""
        folder = self.folder / "shared"
        folder.mkdir(exist_ok=True)
        build([*replace_option(variant.link, "-o", str(folder / variant.file)), *variant.objects], self.binary)
        for program in variant.programs:
            program.link = [
                str(folder / variant.file) if LIBRARY_TO_REPLACE.search(part) else part
                for part in program.link
            ]
            program.path = folder / program.name
            build(replace_option(program.link, "-o", str(program.path)), self.binary)

    def measure(self, program):
        environment = {**MODEL, **QUICK_OPERATIONS, "LD_LIBRARY_PATH": str(self.folder / "shared")}
        output, status = run([program.path], self.binary, SLOW_TIMEOUT, environment)
        if status != 0:
            raise SystemExit(f"{output[-4000:]}\n{program.name} fails without any mutant.")
        times = [(name, int(ms)) for name, ms in re.findall(r"^\[       OK \] (\S+).*\((\d+) ms\)$", output, re.M)]
        only_one = len(times) == 1
        program.slow = [] if only_one else [name for name, ms in times if ms >= SLOW_TEST_MS]
        program.seconds = sum(ms for name, ms in times if name not in program.slow) / 1000

    def precompiled(self, object_file, of_mutated_source):
        """Headers that a source includes, precompiled: of a mutated source all; else, since one of the project's own is
        mutated, those of the system only, its own and those of the headers that it includes."""
        command, source = self.compilations[object_file]
        folder = self.folder / "precompiled"
        kind = "all" if of_mutated_source else "system"
        result = folder / (object_file.replace("/", "-") + f".{kind}.pch")
        with self.precompiled_lock:
            used = [Path(self.binary, name) for name in self.dependencies[object_file]]
            newest = max(path.stat().st_mtime for path in used)
            if not result.exists() or result.stat().st_mtime < newest:
                folder.mkdir(exist_ok=True)
                header = result.with_suffix(".h")
                header.write_text("".join(self.includes(source, used, of_mutated_source)))
                plain = [part for part in replace_option(command, "-o", str(result)) if part not in ("-c", source)]
                build([*plain, "-x", "c++-header", str(header)], self.binary)
        return result

    def includes(self, source, used, all_of_source):
        if all_of_source:
            return re.findall(r"^#include.*\n", Path(source).read_text(), re.M)
        # This folder has the copy of the sources, and links to it.
        own = [source, *(path for path in used if path.is_relative_to(self.folder))]
        return sorted({line for path in own for line in re.findall(r"^#include <.*\n", Path(path).read_text(), re.M)})


class Worker:
    """Tries mutants, one at a time, in a folder of its own."""

    def __init__(self, base, name, with_slow_tests):
        self.base = base
        self.rounds = (True, False) if with_slow_tests else (True,)
        self.folder = base.folder / name
        self.overlay = self.folder / "overlay"
        self.kills = {}  # by file: how many each variant killed; where most die is tried first

    def examine(self, mutant):
        shutil.rmtree(self.folder, ignore_errors=True)
        self.path = self.overlay / LIBRARY / mutant.file
        self.path.parent.mkdir(parents=True)
        original = (self.base.source / LIBRARY / mutant.file).read_text()
        self.path.write_text(mutant.apply(original))
        self.mutant, self.built = mutant, {}
        kills = self.kills.setdefault(mutant.file, {})
        variants = sorted(self.base.variants, key=lambda variant: -kills.get(variant.name, 0))
        try:
            for quick in self.rounds:
                for variant in variants:
                    self.link_library(variant)
                    for program in variant.programs:
                        verdict = self.test(variant, program, quick)
                        if verdict is not None:
                            kills[variant.name] = kills.get(variant.name, 0) + 1
                            return verdict
        except BuildFailure as failure:
            return Verdict("invalid", "", str(failure))
        return Verdict("survived")

    def link_library(self, variant):
        if variant.name in self.built:
            return
        folder = self.folder / variant.name
        folder.mkdir()
        objects = self.compiled(variant.objects, folder)
        build([*replace_option(variant.link, "-o", str(folder / variant.file)), *objects], self.base.binary)
        self.built[variant.name] = folder

    def compiled(self, objects, folder):
        """These object files, with those that the mutant concerns compiled again."""
        result = []
        for number, name in enumerate(objects):
            command, source = self.base.compilations[name]
            is_mutated = source.endswith(f"{LIBRARY}/{self.mutant.file}")
            if is_mutated or self.depends(name):
                result.append(str(folder / f"{number}-{Path(name).name}"))
                command = replace_option(command, "-o", result[-1])
                command = [str(self.path) if is_mutated and part == source else part for part in command]
                command[1:1] = [f"-I{self.overlay}", f"-ffile-prefix-map={self.overlay}/="]
                command[1:1] = ["-include-pch", str(self.base.precompiled(name, is_mutated))]
                build(command, self.base.binary)
            else:
                result.append(name)
        return result

    def depends(self, object_file):
        if not self.mutant.file.endswith(".h"):
            return False
        header = f"/{LIBRARY}/{self.mutant.file}"
        return any(name.endswith(header) for name in self.base.dependencies[object_file])

    def test(self, variant, program, quick):
        tests = "-" + ":".join(program.slow) if quick else ":".join(program.slow)
        operations = QUICK_OPERATIONS if quick else MANY_OPERATIONS
        if not quick and not program.slow:
            if "Model" not in program.name:
                return None
            tests = "*"
        try:
            path = self.program_path(program)
        except BuildFailure as failure:
            return Verdict("killed", f"compilation of {program.name}", str(failure))
        environment = {**MODEL, **operations, "LD_LIBRARY_PATH": str(self.built[variant.name]), "GTEST_FAIL_FAST": "1"}
        timeout = QUICK_TIMEOUT if quick else SLOW_TIMEOUT
        command = [*LIMITS, str(path), f"--gtest_filter={tests}"]
        output, status = run(command, self.base.binary, timeout, environment)
        if status == 0:
            return None
        failed = re.findall(r"^\[  FAILED  \] (\S+?)(?:,| \()", output, re.M)
        started = re.findall(r"^\[ RUN      \] (\S+)", output, re.M)
        by = failed[0] if failed else started[-1] if started else "start"
        return Verdict("hang" if status is None else "killed", f"{program.name}: {by}", output)

    def program_path(self, program):
        if program.name not in self.built:
            folder = self.folder / program.name
            folder.mkdir()
            objects = self.compiled(program.objects, folder)
            path = program.path
            if objects != program.objects:
                path = folder / program.name
                others = dict(zip(program.objects, objects))
                link = [others.get(part, part) for part in program.link]
                build(replace_option(link, "-o", str(path)), self.base.binary)
            self.built[program.name] = path
        return self.built[program.name]
