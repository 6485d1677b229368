#!/usr/bin/env python3
"""Turns the examples of the documentation into C++ that the tests compile and run.

Two kinds of files hold examples:

* Public headers: every block between `@code{.cpp}` and `@endcode` in a `///` comment. A block is the
  body of a function.
* README.md: every block fenced with ```cpp. A block is the body of a function as well, unless an HTML
  comment on the line above says otherwise:
      <!-- example: program -->                    a complete program, built and run on its own with
                                                   the URL of a local server as its argument
      <!-- example: program, not run: REASON -->   a complete program that is built only
      <!-- not compiled: REASON -->                left out

`#include` lines of a block move to the top of the generated file. `#line` directives make the compiler
and `assert` name the place in the documentation.
"""
import argparse
import pathlib
import re
import sys


class ExampleError(Exception):
    """A block that cannot be told apart from plain text; the message names file and line."""


class Block:
    def __init__(self, line, text, kind="body", run=True):
        self.line = line  # of the first line of the text, counted from 1
        self.text = text  # list of lines
        self.kind = kind  # "body" or "program"
        self.run = run


HEADER_CODE = re.compile(r"[@\\]code\b(\S*)")
HEADER_END = re.compile(r"[@\\]endcode\b")
DOC_LINE = re.compile(r"^\s*///<? ?(.*)$")
PROGRAM_MARK = re.compile(r"^<!-- example: program(, not run: \S.*)? -->$")
LEFT_OUT_MARK = re.compile(r"^<!-- not compiled: \S.* -->$")
INCLUDE = re.compile(r"^\s*#\s*include\b")


def header_blocks(path):
    blocks = []
    start = None
    for number, line in enumerate(path.read_text(encoding="ascii").splitlines(), 1):
        place = f"{path}:{number}"
        comment = DOC_LINE.match(line)
        if start is not None and comment is None:
            raise ExampleError(f"{place}: the comment ends before @endcode")
        code = HEADER_CODE.search(line)
        end = HEADER_END.search(line)
        if code:
            if start is not None:
                raise ExampleError(f"{place}: @code inside a block that began in line {start[0]}")
            if comment is None or comment.group(1).strip() != code.group(0):
                raise ExampleError(f"{place}: @code is not alone in a /// line")
            if code.group(0) != "@code{.cpp}":
                raise ExampleError(f"{place}: write @code{{.cpp}}, so that the example is compiled")
            start = (number, [])
        elif end:
            if start is None:
                raise ExampleError(f"{place}: @endcode without @code{{.cpp}}")
            if comment.group(1).strip() != "@endcode":
                raise ExampleError(f"{place}: @endcode is not alone in its line")
            blocks.append(finished(path, start))
            start = None
        elif start is not None:
            start[1].append(comment.group(1))
    if start is not None:
        raise ExampleError(f"{path}:{start[0]}: @code without @endcode")
    return blocks


def readme_blocks(path):
    blocks = []
    fence = None  # (line number, language, lines)
    mark = (0, "")  # the last line with text outside of a fence
    for number, line in enumerate(path.read_text(encoding="ascii").splitlines(), 1):
        text = line.strip()
        if not text.startswith("```"):
            if fence is not None:
                fence[2].append(line)
            elif text:
                mark = (number, text)
            continue
        if fence is None:
            fence = (number, text[3:].strip(), [])
            continue
        if fence[1] == "cpp":
            block = finished(path, (fence[0], fence[2]))
            above = mark[1] if mark[0] == fence[0] - 1 else ""
            program = PROGRAM_MARK.match(above)
            if program:
                block.kind = "program"
                block.run = program.group(1) is None
            elif above.startswith("<!--") and not LEFT_OUT_MARK.match(above):
                raise ExampleError(f"{path}:{mark[0]}: unknown mark {above}")
            if not LEFT_OUT_MARK.match(above):
                blocks.append(block)
        fence = None
    if fence is not None:
        raise ExampleError(f"{path}:{fence[0]}: the block has no end")
    return blocks


def finished(path, start):
    if not any(line.strip() for line in start[1]):
        raise ExampleError(f"{path}:{start[0]}: the example is empty")
    return Block(start[0] + 1, start[1])


def suite_name(path):
    words = re.split(r"[^A-Za-z0-9]+", path.stem)
    if len(words) > 1 or path.stem.isupper() and path.suffix == ".md":
        words = [word[:1].upper() + word[1:].lower() for word in words]
    return "".join(words) + "DocExample"


