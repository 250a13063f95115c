#!/usr/bin/env python3
"""Black-box tests of LVBHOHost.exe under Wine: frames in on stdin, exact bytes and exit codes out.

Uses the scratch prefix of scripts/with-wine-prefix when run inside it (as ctest is by make test), else a fresh one.
"""

import contextlib
import io
import json
import struct
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts" / "lib"))
import winhost  # noqa: E402
from winhost import frame  # noqa: E402

EXE = None
SIM = None
PREFIX = None

INVALID_JSON = b'{"CommandError":1,"CommandErrorMsg":"Invalid Json"}'
ARGUMENT_MISSING = b'{"CommandError":4,"CommandErrorMsg":"Argument missing"}'
LOG_FILE = "TEMP/LVBHOHost.txt"
# The host idles at about 14 MiB under Wine; holding a refused body would take 64 MiB or more.
BOUNDED_PEAK_KIB = 48 * 1024


def run(stdin_bytes=b"", args=(), **kwargs):
    # Registration switches write into the working directory: keep that inside the prefix.
    kwargs.setdefault("cwd", str(PREFIX.drive_c))
    return winhost.run_host(PREFIX, EXE, stdin_bytes, args, **kwargs)


def desktop_probe():
    """DesktopProbe.exe, built beside the host: what the host's windows and the keyboard look like from inside."""
    return Path(EXE).parent / "DesktopProbe.exe"


def host_windows():
    """(process id, title) of each message-only window of the host's class, as another process finds them."""
    result = winhost.run_host(PREFIX, desktop_probe(), args=["windows", winhost.HOST_WINDOW_CLASS], timeout=30)
    lines = result.stdout.decode("latin-1").splitlines()
    assert lines and lines[-1] == "end", result.stdout
    return [tuple(line.split(" ", 1)) for line in lines[:-1]]


def get_lang(request_id):
    return json.dumps({"command": "GetLang", "id": request_id}, separators=(",", ":"))


def lang_answer(request_id, lang="English"):
    return ('{"CommandError":0,"CommandErrorMsg":"success","Lang":"%s","command":"GetLang","id":%d}'
            % (lang, request_id)).encode()


class NotInstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        PREFIX.remove_product()

    def test_messaging_mode_prints_not_found_and_exits_zero(self):
        result = run(frame(get_lang(1)))

        self.assertEqual(b"Lumivar not found", result.stdout)
        self.assertEqual(0, result.returncode)

    def test_every_switch_prints_not_found_and_exits_zero(self):
        for switch in ("-RegisterNativeApp", "/UnRegisterNativeApp", "-RegisterChromeGPO", "-RegisterFFBHO",
                       "-InstallChromeBHO", "-CheckBHOInstalled", "-RegisterChromeBHO", "-UnRegisterChromeBHO"):
            with self.subTest(switch=switch):
                result = run(args=[switch], close_stdin=False, timeout=30)

                self.assertEqual(b"Lumivar not found", result.stdout)
                self.assertEqual(0, result.returncode)


