"""The scanner's exchange as its parent sees it: command line, time-outs, wire format, tolerance, malformed replies,
and peers that are malformed below the replies.

Run by run.py, which runs the tests of a class side by side. None of these needs a plug-in.
"""

import os
import random
import re
import socket
import struct
import time
import unittest

import msgpack
import zmq

import peer
import raw_peer
from peer import Parent, start


class Outcome:
    """What became of a scanner that was sent one reply: its report or None, its exit code, and how long it lived on
    after the reply."""

    def __init__(self, report, exit_code, seconds):
        self.report = report
        self.exit_code = exit_code
        self.seconds = seconds


def exchange(*reply):
    """Hands these frames to a new scanner, acknowledges the report if one comes, and waits for the end."""
    with Parent() as parent, start(parent.endpoint) as scanner:
        parent.receive_request()
        replied = time.monotonic()
        parent.send(*reply)
        report = None
        ended = False
        while report is None and not ended:
            # The end is looked at first: a report sent before it is then still found.
            ended = not scanner.running()
            try:
                report = parent.receive_report(0.05)
            except peer.NoAnswer:
                if time.monotonic() - replied > peer.WATCHDOG + peer.SLACK:
                    raise
        if report is not None:
            parent.acknowledge()
        code = scanner.wait()
        return Outcome(report, code, time.monotonic() - replied)


def exchange_body(body):
    return exchange(peer.WORK_REPLY, body)


def result_without_plugin(identifier):
    """What is reported of a plug-in that is not there. A VST file that cannot be read shows no processor that it is
    built for; without a path there is no file to ask, and no other format is examined."""
    return peer.WRONG_ARCHITECTURE if re.match(r"VST: [^,]*,.", identifier) else peer.UNCONFIRMED


class Case(unittest.TestCase):
    """Assertions of this file."""

    def assert_reports(self, body, result, identifier):
        """A report with no name, byte for byte. identifier: text, or bytes that are no UTF-8."""
        outcome = exchange_body(body)
        self.assertIsNotNone(outcome.report, "no report came")
        text = identifier if isinstance(identifier, str) else identifier.decode("utf-8", "surrogateescape")
        expected = msgpack.packb([result, "", [text]], unicode_errors="surrogateescape")
        self.assertEqual(outcome.report.frames, [peer.WORK_COMPLETE, expected])
        self.assertEqual(outcome.exit_code, 0)

    def assert_gives_up(self, *reply):
        outcome = exchange(*reply)
        self.assertIsNone(outcome.report)
        self.assertEqual(outcome.exit_code, 0)
        # Not even one more wait for the parent: only the watchdog's second.
        self.assertLess(outcome.seconds, peer.REPLY_TIMEOUT)


# --- Command line


class CommandLine(Case):
    # A wrong number of arguments ends with 1, or with the watchdog's 2 a minute later if that had begun by then.

    def wrong_count(self, *arguments):
        with start(*arguments) as scanner:
            code = scanner.wait(peer.WATCHDOG + peer.SLACK)
            self.assertIn(code, (1, 2))
            if code == 2:
                self.assertGreater(scanner.seconds, peer.WATCHDOG - 2)
            else:
                self.assertLess(scanner.seconds, peer.SLACK)

    def test_No_argument_is_refused(self):
        self.wrong_count()

    def test_Two_arguments_are_refused_and_nothing_connects(self):
        with socket.socket() as listener:
            listener.bind(("127.0.0.1", 0))
            listener.listen()
            listener.settimeout(0)
            endpoint = f"tcp://127.0.0.1:{listener.getsockname()[1]}"
            self.wrong_count(endpoint, endpoint)
            with self.assertRaises(BlockingIOError):
                listener.accept()

    def test_Options_do_not_exist(self):
        with Parent() as parent:
            self.wrong_count("--endpoint", parent.endpoint)
            self.assertTrue(parent.silent(0))

    def unusable(self, endpoint):
        with start(endpoint) as scanner:
            self.assertEqual(scanner.wait(peer.SLACK), 0)

    def test_An_endpoint_without_a_transport_ends_with_0(self):
        self.unusable("nonsense")

    def test_An_endpoint_of_an_unknown_transport_ends_with_0(self):
        self.unusable("foo://127.0.0.1:1")

    def test_An_empty_endpoint_ends_with_0(self):
        self.unusable("")

    def test_An_endpoint_without_a_port_ends_with_0(self):
        self.unusable("tcp://127.0.0.1")

    def test_An_endpoint_with_a_port_that_is_no_number_ends_with_0(self):
        self.unusable("tcp://127.0.0.1:port")

    def test_An_endpoint_with_letters_of_any_script_ends_with_0(self):
        self.unusable("tcp://\u97f3\u697d:1\u00e4")

    def test_The_endpoint_is_used_as_it_stands(self):
        with Parent() as parent, start(parent.endpoint.replace("127.0.0.1", "localhost")) as scanner:
            self.assertEqual(parent.receive_request(), [peer.WORK_REQUEST])
            parent.send_work_item("None")
            parent.receive_report()
            parent.acknowledge()
            self.assertEqual(scanner.wait(), 0)


