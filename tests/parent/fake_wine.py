#!/usr/bin/python3
"""Stands where Wine stands in a parent's command line: LAUNCHER SCANNER ENDPOINT.

Plays a scanner process of the behaviour that the scanner's file name tells, and the launcher's last word. A peer of
another language: it knows the protocol from its frames alone.
"""
import os
import sys
import time

import msgpack
import zmq


def ended(code):
    os.write(1, b"ended %d" % code)
    os._exit(0)


behaviour = os.path.basename(sys.argv[2].replace("\\", "/")).removesuffix(".exe")
if behaviour == "ends_before_asking":
    ended(1)
if behaviour == "launcher_dies":
    os._exit(2)
if behaviour == "never_asks":
    time.sleep(600)

socket = zmq.Context().socket(zmq.REQ)
socket.connect(sys.argv[3])
if behaviour == "asks_wrongly":
    socket.send(b"SCAN_SOMETHING")
    time.sleep(600)
if behaviour == "asks_with_body":
    socket.send_multipart([b"SCAN_WORKREQUEST", b"x"])
    time.sleep(600)
socket.send(b"SCAN_WORKREQUEST")
name, body = socket.recv_multipart()
assert name == b"SCAN_WORKREPLY"
(identifier,), known, vendor, product = msgpack.unpackb(body)

codes = {"crashes": 0xC0000005, "aborts": 3, "exits_0": 0, "exits_7": 7, "exits_2_at_once": 2}
if behaviour in codes:
    ended(codes[behaviour])
if behaviour == "dies_with_launcher":
    os._exit(9)
if behaviour == "hangs":
    time.sleep(600)

report = msgpack.packb([2, "%s|%s|%s" % (vendor, product, ",".join(k for (k,) in known)), [identifier]])
if behaviour == "reports_nothing":
    report = b""
if behaviour == "reports_garbage":
    report = b"\xc1garbage"
if behaviour == "reports_one_frame":
    socket.send(b"SCAN_WORKCOMPLETE")
else:
    socket.send_multipart([b"SCAN_WORKCOMPLETE", report])
if behaviour == "reports_and_ends_at_once":
    time.sleep(0.05)
    ended(0)
if behaviour == "reports_and_hangs":
    time.sleep(600)
assert socket.recv() == b"SCAN_WORKRECORDED"
if behaviour == "reports_and_crashes":
    ended(0xC0000005)
if behaviour == "asks_again":
    socket.send(b"SCAN_WORKREQUEST")
    time.sleep(600)
ended(0)
