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


def ended_as_told(code):
    """The end of a process whose messages have all gone out."""
    context.destroy()
    ended(code)


behaviour = os.path.basename(sys.argv[2].replace("\\", "/")).removesuffix(".exe")
if behaviour == "ends_before_asking":
    ended(1)
if behaviour == "cannot_be_started":
    os.write(1, b"failed CreateProcess failed with system error 193\n")
    os._exit(2)
if behaviour == "launcher_dies":
    os._exit(2)
if behaviour == "never_asks":
    time.sleep(600)

context = zmq.Context()
socket = context.socket(zmq.REQ)
socket.connect(sys.argv[3])
if behaviour == "asks_wrongly":
    socket.send(b"SCAN_SOMETHING")
    time.sleep(600)
if behaviour == "asks_with_body":
    socket.send_multipart([b"SCAN_WORKREQUEST", b"x"])
    time.sleep(600)
socket.send(b"SCAN_WORKREQUEST")
if behaviour == "asks_and_ends":
    ended_as_told(1)
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
if behaviour == "exits_2_a_second_later":
    time.sleep(1)
    ended(2)
if behaviour == "asks_while_it_holds":
    # Past its REQ socket, which does not let it.
    context.destroy(0)
    context = zmq.Context()
    socket = context.socket(zmq.REQ)
    socket.connect(sys.argv[3])
    socket.send(b"SCAN_WORKREQUEST")
    time.sleep(600)

report = msgpack.packb([2, "%s|%s|%s" % (vendor, product, ",".join(k for (k,) in known)), [identifier]])
if behaviour == "reports_unreadable_identifier":
    report = msgpack.packb([2, "Name", ["VST: 'A,B1',C:\\plugins\\a.dll"]])
if behaviour == "reports_two_elements":
    report = msgpack.packb([2, "Name"])
if behaviour == "reports_nothing":
    report = b""
if behaviour == "reports_garbage":
    report = b"\xc1garbage"
if behaviour == "reports_too_much":
    report = msgpack.packb([2, "n" * 5_000_000, [identifier]])
if behaviour == "reports_much":
    report = msgpack.packb([2, "n" * 3_000_000, [identifier]])
if behaviour == "reports_one_frame":
    socket.send(b"SCAN_WORKCOMPLETE")
else:
    socket.send_multipart([b"SCAN_WORKCOMPLETE", report])
if behaviour == "reports_and_ends_at_once":
    time.sleep(0.05)
    ended(0)
if behaviour == "reports_too_much" and not socket.poll(1000):
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
