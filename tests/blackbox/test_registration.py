#!/usr/bin/env python3
"""Black-box tests of LVBHOHost.exe's registration switches under Wine: what each switch leaves in the registry and
the folders of a scratch prefix, with the working directory set as the installer sets it.

The local Group Policy object is our own test double (Wine has none), registered machine-wide in the prefix;
chrome.exe is a stub under App Paths that records its command line.
"""

import shutil
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts" / "lib"))
import winhost  # noqa: E402
from winhost import (CHROME_EXTENSIONS, CHROME_HOST, CHROME_POLICY, FAKE_GPO, FIREFOX_EXTENSIONS,  # noqa: E402
                     FIREFOX_HOST, FORCELIST, GPO_CLASS, INSTALL_DIR, USER_PRODUCT)

EXE = FAKEGPO = STUB_CHROME = PREFIX = None

PRODUCT = r"HKLM\Software\Kavrin\Lumivar"
GPO_CLSID = GPO_CLASS + r"\InprocServer32"
APP_PATHS_CHROME = r"HKLM\Software\Microsoft\Windows\CurrentVersion\App Paths\chrome.exe"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class RegistrationCase(unittest.TestCase):
    edition = 55

    def setUp(self):
        PREFIX.install_product(install_dir=INSTALL_DIR, oem=self.edition)
        self.install = PREFIX.drive_c / "Program Files" / "Lumivar"
        self.install.mkdir(parents=True, exist_ok=True)
        for key in (CHROME_HOST, FIREFOX_HOST, FIREFOX_EXTENSIONS, CHROME_EXTENSIONS, USER_PRODUCT, FAKE_GPO):
            PREFIX.reg("delete", key, "/f", "/reg:64")
            PREFIX.reg("delete", key, "/f", "/reg:32")
        for name in self.install.glob("*.json"):
            name.unlink()

    def switch(self, *switches, cwd=None, env=None):
        result = winhost.run_host(PREFIX, EXE, args=["-" + s for s in switches], close_stdin=False, timeout=60,
                                  cwd=str(cwd or self.install), env=env)
        self.assertEqual((0, b""), (result.returncode, result.stdout), result.stderr[-2000:])
        return result


CHROME_IDS = {5: "kembcdlbgbcnnchcnbdhbmbhbejnedjf", 55: "dgldcbgpnkooljhfhcjpkojcdnfkepnb",
              59: "ckklpoccipcbjojmlaolfdpbgjehmmpc", 60: "fomieninlmhecfehhapfijaenlkebomm",
              7: "mmdpmbgcgofdkbdaedlacgmeillpddpo"}
FIREFOX_IDS = {5: "EdEsca_ffext@lvbho", 55: "EdHalo_ffext@lvbho", 56: "EdHalo_ffext@lvbho", 59: "EdDuna_ffext@lvbho",
               60: "EdGiro_ffext@lvbho", 7: "EdHalo_ffext@lvbho"}


