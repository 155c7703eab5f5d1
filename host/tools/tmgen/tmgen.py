#!/usr/bin/env python3
"""Generates the C++ codecs of one message set from its definition file.

    tmgen.py <set>.toml --output-dir DIR [--depfile FILE]

writes DIR/<set>.h and DIR/<set>.cpp. The definitions of the sets it uses are read from the
definition's folder. With --depfile, FILE lists every definition file read, so that the build
regenerates the set when any of them changes. A malformed definition ends the run with status 1
and a message that names the file and the entry.
"""

import argparse
import sys
from pathlib import Path

import definitions
import emit


def main(arguments: list[str]) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("definition", type=Path)
    parser.add_argument("--output-dir", type=Path, required=True)
    parser.add_argument("--depfile", type=Path)
    options = parser.parse_args(arguments)
    try:
        message_set = definitions.load(options.definition.resolve())
    except definitions.DefinitionError as error:
        print(f"tmgen: {error}", file=sys.stderr)
        return 1
    options.output_dir.mkdir(parents=True, exist_ok=True)
    header = options.output_dir / f"{message_set.name}.h"
    header.write_text(emit.header(message_set))
    (options.output_dir / f"{message_set.name}.cpp").write_text(emit.source(message_set))
    if options.depfile is not None:
        read = " ".join(_make_path(used.path) for used in message_set.all_sets())
        options.depfile.write_text(f"{_make_path(header.resolve())}: {read}\n")
    return 0


def _make_path(path: Path) -> str:
    return str(path).replace(" ", "\\ ")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
