"""The private world around the autoresponder: its database, a run of it, and what came of that."""

import json
import os
import pathlib
import re
import shutil
import subprocess
from dataclasses import dataclass

HERE = pathlib.Path(__file__).resolve().parent
SENT = pathlib.Path("/var/qmail/sent")
SIZE_LIMIT = pathlib.Path("/var/qmail/control/databytes")


@dataclass
class Mail:
    """One start of the mail program."""

    time: float
    arguments: list[str]
    message: bytes


@dataclass
class Responder:
    """A row of mail_resp, and what it made of the message of the last run."""

    row: dict
    reached_limit_check: bool
    answered_at: float | None
    mails: list[Mail]


@dataclass
class Run:
    """One run of the autoresponder."""

    status: int
    output: bytes
    errors: bytes
    leftovers: list[str]
    mailbox: str | None
    responders: list[Responder]
    mails: list[Mail]


def sql(statement):
    """The rows of a statement that yields one column of JSON."""
    client = ["mariadb", "--no-defaults", "--user=root", "--default-character-set=utf8mb4"]
    client += ["--batch", "--raw", "--skip-column-names", f"--execute={statement}", "tva"]
    answer = subprocess.run(client, check=True, capture_output=True, stdin=subprocess.DEVNULL)
    return [json.loads(line) for line in answer.stdout.splitlines()]


def load():
    """Fills the empty world; raises CalledProcessError when that fails."""
    subprocess.run([HERE / "load-panel"], check=True, stdin=subprocess.DEVNULL)
    sql("set global log_output='TABLE', global general_log=1")


def addresses():
    """Who can be written to: each mailbox with its other addresses."""
    return sql(
        """
        select json_array(concat(m.mail_name, '@', d.name), coalesce((
            select group_concat(concat(l.name, '@', n.name) order by l.name, n.name separator ', ')
            from (select id mn_id, mail_name name from mail
                  union select mn_id, alias from mail_aliases) l,
                 (select id dom_id, name from domains
                  union select dom_id, name from domainaliases where mail = 'true') n
            where l.mn_id = m.id and n.dom_id = d.id
              and not (l.name = m.mail_name and n.name = d.name)), ''))
        from mail m join domains d on d.id = m.dom_id order by m.id"""
    )


def run(program, message, recipient):
    """Gives a message to the autoresponder, as the mail system does."""
    shutil.rmtree(SENT)
    SENT.mkdir()
    sql("truncate mysql.general_log")
    environment = {**os.environ, "RESP_RECIPIENT": recipient}
    ended = subprocess.run([program], input=message, capture_output=True, env=environment)
    mails = [read_mail(entry) for entry in sorted(SENT.iterdir(), key=lambda e: float(e.name))]
    mailbox, responders = what_happened(mails)
    return Run(
        status=ended.returncode,
        output=ended.stdout,
        errors=ended.stderr,
        leftovers=sorted(str(path) for path in pathlib.Path("/tmp").glob("tva-*")),
        mailbox=mailbox,
        responders=responders,
        mails=mails,
    )


def read_mail(directory):
    arguments = (directory / "arguments").read_bytes().decode("utf-8", "backslashreplace")
    return Mail(
        time=float(directory.name),
        arguments=arguments.split("\0")[:-1],
        message=(directory / "message").read_bytes(),
    )


def what_happened(mails):
    """The mailbox and its responders, told from the statements that the server was sent.

    Nothing is decided here that the autoresponder decides: a responder whose key word was found is
    one whose use today was looked up, and one that answered is one whose use was counted.
    """
    mailbox_id = None
    checked, answered = set(), {}
    for time, statement in sql(
        """
        select json_array(unix_timestamp(event_time), regexp_substr(argument,
            '^(select .* from mail_resp where mn_id'
            '|(delete from|insert into|update) resp_freq .*?rn_id)=[0-9]+'))
        from mysql.general_log
        where user_host like 'admin[%' and argument regexp '(mail_resp|resp_freq) '"""
    ):
        if not (found := re.search(r"=(\d+)$", statement)):
            continue
        key = int(found[1])
        if statement.startswith("select"):
            mailbox_id = key
        elif statement.startswith("delete"):
            checked.add(key)
        else:
            answered[key] = float(time)
    if mailbox_id is None:
        return None, []
    [mailbox] = sql(
        f"""select json_quote(concat(m.mail_name, '@', d.name))
            from mail m join domains d on d.id = m.dom_id where m.id = {mailbox_id}"""
    )
    responders = [
        Responder(row, row["id"] in checked, answered.get(row["id"]), [])
        for row in sql(
            f"""select json_object('id', id, 'keystr', keystr, 'key_where', key_where,
                                   'resp_on', resp_on, 'ans_freq', ans_freq)
                from mail_resp where mn_id = {mailbox_id}"""
        )
    ]
    for mail in mails:
        mailer = max(
            (r for r in responders if r.answered_at is not None and r.answered_at <= mail.time),
            key=lambda r: r.answered_at,
            default=None,
        )
        if mailer:
            mailer.mails.append(mail)
    return mailbox, responders
