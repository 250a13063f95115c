#!/usr/bin/env node
// End to end with real browsers: headless Chromium and Firefox ESR load the test extension (extension/), which
// talks over a native messaging port to LVBHOHost.exe under Wine, with SimLvEngine.exe as the core.
//
//   node e2e.mjs --exe LVBHOHost.exe --sim SimLvEngine.exe [--browser chromium|firefox|all] [--keep]
//   node e2e.mjs --msi LVBHOHost-<version>-win64.msi --sim SimLvEngine.exe [...]
//
// With --exe the host is copied into the simulated installation and registered with -RegisterNativeApp, as the
// product's installer does; with --msi the release's MSI installs and registers it (msiexec /i ... /qn).
//
// Environment: CHROMIUM (default /usr/bin/chromium), FIREFOX (/usr/bin/firefox-esr), WINE (wine), WINESERVER
// (wineserver), LVBHO_E2E_TIMEOUT_S (watchdog, default 600).
//
// The run makes one temporary directory (a Wine prefix with a simulated installation, the browsers' profiles and
// HOME, the host's launcher and manifests) and removes it at the end unless --keep. It stops what it started: the
// browser and the stand-in core by PID, everything else in its own prefix with `wineserver -k`.
// Output: one "ok"/"FAIL" line per check, then "N passed, N failed"; exit status 0 only when all passed. A browser
// that is missing or cannot start is a failure, never a skip.

import { spawn, spawnSync, execFileSync } from "node:child_process";
import crypto from "node:crypto";
import fs from "node:fs";
import http from "node:http";
import os from "node:os";
import path from "node:path";
import readline from "node:readline";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

const ROOT = path.dirname(fileURLToPath(import.meta.url));
const EXT_DIR = path.join(ROOT, "extension");
const CHROME_HOST = "com.google.chrome.lvbhohost";
const FIREFOX_HOST = "com.mozilla.firefox.lvbhohost";
const INSTALL_DIR_WIN = "C:\\Program Files\\Lumivar\\";
const PRODUCT_KEY = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Kavrin\\Lumivar";
const SKIP_LIST_KEY = "HKEY_CURRENT_USER\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho";

// ---------------------------------------------------------------- options
function parseArgs(argv) {
  const o = { exe: null, msi: null, sim: null, browser: "all", keep: false };
  for (let i = 0; i < argv.length; i++) {
    const a = argv[i];
    const val = () => {
      if (i + 1 >= argv.length) throw new Error(`${a} needs a value`);
      return argv[++i];
    };
    if (a === "--exe") o.exe = path.resolve(val());
    else if (a === "--msi") o.msi = path.resolve(val());
    else if (a === "--sim") o.sim = path.resolve(val());
    else if (a === "--browser") o.browser = val();
    else if (a === "--keep") o.keep = true;
    else if (a === "-h" || a === "--help") {
      console.log(fs.readFileSync(fileURLToPath(import.meta.url), "utf8").split("\n").slice(1, 19).join("\n"));
      process.exit(0);
    } else throw new Error(`unknown argument ${a}`);
  }
  if (!o.exe === !o.msi || !o.sim) throw new Error("--sim and one of --exe and --msi are required");
  if (!["chromium", "firefox", "all"].includes(o.browser)) throw new Error("--browser must be chromium, firefox or all");
  return o;
}
let opts;
try {
  opts = parseArgs(process.argv.slice(2));
} catch (e) {
  console.error(`e2e: ${e.message}`);
  process.exit(2);
}

const CHROMIUM = process.env.CHROMIUM || "/usr/bin/chromium";
const FIREFOX = process.env.FIREFOX || "/usr/bin/firefox-esr";
const WINE = process.env.WINE || "wine";
const WINESERVER = process.env.WINESERVER || "wineserver";
const TIMEOUT_S = Number(process.env.LVBHO_E2E_TIMEOUT_S || 600);

