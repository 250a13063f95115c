"""Running LVBHOHost.exe under Wine and talking native messaging to it.

Shared by the black-box tests, the demo and the benchmark. Frames are a 4-byte little-endian length and the body.
"""

import json
import os
import select
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

PRODUCT_KEY = r"HKEY_LOCAL_MACHINE\Software\Kavrin\Lumivar"

# Where the tests' simulated installation lives, and the keys the registration switches write, as the black-box
# scripts read them with `reg query`.
INSTALL_DIR = "C:\\Program Files\\Lumivar\\"
HOST_WINDOW_CLASS = "LVBHOHOST-0724A61F-4EDA-49AB-936F-C09A46FA9177"  # the host's message and prompt windows
CHROME_HOST = r"HKLM\SOFTWARE\Google\Chrome\NativeMessagingHosts\com.google.chrome.lvbhohost"
FIREFOX_HOST = r"HKLM\SOFTWARE\Mozilla\NativeMessagingHosts\com.mozilla.firefox.lvbhohost"
USER_PRODUCT = r"HKCU\Software\Kavrin\Lumivar"
FIREFOX_EXTENSIONS = r"HKLM\SOFTWARE\Mozilla\Firefox\Extensions"
CHROME_EXTENSIONS = r"HKLM\SOFTWARE\Google\Chrome\Extensions"
# The Group Policy object's class, and where our stand-in for it (tests/win/fakegpo) keeps the machine policy.
GPO_CLASS = r"HKCR\CLSID\{EA502722-A23D-11D1-A7D3-0000F87571E3}"
FAKE_GPO = r"HKCU\Software\LvbhoFakeGpo"
FORCELIST = FAKE_GPO + r"\Machine\Software\Policies\Google\Chrome\ExtensionInstallForcelist"
CHROME_POLICY = FAKE_GPO + r"\Machine\Software\Policies\Google\Chrome"


def frame(body):
    if isinstance(body, str):
        body = body.encode("utf-8")
    return struct.pack("<I", len(body)) + body


def split_frames(data):
    """Splits output bytes into frame bodies; returns (bodies, leftover bytes)."""
    bodies = []
    pos = 0
    while len(data) - pos >= 4:
        (length,) = struct.unpack_from("<I", data, pos)
        if len(data) - pos - 4 < length:
            break
        bodies.append(data[pos + 4 : pos + 4 + length])
        pos += 4 + length
    return bodies, data[pos:]


