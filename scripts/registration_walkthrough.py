#!/usr/bin/env python3
"""Runs each registration switch of LVBHOHost.exe in a scratch Wine prefix and prints what it changed: a
`wine reg query` listing of the keys it touches (and the files it writes) before and after.

The prefix holds a simulated installation (edition 55), the install folder as working directory, the Group Policy
object's test double (Wine has none) and a chrome.exe stub; it is removed at the end.
"""

import argparse
import shutil
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent / "lib"))
import winhost  # noqa: E402

INSTALL_DIR = "C:\\Program Files\\Lumivar\\"
GPO_CLSID = r"HKCR\CLSID\{EA502722-A23D-11D1-A7D3-0000F87571E3}\InprocServer32"
STEPS = [
    ("RegisterNativeApp", [(r"HKLM\SOFTWARE\Google\Chrome\NativeMessagingHosts", 64),
                           (r"HKLM\SOFTWARE\Mozilla\NativeMessagingHosts", 64)]),
    ("UnRegisterNativeApp", [(r"HKLM\SOFTWARE\Google\Chrome\NativeMessagingHosts", 64),
                             (r"HKLM\SOFTWARE\Mozilla\NativeMessagingHosts", 64)]),
    ("RegisterChromeGPO", [(r"HKCU\Software\LvbhoFakeGpo\Machine\Software\Policies\Google\Chrome", 64)]),
    ("UnRegisterChromeGPO", [(r"HKCU\Software\LvbhoFakeGpo\Machine\Software\Policies\Google\Chrome", 64)]),
    ("RegisterFFBHO", [(r"HKLM\Software\Kavrin\Lumivar", 64), (r"HKLM\Software\Kavrin\Lumivar", 32),
                       (r"HKLM\SOFTWARE\Mozilla\Firefox\Extensions", 64),
                       (r"HKLM\SOFTWARE\Mozilla\Firefox\Extensions", 32)]),
    ("UnRegisterFFBHO", [(r"HKLM\Software\Kavrin\Lumivar", 32), (r"HKLM\SOFTWARE\Mozilla\Firefox\Extensions", 64),
                         (r"HKLM\SOFTWARE\Mozilla\Firefox\Extensions", 32)]),
    ("RegisterChromeBHO", [(r"HKLM\SOFTWARE\Google\Chrome\Extensions", 32)]),
    ("UnRegisterChromeBHO", [(r"HKLM\SOFTWARE\Google\Chrome\Extensions", 32)]),
    ("CheckBHOInstalled", [(r"HKCU\Software\Kavrin\Lumivar", 64)]),
    ("InstallChromeBHO", []),
]


def listing(prefix, key, view):
    code, text = prefix.reg_tree(key, view)
    if code != 0:
        return "(no such key)"
    return text.replace("\r", "").strip() or "(no values, no subkeys)"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--exe", required=True, help="path to LVBHOHost.exe")
    parser.add_argument("--fakegpo", required=True, help="path to FakeGpo.dll")
    parser.add_argument("--stub-chrome", required=True, help="path to StubChrome.exe")
    args = parser.parse_args()

    print("Creating a scratch Wine prefix (a few seconds)...")
    with winhost.WinePrefix(use_environment=False) as prefix:
        prefix.install_product(install_dir=INSTALL_DIR, oem=55)
        install = prefix.drive_c / "Program Files" / "Lumivar"
        install.mkdir(parents=True)
        winhost.install_host(args.exe, install)
        shutil.copy(args.fakegpo, prefix.drive_c / "FakeGpo.dll")
        prefix.reg("add", GPO_CLSID, "/ve", "/d", "C:\\FakeGpo.dll", "/f")
        prefix.reg("add", GPO_CLSID, "/v", "ThreadingModel", "/d", "Both", "/f")
        prefix.reg("add", r"HKCU\Software\LvbhoFakeGpo", "/v", "RecordFile", "/d", "C:\\fakegpo.log", "/f")
        (prefix.drive_c / "StubChrome").mkdir()
        shutil.copy(args.stub_chrome, prefix.drive_c / "StubChrome" / "chrome.exe")
        prefix.reg("add", r"HKLM\Software\Microsoft\Windows\CurrentVersion\App Paths\chrome.exe", "/ve", "/d",
                   "C:\\StubChrome\\chrome.exe", "/f")

        for switch, keys in STEPS:
            print(f"\n=== LVBHOHost.exe -{switch}   (working directory {INSTALL_DIR})")
            before = {(key, view): listing(prefix, key, view) for key, view in keys}
            result = winhost.run_host(prefix, install / "LVBHOHost.exe", args=["-" + switch], close_stdin=False,
                                      cwd=str(install))
            print(f"exit code {result.returncode}, stdout {result.stdout!r}")
            for key, view in keys:
                print(f"--- wine reg query {key} /s /reg:{view}")
                print("before:\n  " + before[(key, view)].replace("\n", "\n  "))
                print("after:\n  " + listing(prefix, key, view).replace("\n", "\n  "))
            if switch == "RegisterNativeApp":
                for name in sorted(install.glob("*.json")):
                    print(f"--- {name.name}: {name.read_text()}")
            if switch.endswith("ChromeGPO"):
                record = prefix.drive_c / "fakegpo.log"
                print("--- saves recorded by the Group Policy object's test double:")
                text = record.read_text().strip() if record.exists() else "(none)"
                print("  " + text.replace("\n", "\n  "))
            if switch == "InstallChromeBHO":
                log = prefix.drive_c / "StubChrome" / "StubChrome.log"
                for _ in range(100):
                    if log.exists():
                        break
                    time.sleep(0.05)
                print("--- chrome.exe was started as: " + (log.read_text().strip() if log.exists() else "(not)"))
    print("\nDone; the scratch prefix is removed.")


if __name__ == "__main__":
    main()
