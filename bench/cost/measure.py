# SPDX-License-Identifier: Apache-2.0

"""measure.py [--quick] PROGRAMS STATIC_PROGRAMS FILE

Measures in the private world what a message costs, and writes it to FILE, as JSON. PROGRAMS and
STATIC_PROGRAMS are the build directories with the client library shared and linked statically.
"""

import json
import os
import pathlib
import platform
import random
import sys
from dataclasses import dataclass

import messages
from world import World

MIB = 1 << 20
DIRECTORY = pathlib.Path("/tmp/messages")
ATTACHMENTS = pathlib.Path("/var/qmail/mailnames/example.com/film/@attachments")


@dataclass
class Extent:
    """How much is measured."""

    rounds: int
    film_mib: int
    film_rounds: int
    message_mibs: list[int]
    messages: int
    processes: list[int]
    tries: int


FULL = Extent(250, 100, 15, [1, 2, 4, 8, 16, 32, 64], 2000, [1, 2, 4, 8, 16], 3)
QUICK = Extent(25, 10, 5, [1, 16, 32, 64], 200, [1, 4, 16], 1)


def programs_by_name(programs, static_programs):
    return {
        "floor": programs / "bench/cost/floor",
        "process": programs / "bench/cost/mail_program",
        "libraries": programs / "bench/cost/libraries",
        "default": programs / "autoresponder",
        "static": static_programs / "autoresponder",
        "fixed": static_programs / "bench/cost/autoresponder_at_fixed_address",
    }


class SmallMessages:
    """Runs of all programs with messages of 2 KB, in rounds."""

    def __init__(self, world, programs):
        self.world = world
        self.programs = programs
        ordinary = messages.write_small(DIRECTORY / "ordinary")
        daemon = messages.write_small(DIRECTORY / "daemon", "MAILER-DAEMON@example.net")
        nothing = DIRECTORY / "nothing"
        nothing.touch()
        # What a program is given, by how far it comes with it.
        self.ends = {
            "no message": (nothing, "user@example.com"),
            "loop": (daemon, "user@example.com"),
            "no responder": (ordinary, "quiet@example.com"),
            "limit reached": (ordinary, "often@example.com"),
            "answered": (ordinary, "user@example.com"),
            "answered, only people": (ordinary, "user@example.com"),
        }
        self.runs = [("process", "no message"), ("libraries", "no message"), ("floor", "answered")]
        self.runs += [(build, end) for build in ("default", "static", "fixed") for end in self.ends]

    def check_floor(self):
        sent = []
        for program in ("floor", "default"):
            sent.append(self.world.statements_of(self.programs[program], *self.ends["answered"]))
            self.world.take_answers()
        if not sent[0] or sent[0] != sent[1]:
            raise SystemExit("bench: the floor does not send the autoresponder's statements")

    def check_ends(self):
        """Runs come as far as they are meant to."""
        complaints = {"no message": "Could not get sender's", "loop": "Field From: contains"}
        for end, given in self.ends.items():
            said = self.world.complaints_of(self.programs["default"], *given)
            expected = complaints.get(end, "")
            if not said.startswith(expected) or (said and not expected):
                raise SystemExit(f"bench: {end}: {said}")
        self.world.take_answers()

    def run(self, program, end):
        """The microseconds of processor time that a run takes."""
        self.world.set_only_people(end == "answered, only people")
        usage = self.world.run(self.programs[program], *self.ends[end])
        self.world.set_only_people(False)
        if self.world.take_answers() != end.startswith("answered"):
            raise SystemExit(f"bench: {program}: {end}: answered what it should not, or did not")
        return usage.microseconds

    def measure(self, rounds):
        """The microseconds of each round, by program and end."""
        microseconds = {program: {} for program, _ in self.runs}
        for _ in range(rounds):
            # In ever another order: a run is quicker after one of the same program.
            for program, end in random.sample(self.runs, len(self.runs)):
                microseconds[program].setdefault(end, []).append(self.run(program, end))
        return microseconds


