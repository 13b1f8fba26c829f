"""The unchanged library and its test programs, built once and taken apart for the mutation campaign.

Everything that the campaign must know is read from the build: which libraries have the sources of the library (one on the
real services, one on the recording ones), under which name a program loads each at run time, and which test programs are
linked to it.
"""

import re
import shutil
from dataclasses import dataclass, field
from pathlib import Path

from ninjabuild import LIBRARY, Build, build, replace_option, require, run

MODEL = {"VALDANE_MODEL_SEED": "1"}
QUICK_OPERATIONS = {"VALDANE_MODEL_OPERATIONS": "20000"}
SLOW_TEST_MS = 100
# These look at declarations, and run nothing of the library.
WITHOUT_CALLS = {"LayoutTests"}
LINKER = ["-fuse-ld=lld"] if shutil.which("ld.lld") else []


@dataclass
class Program:
    """A test program."""

    name: str
    path: Path
    objects: list
    link: list  # the command
    slow: list = field(default_factory=list)  # names of tests
    seconds: float = 0.0  # without those
    slow_seconds: float = 0.0


@dataclass
class Variant:
    """The library on one kind of services."""

    name: str
    file: str  # the name under which the programs load it
    objects: list
    link: list
    programs: list
    built: str  # what the build makes of it


class Base(Build):
    def __init__(self, root, folder, compiler):
        super().__init__(folder / "source", folder / "base")
        self.root, self.folder, self.compiler = root, folder, compiler
        self.shared = folder / "shared"

    def prepare(self):
        self.configure()
        self.read_rules()
        self.read_variants()
        programs = [program for variant in self.variants for program in variant.programs]
        targets = [variant.built for variant in self.variants] + [
            str(program.path.relative_to(self.binary)) for program in programs
        ]
        require(["ninja", "-C", self.binary, *targets], self.root)
        self.read_dependencies()
        shutil.rmtree(self.shared, ignore_errors=True)
        self.shared.mkdir()
        for variant in self.variants:
            self.link_shared(variant)
        for program in programs:
            self.measure(program)

    def configure(self):
        require(
            ["cmake", "-S", self.source, "-B", self.binary, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={self.compiler}"]
            # The assertions of the standard library make it an abort what would be chance otherwise.
            + ["-DCMAKE_CXX_FLAGS=-O0 -g0 -w -fPIC -D_GLIBCXX_ASSERTIONS", "-DCMAKE_BUILD_TYPE="]
            + ["-DVALDANE_BUILD_EXAMPLES=OFF", "-DVALDANE_INSTALL=OFF"]
            + [f"-DCMAKE_EXE_LINKER_FLAGS={' '.join(LINKER)}", f"-DCMAKE_SHARED_LINKER_FLAGS={' '.join(LINKER)}"]
            + ["-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"],
            self.root,
        )

    def read_variants(self):
        self.variants = []
        for target, objects, shared in self.libraries():
            self.variants.append(self.variant(target, objects, shared))
        if len(self.variants) < 2:
            raise SystemExit(f"The build has {len(self.variants)} libraries of the sources in {LIBRARY}, not two or more.")
        for target, (rule, objects, inputs) in self.rules.items():
            name = Path(target).name
            if not rule.startswith("CXX_EXECUTABLE_LINKER") or not name.endswith("Tests") or name in WITHOUT_CALLS:
                continue
            for variant in self.variants:
                if variant.built in inputs.split():
                    program = Program(name, self.binary / target, objects, self.link_command(target))
                    variant.programs.append(program)

    def variant(self, target, objects, shared):
        if not shared:
            file = Path(target).stem + ".so"
            link = [self.compiler, *LINKER, "-shared", "-o", "", f"-Wl,-soname,{file}"]
            return Variant(Path(target).stem, file, objects, link, [], target)
        link = [part for part in self.link_command(target) if part not in objects]
        return Variant(Path(target).name.split(".")[0], self.loaded_as(target), objects, link, [], target)

    def link_shared(self, variant):
        """The library as a shared one, and its test programs linked to that."""
        library = str(self.shared / variant.file)
        build([*replace_option(variant.link, "-o", library), *variant.objects], self.binary)
        for program in variant.programs:
            if variant.built not in program.link:
                raise SystemExit(f"{program.name} does not name {variant.built} when it is linked.")
            program.link = [library if part == variant.built else part for part in program.link]
            program.path = self.shared / program.name
            build(replace_option(program.link, "-o", str(program.path)), self.binary)

    def measure(self, program):
        environment = {**MODEL, **QUICK_OPERATIONS, "LD_LIBRARY_PATH": str(self.shared)}
        output, status = run([program.path], self.binary, 600, environment)
        if status != 0:
            raise SystemExit(f"{output[-4000:]}\n{program.name} fails without any mutant.")
        times = [(name, int(ms)) for name, ms in re.findall(r"^\[       OK \] (\S+).*\((\d+) ms\)$", output, re.M)]
        program.slow = [name for name, ms in times if ms >= SLOW_TEST_MS] if len(times) > 1 else []
        program.slow_seconds = sum(ms for name, ms in times if name in program.slow) / 1000
        program.seconds = sum(ms for _, ms in times) / 1000 - program.slow_seconds