class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()

    def test_four_zero_bytes_end_the_host_with_no_output(self):
        result = run(b"\x00\x00\x00\x00")

        self.assertEqual(b"", result.stdout)
        self.assertEqual(0, result.returncode)

    def test_end_of_input_ends_the_host_with_no_output(self):
        result = run(b"")

        self.assertEqual(b"", result.stdout)
        self.assertEqual(0, result.returncode)

    def test_two_zero_bytes_then_end_end_the_host(self):
        result = run(b"\x00\x00")

        self.assertEqual(b"", result.stdout)
        self.assertEqual(0, result.returncode)

    def test_two_non_zero_bytes_then_end_are_taken_as_a_length(self):
        result = run(b"\x05\x00")  # length 5, and no body: five NULs do not parse

        self.assertEqual(frame(INVALID_JSON), result.stdout)
        self.assertEqual(0, result.returncode)

    def test_unterminated_object_is_invalid_json(self):
        result = run(frame("{"))

        self.assertEqual(frame(INVALID_JSON), result.stdout)

    def test_body_padded_with_nul_parses_as_an_empty_object(self):
        result = run(frame(b"{}" + b"\x00" * 8))

        self.assertEqual(frame(ARGUMENT_MISSING), result.stdout)

    def test_short_body_is_answered_then_the_host_ends(self):
        result = run(b"\x0a\x00\x00\x00{}")  # length 10, two bytes sent

        self.assertEqual(frame(ARGUMENT_MISSING), result.stdout)
        self.assertEqual(0, result.returncode)

    def test_two_frames_in_one_write_are_answered_in_order(self):
        result = run(frame(get_lang(1)) + frame(get_lang(2)))

        self.assertEqual(frame(lang_answer(1)) + frame(lang_answer(2)), result.stdout)

    def test_a_hundred_frames_in_one_write_are_answered_in_order(self):
        result = run(b"".join(frame(get_lang(i)) for i in range(100)))

        self.assertEqual(b"".join(frame(lang_answer(i)) for i in range(100)), result.stdout)

    def test_invalid_json_does_not_end_the_host(self):
        result = run(frame("not json") + frame(get_lang(4)))

        self.assertEqual(frame(INVALID_JSON) + frame(lang_answer(4)), result.stdout)

    def test_four_gib_length_is_answered_without_allocating_it(self):
        session = winhost.HostSession(PREFIX, EXE)
        try:
            session.send_raw(b"\xff\xff\xff\xff" + b"{}" * 1000)

            self.assertEqual(INVALID_JSON, session.receive())
            self.assertLess(session.peak_kib(), BOUNDED_PEAK_KIB)
        finally:
            self.assertEqual(0, session.close())

    def test_body_above_64_mib_is_skipped_and_the_next_frame_answered(self):
        too_long = 64 * 1024 * 1024 + 1
        session = winhost.HostSession(PREFIX, EXE)
        try:
            session.send_raw(struct.pack("<I", too_long) + b" " * too_long + frame(get_lang(6)))

            self.assertEqual(INVALID_JSON, session.receive())
            self.assertEqual(lang_answer(6), session.receive())
            self.assertLess(session.peak_kib(), BOUNDED_PEAK_KIB)
        finally:
            self.assertEqual(0, session.close())

    def test_a_body_of_millions_of_tiny_values_is_refused_in_bounded_memory(self):
        body = b"[" + b"0," * (24 * 1024 * 1024) + b"0]"  # 48 MiB, 24 million values
        session = winhost.HostSession(PREFIX, EXE)
        try:
            session.send(body)

            self.assertEqual(INVALID_JSON, session.receive())
            self.assertLess(session.peak_kib(), BOUNDED_PEAK_KIB + 48 * 1024)
            session.send(get_lang(9))
            self.assertEqual(lang_answer(9), session.receive())
        finally:
            self.assertEqual(0, session.close())

    def test_control_bytes_survive_in_both_directions(self):
        # A request of 0x1A0D bytes with raw CR LF whitespace and a 0x1A inside a string; its answer is sized to
        # 0x0A0D bytes. Text mode on either stream would rewrite or cut these.
        fixed = len(b'{"CommandError":2,"CommandErrorMsg":"Invalid Command","command":"","id":1}')
        command = "c" * (0x0A0D - fixed)
        head = '\r\n{"command":"%s",\r\n"id":1,"pad":"\x1a' % command
        request = (head + "p" * (0x1A0D - len(head) - 3) + '"}\n').encode()
        self.assertEqual(0x1A0D, len(request))

        result = run(frame(request))

        self.assertEqual(b"\x0d\x0a\x00\x00", result.stdout[:4])
        self.assertEqual(0x0A0D + 4, len(result.stdout))
        self.assertIn(b'"command":"ccc', result.stdout)

    def test_non_utf8_and_nul_in_members_are_answered(self):
        result = run(frame(b'{"command":"Get\xffLang","id":1}') + frame(b'{"command":"A\\u0000B","id":2}'))

        self.assertEqual(2, len(result.frames))
        self.assertEqual(b'{"CommandError":2,"CommandErrorMsg":"Invalid Command","command":"","id":1}',
                         result.frames[0])
        self.assertEqual(b'{"CommandError":2,"CommandErrorMsg":"Invalid Command","command":"A","id":2}',
                         result.frames[1])

    def test_id_of_the_wrong_type_is_argument_missing(self):
        result = run(frame('{"command":"GetLang","id":"x"}'))

        self.assertEqual(frame(b'{"CommandError":4,"CommandErrorMsg":"Argument missing","command":"GetLang"}'),
                         result.stdout)

    def test_missing_id_answers_only_the_status(self):
        result = run(frame('{"command":"GetLang"}'))

        self.assertEqual(frame(ARGUMENT_MISSING), result.stdout)

    def test_unknown_command_echoes_command_and_id(self):
        result = run(frame('{"command":"storelogindata","id":3}'))

        self.assertEqual(
            frame(b'{"CommandError":2,"CommandErrorMsg":"Invalid Command","command":"storelogindata","id":3}'),
            result.stdout)

    def test_deeply_nested_json_is_invalid_not_fatal(self):
        result = run(frame("[" * 100000 + "]" * 100000) + frame(get_lang(8)))

        self.assertEqual(frame(INVALID_JSON) + frame(lang_answer(8)), result.stdout)

    def test_user_interface_language_is_answered(self):
        # Under Wine only LC_ALL steers the user interface language.
        for locale, name in (("de_DE.UTF-8", "German"), ("ja_JP.UTF-8", "Japanese"), ("zh_TW.UTF-8", "TChinese"),
                             ("zh_CN.UTF-8", "SChinese"), ("zh_MO.UTF-8", "SChinese"), ("pt_BR.UTF-8", "Brazilian"),
                             ("pt_PT.UTF-8", "Portuguese"), ("sr_RS@latin", "Serbian"), ("ru_RU.UTF-8", "Russian"),
                             ("nb_NO.UTF-8", "Norwegian"), ("en_US.UTF-8", "English")):
            with self.subTest(locale=locale):
                result = run(frame(get_lang(1)), env={"LC_ALL": locale})

                self.assertEqual(frame(lang_answer(1, name)), result.stdout)

    def test_registration_switches_stay_out_of_the_message_loop(self):
        for args in (["-RegisterNativeApp"], ["/unregisterffbho"], ["-RegisterChromeGPO", "-RegisterFFBHO"],
                     ["-InstallChromeBHO"], ["-CheckBHOInstalled"], ["-UnRegisterChromeBHO"]):
            with self.subTest(args=args):
                # The input stays open: a host that read it would never exit.
                result = run(args=args, close_stdin=False, timeout=30)

                self.assertEqual(b"", result.stdout)
                self.assertEqual(0, result.returncode)

    def test_chromium_arguments_enter_the_message_loop(self):
        result = run(frame(get_lang(1)), args=["chrome-extension://abcdefghijklmnopabcdefghijklmnop/",
                                               "--parent-window=0"])

        self.assertEqual(frame(lang_answer(1)), result.stdout)

    def test_firefox_arguments_enter_the_message_loop(self):
        result = run(frame(get_lang(1)), args=["C:\\Program Files\\Lumivar\\lvbhohost-firefox.json",
                                               "lumivar@kavrin.com"])

        self.assertEqual(frame(lang_answer(1)), result.stdout)

    def test_answers_come_one_by_one_on_an_open_channel(self):
        session = winhost.HostSession(PREFIX, EXE)
        try:
            for i in range(3):
                session.send(get_lang(i))
                self.assertEqual(lang_answer(i), session.receive())
        finally:
            self.assertEqual(0, session.close())


class DebugLogTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()

    def setUp(self):
        self.log_file = PREFIX.drive_c / LOG_FILE
        if self.log_file.exists():
            self.log_file.unlink()

    def tearDown(self):
        PREFIX.reg("delete", winhost.PRODUCT_KEY, "/v", "lvDebugSupport", "/f")

    def switch(self, value):
        PREFIX.reg("add", winhost.PRODUCT_KEY, "/v", "lvDebugSupport", "/t", "REG_SZ", "/d", value, "/f")

    def test_absent_switch_writes_no_file(self):
        run(frame(get_lang(1)))

        self.assertFalse(self.log_file.exists())

    def test_level_three_logs_the_traffic_scrambled(self):
        self.switch("LVBHOHost;3")

        run(frame(get_lang(1)))

        raw = self.log_file.read_bytes()
        self.assertNotIn(b"MainHandler", raw)
        text = winhost.decode_log(raw).decode("latin-1")
        # Every entry begins with the CR LF of its prefix.
        lines = text.split("\r\n")
        entries = [line.split(")-", 1)[1] for line in lines if ")-" in line]
        answer = lang_answer(1).decode()
        self.assertEqual(["MainHandler command - " + get_lang(1),
                          "MainHandler resposbe- " + answer,
                          "WriteResponse before lock respose- " + answer,
                          "WriteResponse got lock respose- " + answer,
                          "WriteResponse succ",
                          "WriteResponse exit"], entries)
        self.assertEqual("", lines[0])
        self.assertRegex(lines[1], r"^ LVBHOHost : Time:\d\d:\d\d:\d\d:\d+ - LVBHOHost\.exe "
                                              r"\(PID:[0-9a-f]+:[0-9a-f]+:\)-MainHandler command - ")

    def test_empty_switch_logs_every_program(self):
        self.switch("")

        run(frame(get_lang(1)))

        self.assertIn(b"MainHandler command - ", winhost.decode_log(self.log_file.read_bytes()))

    def test_level_two_keeps_the_traffic_out(self):
        self.switch("LVBHOHost;2")

        run(frame(get_lang(1)))

        self.assertFalse(self.log_file.exists())

    def test_another_programs_name_does_not_switch_the_host_on(self):
        self.switch("LvEngine;52")

        run(frame(get_lang(1)))

        self.assertFalse(self.log_file.exists())

    def test_entries_also_reach_the_debugger(self):
        self.switch("LVBHOHost;3")

        result = run(frame(get_lang(1)), env={"WINEDEBUG": "-all,+debugstr"})

        self.assertIn(b"MainHandler command - ", result.stderr)
        self.assertIn(b"WriteResponse exit", result.stderr)