# --- Status of the static set-up


class StartupStatus(Case):
    # Of a second scanner, which takes its status from its environment: nothing sets it in the delivered one.

    def run_with(self, status, endpoint):
        path = os.environ.get(
            "TARVIK_SCANNER_WITH_STARTUP_STATUS", peer.ROOT / "build/windows/bin/scanner_with_startup_status.exe"
        )
        return peer.Process([*peer.wine_command(), str(path), endpoint], TARVIK_TEST_STARTUP_STATUS=str(status))

    def ends(self, status, code):
        with Parent() as parent, self.run_with(status, parent.endpoint) as scanner:
            self.assertEqual(scanner.wait(peer.SLACK), code)
            self.assertTrue(parent.silent(0.2))

    def goes_on(self, status):
        with Parent() as parent, self.run_with(status, parent.endpoint) as scanner:
            self.assertEqual(parent.receive_request(), [peer.WORK_REQUEST])
            parent.send_work_item("None")
            parent.receive_report()
            parent.acknowledge()
            self.assertEqual(scanner.wait(), 0)

    def test_Status_0_goes_on(self):
        self.goes_on(0)

    def test_Status_20_goes_on(self):
        self.goes_on(20)

    def test_Any_other_status_ends_the_process_with_that_code_before_it_has_begun(self):
        # Of the exit code this side sees the lowest eight bits.
        for status, code in ((1, 1), (5, 5), (19, 19), (21, 21), (-1, 255)):
            with self.subTest(status):
                self.ends(status, code)


# --- Time-outs