// ---------------------------------------------------------------- utilities
const t0 = Date.now();
const log = (...a) => console.log(`[${((Date.now() - t0) / 1000).toFixed(1).padStart(5)}s]`, ...a);
const results = [];
function check(name, ok, detail = "") {
  results.push({ name, ok: !!ok });
  console.log(`${ok ? "ok  " : "FAIL"} ${name}${detail ? " - " + detail : ""}`);
  return !!ok;
}
const sleep = (ms) => new Promise((r) => setTimeout(r, ms));
const json = (v) => JSON.stringify(v);
// Equal as JSON values, whatever the order of the members.
const canonical = (v) =>
  Array.isArray(v) ? v.map(canonical)
    : v && typeof v === "object" ? Object.fromEntries(Object.keys(v).sort().map((k) => [k, canonical(v[k])]))
      : v;
const sameJson = (a, b) => json(canonical(a)) === json(canonical(b));

function extensionIdFromKey(keyBase64) {
  // Chromium: the first 128 bits of SHA-256(DER public key) in hex, digits 0-f written as a-p.
  const hex = crypto.createHash("sha256").update(Buffer.from(keyBase64, "base64")).digest("hex").slice(0, 32);
  return [...hex].map((c) => String.fromCharCode(97 + parseInt(c, 16))).join("");
}

// Setup commands write to a log file, never to pipes: Wine daemons forked by the first program of a prefix
// inherit its stdio and keep it open as long as the wineserver runs.
let setupLog = null;
function run(cmd, args, { env, cwd, timeoutMs = 180000, allowFail = false } = {}) {
  const fd = fs.openSync(setupLog, "a");
  try {
    fs.writeSync(fd, `$ ${cmd} ${args.join(" ")}\n`);
    const r = spawnSync(cmd, args, { env: env || wineEnv, cwd, stdio: ["ignore", fd, fd], timeout: timeoutMs });
    if (r.error) throw new Error(`${cmd}: ${r.error.message}`);
    if (r.status !== 0 && !allowFail) {
      throw new Error(`${cmd} ${args.join(" ")} exited ${r.status}; log: ${fs.readFileSync(setupLog, "utf8").slice(-2000)}`);
    }
    return r.status;
  } finally {
    fs.closeSync(fd);
  }
}

// Processes of our own prefix (from /proc; Linux only).
function winePids(prefix) {
  const out = [];
  for (const d of fs.readdirSync("/proc")) {
    if (!/^\d+$/.test(d)) continue;
    try {
      const env = fs.readFileSync(`/proc/${d}/environ`, "latin1").split("\0");
      if (!env.includes(`WINEPREFIX=${prefix}`)) continue;
      const cmd = fs.readFileSync(`/proc/${d}/cmdline`, "latin1").replace(/\0/g, " ").trim();
      out.push({ pid: Number(d), cmd });
    } catch {
      /* gone, or not ours to read */
    }
  }
  return out;
}
async function waitUntil(pred, timeoutMs, stepMs = 20) {
  const end = Date.now() + timeoutMs;
  while (Date.now() < end) {
    if (await pred()) return true;
    await sleep(stepMs);
  }
  return !!(await pred());
}

// ---------------------------------------------------------------- the run's directory and environment
const work = fs.mkdtempSync(path.join(os.tmpdir(), "lvbho-e2e-"));
const home = path.join(work, "home");
const prefix = path.join(work, "wineprefix");
const hostDir = path.join(work, "host");
const hostLog = path.join(work, "host-runs.log");
setupLog = path.join(work, "setup.log");
fs.mkdirSync(home, { recursive: true });
fs.mkdirSync(hostDir, { recursive: true });
const installDir = path.join(prefix, "drive_c", "Program Files", "Lumivar");
const hostExe = path.join(installDir, "LVBHOHost.exe");

