#!/usr/bin/env python3
"""The prompt under Xvfb: LVBHOHost.exe served as Firefox, a stand-in browser window (StubBrowser.exe, run as
firefox.exe) in the foreground, and the stand-in core. Checks where the dialogs land in the browser window, what each
button answers, what the core receives, the verification results, SetPromptPos and the focus messages.

Needs an X display (run it under xvfb-run) and a prefix of its own (scripts/with-wine-prefix)."""

import json
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts" / "lib"))
import prompt_texts  # noqa: E402
import winhost  # noqa: E402

EXE = None
SIM = None
STUB = None
PREFIX = None

# The core's device ids, as the stand-in core's "push copydata" takes them (decimal).
VERIFY_CODE = 0x44525655  # "DRVU": page "2"
VERIFY_PIN = 0x44525675  # "DRVu": page "3" and the PIN dialog
VERIFY_WAITING = 0x44525676  # "DRVv": page "3"

BUTTON_CLASS = "button"
EDIT_CLASS = "edit"


class StubBrowser:
    """StubBrowser.exe under Wine, driven by its line commands."""

    def __init__(self, exe, window_class="MozillaWindowClass"):
        self.process = subprocess.Popen(["wine", str(exe), "--class", window_class], env=PREFIX.env,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        bufsize=0)
        ready = self.process.stdout.readline().decode().split()
        if not ready or ready[0] != "ready":
            raise RuntimeError(f"the stand-in browser did not start: {ready}")
        self.window = int(ready[1])

    def command(self, line):
        self.process.stdin.write((line + "\n").encode())
        self.process.stdin.flush()
        reply = self.process.stdout.readline().decode().strip()
        if not reply.startswith("ok"):
            raise RuntimeError(f"{line}: {reply}")
        return reply[3:]

    def children(self):
        return json.loads(self.command("children"))

    def stop(self):
        if self.process.poll() is None:
            try:
                self.command("quit")
            except (RuntimeError, BrokenPipeError, OSError):
                pass
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
        self.process.stdout.close()


