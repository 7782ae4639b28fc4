# SPDX-License-Identifier: Apache-2.0

"""cluster.py PROGRAM MARIADB_SERVER: shows what becomes of messages that are answered by way of two
nodes of a Galera cluster. To be started by `run`, in a private world whose network is its own.

MARIADB_SERVER is the unpacked Debian package of that name, for its state transfer scripts.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

WORLD = pathlib.Path("/world")
SENT = WORLD / "sent"
HOLD = WORLD / "hold"
MAIL_PROGRAM = pathlib.Path("/usr/sbin/sendmail")


def wait_until(condition, what, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            sys.exit(f"cluster: waited in vain for {what}")
        time.sleep(0.02)


def client(socket, statement, database="tva"):
    return subprocess.run(
        ["mariadb", "--no-defaults", f"--socket={socket}", "--user=root", "-N", "-B", database],
        input=statement, capture_output=True, text=True)


class Node:
    def __init__(self, number):
        self.number = number
        self.name = f"node{number}"
        self.data = WORLD / self.name
        self.socket = WORLD / f"{self.name}.sock"
        self.server = None

    def command(self, *options):
        port = 10000 * self.number
        provider = [f"gmcast.listen_addr=tcp://127.0.0.1:{port}", f"ist.recv_addr=127.0.0.1:{port + 1}",
                    # In place of the third vote of an arbitrator: node 1 alone is a majority.
                    f"pc.weight={3 - self.number}", "gcache.size=16M", "gmcast.time_wait=PT1S"]
        return ["mariadbd", "--no-defaults", "--user=root", f"--datadir={self.data}",
                f"--socket={self.socket}", "--skip-networking", "--innodb-log-file-size=4M",
                "--innodb-buffer-pool-size=8M", "--innodb-log-buffer-size=2M",
                "--innodb-flush-log-at-trx-commit=0", "--skip-performance-schema",
                "--binlog-format=ROW", "--innodb-autoinc-lock-mode=2", "--wsrep-on=ON",
                "--wsrep-provider=/usr/lib/galera/libgalera_smm.so", "--wsrep-sync-wait=1",
                "--wsrep-cluster-address=gcomm://127.0.0.1:10000,127.0.0.1:20000",
                f"--wsrep-node-name={self.name}", f"--wsrep-node-address=127.0.0.1:{port}",
                "--wsrep-node-incoming-address=127.0.0.1:0", "--wsrep-sst-method=rsync",
                f"--wsrep-sst-receive-address=127.0.0.1:{port + 2}",
                "--wsrep-provider-options=" + ";".join(provider), *options]

    def start(self, *options):
        # What the other node transfers is received by a process of user nobody.
        subprocess.run(["chmod", "-R", "a+rwX", self.data], check=True)
        log = open(WORLD / f"{self.name}.log", "a")
        self.server = subprocess.Popen(self.command(*options), stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=log, start_new_session=True)
        wait_until(self.is_ready, self.name)

    def start_after_crash(self):
        """Starts from the last change that the node has, as Debian's service does."""
        recovery = subprocess.run(self.command("--wsrep-recover"), stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        position = re.search(r"Recovered position: (\S+)", recovery.stdout)
        if position is None:
            sys.exit(f"cluster: {self.name} cannot be recovered:\n{recovery.stdout[-3000:]}")
        self.start(f"--wsrep-start-position={position[1]}")

    def log(self):
        return (WORLD / f"{self.name}.log").read_text(errors="replace")

    def is_ready(self):
        if self.server.poll() is not None:
            sys.exit(f"cluster: {self.name} ended:\n{self.log()[-3000:]}")
        return "ON" in client(self.socket, "show status like 'wsrep_ready'").stdout

    def stop(self):
        client(self.socket, "shutdown")
        self.server.wait()

    def kill(self):
        self.server.kill()
        self.server.wait()

    def sql(self, statement):
        result = client(self.socket, statement)
        if result.returncode != 0:
            sys.exit(f"cluster: {self.name}: {result.stderr}")
        return [line.split("\t") for line in result.stdout.splitlines()]

    def status(self, name):
        return int(self.sql(f"show global status like '{name}'")[0][1])


class Mail:
    """Messages, and what is sent for them."""

    def __init__(self, program):
        self.program = program

    def start(self, sender, socket):
        process = subprocess.Popen(
            [self.program], stdin=subprocess.PIPE, stderr=subprocess.PIPE, stdout=subprocess.DEVNULL,
            env={"PATH": os.environ["PATH"], "RESP_RECIPIENT": "user@example.com",
                 "MYSQL_UNIX_PORT": str(socket)})
        process.stdin.write(f"From: {sender}\nSubject: Hello\n\nHello\n".encode())
        process.stdin.close()
        return process

    def finish(self, process):
        said = process.stderr.read().decode()
        process.wait()
        return said

    def write(self, sender, socket):
        return self.finish(self.start(sender, socket))

    @staticmethod
    def replies(sender):
        return SENT.read_text().splitlines().count(sender) if SENT.exists() else 0


failures = 0


def show(what, seen, expected=None):
    """Tells what was seen; it has to be what is expected, if anything is."""
    global failures
    good = expected is None or seen == expected
    failures += not good
    print(f"{what}: {seen}" + ("" if good else f"   WRONG, expected {expected}"), flush=True)


def make_cluster():
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    own = os.environ["MYSQL_UNIX_PORT"]
    client(own, (pathlib.Path(__file__).parents[2] / "packaging/galera.sql").read_text())
    client(own, "shutdown")
    wait_until(lambda: not (WORLD / "mariadb.pid").exists(), "the end of the world's own server")
    nodes = Node(1), Node(2)
    shutil.copytree(WORLD / "data", nodes[0].data)
    begin = time.monotonic()
    nodes[0].start("--wsrep-new-cluster")
    nodes[0].stop()
    # The second node begins with the first one's data, so that nothing has to be transferred.
    shutil.copytree(nodes[0].data, nodes[1].data)
    (nodes[1].data / "galera.cache").unlink(missing_ok=True)
    nodes[0].start("--wsrep-new-cluster")
    nodes[1].start()
    show("nodes in the cluster", nodes[0].status("wsrep_cluster_size"), 2)
    print(f"started in {time.monotonic() - begin:.0f} s")
    return nodes


def make_panel(node):
    node.sql("insert into domains set id=1, name='example.com', cl_id=1;"
             "insert into mail set id=1, mail_name='user', dom_id=1;"
             "insert into mail_resp set id=1, mn_id=1, resp_on='true', text='Away', ans_freq='3'")
    MAIL_PROGRAM.write_text(f"#!/bin/sh\ncat >/dev/null\necho \"$3\" >>{SENT}\n"
                            f"while [ -e {HOLD} ]; do sleep 0.05; done\n")
    MAIL_PROGRAM.chmod(0o755)


def either_node(mail, nodes):
    print("\n== Answers by way of either node")
    for node in nodes:
        sender = f"first.{node.name}@example.org"
        show(f"written on standard error by way of {node.name}", mail.write(sender, node.socket), "")
        show("replies", mail.replies(sender), 1)
    for node in nodes:
        show(f"senders known to {node.name}", node.sql("select count(*) from resp_freq")[0][0], "2")


def daily_limit(mail, nodes):
    print("\n== The daily limit (3), held over both")
    for i in range(10):
        mail.write("often@example.org", nodes[i % 2].socket)
    show("replies to 10 messages, one after the other, by turns", mail.replies("often@example.org"), 3)
    runs = [mail.start("flood@example.org", nodes[i % 2].socket) for i in range(20)]
    said = "".join(mail.finish(run) for run in runs)
    show("replies to 20 messages at the same time (more than 3 may be)",
         mail.replies("flood@example.org"))
    show("written on standard error", said, "")
    before = mail.replies("flood@example.org")
    for node in nodes:
        mail.write("flood@example.org", node.socket)
    show("replies to 2 more, afterwards", mail.replies("flood@example.org") - before, 0)


def conflicts(mail, nodes):
    print("\n== Nodes that change the same rows at the same time")
    for node in nodes:
        # Whatever the nodes do not agree on is then for the autoresponder to repeat.
        node.sql("set global wsrep_retry_autocommit=0")
    messages = failed = rounds = 0
    while failed < 5 and rounds < 20:
        rounds += 1
        nodes[0].sql("insert into resp_freq (rn_id, email, num, time_resp) "
                     "select 1, concat(seq, '@yesterday.example'), 1, now() - interval 1 day "
                     "from seq_1_to_3000")
        before = [node.status("wsrep_local_cert_failures") + node.status("wsrep_local_bf_aborts")
                  for node in nodes]
        senders = [f"r{rounds}.{i}@example.org" for i in range(20)]
        runs = [mail.start(sender, nodes[i % 2].socket) for i, sender in enumerate(senders)]
        said = "".join(mail.finish(run) for run in runs)
        if said:
            show("written on standard error", said, "")
        lost = [sender for sender in senders if mail.replies(sender) != 1]
        if lost:
            show("senders without a reply", lost, [])
        messages += len(senders)
        failed += sum(node.status("wsrep_local_cert_failures") + node.status("wsrep_local_bf_aborts")
                      for node in nodes) - sum(before)
    show("messages", messages)
    show("statements that the nodes undid", failed)
    show("there were any", failed > 0, True)
    show("rows of yesterday left", nodes[1].sql(
        "select count(*) from resp_freq where email like '%@yesterday.example'")[0][0], "0")


def lost_node(mail, nodes):
    print("\n== A node that is lost in the middle of a run, and comes back")
    nodes[0].sql("insert into mail_resp set id=2, mn_id=1, resp_on='true', text='Second'")
    proxy = WORLD / "proxy.sock"  # what a proxy does: leads to a node that is there
    proxy.symlink_to(nodes[1].socket)
    HOLD.touch()
    run = mail.start("loyal@example.org", proxy)
    wait_until(lambda: mail.replies("loyal@example.org") == 1, "the first reply")
    nodes[1].kill()
    wait_until(lambda: nodes[0].status("wsrep_cluster_size") == 1, "the loss to be noticed")
    proxy.unlink()
    proxy.symlink_to(nodes[0].socket)
    HOLD.unlink()
    show("written on standard error by the run", mail.finish(run), "")
    show("replies of two responders", mail.replies("loyal@example.org"), 2)
    show("counted on the node that is left",
         nodes[0].sql("select count(*), sum(num) from resp_freq where email='loyal@example.org'")[0],
         ["2", "2"])
    begin = time.monotonic()
    said = mail.write("unlucky@example.org", nodes[1].socket)
    show("without a proxy, by way of the lost node", said.splitlines()[-1],
         "autoresponder: Unable to connect to the mysql database ")
    print(f"given up after {time.monotonic() - begin:.1f} s")
    begin = time.monotonic()
    nodes[1].start_after_crash()
    print(f"{nodes[1].name} is back after {time.monotonic() - begin:.0f} s")
    show("replies counted in its absence", nodes[1].sql(
        "select count(*) from resp_freq where email='loyal@example.org'")[0][0], "2")
    before = mail.replies("often@example.org")
    nodes[0].sql("delete from mail_resp where id=2")
    show("written on standard error", mail.write("often@example.org", nodes[1].socket), "")
    show("further replies to who has had them all", mail.replies("often@example.org") - before, 0)


def isolated_node(mail, nodes):
    print("\n== A node that cannot reach the others for a while")
    nodes[1].sql("set global wsrep_provider_options='gmcast.isolate=1'")
    wait_until(lambda: not nodes[1].is_ready(), "the node to notice")
    nodes[1].sql("set global wsrep_provider_options='gmcast.isolate=0'")
    begin = time.monotonic()
    run = mail.start("patient@example.org", nodes[1].socket)
    wait_until(nodes[1].is_ready, "the node to be back")
    print(f"{nodes[1].name} is back after {time.monotonic() - begin:.1f} s")
    show("written on standard error", mail.finish(run), "")
    show("replies", mail.replies("patient@example.org"), 1)


def main():
    program, package = sys.argv[1:]
    os.environ["PATH"] += f":{os.path.abspath(package)}/usr/bin"
    nodes = make_cluster()
    make_panel(nodes[0])
    mail = Mail(program)
    either_node(mail, nodes)
    daily_limit(mail, nodes)
    conflicts(mail, nodes)
    lost_node(mail, nodes)
    isolated_node(mail, nodes)
    print(f"\n{failures} wrong")
    sys.exit(failures != 0)


main()