class WinePrefix:
    """A Wine prefix the harness may change: the scratch one that scripts/with-wine-prefix made (it says so in
    $LVBHO_SCRATCH_PREFIX; not removed here), otherwise a fresh one removed by close(). A developer's own
    $WINEPREFIX is never used: the tests write its registry."""

    def __init__(self, use_environment=True):
        scratch = use_environment and os.environ.get("LVBHO_SCRATCH_PREFIX") == "1"
        existing = os.environ.get("WINEPREFIX") if scratch else None
        self._root = None
        if existing:
            self.path = Path(existing)
        else:
            self._root = tempfile.mkdtemp(prefix="lvbho-wine.")
            self.path = Path(self._root) / "prefix"
        self.env = dict(os.environ)
        self.env["WINEPREFIX"] = str(self.path)
        self.env.setdefault("WINEDEBUG", "-all")
        self.env.setdefault("WINEDLLOVERRIDES", "mscoree,mshtml=")
        self.env["LC_ALL"] = self.env.get("LVBHO_TEST_LC_ALL", "en_US.UTF-8")
        # Where the prefix's wineserver writes: protocol errors and processes it had to kill.
        if existing:
            self.server_log = Path(os.environ["LVBHO_WINESERVER_LOG"]) if "LVBHO_WINESERVER_LOG" in os.environ else None
        else:
            self.server_log = Path(self._root) / "wineserver.log"
        if self._root:
            self.path.mkdir(parents=True)
            with open(self.server_log, "ab") as log:
                subprocess.run(["wineserver", "-p"], env=self.env, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=log)
            self._quiet(["wine", "wineboot"])

    def _quiet(self, args, env=None):
        return subprocess.run(args, env=env or self.env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode

    def close(self):
        if self._root:
            self._quiet(["wineserver", "-k"])
            self._quiet(["wineserver", "-w"])
            shutil.rmtree(self._root, ignore_errors=True)
            self._root = None

    def server_log_tail(self, lines=40):
        """The last lines the prefix's wineserver wrote, or "" (nothing written, or no log kept)."""
        if not self.server_log or not self.server_log.exists():
            return ""
        return "\n".join(self.server_log.read_text(errors="replace").splitlines()[-lines:])

    def explain_exit(self, code, stderr=b""):
        """Text for a test failure on a host's unexpected exit code: what Wine printed for the process and what
        the wineserver reported."""
        text = "the process exited with %d" % code
        if stderr:
            text += "; its stderr ends with:\n" + stderr[-4000:].decode("utf-8", "replace")
        server = self.server_log_tail()
        if server:
            text += "\nthe wineserver wrote:\n" + server
        return text

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    @property
    def drive_c(self):
        return self.path / "drive_c"

    def reg_import(self, text):
        """Imports REGEDIT4 text (one call for many keys)."""
        with tempfile.NamedTemporaryFile("w", suffix=".reg", delete=False, encoding="ascii") as f:
            f.write("REGEDIT4\r\n\r\n" + text.replace("\n", "\r\n"))
            name = f.name
        try:
            if self._quiet(["wine", "regedit", "/S", name]) != 0:
                raise RuntimeError("regedit import failed")
        finally:
            os.unlink(name)

    def reg(self, *args):
        return self._quiet(["wine", "reg", *args])

    def reg_values(self, key, view=64):
        """The values of `key` in the 64- or 32-bit view as {name: (type, data)}; None when the key is missing.
        The default value is named ""."""
        code, text = self._reg_query(key, view)
        if code != 0:
            return None
        values = {}
        for line in text.splitlines():
            if not line.startswith("    "):
                continue
            parts = line.strip().split("    ")
            name, kind, data = (parts + ["", ""])[:3]
            values["" if name == "(Default)" else name] = (kind, data.strip())
        return values

    def reg_tree(self, key, view=64):
        """`reg query KEY /s` in the 64- or 32-bit view: (return code, output text)."""
        return self._reg_query(key, view, "/s")

    def _reg_query(self, key, view, *options, attempts=3):
        # A query right after another Wine process ended now and then fails at once, so a failure is asked again
        # before it counts (a missing key costs the extra attempts).
        for _ in range(attempts):
            result = subprocess.run(["wine", "reg", "query", key, *options, f"/reg:{view}"], env=self.env,
                                    stdin=subprocess.DEVNULL, capture_output=True)
            if result.returncode == 0:
                break
        return result.returncode, result.stdout.decode("latin-1")

    def install_product(self, install_dir="C:\\Program Files\\Lumivar\\", oem=55, pmode=1, product_ver="9.4.0",
                        web_version="9.4.0.12", build_number="2026.11.3", release=4):
        esc = install_dir.replace("\\", "\\\\")
        self.reg_import(
            f"[{PRODUCT_KEY}]\n"
            f'"InstallDir"="{esc}"\n'
            f'"OEM"=dword:{oem:08x}\n'
            f'"PMode"=dword:{pmode:08x}\n'
            f'"ProductVer"="{product_ver}"\n'
            f'"WebVersion"="{web_version}"\n'
            f'"BuildNumber"="{build_number}"\n'
            f'"Release"=dword:{release:08x}\n'
        )

    def remove_product(self):
        self.reg("delete", PRODUCT_KEY, "/f")


# Now and then, under load and right after another Wine process of the prefix has ended, Wine fails to start a
# process at all: the loader's first exchanges with the wineserver fail and the process ends with exit code 1
# before any of the program's code has run (seen in CI with reg.exe; a host that ended with 1 without answering
# fits the same pattern). Such a start is made again; every other outcome, a program that ran and failed
# included, stands as it is.
START_ATTEMPTS = 3


def _started_by_wine(process, exe, timeout=30):
    """Whether Wine got as far as running `exe`: the loader names the process after the program once its start-up
    with the wineserver is done. Waits for that name or for the end of the process, without reaping it, so that a
    program that ran and ended at once still counts as started."""
    name = Path(exe).name[:15]

    def named():
        try:
            with open(f"/proc/{process.pid}/comm") as comm:
                return comm.read().strip() == name
        except OSError:
            return True  # no longer visible: the caller's own checks decide

    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        if named():
            return True
        try:
            ended = os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT)
        except ChildProcessError:
            return True
        if ended is not None:
            return named() or ended.si_status == 0
        time.sleep(0.002)
    return True


