# SPDX-License-Identifier: Apache-2.0

"""A C or C++ source as tokens and blocks, as far as changing it takes."""

import bisect
import dataclasses
import functools
import re

TOKEN = re.compile(
    r"""
    (?P<comment> //[^\n]* | /\*.*?\*/ )
  | (?P<literal> (?:u8|[uUL])?R"(?P<delimiter>[^()\\\s]*)\(.*?\)(?P=delimiter)"
               | (?:u8|[uUL])?"(?:\\.|[^"\\\n])*"
               | (?:u8|[uUL])?'(?:\\.|[^'\\\n])*' )
  | (?P<number>  \.?\d(?:'\w|[eEpP][+-]|[\w.])* )
  | (?P<word>    [A-Za-z_]\w* )
  | (?P<newline> \n )
  | (?P<blank>   (?:\\\n|[^\S\n])+ )
  | (?P<sign>    <=>|<<=|>>=|\.\.\.|->\*|->|::|\+\+|--|&&|\|\||[-+*/%&|^!=<>]=|<<|>>|. )
    """,
    re.X | re.S,
)

CLOSING = {"(": ")", "[": "]", "{": "}"}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
CONTROLS = {"if", "for", "while", "switch", "catch"}
AFTER_PARAMETERS = {"const", "noexcept", "override", "final", "mutable", "&", "&&"}
IN_TYPES = {"::", "<", ">", ">>", "*", "&", ","}
# The words that begin an expression but are no part of it.
BEFORE_EXPRESSIONS = {"return", "throw", "case", "else", "do", "co_return", "co_yield"}


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str  # "literal", "number", "word" or "sign"
    text: str
    begin: int
    end: int


@dataclasses.dataclass(frozen=True)
class Block:
    """What a "{" opens.

    The kind is "function", "lambda", "loop", "switch", "control" (of other statements, or alone),
    "namespace", "class" (or enum), or "values".
    """

    kind: str
    returns: str = ""  # the last token of the type, "" where none is written

    def has_statements(self):
        return self.kind in ("function", "lambda", "loop", "switch", "control")


