#!/usr/bin/python3
"""Writes the seed corpora of the fuzz targets: fuzz/corpus/ for the exchange,
fuzz/scanner_corpus/ for the reply scanner, fuzz/request_corpus/ for the
server's reading of a request.

An exchange seed is an input in that target's format (fuzz/exchange_fuzz.cpp
and fuzz/ReplayPort.h): a setup byte, then operation bytes, each followed by
the records its reads take. A scanner seed is the expected sequence and
command, the buffer's size byte and records of reads (fuzz/scanner_fuzz.cpp).
A request seed is "METHOD PATH", header lines, an empty line and the body
(fuzz/request_fuzz.cpp), each request of every kind that the server's tests
send, good and bad.
Run it again after a change of either format.
"""
import json
import os
import struct
import sys

LOG, LONG_RECORD = 1, 2
(BARE, CHECK, READING_ERROR, ART_I, ART_X, ART_R, ART_N, TRANSACTIONS, DEP_INFO, DEVICE_INFO3,
 POWER_OFF, STATUS_FP, PRINTER_INIT, OPEN_RECEIPT, SALE, SUBTOTAL, TOTAL, CLOSE_RECEIPT,
 ART_P) = range(19)


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

DIAGNOSTIC = (cp866("ВЕРДА 35V-Ф") + b"\t944124\t01.02.2026\t12:00\tABCD\t1\t0012345\t")

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
    "transactions_status": bytes([0, TRANSACTIONS]) + good(b"0\t1\t5\t3\t150.00\t0.00\t"),
    "department_info": bytes([0, DEP_INFO]) + good(b"0\tA\t100.00\t3\t0.00\tdept\t"),
    "device_info3": bytes([0, DEVICE_INFO3]) + good(b"1\tx\t2\ty\t3\tz\t"),
    "power_off_empty_first_field": bytes([0, POWER_OFF]) + good(b"\t"),
    "status_picture": bytes([0, STATUS_FP]) + good(b"0\t\x81\x00\xff\x10\x02\x40\t"),
    "printer_init": bytes([LOG, PRINTER_INIT]) + good(b"0\t2\t") + good(b"0\t" + DIAGNOSTIC),
    "receipt": bytes([LOG, OPEN_RECEIPT]) + good(b"0\t12\t3\t4\t")
    + bytes([SALE, 1]) + good(b"0\t17\t")
    + bytes([SALE, 0]) + good(b"0\t" + cp866("Хлеб") + b"\t") + good(b"0\t18\t")
    + bytes([SUBTOTAL]) + good(b"0\t12\t91.00\t0\t0\t0\t0\t0\t0\t")
    + bytes([TOTAL]) + good(b"0\tD\t4.50\t12\t")
    + bytes([CLOSE_RECEIPT]) + good(b"0\t12\t5\t1234567890\t6\t7\t"),
    "receipt_device_goes_silent": bytes([0, OPEN_RECEIPT]) + good(b"0\t12\t3\t4\t")
    + bytes([SALE, 1]) + EMPTY * 60 + bytes([TOTAL]) + good(b"-3\t"),
    "bare": bytes([0, BARE, 0x2D, 0]) + good(b"x"),
    "bare_request": bytes([0, BARE, 0x6B, 4]) + b"R\t7\t" + good(RECORD),
    "run_of_operations": bytes([LOG, ART_I]) + good(b"0\t1\t2\t3\t")
    + bytes([ART_X]) + good(b"0\t5\t")
    + bytes([ART_R]) + good(RECORD)
    + bytes([CHECK]) + raw(b"\x16\x16") + good(b"0\t"),
}


def word(value):
    return bytes(0x30 + ((value >> shift) & 0xF) for shift in (12, 8, 4, 0))


def reply_frame(seq, command, data, status=bytes(8)):
    counted = word(len(data) + 0x33) + bytes([seq]) + word(command) + data + b"\x04" + status
    counted += b"\x05"
    return b"\x01" + counted + word(sum(counted) & 0xFFFF) + b"\x03"


def read(data):
    return bytes([len(data)]) + data


SEQ, CMD = 0x21, 0x2D
REPLY = reply_frame(SEQ, CMD, b"0\tok\t", bytes(range(1, 9)))
BAD_SUM = REPLY[:-2] + bytes([REPLY[-2] ^ 1]) + REPLY[-1:]

