#!/usr/bin/env python3
"""Black-box tests of LvRegDoctor.exe under Wine: what it reports after LVBHOHost.exe's registration switches ran in
a scratch prefix (with the working directory set as the installer sets it), that it changes nothing, and what it
sees of a running stand-in core.

Uses the scratch prefix of scripts/with-wine-prefix when run inside it, else a fresh one.
"""

import json
import shutil
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts" / "lib"))
import winhost  # noqa: E402
from winhost import (CHROME_EXTENSIONS, CHROME_HOST, FIREFOX_EXTENSIONS, FIREFOX_HOST, INSTALL_DIR,  # noqa: E402
                     USER_PRODUCT)

EXE = DOCTOR = SIM = PREFIX = None

EDITION = 55
CHROME_ID = "dgldcbgpnkooljhfhcjpkojcdnfkepnb"
FIREFOX_ID = "EdHalo_ffext@lvbho"
# The subtrees the switches write, both views, for the before-and-after comparison.
WATCHED = (r"HKLM\SOFTWARE\Google", r"HKLM\SOFTWARE\Mozilla", r"HKLM\SOFTWARE\Kavrin", r"HKLM\SOFTWARE\Policies",
           r"HKCU\Software")


def snapshot():
    """`reg query /s` of the watched subtrees in both views."""
    texts = []
    for key in WATCHED:
        for view in (64, 32):
            code, text = PREFIX.reg_tree(key, view)
            texts.append(f"{key} {view} {code}\n" + text)
    return texts


class DoctorCase(unittest.TestCase):
    def setUp(self):
        PREFIX.install_product(install_dir=INSTALL_DIR, oem=EDITION)
        self.install = PREFIX.drive_c / "Program Files" / "Lumivar"
        self.install.mkdir(parents=True, exist_ok=True)
        for key in (CHROME_HOST, FIREFOX_HOST, FIREFOX_EXTENSIONS, CHROME_EXTENSIONS, USER_PRODUCT):
            PREFIX.reg("delete", key, "/f", "/reg:64")
            PREFIX.reg("delete", key, "/f", "/reg:32")
        for name in self.install.glob("*.json"):
            name.unlink()
        # The manifests name the host relatively, so it must lie beside them under its own name.
        shutil.copy(EXE, self.install / "lvbhohost.exe")
        (self.install / "FFBHOExt").mkdir(exist_ok=True)

    def switch(self, *switches):
        result = winhost.run_host(PREFIX, EXE, args=["-" + s for s in switches], close_stdin=False, timeout=60,
                                  cwd=str(self.install))
        self.assertEqual(0, result.returncode, result.stderr[-2000:])

    def doctor(self, *args, expect_code=0):
        result = winhost.run_host(PREFIX, DOCTOR, args=list(args), timeout=60, cwd=str(PREFIX.drive_c))
        self.assertEqual(expect_code, result.returncode, result.stderr[-2000:])
        return result

    def report(self):
        return json.loads(self.doctor("--json").stdout)