const wineEnv = {
  ...process.env,
  HOME: home,
  WINEPREFIX: prefix,
  WINEDEBUG: "-all",
  WINEDLLOVERRIDES: "mscoree,mshtml=",
  LC_ALL: "en_US.UTF-8",
};
delete wineEnv.DISPLAY;
delete wineEnv.WAYLAND_DISPLAY;
// What the browsers get, and pass on to the host they start.
const browserEnv = { ...wineEnv, LVBHO_E2E_EXE: hostExe, LVBHO_E2E_HOST_LOG: hostLog };

let activeBrowser = null;
let core = null;
let server = null;

async function closeBrowser() {
  if (!activeBrowser) return;
  const browser = activeBrowser;
  activeBrowser = null;
  const proc = browser.process();
  await Promise.race([browser.close().catch(() => {}), sleep(5000)]);
  if (proc && proc.exitCode === null && proc.signalCode === null) {
    // Puppeteer starts the browser as the leader of its own process group: end its helpers with it.
    for (const target of [-proc.pid, proc.pid]) {
      try {
        process.kill(target, "SIGKILL");
        break;
      } catch {
        /* not a group of its own, or already gone */
      }
    }
  }
}
let cleaning = null;
function cleanup() {
  cleaning ??= cleanupOnce();
  return cleaning;
}
async function cleanupOnce() {
  await closeBrowser();
  if (core) await core.stop();
  if (server) server.close();
  spawnSync(WINESERVER, ["-k"], { env: wineEnv, stdio: "ignore", timeout: 15000 });
  spawnSync(WINESERVER, ["-w"], { env: wineEnv, stdio: "ignore", timeout: 15000 });
  if (!opts.keep) fs.rmSync(work, { recursive: true, force: true });
  else log(`kept ${work}`);
}
const watchdog = setTimeout(async () => {
  check("finished within LVBHO_E2E_TIMEOUT_S", false, `${TIMEOUT_S} s watchdog fired`);
  await cleanup();
  console.log(`${results.filter((r) => r.ok).length} passed, ${results.filter((r) => !r.ok).length} failed`);
  process.exit(1);
}, TIMEOUT_S * 1000);
for (const [sig, code] of [["SIGINT", 130], ["SIGTERM", 143]]) {
  process.on(sig, async () => {
    await cleanup();
    process.exit(code);
  });
}

// ---------------------------------------------------------------- Wine, the installation and the host's manifests
function prepareWine() {
  let t = Date.now();
  fs.mkdirSync(prefix, { recursive: true });
  // One persistent wineserver for the whole run, started before wineboot so that Wine's services stay up.
  run(WINESERVER, ["-p"]);
  run(WINE, ["wineboot", "-i"]);
  log(`created the Wine prefix in ${Date.now() - t} ms`);

  // A simulated installation of the product: its key and its folder.
  fs.mkdirSync(installDir, { recursive: true });
  const esc = (s) => s.replace(/\\/g, "\\\\");
  const reg = [
    "REGEDIT4", "",
    `[${PRODUCT_KEY}]`,
    `"InstallDir"="${esc(INSTALL_DIR_WIN)}"`,
    '"OEM"=dword:00000037', '"PMode"=dword:00000001', '"ProductVer"="9.4.0"', '"WebVersion"="9.4.0.12"',
    '"BuildNumber"="2026.11.3"', '"Release"=dword:00000004', "",
    `[${SKIP_LIST_KEY}]`, '"1"="bank"', "",
  ].join("\r\n");
  const regFile = path.join(work, "install.reg");
  fs.writeFileSync(regFile, reg, "latin1");
  run(WINE, ["regedit", "/S", regFile]);

  t = Date.now();
  if (opts.msi) {
    // The release's installer puts the host into the product's folder and registers it from there.
    fs.copyFileSync(opts.msi, path.join(prefix, "drive_c", "host.msi"));
    const status = run(WINE, ["msiexec", "/i", "C:\\host.msi", "/qn"], { allowFail: true });
    const installed = ["LVBHOHost.exe", "LVUI.dll", `${CHROME_HOST}-win.json`, `${FIREFOX_HOST}-win.json`]
      .filter((name) => fs.existsSync(path.join(installDir, name)));
    check("msiexec /i installs the host and its manifests", status === 0 && installed.length === 4,
      `exit code ${status}, ${installed.join(", ")}, ${Date.now() - t} ms`);
    return;
  }
  fs.copyFileSync(opts.exe, hostExe);
  // The dialog library the host loads from beside it.
  fs.copyFileSync(path.join(path.dirname(opts.exe), "LVUI.dll"), path.join(installDir, "LVUI.dll"));
  // The host registers itself as the installer runs it: it writes its manifests into its working folder.
  const status = run(WINE, [hostExe, "-RegisterNativeApp"], { cwd: installDir, allowFail: true });
  check("LVBHOHost.exe -RegisterNativeApp", status === 0, `exit code ${status}, ${Date.now() - t} ms`);
}

