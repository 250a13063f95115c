#!/usr/bin/env python3
"""A native messaging host for the client's tests. Answers each request {"id": N, ...} with {"id": N, "echo": ...};
requests without a usable id get {"id": -1}. Commands: "push" also sends an unsolicited frame, "garbage" sends a
body that is not JSON, "huge" sends a length no browser accepts, "cut" sends half a frame and exits, "silent"
answers nothing, "exit" exits with the code in "code". Writes its arguments to $FAKE_HOST_ARGS when set."""

import json
import os
import struct
import sys

out = sys.stdout.buffer


def send(body):
    out.write(struct.pack("<I", len(body)) + body)
    out.flush()


def main():
    if os.environ.get("FAKE_HOST_ARGS"):
        with open(os.environ["FAKE_HOST_ARGS"], "w") as f:
            json.dump(sys.argv[1:], f)
    data = sys.stdin.buffer
    while True:
        header = data.read(4)
        if len(header) < 4:
            return 0
        (length,) = struct.unpack("<I", header)
        body = data.read(length)
        try:
            request = json.loads(body)
        except ValueError:
            send(b'{"id":-1,"status":4}')
            continue
        command = request.get("command") if isinstance(request, dict) else None
        request_id = request.get("id", -1) if isinstance(request, dict) else -1
        if not isinstance(request_id, int):
            request_id = -1
        if command == "silent":
            continue
        if command == "exit":
            send(json.dumps({"id": request_id}).encode())
            return request.get("code", 0)
        if command == "cut":
            out.write(struct.pack("<I", 100) + b'{"id":')
            out.flush()
            return 0
        send(json.dumps({"id": request_id, "echo": request}).encode())
        if command == "push":
            send(b'{"command":"FormFill","value":"x"}')
        elif command == "garbage":
            send(b"{not json")
        elif command == "huge":
            out.write(struct.pack("<I", 0xFFFFFFFF))
            out.flush()


if __name__ == "__main__":
    sys.exit(main())
