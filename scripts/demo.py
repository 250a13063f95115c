#!/usr/bin/env python3
"""A short scripted session with LVBHOHost.exe under Wine, as a browser would hold it.

Creates a scratch Wine prefix with a simulated installation of the product, installs the host into it, starts the
stand-in core SimLvEngine.exe beside it and prints every frame in both directions; then shows what the stand-in
core saw and the host's decoded debug log. The prefix is removed at the end.
"""

import argparse
import json
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent / "lib"))
import winhost  # noqa: E402

INSTALL_DIR = "C:\\Program Files\\Lumivar\\"


def show(direction, body):
    text = body.decode("utf-8", "backslashreplace")
    print(f"  {direction} [{len(body):3} bytes] {text}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--exe", required=True, help="path to LVBHOHost.exe")
    parser.add_argument("--sim", required=True, help="path to SimLvEngine.exe, the stand-in core")
    parser.add_argument("--nmclient", required=True, help="path to LvNmClient, the native messaging client")
    parser.add_argument("--logdecode", required=True, help="path to LvLogDecode, the debug log decoder")
    args = parser.parse_args()
    exe = Path(args.exe).resolve()
    sim = Path(args.sim).resolve()

    print("Creating a scratch Wine prefix (a few seconds)...")
    with winhost.WinePrefix(use_environment=False) as prefix:
        installed = prefix.drive_c / "Program Files" / "Lumivar"
        host = winhost.install_host(exe, installed)

        print("\n1. No product installed: the host refuses to run in any mode.")
        result = winhost.run_host(prefix, host, winhost.frame('{"command":"GetLang","id":1}'))
        print(f"  stdout: {result.stdout!r}, exit code {result.returncode}")

        print("\n2. Simulated installation: HKLM\\Software\\Kavrin\\Lumivar with InstallDir, OEM and versions,")
        print("   and the debug log switched on for the host at level 3 (lvDebugSupport = LVBHOHost;3).")
        prefix.install_product(install_dir=INSTALL_DIR)
        prefix.reg("add", winhost.PRODUCT_KEY, "/v", "lvDebugSupport", "/t", "REG_SZ", "/d", "LVBHOHost;3", "/f")

        print("\n3. The stand-in core SimLvEngine.exe starts: it makes the shared block, its events and mutex, and")
        print("   its message window, keeps a vault (empty now, saved to C:\\vault.json on every change) and logs")
        print("   every request and message it sees.")
        core = winhost.SimCore(prefix, sim, args=["--save-vault", "C:\\vault.json"])
        print(f"  stand-in core ready: process {core.pid}, window {core.window}")
        print("  The core still has a request open from an earlier session (flags bit 5), which the host cancels")
        print("  as it starts.")
        core.command("block flags 32")
        print("  The user's skip list holds one entry, \"bank\" (HKCU\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho).")
        prefix.reg("add", r"HKCU\SOFTWARE\Kavrin\Lumivar\SkipListForLvBho", "/v", "1", "/t", "REG_SZ", "/d", "bank",
                   "/f")

        print("\n4. A session, started as Chrome starts it (the extension's origin as the argument):")
        session = winhost.HostSession(prefix, host, args=["chrome-extension://abcdefghijklmnopabcdefghijklmnop/"])

        def exchange(request, answers=1):
            show("browser -> host", request)
            session.send(request)
            for _ in range(answers):
                show("host -> browser", winhost.receive_frame(session.process))

        def core_does(line, note, frames=1):
            print(f"  [stand-in core: {line}]  {note}")
            core.command(line)
            for _ in range(frames):
                show("host -> browser", winhost.receive_frame(session.process))

        login = (b'"WebUrl":"https://www.example.com/login","unamefield":"user","passfieldname":"pwd"')
        exchange(b'{"command":"Identify","id":1,"name":"chrome","purpose":"Install"}')
        exchange(b'{"command":"GetLang","id":2}')
        exchange(b"{")
        exchange(b'{"command":"Identify2","id":3}')
        exchange(b'{"command":"GetLang"}')
        exchange(b'{"command":"GetLang","id":"four"}')
        exchange(b'{"command":"IsPageRemembered","id":5,"WebUrl":"https://www.example.com/","passfieldname":"pwd"}')
        exchange(b'{"command":"StoreLoginData","id":6,"DocumentTitle":"Example - Log in",' + login +
                 b',"webPageUserId":"alice","webPagepassword":"s3cret"}')
        exchange(b'{"command":"IsPageRemembered","id":7,"WebUrl":"https://www.example.com/","passfieldname":"pwd"}')
        exchange(b'{"command":"CheckAndValidate","id":8,"DocumentTitle":"Mail",'
                 b'"WebUrl":"https://mail.example.com/inbox","unamefield":"user","passfieldname":"pwd"}')
        exchange(b'{"command":"CheckAndValidate","id":9,"DocumentTitle":"Shop",'
                 b'"WebUrl":"https://shop.example.org/","unamefield":"email","passfieldname":"pass"}')
        core_does("push copydata 44525655 -1 device-7 Verified",
                  "the device verification ends: the core sends its outcome to the host's window")
        exchange(b'{"command":"SetPluginParam","id":10,"strdevid":"44525655","param":"123456"}')
        core_does("push fill EXAMPLE.COM::pwd", "the core fills a page by itself")
        exchange(b'{"command":"CheckSkipList","id":11,"domain":"online.mybank.com"}')
        exchange(b'{"command":"keyevent","id":12,"vk":[9,13],"sleep":10}')
        exchange(b'{"command":"CancelOperation","id":13}')
        print("  browser closes the port (end of input)")
        code = session.close()
        print(f"  host exited with code {code}")

        print("\n5. The same host driven by the native messaging client LvNmClient (tools/nmclient), from a JSON-lines")
        print("   file, as an extension developer would: every frame with its time, answers matched by id.")
        script = prefix.path.parent / "session.jsonl"
        script.write_text("\n".join([
            "# a session file: one request per line, sent as it stands",
            '{"command":"Identify","id":1,"name":"firefox"}',
            '{"command":"IsPageRemembered","id":2,"WebUrl":"https://www.example.com/","passfieldname":"pwd"}',
            '{"command":"CheckAndValidate","id":3,"DocumentTitle":"Mail","WebUrl":"https://mail.example.com/",'
            '"unamefield":"user","passfieldname":"pwd"}',
            '{"command":"GetLang","id":"four"}',
            "!wait",
        ]) + "\n")
        client = subprocess.run([args.nmclient, "--input", str(script), "--", "wine", str(host),
                                 "/home/user/.mozilla/native-messaging-hosts/com.mozilla.firefox.lvbhohost.json",
                                 "EdHalo_ffext@lvbho"], env=prefix.env, stdin=subprocess.DEVNULL,
                                capture_output=True, timeout=120)
        for line in client.stdout.decode("utf-8", "replace").splitlines():
            print("  " + line)
        print(f"  (LvNmClient exit code {client.returncode})")

        core.command("dump")  # the core has served everything it was sent once it answers this
        core.stop()
        print("\n   The stand-in core's vault at the end (C:\\vault.json):")
        for line in (prefix.drive_c / "vault.json").read_text().splitlines():
            print("  " + line)

        print("\n6. What the stand-in core saw (its log, one JSON object per line):")
        for entry in core.log():
            print("  " + json.dumps(entry, separators=(",", ":")))

        log = prefix.drive_c / "TEMP" / "LVBHOHost.txt"
        print(f"\n7. The debug log, C:\\TEMP\\LVBHOHost.txt ({log.stat().st_size} bytes, scrambled on disk), decoded by")
        print("   LvLogDecode (tools/logdecode):")
        text = subprocess.run([args.logdecode, str(log)], capture_output=True, check=True).stdout.decode("latin-1")
        for line in text.split("\r\n"):
            if line:
                print("  " + line)
    print("\nDone; the scratch prefix is removed.")


if __name__ == "__main__":
    main()