def _popen_started(args, exe, stderr_sink, **popen_args):
    """subprocess.Popen of a Wine command line, made again (up to START_ATTEMPTS times) when Wine failed to start
    the program. `stderr_sink()` gives the stderr target of each attempt; a failed attempt's stderr, when it is a
    file, is shown with the report."""
    for attempt in range(1, START_ATTEMPTS + 1):
        stderr = stderr_sink()
        process = subprocess.Popen(args, stderr=stderr, **popen_args)
        if attempt == START_ATTEMPTS or _started_by_wine(process, exe):
            return process, stderr
        code = process.wait()
        said = b""
        if hasattr(stderr, "seek"):
            stderr.seek(0)
            said = stderr.read()[-2000:]
            stderr.close()
        elif process.stderr:
            # Only what is there already: a process Wine started from this one could hold the pipe open.
            os.set_blocking(process.stderr.fileno(), False)
            said = (process.stderr.read() or b"")[-2000:]
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream:
                stream.close()
        sys.stderr.write("winhost: Wine did not start %s (exit code %d%s); starting it again\n"
                         % (Path(exe).name, code, "; it said: " + said.decode("utf-8", "replace").strip()
                            if said.strip() else ""))
    raise AssertionError("unreachable")


class HostRun:
    def __init__(self, stdout, stderr, returncode):
        self.stdout = stdout
        self.stderr = stderr
        self.returncode = returncode

    @property
    def frames(self):
        bodies, _ = split_frames(self.stdout)
        return bodies


def run_host(prefix, exe, stdin_bytes=b"", args=(), timeout=60, close_stdin=True, env=None, cwd=None):
    """Runs the host with `stdin_bytes` on its input; returns its output and exit code.

    With close_stdin False the input stays open after the bytes, as a browser keeps it: a host that enters its
    message loop then waits, and the run times out.
    """
    run_env = dict(prefix.env)
    run_env.update(env or {})
    process, _ = _popen_started(["wine", str(exe), *args], exe, lambda: subprocess.PIPE, env=run_env,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, cwd=cwd)
    out, err = [], []

    def pump(stream, sink):
        while True:
            chunk = stream.read(65536)
            if not chunk:
                break
            sink.append(chunk)

    def feed():
        try:
            view = memoryview(stdin_bytes)
            for start in range(0, len(view), 1 << 20):
                process.stdin.write(view[start : start + (1 << 20)])
            process.stdin.flush()
            if close_stdin:
                process.stdin.close()
        except (BrokenPipeError, ValueError):
            pass

    threads = [threading.Thread(target=pump, args=(process.stdout, out), daemon=True),
               threading.Thread(target=pump, args=(process.stderr, err), daemon=True),
               threading.Thread(target=feed, daemon=True)]
    for t in threads:
        t.start()
    try:
        process.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        raise TimeoutError(f"host did not exit within {timeout} s") from None
    for t in threads[:2]:
        t.join(timeout=10)
    process.stdout.close()
    process.stderr.close()
    if not process.stdin.closed:
        try:
            process.stdin.close()
        except BrokenPipeError:
            pass
    return HostRun(b"".join(out), b"".join(err), process.returncode)


def start_host(prefix, exe, args=(), **popen_args):
    """Starts `exe` under Wine with stdin and stdout piped. What Wine prints for it is kept in a file of its own,
    shown by `wait_host` when the process ends with anything but 0."""
    process, stderr = _popen_started(["wine", str(exe), *args], exe, tempfile.TemporaryFile,
                                     env=popen_args.pop("env", prefix.env), stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, bufsize=0, **popen_args)
    process.wine_prefix = prefix
    process.wine_stderr = stderr
    return process


def wait_host(process, timeout=30):
    """Waits for the end of a Wine process and returns its exit code. For one from `start_host`, anything but 0 is
    explained on stderr: what Wine printed for the process and what the prefix's wineserver reported."""
    code = process.wait(timeout=timeout)
    stderr = getattr(process, "wine_stderr", None)
    if stderr and not stderr.closed:
        if code != 0:
            stderr.seek(0)
            sys.stderr.write("%s: %s\n" % (Path(process.args[1]).name,
                                            process.wine_prefix.explain_exit(code, stderr.read())))
        stderr.close()
    return code


