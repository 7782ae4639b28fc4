# SPDX-License-Identifier: Apache-2.0

"""The lists of changes, and what there is to try: what they list and what the operators make."""

import dataclasses
import fnmatch
import functools
import glob
import os
import pathlib
import re

from mutation import operators
from mutation.source import Source

LISTS = "tests/mutations/*.txt"

TEST = re.compile(r"^TEST(?:_[FP])?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.M)


class ListError(Exception):
    """An entry that is not written or does not fit as it should; the text is a whole line."""


@dataclasses.dataclass
class Entry:
    """A change, or with `operators` a remark on changes that these make within the old text."""

    place: str  # list and line
    file: str
    old: list = dataclasses.field(default_factory=list)
    new: list = dataclasses.field(default_factory=list)
    operators: list = dataclasses.field(default_factory=list)
    tests: list = dataclasses.field(default_factory=list)  # (program, filter)
    argument: str = ""  # why nothing can be seen

    def key(self):
        new = self.new or self.operators
        return " ".join(f"{self.file}: {' '.join(self.old)} => {' '.join(new)}".split())

    def span(self, source):
        """Where the old text is. Comments, blank lines and the blanks around lines do not count."""
        lines = [re.escape(line.strip()) for line in self.old if line.strip()]
        pattern = re.compile(r"[ \t]*\n\s*".join(lines))
        text, offsets = source.without_comments
        matches = list(pattern.finditer(text))
        if len(matches) == 1:
            begin, end = matches[0].span()
            return offsets[begin], offsets[end - 1] + 1
        in_comments = not matches and pattern.search(source.text)
        if in_comments or Source("\n".join(self.old)).has_comments():
            wrong = f"the old text touches a comment of {self.file}; leave it out"
        else:
            wrong = f"found {len(matches)} times in {self.file}"
        raise ListError(f"{self.place}: {wrong}")


@dataclasses.dataclass
class Trial:
    """One change to try, and how it is reported."""

    place: str  # of the list, or of the source and the operator
    file: str
    tests: list
    argument: str
    old: list  # of lines
    new: list
    text: str  # of the file with the change made
    number: int = 0  # among those that look the same
    is_made: bool = False  # by an operator: it need not compile

    def key(self):
        number = f" ({self.number})" if self.number else ""
        old, new = " ".join(self.old), " ".join(self.new)
        return " ".join(f"{self.file}: {old} => {new}{number}".split())


class Lists:
    def __init__(self):
        self.tests = {}  # of each file that has a section
        self.places = {}  # of the sections
        self.entries = []

    @classmethod
    def read(cls):
        lists = cls()
        for path in sorted(glob.glob(LISTS)):
            lists.read_list(path, read_text(path))
        return lists

    def read_list(self, path, text):
        """Reads one list, see tests/mutations/README.md."""
        file = None
        entry = None
        last = ""
        found = []
        for number, line in enumerate(text.splitlines(), 1):
            place = f"{path}:{number}"
            kind, _, rest = line.partition(" ")
            if not line or line.startswith("#"):
                entry = entry if line.startswith("#") else None
            elif line.startswith("[") and line.endswith("]"):
                file, entry = line[1:-1], None
                self.tests.setdefault(file, [])
                self.places.setdefault(file, place)
            elif kind == "tests:" and file:
                program, _, tests = rest.partition(" ")
                (entry.tests if entry else self.tests[file]).append((program, tests.strip()))
            elif kind == "-" and file and (not entry or last == "-"):
                if not entry:
                    entry = Entry(place, file)
                    found.append(entry)
                entry.old.append(rest)
            elif kind == "+" and entry and last in "-+":
                entry.new.append(rest)
            elif kind == "operators:" and entry and last == "-":
                entry.operators = [name.strip() for name in rest.split(",")]
            elif kind == "argued:" and entry:
                entry.argument = rest
            elif line.startswith(" ") and last == "argued:" and entry:
                entry.argument += " " + line.strip()
                kind = last
            else:
                raise ListError(f"{place}: not understood: {line}")
            last = kind
        for entry in found:
            check_entry(entry)
        self.entries += found

    def listed(self, selections=()):
        """The listed changes that are selected."""
        return [
            self.listed_trial(entry)
            for entry in self.entries
            if not entry.operators and is_selected(entry.file, f"{entry.place}:", selections)
        ]

    def listed_trial(self, entry):
        text = source_of(entry.file).text
        begin, end = entry.span(source_of(entry.file))
        changed = text[:begin] + "\n".join(entry.new) + text[end:]
        if changed == text:
            raise ListError(f"{entry.place}: changes nothing in {entry.file}")
        tests = entry.tests or self.tests[entry.file]
        place = f"{entry.place}: {entry.file}"
        return Trial(place, entry.file, tests, entry.argument, entry.old, entry.new, changed)

    def made(self, selections=()):
        """The selected changes of those that the operators make of the files with a section."""
        return [
            trial
            for file in self.tests
            if is_selected(file, "", [selection.split(":")[0] for selection in selections])
            for trial in self.made_of(file)
            if is_selected(file, trial.place, selections)
        ]

    def made_of(self, file):
        source = source_of(file)
        remarks = [
            (entry, *entry.span(source))
            for entry in self.entries
            if entry.operators and entry.file == file
        ]
        numbers = {}
        for change in changes_of(file):
            matching = [entry for entry, *span in remarks if is_meant(change, entry, *span)]
            tests = [test for entry in matching for test in entry.tests] or self.tests[file]
            argument = " ".join(entry.argument for entry in matching if entry.argument)
            text = change.apply(source.text)
            begin, end = source.lines(change.begin, change.end)
            old, new = source.text[begin:end], text[begin : end + len(text) - len(source.text)]
            trial = Trial(
                f"{file}:{source.line(change.begin)}: {change.operator}",
                file,
                tests,
                argument,
                old.split("\n"),
                new.split("\n"),
                text,
                is_made=True,
            )
            key = trial.key()
            numbers[key] = trial.number = numbers.get(key, -1) + 1
            yield trial

    def check(self):
        """What is wrong with the lists, a line each."""
        known = all_tests()
        errors = []
        keys = {}
        for entry in self.entries:
            try:
                check_place(entry)
                if not entry.operators:
                    self.listed_trial(entry)
            except OSError:
                pass  # said of the section
            except ListError as error:
                errors.append(str(error))
            if keys.setdefault(entry.key(), entry) is not entry:
                errors.append(f"{entry.place}: the same as {keys[entry.key()].place}")
            errors += [f"{entry.place}: {error}" for error in unknown_tests(entry.tests, known)]
        for file, tests in self.tests.items():
            wrong = list(unknown_tests(tests, known))
            wrong += [] if tests else ["no tests"]
            wrong += [] if os.path.isfile(file) else [f"{file}: no such file"]
            errors += [f"{self.places[file]}: {text}" for text in wrong]
        return errors

    def doubles(self, selections=()):
        """The listed changes that an operator makes, too, as pairs of a trial and the operator."""
        for listed in self.listed(selections):
            wanted = without_blanks(listed.text)
            for change in changes_of(listed.file):
                if wanted in results(listed.file, change):
                    yield listed, change.operator


def is_selected(file, place, selections):
    """Says whether a file or directory, or a line of a file, is selected."""
    return not selections or any(
        place.startswith(selection + ":") or (file + "/").startswith(selection.rstrip("/") + "/")
        for selection in selections
    )


def check_entry(entry):
    if not "".join(entry.old).strip():
        raise ListError(f"{entry.place}: no old text")
    if not entry.new and not entry.operators:
        raise ListError(f'{entry.place}: no line that begins with "+" or "operators:"')
    if entry.operators and not (entry.argument or entry.tests):
        raise ListError(f'{entry.place}: neither "argued:" nor "tests:" for the operators')
    for name in entry.operators:
        if name not in operators.OPERATORS:
            raise ListError(f"{entry.place}: there is no operator {name}")


def check_place(entry):
    span = entry.span(source_of(entry.file))
    for name in entry.operators:
        meant = dataclasses.replace(entry, operators=[name])
        if not any(is_meant(change, meant, *span) for change in changes_of(entry.file)):
            raise ListError(f'{entry.place}: the operator "{name}" changes nothing there')


def is_meant(change, entry, begin, end):
    return change.operator in entry.operators and begin <= change.begin and change.end <= end


def unknown_tests(tests, known):
    for _, wanted in tests:
        for pattern in filter(None, wanted.partition("-")[0].split(":")):
            if not fnmatch.filter(known, pattern):
                yield f"there is no test {pattern}"


def without_blanks(text):
    return "".join(Source(text).code.split())


@functools.cache
def results(file, change):
    """The text with the change, without blanks, as a list may make it."""
    source = source_of(file)
    texts = {change.apply(source.text)}
    if change.operator == "statement":
        texts.add(dataclasses.replace(change, new="").apply(source.text))
    return {without_blanks(text) for text in texts}


@functools.cache
def source_of(file):
    return Source(read_text(file))


@functools.cache
def changes_of(file):
    return operators.changes(source_of(file))


def read_text(file):
    return pathlib.Path(file).read_text(encoding="utf-8")


def all_tests():
    return {
        ".".join(match)
        for file in glob.glob("tests/**/*_test.cpp", recursive=True)
        for match in TEST.findall(read_text(file))
    }