class PromptCase(winhost.HostConversation, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        PREFIX.install_product()
        browser_dir = PREFIX.drive_c / "Browser"
        browser_dir.mkdir(exist_ok=True)
        shutil.copy(STUB, browser_dir / "firefox.exe")
        cls.stub = browser_dir / "firefox.exe"

    def setUp(self):
        self.core = winhost.SimCore(PREFIX, SIM)
        self.addCleanup(self.core.stop)
        self.browser = StubBrowser(self.stub)
        self.addCleanup(self.browser.stop)
        self.host = winhost.start_host(PREFIX, EXE, ["C:\\Browser\\lvbho.json", "EdHalo_ffext@lvbho"])
        self.addCleanup(winhost.discard_host, self.host)
        identify = self.ask({"command": "Identify", "name": "firefox"})
        self.assertEqual(0, identify["CommandError"])
        self.assertEqual("1", self.browser.command("foreground"))

    def no_frame_within(self, seconds):
        try:
            frame = winhost.receive_frame(self.host, timeout=seconds)
        except TimeoutError:
            return True
        self.fail(f"unexpected frame {frame!r}")

    # --- what the browser window holds ------------------------------------------------------------------------------

    def dialogs(self):
        """The visible windows placed directly in the browser window (the prompt's dialogs), top first."""
        found = [c for c in self.browser.children() if c["parent"] == self.browser.window and c["visible"]]
        return sorted(found, key=lambda c: c["y"])

    def controls(self, dialog, class_name):
        return [c for c in self.browser.children()
                if c["parent"] == dialog["hwnd"] and c["visible"] and c["class"].lower() == class_name]

    def button(self, dialog, text):
        for control in self.controls(dialog, BUTTON_CLASS):
            if control["text"].replace("&", "") == text:
                return control
        self.fail(f"no button {text!r} in {self.controls(dialog, BUTTON_CLASS)}")

    def show(self, page, domain="mail.example.com", x=100, y=80, w=420, h=300):
        """SetPromptPos, then ShowPrompt; returns (size reply or None, answer, prompt id)."""
        self.assertEqual(0, self.ask({"command": "SetPromptPos", "x": x, "y": y, "w": w, "h": h})["CommandError"])
        prompt_id = self.send({"command": "ShowPrompt", "pagenum": page, "domain": domain})
        first = self.receive()
        if first.get("command") == "ValidateAsyncMsg":
            return first, self.receive(), prompt_id
        return None, first, prompt_id


class ShowPromptTest(PromptCase):
    def test_page_one_is_placed_in_the_browser_window_and_its_size_sent(self):
        size, answer, _ = self.show(1)
        dialogs = self.dialogs()
        self.end()

        self.assertEqual({"CommandError": 0, "CommandErrorMsg": "success", "command": "ShowPrompt", "id": -1}, answer)
        self.assertEqual(("ValidateAsyncMsg", -1, "", -1, 1, ""),
                         (size["command"], size["status"], size["strdevid"], size["Devid"], size["promptheight"],
                          size["msg"]))
        self.assertGreater(size["orgpromptwidth"], 0)
        self.assertEqual(max(size["orgpromptwidth"], 1920), size["promptwidth"])
        self.assertEqual(1, len(dialogs), dialogs)
        self.assertEqual((100, 80), (dialogs[0]["x"], dialogs[0]["y"]))

    def test_before_any_position_the_prompt_shows_at_the_corner_at_its_own_size(self):
        prompt_id = self.send({"command": "ShowPrompt", "pagenum": 1, "domain": "mail.example.com"})
        size = self.receive()
        answer = self.receive()
        dialogs = self.dialogs()
        self.end()

        self.assertEqual(("ValidateAsyncMsg", -1, 0), (size["command"], answer["id"], answer["CommandError"]))
        self.assertEqual(1, len(dialogs))
        self.assertEqual((0, 0), (dialogs[0]["x"], dialogs[0]["y"]))
        # The screen is 1920 pixels wide at 96 DPI: zoom 166.
        self.assertAlmostEqual(size["orgpromptwidth"] * 1.66, dialogs[0]["w"], delta=1)
        self.assertGreater(prompt_id, 0)

    def test_hide_prompt_hides_both_dialogs(self):
        VerificationTest.prepare(self)
        self.assertTrue(self.core.command(f"push copydata {VERIFY_PIN} -1 dev-7 Approve").startswith("ok"))
        self.receive()
        self.assertEqual(2, len(self.dialogs()))

        answer = self.ask({"command": "HidePrompt"})
        after = self.dialogs()
        self.end()

        self.assertEqual(0, answer["CommandError"])
        self.assertEqual([], after)

    def test_pages_four_and_five_send_their_size_too(self):
        for page in (4, 5):
            size, answer, _ = self.show(page)
            self.assertIsNotNone(size, page)
            self.assertEqual(0, answer["CommandError"])
        self.end()

    def test_without_a_browser_in_front_nothing_is_shown(self):
        # The foreground goes to a window of another class than the browser's: no prompt.
        other = StubBrowser(self.stub, window_class="NotABrowser")
        self.addCleanup(other.stop)
        other.command("foreground")

        size, answer, _ = self.show(1)
        self.end()

        self.assertIsNone(size)
        self.assertEqual(0, answer["CommandError"])
        self.assertEqual([], self.dialogs())


class AnswerTest(PromptCase):
    def answer_for(self, page, button):
        _, _, prompt_id = self.show(page)
        dialog = self.dialogs()[0]
        self.browser.command(f"click {self.button(dialog, button)['hwnd']}")
        answer = self.receive()
        self.wait_for(lambda: self.dialogs() == [])
        return prompt_id, answer

    def test_each_button_of_page_one_answers_the_show_prompt(self):
        for button, save, always in (("Save", 1, 0), ("Always save here", 1, 1), ("Never for this site", 0, 0),
                                     ("Not now", 0, 0)):
            prompt_id, answer = self.answer_for(1, button)
            self.assertEqual({"command": "ShowPrompt", "id": prompt_id, "save": save, "alwaysremember": always},
                             answer, button)
        self.end()

    def test_each_button_of_page_five_answers_the_show_prompt(self):
        for button, save, always in (("Update", 1, 0), ("Always update here", 1, 1), ("Not now", 0, 0)):
            prompt_id, answer = self.answer_for(5, button)
            self.assertEqual({"command": "ShowPrompt", "id": prompt_id, "save": save, "alwaysremember": always},
                             answer, button)
        self.end()

    def test_page_four_dont_show_again_answers_no_save(self):
        prompt_id, answer = self.answer_for(4, "Don't show again")
        self.end()

        self.assertEqual({"command": "ShowPrompt", "id": prompt_id, "save": 0, "alwaysremember": 0}, answer)
        self.assertEqual(("REG_DWORD", "0x1"),
                         PREFIX.reg_values(r"HKCU\Software\Kavrin\Lumivar").get("DoNotShowDiscovery"))

    def test_page_four_turn_on_sends_the_notice_then_the_validated_answer(self):
        _, _, prompt_id = self.show(4)
        dialog = self.dialogs()[0]
        self.browser.command(f"click {self.button(dialog, 'Turn on')['hwnd']}")
        notice = self.receive()
        answer = self.receive()
        self.end()

        self.assertEqual({"tabid": "", "command": "ValidateAsyncMsg", "msg": "", "status": 6, "strdevid": "",
                          "Devid": -1}, notice)
        # The stand-in core grants the validation.
        self.assertEqual({"command": "ShowPrompt", "id": prompt_id, "save": 1, "alwaysremember": 0}, answer)


class VerificationTest(PromptCase):
    def push(self, device, status, message="Approve the sign-in"):
        self.assertTrue(self.core.command(f'push copydata {device} {status} dev-7 "{message}"').startswith("ok"))

    def prepare(self):
        # The core learns the host's window and the handler its core window, as a pending CheckAndValidate leaves them.
        self.assertEqual(0, self.ask({"command": "SetPromptPos", "x": 100, "y": 80, "w": 420, "h": 300})["CommandError"])
        check = self.ask({"command": "CheckAndValidate", "DocumentTitle": "Shop", "WebUrl": "https://shop.example.org/",
                          "unamefield": "email", "passfieldname": "pass"})
        self.assertEqual(6, check["CommandError"])

    def test_a_code_result_shows_page_two_and_the_typed_code_reaches_the_core(self):
        self.prepare()
        self.push(VERIFY_CODE, -1)
        reply = self.receive()
        dialogs = self.dialogs()
        edit = self.controls(dialogs[0], EDIT_CLASS)[0]
        self.browser.command(f"settext {edit['hwnd']} 123456")
        self.browser.command(f"click {self.button(dialogs[0], 'Confirm')['hwnd']}")
        self.wait_for(lambda: [e for e in self.core.log() if e.get("event") == "copydata"])
        self.end()

        self.assertEqual(("ValidateAsyncMsg", -1, VERIFY_CODE), (reply["command"], reply["status"], reply["Devid"]))
        self.assertEqual(("", max(reply["orgpromptwidth"], 1920)), (reply["tabid"], reply["promptwidth"]))
        self.assertGreater(reply["promptheight"], 1)
        self.assertEqual(1, len(dialogs))
        record = [e for e in self.core.log() if e.get("event") == "copydata"][0]
        self.assertEqual(("44525655", "123456", 788), (record["strDevId"], record["text2"], record["cbData"]))

    def test_a_pin_result_shows_page_three_with_the_pin_dialog_and_the_pin_reaches_the_core(self):
        self.prepare()
        self.push(VERIFY_PIN, -1)
        self.receive()
        dialogs = self.dialogs()
        self.assertEqual(2, len(dialogs), dialogs)
        prompt, pin = dialogs
        self.assertEqual((100, 80), (prompt["x"], prompt["y"]))
        self.assertEqual((100, 80 + prompt["h"]), (pin["x"], pin["y"]))
        edit = self.controls(pin, EDIT_CLASS)[0]
        self.browser.command(f"settext {edit['hwnd']} 4321")
        self.browser.command(f"click {self.button(pin, 'OK')['hwnd']}")
        self.wait_for(lambda: [e for e in self.core.log() if e.get("event") == "copydata"])
        self.end()

        record = [e for e in self.core.log() if e.get("event") == "copydata"][0]
        self.assertEqual(("44525675", "4321"), (record["strDevId"], record["text2"]))

    def test_a_waiting_result_shows_page_three_alone(self):
        self.prepare()
        self.push(VERIFY_WAITING, -1)
        reply = self.receive()
        dialogs = self.dialogs()
        self.end()

        self.assertEqual(VERIFY_WAITING, reply["Devid"])
        self.assertEqual(1, len(dialogs))
        self.assertEqual([], self.controls(dialogs[0], EDIT_CLASS))

    def test_status_zero_and_six_hide_the_prompt(self):
        self.prepare()
        for status in (0, 6):
            self.push(VERIFY_PIN, -1)
            self.receive()
            self.assertEqual(2, len(self.dialogs()))
            self.push(VERIFY_PIN, status)
            reply = self.receive()
            self.assertEqual((status, ""), (reply["status"], reply["tabid"]))
            self.assertEqual([], self.dialogs())
        self.end()

    def test_another_status_marks_the_pin_bad_and_sends_nothing(self):
        self.prepare()
        self.push(VERIFY_PIN, -1)
        self.receive()
        _, pin = self.dialogs()
        edit = self.controls(pin, EDIT_CLASS)[0]
        self.browser.command(f"settext {edit['hwnd']} 1111")
        self.push(VERIFY_PIN, 5, "Wrong PIN")
        quiet = self.no_frame_within(1)
        after = self.dialogs()
        children = self.browser.children()
        self.end()

        self.assertTrue(quiet)
        self.assertEqual(2, len(after))
        # The wrong-PIN line makes the PIN dialog taller, and its field is emptied for a new try.
        self.assertGreater(after[1]["h"], pin["h"])
        self.assertEqual([""], [c["text"] for c in children if c["hwnd"] == edit["hwnd"]])


class PositionTest(PromptCase):
    def test_set_prompt_pos_inside_the_thresholds_moves_nothing_and_outside_moves_both(self):
        VerificationTest.prepare(self)
        self.assertTrue(self.core.command(f"push copydata {VERIFY_PIN} -1 dev-7 Approve").startswith("ok"))
        self.receive()
        before = self.dialogs()

        self.ask({"command": "SetPromptPos", "x": 100, "y": 80, "w": 469, "h": 349, "zoom": 300})
        same = self.dialogs()
        self.ask({"command": "SetPromptPos", "x": 101, "y": 80, "w": 420, "h": 300})
        moved = self.dialogs()
        self.end()

        rect = lambda d: (d["x"], d["y"], d["w"], d["h"])  # noqa: E731
        self.assertEqual([rect(d) for d in before], [rect(d) for d in same])
        self.assertEqual([(101, 420), (101, 420)], [(d["x"], d["w"]) for d in moved])
        self.assertEqual(moved[0]["y"] + moved[0]["h"], moved[1]["y"])


class FocusTest(PromptCase):
    def notify(self, window):
        self.browser.command(f"notify 8005 {window}")

    def test_focus_changes_of_firefox_are_reported_in_order(self):
        self.notify(self.browser.window)
        focused = self.receive()
        # Focusing a child window of another class is a real focus event: the browser is found through its parent.
        self.browser.command("child MozillaCompositorWindowClass")
        focused_child = self.receive()
        self.browser.command("minimize")
        desktop = int(self.browser.command("desktop"))
        self.notify(desktop)
        away = self.receive()
        self.notify(desktop)
        nothing_more = self.no_frame_within(1)
        self.end()

        self.assertEqual({"command": "focuschangeevent", "focused": 1, "minimize": 0}, focused)
        self.assertEqual({"command": "focuschangeevent", "focused": 1, "minimize": 0}, focused_child)
        self.assertEqual({"command": "focuschangeevent", "focused": 0, "minimize": 1}, away)
        self.assertTrue(nothing_more)

    def test_focus_on_the_core_sends_nothing(self):
        self.notify(self.browser.window)
        self.receive()
        core_window = self.core.window
        self.notify(core_window)
        self.assertTrue(self.no_frame_within(1))
        self.end()


def loads_lvui(host):
    """Whether the host process has LVUI.dll mapped (Wine maps a DLL's file into the process)."""
    return "lvui.dll" in Path(f"/proc/{host.pid}/maps").read_text().lower()


class LoadingTest(PromptCase):
    def test_firefox_loads_lvui_with_its_prompt_window(self):
        # setUp made the prompt window (Identify as Firefox).
        loaded = loads_lvui(self.host)
        self.end()
        self.assertTrue(loaded)


class LanguageTest(PromptCase):
    """The host started in the user's language (under Wine: LC_ALL), the prompt read from the browser's process."""

    # LC_ALL, the name "GetLang" answers and the catalogue the prompt shows, whether it reads right to left.
    LOCALES = [
        ("en_US.UTF-8", "English", False), ("de_DE.UTF-8", "German", False), ("fr_FR.UTF-8", "French", False),
        ("ja_JP.UTF-8", "Japanese", False), ("ko_KR.UTF-8", "Korean", False), ("zh_CN.UTF-8", "SChinese", False),
        ("zh_TW.UTF-8", "TChinese", False), ("ru_RU.UTF-8", "Russian", False), ("el_GR.UTF-8", "Greek", False),
        ("ar_SA.UTF-8", "Arabic", True), ("he_IL.UTF-8", "Hebrew", True), ("pt_BR.UTF-8", "Brazilian", False),
        ("pt_PT.UTF-8", "Portuguese", False), ("pl_PL.UTF-8", "Polish", False), ("tr_TR.UTF-8", "Turkish", False),
        ("sr_RS@latin", "Serbian", False),
    ]
    # Reaches the host as UTF-8 and is shown as it is (the host upper-cases ASCII letters only).
    DOMAIN = "bücher.example"
    SHOWN = "BüCHER.EXAMPLE"
    BUTTONS = ("IDS_SAVE", "IDS_NOT_NOW", "IDS_ALWAYS_SAVE", "IDS_NEVER_SITE")

    def setUp(self):
        self.core = winhost.SimCore(PREFIX, SIM)
        self.addCleanup(self.core.stop)
        self.browser = StubBrowser(self.stub)
        self.addCleanup(self.browser.stop)

    def start_in(self, locale):
        self.host = winhost.start_host(PREFIX, EXE, ["C:\\Browser\\lvbho.json", "EdHalo_ffext@lvbho"],
                                       env=dict(PREFIX.env, LC_ALL=locale))
        self.addCleanup(winhost.discard_host, self.host)
        self.assertEqual(0, self.ask({"command": "Identify", "name": "firefox"})["CommandError"])
        self.assertEqual("1", self.browser.command("foreground"))

    def test_the_save_prompt_speaks_the_users_language(self):
        for locale, name, right_to_left in self.LOCALES:
            with self.subTest(locale=locale):
                expected = prompt_texts.texts(name)
                self.start_in(locale)
                language = self.ask({"command": "GetLang"})["Lang"]
                self.show(1, domain=self.DOMAIN)
                dialog = self.dialogs()[0]
                statics = [c["text"] for c in self.controls(dialog, "static")]
                buttons = {c["text"]: c for c in self.controls(dialog, BUTTON_CLASS)}
                self.end()

                self.assertEqual(name, language)
                self.assertEqual([expected["IDS_SAVE_TITLE"], self.SHOWN, expected["IDS_SAVE_NOTE"]], statics)
                self.assertEqual(sorted(expected[key] for key in self.BUTTONS), sorted(buttons))
                save, not_now = buttons[expected["IDS_SAVE"]], buttons[expected["IDS_NOT_NOW"]]
                # Right to left the dialog is mirrored: the main button is the one on the right.
                self.assertEqual(right_to_left, save["x"] > not_now["x"], (save, not_now))

    def test_the_pin_dialog_speaks_the_users_language(self):
        for locale, name, _ in (("ja_JP.UTF-8", "Japanese", False), ("ar_SA.UTF-8", "Arabic", True)):
            with self.subTest(locale=locale):
                expected = prompt_texts.texts(name)
                self.start_in(locale)
                VerificationTest.prepare(self)
                self.assertTrue(self.core.command(f"push copydata {VERIFY_PIN} -1 dev-7 Approve").startswith("ok"))
                self.receive()
                self.wait_for(lambda: len(self.dialogs()) == 2)
                pin = self.dialogs()[1]
                statics = [c["text"] for c in self.controls(pin, "static")]
                buttons = sorted(c["text"] for c in self.controls(pin, BUTTON_CLASS))
                self.end()

                self.assertEqual([expected["IDS_PIN_TITLE"], expected["IDS_PIN_BODY"], expected["IDS_PIN_LABEL"]],
                                 statics)
                self.assertEqual(sorted([expected["IDS_OK"], expected["IDS_CANCEL"]]), buttons)


class ChromeTest(unittest.TestCase):
    def test_chrome_gets_no_prompt_window_and_no_focus_messages(self):
        PREFIX.install_product()
        browser = StubBrowser(STUB, "Chrome_WidgetWin_1")
        self.addCleanup(browser.stop)
        host = winhost.start_host(PREFIX, EXE, ["chrome-extension://dgldcbgpnkooljhfhcjpkojcdnfkepnb/"])
        self.addCleanup(winhost.discard_host, host)
        for request in ({"command": "Identify", "name": "chrome", "id": 1},
                        {"command": "ShowPrompt", "pagenum": 1, "domain": "a.com", "id": 2}):
            host.stdin.write(winhost.frame(json.dumps(request)))
        host.stdin.flush()
        identify = json.loads(winhost.receive_frame(host))
        show = json.loads(winhost.receive_frame(host))
        lvui_loaded = loads_lvui(host)
        browser.command(f"notify 8005 {browser.window}")
        with self.assertRaises(TimeoutError):
            winhost.receive_frame(host, timeout=1)
        host.stdin.close()
        self.assertEqual(0, winhost.wait_host(host))

        self.assertEqual(0, identify["CommandError"])
        self.assertEqual((3, -1), (show["CommandError"], show["id"]))
        # LVUI.dll is loaded with the first prompt window: a Chrome session never loads it.
        self.assertFalse(lvui_loaded)


if __name__ == "__main__":
    winhost.blackbox_main(__doc__, [("--exe", "path to LVBHOHost.exe (LVUI.dll beside it)", "EXE"),
                                    ("--sim", "path to SimLvEngine.exe, the stand-in core", "SIM"),
                                    ("--stub-browser", "path to StubBrowser.exe", "STUB")], globals())
