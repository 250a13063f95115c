// The extension's side of the conversation with LVBHOHost, as the Lumivar extension holds it: one long-lived
// native port, commands sent with increasing "id"s, answers matched by "id", and everything else the host sends
// on its own (validation outcomes, form fills, focus changes) collected in order of arrival.
// Shared by Chromium (MV3 service worker, loaded with importScripts) and Firefox (MV3 background scripts).
"use strict";

(() => {
  const api = globalThis.browser ?? globalThis.chrome;

  let port = null;
  let nextId = 0;
  const waiting = new Map(); // id -> {resolve, reject, timer}
  let unsolicited = [];      // frames that answer no request we made
  let disconnected = null;   // the reason, once the port has closed

  function lastErrorMessage(p) {
    const err = (api.runtime && api.runtime.lastError) || (p && p.error);
    return err ? String(err.message || err) : "port disconnected";
  }

  // Every request still waiting fails with `reason` (the port it was sent on is gone).
  function failWaiting(reason) {
    for (const [id, w] of waiting) {
      clearTimeout(w.timer);
      w.reject(new Error(`no answer to id ${id}: ${reason}`));
    }
    waiting.clear();
  }

  function connect(host) {
    if (port) port.disconnect();
    failWaiting("the port was replaced");
    port = api.runtime.connectNative(host);
    nextId = 0;
    unsolicited = [];
    disconnected = null;
    port.onMessage.addListener((msg) => {
      const id = msg && typeof msg.id === "number" ? msg.id : undefined;
      const w = id !== undefined ? waiting.get(id) : undefined;
      if (w) {
        waiting.delete(id);
        clearTimeout(w.timer);
        w.resolve(msg);
      } else {
        unsolicited.push({ msg, at: performance.now() });
      }
    });
    port.onDisconnect.addListener((p) => {
      disconnected = lastErrorMessage(p);
      failWaiting(`the port closed: ${disconnected}`);
      port = null;
    });
    return true;
  }

  // Sends a command with the next "id" and resolves with the host's answer carrying that "id".
  function request(message, timeoutMs = 30000) {
    return new Promise((resolve, reject) => {
      if (!port) {
        reject(new Error("no port: " + (disconnected || "not connected")));
        return;
      }
      const id = ++nextId;
      const t0 = performance.now();
      const entry = { resolve: (m) => resolve({ answer: m, ms: performance.now() - t0 }), reject, timer: null };
      entry.timer = setTimeout(() => {
        if (waiting.get(id) === entry) waiting.delete(id);
        reject(new Error(`no answer to id ${id} within ${timeoutMs} ms`));
      }, timeoutMs);
      waiting.set(id, entry);
      port.postMessage({ ...message, id });
    });
  }

  // Sends a message exactly as given (no "id" added): how a malformed request is made.
  function post(message) {
    if (!port) throw new Error("no port: " + (disconnected || "not connected"));
    port.postMessage(message);
    return true;
  }

  // Waits until `count` frames that answer nothing have arrived, and hands them over.
  async function takeUnsolicited(count = 1, timeoutMs = 15000) {
    const t0 = performance.now();
    while (unsolicited.length < count && performance.now() - t0 < timeoutMs) {
      await new Promise((r) => setTimeout(r, 10));
    }
    const taken = unsolicited.map((u) => u.msg);
    unsolicited = [];
    return taken;
  }

  function disconnect() {
    if (!port) return false;
    failWaiting("closed by the extension");
    port.disconnect();
    port = null;
    disconnected = "closed by the extension";
    return true;
  }

  async function waitDisconnected(timeoutMs = 10000) {
    const t0 = performance.now();
    while (!disconnected && performance.now() - t0 < timeoutMs) {
      await new Promise((r) => setTimeout(r, 10));
    }
    return disconnected;
  }

  globalThis.lvHost = { connect, request, post, takeUnsolicited, disconnect, waitDisconnected };
})();
