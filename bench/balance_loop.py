#!/usr/bin/env python3
"""The balance chain as a plain Python loop: the anchor that Corvane's engine
is compared with (bench/compare_python runs both in one go).

It does the engine's work on the same stream of "  12.345 g" CR LF records,
one character at a time as the engine frames them: the numeric start-of-record
rule, the numeric input filter, the end of the record at the carriage return,
field(1)*1000, the format 0.0, the log translation, and the log line with its
CR LF appended to an in-memory log.

    balance_loop.py RECORDS   ->   records=N seconds=S records_per_s=R
"""
import sys
import time

RECORD = "  12.345 g\r\n"
START = set(".1234567890-")      # the numeric start-of-record rule
NUMERIC = set(".1234567890-")    # the numeric input filter
LOG_TRANSLATION = {i: chr(i) for i in range(256)}  # identity, as by default


def run(data):
    log = []
    field = []
    active = False
    for ch in data:
        if not active:
            if ch not in START:
                continue
            active = True
        if ch in NUMERIC:
            field.append(ch)
        if ch == "\r":
            value = float("".join(field)) * 1000
            text = "%.1f" % value
            log.append(text.translate(LOG_TRANSLATION) + "\r\n")
            field.clear()
            active = False
    return log


def main():
    records = int(sys.argv[1]) if len(sys.argv) > 1 else 1000000
    data = RECORD * records
    start = time.perf_counter()
    log = run(data)
    seconds = time.perf_counter() - start
    assert len(log) == records and log[0] == "12345.0\r\n", log[:1]
    print("records=%d seconds=%.6f records_per_s=%.0f" % (len(log), seconds, len(log) / seconds))


if __name__ == "__main__":
    main()
