#!/usr/bin/env python3
"""Writes the seed corpus of the exchange fuzz target into fuzz/corpus/.

Each seed is an input in the target's format (fuzz/exchange_fuzz.cpp and
fuzz/ReplayPort.h): a setup byte, then operation bytes, each followed by the
records its reads take. Run it again after a change of that format.
"""
import os
import struct

LOG, LONG_RECORD = 1, 2
BARE, CHECK, READING_ERROR, ART_I, ART_X, ART_R, ART_N, ART_P = range(8)


def cp866(text):
    return text.encode("cp866")


def good(data, piece=0, status=bytes(8)):
    return bytes([1 + 4 * piece]) + struct.pack("<H", len(data)) + data + status


def spoilt(fault, data, length=None, status=bytes(8)):
    out = bytes([3 + 4 * fault]) + struct.pack("<H", len(data))
    if fault == 3:
        out += bytes([length])
    return out + data + status


def raw(data):
    return bytes([0, len(data)]) + data


EMPTY = bytes([2])

RECORD = (b"0\t7\t 1\t1\t2\t 0\t12.50\t1.000\t2.000\t3.000\t4600000000000\t\t\t\t"
          + cp866("Хлеб") + b"\t")
LONG_TAIL = cp866("шт") + b"\tid\t0\t1\t3\t4\t"

SEEDS = {
    "check_ok": bytes([0, CHECK]) + good(b"0\t"),
    "check_error": bytes([0, CHECK]) + good(b"-17\t"),
    "check_no_data": bytes([0, CHECK]) + good(b""),
    "check_noise": bytes([0, CHECK]) + raw(b"\x7f\x00abc\x16") + good(b"0\t"),
    "check_nak": bytes([0, CHECK]) + raw(b"\x00\x15") + good(b"0\t"),
    "check_syn_split": bytes([0, CHECK]) + raw(b"\x16\x16") * 3 + good(b"0\t", piece=3),
    "check_silence": bytes([0, CHECK]) + EMPTY * 12 + good(b"0\t"),
    "check_late": bytes([0, CHECK]) + spoilt(0, b"0\t") + good(b"0\t"),
    "check_other_command": bytes([0, CHECK]) + spoilt(1, b"0\t") + good(b"0\t"),
    "check_bad_sum": bytes([0, CHECK]) + spoilt(2, b"0\t") + good(b"0\t"),
    "check_short_length": bytes([0, CHECK]) + spoilt(3, b"0\t", length=0x25),
    "check_status": bytes([0, CHECK]) + good(b"0\t", status=bytes(range(1, 9))),
    "reading_error": bytes([LOG, READING_ERROR, 0xEF])
    + good(b"0\t-17\t" + cp866("Неверный пароль") + b"\t"),
    "reading_error_empty": bytes([0, READING_ERROR, 3]) + good(b"0\t3\t\t"),
    "article_info": bytes([0, ART_I]) + good(b"0\t100\t2\t3000\t"),
    "article_value": bytes([0, ART_X]) + good(b"0\t42\t"),
    "article_record": bytes([0, ART_R]) + good(RECORD),
    "article_long_record": bytes([LONG_RECORD | LOG, ART_R]) + good(RECORD + LONG_TAIL),
    "article_walk": bytes([0, ART_N]) + good(RECORD, piece=7),
    "article_program": bytes([LONG_RECORD, ART_P]) + good(b"0\t"),
    "bare": bytes([0, BARE, 0x2D, 0]) + good(b"x"),
    "bare_request": bytes([0, BARE, 0x6B, 4]) + b"R\t7\t" + good(RECORD),
    "run_of_operations": bytes([LOG, ART_I]) + good(b"0\t1\t2\t3\t")
    + bytes([ART_X]) + good(b"0\t5\t")
    + bytes([ART_R]) + good(RECORD)
    + bytes([CHECK]) + raw(b"\x16\x16") + good(b"0\t"),
}

here = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")
os.makedirs(here, exist_ok=True)
for name, data in SEEDS.items():
    with open(os.path.join(here, name), "wb") as f:
        f.write(data)
