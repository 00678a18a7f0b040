#!/usr/bin/env python3
"""Answers DNS questions on 127.0.0.1, UDP port 53, from a table of names: dns_server.py NAMES

Prints "ready" when it listens. The table explains itself in its first lines.
"""
import collections
import ipaddress
import socket
import struct
import sys
import threading

TYPES = {"A": 1, "CNAME": 5, "PTR": 12, "AAAA": 28}
NO_ERROR, SERVER_FAILURE, NO_SUCH_NAME = 0, 2, 3
FIXED_HEADER = 12

Row = collections.namedtuple("Row", "kind data delay")


def read_names(path):
    rows = collections.defaultdict(list)
    with open(path, encoding="ascii") as file:
        for line in file:
            words = line.partition("#")[0].split()
            if not words:
                continue
            _, name, kind, *rest = words
            data = rest.pop(0) if kind in TYPES else ""
            delay = int(rest[1]) / 1000 if rest[:1] == ["after"] else 0
            if kind == "PTR":
                name = ipaddress.ip_address(name).reverse_pointer
            rows[name.lower()].append(Row(kind, data, delay))
    return rows


def encode_name(name):
    labels = name.rstrip(".").split(".")
    return b"".join(bytes([len(label)]) + label.encode("ascii") for label in labels) + b"\0"


def encode_data(row):
    if row.kind in ("A", "AAAA"):
        return ipaddress.ip_address(row.data).packed
    return encode_name(row.data)


def read_question(packet):
    """The name, the type, and where the question ends."""
    labels, at = [], FIXED_HEADER
    while packet[at]:
        labels.append(packet[at + 1 : at + 1 + packet[at]].decode("ascii"))
        at += 1 + packet[at]
    (kind,) = struct.unpack_from(">H", packet, at + 1)
    return ".".join(labels), kind, at + 5


def answer(rows, name, kind):
    """The records for a question, the response code, and the delay; None: no answer at all."""
    records, delay, code = [], 0, NO_ERROR
    while True:
        found = rows.get(name.lower())
        if not found:
            return records, NO_ERROR if records else NO_SUCH_NAME, delay
        delay = max([delay] + [row.delay for row in found])
        if found[0].kind == "SILENT":
            return None
        if found[0].kind == "SERVFAIL":
            return [], SERVER_FAILURE, delay
        matching = [row for row in found if TYPES[row.kind] == kind]
        alias = next((row for row in found if row.kind == "CNAME"), None)
        if matching or not alias:
            return records + [(name, row) for row in matching], code, delay
        records.append((name, alias))
        name = alias.data


def reply(rows, packet):
    """The packet to send and its delay; None where there is none."""
    name, kind, end = read_question(packet)
    found = answer(rows, name, kind)
    if found is None:
        return None
    records, code, delay = found
    (flags,) = struct.unpack_from(">H", packet, 2)
    # A response with authority and recursion; what the question asked for of these is kept.
    flags = 0x8480 | (flags & 0x7900) | code
    out = packet[:2] + struct.pack(">HHHHH", flags, 1, len(records), 0, 0)
    out += packet[FIXED_HEADER:end]
    for owner, row in records:
        data = encode_data(row)
        out += encode_name(owner) + struct.pack(">HHIH", TYPES[row.kind], 1, 1, len(data)) + data
    return out, delay


def main():
    rows = read_names(sys.argv[1])
    server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.bind(("127.0.0.1", 53))
    print("ready", flush=True)
    while True:
        packet, client = server.recvfrom(4096)
        sent = reply(rows, packet)
        if sent:
            timer = threading.Timer(sent[1], server.sendto, (sent[0], client))
            timer.daemon = True
            timer.start()


main()