// The host's own manifest for `name`, as -RegisterNativeApp wrote it.
function hostManifest(name) {
  const file = path.join(installDir, `${name}-win.json`);
  const text = fs.readFileSync(file, "utf8");
  return { file, manifest: JSON.parse(text) };
}

// The host's manifest for a Linux browser: only "path" (our launcher) and the allowed origin or extension id
// (the test extension's) change. Written to `target`, then read back and compared member by member with the host's.
function placeManifest(name, member, allowed, target) {
  const { manifest: original } = hostManifest(name);
  fs.writeFileSync(target, JSON.stringify({ ...original, path: path.join(hostDir, "lvbhohost.sh"), [member]: [allowed] }));
  const placed = JSON.parse(fs.readFileSync(target, "utf8"));
  const keys = (o) => Object.keys(o).sort().join(",");
  const problems = [];
  if (keys(placed) !== keys(original)) problems.push(`members ${keys(placed)} instead of ${keys(original)}`);
  for (const k of Object.keys(original)) {
    if (k !== "path" && k !== member && !sameJson(placed[k], original[k])) problems.push(`${k} changed`);
  }
  if (original.name !== name) problems.push(`the host named itself ${json(original.name)}`);
  if (original.type !== "stdio") problems.push(`type ${json(original.type)}`);
  if (!Array.isArray(original[member]) || original[member].length !== 1) problems.push(`${member} ${json(original[member])}`);
  if (!path.isAbsolute(placed.path) || !sameJson(placed[member], [allowed])) problems.push("path or allowed list not placed");
  return { placed, problems };
}

function installLauncher() {
  const launcher = path.join(hostDir, "lvbhohost.sh");
  fs.copyFileSync(path.join(ROOT, "lvbhohost.sh"), launcher);
  fs.chmodSync(launcher, 0o755);
}

// The host runs the launcher recorded: [{pid, args, exit}] in order of start.
function hostRuns() {
  if (!fs.existsSync(hostLog)) return [];
  const runs = new Map();
  for (const line of fs.readFileSync(hostLog, "utf8").split("\n")) {
    const m = /^(\d+) (start|arg|exit)(?: (.*))?$/.exec(line);
    if (!m) continue;
    const pid = Number(m[1]);
    if (m[2] === "start") runs.set(pid, { pid, args: [], exit: null });
    const r = runs.get(pid);
    if (!r) continue;
    if (m[2] === "arg") r.args.push(m[3] ?? "");
    if (m[2] === "exit") r.exit = Number(m[3]);
  }
  return [...runs.values()];
}
const hostProcesses = () => winePids(prefix).filter((p) => /LVBHOHost\.exe/i.test(p.cmd));

