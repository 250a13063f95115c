#!/usr/bin/env python3
"""The release as a Windows team gets it (make dist), under Wine: the MSI refuses without the product and changes
nothing; installs into the product's folder and registers the host (its version information and manifest read back
through Windows, LvRegDoctor.exe reports Chrome's and Firefox's registrations valid); a newer MSI replaces it
leaving one installation and one registration; repair restores deleted files and registrations; removal leaves
nothing registered and none of its files. CHROMEPOLICY=1 adds the Chrome policy (through our stand-in for the
local Group Policy object), and removal takes it away. Also: every artifact signs and verifies with a throwaway
certificate.

The steps run in order in one prefix (the scratch prefix of scripts/with-wine-prefix, else a fresh one).

  test_release.py --dist DIR --probe FileInfoProbe.exe --fakegpo FakeGpo.dll
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts" / "lib"))
import distpack  # noqa: E402
import winhost  # noqa: E402
from winhost import CHROME_HOST, FAKE_GPO, FIREFOX_HOST, FORCELIST, GPO_CLASS, INSTALL_DIR  # noqa: E402

DIST = PROBE = FAKEGPO = PREFIX = None

UNINSTALL = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
HOST_KEY = r"HKLM\Software\Kavrin\LVBHOHost"
# msiexec's ERROR_INSTALL_FAILURE, as Wine passes it to Linux: only the low byte of an exit code survives.
INSTALL_FAILURE = 1603 & 0xFF
# The prefix's subtrees an installation may touch, both views: compared before and after a refused one.
WATCHED = (r"HKLM\SOFTWARE\Google", r"HKLM\SOFTWARE\Mozilla", r"HKLM\SOFTWARE\Kavrin", UNINSTALL,
           r"HKLM\Software\Microsoft\Windows\CurrentVersion\Installer")


def version():
    return next(DIST.glob("LVBHOHost-*-win64.msi")).name[len("LVBHOHost-"):-len("-win64.msi")]


_newer = {}


def newer_msi(work):
    """An MSI of the same binaries with a higher version (make-dist --version), copied to C:\\newer.msi once."""
    if "version" not in _newer:
        numbers = [int(n) for n in version().split(".")]
        higher = ".".join(map(str, numbers[:2] + [numbers[2] + 1]))
        out = Path(work) / "newer"
        build = subprocess.run([sys.executable, ROOT / "scripts" / "make-dist", "--out", out, "--version", higher],
                               capture_output=True, text=True)
        if build.returncode != 0:
            raise AssertionError("make-dist --version failed: " + build.stderr)
        shutil.copy(next(out.glob("*.msi")), PREFIX.drive_c / "newer.msi")
        _newer["version"] = higher
    return _newer["version"]


def snapshot():
    texts = []
    for key in WATCHED:
        for view in (64, 32):
            code, text = PREFIX.reg_tree(key, view)
            texts.append(f"{key} {view} {code}\n{text}")
    # Every folder of drive C but Wine's own and the users'; the logs and packages the tests put at its top aside.
    files = sorted(str(rel) for rel in (p.relative_to(PREFIX.drive_c) for p in PREFIX.drive_c.rglob("*"))
                   if len(rel.parts) > 1 and rel.parts[0] not in ("windows", "users"))
    return texts, files


def products():
    """The display names and versions of the installed products called "Lumivar browser host"."""
    code, text = PREFIX.reg_tree(UNINSTALL, 64)
    found, current = [], {}
    for line in text.splitlines() + [""]:
        if line.startswith("HKEY_"):
            current = {}
        parts = line.strip().split("    ")
        if len(parts) == 3 and parts[0] in ("DisplayName", "DisplayVersion"):
            current[parts[0]] = parts[2]
            if current.get("DisplayName") == "Lumivar browser host" and "DisplayVersion" in current:
                found.append(current["DisplayVersion"])
    return found


class MsiCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = Path(tempfile.mkdtemp(prefix="lvbho-release-"))
        cls.msi = next(DIST.glob("LVBHOHost-*-win64.msi"))
        shutil.copy(cls.msi, PREFIX.drive_c / "host.msi")
        cls.install = PREFIX.drive_c / "Program Files" / "Lumivar"

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.work, ignore_errors=True)

    def msiexec(self, *args, log="msiexec.log"):
        """Runs `msiexec ARGS /qn` with a verbose log; returns (exit code, log text)."""
        log_path = PREFIX.drive_c / log
        log_path.unlink(missing_ok=True)
        result = subprocess.run(["wine", "msiexec", *args, "/qn", "/l*v", "C:\\" + log], env=PREFIX.env,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                timeout=300)
        text = log_path.read_text(errors="replace") if log_path.exists() else ""
        return result.returncode, text

    def doctor(self):
        result = winhost.run_host(PREFIX, self.install / "LvRegDoctor.exe", args=["--json"], timeout=60,
                                  cwd=str(PREFIX.drive_c))
        self.assertEqual(0, result.returncode, result.stderr[-2000:])
        return json.loads(result.stdout)

    def assertRegistered(self, report):
        hosts = report["nativeMessaging"]
        for browser in ("chrome", "firefox"):
            with self.subTest(browser=browser):
                host = hosts[browser]
                self.assertEqual("ok", host["status"], host)
                won = [r for r in host["registrations"] if r["wins"]]
                self.assertEqual(1, len(won))
                manifest = won[0]["manifest"]
                self.assertTrue(manifest["valid"], manifest["problems"])
                self.assertEqual(INSTALL_DIR + "lvbhohost.exe", manifest["program"])
                # One registration, none left over from another version: every place that names the host is this.
                named = [r for r in host["registrations"] if r.get("manifestPath")]
                self.assertEqual(1, len(named), named)
        self.assertTrue(report["chromeExtension"]["registered"])
        self.assertTrue(report["firefoxExtension"]["registered"])


class ReleaseUnderWine(MsiCase):
    """One installation's life, step by step (the tests run in the order of their names)."""

    def test_1_without_the_product_it_refuses_and_changes_nothing(self):
        PREFIX.remove_product()
        before = snapshot()

        code, log = self.msiexec("/i", "C:\\host.msi", log="refused.log")

        self.assertEqual(INSTALL_FAILURE, code, log[-3000:])
        self.assertRegex(log, r"LaunchConditions\. Return value (0|3)")
        self.assertFalse(self.install.exists())
        self.assertEqual([], products())
        self.assertEqual(before, snapshot())
        # The message the installer shows (Wine's log leaves it out): the package carries it with its condition.
        conditions = distpack.msi_rows(self.msi, "LaunchCondition")
        self.assertIn({"Condition": "Installed OR LUMIVARDIR",
                       "Description": "Lumivar is not installed on this computer. Install Lumivar first, then its "
                                      "browser host."}, conditions)

    def test_2_install_puts_the_files_into_the_products_folder(self):
        PREFIX.install_product(install_dir=INSTALL_DIR, oem=55)
        self.install.mkdir(parents=True, exist_ok=True)

        code, log = self.msiexec("/i", "C:\\host.msi", log="install.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertEqual([version()], products())
        with zipfile.ZipFile(next(DIST.glob("LVBHOHost-*-win64.zip"))) as shipped:
            for name in distpack.MSI_FILES:
                self.assertEqual(shipped.read(name), (self.install / name).read_bytes(), name)
        for manifest in distpack.HOST_MANIFESTS:
            self.assertTrue((self.install / manifest).is_file(), manifest)

    def test_3_windows_reads_the_version_information_and_the_manifest(self):
        # The installed files, and the zip's other binaries unpacked beside them.
        shipped = PREFIX.drive_c / "shipped"
        with zipfile.ZipFile(next(DIST.glob("LVBHOHost-*-win64.zip"))) as archive:
            others = [n for n in archive.namelist() if n.endswith((".exe", ".dll")) and n not in distpack.MSI_FILES]
            for name in others:
                (shipped / Path(name).name).parent.mkdir(parents=True, exist_ok=True)
                (shipped / Path(name).name).write_bytes(archive.read(name))
        names = [*distpack.MSI_FILES, *(Path(n).name for n in others)]
        self.assertEqual(6, len(names), names)
        paths = [INSTALL_DIR + n for n in distpack.MSI_FILES] + ["C:\\shipped\\" + Path(n).name for n in others]
        result = winhost.run_host(PREFIX, PROBE, args=paths, timeout=60)
        self.assertEqual(0, result.returncode, result.stdout + result.stderr[-2000:])
        infos = [json.loads(line) for line in result.stdout.decode("utf-8").splitlines()]
        self.assertEqual(len(names), len(infos))
        four = version() + ".0"
        for name, info in zip(names, infos):
            with self.subTest(name=name):
                self.assertEqual(("Kavrin", "Lumivar", four, four, four, name),
                                 (info["CompanyName"], info["ProductName"], info["FileVersion"],
                                  info["ProductVersion"], info["fixedFileVersion"], info["OriginalFilename"]))
                self.assertRegex(info["FileDescription"], r"^Lumivar ")
                self.assertRegex(info["LegalCopyright"], r"^© \d{4} Kavrin")
                if name.endswith(".exe"):
                    manifest = info["manifest"]
                    self.assertEqual(1, info["manifestId"])
                    self.assertIn('level="asInvoker"', manifest)
                    self.assertIn("{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}", manifest)
                    self.assertIn('name="Microsoft.Windows.Common-Controls" version="6.0.0.0"', manifest)
                    self.assertRegex(manifest, r"<dpiAware[^>]*>true</dpiAware>")
                    self.assertRegex(manifest, r"<dpiAwareness[^>]*>system</dpiAwareness>")
                    self.assertNotIn("<activeCodePage", manifest)
                else:
                    self.assertNotIn("manifest", info)

    def test_4_the_doctor_finds_chrome_and_firefox_registered(self):
        self.assertRegistered(self.doctor())

    def test_5_a_newer_version_replaces_the_older(self):
        higher = newer_msi(self.work)

        code, log = self.msiexec("/i", "C:\\newer.msi", log="upgrade.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertEqual([higher], products())
        self.assertRegistered(self.doctor())
        for manifest in distpack.HOST_MANIFESTS:
            self.assertTrue((self.install / manifest).is_file(), manifest)

    def test_6_repair_restores_deleted_files_and_registrations(self):
        (self.install / "LVBHOHost.exe").unlink()
        (self.install / "LVUI.dll").unlink()
        for manifest in distpack.HOST_MANIFESTS:
            (self.install / manifest).unlink()
        PREFIX.reg("delete", CHROME_HOST, "/f", "/reg:64")
        PREFIX.reg("delete", FIREFOX_HOST, "/f", "/reg:64")

        # Wine's msiexec has no /f for an installed product ("Product code treatment not implemented yet"); the
        # package's own REINSTALL does the same as /famus does on Windows.
        code, log = self.msiexec("/i", "C:\\newer.msi", "REINSTALL=ALL", "REINSTALLMODE=amus", log="repair.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertTrue((self.install / "LVBHOHost.exe").is_file())
        self.assertTrue((self.install / "LVUI.dll").is_file())
        self.assertRegistered(self.doctor())

    def test_7_removal_leaves_nothing_registered_and_no_file(self):
        doctor = self.work / "LvRegDoctor.exe"
        shutil.copy(self.install / "LvRegDoctor.exe", doctor)

        code, log = self.msiexec("/x", "C:\\newer.msi", log="remove.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertEqual([], products())
        left = sorted(p.name for p in self.install.iterdir()) if self.install.exists() else []
        self.assertEqual([], left)
        result = winhost.run_host(PREFIX, doctor, args=["--json"], timeout=60, cwd=str(PREFIX.drive_c))
        report = json.loads(result.stdout)
        unregistered = re.findall(r"Action ended [^:]+:\d+:\d+: (UnRegister\w+)\. Return value (\d)", log)
        self.assertEqual([("UnRegisterNativeApp", "1"), ("UnRegisterFFBHO", "1"), ("UnRegisterChromeBHO", "1")],
                         unregistered[:3], log[-4000:])
        for browser in ("chrome", "edge", "firefox"):
            self.assertEqual("not registered", report["nativeMessaging"][browser]["status"], browser)
        self.assertFalse(report["chromeExtension"]["registered"], report["chromeExtension"])
        self.assertFalse(report["firefoxExtension"]["registered"])


class ChromePolicyUnderWine(MsiCase):
    """CHROMEPOLICY=1: the installer also runs -RegisterChromeGPO and saves the choice, so that an upgrade keeps it
    and removal runs -UnRegisterChromeGPO; CHROMEPOLICY=0 on the command line opts out. Leaves the prefix as it
    found it (no installation, no product folder)."""

    def setUp(self):
        shutil.copy(FAKEGPO, PREFIX.drive_c / "FakeGpo.dll")
        PREFIX.reg("add", GPO_CLASS + r"\InprocServer32", "/ve", "/d", "C:\\FakeGpo.dll", "/f")
        PREFIX.reg("add", GPO_CLASS + r"\InprocServer32", "/v", "ThreadingModel", "/d", "Both", "/f")
        self.addCleanup(PREFIX.reg, "delete", GPO_CLASS, "/f")
        self.addCleanup(PREFIX.reg, "delete", FAKE_GPO, "/f")
        self.addCleanup(shutil.rmtree, self.install, True)
        # A failed test must not leave its installation to the next.
        self.addCleanup(self.msiexec, "/x", "C:\\host.msi", log="policy-cleanup.log")
        self.addCleanup(self.msiexec, "/x", "C:\\newer.msi", log="policy-cleanup-newer.log")
        PREFIX.install_product(install_dir=INSTALL_DIR, oem=55)
        self.install.mkdir(parents=True, exist_ok=True)
        newer_msi(self.work)

    def policy(self):
        """The extension ids in the force-install list of the policy stand-in."""
        return [value[1].split(";")[0] for value in (PREFIX.reg_values(FORCELIST) or {}).values()]

    def install_package(self, package, *properties):
        code, log = self.msiexec("/i", package, *properties, log="policy.log")
        self.assertEqual(0, code, log[-3000:])

    def test_the_policy_comes_with_the_property_and_goes_with_the_host(self):
        self.install_package("C:\\host.msi", "CHROMEPOLICY=1")
        # The force-install entry of edition 55's store extension.
        self.assertEqual(["ppjcedkipfagleajcilflhkhghmhgpla"], self.policy())
        self.assertEqual(("REG_SZ", "1"), PREFIX.reg_values(HOST_KEY)["ChromePolicy"])

        code, log = self.msiexec("/x", "C:\\host.msi", log="policy-removal.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertEqual([], self.policy())
        self.assertIsNone(PREFIX.reg_values(HOST_KEY))
        self.assertEqual([], products())

    def test_without_the_property_there_is_no_policy(self):
        self.install_package("C:\\host.msi")
        self.assertIsNone(PREFIX.reg_values(FORCELIST))

        code, log = self.msiexec("/x", "C:\\host.msi", log="nopolicy-removal.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertNotIn("UnRegisterChromeGPO. Return value", log)
        self.assertEqual([], products())

    def test_an_upgrade_keeps_the_saved_choice(self):
        self.install_package("C:\\host.msi", "CHROMEPOLICY=1")

        self.install_package("C:\\newer.msi")

        self.assertEqual(["ppjcedkipfagleajcilflhkhghmhgpla"], self.policy())
        self.assertEqual(("REG_SZ", "1"), PREFIX.reg_values(HOST_KEY)["ChromePolicy"])

    def test_the_command_line_overrides_the_saved_choice(self):
        self.install_package("C:\\host.msi")
        self.install_package("C:\\newer.msi", "CHROMEPOLICY=1")
        self.assertEqual(["ppjcedkipfagleajcilflhkhghmhgpla"], self.policy())

        self.install_package("C:\\newer.msi", "REINSTALL=ALL", "REINSTALLMODE=amus", "CHROMEPOLICY=0")

        self.assertEqual([], self.policy())
        self.assertEqual(("REG_SZ", "0"), PREFIX.reg_values(HOST_KEY)["ChromePolicy"])
        code, log = self.msiexec("/x", "C:\\newer.msi", log="optout-removal.log")
        self.assertEqual(0, code, log[-3000:])
        self.assertNotIn("UnRegisterChromeGPO. Return value", log)


class PackageTables(unittest.TestCase):
    """What the installer will do, read from the package's tables (no Wine): every registration switch runs in the
    installer's script from the install folder, and a rollback action just before it undoes it when the
    installation fails later on. (Wine runs the rollback script only after it has removed the files again, so the
    rollback itself cannot be shown under Wine.)"""

    def test_each_registration_has_its_inverse_as_rollback_just_before_it(self):
        msi = next(DIST.glob("LVBHOHost-*-win64.msi"))
        actions = {row["Action"]: row for row in distpack.msi_rows(msi, "CustomAction")}
        sequence = {row["Action"]: row for row in distpack.msi_rows(msi, "InstallExecuteSequence")}
        switches = [a for a in actions if re.fullmatch(r"(Un)?Register\w+", a)]
        self.assertEqual(8, len(switches), switches)
        for action in switches:
            with self.subTest(action=action):
                inverse = action[2:] if action.startswith("Un") else "Un" + action
                row, undo = actions[action], actions["Undo" + action]
                # 34: an exe in a folder, its working folder; 0x40 exit code ignored; 0x400 in the script,
                # 0x100 more for rollback; 0x800 not impersonated.
                self.assertEqual(("3170", "INSTALLDIR", f'"[INSTALLDIR]LVBHOHost.exe" -{action}'),
                                 (row["Type"], row["Source"], row["Target"]))
                self.assertEqual(("3426", "INSTALLDIR", f'"[INSTALLDIR]LVBHOHost.exe" -{inverse}'),
                                 (undo["Type"], undo["Source"], undo["Target"]))
                self.assertEqual(int(sequence[action]["Sequence"]) - 1, int(sequence["Undo" + action]["Sequence"]))
                self.assertEqual(sequence[action]["Condition"], sequence["Undo" + action]["Condition"])
        files = {row["Action"]: int(row["Sequence"]) for row in sequence.values()}
        self.assertTrue(files["InstallInitialize"] < files["UnRegisterNativeApp"] < files["RemoveFiles"]
                        < files["InstallFiles"] < files["RegisterNativeApp"] < files["InstallFinalize"])
        self.assertTrue(files["InstallValidate"] < files["RemoveExistingProducts"] < files["InstallInitialize"])


class ProductGoneFirst(MsiCase):
    """Lumivar's key is gone before the host is removed: removal still finds the host's folder (the host's own key
    saved it) and takes its files. The switches themselves do nothing then: without the product the host only says
    "Lumivar not found", so the product's own removal is what unregisters."""

    def test_removal_uses_the_saved_folder(self):
        # Not the MSI's default folder (Program Files\Lumivar), so that only the saved one can lead removal there.
        folder = PREFIX.drive_c / "Kavrin Apps" / "Lumivar"
        folder.mkdir(parents=True, exist_ok=True)
        self.addCleanup(shutil.rmtree, folder.parent, True)
        PREFIX.install_product(install_dir="C:\\Kavrin Apps\\Lumivar\\", oem=55)
        code, log = self.msiexec("/i", "C:\\host.msi", log="gone-install.log")
        self.assertEqual(0, code, log[-3000:])
        self.assertTrue((folder / "LVBHOHost.exe").is_file())
        PREFIX.remove_product()

        code, log = self.msiexec("/x", "C:\\host.msi", log="gone-removal.log")

        self.assertEqual(0, code, log[-3000:])
        self.assertEqual([], products())
        left = sorted(p.name for p in folder.iterdir()) if folder.exists() else []
        self.assertEqual([], [name for name in left if name in distpack.MSI_FILES or name in distpack.HOST_MANIFESTS])
        self.assertIsNone(PREFIX.reg_values(HOST_KEY))


class Signing(unittest.TestCase):
    """make dist with a throwaway code-signing certificate: every binary and the MSI verify."""

    def test_every_artifact_is_signed_and_verifies(self):
        with tempfile.TemporaryDirectory(prefix="lvbho-sign-") as work:
            work = Path(work)
            subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                            "-subj", "/CN=Lumivar test signing/O=Kavrin", "-addext", "extendedKeyUsage=codeSigning",
                            "-keyout", work / "key.pem", "-out", work / "cert.pem"], check=True, capture_output=True)
            (work / "password").write_text("throwaway\n")
            subprocess.run(["openssl", "pkcs12", "-export", "-inkey", work / "key.pem", "-in", work / "cert.pem",
                            "-passout", "pass:throwaway", "-out", work / "cert.p12"], check=True, capture_output=True)
            env = {**os.environ, "LVBHO_SIGN_PKCS12": str(work / "cert.p12"),
                   "LVBHO_SIGN_PASSWORD_FILE": str(work / "password")}
            env.pop("LVBHO_SIGN_TIMESTAMP_URL", None)
            unsigned = (DIST / "SHA256SUMS").read_text()
            for out in ("dist", "again"):
                build = subprocess.run([sys.executable, ROOT / "scripts" / "make-dist", "--out", work / out],
                                       env=env, capture_output=True, text=True)
                self.assertEqual(0, build.returncode, build.stderr)
            # Signed without a timestamp server, the release is reproducible too.
            self.assertEqual((work / "dist" / "SHA256SUMS").read_text(), (work / "again" / "SHA256SUMS").read_text())
            # The unsigned release stays as it was: signing happened in folders of its own.
            self.assertEqual(unsigned, (DIST / "SHA256SUMS").read_text())

            signed = [work / "dist" / next(DIST.glob("*.msi")).name]
            with zipfile.ZipFile(next((work / "dist").glob("*-win64.zip"))) as archive:
                for name in archive.namelist():
                    if name.endswith((".exe", ".dll")):
                        target = work / "files" / name
                        target.parent.mkdir(parents=True, exist_ok=True)
                        target.write_bytes(archive.read(name))
                        signed.append(target)
            for path in signed:
                with self.subTest(path=path.name):
                    verify = subprocess.run(["osslsigncode", "verify", "-CAfile", work / "cert.pem", "-in", path],
                                            capture_output=True, text=True)
                    self.assertEqual(0, verify.returncode, verify.stdout + verify.stderr)
                    self.assertIn("Signature verification: ok", verify.stdout)
                    self.assertRegex(verify.stdout, re.compile(r"Subject: .*CN\s*=\s*Lumivar test signing"))
                    print(f"\n--- osslsigncode verify {path.name}\n{verify.stdout.strip()}", file=sys.stderr)
            self.assertNotEqual(unsigned, (work / "dist" / "SHA256SUMS").read_text())


def load_tests(loader, tests, pattern):
    """The installation's life first, in a prefix nothing has touched; then the other installations and signing."""
    suite = unittest.TestSuite()
    for case in (ReleaseUnderWine, ChromePolicyUnderWine, ProductGoneFirst, PackageTables, Signing):
        suite.addTests(loader.loadTestsFromTestCase(case))
    return suite


if __name__ == "__main__":
    winhost.blackbox_main(__doc__, [("--dist", "the release folder that make dist wrote", "DIST"),
                                    ("--probe", "path to FileInfoProbe.exe", "PROBE"),
                                    ("--fakegpo", "path to FakeGpo.dll (Group Policy stand-in)", "FAKEGPO")],
                          globals())
