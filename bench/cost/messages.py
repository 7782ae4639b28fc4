# SPDX-License-Identifier: Apache-2.0

"""The messages of the benchmark."""

RECIPIENT = "user@example.com"
SENDER = "sender@example.net"
PLAIN = "Content-Type: text/plain; charset=utf-8"
LINE = b"This is a line of an ordinary message, some seventy characters long.\n"
RUSSIAN_LINE = "Это обычная строка письма, в ней около семидесяти русских букв.\n"
BLOCK = 65536


def header(sender, *fields):
    lines = [
        f"Return-Path: <{sender}>",
        "Received: from mx.example.net by mail.example.com with SMTP; 2 Jan 2024 03:04:05 -0000",
        "Date: Tue, 2 Jan 2024 03:04:05 +0000",
        f"From: A Sender <{sender}>",
        f"To: {RECIPIENT}",
        "Subject: An order",
        "MIME-Version: 1.0",
        *fields,
    ]
    return "".join(line + "\n" for line in lines).encode()


def write_small(file, sender=SENDER):
    """Writes an ordinary message of 2 KB."""
    file.write_bytes(header(sender, PLAIN) + b"\n" + LINE * 24)
    return file


def write_large(file, shape, size):
    """Writes a message of about `size` bytes of a shape: a start, a piece again and again, an end."""
    start, piece, end = SHAPES[shape]
    block = piece * (BLOCK // len(piece))
    with open(file, "wb") as out:
        out.write(start)
        for _ in range(size // len(block)):
            out.write(block)
        out.write(end)
    return file


def text(piece, *fields):
    return header(SENDER, *fields) + b"\n", piece, b""


def multipart(boundary, start, piece, end=b""):
    fields = header(SENDER, f'Content-Type: multipart/mixed; boundary="{boundary}"')
    return fields + b"\n" + start, piece, end


SHAPES = {
    "text, UTF-8": text(LINE, PLAIN),
    "text, KOI8-R": text(
        RUSSIAN_LINE.encode("koi8-r"), "Content-Type: text/plain; charset=koi8-r"
    ),
    "text, Base64": text(b"QUJD" * 19 + b"\n", PLAIN, "Content-Transfer-Encoding: base64"),
    "multipart, text first": multipart(
        "next",
        b"--next\nContent-Type: text/plain\n\nSee below.\n"
        b"--next\nContent-Type: application/pdf\nContent-Transfer-Encoding: base64\n\n",
        b"QUJD" * 19 + b"\n",
        b"--next--\n",
    ),
    "empty lines": text(b"\n", PLAIN),
    "2-byte lines": text(b"a\n", PLAIN),
    "parameters of one Content-Type": (
        header(SENDER) + b"Content-Type: text/plain",
        b";a=b",
        b"\n\nA text.\n",
    ),
    # Each is nothing but its boundary line.
    "4-byte parts": multipart("b", b"", b"--b\n", b"--b--\n"),
}