class NativeAppTest(RegistrationCase):
    def test_each_edition_writes_its_manifests_byte_for_byte(self):
        for edition, firefox_id in FIREFOX_IDS.items():
            with self.subTest(edition=edition):
                PREFIX.install_product(install_dir=INSTALL_DIR, oem=edition)
                for name in self.install.glob("*.json"):
                    name.unlink()

                self.switch("RegisterNativeApp")

                chrome = self.install / "com.google.chrome.lvbhohost-win.json"
                if edition == 56:
                    self.assertFalse(chrome.exists())
                else:
                    self.assertEqual(('{"allowed_origins":["chrome-extension://%s/"],"description":"Chrome Native '
                                      'Messaging LVBHO Host","name":"com.google.chrome.lvbhohost","path":'
                                      '"lvbhohost.exe","type":"stdio"}' % CHROME_IDS[edition]).encode(),
                                     chrome.read_bytes())
                self.assertEqual(('{"allowed_extensions":["%s"],"description":"Firefox Native Messaging LVBHO Host",'
                                  '"name":"com.mozilla.firefox.lvbhohost","path":"lvbhohost.exe","type":"stdio"}'
                                  % firefox_id).encode(),
                                 (self.install / "com.mozilla.firefox.lvbhohost-win.json").read_bytes())

    def test_a_longer_manifest_already_there_is_replaced_whole(self):
        (self.install / "com.google.chrome.lvbhohost-win.json").write_text("x" * 4000)

        self.switch("RegisterNativeApp")

        self.assertTrue((self.install / "com.google.chrome.lvbhohost-win.json").read_text().endswith('"stdio"}'))

    def test_register_writes_both_manifests_and_points_the_keys_at_them(self):
        self.assertIsNone(PREFIX.reg_values(CHROME_HOST))

        self.switch("RegisterNativeApp")

        chrome = (self.install / "com.google.chrome.lvbhohost-win.json").read_bytes()
        firefox = (self.install / "com.mozilla.firefox.lvbhohost-win.json").read_bytes()
        self.assertEqual(b'{"allowed_origins":["chrome-extension://dgldcbgpnkooljhfhcjpkojcdnfkepnb/"],'
                         b'"description":"Chrome Native Messaging LVBHO Host","name":"com.google.chrome.lvbhohost",'
                         b'"path":"lvbhohost.exe","type":"stdio"}', chrome)
        self.assertEqual(b'{"allowed_extensions":["EdHalo_ffext@lvbho"],'
                         b'"description":"Firefox Native Messaging LVBHO Host","name":"com.mozilla.firefox.lvbhohost",'
                         b'"path":"lvbhohost.exe","type":"stdio"}', firefox)
        self.assertEqual(("REG_SZ", INSTALL_DIR + "com.google.chrome.lvbhohost-win.json"),
                         PREFIX.reg_values(CHROME_HOST)[""])
        self.assertEqual(("REG_SZ", INSTALL_DIR + "com.mozilla.firefox.lvbhohost-win.json"),
                         PREFIX.reg_values(FIREFOX_HOST)[""])
        self.assertIsNone(PREFIX.reg_values(CHROME_HOST, view=32))

    def test_unregister_removes_the_keys_and_leaves_the_files(self):
        self.switch("RegisterNativeApp")

        self.switch("UnRegisterNativeApp")

        self.assertIsNone(PREFIX.reg_values(CHROME_HOST))
        self.assertIsNone(PREFIX.reg_values(FIREFOX_HOST))
        self.assertTrue((self.install / "com.google.chrome.lvbhohost-win.json").exists())
        self.assertTrue((self.install / "com.mozilla.firefox.lvbhohost-win.json").exists())

    def test_register_wins_over_unregister_given_together(self):
        self.switch("UnRegisterNativeApp", "RegisterNativeApp")

        self.assertIsNotNone(PREFIX.reg_values(CHROME_HOST))

    def test_another_working_directory_gets_the_manifests(self):
        elsewhere = PREFIX.drive_c / "Elsewhere"
        elsewhere.mkdir(exist_ok=True)

        self.switch("RegisterNativeApp", cwd=elsewhere)

        self.assertTrue((elsewhere / "com.google.chrome.lvbhohost-win.json").exists())
        self.assertEqual(("REG_SZ", "C:\\Elsewhere\\com.google.chrome.lvbhohost-win.json"),
                         PREFIX.reg_values(CHROME_HOST)[""])


class EditionFiftySixTest(RegistrationCase):
    edition = 56

    def test_firefox_is_registered_but_not_chrome(self):
        self.switch("RegisterNativeApp")

        self.assertFalse((self.install / "com.google.chrome.lvbhohost-win.json").exists())
        self.assertIsNone(PREFIX.reg_values(CHROME_HOST))
        self.assertIsNotNone(PREFIX.reg_values(FIREFOX_HOST))

    def test_no_chrome_bho_value_is_written(self):
        self.switch("CheckBHOInstalled")

        values = PREFIX.reg_values(USER_PRODUCT) or {}
        self.assertNotIn("ChromeBHO", values)


