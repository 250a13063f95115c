// Content script for the driver's loopback page (http://127.0.0.1:<port>/). The page posts
// {lvHostCall: id, fn, args}; this script forwards the call to the background (where the native port lives) and
// posts back {lvHostResult: id, ok, value | error}: the page -> content script -> background -> host path a real
// extension uses.
"use strict";
(() => {
  const api = globalThis.browser ?? globalThis.chrome;
  window.addEventListener("message", (ev) => {
    const d = ev.data;
    if (ev.source !== window || !d || typeof d.lvHostCall !== "string") return;
    Promise.resolve(api.runtime.sendMessage({ lvHost: d.fn, args: d.args || [] })).then(
      (res) => window.postMessage({ lvHostResult: d.lvHostCall, ...(res || { ok: false, error: "no response from background" }) }, "*"),
      (err) => window.postMessage({ lvHostResult: d.lvHostCall, ok: false, error: String(err && err.message ? err.message : err) }, "*"),
    );
  });
  document.documentElement.setAttribute("data-lvhost-bridge", "ready");
})();
