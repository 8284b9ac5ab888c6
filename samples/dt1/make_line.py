#!/usr/bin/env python3
"""Writes the sample EKKO line LINE1.DT1 and its header text LINE1.HD.

A synthetic 100 MHz radar line, 40 traces 0.25 m apart, 200 points of
0.8 ns (a 160 ns window) with time zero at point 12: the direct wave just
after time zero and a dipping layer from 60 to 100 ns. Each trace is a
128-byte header (trace number, position, points, bytes per point 2, time
window, stacks as floats) and its 16-bit samples. The same bytes come out
on every run.

    python3 make_line.py [FOLDER]      (default: the folder of this file)
"""
import math
import os
import struct
import sys

TRACES, POINTS, INTERVAL_NS, SPACING_M, ZERO = 40, 200, 0.8, 0.25, 12


def wavelet(t_ns, centre_ns):
    a = (math.pi * 0.1 * (t_ns - centre_ns)) ** 2
    return (1 - 2 * a) * math.exp(-a)


def trace(i):
    layer = 60 + 40 * i / (TRACES - 1)
    noise = (i * 7919) % 65521
    out = []
    for k in range(POINTS):
        t = (k - ZERO) * INTERVAL_NS
        v = 15000 * wavelet(t, 4) + 4000 * wavelet(t, layer)
        noise = (noise * 75 + 74) % 65537
        out.append(max(-32768, min(32767, round(v + (noise % 31) - 15))))
    return out


HEADER = """1234\r
Data Collected with a synthetic generator\r
2026-01-15\r
NUMBER OF TRACES   = {traces}\r
NUMBER OF PTS/TRC  = {points}\r
TIMEZERO AT POINT  = {zero}\r
TOTAL TIME WINDOW  = {window:.3f}\r
STARTING POSITION  = 0.0000\r
FINAL POSITION     = {final:.4f}\r
STEP SIZE USED     = {step:.4f}\r
POSITION UNITS     = m\r
NOMINAL FREQUENCY  = 100.00\r
ANTENNA SEPARATION = 1.0000\r
"""


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(folder, "LINE1.DT1"), "wb") as out:
        for i in range(1, TRACES + 1):
            header = struct.pack("<8f", i, (i - 1) * SPACING_M, POINTS, 0, 0, 2, POINTS * INTERVAL_NS, 16)
            out.write(header + bytes(128 - len(header)))
            out.write(struct.pack("<%dh" % POINTS, *trace(i)))
    with open(os.path.join(folder, "LINE1.HD"), "w", newline="") as out:
        out.write(HEADER.format(traces=TRACES, points=POINTS, zero=ZERO, window=POINTS * INTERVAL_NS,
                                final=TRACES * SPACING_M, step=SPACING_M))


main()