def as_functions(path, blocks, prelude, includes=()):
    """One file of GoogleTest tests, `<Suite>.Block<ordinal>`, for the blocks that are function bodies."""
    suite = suite_name(path)
    bodies = [(ordinal, block) for ordinal, block in enumerate(blocks, 1) if block.kind == "body"]
    out = ["// Generated from the examples of the documentation. Edit those.",
           "#undef NDEBUG", f'#include "{prelude}"']
    out += [f"#include <{include}>" for include in includes]
    for _, block in bodies:
        out += [line for line in block.text if INCLUDE.match(line)]
    # Included last and again: some header may have included it after defining NDEBUG.
    out += ["#include <cassert>", "", "namespace {", ""]
    for ordinal, block in bodies:
        out += [f"void {suite}Block{ordinal}() {{", f'#line {block.line} "{path}"']
        out += ["" if INCLUDE.match(line) else line for line in block.text]
        out += ["}", f"TEST({suite}, Block{ordinal}) {{", f"    {suite}Block{ordinal}();", "}", ""]
    out += ["}  // namespace", ""]
    return "\n".join(out)


def as_program(path, block):
    return "\n".join(["// Generated from an example of the documentation. Edit that.",
                      "#undef NDEBUG", f'#line {block.line} "{path}"', *block.text, ""])


def programs(path):
    """(name, block) of each complete program of README.md."""
    found = [block for block in readme_blocks(path) if block.kind == "program"]
    return [(f"readme_program_{ordinal}", block) for ordinal, block in enumerate(found, 1)]


def read_exemptions(path):
    """Header name -> reason, from lines `name: reason`."""
    exemptions = {}
    for number, line in enumerate(path.read_text(encoding="ascii").splitlines(), 1):
        if line.strip() and not line.startswith("#"):
            name, colon, reason = line.partition(":")
            if not colon or not reason.strip():
                raise ExampleError(f"{path}:{number}: an exemption needs a reason")
            exemptions[name.strip()] = reason.strip()
    return exemptions


def coverage_faults(folder, exemptions):
    """What is wrong: headers directly in `folder` without an example, and exemptions out of use."""
    faults = []
    headers = {path.name: path for path in sorted(folder.glob("*.h"))}
    for name, path in headers.items():
        examples = len(header_blocks(path))
        if examples == 0 and name not in exemptions:
            faults.append(f"{path}: no @code{{.cpp}} example")
        if examples > 0 and name in exemptions:
            faults.append(f"{path}: has examples, so its exemption is out of use")
    faults += [f"{name}: exempt, but there is no such header"
               for name in exemptions if name not in headers]
    return faults


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    commands = parser.add_subparsers(dest="command", required=True)
    header = commands.add_parser("header", help="generate the tests of one header")
    header.add_argument("prelude", help="the file to include first")
    header.add_argument("source", type=pathlib.Path)
    header.add_argument("include", help="how a program includes the header")
    header.add_argument("output", type=pathlib.Path)
    readme = commands.add_parser("readme", help="generate the tests of README.md")
    readme.add_argument("prelude", help="the file to include first")
    readme.add_argument("source", type=pathlib.Path)
    readme.add_argument("output", type=pathlib.Path)
    listing = commands.add_parser("programs", help="list the programs of README.md: name=run|build")
    listing.add_argument("source", type=pathlib.Path)
    program = commands.add_parser("program", help="generate one program of README.md")
    program.add_argument("source", type=pathlib.Path)
    program.add_argument("name")
    program.add_argument("output", type=pathlib.Path)
    check = commands.add_parser("check", help="fail when a header has no example")
    check.add_argument("folder", type=pathlib.Path)
    check.add_argument("exemptions", type=pathlib.Path)
    options = parser.parse_args(arguments)
    try:
        if options.command == "header":
            options.output.write_text(
                as_functions(options.source, header_blocks(options.source), options.prelude,
                             [options.include]),
                encoding="ascii")
        elif options.command == "readme":
            options.output.write_text(
                as_functions(options.source, readme_blocks(options.source), options.prelude),
                encoding="ascii")
        elif options.command == "programs":
            print(";".join(f"{name}={'run' if block.run else 'build'}"
                           for name, block in programs(options.source)), end="")
        elif options.command == "program":
            options.output.write_text(
                as_program(options.source, dict(programs(options.source))[options.name]),
                encoding="ascii")
        else:
            faults = coverage_faults(options.folder, read_exemptions(options.exemptions))
            for fault in faults:
                print(fault, file=sys.stderr)
            return 1 if faults else 0
    except (ExampleError, UnicodeDecodeError) as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
