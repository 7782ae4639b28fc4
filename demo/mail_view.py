# SPDX-License-Identifier: Apache-2.0

"""Mails as a person wants to see them on a terminal. What comes from a mail is made printable."""

import email
import email.errors
import email.header
import email.parser
import re

HEADERS_THAT_MATTER = {
    "reply-to",
    "from",
    "subject",
    "date",
    "content-type",
    "content-transfer-encoding",
}
LONGEST_LINE = 110
BASE64_LINE = re.compile(rb"[A-Za-z0-9+/]{56,}={0,2}")


def printable(text):
    """The text with everything that could move the cursor, or hide, spelt out."""
    return "".join(c if c.isprintable() else ascii(c)[1:-1] for c in text)


def shortened(line, whole):
    """The line, or its beginning and how long the whole is."""
    if len(line) <= LONGEST_LINE:
        return line
    return f"{line[: LONGEST_LINE - 20]} [... {whole}]"


def printable_lines(data):
    return [printable(line.decode("utf-8", "backslashreplace")) for line in data.splitlines()]


def decoded(value):
    """A header's value with its encoded words undone; as it stands when they make no sense."""
    try:
        text = str(email.header.make_header(email.header.decode_header(value)))
    except (LookupError, ValueError, email.errors.MessageError):
        text = str(value)
    return printable(re.sub(r"[\r\n]+\s*", " ", text))


def headers_that_matter(data):
    """The headers of an incoming message that decide what becomes of it, as they stand."""
    lines = []
    for name, value in email.parser.BytesHeaderParser().parsebytes(data).raw_items():
        if name.lower() in HEADERS_THAT_MATTER:
            field = f"{name}: {value}".encode("ascii", "surrogateescape")
            for line in printable_lines(field):
                lines.append(shortened(line, f"{len(line)} characters"))
    return lines


def headers(message, names):
    return [
        f"{name + ':':<10}{decoded(value)}".rstrip()
        for name in names
        for value in message.get_all(name, [])
    ]


def text_of(part):
    data = part.get_payload(decode=True) or b""
    try:
        return data.decode(part.get_content_charset("ascii"), "backslashreplace")
    except (LookupError, ValueError):
        return data.decode("ascii", "backslashreplace")


def first_lines(text, limit):
    lines = [printable(line) for line in text.strip("\n").split("\n")]
    if len(lines) > limit:
        lines[limit:] = [f"[... {len(lines) - limit} more lines]"]
    return ["  | " + line for line in lines]


def outgoing(data):
    """A mail read back: the headers a correspondent sees, its text and its attachments."""
    message = email.message_from_bytes(data)
    lines = headers(message, ["Reply-To", "From", "To", "CC", "Subject"])
    for part in message.walk():
        if part.is_multipart():
            continue
        if (name := part.get_filename()) is not None:
            size = len(part.get_payload(decode=True) or b"")
            lines.append(f'attachment "{decoded(name)}", {part.get_content_type()}, {size} bytes')
        else:
            charset = part.get_content_charset()
            lines.append(part.get_content_type() + (f" in {charset}" if charset else ""))
            lines += first_lines(text_of(part), 12)
    return lines


def wire_line(line):
    shown = "".join(
        chr(byte) if 32 <= byte < 127 else {9: "\\t", 13: "\\r"}.get(byte, f"\\x{byte:02x}")
        for byte in line
    )
    return "  | " + shortened(shown, f"{len(line)} bytes")


def on_the_wire(data):
    """The bytes of a mail, line by line; long stretches of base64 are shortened."""
    lines = data.split(b"\n")
    ended = lines[-1] == b""
    if ended:
        lines.pop()
    shown = []
    position = 0
    while position < len(lines):
        end = position
        while end < len(lines) and BASE64_LINE.fullmatch(lines[end]):
            end += 1
        if end - position > 4:
            shown.append(wire_line(lines[position]))
            shown.append(f"  [... {end - position - 2} lines of base64]")
            position = end - 1
        shown.append(wire_line(lines[position]))
        position += 1
    return shown + ([] if ended else ["  [no line end]"])