def discard_host(process):
    """Test clean-up for a process from `start_host`: killed if it still runs, its pipes and its file closed."""
    if process.poll() is None:
        process.kill()
        process.wait()
    for stream in (process.stdin, process.stdout, process.wine_stderr):
        if stream and not stream.closed:
            try:
                stream.close()
            except BrokenPipeError:
                pass


class HostSession:
    """An interactive host: one request written, one answer read, as a browser port does.

    `cpus`, when given, pins the host (all its threads) to those CPUs.
    """

    def __init__(self, prefix, exe, args=(), env=None, cpus=None):
        run_env = dict(prefix.env)
        run_env.update(env or {})
        pin = (lambda: os.sched_setaffinity(0, cpus)) if cpus else None
        self.process = start_host(prefix, exe, args, env=run_env, preexec_fn=pin)

    def send(self, body):
        self.process.stdin.write(frame(body))
        self.process.stdin.flush()

    def send_raw(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def receive(self):
        header = self._read(4)
        if header is None:
            return None
        (length,) = struct.unpack("<I", header)
        return self._read(length)

    def _read(self, count):
        data = b""
        while len(data) < count:
            chunk = self.process.stdout.read(count - len(data))
            if not chunk:
                return None
            data += chunk
        return data

    def peak_kib(self):
        """The host's peak resident memory so far. The process started by `wine` is the Windows process itself;
        its rusage after exit would also count what the forking parent held, so /proc is read while it runs."""
        with open(f"/proc/{self.process.pid}/status") as status:
            for line in status:
                if line.startswith("VmHWM:"):
                    return int(line.split()[1])
        raise RuntimeError("no VmHWM")

    def close(self, timeout=30):
        """Closes the input, as a browser closing the port does; returns the exit code."""
        try:
            self.process.stdin.close()
        except BrokenPipeError:
            pass
        code = wait_host(self.process, timeout)
        self.process.stdout.close()
        return code


class SimCore:
    """The stand-in core SimLvEngine.exe under Wine, driven by its line commands.

    Each command is answered by one line beginning with "ok" or "error". The core's log (one JSON object per
    line) is kept in a file that `log()` reads back; with `log_name` None there is none (the benchmark keeps the
    log's file writes out of the core's answers).
    """

    def __init__(self, prefix, exe, args=(), log_name="simcore-log.jsonl", timeout=30):
        self.log_path = prefix.drive_c / (log_name or "simcore-no-log.jsonl")
        if self.log_path.exists():
            self.log_path.unlink()
        log_args = ["--log", "C:\\" + log_name] if log_name else []
        # What it (or Wine) prints on stderr explains a start that failed.
        self.process, self._stderr = _popen_started(["wine", str(exe), *log_args, *args], exe,
                                                    tempfile.TemporaryFile, env=prefix.env, stdin=subprocess.PIPE,
                                                    stdout=subprocess.PIPE, bufsize=0)
        ready = self._line(timeout)
        if not ready.startswith("ready "):
            code = self.stop()
            raise RuntimeError(f"the stand-in core did not start: {ready!r}; "
                               + prefix.explain_exit(code, self.stderr))
        _, pid, window = ready.split()[:3]
        self.pid = int(pid)
        self.window = int(window)

    def _line(self, timeout):
        ready, _, _ = select.select([self.process.stdout], [], [], timeout)
        if not ready:
            raise TimeoutError("the stand-in core did not answer")
        return self.process.stdout.readline().decode("utf-8", "replace").strip()

    def command(self, line, timeout=30):
        self.process.stdin.write((line + "\n").encode())
        self.process.stdin.flush()
        return self._line(timeout)

    def log(self):
        """The log's entries so far."""
        if not self.log_path.exists():
            return []
        return [json.loads(line) for line in self.log_path.read_text(errors="replace").splitlines() if line]

    def requests(self):
        return [entry for entry in self.log() if entry.get("event") == "request"]

    def stop(self, timeout=30):
        if self.process.poll() is None:
            try:
                self.process.stdin.write(b"quit\n")
                self.process.stdin.close()
            except (BrokenPipeError, OSError):
                pass
            try:
                self.process.wait(timeout=timeout)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        if not self._stderr.closed:
            self._stderr.seek(0)
            self.stderr = self._stderr.read()
            self._stderr.close()
        return self.process.returncode

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.stop()


class HostConversation:
    """For unittest cases that hold a running host in `self.host` (stdin and stdout piped): requests get increasing
    ids, answers are JSON, and the end of input must end the host with exit code 0."""

    next_id = 0

    def send(self, request):
        self.next_id += 1
        request = dict(request, id=self.next_id)
        self.host.stdin.write(frame(json.dumps(request, separators=(",", ":"))))
        self.host.stdin.flush()
        return self.next_id

    def receive(self, timeout=30):
        body = receive_frame(self.host, timeout=timeout)
        if body is None:
            self.fail("the host closed its output without answering; exit code %d" % wait_host(self.host))
        return json.loads(body)

    def ask(self, request):
        request_id = self.send(request)
        answer = self.receive()
        self.assertEqual(request_id, answer.get("id"), answer)
        return answer

    def end(self):
        self.host.stdin.close()
        self.assertEqual(0, wait_host(self.host))

    def wait_for(self, condition, timeout=10):
        deadline = time.monotonic() + timeout
        while not condition():
            self.assertLess(time.monotonic(), deadline, "timed out waiting")
            time.sleep(0.02)


def receive_frame(process, timeout=30):
    """Reads one frame from a running host's output, or raises TimeoutError."""
    def read(count):
        data = b""
        while len(data) < count:
            ready, _, _ = select.select([process.stdout], [], [], timeout)
            if not ready:
                raise TimeoutError("no frame from the host")
            chunk = os.read(process.stdout.fileno(), count - len(data))
            if not chunk:
                return None
            data += chunk
        return data

    header = read(4)
    if header is None:
        return None
    (length,) = struct.unpack("<I", header)
    return read(length)


def run_unittests(argv, prefix):
    """Runs the calling script's unittest cases against `prefix` and returns the exit code; prints the closing
    "N passed, N failed" line. A run of no tests at all fails. The simulated installation is removed afterwards."""
    import unittest

    program = unittest.main(module="__main__", argv=argv, exit=False, verbosity=2)
    prefix.remove_product()
    tests = program.result.testsRun
    failed = len(program.result.failures) + len(program.result.errors)
    print(f"{tests - failed} passed, {failed} failed")
    return 0 if program.result.wasSuccessful() and tests > 0 else 1


def install_host(exe, folder, name="LVBHOHost.exe"):
    """Copies the host into `folder` under `name`, with the dialog library LVUI.dll it loads from beside it; returns
    the copy's path."""
    exe = Path(exe)
    folder = Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    shutil.copy(exe, folder / name)
    shutil.copy(exe.parent / "LVUI.dll", folder / "LVUI.dll")
    return folder / name


def blackbox_main(description, programs, namespace):
    """The main of a black-box script: reads one required `--option PATH` per entry of `programs` (option, help
    text, the global it sets), makes a prefix, sets those globals (each path resolved) and PREFIX in the script's
    `namespace` (its globals()), and runs the script's unittest cases; exits with their verdict. Other arguments
    go to unittest."""
    import argparse
    import sys

    parser = argparse.ArgumentParser(description=description)
    for option, help_text, name in programs:
        parser.add_argument(option, required=True, help=help_text, dest=name)
    args, rest = parser.parse_known_args()
    namespace.update({name: Path(value).resolve() for name, value in vars(args).items()})
    with WinePrefix() as prefix:
        namespace["PREFIX"] = prefix
        code = run_unittests([sys.argv[0], *rest], prefix)
    sys.exit(code)


def host_and_core_main(description, namespace):
    """blackbox_main for a script that runs the host with the stand-in core: EXE and SIM."""
    blackbox_main(description, [("--exe", "path to LVBHOHost.exe", "EXE"),
                                ("--sim", "path to SimLvEngine.exe, the stand-in core", "SIM")], namespace)


def decode_log(data):
    """Turns the scrambled debug log back into text: CR LF is the line end the file was written with; every other
    byte but 0, 9 and 10 was shifted up by 10."""
    data = data.replace(b"\r\n", b"\n")
    return bytes(b if b in (0, 9, 10) else (b - 10) % 256 for b in data)