class HarnessTest(unittest.TestCase):
    """The harness starts again only what Wine never started; a program that ran stands as it ended."""

    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()

    def run_quietly(self, exe, stdin_bytes=b"", args=()):
        said = io.StringIO()
        with contextlib.redirect_stderr(said):
            result = winhost.run_host(PREFIX, exe, stdin_bytes, args)
        return result, said.getvalue()

    def test_a_program_wine_cannot_start_is_tried_three_times_and_its_failure_stands(self):
        result, said = self.run_quietly(PREFIX.drive_c / "no-such-program.exe")

        self.assertNotEqual(0, result.returncode)
        self.assertEqual(winhost.START_ATTEMPTS - 1, said.count("Wine did not start no-such-program.exe"), said)

    def test_a_program_that_ran_and_failed_is_not_started_again(self):
        result, said = self.run_quietly(SIM, args=["--no-such-option"])

        self.assertEqual(2, result.returncode)
        self.assertIn(b"no-such-option", result.stderr)
        self.assertNotIn("Wine did not start", said)

    def test_a_program_that_ended_at_once_counts_as_started(self):
        result, said = self.run_quietly(EXE)

        self.assertEqual((0, b""), (result.returncode, result.stdout))
        self.assertNotIn("Wine did not start", said)


class CoreTest(unittest.TestCase):
    """The host beside the stand-in core: the shared block, its events and the core's window are real."""

    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()

    def setUp(self):
        self.core = winhost.SimCore(PREFIX, SIM)
        self.addCleanup(self.core.stop)

    def host(self):
        process = winhost.start_host(PREFIX, EXE)
        self.addCleanup(winhost.discard_host, process)
        return process

    def ask(self, process, request):
        process.stdin.write(frame(json.dumps(request, separators=(",", ":"))))
        process.stdin.flush()
        answer = winhost.receive_frame(process, timeout=30)
        if answer is None:
            self.fail("the host closed its output without answering; exit code %d" % winhost.wait_host(process))
        return answer

    def close(self, process):
        process.stdin.close()
        return winhost.wait_host(process)

    def test_identify_for_chrome_answers_the_product_information(self):
        host = self.host()

        answer = self.ask(host, {"command": "Identify", "id": 1, "name": "chrome", "purpose": "Check"})

        self.assertEqual(b'{"CommandError":0,"CommandErrorMsg":"success","MultiVltSupport":1,"command":"Identify",'
                         b'"id":1,"ismetro":0,"productverinfo":{"buildnumber":"2026.11.3","oem":55,"pmode":1,'
                         b'"productver":"9.4.0","releasever":4,"webversion":"9.4.0.12"}}', answer)
        self.assertEqual(0, self.close(host))

    def test_identify_for_firefox_has_the_ui_thread_make_the_prompt_window(self):
        host = self.host()
        self.ask(host, {"command": "GetLang", "id": 1})
        before = host_windows()
        no_prompt = json.loads(self.ask(host, {"command": "HidePrompt", "id": 2}))

        answer = json.loads(self.ask(host, {"command": "Identify", "id": 3, "name": "firefox"}))

        after = host_windows()
        hidden = json.loads(self.ask(host, {"command": "HidePrompt", "id": 4}))
        self.assertEqual(0, answer["CommandError"])
        # The message window, titled with the browser's name, gives way to the prompt window, titled "firefox".
        self.assertEqual(1, len(before), before)
        self.assertEqual("chrome", before[0][1])
        self.assertEqual([(before[0][0], "firefox")], after)
        # Without a prompt window HidePrompt fails; with it, it succeeds.
        self.assertEqual((3, 0), (no_prompt["CommandError"], hidden["CommandError"]))
        self.assertEqual(0, self.close(host))

    def test_identify_for_an_installation_tells_the_core_and_records_it(self):
        PREFIX.reg("delete", r"HKCU\Software\Kavrin\Lumivar", "/v", "ChromeBHO", "/f")
        host = self.host()

        answer = json.loads(self.ask(host, {"command": "Identify", "id": 4, "name": "chrome", "purpose": "Install"}))
        self.assertEqual(0, self.close(host))

        self.assertEqual(0, answer["CommandError"])
        self.assertEqual(0, PREFIX.reg("query", r"HKCU\Software\Kavrin\Lumivar", "/v", "ChromeBHO"))
        self.assertEqual("ok", self.core.command("dump")[:2])  # the core has served its queue by now
        names = [entry.get("name") for entry in self.core.log() if entry.get("event") == "message"]
        self.assertIn("ExtensionInstalled", names)

    def test_cancel_operation_with_the_core_idle_fails_and_sends_nothing(self):
        host = self.host()

        answer = self.ask(host, {"command": "CancelOperation", "id": 5})
        self.assertEqual(0, self.close(host))

        self.assertEqual(b'{"CommandError":3,"CommandErrorMsg":"fail","command":"CancelOperation","id":5}', answer)
        self.assertEqual([], [r for r in self.core.requests() if r.get("code") == 6])

    def test_a_request_left_open_is_cancelled_when_the_host_starts_and_ends(self):
        self.assertEqual("ok", self.core.command("block flags 32"))
        host = self.host()

        self.ask(host, {"command": "GetLang", "id": 8})
        self.assertEqual("ok", self.core.command("block flags 32"))
        self.assertEqual(0, self.close(host))

        block = json.loads(self.core.command("dump")[3:])
        # The second cancel finds the first one's code still in the block: it only waits for the core to finish
        # and leaves the block idle, ringing no event.
        cancels = [r for r in self.core.requests() if r.get("code") == 6]
        self.assertEqual(1, len(cancels))
        self.assertEqual("E", cancels[0]["eventName"])
        self.assertEqual(5, block["requestCode"])
        self.assertEqual(0xFFFFFFFF, block["result"])

    def test_cancel_operation_cancels_an_open_request(self):
        host = self.host()
        self.ask(host, {"command": "GetLang", "id": 9})
        self.assertEqual("ok", self.core.command("block flags 32"))

        answer = self.ask(host, {"command": "CancelOperation", "id": 10})
        self.assertEqual(0, self.close(host))

        self.assertEqual(b'{"CommandError":0,"CommandErrorMsg":"success","command":"CancelOperation","id":10}',
                         answer)
        self.assertEqual([6], [r["code"] for r in self.core.requests()])

    def test_a_host_leaves_the_block_of_a_running_core_as_it_stands(self):
        before = self.core.command("dump")
        host = self.host()

        self.ask(host, {"command": "GetLang", "id": 6})
        self.assertEqual(0, self.close(host))

        self.assertEqual(before, self.core.command("dump"))

    def test_the_core_link_is_traced_at_level_fifty_two(self):
        PREFIX.reg_import(f"[{winhost.PRODUCT_KEY}]\n" '"lvDebugSupport"="LVBHOHost;52"\n')
        self.addCleanup(PREFIX.reg, "delete", winhost.PRODUCT_KEY, "/v", "lvDebugSupport", "/f")
        log_file = PREFIX.drive_c / LOG_FILE
        if log_file.exists():
            log_file.unlink()
        host = self.host()

        self.ask(host, {"command": "GetLang", "id": 7})
        self.assertEqual(0, self.close(host))

        text = winhost.decode_log(log_file.read_bytes())
        self.assertIn(b"InitSharedMemory", text)
        self.assertIn(b"CMutexLock:: Lock Enter", text)


