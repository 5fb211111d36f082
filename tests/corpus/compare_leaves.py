#!/usr/bin/env python3
"""Compares the decoded leaves of real messages with what the standard library's email package makes
of them, and lists every kind of difference with its count and an example.

    compare_leaves.py CORPUS_LEAVES FOLDER

Each kind is one that the coders' rules prescribe; a difference without a kind fails. Exit status 77
when there are no messages.
"""

import collections
import email
import pathlib
import re
import subprocess
import sys

SKIPPED = 77
ALPHABET = b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"


def base64(text):
    """Every alphabet character counts, behind padding as well; what makes no byte is dropped."""
    result, bits, count = bytearray(), 0, 0
    for byte in text:
        if byte not in ALPHABET:
            continue
        bits, count = (bits << 6 | ALPHABET.index(byte)) & 0xFFFFFF, count + 6
        if count >= 8:
            count -= 8
            result.append(bits >> count & 0xFF)
    return bytes(result)


def digit(byte):
    letter = b"ABCDEF".find(bytes([byte]).upper())
    return 10 + letter if letter >= 0 else byte - 0x30


def quoted_printable(text):
    """Any two bytes behind "=" make one; zero bytes are not written; dot lines are undoubled."""

    def replacement(match):
        found = match.group()
        if found[:1] != b"=":
            return found[:1] + match.group(1)
        if found in (b"=\n", b"=\r\n"):
            return b""
        value = (16 * digit(found[1]) + digit(found[2])) % 256
        return bytes([value]) if value else b""

    return re.sub(rb"[\r\n]\.(\.\r?\n)|=\n|=(?s:..)", replacement, text)


def leaves(message):
    """The leaves of a parsed message by path: children from 0, "m" into an enclosed message."""
    found, pending = {}, [("", message)]
    while pending:
        path, part = pending.pop()
        if not part.is_multipart():
            found[path] = part
        elif part.get_content_maintype() == "message":
            pending.append((path + "m", part.get_payload(0)))
        else:
            pending += [(f"{path}.{i}", child) for i, child in enumerate(part.get_payload())]
    return found


def is_coded(part):
    return part.get("Content-Transfer-Encoding", "").strip().lower() in ("base64", "quoted-printable")


def kind_of(encoding, ours, part, same_tree):
    """Why the two differ; None when nothing explains it."""
    theirs = part.get_payload(decode=True)
    if ours == theirs:
        return "the same"
    del part["Content-Transfer-Encoding"]
    wire = part.get_payload(decode=True)
    before_dot_line = re.split(rb"(?<=\n)\.[ \t]*\r?\n", wire)[0]
    if encoding == "base64" and ours == base64(before_dot_line):
        if theirs == b"".join(wire.splitlines()):  # given up
            return "base64: a last group that is not full"
        return "base64: characters behind the padding"
    if encoding == "quoted-printable":
        if before_dot_line != wire and re.sub(rb"\r?\n\Z", b"", quoted_printable(before_dot_line)) == ours:
            return 'a line "." ends the message'
        if ours == quoted_printable(wire):
            return "quoted-printable: escapes that are none"
        if ours in (theirs + b"\r\n", theirs + b"\n"):
            return "a line end more where the closing delimiter is missing"
    if ours.startswith(theirs) and re.match(rb"\r?\n?--\S+--\r?\n?\Z", ours[len(theirs) :]):
        return "an enclosing delimiter is text of a part that is not closed"
    return None if same_tree else "the message is taken apart in another way"


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    files = sorted(folder.glob("*.eml"))
    if not files:
        print("no corpus beside the project")
        return SKIPPED
    output = subprocess.run([program, *files], capture_output=True, check=True, text=True).stdout
    ours = collections.defaultdict(dict)
    for line in output.splitlines():
        file, path, encoding, content = line.split("\t")
        ours[file][path] = (encoding, bytes.fromhex(content))
    kinds = collections.defaultdict(list)
    for file, found in ours.items():
        text = re.sub(rb"\r(?!\n)", b"\n", pathlib.Path(file).read_bytes())  # a CR alone ends a line
        theirs = leaves(email.message_from_bytes(text))
        same_tree = set(found) == {path for path, part in theirs.items() if is_coded(part)}
        for path, (encoding, content) in found.items():
            kind = "the message is taken apart in another way"
            if path in theirs:
                kind = kind_of(encoding, content, theirs[path], same_tree)
            kinds[encoding, kind].append(f"{pathlib.Path(file).name} part {path or 'root'}")
    for (encoding, kind), where in sorted(kinds.items(), key=str):
        print(f"{len(where):5}  {encoding:16}  {kind or 'UNEXPLAINED'}")
        for example in where if kind is None else where[: kind != "the same"]:
            print(f"{'':25}{example}")
    return 1 if any(kind is None for _, kind in kinds) or not kinds else 0


if __name__ == "__main__":
    sys.exit(main())
