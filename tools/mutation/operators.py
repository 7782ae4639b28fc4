# SPDX-License-Identifier: Apache-2.0

"""The operators: changes that are made of any source, each where it can be expected to show."""

import dataclasses
import re

from mutation.source import ASSIGNMENTS, CLOSING, CONTROLS, Source

OPERATORS = {
    "true": "a condition of if or ?:, a bool that is returned or initialised becomes true",
    "false": "the same, or the condition of a loop, becomes false",
    "operand": "an operand of && or || is left out",
    "boundary": "< becomes <=, > becomes >=, and the other way round",
    "equality": "== becomes !=, and the other way round",
    "not": "a ! is left out",
    "number": "an integer becomes greater by one",
    "one": "+ 1 or - 1 is left out",
    "statement": "a call or an assignment is left out",
    "return": "what is returned becomes {}",
    "jump": "break becomes continue, and the other way round; the break of a switch is left out",
}

LOGICAL = {"&&", "||"}
# The signs around an expression whose operators bind at least as loosely as &&, as ||, as ?:.
AROUND_CONDITIONS = ASSIGNMENTS | {";", ",", "?", ":"}
AROUND_OPERANDS = {"&&": AROUND_CONDITIONS | LOGICAL, "||": AROUND_CONDITIONS | {"||"}}
BOUNDARIES = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
EQUALITIES = {"==": "!=", "!=": "=="}
COMPARISONS = BOUNDARIES.keys() | EQUALITIES.keys()
JUMPS = {"break": "continue", "continue": "break"}
# Calls that show in nothing but time, or not on every machine, or while compiling.
WITHOUT_EFFECT = {"reserve", "shrink_to_fit", "va_end", "static_assert"}
NO_STATEMENT = CONTROLS | {"return", "throw", "case", "default", "do", "else", "goto", "try"}
INTEGER = re.compile(r"(0[xX](?=\w)|0[bB](?=\w)|)((?<=[xX])[\da-fA-F']+|[\d']+)([uUlLzZ]*)")
TABLE_ROW = re.compile(r"[\s{]*-?\d[\w']*([\s{},]+-?\d[\w']*){2,}[\s},;]*")


@dataclasses.dataclass(frozen=True)
class Change:
    operator: str
    begin: int
    end: int
    new: str

    def apply(self, text):
        begin, end = self.begin, self.end
        if self.operator in ("operand", "one"):  # nor do the blanks on one side remain
            begin = len(text[:begin].rstrip(" \t"))
            if begin == self.begin:
                end = len(text) - len(text[end:].lstrip(" \t"))
        return text[:begin] + self.new + text[end:]


def changes(source):
    """The changes that the operators make of a source, in its order."""
    return _Maker(source).changes()


