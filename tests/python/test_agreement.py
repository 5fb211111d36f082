"""The component beside the standard library's parser, where both define the answer.

A field or part is left out where the two follow different rules on purpose: bytes above 127 in a
header (read in the ANSI code page here), comments and groups in addresses, fields that are no valid
addresses, quotes and folds in a subject, and what follows a header line of white space, which ends
the header here. Everything else must be equal.
"""

import binascii
import email
import email.header
import email.utils
import re
import unittest

import tallowbrook
from support import CORPUS, SAMPLES, TestCase

FILES = sorted(SAMPLES.glob("*.eml")) + sorted(CORPUS.glob("*.eml"))
WITH_CORPUS = CORPUS.is_dir()

WORD = r'(?:[^\s()<>@,;:\\".\[\]]+|"[^"\\]*")'
ADDRESS = r"[^\s()<>@,;:\\\"\[\]]+@[^\s()<>@,;:\\\"\[\]]+"
MAILBOX = rf"\s*(?:{ADDRESS}|(?:{WORD}(?:\s+{WORD})*\s*)?<{ADDRESS}>)\s*"
PLAIN_LIST = re.compile(rf"{MAILBOX}(?:,{MAILBOX})*")


def pairs():
    """Every message that both can read without complaint."""
    for file in FILES:
        data = file.read_bytes()
        if re.search(rb"\n[ \t]+\r?\n", re.split(rb"\n\r?\n", data)[0] + b"\n"):
            continue
        ours = tallowbrook.CreateObject("Tallowbrook.Decoder")
        theirs = email.message_from_bytes(re.sub(rb"\r(?!\n)", b"\n", data))
        if ours.Load(data) and not theirs.defects:
            yield file.name, ours, theirs


def decoded(text):
    """A header text with its encoded words decoded; None where that is not defined."""
    try:
        return str(email.header.make_header(email.header.decode_header(text)))
    except (LookupError, UnicodeError, email.errors.HeaderParseError):
        return None


def is_ascii(text):
    return isinstance(text, str) and text.isascii()


def bare(address):
    text = address.strip()
    return text[1:-1] if text.startswith("<") and text.endswith(">") else text


class Headers(TestCase):
    def test_subjects(self):
        compared = 0
        for name, ours, theirs in pairs():
            texts = theirs.get_all("Subject", [])
            if len(texts) != 1 or not is_ascii(texts[0]) or re.search(r'[\r\n"]', texts[0]):
                continue
            wanted = decoded(texts[0])
            if wanted is not None:
                self.assertEqual(ours.Subject, wanted, name)
                compared += 1
        self.assertGreaterEqual(compared, 150 if WITH_CORPUS else 6)

    def test_addresses(self):
        compared = 0
        for name, ours, theirs in pairs():
            for member in ("From", "To", "CC"):
                texts = theirs.get_all(member, [])
                if not texts or not all(is_ascii(t) and PLAIN_LIST.fullmatch(t) for t in texts):
                    continue
                wanted = {(decoded(n), a) for n, a in email.utils.getaddresses(texts)}
                if None in dict(wanted):
                    continue
                got = {(a.Name, bare(a.Address)) for a in getattr(ours, member) or ()}
                self.assertEqual(got, wanted, f"{name} {member}")
                compared += len(wanted)
        self.assertGreaterEqual(compared, 350 if WITH_CORPUS else 20)


def parts(ours, theirs):
    """The leaves of both trees side by side; nothing where the trees differ in shape."""
    found, pending = [], [(ours.Body, theirs)]
    while pending:
        mine, other = pending.pop()
        children = other.get_payload() if other.is_multipart() else []
        if other.get_content_maintype() == "message" and len(children) == 1:
            message = mine.EmbeddedMessage
            if message is None:
                return []
            pending.append((message.Body, children[0]))
        elif len(mine) != len(children):
            return []
        elif children:
            pending.extend(zip(mine, children))
        else:
            found.append((mine, other))
    return found


def clean_base64(part):
    """The bytes of a base64 leaf that has nothing in it but whole groups; else None."""
    if part.get("Content-Transfer-Encoding", "").strip().lower() != "base64":
        return None
    text = "".join(part.get_payload().split())
    if len(text) % 4 or not re.fullmatch(r"[A-Za-z0-9+/]*={0,2}", text):
        return None
    return binascii.a2b_base64(text)


class Leaves(TestCase):
    def test_base64(self):
        compared = 0
        for name, ours, theirs in pairs():
            for mine, other in parts(ours, theirs):
                wanted = clean_base64(other)
                if wanted is None:
                    continue
                charset = other.get_content_charset()
                if other.get_content_maintype() != "text" or not charset:
                    blob = tallowbrook.blob()
                    self.assertTrue(mine.Export(blob), name)
                    self.assertEqual(tallowbrook.read(blob), wanted, name)
                elif charset in ("utf-8", "iso-8859-1", "us-ascii"):
                    self.assertEqual(mine.Value, wanted.decode(charset), name)
                compared += 1
        self.assertGreaterEqual(compared, 60 if WITH_CORPUS else 2)


if __name__ == "__main__":
    unittest.main()