// ---------------------------------------------------------------- the stand-in core
class SimCore {
  constructor(label) {
    this.logName = `simcore-${label}.jsonl`;
    this.logPath = path.join(prefix, "drive_c", this.logName);
    fs.rmSync(this.logPath, { force: true });
    this.proc = spawn(WINE, [opts.sim, "--log", `C:\\${this.logName}`], { env: wineEnv, stdio: ["pipe", "pipe", "ignore"] });
    this.lines = [];
    this.waiters = [];
    readline.createInterface({ input: this.proc.stdout }).on("line", (line) => {
      const w = this.waiters.shift();
      if (w) w(line);
      else this.lines.push(line);
    });
    this.proc.on("exit", () => {
      for (const w of this.waiters.splice(0)) w(null);
    });
  }
  nextLine(timeoutMs = 30000) {
    if (this.lines.length) return Promise.resolve(this.lines.shift());
    return new Promise((resolve) => {
      const timer = setTimeout(() => {
        this.waiters = this.waiters.filter((w) => w !== done);
        resolve(null);
      }, timeoutMs);
      const done = (line) => {
        clearTimeout(timer);
        resolve(line);
      };
      this.waiters.push(done);
    });
  }
  async ready() {
    const line = await this.nextLine();
    if (!line || !line.startsWith("ready ")) throw new Error(`the stand-in core did not start: ${line}`);
    return line;
  }
  async command(line) {
    this.proc.stdin.write(line + "\n");
    return (await this.nextLine()) ?? "error no reply";
  }
  log() {
    if (!fs.existsSync(this.logPath)) return [];
    return fs.readFileSync(this.logPath, "latin1").split("\n").filter(Boolean).map((l) => JSON.parse(l));
  }
  async stop() {
    if (this.proc.exitCode !== null || this.proc.signalCode !== null) return;
    try {
      this.proc.stdin.end("quit\n");
    } catch {
      /* closed */
    }
    const ended = await waitUntil(() => this.proc.exitCode !== null || this.proc.signalCode !== null, 10000);
    if (!ended) this.proc.kill("SIGKILL");
  }
}

// ---------------------------------------------------------------- the page bridge
function startPageServer() {
  return new Promise((resolve) => {
    server = http.createServer((req, res) => {
      res.writeHead(200, { "content-type": "text/html; charset=utf-8" });
      res.end("<!doctype html><meta charset=utf-8><title>LVBHOHost e2e</title><p>LVBHOHost end-to-end page</p>");
    });
    server.listen(0, "127.0.0.1", () => resolve(`http://127.0.0.1:${server.address().port}/`));
  });
}

// Calls globalThis.lvHost[fn](...args) in the extension's background: page -> content script -> background.
async function call(page, fn, ...args) {
  return page.evaluate(
    (fn, args) =>
      new Promise((resolve, reject) => {
        const id = Math.random().toString(36).slice(2);
        const onMessage = (ev) => {
          const d = ev.data;
          if (ev.source !== window || !d || d.lvHostResult !== id) return;
          window.removeEventListener("message", onMessage);
          if (d.ok) resolve(d.value);
          else reject(new Error(d.error));
        };
        window.addEventListener("message", onMessage);
        window.postMessage({ lvHostCall: id, fn, args }, "*");
      }),
    fn,
    args,
  );
}

async function openBridgePage(browser, url) {
  const page = await browser.newPage();
  await page.goto(url);
  await page.waitForSelector("html[data-lvhost-bridge=ready]", { timeout: 15000 });
  return page;
}

// ---------------------------------------------------------------- the flows, the same in both browsers
const STORE = {
  command: "StoreLoginData", DocumentTitle: "Example - Log in", WebUrl: "https://www.example.com/login",
  unamefield: "user", webPageUserId: "alice", passfieldname: "pwd", webPagepassword: "s3cret",
};
const REMEMBERED = { command: "IsPageRemembered", WebUrl: "https://www.example.com/", passfieldname: "pwd" };
const CHECK_SAME_DOMAIN = {
  command: "CheckAndValidate", DocumentTitle: "Mail", WebUrl: "https://mail.example.com/inbox",
  unamefield: "user", passfieldname: "pwd",
};
const CHECK_UNKNOWN = {
  command: "CheckAndValidate", DocumentTitle: "Shop", WebUrl: "https://shop.example.org/",
  unamefield: "email", passfieldname: "pass",
};

