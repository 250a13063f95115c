// Chromium runs this file as the MV3 service worker and loads hostport.js with importScripts; Firefox loads
// hostport.js and this file as background scripts (manifest "background.scripts").
"use strict";
if (typeof importScripts === "function" && !globalThis.lvHost) {
  importScripts("hostport.js");
}

// Calls relayed by the content script bridge.js: {lvHost: "<function>", args}.
(globalThis.browser ?? globalThis.chrome).runtime.onMessage.addListener((msg, sender, sendResponse) => {
  if (!msg || typeof msg.lvHost !== "string") return false;
  const fn = globalThis.lvHost[msg.lvHost];
  if (typeof fn !== "function") {
    sendResponse({ ok: false, error: "unknown lvHost function " + msg.lvHost });
    return false;
  }
  Promise.resolve()
    .then(() => fn(...(msg.args || [])))
    .then(
      (value) => sendResponse({ ok: true, value }),
      (err) => sendResponse({ ok: false, error: String(err && err.message ? err.message : err) }),
    );
  return true; // the answer comes asynchronously
});
