#!/usr/bin/python3
"""CPU time of a full disk of each geostationary format against the floor, run in turn.

  makeDisks DIR
  NIMBEX=/path/to/nimbex ./formats.py [--runs N] [--cpu N] [--grids g2501,g6001] [--other NIMBEX] DIR

The floor is the one of peers.py on a plain disk of as many 16-bit counts: it maps the file and
unpacks nothing. "file" is reading the format's own file once, in blocks of 1 MiB: packed counts and
headers that come line by line have to be read whole. With --other a second build runs in the same
rounds, and its outputs must be the same bytes.
"""
import argparse
import filecmp
import os
import subprocess
import sys
import tempfile

from peers import HERE, median, read_grids, setup_file
from segments import cpu

# Sub-satellite longitude and the number of an infrared channel.
DISKS = {"hisd": (140.7, 0), "hrit": (140, 0), "native": (0, 8), "gvar": (-75.2, 3),
         "vissr": (140, 0), "rdat": (140.7, 0)}


def moved(grid, lon):
    """The grid, which is meant for 140.7 E, under another satellite."""
    kind, nx, ny, west, north, step, sx, sy, clon, clat = grid
    return kind, nx, ny, west + lon - 140.7, north, step, sx, sy, clon + lon - 140.7, clat


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("dir")
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--cpu", type=int, default=-1)
    ap.add_argument("--grids", default="g2501,g6001,ps2501,me2501")
    ap.add_argument("--formats", default=",".join(DISKS))
    ap.add_argument("--other", help="a second build, to compare with")
    a = ap.parse_args()
    if a.cpu >= 0:
        os.sched_setaffinity(0, {a.cpu})
    with tempfile.TemporaryDirectory(prefix="formats.") as tmp:
        floor = os.path.join(tmp, "floor")
        subprocess.run(["cc", "-O2", "-o", floor, os.path.join(HERE, "floor.c"), "-lm"], check=True)
        print("%-7s %-7s %9s %9s %9s %8s %8s %8s" % ("format", "grid", "floor", "file", "nimbex", "other",
                                                    "/floor", "/f+file"))
        grids = read_grids()
        for name in a.formats.split(","):
            lon, channel = DISKS[name]
            path = os.path.join(a.dir, name)
            for gname in a.grids.split(","):
                grid = moved(grids[gname], lon)
                setup, out, out2 = (os.path.join(tmp, k) for k in ("setup", "out", "out2"))
                setup_file(grid, setup)
                word = [] if grid[0] == "grid" else ["-p=" + grid[0]]
                tail = ["-c=%d" % channel, "-b=8"] + word + [path]
                run = {"floor": [floor, "-1", path + ".floor", os.path.join(tmp, "f"), grid[0]]
                       + ["%r" % v for v in grid[1:]],
                       "file": ["dd", "if=" + path, "of=/dev/null", "bs=1M"],
                       "nimbex": [os.environ["NIMBEX"]] + tail + [out, setup]}
                if a.other:
                    run["other"] = [a.other] + tail + [out2, setup]
                times = {k: [] for k in run}
                for _ in range(a.runs + 1):
                    for k, command in run.items():
                        times[k].append(cpu(command))
                mid = {k: median(v[1:]) for k, v in times.items()}
                if a.other and not filecmp.cmp(out, out2, shallow=False):
                    sys.exit("%s, %s: the two builds write different files" % (name, gname))
                print("%-7s %-7s %8.4fs %8.4fs %8.4fs %8s %8.2f %8.2f" % (
                    name, gname, mid["floor"], mid["file"], mid["nimbex"],
                    "%.4fs" % mid["other"] if a.other else "-", mid["nimbex"] / mid["floor"],
                    mid["nimbex"] / (mid["floor"] + mid["file"])), flush=True)


if __name__ == "__main__":
    main()