async function flows(label, page, hostName, expectedArgs) {
  const ask = async (message) => (await call(page, "request", message)).answer;
  const runsBefore = hostRuns().length;

  let t = Date.now();
  await call(page, "connect", hostName);
  const identify = await call(page, "request", { command: "Identify", name: label === "chromium" ? "chrome" : "firefox" });
  check(`${label}: Identify over a native port to ${hostName}`,
    identify.answer.CommandError === 0 && identify.answer.command === "Identify" &&
      identify.answer.productverinfo && identify.answer.productverinfo.productver === "9.4.0",
    `${Date.now() - t} ms from connectNative, ${json(identify.answer)}`);
  const lang = await ask({ command: "GetLang" });
  check(`${label}: GetLang`, lang.CommandError === 0 && lang.Lang === "English" && lang.id === 2, json(lang));

  const runs = hostRuns().slice(runsBefore);
  const args = runs.length ? runs[0].args : null;
  check(`${label}: the browser's arguments reach the host, which takes them for no switch and answers`,
    runs.length === 1 && sameJson(args, expectedArgs) && identify.answer.CommandError === 0,
    json(args));

  const unknown = await ask({ ...REMEMBERED, WebUrl: "https://unknown.example.net/" });
  check(`${label}: IsPageRemembered for an unknown site`, unknown.CommandError === 0 && unknown.isremembered === 0, json(unknown));

  const stored = await ask(STORE);
  const remembered = await ask(REMEMBERED);
  const filled = await ask(CHECK_SAME_DOMAIN);
  check(`${label}: StoreLoginData`, stored.CommandError === 0 && stored.isenrolled === 1, json(stored));
  check(`${label}: IsPageRemembered after storing`, remembered.CommandError === 0 && remembered.isremembered === 1, json(remembered));
  check(`${label}: CheckAndValidate on the same domain returns the fill data`,
    filled.CommandError === 0 && filled.clickok === "true" &&
      sameJson(filled.LoginData, [{ FieldName: "user", FieldVal: "alice" }, { FieldName: "pwd", FieldVal: "s3cret" }]),
    json(filled.LoginData));

  const pending = await ask(CHECK_UNKNOWN);
  check(`${label}: CheckAndValidate of an unknown site is left pending`,
    pending.CommandError === 6 && pending.CommandErrorMsg === "vault select", json(pending));
  // The outcome ends the validation (status 6). A status -1 would ask Firefox's prompt window to show a page, which
  // needs a browser window in the foreground; there is none in a headless run, and the host then says nothing.
  const pushed = await core.command("push copydata 44525655 6 dev-7 Verified");
  const [outcome] = await call(page, "takeUnsolicited", 1);
  const expected = { command: "ValidateAsyncMsg", msg: "Verified", status: 6, strdevid: "dev-7", Devid: 44525655 };
  // Firefox's prompt window adds the tab the prompt belongs to (none was given here).
  if (label === "firefox") expected.tabid = "";
  check(`${label}: the core's later outcome arrives as ValidateAsyncMsg`,
    pushed.startsWith("ok") && sameJson(outcome, expected), `core: ${pushed}; extension: ${json(outcome)}`);

  const fillPush = await core.command("push fill EXAMPLE.COM::pwd");
  const [fill] = await call(page, "takeUnsolicited", 1);
  check(`${label}: a fill pushed by the core arrives as FormFill`,
    fillPush === "ok" && fill && fill.command === "FormFill" &&
      sameJson(fill.LoginData, [{ FieldName: "user", FieldVal: "alice" }, { FieldName: "pwd", FieldVal: "s3cret" }]),
    `core: ${fillPush}; extension: ${json(fill)}`);

  const skipped = await ask({ command: "CheckSkipList", domain: "online.mybank.com" });
  const kept = await ask({ command: "CheckSkipList", domain: "example.com" });
  check(`${label}: CheckSkipList`, skipped.CommandError === 0 && skipped.skipped === 1 && kept.CommandError === 0 && kept.skipped === 0,
    `${json(skipped)} ${json(kept)}`);

  const param = await ask({ command: "SetPluginParam", strdevid: "44525655", param: "123456" });
  await core.command("dump"); // everything sent to the core so far has been logged once this is answered
  const records = core.log().filter((e) => e.event === "copydata");
  const record = records[records.length - 1];
  check(`${label}: SetPluginParam reaches the core`,
    param.CommandError === 0 && record && record.strDevId === "44525655" && record.text2 === "123456" && record.cbData === 788,
    `answer ${json(param)}; core got ${json(record)}`);

  // Malformed requests: each answered as the host documents it, and the port stays usable.
  await call(page, "post", { command: "GetLang" });
  await call(page, "post", { command: "GetLang", id: "x" });
  await call(page, "post", [1, 2, 3]);
  const noIds = await call(page, "takeUnsolicited", 3);
  const unknownCommand = await ask({ command: "NoSuchCommand" });
  const wrongTypes = await ask({ command: "CheckSkipList", domain: 42 });
  const after = await ask({ command: "GetLang" });
  const missing = { CommandError: 4, CommandErrorMsg: "Argument missing" };
  check(`${label}: malformed requests are answered, not fatal`,
    noIds.length === 3 && sameJson(noIds[0], missing) && sameJson(noIds[1], { ...missing, command: "GetLang" }) &&
      sameJson(noIds[2], missing) &&
      sameJson(unknownCommand, { CommandError: 2, CommandErrorMsg: "Invalid Command", command: "NoSuchCommand", id: unknownCommand.id }) &&
      wrongTypes.CommandError === 0 && wrongTypes.skipped === 0 && after.CommandError === 0 && after.Lang === "English",
    `${json(noIds)} ${json(unknownCommand)} ${json(wrongTypes)}`);

  // The port closing ends the host: exit 0 and nothing of it left in the prefix.
  const live = hostProcesses();
  t = Date.now();
  await call(page, "disconnect");
  const gone = await waitUntil(() => hostProcesses().length === 0, 10000);
  const goneMs = Date.now() - t;
  await waitUntil(() => hostRuns().slice(runsBefore).every((r) => r.exit !== null), 5000);
  const ended = hostRuns().slice(runsBefore);
  check(`${label}: closing the port ends the host with exit code 0, no process left`,
    live.length === 1 && gone && ended.length === 1 && ended[0].exit === 0,
    `${live.length} host process while open; ${gone ? `gone ${goneMs} ms after disconnect` : json(hostProcesses())}; exit ${ended.map((r) => r.exit)}`);
}

