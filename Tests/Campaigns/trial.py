"""Tries mutants: builds each one as cheaply as possible, and runs the tests against it.

The library is a shared one, on the real services and on the recording ones, so that a mutated source costs the
compilation of that one file and a link; the test programs stay. A mutated header costs what includes it.
"""

import re
import shutil
import threading
from collections import Counter, defaultdict
from dataclasses import dataclass
from pathlib import Path

from ninjabuild import LIBRARY, BuildFailure, build, replace_option, run
from testbuild import MODEL, QUICK_OPERATIONS

LIKELY_TESTS = 6
MANY_OPERATIONS = {"VALDANE_MODEL_OPERATIONS": "100000"}


@dataclass
class Verdict:
    kind: str  # "killed", "hang", "survived" or "invalid"
    program: str = ""
    test: str = ""
    output: str = ""


class Experience:
    """Which programs and tests have noticed mutants, so that the next mutant meets the likeliest ones first."""

    def __init__(self):
        self.kills, self.tests, self.lock = Counter(), defaultdict(Counter), threading.Lock()

    def note(self, mutant, program, test):
        with self.lock:
            for scope in ((mutant.file, mutant.function), (mutant.file,), ()):
                self.kills[scope, program.name] += 1
            for scope in ((mutant.file, mutant.function), (mutant.file,)):
                self.tests[scope, program.name][test] += 1

    def likely_tests(self, mutant, program):
        """Those that have noticed most mutants of this function, then of this file."""
        with self.lock:
            found = [
                test
                for scope in ((mutant.file, mutant.function), (mutant.file,))
                for test, _ in self.tests[scope, program.name].most_common(LIKELY_TESTS)
            ]
        return list(dict.fromkeys(found))

    def order(self, mutant, programs):
        """The programs by what they cost for each mutant of this function, of its file, or of all that they notice."""

        def cost(pair):
            program = pair[1]
            likely = (
                100 * self.kills[(mutant.file, mutant.function), program.name]
                + 10 * self.kills[(mutant.file,), program.name]
                + self.kills[(), program.name]
                + 1
            )
            return (0.1 + program.seconds) / likely

        return sorted(programs, key=cost)


class Worker:
    """Tries mutants, one at a time, in a folder of its own."""

    def __init__(self, base, precompiled, experience, name, with_slow_tests):
        self.base, self.precompiled, self.experience = base, precompiled, experience
        self.with_slow_tests = with_slow_tests
        self.folder = base.folder / name
        self.overlay = self.folder / "overlay"

    def examine(self, mutant, only_program=None):
        self.begin(mutant)
        pairs = [
            (variant, program)
            for variant in self.base.variants
            for program in variant.programs
            if only_program in (None, program.name)
        ]
        try:
            for variant, program, filters, quick in self.plan(mutant, pairs):
                self.link_library(variant)
                verdict = self.test(variant, program, filters, quick)
                if verdict is not None:
                    self.experience.note(mutant, program, verdict.test)
                    return verdict
        except BuildFailure as failure:
            return Verdict("invalid", output=str(failure))
        return Verdict("survived")

    def plan(self, mutant, pairs):
        """What is run: the likeliest tests, then all that are quick, then the slow ones."""
        pairs = self.experience.order(mutant, pairs)
        for variant, program in pairs[:2]:
            tests = self.experience.likely_tests(mutant, program)
            if tests:
                yield variant, program, ":".join(tests), True
        for variant, program in pairs:
            yield variant, program, "-" + ":".join(program.slow), True
        for variant, program in pairs if self.with_slow_tests else []:
            if "Model" in program.name:
                yield variant, program, "*", False
            elif program.slow:
                yield variant, program, ":".join(program.slow), False

    def begin(self, mutant):
        shutil.rmtree(self.folder, ignore_errors=True)
        self.path = self.overlay / LIBRARY / mutant.file
        self.path.parent.mkdir(parents=True)
        self.path.write_text(mutant.apply((self.base.source / LIBRARY / mutant.file).read_text()))
        self.mutant, self.built = mutant, {}

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
            is_mutated = Path(source) == self.base.source / LIBRARY / self.mutant.file
            if is_mutated or self.depends(name):
                result.append(str(folder / f"{number}-{Path(name).name}"))
                command = replace_option(command, "-o", result[-1])
                command = [str(self.path) if is_mutated and part == source else part for part in command]
                command[1:1] = [f"-I{self.overlay}", f"-ffile-prefix-map={self.overlay}/="]
                header = "" if is_mutated else f"{LIBRARY}/{self.mutant.file}"
                command[1:1] = self.precompiled.options(name, header)
                build(command, self.base.binary)
            else:
                result.append(name)
        return result

    def depends(self, object_file):
        if not self.mutant.file.endswith(".h"):
            return False
        header = f"/{LIBRARY}/{self.mutant.file}"
        return any(name.endswith(header) for name in self.base.dependencies[object_file])

    def test(self, variant, program, filters, quick):
        try:
            path = self.program_path(program)
        except BuildFailure as failure:
            return Verdict("killed", program.name, "compilation", str(failure))
        operations = QUICK_OPERATIONS if quick else MANY_OPERATIONS
        environment = {**MODEL, **operations, "LD_LIBRARY_PATH": str(self.built[variant.name]), "GTEST_FAIL_FAST": "1"}
        seconds = program.seconds if quick else program.slow_seconds + 5 * program.seconds
        command = [*self.limits(seconds), str(path), f"--gtest_filter={filters}"]
        output, status = run(command, self.base.binary, 10 + 10 * seconds, environment)
        if status == 0:
            return None
        failed = re.findall(r"^\[  FAILED  \] (\S+?)(?:,| \()", output, re.M)
        started = re.findall(r"^\[ RUN      \] (\S+)", output, re.M)
        test = failed[0] if failed else started[-1] if started else "start"
        no_end = status is None or (status == -9 and not failed)  # the limit of processor time has killed it
        return Verdict("hang" if no_end else "killed", program.name, test, output)

    def limits(self, seconds):
        """What a mutant may take: processor time, memory, no core dump, and a log of bounded size."""
        processor = int(3 + 5 * seconds)
        return ["prlimit", f"--cpu={processor}:{processor}", "--as=3000000000", "--core=0", "--fsize=100000000"]

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
