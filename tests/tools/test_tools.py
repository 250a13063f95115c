#!/usr/bin/env python3
"""The portable tools as their users run them: the debug log decoder on files, following a growing file, and the
native messaging client against a scripted host (fake_host.py)."""

import argparse
import os
import re
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "scripts" / "lib"))
import winhost  # noqa: E402

ARGS = None


def scramble(text):
    """The host's file copy of `text`: +10 on every byte but 0, 9 and 10, then LF written as CR LF."""
    shifted = bytes(b if b in (0, 9, 10) else (b + 10) % 256 for b in text)
    return shifted.replace(b"\n", b"\r\n")


ENTRY_1 = b"\r\n LVBHOHost : Time:10:11:12:013 - LVBHOHost.exe (PID:2a:3b:)-Received {\"command\":\"GetLang\"}"
ENTRY_2 = b"\r\n LVBHOHost : Time:10:11:12:020 - LVBHOHost.exe (PID:2a:3b:)-Sent \xc3\xa9 100% done"


class LogDecodeTest(unittest.TestCase):
    def run_decoder(self, *args, stdin=b""):
        return subprocess.run([ARGS.logdecode, *args], input=stdin, capture_output=True, timeout=30)

    def test_a_file_is_decoded_to_the_entries_the_host_wrote(self):
        with tempfile.TemporaryDirectory() as tmp:
            log = Path(tmp) / "LVBHOHost.txt"
            log.write_bytes(scramble(ENTRY_1) + scramble(ENTRY_2))

            result = self.run_decoder(str(log))

        self.assertEqual(0, result.returncode, result.stderr)
        self.assertEqual(ENTRY_1 + ENTRY_2, result.stdout)

    def test_standard_input_is_read_with_a_dash(self):
        result = self.run_decoder("-", stdin=scramble(ENTRY_1))

        self.assertEqual(ENTRY_1, result.stdout)

    def test_a_missing_file_is_exit_code_1_with_a_message(self):
        result = self.run_decoder("/nonexistent/LVBHOHost.txt")

        self.assertEqual(1, result.returncode)
        self.assertIn(b"cannot open /nonexistent/LVBHOHost.txt", result.stderr)

    def test_bad_arguments_are_exit_code_2_with_the_usage(self):
        for args in ([], ["--frobnicate", "x"], ["a", "b"], ["--interval", "5", "x"], ["-f", "-"]):
            result = self.run_decoder(*args)
            self.assertEqual(2, result.returncode, args)
            self.assertIn(b"usage: LvLogDecode", result.stderr)

    def test_help_describes_the_options(self):
        result = self.run_decoder("--help")

        self.assertEqual(0, result.returncode)
        for word in (b"--follow", b"--interval", b"Exit codes"):
            self.assertIn(word, result.stdout)

    def test_follow_prints_what_is_appended_and_starts_again_after_truncation(self):
        with tempfile.TemporaryDirectory() as tmp:
            log = Path(tmp) / "LVBHOHost.txt"
            process = subprocess.Popen([ARGS.logdecode, "--follow", "--interval", "20", str(log)],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            try:
                self.assertIn(b"waiting for", read_until(process.stderr, b"appear\n"))
                log.write_bytes(scramble(ENTRY_1))
                self.assertEqual(ENTRY_1, read_until(process.stdout, ENTRY_1))
                # The host appends an entry in two writes' worth of pieces; the CR of the text mode comes last.
                piece = scramble(ENTRY_2)
                with log.open("ab") as f:
                    f.write(piece[:1])
                    f.flush()
                    time.sleep(0.1)
                    f.write(piece[1:])
                self.assertEqual(ENTRY_2, read_until(process.stdout, ENTRY_2))
                log.write_bytes(scramble(b"\r\n new"))
                self.assertIn(b"truncated", read_until(process.stderr, b"beginning\n"))
                self.assertEqual(b"\r\n new", read_until(process.stdout, b"new"))
                self.assertIsNone(process.poll())
            finally:
                process.send_signal(signal.SIGTERM)
                process.wait(timeout=10)
                process.stdout.close()
                process.stderr.close()


def read_until(stream, ending, timeout=10):
    data = b""
    end = time.monotonic() + timeout
    while not data.endswith(ending):
        ready, _, _ = select.select([stream], [], [], max(0, end - time.monotonic()))
        if not ready:
            raise AssertionError(f"waited for {ending!r}, got {data!r}")
        chunk = os.read(stream.fileno(), 4096)
        if not chunk:
            raise AssertionError(f"stream ended; got {data!r}")
        data += chunk
    return data


class NmClientTest(unittest.TestCase):
    def client(self, lines, *host_args, options=(), env=None, timeout=60):
        with tempfile.NamedTemporaryFile("w", suffix=".jsonl", delete=False) as f:
            f.write("\n".join(lines) + "\n")
            script = f.name
        try:
            result = subprocess.run([ARGS.nmclient, "--input", script, *options, "--", sys.executable,
                                     str(HERE / "fake_host.py"), *host_args], capture_output=True, timeout=timeout,
                                    env=env)
        finally:
            os.unlink(script)
        return result.returncode, result.stdout.decode(), result.stderr.decode()

    def failed_run(self, lines, *expected, options=()):
        """Runs the client, which must fail, checks that its output holds each of `expected` and returns it."""
        code, out, _ = self.client(lines, options=options)
        self.assertEqual(1, code)
        for text in expected:
            self.assertIn(text, out)
        return out

    def test_answers_are_matched_and_timed_and_the_summary_counts_them(self):
        code, out, _ = self.client(['{"command":"GetLang","id":1}', "# a comment", '{"command":"push","id":2}'])

        self.assertEqual(0, code, out)
        self.assertRegex(out, r"\[ +\d+\.\d{3}\] >> #1 \{\"command\":\"GetLang\",\"id\":1\} \(28 bytes\)")
        self.assertRegex(out, r"<< \{\"id\": 1, .*\} \(\d+ bytes; answer to #1 after \d+\.\d{3} ms\)")
        self.assertIn('<< {"command":"FormFill","value":"x"} (34 bytes; unsolicited)', out)
        self.assertRegex(out, r"-- 2 sent, 2 answered, 1 unsolicited, 0 malformed; round trip median [\d.]+ ms, "
                              r"max [\d.]+ ms; host exit code 0")

    def test_malformed_requests_are_sent_as_they_stand(self):
        code, out, _ = self.client(["{", '{"command":"GetLang"}'])

        self.assertEqual(0, code, out)
        self.assertIn(">> #1 { (1 bytes)", out)
        self.assertIn("answer to #1", out)
        self.assertIn("answer to #2", out)

    def test_malformed_frames_from_the_host_are_reported(self):
        self.failed_run(['{"command":"garbage","id":1}'], "!! malformed frame (9 bytes): the body is not JSON",
                        "1 malformed")

    def test_an_impossible_length_stops_the_reading(self):
        self.failed_run(['{"command":"huge","id":1}', '{"command":"GetLang","id":2}'],
                        "length 4294967295 is beyond any message a browser accepts", "!! no answer to request #2",
                        options=["--timeout", "2"])

    def test_output_ending_inside_a_frame_is_reported(self):
        self.failed_run(['{"command":"cut","id":1}'], "!! the output ended inside a frame: 6 of 100 body bytes")

    def test_a_request_left_unanswered_is_named_after_the_time_out(self):
        start = time.monotonic()
        self.failed_run(['{"command":"silent","id":5}'], "!! no answer to request #1", options=["--timeout", "1"])

        self.assertLess(time.monotonic() - start, 20)

    def test_the_hosts_exit_code_is_reported_and_fails_the_run(self):
        self.failed_run(['{"command":"exit","id":1,"code":3}', '{"command":"GetLang","id":2}'], "host exit code 3",
                        options=["--timeout", "2"])

    def test_close_and_wait_and_sleep_lines(self):
        out = self.failed_run(['{"command":"GetLang","id":1}', "!wait 5000", "!sleep 50", "!close",
                               '{"command":"GetLang","id":2}'],
                              "!! request #2 was not delivered: the host's input is closed")

        close = out.index("-- the host's input is closed")
        self.assertLess(out.index("answer to #1"), close)

    def test_arguments_reach_the_host_unchanged(self):
        with tempfile.TemporaryDirectory() as tmp:
            record = Path(tmp) / "args.json"
            env = dict(os.environ, FAKE_HOST_ARGS=str(record))
            self.client(['{"id":1}'], "chrome-extension://abc/", "two words", env=env)

            self.assertEqual('["chrome-extension://abc/", "two words"]', record.read_text())

    def test_a_host_that_cannot_start_is_exit_code_3(self):
        result = subprocess.run([ARGS.nmclient, "--", "/nonexistent/host"], input=b"", capture_output=True,
                                timeout=30)

        self.assertEqual(3, result.returncode)
        self.assertIn(b"cannot start /nonexistent/host", result.stderr)

    def test_bad_arguments_are_exit_code_2(self):
        for args in ([], ["--timeout", "0", "x"], ["--input"], ["--bogus", "x"], ["--input", "/nonexistent", "x"]):
            result = subprocess.run([ARGS.nmclient, *args], input=b"", capture_output=True, timeout=30)
            self.assertEqual(2, result.returncode, args)
            self.assertIn(b"usage: LvNmClient", result.stderr)

    def test_requests_can_be_typed(self):
        result = subprocess.run([ARGS.nmclient, "--", sys.executable, str(HERE / "fake_host.py")],
                                input=b'{"command":"GetLang","id":1}\n', capture_output=True, timeout=30)

        self.assertEqual(0, result.returncode)
        self.assertIn(b"answer to #1", result.stdout)

    def test_help(self):
        result = subprocess.run([ARGS.nmclient, "--help"], capture_output=True, timeout=30)

        self.assertEqual(0, result.returncode)
        self.assertTrue(re.search(rb"!wait \[MS\]", result.stdout))


class WindowsBuildTest(unittest.TestCase):
    """The Windows builds of both tools under Wine (given --host, the path of LVBHOHost.exe)."""

    @classmethod
    def setUpClass(cls):
        if not ARGS.host:
            raise unittest.SkipTest("the Windows builds are tested only with --host")
        cls.prefix = winhost.WinePrefix()
        cls.prefix.install_product()

    @classmethod
    def tearDownClass(cls):
        cls.prefix.close()

    def wine(self, *args, stdin=b""):
        return subprocess.run(["wine", *args], input=stdin, capture_output=True, env=self.prefix.env, timeout=120)

    def test_the_client_talks_to_the_host(self):
        with tempfile.NamedTemporaryFile("w", suffix=".jsonl", delete=False) as f:
            f.write('{"command":"GetLang","id":1}\n{\n')
            script = f.name
        try:
            result = self.wine(ARGS.nmclient, "--input", "Z:" + script, "--", "Z:" + str(Path(ARGS.host).resolve()))
        finally:
            os.unlink(script)
        out = result.stdout.decode()

        self.assertEqual(0, result.returncode, out)
        self.assertIn('"Lang":"English","command":"GetLang","id":1} (90 bytes; answer to #1', out)
        self.assertIn('<< {"CommandError":1,"CommandErrorMsg":"Invalid Json"} (51 bytes; answer to #2', out)
        self.assertIn("2 sent, 2 answered, 0 unsolicited, 0 malformed", out)

    def test_the_decoder_reads_a_log(self):
        with tempfile.TemporaryDirectory() as tmp:
            log = Path(tmp) / "LVBHOHost.txt"
            log.write_bytes(scramble(ENTRY_1) + scramble(ENTRY_2))

            result = self.wine(ARGS.logdecode, "Z:" + str(log))

        self.assertEqual(0, result.returncode)
        self.assertEqual(ENTRY_1 + ENTRY_2, result.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--logdecode", required=True)
    parser.add_argument("--nmclient", required=True)
    parser.add_argument("--host", help="LVBHOHost.exe: the tools are Windows builds, run under Wine")
    ARGS, rest = parser.parse_known_args()
    if ARGS.host:
        # Only the Windows builds' own class: the others start the programs directly.
        rest = rest or ["WindowsBuildTest"]
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)
