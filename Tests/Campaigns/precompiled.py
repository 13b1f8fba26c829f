"""Precompiled headers for the files that a mutant makes the campaign compile.

A source that is mutated itself has all of its headers precompiled. A source that includes a mutated header has all headers
precompiled but that one and those that include it, whose own includes take their place.
"""

import os
import re
import threading
from pathlib import Path

from ninjabuild import BuildFailure, build, replace_option

INCLUDE = re.compile(r'^#include ([<"])([^>"]+)[>"]', re.MULTILINE)


class Precompiled:
    def __init__(self, base):
        self.base, self.folder = base, base.folder / "precompiled"
        self.locks, self.lock = {}, threading.Lock()

    def options(self, object_file, mutated_header):
        """What makes the compilation of this object use its precompiled headers. `mutated_header` is a path below the
        sources, or empty where the source itself is mutated."""
        kind = Path(mutated_header).name or "all"
        result = self.folder / f"{object_file.replace('/', '-')}.{kind}.pch"
        with self.lock:
            lock = self.locks.setdefault(result, threading.Lock())
        with lock:
            newest = max(Path(self.base.binary, name).stat().st_mtime for name in self.base.dependencies[object_file])
            if not result.exists() or result.stat().st_mtime < newest:
                self.make(result, object_file, mutated_header)
        return ["-include-pch", str(result)] if result.stat().st_size else []

    def make(self, result, object_file, mutated_header):
        self.folder.mkdir(exist_ok=True)
        command, source = self.base.compilations[object_file]
        header = result.with_suffix(".h")
        header.write_text("".join(self.includes(object_file, source, mutated_header)))
        # Instances of templates that the headers need are made once.
        plain = [part for part in replace_option(command, "-o", str(result)) if part not in ("-c", source)]
        try:
            build([*plain, "-fpch-instantiate-templates", "-x", "c++-header", str(header)], self.base.binary)
        except BuildFailure:
            result.write_bytes(b"")  # it is compiled without

    def includes(self, object_file, source, mutated_header):
        used = [Path(os.path.normpath(self.base.binary / name)) for name in self.base.dependencies[object_file]]
        own = {str(path): path for path in used if path.is_relative_to(self.base.folder)}
        carriers, lines, seen = {}, [], set()

        def included_by(path):
            return [(line, self.resolve(name, path, own)) for line, name in self.lines_of(path)]

        def carries(path):
            """Whether this file is the mutated header, or leads to it."""
            if path not in carriers:
                carriers[path] = False
                carriers[path] = str(path).endswith("/" + mutated_header) or any(
                    other is not None and carries(other) for _, other in included_by(path)
                )
            return carriers[path]

        def collect(path):
            for line, other in included_by(path):
                if line in seen:
                    continue
                seen.add(line)
                if mutated_header and other is not None and carries(other):
                    collect(other)
                else:
                    lines.append(line if other is None else f'#include "{other}"\n')

        collect(Path(source))
        return lines

    def lines_of(self, path):
        return [(match.group() + "\n", match.group(2)) for match in INCLUDE.finditer(path.read_text())]

    def resolve(self, name, includer, own):
        """The file of this project that is meant; none if it is the system's."""
        beside = str(includer.parent / name)
        if beside in own:
            return own[beside]
        return next((path for text, path in own.items() if text.endswith("/" + name)), None)
