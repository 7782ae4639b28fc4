# SPDX-License-Identifier: Apache-2.0

"""show.py PROGRAMS sample|dump [RECIPIENT]

Shows in the private world what autoresponderctl says of a message and what the autoresponder then
does, both from the directory PROGRAMS. The panel is the sample or, with "dump", the one in the dump
that descriptor 3 reads. The message to RECIPIENT is on standard input; without RECIPIENT there are
a few scenes instead. The exit status is that of demo/run.
"""

import os
import pathlib
import shlex
import signal
import subprocess
import sys
from dataclasses import dataclass

import mail_view
import panel

MESSAGES = panel.HERE / "messages"
DUMP = 3
CANNOT, DIFFERENT = 2, 3  # exit statuses
TITLE_WIDTH = 80

KINDS = {
    "forward": "the incoming message forwarded",
    "notice": "a notice to the domain's owner about missing files",
    "reply": "a reply",
    "size-notice": "a notice in place of a reply over the size limit",
}


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
    Scene("Counted, not sent", "hyphen.eml", "catalogue@example.org"),
    Scene("Mail that would go in circles", "bounce.eml", "info@example.com"),
]


def fail(reason):
    sys.stderr.write(f"demo: {reason}\n")
    sys.exit(CANNOT)


def say(text):
    try:
        print(text, flush=True)
    except OSError as error:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())  # for the flush at the end
        fail(f"standard output cannot be written: {error.strerror}")


def styled(text, code):
    plain = not sys.stdout.isatty() or "NO_COLOR" in os.environ
    return text if plain else f"\x1b[{code}m{text}\x1b[m"


def title(text):
    say("\n" + styled(f"== {text} ".ljust(TITLE_WIDTH, "="), "1;7"))


def section(heading, lines=(), style="1"):
    say("\n" + styled(heading, style))
    for line in lines:
        say("  " + line)


def differences(explanation, run):
    """Where the run was not what its explanation makes one expect."""
    facts = explanation.facts
    counted = {
        responder["id"]
        for responder in facts["responders"]
        if (limit := responder["limit"]) and limit["replies_today"] < limit["replies_allowed"]
    }
    if run.counted != counted:
        yield f"counted by: {listed(run.counted)}, explained: {listed(counted)}"
    if run.mails != explanation.mails:
        sent, explained = len(run.mails), len(explanation.mails)
        yield f"mails: {sent}, explained: {explained}, not the same bytes for the same recipients"
    if run.errors.decode("utf-8", "replace") != facts["diagnostics"]:
        yield f"standard error, explained: {mail_view.printable(facts['diagnostics']) or 'nothing'}"


def listed(ids):
    return ", ".join(sorted(ids)) or "none"


def outcome(responder, counted, facts):
    if responder["verdict"] == "would answer":
        return styled("answered", "32")
    sent = "counted, not sent" if responder["id"] in counted else "not answered"
    return f"{sent}: {mail_view.printable(responder['reason'] or facts['reason'])}"


def show_outcome(explanation, run):
    """Says what became of the message; returns whether that is what had been explained."""
    if different := list(differences(explanation, run)):
        section("The run differs from its explanation, which is a defect", different, "1;31")
        return False
    facts = explanation.facts
    outcomes = [
        f"responder {responder['id']}: {outcome(responder, run.counted, facts)}"
        for responder in facts["responders"]
    ]
    nothing = f"not answered: {mail_view.printable(facts['reason'])}"
    section("The run, as explained", outcomes or [nothing])
    return True


def show_mail(heading, mail, incoming):
    section(heading, [mail_view.printable(shlex.join(map(os.fsdecode, mail.arguments)))])
    if mail.message == incoming + b"\n":
        say("  byte for byte as it came, and one line feed at the end")
        return
    say("  " + styled(f"on the wire, {len(mail.message)} bytes", "4"))
    say("\n".join("  " + line for line in mail_view.on_the_wire(mail.message)))
    say("  " + styled("as it is read", "4"))
    say("\n".join("  " + line for line in mail_view.outgoing(mail.message)))


def show_mails(run, explained, incoming):
    """Shows the mails sent, with what is explained of each, if that is true of them."""
    if not run.mails:
        section("Mail sent: none")
    for number, mail in enumerate(run.mails, 1):
        heading = f"Mail {number} of {len(run.mails)}"
        if explained:
            of_it = explained[number - 1]
            heading += f" by responder {of_it['responder']}: {KINDS[of_it['kind']]}"
        show_mail(heading, mail, incoming)


def show_end(run):
    for name, text in (("Standard error", run.errors), ("Standard output", run.output)):
        if text or name == "Standard error":
            lines = mail_view.printable_lines(text)
            section(name if lines else f"{name}: nothing", lines)
    left = ", ".join(run.leftovers) or "none"
    section(f"Exit status {run.status}, temporary files left: {left}")


def answer(programs, message, recipient):
    """One message, from what came in to what is left behind; returns whether it is as explained."""
    headers = mail_view.headers_that_matter(message)
    section("The headers that matter" if headers else "The headers that matter: none", headers)
    explanation = panel.explain(programs, message, recipient)
    section(f"autoresponderctl explain {mail_view.printable(recipient)}", explanation.text)
    run = panel.run(programs, message, recipient)
    as_explained = show_outcome(explanation, run)
    show_mails(run, explanation.facts["mails"] if as_explained else None, message)
    show_end(run)
    return as_explained


def show_message(programs, recipient):
    try:
        message = sys.stdin.buffer.read()
    except OSError as error:
        fail(f"the message cannot be read: {error.strerror}")
    title("A message")
    return answer(programs, message, recipient)


def show_scenes(programs):
    as_explained = True
    for number, scene in enumerate(SCENES, 1):
        title(f"{number} of {len(SCENES)}: {scene.title}")
        message = (MESSAGES / scene.message).read_bytes()
        as_explained &= answer(programs, message, scene.recipient)
    return as_explained


def main(programs, which_panel, recipient=None):
    # That nobody reads on, or somebody presses Ctrl-C, is nothing to report.
    for ending in (signal.SIGINT, signal.SIGPIPE):
        signal.signal(ending, signal.SIG_DFL)
    sys.stdout.reconfigure(errors="backslashreplace")
    programs = pathlib.Path(programs).resolve()
    try:
        about = panel.load(DUMP if which_panel == "dump" else None)
        title("The sample panel" if which_panel == "sample" else "The panel in the dump")
        for line in about:
            say("  " + line)
        if recipient is None:
            as_explained = show_scenes(programs)
        else:
            as_explained = show_message(programs, recipient)
    except panel.Unexplained as reason:
        fail(f"autoresponderctl has no explanation: {reason}")
    except subprocess.CalledProcessError:
        sys.exit(CANNOT)  # the command has said why
    sys.exit(0 if as_explained else DIFFERENT)


if __name__ == "__main__":
    main(*sys.argv[1:])