STORE = {"command": "StoreLoginData", "DocumentTitle": "Example - Log in", "WebUrl": "https://www.example.com/login",
         "unamefield": "user", "webPageUserId": "alice", "passfieldname": "pwd", "webPagepassword": "s3cret"}
CHECK = {"command": "CheckAndValidate", "DocumentTitle": "Mail", "WebUrl": "https://mail.example.com/inbox",
         "unamefield": "user", "passfieldname": "pwd"}
REMEMBERED = {"command": "IsPageRemembered", "WebUrl": "https://www.example.com/", "passfieldname": "pwd"}


class CoreSession(winhost.HostConversation, unittest.TestCase):
    """A host and the stand-in core, started for each test."""

    core_args = ()

    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()

    def setUp(self):
        self.core = winhost.SimCore(PREFIX, SIM, args=self.core_args)
        self.addCleanup(self.core.stop)
        self.host = winhost.start_host(PREFIX, EXE)
        self.addCleanup(winhost.discard_host, self.host)
        self.next_id = 0


class LoginTest(CoreSession):
    """Login data between the page and the stand-in core's vault."""

    def test_a_login_stored_on_one_page_fills_another_page_of_the_same_domain(self):
        stored = self.ask(STORE)
        filled = self.ask(CHECK)
        self.end()

        self.assertEqual({"command": "StoreLoginData", "id": 1, "isenrolled": 1, "CommandError": 0,
                          "CommandErrorMsg": "success"}, stored)
        self.assertEqual([{"FieldName": "user", "FieldVal": "alice"}, {"FieldName": "pwd", "FieldVal": "s3cret"}],
                         filled["LoginData"])
        self.assertEqual("true", filled["clickok"])
        self.assertEqual(0, filled["CommandError"])
        codes = [r["code"] for r in self.core.requests()]
        self.assertEqual([1, 2, 8], codes)
        store = self.core.requests()[0]
        self.assertEqual("EXAMPLE.COM::pwd", store["requestKey"])
        self.assertEqual("alice", store["requestUser"])
        self.assertEqual("EXAMPLE", store["requestDisplay"])

    def test_a_login_already_known_is_not_stored_again(self):
        self.ask(STORE)

        again = self.ask(STORE)
        self.end()

        self.assertEqual(0, again["CommandError"])
        self.assertEqual([1, 2, 1], [r["code"] for r in self.core.requests()])

    def test_is_page_remembered_for_an_unknown_then_a_known_site(self):
        unknown = self.ask(REMEMBERED)
        self.ask(STORE)
        known = self.ask(REMEMBERED)
        self.end()

        expected = {"command": "IsPageRemembered", "CommandError": 0, "CommandErrorMsg": "success",
                    "isenrolled": 1, "isdiscoveryon": 1, "noprompt": 0}
        self.assertEqual(dict(expected, id=1, isremembered=0), unknown)
        self.assertEqual(dict(expected, id=3, isremembered=1), known)

    def test_remember_without_prompt_once_switched_on(self):
        before = self.ask({"command": "RememberPwdWithoutPrompt"})
        switched = self.ask({"command": "SetRememberPwdWithoutPrompt"})
        after = self.ask({"command": "RememberPwdWithoutPrompt"})
        self.end()

        self.assertEqual(0, before["noprompt"])
        self.assertEqual(0, switched["CommandError"])
        self.assertEqual(1, after["noprompt"])
        self.assertEqual([9, 10, 9], [r["code"] for r in self.core.requests()])

    def test_check_and_validate_of_an_unknown_site_is_left_pending_for_a_vault_choice(self):
        answer = self.ask(CHECK)
        self.end()

        self.assertEqual(6, answer["CommandError"])
        self.assertEqual("vault select", answer["CommandErrorMsg"])

    def test_set_plugin_param_reaches_the_core_window_as_a_copy_data_record(self):
        self.ask(CHECK)

        answer = self.ask({"command": "SetPluginParam", "strdevid": "44525655", "param": "123456"})
        self.end()

        self.assertEqual(0, answer["CommandError"])
        self.core.command("dump")
        records = [e for e in self.core.log() if e.get("event") == "copydata"]
        self.assertEqual(1, len(records))
        record = records[0]
        self.assertEqual((1, 788, 0, 0, "44525655", "", "123456"),
                         (record["dwData"], record["cbData"], record["devId"], record["status"],
                          record["strDevId"], record["message"], record["text2"]))
        host_window = self.core.requests()[-1]["hostWindow"]
        self.assertEqual(host_window, record["wParam"])

    def test_a_validation_outcome_pushed_later_reaches_the_extension(self):
        self.ask(CHECK)

        self.assertTrue(self.core.command("push copydata 44525655 -1 dev-7 Verified").startswith("ok"))
        pushed = self.receive()
        self.end()

        self.assertEqual({"command": "ValidateAsyncMsg", "msg": "Verified", "status": -1, "strdevid": "dev-7",
                          "Devid": 44525655}, pushed)

    def test_a_pending_validation_is_released_by_its_outcome(self):
        # The core leaves the validation pending with 5 and ends the verification at once: its outcome (status -1)
        # reaches the extension while the command still waits, and releases it.
        self.core.command("set missresult 5")
        self.core.command("onpending push copydata 44525655 -1 dev-7 Verified")
        started = time.monotonic()
        self.send(CHECK)

        first = self.receive()
        second = self.receive()
        seconds = time.monotonic() - started
        self.end()

        self.assertEqual("ValidateAsyncMsg", first["command"])
        self.assertEqual(-1, first["status"])
        self.assertEqual(("CheckAndValidate", 5), (second["command"], second["CommandError"]))
        self.assertLess(seconds, 0.45)  # without the release the command waits its full 500 ms

    def test_a_fill_order_pushed_while_a_request_is_open_comes_whole_before_its_answer(self):
        self.ask(REMEMBERED)  # the core learns the host's window
        self.core.command("vault add EXAMPLE.COM::pwd bob pw user pwd")
        self.core.command("set hold 1")
        for _ in range(5):
            held = len([e for e in self.core.log() if e.get("event") == "held"])
            request_id = self.send({"command": "RememberPwdWithoutPrompt"})
            self.wait_for(lambda: len([e for e in self.core.log() if e.get("event") == "held"]) > held)
            self.assertTrue(self.core.command("push fill EXAMPLE.COM::pwd").startswith("ok"))
            fill = self.receive()
            self.assertTrue(self.core.command("release").startswith("ok"))
            answer = self.receive()

            self.assertEqual("FormFill", fill["command"])
            self.assertEqual((request_id, 0), (answer["id"], answer["CommandError"]))
        self.end()

    def test_fill_orders_pushed_between_answers_leave_every_frame_whole(self):
        self.ask(REMEMBERED)  # the core learns the host's window
        self.core.command("vault add EXAMPLE.COM::pwd bob pw user pwd")
        frames = []
        for _ in range(20):
            # Each fill is consumed before the next one is written into the block.
            self.send({"command": "GetLang"})
            self.assertTrue(self.core.command("push fill EXAMPLE.COM::pwd").startswith("ok"))
            frames += [self.receive(), self.receive()]
        self.end()

        fills = [f for f in frames if f.get("command") == "FormFill"]
        answers = [f for f in frames if f.get("command") == "GetLang"]
        self.assertEqual(20, len(answers))
        self.assertEqual(20, len(fills))
        self.assertEqual([{"FieldName": "user", "FieldVal": "bob"}, {"FieldName": "pwd", "FieldVal": "pw"}],
                         fills[0]["LoginData"])
        self.assertEqual(list(range(2, 22)), [a["id"] for a in answers])

    def test_check_skip_list_reads_the_users_entries(self):
        key = r"HKCU\SOFTWARE\Kavrin\Lumivar\SkipListForLvBho"
        PREFIX.reg("add", key, "/v", "1", "/t", "REG_SZ", "/d", "bank", "/f")
        self.addCleanup(PREFIX.reg, "delete", key, "/f")

        skipped = self.ask({"command": "CheckSkipList", "domain": "online.mybank.com"})
        kept = self.ask({"command": "CheckSkipList", "domain": "example.com"})
        missing = self.ask({"command": "CheckSkipList"})
        self.end()

        self.assertEqual((0, 1), (skipped["CommandError"], skipped["skipped"]))
        self.assertEqual((0, 0), (kept["CommandError"], kept["skipped"]))
        self.assertEqual(4, missing["CommandError"])

    def test_keyevent_types_its_keys_down_only(self):
        watcher = winhost.start_host(PREFIX, desktop_probe(), args=["keys", "3"])
        self.addCleanup(winhost.discard_host, watcher)
        self.assertEqual(b"ready", watcher.stdout.readline().strip())

        answer = self.ask({"command": "keyevent", "vk": [65, 66], "sleep": 0})
        self.end()

        self.assertEqual(0, answer["CommandError"])
        seen = watcher.stdout.read().decode("latin-1").split()
        # The system sees exactly the two key-downs, in order, and no key-up, as the extension expects.
        self.assertEqual(["65", "down", "66", "down"], seen)
        self.assertEqual(0, winhost.wait_host(watcher))

    def test_broken_texts_never_reach_past_the_blocks_fields(self):
        long_text = "x" * (1 << 20)
        answer = self.ask(dict(STORE, webPageUserId=long_text, DocumentTitle="\u0000\u00ff", unamefield="a\u0000b",
                               webPagepassword=long_text))
        self.end()

        self.assertEqual(0, answer["CommandError"])
        first = self.core.requests()[0]
        self.assertEqual(259, len(first["requestUser"]))


