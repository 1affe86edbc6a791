#!/usr/bin/python3
"""Times calls of one operation through the Python package, for verda_bench.

    python_calls.py HOST PORT METHOD COUNT

Each round calls Device.METHOD and the C function beneath it straight
through ctypes on the same handle, in turns. Prints "seconds" and, in
seconds, the medians of the method, of the bare C call and of what the
method took over the bare call in each round, on a line of its own (the
transport prints lines of its own too). The library is the one VERDA_LIBRARY
names. METHOD: check_connection or get_date_time."""

import ctypes
import statistics
import sys
import time

import verda
from verda import _library, _operations


def main(host, port, method, count):
    with verda.Device.tcp(host, int(port)) as register:
        call = getattr(register, method)
        function = getattr(_operations, "_" + method.upper()).bind(_library.library())
        arguments = [register._handle]
        if method == "get_date_time":
            text = ctypes.create_string_buffer(64)
            arguments += [text, len(text)]
        for _ in range(100):
            call()
        package, bare = [], []
        ways = ((call, (), package), (function, arguments, bare))
        for round_ in range(int(count)):
            # In turns, each first in every other round: neither gains from its place.
            for way, given, times in ways if round_ % 2 == 0 else reversed(ways):
                begin = time.perf_counter_ns()
                way(*given)
                times.append(time.perf_counter_ns() - begin)
    added = [p - b for p, b in zip(package, bare)]  # the two calls of one round
    print("seconds", *(statistics.median(t) / 1e9 for t in (package, bare, added)))


if __name__ == "__main__":
    main(*sys.argv[1:])