class Attachment:
    """Replies with a large attachment, and base64(1) writing the same lines."""

    def __init__(self, world, program, mib):
        self.world = world
        self.program = program
        self.mib = mib
        self.message = messages.write_small(DIRECTORY / "letter")
        self.lines = DIRECTORY / "lines"
        ATTACHMENTS.mkdir(parents=True)
        self.film = ATTACHMENTS / "film"
        with open(self.film, "wb") as out:
            for _ in range(mib):
                out.write(os.urandom(MIB))

    def encode(self):
        command = ["base64", "-w", "60"]
        return self.world.run_all(command, [("-", self.film)], output=self.lines)[0][0]

    def answer(self):
        usage = self.world.run(self.program, self.message, "film@example.com")
        self.world.take_answers()
        return usage

    def check(self):
        keeper, reply = DIRECTORY / "keeper", DIRECTORY / "reply"
        keeper.write_text(f"#!/bin/sh\nexec cat > {reply}\n")
        keeper.chmod(0o700)
        self.world.set_mail_program(keeper)
        self.encode()
        self.answer()
        self.world.set_mail_program(self.world.mail_program)
        if self.lines.read_bytes() not in reply.read_bytes():
            raise SystemExit("bench: the reply has other lines than base64 writes")
        reply.unlink()

    def measure(self, rounds):
        self.check()
        microseconds = {"base64": [], "default": []}
        for _ in range(rounds):
            microseconds["base64"].append(self.encode().microseconds)
            microseconds["default"].append(self.answer().microseconds)
        self.film.unlink()
        self.lines.unlink()
        return {"mib": self.mib, "microseconds": microseconds}


def measure_memory(world, program, mibs):
    """The peak in bytes, by the message's shape and size in MiB."""
    file = DIRECTORY / "large"
    peaks = {shape: {} for shape in messages.SHAPES}
    for shape in messages.SHAPES:
        for mib in mibs:
            messages.write_large(file, shape, mib * MIB)
            peaks[shape][mib] = world.peak_of(program, file, "user@example.com")
            if world.take_answers() != 1:
                raise SystemExit(f"bench: {shape} of {mib} MiB: not answered")
    file.unlink()
    return peaks


def measure_many(world, program, count, processes):
    """What `count` messages take when so many processes at a time answer them."""
    inputs = []
    for number in range(count):
        file = DIRECTORY / str(number)
        messages.write_small(file, f"sender{number}@example.net")
        inputs.append((f"user{101 + number % 100}@example.com", file))
    server_before = world.server_seconds()
    usages, seconds = world.run_all([program], inputs, processes)
    server = world.server_seconds() - server_before
    if world.take_answers() != count:
        raise SystemExit("bench: not all of the messages were answered")
    return {
        "messages": count,
        "processes": processes,
        "seconds": seconds,
        "processor seconds": sum(usage.microseconds for usage in usages) / 1e6,
        "server's processor seconds": server,
    }


def measure_all_many(world, programs, extent):
    """Several tries, by program and number of processes."""
    many = {"default": [], "static": []}
    for processes in extent.processes:
        for tries in many.values():
            tries.append([])
        for _ in range(extent.tries):
            for build, tries in many.items():
                result = measure_many(world, programs[build], extent.messages, processes)
                tries[-1].append(result)
    return many


def load():
    return os.getloadavg()[0]


def main(extent, programs, static_programs, file):
    DIRECTORY.mkdir()
    programs = programs_by_name(programs, static_programs)
    world = World(programs["process"].parent)
    machine = {"processors": os.cpu_count(), "kernel": platform.release()}
    result = {"machine": machine, "load before": load()}

    small = SmallMessages(world, programs)
    small.check_ends()
    small.check_floor()
    result["2 KB"] = small.measure(extent.rounds)
    attachment = Attachment(world, programs["default"], extent.film_mib)
    result["attachment"] = attachment.measure(extent.film_rounds)
    result["peak"] = measure_memory(world, programs["default"], extent.message_mibs)
    result["many"] = measure_all_many(world, programs, extent)
    result["load after"] = load()
    file.write_text(json.dumps(result) + "\n")


if __name__ == "__main__":
    quick = "--quick" in sys.argv[1:]
    paths = [pathlib.Path(a).resolve() for a in sys.argv[1:] if a != "--quick"]
    main(QUICK if quick else FULL, *paths)