class FirefoxTest(RegistrationCase):
    edition = 60

    def test_each_view_gets_its_own_values(self):
        self.switch("RegisterFFBHO")

        product64 = PREFIX.reg_values(PRODUCT, view=64)
        product32 = PREFIX.reg_values(PRODUCT, view=32)
        self.assertEqual(("REG_SZ", INSTALL_DIR + "lvbhohost.exe"), product64["lvbhohost"])
        self.assertEqual(("REG_SZ", INSTALL_DIR + "lvhostpipe64.dll"), product64["lvhostpipe"])
        self.assertEqual(("REG_SZ", INSTALL_DIR + "lvhostpipe.dll"), product32["lvhostpipe"])
        for view in (64, 32):
            self.assertEqual(("REG_SZ", INSTALL_DIR + "FFBHOExt"),
                             PREFIX.reg_values(FIREFOX_EXTENSIONS, view=view)["EdGiro_ffext@lvbho"])

    def test_unregistering_twice_keeps_the_64_bit_host_values(self):
        self.switch("RegisterFFBHO")

        self.switch("UnRegisterFFBHO")
        self.switch("UnRegisterFFBHO")

        self.assertNotIn("EdGiro_ffext@lvbho", PREFIX.reg_values(FIREFOX_EXTENSIONS, view=64))
        self.assertNotIn("EdGiro_ffext@lvbho", PREFIX.reg_values(FIREFOX_EXTENSIONS, view=32))
        self.assertNotIn("lvhostpipe", PREFIX.reg_values(PRODUCT, view=32))
        self.assertIn("lvbhohost", PREFIX.reg_values(PRODUCT, view=64))
        self.assertIn("lvhostpipe", PREFIX.reg_values(PRODUCT, view=64))


class ChromeExtensionTest(RegistrationCase):
    edition = 59

    def user_data(self):
        users = [p for p in (PREFIX.drive_c / "users").iterdir() if p.name.lower() != "public"]
        return users[0] / "AppData" / "Local" / "Google" / "Chrome" / "User Data"

    def tearDown(self):
        shutil.rmtree(self.user_data(), ignore_errors=True)

    def test_the_external_extension_key_is_in_the_32_bit_view_only(self):
        self.switch("RegisterChromeBHO")

        key = CHROME_EXTENSIONS + r"\ckklpoccipcbjojmlaolfdpbgjehmmpc"
        self.assertEqual(("REG_SZ", "https://clients2.google.com/service/update2/crx"),
                         PREFIX.reg_values(key, view=32)["update_url"])
        self.assertIsNone(PREFIX.reg_values(key, view=64))

        self.switch("UnRegisterChromeBHO")

        self.assertIsNone(PREFIX.reg_values(key, view=32))

    def test_an_extension_folder_deep_in_a_profile_counts_in_any_case(self):
        (self.user_data() / "Profile 1" / "Extensions" / "CKKLPOCCIPCBJOJMLAOLFDPBGJEHMMPC" / "1.0_0").mkdir(
            parents=True)

        self.switch("CheckBHOInstalled")

        self.assertEqual(("REG_DWORD", "0x1"), PREFIX.reg_values(USER_PRODUCT)["ChromeBHO"])

    def test_a_file_named_like_the_extension_does_not_count(self):
        folder = self.user_data() / "Default" / "Extensions"
        folder.mkdir(parents=True)
        (folder / "ckklpoccipcbjojmlaolfdpbgjehmmpc").write_text("not a folder")

        self.switch("CheckBHOInstalled")

        self.assertEqual(("REG_DWORD", "0x0"), PREFIX.reg_values(USER_PRODUCT)["ChromeBHO"])

    def test_the_install_page_opens_in_chrome_with_the_users_language(self):
        stub = PREFIX.drive_c / "StubChrome" / "chrome.exe"
        stub.parent.mkdir(exist_ok=True)
        shutil.copy(STUB_CHROME, stub)
        log = stub.parent / "StubChrome.log"
        if log.exists():
            log.unlink()
        PREFIX.reg("add", APP_PATHS_CHROME, "/ve", "/d", "C:\\StubChrome\\chrome.exe", "/f")
        self.addCleanup(PREFIX.reg, "delete", APP_PATHS_CHROME, "/f")

        self.switch("InstallChromeBHO", env={"LC_ALL": "de_DE.UTF-8"})

        for _ in range(100):  # ShellExecute does not wait for Chrome
            if log.exists() and log.read_text().strip():
                break
            time.sleep(0.05)
        self.assertRegex(log.read_text(), r"chrome\.exe\"? http://www\.lumivar\.invalid/chrome/EdDuna/\?lang=de-DE")


