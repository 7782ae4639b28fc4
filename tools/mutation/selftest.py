# SPDX-License-Identifier: Apache-2.0

"""A test of the tool itself: what the operators make of sample.txt, and what lists may hold."""

import pathlib

from mutation import operators
from mutation.lists import Entry, ListError, Lists, is_meant
from mutation.source import Source

SAMPLE = pathlib.Path(__file__).with_name("sample.txt")

CODE = """\
int first(int a) {
    step(a);  // a step
    // the next
    return a + 1; /* a + 1 */
}
int second(int /*unused*/) { return 0; }
"""


def read_sample(text):
    """The source in the sample, and the changes expected of each of its lines."""
    lines = []
    expected = {}
    for line in text.splitlines():
        if line.startswith("> "):
            expected.setdefault(len(lines), []).append(line[2:])
        else:
            lines.append(line)
    return "\n".join(lines) + "\n", expected


def sample_failures():
    text, expected = read_sample(SAMPLE.read_text(encoding="utf-8"))
    source = Source(text)
    made = {}
    for change in operators.changes(source):
        begin, end = source.lines(change.begin, change.end)
        changed = change.apply(text)
        line = changed[begin : end + len(changed) - len(text)].strip()
        made.setdefault(source.line(change.begin), []).append(f"{change.operator}: {line}")
    used = {line.split(":")[0] for lines in made.values() for line in lines}
    unused = sorted(operators.OPERATORS.keys() - used)
    wrong = [f"sample.txt: {name} changes nothing" for name in unused]
    for number in sorted(made.keys() | expected.keys()):
        shown = text.splitlines()[number - 1].strip()
        wanted, actual = expected.get(number, []), made.get(number, [])
        if actual != wanted:
            wrong.append(f"sample.txt: {shown}: becomes {actual} in place of {wanted}")
    return wrong


def found(*old):
    """The text that an entry of these lines finds, or what is wrong with it."""
    try:
        begin, end = Entry("list:1", "code.cpp", old=list(old)).span(Source(CODE))
        return CODE[begin:end]
    except ListError as error:
        return str(error)


def meant(names, *old):
    """The lines after the changes that an entry with these operators is about."""
    entry = Entry("list:1", "code.cpp", old=list(old), operators=names.split(", "))
    source = Source(CODE)
    span = entry.span(source)
    changes = [change for change in operators.changes(source) if is_meant(change, entry, *span)]
    number = CODE[: span[0]].count("\n")
    return [change.apply(CODE).splitlines()[number].split(" /*")[0].strip() for change in changes]


def refusal(*lines):
    try:
        Lists().read_list("list", "\n".join(lines))
    except ListError as error:
        return str(error)
    return "nothing is wrong"


def list_failures():
    touched = "list:1: the old text touches a comment of code.cpp; leave it out"
    section = ("[code.cpp]", "tests: some_test", "")
    checks = [
        (found("a + 1"), "a + 1"),
        (found("step(a);", "", "return a + 1;"), CODE[CODE.index("step") : CODE.index(" /* a")]),
        (found("int second(int) {"), "int second(int /*unused*/) {"),
        (found("step(a);  // a step"), touched),
        (found("the next"), touched),
        (found("step(a);  // another comment"), touched),
        (meant("one", "a + 1"), ["return a;"]),
        (meant("one, return", "return a + 1;"), ["return {};", "return a;"]),
        (meant("statement", "a + 1"), []),
        (found("int"), "list:1: found 4 times in code.cpp"),
        (found("int third"), "list:1: found 0 times in code.cpp"),
        (refusal(*section, "- a", "+ b"), "nothing is wrong"),
        (refusal(*section, "- a", "operators: one", "argued: b"), "nothing is wrong"),
        (refusal(*section, "- a"), 'list:4: no line that begins with "+" or "operators:"'),
        (
            refusal(*section, "- a", "operators: two", "argued: b"),
            "list:4: there is no operator two",
        ),
        (
            refusal(*section, "- a", "operators: one"),
            'list:4: neither "argued:" nor "tests:" for the operators',
        ),
        (refusal(*section, "+ a"), "list:4: not understood: + a"),
    ]
    return [
        f"selftest: {actual!r} in place of {wanted!r}"
        for actual, wanted in checks
        if actual != wanted
    ]


def sign_failures():
    source = Source('::a : "::"')
    signs = [index for index in range(-1, 5) if source.is_sign(index, "::")]
    return [] if signs == [0] else [f"selftest: the signs :: are the tokens {signs}"]


def failures():
    return sample_failures() + list_failures() + sign_failures()
