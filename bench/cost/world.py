# SPDX-License-Identifier: Apache-2.0

"""The private world of the benchmark: its panel, its database server, and runs of programs in it."""

import os
import pathlib
import shutil
import subprocess
import time
from dataclasses import dataclass

HERE = pathlib.Path(__file__).resolve().parent
SETTINGS = pathlib.Path("/etc/tva/tva.conf")
SAMPLE = HERE.parent.parent / "packaging" / "tva.conf.sample"
END = "-- end of the rows --"


@dataclass
class Usage:
    """What a program took, and those that it started."""

    microseconds: int  # of processor time, in all


def memory_of(process):
    """The bytes of memory of a process and its children; what they share counts once."""
    directory = pathlib.Path(f"/proc/{process}")
    try:
        children = (directory / f"task/{process}/children").read_text().split()
        lines = (directory / "smaps_rollup").read_text().splitlines()
    except OSError:  # it has ended
        return 0
    own = sum(int(line.split()[1]) * 1024 for line in lines if line.startswith("Pss:"))
    return own + sum(memory_of(child) for child in children)


class Database:
    """A session of the server's root with the panel's database."""

    def __init__(self):
        self.client = subprocess.Popen(
            ["mariadb", "--no-defaults", "--user=root", "--batch", "--skip-column-names"]
            + ["--unbuffered", "tva"],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )

    def rows(self, statements):
        """Sends the statements; returns the lines of what they return."""
        self.client.stdin.write(f"{statements};\nselect '{END}';\n")
        self.client.stdin.flush()
        lines = []
        for line in self.client.stdout:
            if line == END + "\n":
                return lines
            lines.append(line.rstrip("\n"))
        raise SystemExit("bench: the database server refused a statement")


class World:
    """`programs` is the directory of the benchmark's own."""

    def __init__(self, programs):
        self.runner = programs / "runner"
        self.mail_program = programs / "mail_program"
        self.set_mail_program(self.mail_program)
        self.set_only_people(False)
        self.database = Database()
        self.database.rows((HERE / "panel.sql").read_text())
        server = pathlib.Path(self.database.rows("select @@pid_file")[0]).read_text().strip()
        self.server_statistics = pathlib.Path(f"/proc/{server}/stat")

    @staticmethod
    def set_only_people(wanted):
        sample = SAMPLE.read_text().replace("VERDICTS true", "VERDICTS false")
        SETTINGS.write_text(sample if wanted else sample.replace("ONLY_PEOPLE true", ""))

    @staticmethod
    def set_mail_program(program):
        shutil.copy(program, "/usr/sbin/sendmail")

    def take_answers(self):
        """How many senders have been answered since they were last forgotten; they are again."""
        answers = "from resp_freq where rn_id <> 3"
        return int(self.database.rows(f"select count(*) {answers}; delete {answers}")[0])

    def server_seconds(self):
        """The processor time that the database server has taken so far."""
        fields = self.server_statistics.read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def run_all(self, command, inputs, processes=1, output="/dev/null"):
        """Runs the command for each (recipient, message): what each took, and the time for all."""
        start = time.perf_counter()
        ended = subprocess.run(
            [self.runner, str(processes), output, *command],
            input="".join(f"{recipient} {message}\n" for recipient, message in inputs),
            stdout=subprocess.PIPE,
            text=True,
        )
        seconds = time.perf_counter() - start
        if ended.returncode != 0:
            raise SystemExit(f"bench: {command[0]} failed")
        lines = [line.split() for line in ended.stdout.splitlines()]
        return [Usage(int(cpu)) for (cpu,) in lines], seconds

    def run(self, program, message, recipient):
        return self.run_all([program], [(recipient, message)])[0][0]

    @staticmethod
    def peak_of(program, message, recipient):
        """The most memory in bytes that the processes of a run have at the same time, as far as
        looking again and again finds it."""
        environment = {**os.environ, "RESP_RECIPIENT": recipient}
        peak = 0
        with open(message, "rb") as standard_input, open(os.devnull, "wb") as nowhere:
            run = subprocess.Popen(
                [program], stdin=standard_input, env=environment, stdout=nowhere, stderr=nowhere
            )
            while run.poll() is None:
                peak = max(peak, memory_of(run.pid))
        return peak

    @staticmethod
    def complaints_of(program, message, recipient):
        """What a run of the program writes to standard error."""
        with open(message, "rb") as standard_input:
            environment = {**os.environ, "RESP_RECIPIENT": recipient}
            return subprocess.run(
                [program], stdin=standard_input, env=environment, stderr=subprocess.PIPE, text=True
            ).stderr

    def statements_of(self, program, message, recipient):
        """The statements that a run of the program sends."""
        self.database.rows("set global log_output='TABLE', general_log=1")
        self.run(program, message, recipient)
        return self.database.rows(
            "set global general_log=0; select argument from mysql.general_log"
            " where command_type='Query' and user_host like 'admin%'; truncate mysql.general_log"
        )