class NotEnrolledTest(CoreSession):
    core_args = ("--not-enrolled",)

    def test_a_granted_validation_enrols_the_user(self):
        answer = self.ask(REMEMBERED)
        self.end()

        self.assertEqual((0, 1), (answer["CommandError"], answer["isenrolled"]))
        messages = [e["name"] for e in self.core.log() if e.get("event") == "message"]
        self.assertIn("LumivarDoValidateUser", messages)

    def test_a_denied_validation_leaves_the_user_unenrolled(self):
        self.core.command("set validation denied")

        store = self.ask(dict(STORE, enrolluser=1))
        answer = self.ask(REMEMBERED)
        self.end()

        self.assertEqual((3, 0), (store["CommandError"], store["isenrolled"]))
        self.assertEqual((0, 0, 0), (answer["CommandError"], answer["isenrolled"], answer["isremembered"]))
        self.assertNotIn("noprompt", answer)
        self.assertEqual([1], [r["code"] for r in self.core.requests()])

    def test_an_unanswered_validation_counts_as_denied(self):
        self.core.command("set validation none")

        answer = self.ask(REMEMBERED)
        self.end()

        self.assertEqual((0, 0), (answer["CommandError"], answer["isenrolled"]))

    def test_storing_without_enrolment_fails_saying_so(self):
        answer = self.ask(STORE)
        self.end()

        self.assertEqual((3, 0), (answer["CommandError"], answer["isenrolled"]))
        self.assertEqual([], self.core.requests())

    def test_a_granted_validation_lets_the_login_be_stored(self):
        answer = self.ask(dict(STORE, enrolluser=1))
        self.end()

        self.assertEqual((0, 1), (answer["CommandError"], answer["isenrolled"]))
        self.assertEqual([1, 2], [r["code"] for r in self.core.requests()])


def main():
    winhost.host_and_core_main(__doc__, globals())


if __name__ == "__main__":
    main()