class _Maker:
    def __init__(self, source: Source):
        self.source = source
        self.made = {}  # by the place and the new text
        # The comparisons and negations that are the whole of what becomes true, false or nothing:
        # to turn them round as well would show what those changes show.
        self.turned = set()

    def changes(self):
        source = self.source
        self.make_conditions()
        self.make_operands()
        for index, token in enumerate(source.tokens):
            if token.kind == "sign" and token.text in COMPARISONS and source.is_spaced(index):
                self.make_comparison(index)
            elif token.kind == "sign" and token.text == "!" and index not in self.turned:
                self.make("not", index, index + 1, "")
            elif token.kind == "number":
                self.make_number(index)
            elif token.kind == "word" and token.text in JUMPS:
                self.make_jump(index)
            elif token.kind == "word" and token.text == "return":
                self.make_return(index)
            if self.begins_statement(index):
                self.make_statement(index)
        return sorted(self.made.values(), key=lambda change: (change.begin, change.end, change.new))

    def make(self, operator, begin, end, new):
        """Adds the change of the tokens from `begin` to before `end`, if it is one."""
        tokens = self.source.tokens
        place = tokens[begin].begin, tokens[end - 1].end
        if self.source.text[slice(*place)] != new and not self.is_without_effect(begin):
            self.made.setdefault((*place, new), Change(operator, *place, new))

    def is_without_effect(self, index):
        source = self.source
        while index is not None:
            index = source.inside[index]
            if index is not None and source.at(index - 1) in WITHOUT_EFFECT:
                return True
        return False

    # Conditions

    def make_conditions(self):
        source = self.source
        for index, token in enumerate(source.tokens):
            if token.kind == "sign" and token.text == "?":
                begin = source.operand_begin(index, AROUND_CONDITIONS)
                self.make_condition(begin, index, ("true", "false"))
            elif token.kind != "word":
                continue
            elif token.text == "if":
                opening = index + 2 if source.at(index + 1) == "constexpr" else index + 1
                self.make_parenthesised_condition(opening, ("true", "false"))
            elif token.text == "while":
                self.make_parenthesised_condition(index + 1, ("false",))
            elif token.text == "for":
                self.make_condition_of_for(index + 1)
            elif token.text == "bool" and source.is_sign(index + 2, "="):
                end = source.operand_end(index + 3, {";", ","})
                self.make_condition(index + 3, end, ("true", "false"))
            elif token.text == "return":
                end = source.operand_end(index + 1, {";"})
                if self.returns_bool(index, index + 1, end):
                    self.make_condition(index + 1, end, ("true", "false"))

    def parts(self, opening):
        """The parts of what is in parentheses between ";"."""
        source = self.source
        closing = source.partner.get(opening)
        if closing is None or not source.is_sign(opening, "("):
            return []
        inner = source.top_level(opening + 1, closing)
        ends = [index for index in inner if source.is_sign(index, ";")] + [closing]
        return list(zip([opening + 1] + [end + 1 for end in ends], ends))

    def make_parenthesised_condition(self, opening, values):
        for begin, end in self.parts(opening)[-1:]:
            inner = self.source.top_level(begin, end)
            if not any(self.source.is_sign(index, "=") for index in inner):
                self.make_condition(begin, end, values)

    def make_condition_of_for(self, opening):
        parts = self.parts(opening)
        if len(parts) == 3:
            self.make_condition(*parts[1], ("false",))

    def make_condition(self, begin, end, values):
        if begin < end:
            for value in values:
                self.make(value, begin, end, value)
            self.note_turned(begin, end)

    def note_turned(self, begin, end):
        source = self.source
        while source.is_sign(begin, "(") and source.partner.get(begin) == end - 1:
            begin, end = begin + 1, end - 1
        inner = list(source.top_level(begin, end))
        if not any(source.is_sign(index, LOGICAL | {"?"}) for index in inner):
            self.turned.update(index for index in inner if source.is_sign(index, EQUALITIES))
            if source.is_sign(begin, "!"):
                self.turned.add(begin)

    def returns_bool(self, index, begin, end):
        """Says whether a bool is returned, by the function's type or how the expression looks."""
        source = self.source
        if self.returned_type(index) == "bool":
            return True
        inner = list(source.top_level(begin, end))
        if any(source.is_sign(i, ("?", "<<")) for i in inner):
            return False
        return source.at(begin) in ("!", "true", "false") or any(
            source.is_sign(i, LOGICAL | COMPARISONS) and source.is_spaced(i) for i in inner
        )

    def returned_type(self, index):
        """The last token of the type, None for a lambda that does not name it."""
        source = self.source
        for opening in source.around(index):
            block = source.block(opening)
            if block.kind in ("function", "lambda"):
                return block.returns or (None if block.kind == "lambda" else "")
        return None

    # Expressions

    def make_operands(self):
        source = self.source
        for index, token in enumerate(source.tokens):
            if token.kind == "sign" and token.text in LOGICAL and source.is_spaced(index):
                stops = AROUND_OPERANDS[token.text]
                begin = source.operand_begin(index, stops)
                end = source.operand_end(index + 1, stops)
                if not source.is_sign(begin - 1, token.text):
                    self.make("operand", begin, index + 1, "")
                    self.note_turned(begin, index)
                self.make("operand", index, end, "")
                self.note_turned(index + 1, end)

    def make_comparison(self, index):
        text = self.source.at(index)
        if text in BOUNDARIES:
            self.make("boundary", index, index + 1, BOUNDARIES[text])
        elif index not in self.turned:
            self.make("equality", index, index + 1, EQUALITIES[text])

    def make_number(self, index):
        source = self.source
        token = source.tokens[index]
        match = INTEGER.fullmatch(token.text)
        begin = index - 1 if self.is_negative(index) else index
        if not match or self.is_in_type(index) or self.is_in_table(token):
            return
        if self.is_bound(begin, index):
            return
        prefix, digits, suffix = match[1], match[2].replace("'", ""), match[3]
        base = {"0x": 16, "0b": 2, "": 8 if digits.startswith("0") else 10}[prefix.lower()]
        value = int(digits, base)
        greater = value + 1 if begin == index else value - 1
        sign = "-" if begin < index and greater > 0 else ""
        form = {16: "X" if digits.isupper() else "x", 8: "o", 10: "d", 2: "b"}[base]
        octal = "0" if base == 8 and len(digits) > 1 else ""
        self.make("number", begin, index + 1, f"{sign}{prefix}{octal}{greater:{form}}{suffix}")
        if value == 1 and source.is_sign(index - 1, ("+", "-")) and source.is_spaced(index - 1):
            self.make("one", index - 1, index + 1, "")

    def is_negative(self, index):
        """Says whether there is a "-" before a number that subtracts it from nothing."""
        source = self.source
        return source.is_sign(index - 1, "-") and (
            source.tokens[index - 1].end == source.tokens[index].begin
        )

    def is_bound(self, begin, end):
        """Says whether a change of the comparison with a number shows the same."""
        source = self.source
        compared = source.is_sign(begin - 1, ("<", ">=")) and source.is_spaced(begin - 1)
        return (compared or begin - 1 in self.turned) and (
            source.at(end + 1) in LOGICAL | {")", ";", "?", ","}
        )

    def is_in_type(self, index):
        """Says whether a number is an argument of a template or the size of a declared array."""
        source = self.source
        bracket = source.inside[index]
        if bracket is not None and source.is_sign(bracket, "[") and source.is_word(bracket - 1):
            if source.is_declaration(max(0, bracket - 2), bracket):
                return True
        before = index - 1
        while source.is_word(before) or source.tokens[before].kind == "number" or (
            source.is_sign(before, ("::", ",", "*", "&", ">", "+", "-", "/"))
        ):
            before -= 1
        return source.is_sign(before, "<") and not source.is_spaced(before)

    def is_in_table(self, token):
        begin, end = self.source.lines(token.begin, token.end)
        return TABLE_ROW.fullmatch(self.source.code, begin, end) is not None

    # Statements

    def begins_statement(self, index):
        source = self.source
        opening = source.inside[index]
        if opening is None or not source.is_sign(opening, "{"):
            return False
        if not source.block(opening).has_statements() or source.at(index) in NO_STATEMENT | {"{"}:
            return False
        before = index - 1
        if source.is_sign(before, ":"):
            label = source.operand_begin(before, {";", ":"}) - 1
            return source.at(label) == "case" or source.at(before - 1) == "default"
        return source.is_sign(before, (";", "{", "}")) or source.at(before) in ("else", "do")

    def make_statement(self, begin):
        source = self.source
        end = source.operand_end(begin, {";"})
        if not source.is_sign(end, ";") or end == begin or source.is_declaration(begin, end):
            return
        inner = list(source.top_level(begin, end))
        called = source.partner.get(end - 1, 0) - 1
        if source.is_sign(end - 1, ")") and source.at(called) in WITHOUT_EFFECT:
            return
        is_assignment = any(source.is_sign(index, ASSIGNMENTS) for index in inner)
        is_step = any(source.is_sign(index, ("++", "--")) for index in (begin, end - 1))
        is_output = any(source.is_sign(index, "<<") for index in inner)
        is_call = source.is_sign(end - 1, ")")
        if (is_assignment or is_step or is_output or is_call) and not self.is_all_of_if(begin, end):
            self.make("statement", begin, end + 1, ";")

    def is_all_of_if(self, begin, end):
        """Says whether "false" does the same: the statement is all that an if decides about."""
        source = self.source
        closing = begin - 2
        if not (source.is_sign(begin - 1, "{") and source.is_sign(end + 1, "}")):
            return False
        if source.at(end + 2) == "else" or not source.is_sign(closing, ")"):
            return False
        opening = source.partner.get(closing, 0)
        condition = range(opening + 1, closing)
        has_effects = any(source.is_sign(i, ("(", "=", "++", "--")) for i in condition)
        return source.at(opening - 1) == "if" and not has_effects

    def make_return(self, index):
        source = self.source
        begin, end = index + 1, source.operand_end(index + 1, {";"})
        text = "".join(token.text for token in source.tokens[begin:end])
        if text in ("", "{}", "nullptr", '""', "std::nullopt", "*this"):
            return
        is_constant = source.tokens[end - 1].kind == "number" and end - begin <= 2
        is_qualified = all(source.is_word(i) or source.at(i) == "::" for i in range(begin, end))
        is_qualified = is_qualified and "::" in text
        # The two sides of a ?: are told from each other by what is made of its condition.
        is_choice = any(source.is_sign(i, "?") for i in source.top_level(begin, end))
        if is_constant or is_qualified or is_choice or self.returned_type(index) is None:
            return
        if not self.returns_bool(index, begin, end):
            self.make("return", begin, end, "{}")

    def make_jump(self, index):
        source = self.source
        kinds = (source.block(opening).kind for opening in source.around(index))
        kind = next((kind for kind in kinds if kind in ("loop", "switch", "function")), "")
        if kind == "loop":
            self.make("jump", index, index + 1, JUMPS[source.at(index)])
        elif kind == "switch" and source.at(index) == "continue":
            self.make("jump", index, index + 1, "break")
        elif kind == "switch" and not source.is_sign(index + 2, "}"):
            self.make("jump", index, index + 2, ";")
