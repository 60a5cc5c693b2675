"""Runs what README.md, HACKING.md and doc/*.md tell a reader to type.

Each page is read from top to bottom in a copy of the tree, in which build/ has
this build and nothing else, with the programs of this build in PATH. What its
fenced blocks do depends on the words behind the fence:

  ```sh           run by one shell after the other, in the 32-bit release build;
                  working directory and exported variables are kept
  ```sh PRESET    run in the build of that preset, if its tests run, and if it has
                  the programs: benchmarks may lack their library
  ```sh build     not run: makes a whole build, installs packages, or runs tests
  ```console      `$ COMMAND` is run, and what follows has to be its output.
                  "..." in it stands for anything, alone in a line for any lines
  ```KIND FILE    is written to that file first

What is not run is counted; it has to be a valid script, of presets, scripts and
programs that there are. Commands outside of fences are a fault, and so are
links to what is not there.

Usage: commands_test.py [PAGE...], with the environment of tests/CMakeLists.txt
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

PRESETS = {"debug", "sanitize", "native", "tsan", "clang", "fuzz", "coverage"}
PROGRAMS = (r"\$ |\./(scan|test)\b|\.ci/|cmake |ctest |cpack |apt(-get)? |"
            r"quaymarsh |qmkwc |build/|tools/dev/|packaging/|python3 |cc ")
SECONDS = 240  # a block that takes longer does not belong here

TOP = pathlib.Path(os.environ["QM_SOURCE_DIR"])
BUILD = pathlib.Path(os.environ["QM_BUILD_DIR"])
PRESET = os.environ["QM_PRESET"]


class Block:
    def __init__(self, page, line, words, text):
        self.where = "%s:%d" % (page, line)
        self.kind, self.mark = (words + ["", ""])[:2]
        self.text = text


def read_page(path, faults):
    """The page's fenced blocks, in order."""
    blocks, lines, fence = [], [], None
    for number, line in enumerate(path.read_text().splitlines(), 1):
        mark = re.match(r"```(.*)$", line)
        if mark and fence is None:
            fence, lines = (number, mark.group(1).split()), []
        elif mark:
            blocks.append(Block(path.name, fence[0], fence[1],
                                "".join(lines)))
            fence = None
        elif fence is not None:
            lines.append(line + "\n")
        elif re.match(r"    (%s)" % PROGRAMS, line):
            faults.append("%s:%d: a command outside of a fence"
                          % (path.name, number))
    if fence is not None:
        faults.append("%s:%d: the fence does not end" % (path.name, fence[0]))
    return blocks