class ChromePolicyTest(RegistrationCase):
    def setUp(self):
        super().setUp()
        self.record = PREFIX.drive_c / "fakegpo.log"
        if self.record.exists():
            self.record.unlink()
        dll = PREFIX.drive_c / "FakeGpo.dll"
        shutil.copy(FAKEGPO, dll)
        PREFIX.reg("add", GPO_CLSID, "/ve", "/d", "C:\\FakeGpo.dll", "/f")
        PREFIX.reg("add", GPO_CLSID, "/v", "ThreadingModel", "/d", "Both", "/f")
        PREFIX.reg("add", FAKE_GPO, "/v", "RecordFile", "/d", "C:\\fakegpo.log", "/f")
        self.addCleanup(PREFIX.reg, "delete", r"HKCR\CLSID\{EA502722-A23D-11D1-A7D3-0000F87571E3}", "/f")

    def saves(self):
        return self.record.read_text().splitlines() if self.record.exists() else []

    def test_registering_twice_leaves_one_entry_and_saves_once(self):
        self.switch("RegisterChromeGPO")
        self.switch("RegisterChromeGPO")

        forcelist = PREFIX.reg_values(FORCELIST)
        self.assertEqual(["1"], list(forcelist))
        self.assertEqual(("REG_SZ", "ppjcedkipfagleajcilflhkhghmhgpla;http://store.lumivar.invalid/chrome-ext/EdBrio/"
                                    "update.xml"), forcelist["1"])
        self.assertEqual(("REG_DWORD", "0x0"), PREFIX.reg_values(CHROME_POLICY)["PasswordManagerEnabled"])
        self.assertEqual(["Save machine=1 add=1 extension={35378EAC-683F-11D2-A89A-00C04FBBCFA2} "
                          "tool={3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A} result=0"], self.saves())

    def test_unregistering_removes_the_entry_and_saves_with_the_removal_tool(self):
        self.switch("RegisterChromeGPO")

        self.switch("UnRegisterChromeGPO")

        self.assertEqual({}, PREFIX.reg_values(FORCELIST))
        self.assertNotIn("PasswordManagerEnabled", PREFIX.reg_values(CHROME_POLICY))
        self.assertIn("tool={75FDA387-C370-4D62-A9CF-BD4A97257667}", self.saves()[-1])

    def test_unregistering_an_absent_entry_changes_nothing(self):
        PREFIX.reg("add", FORCELIST, "/v", "1", "/d", "otherextension;http://other.example/update.xml", "/f")
        PREFIX.reg("add", CHROME_POLICY, "/v", "PasswordManagerEnabled", "/t", "REG_DWORD", "/d", "0", "/f")

        self.switch("UnRegisterChromeGPO")

        self.assertIn("PasswordManagerEnabled", PREFIX.reg_values(CHROME_POLICY))
        self.assertEqual(["1"], list(PREFIX.reg_values(FORCELIST)))
        self.assertEqual([], self.saves())

    def test_an_entry_with_another_update_base_makes_registration_fail_without_changes(self):
        old = "ppjcedkipfagleajcilflhkhghmhgpla;http://old.example/chrome-ext/EdBrio/update.xml"
        PREFIX.reg("add", FORCELIST, "/v", "1", "/d", old, "/f")

        self.switch("RegisterChromeGPO")

        self.assertEqual({"1": ("REG_SZ", old)}, PREFIX.reg_values(FORCELIST))
        self.assertNotIn("PasswordManagerEnabled", PREFIX.reg_values(CHROME_POLICY))
        self.assertEqual([], self.saves())

    def test_the_new_entry_is_named_by_the_count_of_values_not_one_more(self):
        PREFIX.reg("add", FORCELIST, "/v", "1", "/d", "aaaa;http://a.example/update.xml", "/f")
        PREFIX.reg("add", FORCELIST, "/v", "2", "/d", "bbbb;http://b.example/update.xml", "/f")

        self.switch("RegisterChromeGPO")

        forcelist = PREFIX.reg_values(FORCELIST)
        self.assertEqual(["1", "2"], sorted(forcelist))
        self.assertTrue(forcelist["2"][1].startswith("ppjcedkipfagleajcilflhkhghmhgpla;"))
        self.assertEqual(1, len(self.saves()))

    def test_without_a_group_policy_object_the_switch_fails_quietly(self):
        PREFIX.reg("delete", r"HKCR\CLSID\{EA502722-A23D-11D1-A7D3-0000F87571E3}", "/f")

        self.switch("RegisterChromeGPO")

        self.assertIsNone(PREFIX.reg_values(FORCELIST))
        self.assertEqual([], self.saves())


if __name__ == "__main__":
    winhost.blackbox_main(__doc__, [("--exe", "path to LVBHOHost.exe", "EXE"),
                                    ("--fakegpo", "path to FakeGpo.dll (Group Policy stand-in)", "FAKEGPO"),
                                    ("--stub-chrome", "path to StubChrome.exe", "STUB_CHROME")], globals())
