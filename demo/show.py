"""show.py PROGRAM [--message [RECIPIENT]]

Shows in the private world what the autoresponder PROGRAM does: with --message for the message on
standard input, otherwise for a few scenes, one after the other.
"""

import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
from dataclasses import dataclass

import mail_view
import panel

MESSAGES = panel.HERE / "messages"
DEFAULT_RECIPIENT = "accounts@example.org"
PLACES = {"subj": "subject", "body": "text"}  # where a key word is looked for
TITLE_WIDTH = 80


@dataclass
class Scene:
    title: str
    message: str
    recipient: str


SCENES = [
    Scene("A key word in the subject, written to an alias", "prices.eml", "sales@example.net"),
    Scene("The same sender once more on the same day", "prices.eml", "sales@example.net"),
    Scene(
        "Two replies, a forward, an attachment and a missing file",
        "order.eml",
        "accounts@example.org",
    ),
    Scene("A reply larger than the size limit", "catalogue.eml", "catalogue@example.org"),
    Scene("Mail that would go in circles", "bounce.eml", "info@example.com"),
]


def styled(text, code):
    plain = not sys.stdout.isatty() or "NO_COLOR" in os.environ
    return text if plain else f"\x1b[{code}m{text}\x1b[m"


def title(text):
    print("\n" + styled(f"== {text} ".ljust(TITLE_WIDTH, "="), "1;7"))


def section(text, lines=()):
    print("\n" + styled(text, "1"))
    for line in lines:
        print("  " + line)


def condition(row):
    if row["key_where"] not in PLACES:
        return "every message"
    return f'"{mail_view.printable(row["keystr"])}" in the {PLACES[row["key_where"]]}'


def verdict(responder):
    row = responder.row
    if responder.answered_at is not None:
        return styled("answered", "32")
    if responder.reached_limit_check:
        return f"not answered: the limit of {row['ans_freq']} a day for this sender is reached"
    if row["resp_on"] == "false":
        return "not answered: switched off"
    if row["key_where"] not in PLACES:
        return "not answered: the run ended before"
    return f"not answered: no {condition(row)}"


def kind(mail, incoming):
    if mail.message == incoming + b"\n":
        return "the incoming message forwarded"
    if b"(files missing in attachments repository)" in mail.message:
        joined = re.match(rb"Reply-To: .*From: ", mail.message)
        return "a notice to the domain's owner" + (
            " (its Reply-To: always runs into From:)" if joined else ""
        )
    if b"message size exceeds databytes limit" in mail.message:
        return f"a notice in place of a reply over {panel.SIZE_LIMIT.read_text().strip()} bytes"
    return "a reply"


def show_mail(mail, heading, incoming):
    what = kind(mail, incoming)
    command = shlex.join(mail.arguments)
    section(f"{heading}: {what}", [mail_view.printable(command)])
    if mail.message == incoming + b"\n":
        print("  byte for byte as it came, and one line feed at the end")
        return
    print("  " + styled(f"on the wire, {len(mail.message)} bytes", "4"))
    print("\n".join("  " + line for line in mail_view.on_the_wire(mail.message)))
    print("  " + styled("as it is read", "4"))
    print("\n".join("  " + line for line in mail_view.outgoing(mail.message)))


def show_mails(run, incoming):
    if not run.mails:
        section("Mail sent: none")
    for number, mail in enumerate(run.mails, 1):
        senders = [r.row["id"] for r in run.responders if mail in r.mails]
        by = f" by responder {senders[0]}" if senders else ""
        show_mail(mail, f"Mail {number} of {len(run.mails)}{by}", incoming)


def show_end(run):
    for name, text in (("Standard error", run.errors), ("Standard output", run.output)):
        if text or name == "Standard error":
            lines = mail_view.printable_lines(text)
            section(name if lines else f"{name}: nothing", lines)
    left = ", ".join(run.leftovers) or "none"
    section(f"Exit status {run.status}, temporary files left: {left}")


def answer(program, message, recipient):
    """One run, told from the message that came in to what is left behind."""
    section(f"The message to {mail_view.printable(recipient)}", mail_view.incoming(message))
    run = panel.run(program, message, recipient)
    if run.mailbox:
        section(
            f"The responders of {run.mailbox}",
            [f"{r.row['id']}  {condition(r.row):<28}  {verdict(r)}" for r in run.responders],
        )
    else:
        section("The responders: none was looked up")
    show_mails(run, message)
    show_end(run)
    return run


def show_panel():
    title("The sample panel")
    for mailbox, others in panel.addresses():
        print(f"  {mailbox}" + (f", also {others}" if others else ""))


def show_message(program, recipient):
    message = sys.stdin.buffer.read()
    title("A message")
    run = answer(program, message, recipient)
    if b"autoresponder: Mailname not found: " in run.errors:
        sys.stdout.flush()
        known = ", ".join(mailbox for mailbox, _ in panel.addresses())
        sys.stderr.write(
            f"demo: {mail_view.printable(recipient)} is not an address of the sample panel, "
            f"which has the mailboxes {known}\n"
        )


def main(program, *arguments):
    # The end of a reader or of the person's patience is no event to report.
    for ending in (signal.SIGINT, signal.SIGPIPE):
        signal.signal(ending, signal.SIG_DFL)
    sys.stdout.reconfigure(errors="backslashreplace", line_buffering=True)
    program = pathlib.Path(program).resolve()
    try:
        panel.load()
    except subprocess.CalledProcessError:
        sys.exit("demo: the sample panel cannot be loaded")
    show_panel()
    if arguments:
        show_message(program, arguments[1] if len(arguments) > 1 else DEFAULT_RECIPIENT)
        return
    for number, scene in enumerate(SCENES, 1):
        title(f"{number} of {len(SCENES)}: {scene.title}")
        answer(program, (MESSAGES / scene.message).read_bytes(), scene.recipient)


if __name__ == "__main__":
    main(*sys.argv[1:])
