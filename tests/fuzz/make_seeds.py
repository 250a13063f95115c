#!/usr/bin/env python3
"""Writes the fuzz targets' seed corpora into tests/fuzz/corpus/<target>/. The files are committed; run this again
only to change them."""

import json
import struct
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "scripts" / "lib"))
import catalogue  # noqa: E402


def frame(body):
    return struct.pack("<I", len(body)) + body


def request(command, request_id=1, **extra):
    members = dict(catalogue.COMMANDS[command], command=command, id=request_id, **extra)
    return json.dumps(members, separators=(",", ":")).encode()


def seeds():
    loop = {}
    # The first byte plays the core: 0x00 idle and answering 0; 0x0C fill script; 0x8C a hostile fill; 0x01 absent.
    for index, command in enumerate(catalogue.COMMANDS):
        loop[f"{command}"] = b"\x00" + frame(request(command))
        loop[f"{command}-fill"] = b"\x0c" + frame(request(command, 2))
    loop["store-then-check"] = b"\x2c" + frame(request("StoreLoginData")) + frame(request("CheckAndValidate", 2))
    loop["check-hostile-core"] = b"\x8c" + frame(request("CheckAndValidate"))
    loop["no-core"] = b"\x01" + frame(request("IsPageRemembered"))
    loop["unmapped"] = b"\x02" + frame(request("StoreLoginData"))
    loop["vault-select"] = b"\x14" + frame(request("CheckAndValidate"))
    loop["truncated"] = b"\x00" + frame(request("GetLang"))[:-3]
    loop["huge-length"] = b"\x00" + b"\xff\xff\xff\xff" + b"{}"
    loop["over-64MiB"] = b"\x00" + struct.pack("<I", 64 * 1024 * 1024 + 1) + b"{}"
    loop["nul-and-latin1"] = b"\x00" + frame(b'{"command":"Check\xe9\x00SkipList","id":1,"domain":"\xff"}')
    loop["nested"] = b"\x00" + frame(b"[" * 40 + b"]" * 40)
    loop["zero-length"] = b"\x00" + b"\x00\x00\x00\x00" + frame(request("GetLang"))
    loop["wrong-types"] = b"\x00" + b"".join(
        frame(json.dumps(dict(catalogue.COMMANDS[c], **{m: v, "command": c, "id": 1})).encode())
        for c in ("StoreLoginData", "ShowPrompt", "keyevent") for m, v in catalogue.wrong_types(c))[:4000]

    cmdline = {
        "chrome-origin": b"chrome-extension://cphjhdedolkgfceajmkojeaodaoebfeg/ --parent-window=0",
        "firefox": b'"C:\\Program Files\\Lumivar\\LVBHOHost.json" lvbho@lumivar.com',
        "register": b'"C:\\Program Files\\Lumivar\\LVBHOHost.exe" -RegisterNativeApp',
        "values": b'LVBHOHost.exe /key:value -quoted:"a b c" :colon -flag /x:',
        "unterminated-quote": b'LVBHOHost.exe -a:"open',
    }
    domain = {
        "plain": b"https://www.example.com/login",
        "cc-second-level": b"https://mail.example.co.uk/inbox?x=1\nsuffix",
        "port-user": b"http://user:pw@host.example.com:8080/",
        "no-slash-query": b"HTTPS://a.b.c.example.com.au?q=/",
        "other-scheme": b"ftp://x/?next=http://evil.example.org/",
        "no-scheme": b"example.com",
        "ip": b"http://192.168.0.1/admin\n\xff\xfe",
    }
    login = {
        "two-fields": b"<U>+<P>\x1fsite::key\x1fExample\x1fhttps://www.example.com/\x1fuser\x1falice\x1fpwd\x1fs3cret",
        "many-tokens": b"+".join(b"<F%d>" % i for i in range(120)),
        "long-values": b"\x1f".join([b"k" * 300, b"d" * 20, b"https://" + b"h" * 270, b"u", b"v" * 3000, b"p", b"w"]),
        "block-image": b"user+pwd" + b"\x00" * 2040 + b"alice\x00s3cret\x00",
    }
    debug = {
        "empty": b"",
        "name-level": b"LVBHOHost;52$more",
        "other-program": b"LVBHOHost\nSimLvEngine;3",
        "format-line": b"MainHandler command - %s %d %*.*f %n %99999d %%",
        "semicolon-late": b"LVBHOHost\nX$LVBHOHost;9",
    }
    utf8 = {
        "ascii": b"user@example.com",
        "two-three-four": "é€😀".encode(),
        "latin1": b"caf\xe9",
        "overlong": b"\xc0\xaf\xe0\x80\xaf",
        "surrogate": b"\xed\xa0\x80",
        "above-max": b"\xf4\x90\x80\x80",
        "controls": b"a\x01b\x7f",
        "cut-sequence": b"\xe2\x82",
    }
    json_parse = {
        "request": request("StoreLoginData"),
        "escapes": rb'{"s":"a\n\t\"\/\\\b\f\r\u0041\u00e9\u20ac\u0000","t":"\ud83d\ude00\udc00\q"}',
        "places": rb'["root",{"a":"x","a":"y","long name" :[1,"z",{"k":"v"}]},"",tru "w"] "after"',
        "comment": b'// "\n{"a":/* "b" */ "c"}',
        "broken": b'{"a":"ends in \\',
    }
    return {"message_loop": loop, "cmdline": cmdline, "domain": domain, "login_script": login,
            "debug_switch": debug, "utf8_name": utf8, "json_parse": json_parse}


def main():
    for target, files in seeds().items():
        folder = HERE / "corpus" / target
        folder.mkdir(parents=True, exist_ok=True)
        for name, data in files.items():
            (folder / name).write_bytes(data)
        print(f"{target}: {len(files)} seeds")


if __name__ == "__main__":
    main()