async function testChromium(url) {
  const manifest = JSON.parse(fs.readFileSync(path.join(EXT_DIR, "manifest.json"), "utf8"));
  const extId = extensionIdFromKey(manifest.key);
  const userDataDir = path.join(work, "chromium-profile");
  // With --user-data-dir, Chromium on Linux reads per-user host manifests from <user-data-dir>/NativeMessagingHosts.
  const nmDir = path.join(userDataDir, "NativeMessagingHosts");
  fs.mkdirSync(nmDir, { recursive: true });
  const m = placeManifest(CHROME_HOST, "allowed_origins", `chrome-extension://${extId}/`, path.join(nmDir, `${CHROME_HOST}.json`));
  check("chromium: host manifest from -RegisterNativeApp, only path and origin changed", m.problems.length === 0,
    m.problems.length ? m.problems.join("; ") : json(m.placed));

  const t = Date.now();
  const browser = await puppeteer.launch({
    executablePath: CHROMIUM,
    headless: true,
    userDataDir,
    ignoreDefaultArgs: ["--disable-extensions"],
    args: [
      "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
      "--disable-component-update", "--disable-sync",
      `--disable-extensions-except=${EXT_DIR}`, `--load-extension=${EXT_DIR}`,
    ],
    env: browserEnv,
    timeout: 60000,
  });
  activeBrowser = browser;
  const sw = await browser.waitForTarget(
    (target) => target.type() === "service_worker" && target.url().startsWith(`chrome-extension://${extId}/`),
    { timeout: 30000 });
  check("chromium: test extension loaded", !!sw, `${await browser.version()}, id ${extId}, ${Date.now() - t} ms after launch`);
  const page = await openBridgePage(browser, url);
  await flows("chromium", page, CHROME_HOST, [`chrome-extension://${extId}/`]);
  await closeBrowser();
}