class Source:
    """The offsets into `text` and `code`, which has blanks in place of comments, are the same.

    The tokens are those outside of comments and preprocessor lines. Each is named by its index.
    """

    def __init__(self, text):
        self.text = text
        self.code = ""
        self.tokens = []
        self.partner = {}  # of a bracket
        self.inside = []  # the innermost bracket around a token, or None
        self._blocks = {None: Block("namespace")}
        self._comments = []  # where they begin and end
        self._read_tokens()
        self._match_brackets()
        self._line_begins = [0] + [at.end() for at in re.finditer("\n", text)]

    def _read_tokens(self):
        code = []
        in_directive = False
        at_line_begin = True
        for match in TOKEN.finditer(self.text):
            kind, text = match.lastgroup, match[0]
            if kind == "delimiter":
                kind = "literal"
            if kind == "comment":
                self._comments.append(match.span())
                text = re.sub(r"[^\n]", " ", text)
            elif kind == "newline":
                in_directive, at_line_begin = False, True
            elif kind != "blank":
                in_directive = in_directive or (at_line_begin and text == "#")
                at_line_begin = False
                if not in_directive:
                    self.tokens.append(Token(kind, text, match.start(), match.end()))
            code.append(text)
        self.code = "".join(code)

    def _match_brackets(self):
        opened = []
        for index, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in CLOSING.values():
                # The halves of an #if may open the same block twice: look for one that fits.
                fitting = [i for i in opened if CLOSING[self.tokens[i].text] == token.text]
                if fitting:
                    del opened[opened.index(fitting[-1]) :]
                    self.partner[index] = fitting[-1]
                    self.partner[fitting[-1]] = index
            self.inside.append(opened[-1] if opened else None)
            if token.kind == "sign" and token.text in CLOSING:
                opened.append(index)

    def has_comments(self):
        return bool(self._comments)

    @functools.cached_property
    def without_comments(self):
        """The text as it would be without them, and the offset in `text` of each character."""
        offsets = []
        last = 0
        for begin, end in self._comments:
            blanks = begin - len(self.code[last:begin].rstrip(" \t")) - last
            if self.code[end : end + 1] not in (*" \t\n),;]", ""):
                blanks -= min(blanks, 1)
            offsets += range(last, begin - blanks)
            last = end
        offsets += range(last, len(self.text))
        return "".join(self.text[offset] for offset in offsets), offsets

    def at(self, index):
        """The text of a token; "" where there is none."""
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def is_word(self, index):
        return 0 <= index < len(self.tokens) and self.tokens[index].kind == "word"

    def is_sign(self, index, signs):
        """Says whether the token is the sign, or one of several, and no literal with that text."""
        if not 0 <= index < len(self.tokens) or self.tokens[index].kind != "sign":
            return False
        text = self.tokens[index].text
        return text == signs if isinstance(signs, str) else text in signs

    def line(self, offset):
        return bisect.bisect_right(self._line_begins, offset)

    def lines(self, begin, end):
        """The whole lines from one offset to the other."""
        first = self.text.rfind("\n", 0, begin) + 1
        last = self.text.find("\n", end)
        return first, last if last >= 0 else len(self.text)

    def is_spaced(self, index):
        """Says whether there are blanks on both sides, as the format wants for binary operators."""
        begin, end = self.tokens[index].begin, self.tokens[index].end
        return self.code[begin - 1 : begin].isspace() and self.code[end : end + 1].isspace()

    def top_level(self, begin, end):
        """The tokens from `begin` to before `end` that are in no brackets there; these are kept."""
        index = begin
        while index < end:
            yield index
            if self.is_sign(index, CLOSING) and self.partner.get(index, end) < end:
                index = self.partner[index]
                yield index
            index += 1

    def operand_begin(self, end, stops):
        """The first token of the operand that ends before `end`; `stops` are signs around it."""
        index = end
        while index > 0:
            before = index - 1
            if self.is_sign(before, CLOSING.values()):
                opening = self.partner.get(before)
                is_block = self.at(before) == "}" and self.block(opening).has_statements()
                if opening is None or is_block:
                    break
                index = opening
            elif self._ends_operand(before, stops) or self.is_sign(before, CLOSING):
                break
            else:
                index = before
        return index

    def operand_end(self, begin, stops):
        """The token after the operand that begins with the token at `begin`."""
        for index in self.top_level(begin, len(self.tokens)):
            closes_outer = self.is_sign(index, CLOSING.values()) and (
                self.partner.get(index, -1) < begin
            )
            if closes_outer or self._ends_operand(index, stops):
                return index
        return len(self.tokens)

    def _ends_operand(self, index, stops):
        return self.is_sign(index, stops) or self.at(index) in BEFORE_EXPRESSIONS

    def block(self, opening):
        """What is opened by the "{" at `opening`; None is the file itself."""
        if opening not in self._blocks:
            self._blocks[opening] = self._find_block(opening)
        return self._blocks[opening]

    def _find_block(self, opening):
        last, returns = self._before_body(opening)
        text = self.at(last)
        if self.is_sign(last, ")") and last in self.partner:
            return self._block_after_parentheses(self.partner[last], returns)
        if self.is_sign(last, "]") and last in self.partner:
            named = self.is_word(self.partner[last] - 1)
            return Block("values") if named else Block("lambda", returns)
        if text in ("else", "try"):
            return Block("control")
        if text == "do":
            return Block("loop")
        if self.is_sign(last, "}"):
            # Either a statement has ended, or an initialised member before the constructor's body.
            is_value = last in self.partner and self.block(self.partner[last]).kind == "values"
            return Block("function" if is_value else "control")
        if self.is_sign(last, "{"):
            return Block("values" if self.block(last).kind == "values" else "control")
        if last < 0 or self.is_sign(last, (";", ":")):
            return Block("control")
        return Block(self._kind_of_named(last))

    def _before_body(self, opening):
        """The last token of the parameters, or else before the "{", and the type after them."""
        last = opening - 1
        begin = last
        while self.is_word(begin) or self.is_sign(begin, IN_TYPES):
            begin -= 1
        returns = ""
        if self.is_sign(begin, "->"):
            last, returns = begin - 1, self.at(last)
        while self.at(last) in AFTER_PARAMETERS or self._is_noexcept(last):
            last = last - 1 if self.at(last) in AFTER_PARAMETERS else self.partner[last] - 2
        return last, returns

    def _is_noexcept(self, last):
        return self.is_sign(last, ")") and self.at(self.partner.get(last, 0) - 1) == "noexcept"

    def _block_after_parentheses(self, opening, returns):
        name = opening - 1
        head = self.at(name - 1) if self.at(name) == "constexpr" else self.at(name)
        if head in CONTROLS:
            kinds = {"for": "loop", "while": "loop", "switch": "switch"}
            return Block(kinds.get(head, "control"))
        if self.is_sign(name, "]"):
            return Block("lambda", returns)
        if self.at(name - 1) == "operator" and self.is_word(name):
            return Block("function", self.at(name))
        while self.is_sign(name - 1, "::"):
            name -= 2
        return Block("function", returns or self.at(name - 1))

    def _kind_of_named(self, last):
        if self.tokens[last].kind == "literal":
            return "namespace"  # extern "C"
        index = last
        while index >= 0 and not self.is_sign(index, (";", "{", "}", ")")):
            if self.at(index) == "namespace":
                return "namespace"
            if self.at(index) in ("class", "struct", "union", "enum"):
                return "class"
            index -= 1
        return "values"

    def around(self, index):
        """The blocks around a token, the innermost first: what opens them."""
        opening = self.inside[index]
        while opening is not None:
            if self.is_sign(opening, "{"):
                yield opening
            opening = self.inside[opening]

    def is_declaration(self, begin, end):
        """Says whether a statement, up to the "=" if there is any, names a type and a variable."""
        before = None
        for index in self.top_level(begin, end):
            if self.is_sign(index, ASSIGNMENTS):
                return False
            if self.is_word(index) and before is not None and self._ends_type(before):
                return True
            before = index
        return False

    def _ends_type(self, index):
        if self.is_word(index):
            return True
        begin = self.tokens[index].begin
        if self.code[begin - 1 : begin].isspace():
            return False
        return self.is_sign(index, (">", ">>")) or (
            self.is_sign(index, ("*", "&", "&&")) and self._ends_type(index - 1)
        )
