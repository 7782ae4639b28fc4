# SPDX-License-Identifier: Apache-2.0

"""Copies of the tree, in which changes are made, built and tested."""

import glob
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

WORK = "build/mutate"
SYSTEM_TESTS = "system_tests"
SYSTEM_PROGRAMS = ("autoresponder", "autoresponderctl", "tests/system/capturing_mail_program")

# A change may allocate, write or wait without an end. Some tests make huge files, which are empty.
LIMIT_OF_FILES = 1 << 30
WITH_HUGE_FILES = (SYSTEM_TESTS, "core_test")
UNIT_MEMORY = 4 << 30
UNIT_SECONDS = 60
SYSTEM_MEMORY = 12 << 30
SYSTEM_SECONDS = 300

# The hardened program, compiled quickly; what a change leaves unused is no error.
CMAKE_OPTIONS = (
    "-GNinja",
    "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
    "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1",
    "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1",
    "-DAUTORESPONDER_WARNINGS_AS_ERRORS=OFF",
)


def tracked_files():
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    listed = subprocess.run(command, capture_output=True, check=True, text=True).stdout
    return {name for name in listed.split("\0") if name and os.path.isfile(name)}


def targets_of(programs):
    extra = [os.path.basename(name) for name in SYSTEM_PROGRAMS]
    return sorted({*programs, *(extra if SYSTEM_TESTS in programs else [])})


def most_seconds(program):
    return SYSTEM_SECONDS if program == SYSTEM_TESTS else UNIT_SECONDS


class Tree:
    """A copy of the tree and its build. Files that are the same keep their time."""

    def __init__(self, number):
        self.directory = os.path.abspath(f"{WORK}/{number}")
        self.source = f"{self.directory}/source"
        self.build = f"{self.directory}/build"
        self.output = f"{self.directory}/output"
        self.process = None
        self.seconds = {}  # that a program's tests may take

    def prepare(self, targets):
        wanted = tracked_files()
        for path in glob.glob(f"{self.source}/**/*", recursive=True):
            if os.path.isfile(path) and os.path.relpath(path, self.source) not in wanted:
                os.remove(path)
        for name in wanted:
            self.write(name, pathlib.Path(name).read_bytes())
            shutil.copymode(name, f"{self.source}/{name}")
        os.makedirs(self.build, exist_ok=True)
        command = ["cmake", "-S", self.source, "-B", self.build, *CMAKE_OPTIONS]
        if self.run(command, 600) != 0 or self.make(targets) != 0:
            sys.exit(f"mutate: the unchanged program cannot be built: see {self.output}")

    def write(self, name, content):
        path = pathlib.Path(self.source, name)
        if not path.is_file() or path.read_bytes() != content:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)

    def make(self, targets):
        return self.run(["cmake", "--build", self.build, "--target", *targets], 1200)

    def run(self, command, seconds):
        """The exit status, or None where the time was not enough; what it writes is in `output`."""
        with open(self.output, "wb") as output:
            self.process = subprocess.Popen(
                command,
                cwd=self.build if os.path.isdir(self.build) else None,
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.STDOUT,
                start_new_session=True,
            )
            try:
                return self.process.wait(seconds)
            except subprocess.TimeoutExpired:
                return None
            finally:
                self.stop()

    def stop(self):
        """Ends what is running, and what a test has left behind."""
        if self.process is not None:
            try:
                os.killpg(self.process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.process.wait()

    def output_text(self):
        return pathlib.Path(self.output).read_text(encoding="utf-8", errors="replace")

    def test(self, program, tests):
        """The name of a test that fails, or None."""
        if program == SYSTEM_TESTS:
            command = [f"{self.source}/tests/system/private_world", f"tests/system/{program}"]
            command += SYSTEM_PROGRAMS
        else:
            command = glob.glob(f"{self.build}/tests/unit/*/{program}")
        command += [f"--gtest_filter={tests or '*'}", "--gtest_fail_fast"]
        memory = SYSTEM_MEMORY if program == SYSTEM_TESTS else UNIT_MEMORY
        limits = ["prlimit", f"--as={memory}", "--core=0"]
        if program not in WITH_HUGE_FILES:
            limits.append(f"--fsize={LIMIT_OF_FILES}")
        status = self.run(limits + command, self.seconds.get(program, most_seconds(program)))
        if status == 0:
            return None
        text = self.output_text()
        started = re.findall(r"^\[ RUN      \] (\S+)", text, re.M)
        failed = re.findall(r"^\[  FAILED  \] ([\w/]+\.[\w/]+)", text, re.M)
        if not started:
            return f"the start of {program}: {(text.splitlines() or [''])[-1]}"
        if status is None:
            return f"{started[-1]}, which does not end"
        return failed[0] if failed else f"{started[-1]}, which ends the tests with {status}"

    def test_unchanged(self, tests):
        """Ends the call if a test fails without any change; runs the tests of a program together.

        The time that they take tells how long to wait for those that a change keeps from ending.
        """
        filters = {}
        for program, wanted in tests:
            filters.setdefault(program, set()).add(wanted or "*")
        for program, wanted in sorted(filters.items()):
            positive = sorted(pattern.partition("-")[0] or "*" for pattern in wanted)
            begin = time.monotonic()
            failed = self.test(program, "*" if "*" in positive else ":".join(positive))
            if failed:
                sys.exit(f"mutate: fails without any change: {failed}; see {self.output}")
            if "Running 0 tests" in self.output_text():
                sys.exit(f"mutate: {program} has no tests like {sorted(wanted)}")
            taken = time.monotonic() - begin
            self.seconds[program] = min(most_seconds(program), 5 + 5 * taken)