def check_script(block, faults):
    """What can be said of a block without running it."""
    checked = subprocess.run(["bash", "-n"], input=block.text.encode(),
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if checked.returncode:
        faults.append("%s: %s" % (block.where, checked.stdout.decode()))
    presets = json.loads((TOP / "CMakePresets.json").read_text())
    names = {preset["name"] for preset in presets["configurePresets"]}
    for one, other in re.findall(r"--preset (\S+)|build/(\w+)/", block.text):
        name = one or other
        if name not in names:
            faults.append("%s: no preset %s" % (block.where, name))
    for folder, name in re.findall(r"build/\w+/(bench|fuzz|tests)/(\w+)",
                                   block.text):
        if not ((TOP / folder / (name + ".cc")).exists() or
                (TOP / "tools/dev" / (name + ".cc")).exists()):
            faults.append("%s: no %s in %s" % (block.where, name, folder))
    for name in re.findall(r"(?m)^(?:\./|\.ci/|tools/|packaging/)[\w/.-]+",
                           block.text):
        if not os.access(TOP / name, os.X_OK):
            faults.append("%s: no %s" % (block.where, name))


def check_links(path, faults):
    for target in re.findall(r"\]\(([^)#\s]+)", path.read_text()):
        if "://" not in target and not (path.parent / target).exists():
            faults.append("%s: no %s" % (path.name, target))


class Reader:
    """Somebody who types what a page says, in a copy of the tree."""

    def __init__(self, tree, home):
        self.state = home / "state"
        self.state.write_text("cd '%s'\n" % tree)
        self.environment = {
            "HOME": str(home),
            "PATH": "%s:%s" % (BUILD, os.environ["PATH"]),
            "LC_ALL": "C.UTF-8",
        }
        for name in ("ASAN_OPTIONS", "TMPDIR"):
            if name in os.environ:
                self.environment[name] = os.environ[name]

    def type(self, script):
        """Exit code and output of a script."""
        text = (". '%s'\nset -eu\n%s\nset +eu\n"
                "{ export -p; echo \"cd '$PWD'\"; } >'%s'\n"
                % (self.state, script, self.state))
        try:
            done = subprocess.run(
                ["bash", "-c", text], env=self.environment,
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT, timeout=SECONDS)
        except subprocess.TimeoutExpired:
            return -1, "took more than %d seconds" % SECONDS
        return done.returncode, done.stdout.decode("utf-8", "replace")


def same(shown, output):
    """Whether the output is what a page shows of it."""
    pattern = ""
    for line in shown.splitlines():
        if line.strip() == "...":
            pattern += r"(?:.*\n)*?"
        else:
            parts = line.split("...")
            pattern += ".*".join(re.escape(part) for part in parts) + r"\n"
    return re.fullmatch(pattern, output) is not None


def run_console(block, reader, faults):
    """`$ COMMAND`, then its output, up to the next "$ "."""
    for step in re.split(r"^\$ ", block.text, flags=re.MULTILINE)[1:]:
        command, shown = step.split("\n", 1)
        while command.endswith("\\"):
            more, shown = shown.split("\n", 1)
            command += "\n" + more
        # Some exit codes tell of what was found; the output is compared.
        output = reader.type("{ %s\n} || :" % command)[1]
        if not same(shown, output):
            faults.append("%s: $ %s\nshown:\n%sprinted:\n%s"
                          % (block.where, command, shown, output))


def has_programs(block):
    """Whether this build has made the benchmarks that the block runs."""
    return all((BUILD / "bench" / name).exists() for name in re.findall(
        r"(?m)^build/%s/bench/(\w+)" % PRESET, block.text))


def runs(block):
    """Whether this is the build that the block is for."""
    if block.kind == "sh":
        return (block.mark or "release") == PRESET and has_programs(block)
    return PRESET == "release" and (block.kind == "console" or
                                    bool(block.mark))


def run_page(blocks, tree, home, faults):
    """Counts of blocks that were run and were not."""
    ran = left = 0
    reader = Reader(tree, home)
    for block in blocks:
        if block.kind == "sh":
            if block.mark and block.mark not in PRESETS | {"build"}:
                faults.append("%s: what is '%s'?" % (block.where, block.mark))
            if not runs(block):
                left += 1
                if block.mark:
                    check_script(block, faults)
                continue
            ran += 1
            code, output = reader.type(block.text)
            if code != 0:
                faults.append("%s: exit code %d\n%s%s"
                              % (block.where, code, block.text, output))
        elif not runs(block):
            left += block.kind == "console"
        elif block.kind == "console":
            ran += 1
            run_console(block, reader, faults)
        else:
            code, output = reader.type(
                "mkdir -p \"$(dirname '%s')\"; cat >'%s' <<'END OF FILE'\n"
                "%sEND OF FILE\n" % (block.mark, block.mark, block.text))
            if code != 0:
                faults.append("%s: %s" % (block.where, output))
    return ran, left


def copy_tree(tree):
    """Everything but builds and history, and this build under its name."""
    shutil.copytree(TOP, tree, symlinks=True,
                    ignore=lambda folder, names: (
                        {"build", ".git", ".cache"} & set(names)
                        if pathlib.Path(folder) == TOP else
                        {"__pycache__"} & set(names)))
    (tree / "build").mkdir()
    (tree / "build" / PRESET).symlink_to(BUILD)


def main():
    pages = [pathlib.Path(name) for name in sys.argv[1:]] or [
        TOP / "README.md", TOP / "HACKING.md", *sorted(TOP.glob("doc/*.md"))]
    faults, run_in_all = [], 0
    for path in pages:
        check_links(path, faults)
        with tempfile.TemporaryDirectory() as work:
            tree = pathlib.Path(work, "quaymarsh")
            home = pathlib.Path(work, "me")
            home.mkdir()
            blocks = read_page(path, faults)
            if any(runs(block) for block in blocks):
                copy_tree(tree)
            ran, left = run_page(blocks, tree, home, faults)
        run_in_all += ran
        if ran or left:
            print("%s: %d run, %d for other builds" % (path.name, ran, left))
    for fault in faults:
        print("FAILED: " + fault)
    if not run_in_all and PRESET == "release":
        print("FAILED: nothing was run")
    return 1 if faults or not run_in_all and PRESET == "release" else 0


if __name__ == "__main__":
    sys.exit(main())
