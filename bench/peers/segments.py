#!/usr/bin/python3
"""CPU time of a disk in segments against the same disk in one file, run in turn.

  NIMBEX=/path/to/nimbex ./segments.py [--runs N] [--cpu N] WHOLE_FILE SEGMENT SEGMENT ...
"""
import argparse
import os
import subprocess
import tempfile

from peers import median, read_grids, setup_file


def cpu(command):
    p = subprocess.Popen(command, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(p.pid, 0)
    p.returncode = os.waitstatus_to_exitcode(status)
    if p.returncode:
        raise SystemExit("exit %d: %s" % (p.returncode, " ".join(command)))
    return usage.ru_utime + usage.ru_stime


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("whole")
    ap.add_argument("segments", nargs="+")
    ap.add_argument("--runs", type=int, default=15)
    ap.add_argument("--cpu", type=int, default=-1)
    a = ap.parse_args()
    if a.cpu >= 0:
        os.sched_setaffinity(0, {a.cpu})
    with tempfile.TemporaryDirectory(prefix="segments.") as tmp:
        listing, out = os.path.join(tmp, "list"), os.path.join(tmp, "out")
        with open(listing, "w") as f:
            f.write("\n".join(os.path.abspath(s) for s in a.segments) + "\n")
        print("%-8s %10s %10s %10s %10s %14s" % ("grid", "one best", "median", "list best", "median",
                                                "ratio (median)"))
        for name, grid in read_grids().items():
            setup = os.path.join(tmp, name)
            setup_file(grid, setup)
            head = [os.environ["NIMBEX"], "-c=0", "-b=8"]
            head += [] if grid[0] == "grid" else ["-p=" + grid[0]]
            one, many = [], []
            for _ in range(a.runs):
                one.append(cpu(head + [a.whole, out, setup]))
                many.append(cpu(head + ["-m=1", listing, out, setup]))
            print("%-8s %9.4fs %9.4fs %9.4fs %9.4fs %14.3f" % (
                name, min(one), median(one), min(many), median(many), median(many) / median(one)))


if __name__ == "__main__":
    main()