class TimeOuts(Case):
    def test_A_parent_that_never_answers_ends_the_scanner_after_ten_seconds(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            asked = time.monotonic()
            self.assertEqual(scanner.wait(), 0)
            self.assertGreater(time.monotonic() - asked, peer.REPLY_TIMEOUT - 1)
            self.assertLess(time.monotonic() - asked, peer.REPLY_TIMEOUT + peer.SLACK)
            self.assertTrue(parent.silent(0))

    def test_A_reply_within_ten_seconds_is_taken(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            time.sleep(7)
            parent.send_work_item("None")
            self.assertEqual(parent.receive_report().result, peer.UNCONFIRMED)
            parent.acknowledge()
            self.assertEqual(scanner.wait(), 0)

    def test_A_parent_that_never_acknowledges_is_waited_for_ten_seconds(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item("None")
            parent.receive_report()
            reported = time.monotonic()
            self.assertEqual(scanner.wait(), 0)
            self.assertGreater(time.monotonic() - reported, peer.REPLY_TIMEOUT - 1)
            self.assertLess(time.monotonic() - reported, peer.REPLY_TIMEOUT + peer.SLACK)

    def test_A_late_acknowledgement_ends_the_wait(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item("None")
            parent.receive_report()
            time.sleep(4)
            self.assertTrue(scanner.running())
            parent.acknowledge()
            acknowledged = time.monotonic()
            self.assertEqual(scanner.wait(), 0)
            self.assertLess(time.monotonic() - acknowledged, 5)

    def test_An_acknowledgement_later_than_ten_seconds_changes_nothing(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item("None")
            parent.receive_report()
            self.assertEqual(scanner.wait(), 0)
            parent.acknowledge()
            self.assertTrue(parent.silent(0.2))

    def test_A_normal_exchange_ends_within_the_watchdogs_second(self):
        outcome = exchange_body(b"\x90")
        self.assertEqual(outcome.exit_code, 0)
        self.assertLess(outcome.seconds, 5)

    def test_A_parent_that_goes_after_the_request_is_given_ten_seconds(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.close()
            self.assertEqual(scanner.wait(), 0)
            self.assertGreater(scanner.seconds, peer.REPLY_TIMEOUT - 1)
            self.assertLess(scanner.seconds, peer.REPLY_TIMEOUT + peer.SLACK)

    def test_Nobody_listening_ends_with_the_watchdogs_code(self):
        # The request can never be delivered, and the end of the context waits for that.
        with socket.socket() as placeholder:
            # Bound and not listening: nobody else gets this port, and it refuses connections.
            placeholder.bind(("127.0.0.1", 0))
            with start(f"tcp://127.0.0.1:{placeholder.getsockname()[1]}") as scanner:
                self.assertEqual(scanner.wait(peer.WATCHDOG + peer.SLACK), 2)
                self.assertGreater(scanner.seconds, peer.WATCHDOG - 2)

    def test_A_listener_that_does_not_speak_the_protocol_ends_with_the_watchdogs_code(self):
        with socket.socket() as listener:
            listener.bind(("127.0.0.1", 0))
            listener.listen()
            with start(f"tcp://127.0.0.1:{listener.getsockname()[1]}") as scanner:
                self.assertEqual(scanner.wait(peer.WATCHDOG + peer.SLACK), 2)
                self.assertGreater(scanner.seconds, peer.WATCHDOG - 2)


# --- What goes over the wire


class Wire(Case):
    def test_The_request_is_its_name_alone_on_a_REQ_socket_without_identity(self):
        with Parent(zmq.ROUTER) as parent, start(parent.endpoint) as scanner:
            self.assertTrue(parent.socket.poll(peer.SLACK * 1000))
            frames = parent.socket.recv_multipart(copy=False)
            self.assertEqual([frame.bytes for frame in frames[1:]], [b"", b"SCAN_WORKREQUEST"])
            self.assertEqual(frames[2].get("Socket-Type"), "REQ")
            # Routing identities that begin with zero are made by the receiver, for want of one.
            self.assertEqual(frames[0].bytes[:1], b"\0")
            parent.send(frames[0].bytes, b"", peer.WORK_REPLY, b"\x90")
            report = parent.receive(peer.SLACK)
            self.assertEqual(report[1:], [b"", b"SCAN_WORKCOMPLETE", b"\x93\x04\xa0\x91\xa4None"])
            parent.send(frames[0].bytes, b"", peer.WORK_RECORDED)
            self.assertEqual(scanner.wait(), 0)
            self.assertTrue(parent.silent(0))

    def test_The_report_is_a_name_frame_and_a_body_frame(self):
        outcome = exchange_body(b"\x90")
        self.assertEqual(outcome.report.frames, [b"SCAN_WORKCOMPLETE", b"\x93\x04\xa0\x91\xa4None"])

    def test_Headers_of_texts_are_the_shortest(self):
        # "TDSP: 0,C:\" and a name: 11 bytes and the name's.
        for length in (20, 21, 244, 245, 65524, 65525):
            with self.subTest(length):
                text = "TDSP: 0,C:\\" + "n" * length
                self.assert_reports(peer.work_item(text), peer.UNCONFIRMED, text)

    def test_Only_one_request_is_made_and_only_one_report(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item("None")
            parent.receive_report()
            parent.send_work_item("None")
            self.assertEqual(scanner.wait(), 0)
            self.assertTrue(parent.silent(0.2))

    def test_Whatever_is_sent_as_acknowledgement_is_not_read(self):
        for acknowledgement in ([b""], [b"nonsense"], [b"a", b"b", b"c"], [b"x" * 1_000_000]):
            with self.subTest(len(acknowledgement)), Parent() as parent, start(parent.endpoint) as scanner:
                parent.receive_request()
                parent.send_work_item("None")
                parent.receive_report()
                parent.send(*acknowledgement)
                sent = time.monotonic()
                self.assertEqual(scanner.wait(), 0)
                # It ended the wait all the same.
                self.assertLess(time.monotonic() - sent, 5)


# --- Identifiers


class Identifiers(Case):
    """The text sent, the text reported."""

    def unconfirmed(self, sent, reported=None):
        reported = sent if reported is None else reported
        self.assert_reports(peer.work_item(sent), result_without_plugin(reported), reported)

    def test_None_is_unconfirmed(self):
        self.unconfirmed("None")

    def test_None_reads_in_any_case_and_trimmed(self):
        self.unconfirmed(" \tnOnE\r\n", "None")

    def test_An_audio_unit_is_unconfirmed(self):
        self.unconfirmed("AU: 'aufx','abcd','Tarv'")

    def test_Audio_unit_fields_are_trimmed(self):
        self.unconfirmed("au:'aufx' , 0x00636261 ,\t0x64636261", "AU: 'aufx',0x00636261,'abcd'")

    def test_A_code_prints_in_hexadecimal_for_a_control_character_in_either_block(self):
        self.unconfirmed("AU: 0x6162631F,0x6162637f,0x9F626364", "AU: 0x6162631F,0x6162637F,0x9F626364")

    def test_A_code_prints_as_characters_up_to_the_last_byte(self):
        body = msgpack.packb([[b"AU: 0x20207E7E,0xA0FFA1FE,'abcd'"]])
        self.assert_reports(body, peer.UNCONFIRMED, b"AU: '~~  ','\xfe\xa1\xff\xa0','abcd'")

    def test_An_audio_unit_of_two_codes_does_not_parse(self):
        self.unconfirmed("AU: 'aufx','abcd'", "None")

    def test_An_audio_unit_of_four_codes_does_not_parse(self):
        self.unconfirmed("AU: 'aufx','abcd','abcd','abcd'", "None")

    def test_A_code_of_five_characters_does_not_parse(self):
        self.unconfirmed("AU: 'aufx','abcde','abcd'", "None")

    def test_A_DirectX_identifier_is_written_in_upper_case(self):
        self.unconfirmed(
            "dx: 00112233-4455-6677-8899-aabbccddeeff", "DX: 00112233-4455-6677-8899-AABBCCDDEEFF"
        )

    def test_A_malformed_DirectX_identifier_reads_as_zeros(self):
        self.unconfirmed("DX: 00112233-4455-6677-8899-AABBCCDDEEF", "DX: 00000000-0000-0000-0000-000000000000")

    def test_A_DirectX_identifier_with_a_wrong_digit_reads_as_zeros(self):
        self.unconfirmed("DX: 00112233-4455-6677-8899-AABBCCDDEEFG", "DX: 00000000-0000-0000-0000-000000000000")

    def test_The_dashes_of_a_DirectX_identifier_are_not_looked_at(self):
        self.unconfirmed("DX: 00112233x4455x6677x8899xAABBCCDDEEFF", "DX: 00112233-4455-6677-8899-AABBCCDDEEFF")

    def test_A_TestableDSP_identifier_is_unconfirmed(self):
        self.unconfirmed("TDSP: 3,C:\\nothing\\here.dll")

    def test_A_TestableDSP_path_is_written_in_native_form(self):
        self.unconfirmed("TDSP: 3,C:/nothing//x/../here.dll/", "TDSP: 3,C:\\nothing\\here.dll")

    def test_A_TestableDSP_identifier_without_index_does_not_parse(self):
        self.unconfirmed("TDSP: ,C:\\here.dll", "None")

    def test_A_TestableDSP_identifier_without_path_does_not_parse(self):
        self.unconfirmed("TDSP: 1,", "None")

    def test_A_missing_VST_library_is_for_no_processor_and_keeps_its_identifier(self):
        self.unconfirmed("VST: 'abcd',C:\\nothing\\here.dll")

    def test_A_VST_code_with_a_zero_byte_is_written_in_hexadecimal(self):
        self.unconfirmed("VST: 0x00636261,C:\\nothing\\here.dll")

    def test_A_VST_code_that_prints_is_written_as_characters(self):
        self.unconfirmed("VST: 0x64636261,C:\\nothing\\here.dll", "VST: 'abcd',C:\\nothing\\here.dll")

    def test_A_VST_path_is_written_in_native_form(self):
        self.unconfirmed("VST: 'abcd',\\\\?\\C:/nothing/./here.dll", "VST: 'abcd',C:\\nothing\\here.dll")

    def test_A_VST_path_on_a_share_keeps_its_two_separators(self):
        self.unconfirmed("VST: 'abcd',//server//share/here.dll", "VST: 'abcd',\\\\server\\share\\here.dll")

    def test_A_VST_path_with_a_comma_does_not_parse(self):
        self.unconfirmed("VST: 'abcd',C:\\Plugins\\A,B.dll", "None")

    def test_A_VST_path_of_another_script_comes_back(self):
        self.unconfirmed("VST: 'abcd',C:\\\u97f3\u697d\\\u00e4\u00f6.dll")

    def test_An_empty_VST_path_is_unconfirmed(self):
        self.unconfirmed("VST: 'abcd',")

    def test_A_VST_field_that_is_not_trimmed_does_not_parse(self):
        self.unconfirmed("VST: 'abcd' ,C:\\here.dll", "None")

    def test_An_unknown_prefix_does_not_parse(self):
        self.unconfirmed("LV2: 'abcd',C:\\here.dll", "None")

    def test_A_text_without_a_colon_does_not_parse(self):
        self.unconfirmed("VST", "None")

    def test_An_empty_text_does_not_parse(self):
        self.unconfirmed("", "None")


class Known(Case):
    def known(self, identifier, *known):
        self.assert_reports(peer.work_item(identifier, known), peer.KNOWN, identifier)

    def unknown(self, identifier, *known):
        self.assert_reports(peer.work_item(identifier, known), result_without_plugin(identifier), identifier)

    def test_A_listed_audio_unit_is_known(self):
        self.known("AU: 'aufx','abcd','Tarv'", "AU: 'aufx','abce','Tarv'", "AU: 'aufx','abcd','Tarv'")

    def test_An_audio_unit_that_differs_in_one_code_is_not(self):
        self.unknown(
            "AU: 'aufx','abcd','Tarv'",
            "AU: 'aufy','abcd','Tarv'",
            "AU: 'aufx','abce','Tarv'",
            "AU: 'aufx','abcd','Tarw'",
        )

    def test_A_listed_DirectX_identifier_is_known(self):
        self.known("DX: 00112233-4455-6677-8899-AABBCCDDEEFF", "DX: 00112233-4455-6677-8899-aabbccddeeff")

    def test_A_DirectX_identifier_of_zeros_is_never_known(self):
        zeros = "DX: 00000000-0000-0000-0000-000000000000"
        self.unknown(zeros, zeros)

    def test_A_listed_missing_VST_library_is_known(self):
        self.known("VST: 'abcd',C:\\nothing\\here.dll", "VST: 'abcd',C:/nothing/here.dll")

    def test_An_unknown_unique_identifier_in_the_request_matches_any_of_the_file(self):
        self.known("VST: 0x00000000,C:\\nothing\\here.dll", "VST: 'abcd',C:\\nothing\\here.dll")

    def test_An_unknown_unique_identifier_in_the_list_matches_any_of_the_file(self):
        self.known("VST: 'abcd',C:\\nothing\\here.dll", "VST: 0x00000000,C:\\nothing\\here.dll")

    def test_Another_unique_identifier_of_the_file_is_not_known(self):
        self.unknown("VST: 'abcd',C:\\nothing\\here.dll", "VST: 'abce',C:\\nothing\\here.dll")

    def test_VST_paths_are_compared_exactly(self):
        self.unknown("VST: 'abcd',C:\\nothing\\here.dll", "VST: 'abcd',C:\\nothing\\Here.dll")

    def test_A_VST_identifier_without_a_path_is_never_known(self):
        self.unknown("VST: 'abcd',", "VST: 'abcd',")

    def test_A_listed_TestableDSP_library_is_known_in_any_case(self):
        self.known("TDSP: 1,C:\\nothing\\here.dll", "TDSP: 1,c:/NOTHING/Here.dll")

    def test_Another_index_of_a_TestableDSP_library_is_not_known(self):
        self.unknown("TDSP: 1,C:\\nothing\\here.dll", "TDSP: 2,C:\\nothing\\here.dll")

    def test_None_is_never_known(self):
        self.unknown("None", "None")

    def test_An_audio_unit_with_a_zero_code_is_never_known(self):
        self.unknown("AU: 0x00000000,'abcd','Tarv'", "AU: 0x00000000,'abcd','Tarv'")

    def test_A_long_list_is_searched_to_its_end(self):
        known = [f"VST: 0x{number:08X},C:\\nothing\\{number}.dll" for number in range(1, 5000)]
        self.known("VST: 0x00001387,C:\\nothing\\4999.dll", *known)


# --- Tolerance

AU = "AU: 'aufx','abcd','Tarv'"


class Tolerance(Case):
    def test_An_empty_array_is_an_item_of_format_None(self):
        self.assert_reports(b"\x90", peer.UNCONFIRMED, "None")

    def test_An_identifier_alone_is_an_item(self):
        self.assert_reports(msgpack.packb([[AU]]), peer.UNCONFIRMED, AU)

    def test_An_identifier_with_known_ones_is_an_item(self):
        self.assert_reports(msgpack.packb([[AU], [[AU]]]), peer.KNOWN, AU)

    def test_A_missing_product_is_none(self):
        self.assert_reports(msgpack.packb([[AU], [[AU]], "Vendor"]), peer.KNOWN, AU)

    def test_Further_elements_are_ignored(self):
        extra = [1, -1, 2.5, None, True, "x", b"y", {"a": [{}]}, [[[]]], msgpack.ExtType(5, b"z")]
        self.assert_reports(msgpack.packb([[AU], [], "V", "P", *extra]), peer.UNCONFIRMED, AU)

    def test_Bytes_behind_the_item_are_ignored(self):
        self.assert_reports(msgpack.packb([[AU]]) + b"\xc1 and so on", peer.UNCONFIRMED, AU)

    def test_Texts_may_be_bin(self):
        raw = AU.encode()
        self.assert_reports(msgpack.packb([[raw], [[raw]], b"V", b"P"]), peer.KNOWN, AU)

    def test_Texts_may_have_wider_headers_than_they_need(self):
        raw = AU.encode()
        for header in (b"\xd9%c" % len(raw), struct.pack(">BH", 0xDA, len(raw)), struct.pack(">BI", 0xDB, len(raw)),
                       b"\xc4%c" % len(raw), struct.pack(">BH", 0xC5, len(raw)), struct.pack(">BI", 0xC6, len(raw))):
            with self.subTest(header):
                self.assert_reports(b"\x91\x91" + header + raw, peer.UNCONFIRMED, AU)

    def test_Arrays_may_have_wider_headers_than_they_need(self):
        text = msgpack.packb(AU)
        for one in (b"\xdc\0\1", b"\xdd\0\0\0\1"):
            with self.subTest(one):
                self.assert_reports(one + one + text, peer.UNCONFIRMED, AU)

    def test_Names_that_are_no_UTF_8_are_taken(self):
        self.assert_reports(msgpack.packb([[AU], [], b"\xff\xfe", b"\x80\0\x81"]), peer.UNCONFIRMED, AU)

    def test_A_known_identifier_that_does_not_parse_is_passed_over(self):
        self.assert_reports(msgpack.packb([[AU], [["nonsense"], [AU]], "V", "P"]), peer.KNOWN, AU)

    def test_A_large_item_is_taken(self):
        self.assert_reports(msgpack.packb([[AU], [], "V" * 5_000_000, "P" * 5_000_000]), peer.UNCONFIRMED, AU)


# --- Replies that are none


class MalformedMessages(Case):
    def test_The_name_alone(self):
        self.assert_gives_up(peer.WORK_REPLY)

    def test_A_body_alone(self):
        self.assert_gives_up(b"\x90")

    def test_One_empty_frame(self):
        self.assert_gives_up(b"")

    def test_Two_empty_frames(self):
        self.assert_gives_up(b"", b"")

    def test_Three_frames(self):
        self.assert_gives_up(peer.WORK_REPLY, b"\x90", b"")

    def test_A_hundred_frames(self):
        self.assert_gives_up(peer.WORK_REPLY, *[b"\x90"] * 99)

    def test_Another_name(self):
        for name in (b"SCAN_WORKREQUEST", b"SCAN_WORKRECORDED", b"scan_workreply", b"X", b"\xff" * 14):
            with self.subTest(name):
                self.assert_gives_up(name, b"\x90")

    def test_A_name_cut_short(self):
        self.assert_gives_up(peer.WORK_REPLY[:-1], b"\x90")

    def test_A_name_with_a_terminating_zero(self):
        self.assert_gives_up(peer.WORK_REPLY + b"\0", b"\x90")

    def test_A_name_with_more_behind_it(self):
        self.assert_gives_up(peer.WORK_REPLY + b" ", b"\x90")

    def test_Ten_megabytes_of_name(self):
        self.assert_gives_up(b"S" * 10_000_000, b"\x90")

    def test_The_name_second(self):
        self.assert_gives_up(b"\x90", peer.WORK_REPLY)


class MalformedBodies(Case):
    def gives_up(self, body):
        self.assert_gives_up(peer.WORK_REPLY, body)

    def packed(self, value):
        self.gives_up(msgpack.packb(value))

    def test_An_empty_body(self):
        self.gives_up(b"")

    def test_The_byte_that_msgpack_never_uses(self):
        self.gives_up(b"\xc1")

    def test_That_byte_inside(self):
        self.gives_up(b"\x95\x91\xa0\x90\xa0\xa0\xc1")

    def test_A_root_that_is_a_map(self):
        self.packed({"identifier": "None"})

    def test_A_root_that_is_nil(self):
        self.packed(None)

    def test_A_root_that_is_a_number(self):
        self.packed(4)

    def test_A_root_that_is_a_text(self):
        self.packed("None")

    def test_A_root_that_is_bin(self):
        self.packed(b"None")

    def test_A_root_that_is_an_extension(self):
        self.packed(msgpack.ExtType(1, b"None"))

    def test_An_identifier_that_is_a_bare_text(self):
        self.packed([AU])

    def test_An_identifier_of_no_text(self):
        self.packed([[]])

    def test_An_identifier_of_two_texts(self):
        self.packed([[AU, AU]])

    def test_An_identifier_of_a_number(self):
        self.packed([[1]])

    def test_An_identifier_of_nil(self):
        self.packed([[None]])

    def test_An_identifier_in_a_map(self):
        self.packed([{AU: AU}])

    def test_Known_ones_that_are_nil(self):
        self.packed([[AU], None, "V", "P"])

    def test_Known_ones_that_are_a_map(self):
        self.packed([[AU], {"a": "b"}, "V", "P"])

    def test_Known_ones_that_are_bare_texts(self):
        self.packed([[AU], [AU], "V", "P"])

    def test_One_known_that_is_wrong_among_many(self):
        self.packed([[AU], [[AU]] * 100 + [[AU, AU]], "V", "P"])

    def test_A_vendor_that_is_a_number(self):
        self.packed([[AU], [], 1, "P"])

    def test_A_vendor_that_is_nil(self):
        self.packed([[AU], [], None, "P"])

    def test_A_product_that_is_an_array(self):
        self.packed([[AU], [], "V", ["P"]])

    def test_A_product_that_is_an_extension(self):
        self.packed([[AU], [], "V", msgpack.ExtType(1, b"P")])

    def test_An_array_header_beyond_all_memory(self):
        self.gives_up(b"\xdd\xff\xff\xff\xff")

    def test_A_map_header_beyond_all_memory(self):
        self.gives_up(b"\xdf\xff\xff\xff\xff")

    def test_A_text_header_beyond_all_memory(self):
        self.gives_up(b"\x91\x91\xdb\xff\xff\xff\xff")

    def test_A_bin_header_beyond_all_memory(self):
        self.gives_up(b"\x91\x91\xc6\xff\xff\xff\xff")

    def test_An_extension_header_beyond_all_memory(self):
        self.gives_up(b"\x91\xc9\xff\xff\xff\xff\x00")

    def test_A_million_headers_that_each_announce_a_million(self):
        self.gives_up(b"\xdd\x00\x0f\x42\x40" * 1_000_000)

    def test_Headers_of_half_the_body_each(self):
        self.gives_up(b"\xdc\xff\xff" * 40_000)

    def test_A_depth_bomb_of_arrays(self):
        self.gives_up(b"\x91" * 10_000_000)

    def test_A_depth_bomb_of_arrays_that_ends_well(self):
        self.gives_up(b"\x91" * 1_000_000 + b"\x90")

    def test_A_depth_bomb_of_maps(self):
        self.gives_up(b"\x81" * 10_000_000)

    def test_A_depth_bomb_in_the_known_ones(self):
        self.gives_up(b"\x92\x91\xa4None" + b"\x91" * 100_000 + b"\xa0")

    def test_Ten_megabytes_of_zeros(self):
        self.gives_up(bytes(10_000_000))

    def test_Ten_megabytes_of_noise_behind_an_array_header(self):
        self.gives_up(b"\x94" + random.Random(1).randbytes(10_000_000))

    def test_Text_that_is_no_msgpack(self):
        self.gives_up(b'{"identifier": "None"}')


class TruncatedBodies(Case):
    """Every prefix of an item, some at a time."""

    ITEM = peer.work_item(AU, [AU, "None"], "V", "P")

    def cut(self, lengths):
        for length in lengths:
            with self.subTest(length):
                self.assert_gives_up(peer.WORK_REPLY, self.ITEM[:length])


# Each test takes every sixteenth length, so that they run side by side.
for _first in range(16):
    setattr(
        TruncatedBodies,
        f"test_Cut_to_lengths_from_{_first:02}",
        lambda self, first=_first: self.cut(range(first, len(self.ITEM), 16)),
    )


class RandomBodies(Case):
    """Whatever bytes come: no crash, no life beyond the time-outs, and a report only as the report must be."""

    def check(self, body):
        outcome = exchange_body(body)
        self.assertEqual(outcome.exit_code, 0, body.hex())
        self.assertLess(outcome.seconds, peer.REPLY_TIMEOUT, body.hex())
        if outcome.report is not None:
            self.assertEqual(outcome.report.frames[0], peer.WORK_COMPLETE)
            result, name, (identifier,) = msgpack.unpackb(outcome.report.frames[1], raw=True)
            self.assertIn(result, (peer.UNCONFIRMED, peer.WRONG_ARCHITECTURE, peer.KNOWN))
            self.assertEqual(name, b"")
            self.assertRegex(identifier, rb"(?s)\A(None|VST: .*|AU: .*|DX: .*|TDSP: .*)\Z")


def _noise(seed):
    source = random.Random(seed)
    return source.randbytes(source.randrange(1, 200))


def _damaged(seed):
    source = random.Random(seed)
    body = bytearray(peer.work_item(AU, [AU, "DX: 00112233-4455-6677-8899-AABBCCDDEEFF"], "Vendor", "Product"))
    for _ in range(source.randrange(1, 4)):
        body[source.randrange(len(body))] = source.randrange(256)
    return bytes(body)


for _seed in range(24):
    setattr(RandomBodies, f"test_Noise_{_seed:02}", lambda self, seed=_seed: self.check(_noise(seed)))
    setattr(RandomBodies, f"test_Damaged_{_seed:02}", lambda self, seed=_seed: self.check(_damaged(seed)))


# --- Below the messages


class RawPeers(Case):
    """Peers that no messaging library would be. Whatever they say, the scanner ends as it does without a parent, and
    with a report only if it was given a work item."""

    # What a good peer would reply, and where the parts of it end.
    REPLY = raw_peer.message(b"", peer.WORK_REPLY, b"\x90")
    DELIMITER_END = 2
    NAME_END = DELIMITER_END + 2 + len(peer.WORK_REPLY)
    FRAME_OF_2_TO_THE_63 = struct.pack(">BQ", raw_peer.LONG, 1 << 63)

    def meet(self, speak):
        """The end of a scanner whose connections are spoken to like that: exit code, seconds since the first of them
        began, and the peer, for what it heard."""
        with raw_peer.RawPeer(speak) as listener, start(listener.endpoint) as scanner:
            listener.wait_for_connection(2 * peer.SLACK)
            code = scanner.wait(peer.WATCHDOG + peer.SLACK)
            ended = time.monotonic()
        self.assertEqual(listener.problems, [])
        return code, ended - listener.connections[0].began, listener

    def assert_no_report(self, speak):
        code, seconds, listener = self.meet(speak)
        self.assertEqual(listener.heard.count(peer.WORK_COMPLETE), 0)
        # However often it connects, it asks once.
        self.assertLessEqual(listener.heard.count(peer.WORK_REQUEST), 1)
        return code, seconds, listener

    def waits_ten_seconds(self, speak):
        code, seconds, listener = self.assert_no_report(speak)
        self.assertEqual(code, 0)
        self.assertGreater(seconds, peer.REPLY_TIMEOUT - 2)
        self.assertLess(seconds, peer.REPLY_TIMEOUT + peer.SLACK)
        return listener

    def waits_for_the_watchdog(self, speak):
        # As with nobody listening: the request cannot be delivered, and the end of the context waits for that.
        code, seconds, _ = self.assert_no_report(speak)
        self.assertEqual(code, 2)
        self.assertGreater(seconds, peer.WATCHDOG - 5)

    def greeted_with(self, content):
        self.waits_ten_seconds(lambda connection: connection.send(content))

    def answered_with(self, content, then=None):
        """The request is answered with this, and the scanner waits on as if nothing had come."""

        def speak(connection):
            connection.shake_hands()
            connection.send(content)
            return then

        return self.waits_ten_seconds(speak)

    # Greetings

    def test_A_text_for_a_greeting(self):
        self.greeted_with(b"HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n")

    def test_Zeros_for_a_greeting(self):
        self.greeted_with(bytes(64))

    def test_Ones_for_a_greeting(self):
        self.greeted_with(b"\xff" * 64)

    def test_Noise_for_a_greeting(self):
        self.greeted_with(random.Random(1).randbytes(4096))

    def test_A_greeting_of_another_mechanism(self):
        self.greeted_with(raw_peer.greeting(b"CURVE"))

    def test_A_greeting_of_an_unknown_mechanism(self):
        self.greeted_with(raw_peer.greeting(b"NONSENSE"))

    def test_A_greeting_of_an_older_version_with_what_that_version_did_not_have(self):
        self.greeted_with(raw_peer.greeting(version=(1, 0)))

    def test_A_greeting_of_a_later_version_is_answered_in_ours(self):
        def speak(connection):
            connection.send(raw_peer.greeting(version=(255, 255)) + raw_peer.ready())
            connection.hear_until(peer.WORK_REQUEST)
            connection.send(self.REPLY)
            connection.hear_until(peer.WORK_COMPLETE)
            connection.send(raw_peer.message(b"", peer.WORK_RECORDED))

        code, _, listener = self.meet(speak)
        self.assertEqual(code, 0)
        self.assertEqual(listener.heard.count(peer.WORK_COMPLETE), 1)

    def test_A_greeting_and_nothing_behind_it(self):
        self.waits_for_the_watchdog(lambda connection: connection.send(raw_peer.greeting()))

    def test_A_greeting_cut_short(self):
        self.waits_for_the_watchdog(lambda connection: connection.send(raw_peer.greeting()[:40]))

    def test_A_peer_that_cannot_answer_requests(self):
        self.greeted_with(raw_peer.greeting() + raw_peer.ready(b"PUB"))

    # Frames

    def test_A_frame_of_2_to_the_63_bytes(self):
        self.answered_with(self.FRAME_OF_2_TO_THE_63)

    def test_A_body_of_2_to_the_63_bytes(self):
        self.answered_with(self.REPLY[: self.NAME_END] + self.FRAME_OF_2_TO_THE_63)

    def test_A_frame_of_all_bytes_that_can_be_counted(self):
        self.answered_with(struct.pack(">BQ", raw_peer.LONG, (1 << 64) - 1))

    def test_A_frame_of_2_to_the_63_bytes_for_a_handshake(self):
        self.greeted_with(raw_peer.greeting() + self.FRAME_OF_2_TO_THE_63)

    def test_A_connection_cut_inside_the_name(self):
        self.answered_with(self.REPLY[: self.NAME_END - 3], then=raw_peer.CUT)

    def test_A_connection_cut_inside_the_header_of_the_body(self):
        self.answered_with(self.REPLY[: self.NAME_END + 1], then=raw_peer.CUT)

    def test_A_connection_cut_between_name_and_body(self):
        listener = self.answered_with(self.REPLY[: self.NAME_END], then=raw_peer.CUT)
        # It connected anew.
        self.assertGreater(len(listener.connections), 1)

    def test_A_name_that_announces_a_body_and_silence(self):
        self.answered_with(self.REPLY[: self.NAME_END])

    def test_A_delimiter_that_announces_a_name_and_silence(self):
        self.answered_with(self.REPLY[: self.DELIMITER_END])

    def test_A_flood_of_commands(self):
        def speak(connection):
            connection.shake_hands()
            connection.send(raw_peer.command(b"PING", b"\0\0") * 100_000)

        listener = self.waits_ten_seconds(speak)
        self.assertIn(b"\x04PONG", listener.heard)

    def test_A_command_cut_short(self):
        self.answered_with(raw_peer.command(b"PING"))

    # Replies as a router may send them

    def test_A_reply_without_a_delimiter(self):
        self.answered_with(raw_peer.message(peer.WORK_REPLY, b"\x90"))

    def test_A_reply_behind_an_identity(self):
        self.answered_with(raw_peer.message(b"\0abcd", b"", peer.WORK_REPLY, b"\x90"))

    def test_A_reply_of_a_delimiter_alone(self):
        self.answered_with(raw_peer.message(b""))

    def test_A_reply_behind_two_delimiters_is_given_up_at_once(self):
        replied = []

        def speak(connection):
            connection.shake_hands()
            connection.send(raw_peer.message(b"", b"", peer.WORK_REPLY, b"\x90"))
            replied.append(time.monotonic() - connection.began)

        code, seconds, _ = self.assert_no_report(speak)
        self.assertEqual(code, 0)
        self.assertLess(seconds - replied[0], peer.REPLY_TIMEOUT)

    def test_The_second_of_two_replies_is_not_taken_for_the_acknowledgement(self):
        reported = []

        def speak(connection):
            connection.shake_hands()
            connection.send(self.REPLY * 2)
            connection.hear_until(peer.WORK_COMPLETE)
            reported.append(time.monotonic() - connection.began)

        code, seconds, listener = self.meet(speak)
        self.assertEqual(code, 0)
        self.assertEqual(listener.heard.count(peer.WORK_COMPLETE), 1)
        self.assertGreater(seconds - reported[0], peer.REPLY_TIMEOUT - 2)


if __name__ == "__main__":
    unittest.main()
