#!/usr/bin/env python3
"""A long run of a headless runtime that must lose, repeat and grow nothing.

A pseudo-terminal, reached through a symlink as a USB adapter is through
/dev/serial/by-id, stands in for a balance that sends numbered records at a
steady rate. Every --unplug-every seconds the instrument goes quiet, is
unplugged (the master closed, the link removed) for a few seconds and
plugged in again; every --log-outage-every seconds the log's folder is moved
away for a few seconds, so that the log cannot be written. At the end every
record sent must be in the log exactly once and in order. The runtime's
resident memory and open file descriptors are sampled every 10 seconds.

    bench/soak.py [--minutes 10] [--rate 50] [--build build]

Exit status 0 when nothing was lost, repeated or reordered and the runtime
ended cleanly; 1 otherwise. One hour: --minutes 60.
"""
import argparse
import json
import os
import platform
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import tty


def rss_kib(pid):
    with open(f"/proc/{pid}/status") as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0


def open_fds(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


def holds(pid, device):
    for fd in os.listdir(f"/proc/{pid}/fd"):
        try:
            if os.readlink(f"/proc/{pid}/fd/{fd}") == device:
                return True
        except OSError:
            pass
    return False


def wait_for(condition, seconds):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.02)
    return condition()


class Instrument:
    """A pseudo-terminal behind a symlink, plugged in and out."""

    def __init__(self, link):
        self.link = link
        self.master = None
        self.slave_name = None
        self.plug_in()

    def plug_in(self):
        self.master, slave = os.openpty()
        tty.setraw(self.master)
        self.slave_name = os.ttyname(slave)
        os.close(slave)
        if os.path.lexists(self.link):
            os.remove(self.link)
        os.symlink(self.slave_name, self.link)

    def unplug(self):
        os.remove(self.link)
        os.close(self.master)
        self.master = None

    def send(self, data):
        view = memoryview(data)
        while view:
            n = os.write(self.master, view)
            view = view[n:]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--minutes", type=float, default=10)
    parser.add_argument("--rate", type=float, default=50, help="records per second")
    parser.add_argument("--unplug-every", type=float, default=60, help="seconds")
    parser.add_argument("--unplugged-for", type=float, default=3, help="seconds")
    parser.add_argument("--log-outage-every", type=float, default=180, help="seconds")
    parser.add_argument("--log-outage-for", type=float, default=5, help="seconds")
    parser.add_argument("--build", default=os.environ.get("CORVANE_BUILD_DIR", "build"))
    args = parser.parse_args()

    corvane = os.path.abspath(os.path.join(args.build, "src", "corvane"))
    if not os.access(corvane, os.X_OK):
        sys.exit(f"build first: {corvane} is missing")
    work = tempfile.mkdtemp(prefix="corvane-soak-")
    logs = os.path.join(work, "logs")
    os.mkdir(logs)
    log = os.path.join(logs, "soak.log")
    config = {
        "TransferMode": 2, "StartOfRecordEvent": 1, "EndOfRecordEvent": 0,
        "LogFileName": log,
    }
    with open(os.path.join(work, "soak.json"), "w") as f:
        json.dump(config, f)
    qx3 = os.path.join(work, "soak.QX3")
    subprocess.run([corvane, "config", "build", os.path.join(work, "soak.json"), qx3], check=True)

    instrument = Instrument(os.path.join(work, "ttySOAK"))
    env = dict(os.environ, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
    env.pop("DISPLAY", None)
    stderr = open(os.path.join(work, "stderr.txt"), "wb")
    runtime = subprocess.Popen([corvane, "run", "--headless", "--port", instrument.link, qx3],
                               env=env, stderr=stderr)
    if not wait_for(lambda: holds(runtime.pid, instrument.slave_name), 10):
        sys.exit("the runtime did not open the port")

    start = time.monotonic()
    end = start + args.minutes * 60
    next_unplug = start + args.unplug_every
    next_outage = start + args.log_outage_every
    outage_ends = None
    next_sample = start
    samples = []
    sent = 0
    unplugs = outages = 0
    interval = 1.0 / args.rate
    next_record = start
    while time.monotonic() < end:
        now = time.monotonic()
        if now >= next_sample:
            samples.append((now - start, rss_kib(runtime.pid), open_fds(runtime.pid)))
            next_sample += 10
        if outage_ends is None and now >= next_outage:
            os.rename(logs, logs + ".away")
            outage_ends = now + args.log_outage_for
            outages += 1
        if outage_ends is not None and now >= outage_ends:
            os.rename(logs + ".away", logs)
            outage_ends = None
            next_outage += args.log_outage_every
        if now >= next_unplug:
            # An instrument that is unplugged sends nothing more; what it has
            # sent is read first (a tick is 50 ms).
            time.sleep(0.3)
            instrument.unplug()
            time.sleep(args.unplugged_for)
            instrument.plug_in()
            if not wait_for(lambda: holds(runtime.pid, instrument.slave_name), 10):
                sys.exit("the runtime did not open the port again")
            unplugs += 1
            next_unplug += args.unplug_every
            next_record = time.monotonic()
            continue
        if now >= next_record:
            instrument.send(b"R%08d\r" % sent)
            sent += 1
            next_record += interval
        time.sleep(max(0.0, min(next_record, next_sample) - time.monotonic()))
    if outage_ends is not None:
        os.rename(logs + ".away", logs)

    def logged():
        try:
            with open(log, "rb") as f:
                return [int(m) for m in re.findall(rb"R(\d{8})", f.read())]
        except OSError:
            return []

    wait_for(lambda: len(logged()) >= sent, 15)
    samples.append((time.monotonic() - start, rss_kib(runtime.pid), open_fds(runtime.pid)))
    runtime.send_signal(signal.SIGTERM)
    status = runtime.wait(timeout=10)
    stderr.close()

    numbers = logged()
    seen = set()
    duplicated = sum(1 for n in numbers if n in seen or seen.add(n))
    lost = sent - len(seen)
    in_order = numbers == sorted(numbers)
    rss = [s[1] for s in samples]
    fds = [s[2] for s in samples]
    print(f"soak: {args.minutes:g} min at {args.rate:g} records/s, {unplugs} unplugs "
          f"({args.unplugged_for:g} s each), {outages} log outages ({args.log_outage_for:g} s each)")
    print(f"  records sent {sent}, logged {len(numbers)}, lost {lost}, duplicated {duplicated}, "
          f"in order: {'yes' if in_order else 'NO'}")
    print(f"  resident memory KiB: first {rss[0]}, after 1 min "
          f"{rss[min(6, len(rss) - 1)]}, last {rss[-1]}, max {max(rss)}")
    print(f"  open descriptors: first {fds[0]}, last {fds[-1]}, max {max(fds)}")
    print(f"  runtime exit status {status}")
    print(f"  machine: {os.cpu_count()} cores, {platform.processor() or platform.machine()}, "
          f"kernel {platform.release()}")
    ok = lost == 0 and duplicated == 0 and in_order and status == 0
    if ok:
        shutil.rmtree(work)
    else:
        print(f"  kept for a look: {work}")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
