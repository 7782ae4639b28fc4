# SPDX-License-Identifier: Apache-2.0

"""What the measured figures say: a file of measure.py, taken apart."""

import json
import statistics

MIB = 1 << 20

BUILDS = {
    "default": "default build",
    "static": "client library linked in",
    "fixed": "the same at a fixed address",
}

PROCESS = "a process that does nothing"
MAIL_PROGRAM = "the mail program: another such process"
SUBMITTING = "counting, writing and submitting the reply"

# The parts of an answered message: a run that comes as far as the second takes so much longer than
# one that comes as far as the first.
PARTS = {
    "loading the shared libraries": ("process", "libraries"),
    "starting the program, and the process that reads": ("libraries", "no message"),
    "reading, copying and understanding the message": ("no message", "loop"),
    "logging in to the database, finding the responder": ("loop", "no responder"),
    "looking whether the sender may be answered": ("no responder", "limit reached"),
    SUBMITTING: ("limit reached", "answered"),
}


class Figures:
    def __init__(self, file):
        self.all = json.loads(file.read_text())
        self.runs = self.all["2 KB"]

    def microseconds(self, build, end):
        """Of a run that comes so far, in each round."""
        if end == "process" or (end == "libraries" and build != "default"):
            return self.runs["process"]["no message"]
        if end == "libraries":
            return self.runs["libraries"]["no message"]
        return self.runs[build][end]

    def milliseconds(self, build, end):
        return statistics.median(self.microseconds(build, end)) / 1000

    def beside_floor(self, build, end):
        """Ratios, round by round."""
        floor = self.runs["floor"]["answered"]
        return [time / least for time, least in zip(self.runs[build][end], floor)]

    def beside_base64(self):
        times = self.all["attachment"]["microseconds"]
        return [time / least for time, least in zip(times["default"], times["base64"])]

    def parts(self, build):
        """The milliseconds of an answered message, by what they are for."""
        process = self.milliseconds(build, "process")
        parts = {PROCESS: process}
        for part, (before, end) in PARTS.items():
            parts[part] = self.milliseconds(build, end) - self.milliseconds(build, before)
        parts[SUBMITTING] -= process
        parts[MAIL_PROGRAM] = process
        return parts

    def peaks(self, shape):
        """Bytes by the size of the message in MiB."""
        return {int(mib): peak for mib, peak in self.all["peak"][shape].items()}

    def many(self, build):
        """Rows of (processes, messages a second, shares of the machine: own, the server's).

        Of the quickest try for each number of processes: whatever else the machine does slows.
        """
        for tries in self.all["many"][build]:
            quickest = min(tries, key=lambda one: one["seconds"])
            machine = quickest["seconds"] * self.all["machine"]["processors"]
            yield (
                quickest["processes"],
                quickest["messages"] / quickest["seconds"],
                quickest["processor seconds"] / machine,
                quickest["server's processor seconds"] / machine,
            )


def quartiles(values):
    """The median, and between what the middle half of the values is."""
    low, median, high = statistics.quantiles(values, n=4, method="inclusive")
    return median, low, high