class RegisteredTest(DoctorCase):
    def setUp(self):
        super().setUp()
        self.switch("RegisterNativeApp")
        self.switch("RegisterFFBHO")
        self.switch("RegisterChromeBHO")
        self.switch("CheckBHOInstalled")

    def test_the_hosts_registrations_win_and_are_valid(self):
        report = self.report()

        hosts = report["nativeMessaging"]
        # Chrome: HKLM's 64-bit view is the fourth place; Edge falls back to Chrome's key, its twelfth; Firefox
        # reads HKLM's 64-bit view third.
        for browser, winner in (("chrome", 4), ("edge", 12), ("firefox", 3)):
            with self.subTest(browser=browser):
                host = hosts[browser]
                self.assertEqual("ok", host["status"])
                self.assertEqual(winner, host["winner"])
                won = [r for r in host["registrations"] if r["wins"]]
                self.assertEqual(1, len(won))
                manifest = won[0]["manifest"]
                self.assertTrue(manifest["valid"], manifest["problems"])
                self.assertTrue(manifest["allowsEdition"])
                self.assertEqual(INSTALL_DIR + "lvbhohost.exe", manifest["program"])
        self.assertEqual(INSTALL_DIR + "com.google.chrome.lvbhohost-win.json",
                         hosts["chrome"]["registrations"][3]["manifestPath"])
        self.assertEqual(["chrome-extension://%s/" % CHROME_ID],
                         hosts["chrome"]["registrations"][3]["manifest"]["allowed"])

    def test_the_extension_entries_are_registered(self):
        report = self.report()

        self.assertTrue(report["chromeExtension"]["registered"])
        self.assertEqual(CHROME_ID, report["chromeExtension"]["extensionId"])
        self.assertEqual(0, report["chromeExtension"]["found"]["value"])
        firefox = report["firefoxExtension"]
        self.assertTrue(firefox["registered"])
        self.assertEqual(FIREFOX_ID, firefox["extensionId"])
        self.assertEqual([True, True], [key["folderExists"] for key in firefox["keys"]])
        self.assertEqual(INSTALL_DIR + "lvbhohost.exe", firefox["hostPath"]["value"])
        self.assertTrue(firefox["hostPath"]["fileExists"])
        self.assertEqual([INSTALL_DIR + "lvhostpipe64.dll", INSTALL_DIR + "lvhostpipe.dll"],
                         [pipe["value"] for pipe in firefox["pipeLibrary"]])

    def test_the_product_key_is_shown_with_its_values(self):
        product = self.report()["product"]

        self.assertTrue(product["installed"])
        self.assertEqual(EDITION, product["edition"])
        values = {value["name"]: value["data"] for value in product["keys"][0]["values"]}
        self.assertEqual(INSTALL_DIR, values["InstallDir"])
        self.assertEqual(EDITION, values["OEM"])

    def test_the_doctor_changes_nothing(self):
        before = snapshot()
        manifest = (self.install / "com.google.chrome.lvbhohost-win.json").read_bytes()

        self.doctor("--json")
        self.doctor()

        self.assertEqual(before, snapshot())
        self.assertEqual(manifest, (self.install / "com.google.chrome.lvbhohost-win.json").read_bytes())

    def test_a_deleted_manifest_breaks_chrome_and_edge_but_not_firefox(self):
        (self.install / "com.google.chrome.lvbhohost-win.json").unlink()

        hosts = self.report()["nativeMessaging"]

        self.assertEqual("broken", hosts["chrome"]["status"])
        self.assertEqual("broken", hosts["edge"]["status"])
        self.assertEqual("ok", hosts["firefox"]["status"])
        manifest = hosts["chrome"]["registrations"][3]["manifest"]
        self.assertEqual(["the manifest file does not exist"], manifest["problems"])

    def test_the_text_report_marks_the_winner(self):
        text = self.doctor().stdout.decode("utf-8").replace("\r\n", "\n")

        self.assertIn("4. " + CHROME_HOST + " (64-bit view): " + INSTALL_DIR
                      + "com.google.chrome.lvbhohost-win.json  <- wins\n", text)
        self.assertIn("result: ok, registration 12 wins and is valid\n", text)
        self.assertIn("  Firefox native messaging: ok\n", text)


class UnregisteredTest(DoctorCase):
    def test_after_unregistering_no_browser_finds_the_host(self):
        self.switch("RegisterNativeApp")
        self.switch("UnRegisterNativeApp")

        hosts = self.report()["nativeMessaging"]

        for browser in ("chrome", "edge", "firefox"):
            self.assertEqual("not registered", hosts[browser]["status"], browser)
            self.assertIsNone(hosts[browser]["winner"])


class ArgumentsTest(DoctorCase):
    def test_a_bad_argument_exits_with_two_and_the_usage(self):
        result = self.doctor("--fix", expect_code=2)

        self.assertEqual(b"", result.stdout)
        self.assertIn(b"usage: LvRegDoctor [--json] [--help]", result.stderr)

    def test_help_prints_the_usage(self):
        result = self.doctor("--help")

        self.assertTrue(result.stdout.startswith(b"usage: LvRegDoctor [--json] [--help]"))


class CoreTest(DoctorCase):
    def test_without_a_core_nothing_runs_and_there_is_no_block(self):
        core = self.report()["core"]

        self.assertFalse(core["running"])
        self.assertFalse(core["sharedBlock"]["present"])

    def test_a_running_core_and_its_fresh_block_are_seen(self):
        with winhost.SimCore(PREFIX, SIM) as sim:
            core = self.report()["core"]

        self.assertTrue(core["running"])
        self.assertEqual(sim.pid, core["processId"])
        block = core["sharedBlock"]
        self.assertTrue(block["present"])
        # As the block's creator leaves it: request code 1, no answer yet, no flags.
        self.assertEqual((1, 0xFFFFFFFF, 0), (block["requestCode"], block["result"], block["flags"]))
        self.assertEqual("pending", block["resultName"])


if __name__ == "__main__":
    winhost.blackbox_main(__doc__, [("--exe", "path to LVBHOHost.exe", "EXE"),
                                    ("--doctor", "path to LvRegDoctor.exe", "DOCTOR"),
                                    ("--sim", "path to SimLvEngine.exe, the stand-in core", "SIM")], globals())