SCANNER_SEEDS = {
    "whole": bytes([SEQ, CMD, 40, 0xFE, 2]) + b"0\t" + bytes(8),
    "pieces": bytes([SEQ, CMD, 40]) + read(REPLY[:3]) + read(b"") + read(REPLY[3:]),
    "noise_syn_nak": bytes([SEQ, CMD, 40]) + read(b"zz\x16") + read(b"\x16\x16") + read(b"\x15"),
    "syn_then_reply": bytes([SEQ, CMD, 40]) + read(b"\x16\x16" + REPLY),
    "wrong_sequence_then_reply": bytes([SEQ, CMD, 40]) + read(reply_frame(SEQ + 1, CMD, b"0\t"))
    + read(REPLY),
    "bad_sum_then_reply": bytes([SEQ, CMD, 40]) + read(BAD_SUM) + read(REPLY),
    "short_length": bytes([SEQ, 0xE8, 4]) + read(b"\x01\x30\x30\x32\x35\x21\x30\x30\x3E\x38\x03"),
    "full_buffer": bytes([SEQ, CMD, 0]) + read(b"\x01\x3F\x3F\x3F\x3F" + bytes(20)) + read(b"") * 9,
    "silence": bytes([SEQ, CMD, 10]) + read(b"") * 5 + b"\xff" * 5 + read(REPLY),
}



def request(method, route, body=None, key="k-1", raw=None):
    head = f"{method} /devices/sim{route}\r\n" + (f"Idempotency-Key: {key}\r\n" if key is not None else "")
    text = raw if raw is not None else ("" if body is None else json.dumps(body, ensure_ascii=False))
    return (head + "Content-Type: application/json\r\n\r\n" + text).encode()


# The server tests' receipt (it needs their packages: pytest, requests, jsonschema).
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "server"))
from conftest import SALE as SALE_BODY  # noqa: E402

REQUEST_SEEDS = {
    "receipt": request("POST", "/receipts", SALE_BODY),
    "receipt_return_card": request("POST", "/receipts", {
        "type": "return", "lines": [{"article": 12, "quantity": 0.5, "discount": {"surcharge_sum": 1}}],
        "payments": [{"mode": "card"}]}),
    "receipt_line_too_long": request("POST", "/receipts", {"lines": [{"name": "x" * 70, "price": 1}]}),
    "receipt_attributes": request("POST", "/receipts", {
        "cashier": {"name": "Иванова А. В.", "inn": "500100732259"}, "buyer": "+79001234567",
        "tax_system": "1", "lines": [{"name": "Чай", "price": 70, "unit": 0, "subject": 1, "method": 4}],
        "payments": [{"mode": 1.0, "amount": 70}],
        "text": ["Спасибо", {"barcode": {"type": 3, "data": "4600000000001"}}]}),
    "receipt_price_cut": request("POST", "/receipts", {"lines": [{"name": "Чай", "price": 1.005}]}),
    "correction": request("POST", "/corrections", {
        "type": "purchase", "cashier": "Иванова", "mode": "card", "amount": 120,
        "sums": [100, 20, 0, 0, 0, 0]}),
    "correction_no_amount": request("POST", "/corrections", {"type": "sale"}),
    "duplicate": request("POST", "/duplicate"),
    "shift_open": request("POST", "/shift/open", {"cashier": "Иванова"}),
    "shift_open_nameless_field": request("POST", "/shift/open", {"": "☃"}),
    "shift_open_inn": request("POST", "/shift/open", {"cashier": {"name": "Иванова", "inn": "12345"}}),
    "shift_open_snowman": request("POST", "/shift/open", {"cashier": "☃"}),
    "x_report": request("POST", "/x-report"),
    "x_report_field": request("POST", "/x-report", {"now": 1}),
    "z_report": request("POST", "/z-report", {}),
    "cash_in": request("POST", "/cash-in", {"amount": 100}),
    "cash_out_negative": request("POST", "/cash-out", {"amount": -5}),
    "text": request("POST", "/text", {"lines": ["Проверка связи", "line 2"]}),
    "text_number": request("POST", "/text", {"lines": ["ok", 5]}),
    "drawer": request("POST", "/drawer"),
    "clock": request("PUT", "/clock", {"datetime": "01.02.2030 10:20:30"}),
    "clock_bad": request("PUT", "/clock", {"datetime": "2026-01-01 10:00"}),
    "article_put": request("PUT", "/articles/7", {"name": "Сыр", "price": 350, "tax": 2, "department": 3,
                                                  "group": 1, "quantity": 10, "barcode": "4600000000001"}),
    "article_put_no_price": request("PUT", "/articles/7", {"name": "Сыр"}),
    "article_delete_zero": request("DELETE", "/articles/0"),
    "operation": request("POST", "/operations/ParishOrConsumption", {"Type": "0", "Amount": 50}),
    "operation_unknown": request("POST", "/operations/NoSuchThing", {}),
    "operation_output": request("POST", "/operations/CloseFiscalInv", {"nFD": 1}),
    "no_key": request("POST", "/drawer", key=None),
    "not_json": request("POST", "/text", raw="{"),
    "wrong_method": request("GET", "/receipts", {}),
}

here = os.path.dirname(os.path.abspath(__file__))
for folder, seeds in (("corpus", SEEDS), ("scanner_corpus", SCANNER_SEEDS),
                      ("request_corpus", REQUEST_SEEDS)):
    os.makedirs(os.path.join(here, folder), exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(here, folder, name), "wb") as f:
            f.write(data)
