# SPDX-License-Identifier: Apache-2.0

"""The private world of the autoresponder: its panel, what it is said to do, and what it does."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
from dataclasses import dataclass

HERE = pathlib.Path(__file__).resolve().parent
MAIL_PROGRAM = "/usr/sbin/sendmail"
SENT = pathlib.Path("/var/qmail/sent")


@dataclass
class Mail:
    """A mail as the mail program gets it."""

    arguments: list[bytes]
    message: bytes


@dataclass
class Explanation:
    """What autoresponderctl says of a message."""

    text: list[str]  # for people, line by line
    facts: dict  # for programs: the members that autoresponderctl(8) lists
    mails: list[Mail]


@dataclass
class Run:
    """What the autoresponder did."""

    status: int
    output: bytes
    errors: bytes
    leftovers: list[str]
    counted: set[str]  # ids of the responders that counted the sender
    mails: list[Mail]


class Unexplained(Exception):
    """autoresponderctl has no explanation; the text says why."""


def load(dump):
    """Fills the empty world, from the descriptor of a dump or, if that is None, with the sample.

    Returns a few lines about the panel. Raises CalledProcessError; the reason has been reported.
    """
    shutil.copy(HERE / "sendmail", MAIL_PROGRAM)
    loader, source = ("load-panel", subprocess.DEVNULL) if dump is None else ("load-dump", dump)
    loaded = subprocess.run([HERE / loader], check=True, stdin=source, stdout=subprocess.PIPE)
    return loaded.stdout.decode().splitlines()


def explain(programs, message, recipient):
    """Asks autoresponderctl what becomes of a message; nothing is changed by that."""

    def explanation(*options):
        command = [programs / "autoresponderctl", "explain", *options, "--", recipient]
        ended = subprocess.run(command, input=message, capture_output=True)
        if not ended.stdout:
            reason = ended.stderr.decode("utf-8", "replace").strip()
            raise Unexplained(reason or f"it ended with status {ended.returncode}")
        return ended.stdout

    text = explanation().decode("utf-8", "backslashreplace").removesuffix("\n").split("\n")
    with tempfile.TemporaryDirectory() as replies:
        facts = json.loads(explanation("--json", "--replies", replies))
        mails = [explained_mail(pathlib.Path(mail["file"])) for mail in facts["mails"]]
    return Explanation(text, facts, mails)


def explained_mail(file):
    envelope = file.with_suffix(".envelope").read_bytes().split(b"\n")[:-1]
    return Mail([MAIL_PROGRAM.encode(), b"-f", *envelope], file.read_bytes())


def run(programs, message, recipient):
    """Gives a message to the autoresponder, as the mail system does."""
    shutil.rmtree(SENT, ignore_errors=True)
    SENT.mkdir()
    before = counts()
    environment = {**os.environ, "RESP_RECIPIENT": recipient}
    ended = subprocess.run(
        [programs / "autoresponder"], input=message, capture_output=True, env=environment
    )
    return Run(
        status=ended.returncode,
        output=ended.stdout,
        errors=ended.stderr,
        leftovers=sorted(str(path) for path in pathlib.Path("/tmp").glob("tva-*")),
        counted={row.split()[0] for row in counts() - before},
        mails=[sent_mail(directory) for directory in sorted(SENT.iterdir())],
    )


def counts():
    """The rows of resp_freq: the responder's id and a hash of all else."""
    statement = "select rn_id, md5(concat_ws(' ', hex(email), num, time_resp)) from resp_freq"
    client = ["mariadb", "--no-defaults", "--user=root", "--batch", "--skip-column-names"]
    client += [f"--execute={statement}", "tva"]
    rows = subprocess.run(client, check=True, stdout=subprocess.PIPE, text=True)
    return set(rows.stdout.splitlines())


def sent_mail(directory):
    arguments = (directory / "arguments").read_bytes().split(b"\0")[:-1]
    return Mail(arguments, (directory / "message").read_bytes())