async function testFirefox(url) {
  const manifest = JSON.parse(fs.readFileSync(path.join(EXT_DIR, "manifest.json"), "utf8"));
  const addonId = manifest.browser_specific_settings.gecko.id;
  // Firefox on Linux reads per-user host manifests from ~/.mozilla/native-messaging-hosts/.
  const nmDir = path.join(home, ".mozilla", "native-messaging-hosts");
  fs.mkdirSync(nmDir, { recursive: true });
  const manifestPath = path.join(nmDir, `${FIREFOX_HOST}.json`);
  const m = placeManifest(FIREFOX_HOST, "allowed_extensions", addonId, manifestPath);
  check("firefox: host manifest from -RegisterNativeApp, only path and extension id changed", m.problems.length === 0,
    m.problems.length ? m.problems.join("; ") : json(m.placed));

  const t = Date.now();
  const browser = await puppeteer.launch({
    browser: "firefox",
    executablePath: FIREFOX,
    headless: true,
    env: browserEnv,
    extraPrefsFirefox: { "privacy.reduceTimerPrecision": false, "browser.shell.checkDefaultBrowser": false },
    timeout: 60000,
  });
  activeBrowser = browser;
  const installed = await browser.installExtension(EXT_DIR);
  check("firefox: test extension installed", installed === addonId, `${await browser.version()}, id ${installed}, ${Date.now() - t} ms after launch`);
  const page = await openBridgePage(browser, url);
  await flows("firefox", page, FIREFOX_HOST, [manifestPath, addonId]);
  await closeBrowser();
}

// ---------------------------------------------------------------- main
async function main() {
  log(`work directory ${work}`);
  for (const [name, file] of [[opts.msi ? "the MSI" : "LVBHOHost.exe", opts.msi || opts.exe], ["SimLvEngine.exe", opts.sim]]) {
    if (!fs.existsSync(file)) throw new Error(`${name} not found at ${file}`);
  }
  installLauncher();
  prepareWine();
  const url = await startPageServer();
  log(execFileSync(WINE, ["--version"], { env: wineEnv, encoding: "utf8" }).trim());
  const browsers = opts.browser === "all" ? ["chromium", "firefox"] : [opts.browser];
  for (const b of browsers) {
    const exe = b === "chromium" ? CHROMIUM : FIREFOX;
    if (!fs.existsSync(exe)) {
      check(`${b}: browser present`, false, `${exe} not found (the bootstrap installs it)`);
      continue;
    }
    log(`--- ${b}`);
    try {
      core = new SimCore(b);
      await core.ready();
      await (b === "chromium" ? testChromium(url) : testFirefox(url));
    } catch (e) {
      check(`${b}: run completed`, false, e && e.stack ? e.stack.split("\n").slice(0, 3).join(" | ") : String(e));
      await closeBrowser();
    } finally {
      if (core) await core.stop();
      core = null;
    }
  }
  const left = hostProcesses();
  check("no host process left in the prefix", left.length === 0, left.length ? json(left) : "");
  log(`done in ${((Date.now() - t0) / 1000).toFixed(1)} s`);
}

main()
  .catch((e) => check("e2e run", false, e && e.stack ? e.stack : String(e)))
  .finally(async () => {
    await cleanup();
    clearTimeout(watchdog);
    const failed = results.filter((r) => !r.ok).length;
    console.log(`${results.length - failed} passed, ${failed} failed`);
    process.exitCode = failed || results.length === 0 ? 1 : 0;
  });
