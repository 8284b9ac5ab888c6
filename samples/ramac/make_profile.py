#!/usr/bin/env python3
"""Writes the sample RAMAC profile PROFILE1.rd3 and its header PROFILE1.rad.

A synthetic 250 MHz ground-radar line, 80 traces 0.05 m apart, 256 samples of
0.5 ns (a 128 ns window): the air-ground direct wave at 10 ns, a flat layer
at 60 ns, and the diffraction hyperbola of a pipe 1 m deep under trace 40,
in a ground of 0.1 m/ns. The same bytes come out on every run.

    python3 make_profile.py [FOLDER]      (default: the folder of this file)
"""
import math
import os
import struct
import sys

TRACES, SAMPLES, INTERVAL_NS, SPACING_M = 80, 256, 0.5, 0.05
VELOCITY, PIPE_DEPTH, PIPE_TRACE = 0.1, 1.0, 40


def wavelet(t_ns, centre_ns):
    """A 250 MHz Ricker wavelet."""
    a = (math.pi * 0.25 * (t_ns - centre_ns)) ** 2
    return (1 - 2 * a) * math.exp(-a)


def trace(i):
    x = (i - PIPE_TRACE) * SPACING_M
    pipe = 10 + 2 * math.hypot(PIPE_DEPTH, x) / VELOCITY
    noise = (i * 7919) % 65521
    out = []
    for k in range(SAMPLES):
        t = k * INTERVAL_NS
        v = 12000 * wavelet(t, 10) + 3000 * wavelet(t, 60) + 5000 * wavelet(t, pipe)
        noise = (noise * 75 + 74) % 65537
        v += (noise % 41) - 20
        out.append(max(-32768, min(32767, round(v))))
    return out


HEADER = [
    ("SAMPLES", SAMPLES), ("FREQUENCY", "2500.0"), ("FREQUENCY STEPS", 20),
    ("SIGNAL POSITION", "10.0"), ("RAW SIGNAL POSITION", 20), ("DISTANCE FLAG", 1),
    ("TIME FLAG", 0), ("PROGRAM FLAG", 0), ("EXTERNAL FLAG", 0),
    ("TIME INTERVAL", "0.000000"), ("DISTANCE INTERVAL", "%.6f" % SPACING_M),
    ("OPERATOR", "VEXMOR SAMPLE"), ("CUSTOMER", ""), ("SITE", "SYNTHETIC LINE 1"),
    ("ANTENNAS", "250 MHz shielded"), ("ANTENNA ORIENTATION", "PERPENDICULAR"),
    ("ANTENNA SEPARATION", "0.3100"), ("COMMENT", "generated, no field data"),
    ("TIMEWINDOW", "%.4f" % (SAMPLES * INTERVAL_NS)), ("STACKS", 16),
    ("STACK EXPONENT", 0), ("STACKING TIME", "0.000000"), ("LAST TRACE", TRACES),
    ("STOP POSITION", "%.6f" % ((TRACES - 1) * SPACING_M)),
    ("SYSTEM CALIBRATION", "0.00000"), ("START POSITION", "0.000000"),
]


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(folder, "PROFILE1.rd3"), "wb") as data:
        for i in range(1, TRACES + 1):
            data.write(struct.pack("<%dh" % SAMPLES, *trace(i)))
    with open(os.path.join(folder, "PROFILE1.rad"), "wb") as header:
        header.write("".join("%s:%s\r\n" % item for item in HEADER).encode("ascii"))


if __name__ == "__main__":
    main()
