"""The component beside the standard library's parser, where both define the answer.

A field is left out where the two follow different rules on purpose: bytes above 127 in a header
(read in the ANSI code page here), comments and groups in addresses, fields that are no valid
addresses, quotes and folds in a subject, and what follows a header line of white space, which ends
the header here. Everything else must be equal. Coded leaves differ where the coders' own rules ask
for it (last groups that are not full, escapes that are none) or where a broken message is taken
apart in another way; so many must be equal.
"""

import email
import email.header
import email.utils
import re

import tallowbrook
from support import CORPUS, SAMPLES, TestCase

FILES = sorted(SAMPLES.glob("*.eml")) + sorted(CORPUS.glob("*.eml"))
WITH_CORPUS = CORPUS.is_dir()

CODING = "Content-Transfer-Encoding"
WORD = r'(?:[^\s()<>@,;:\\".\[\]]+|"[^"\\]*")'
ADDRESS = r"[^\s()<>@,;:\\\"\[\]]+@[^\s()<>@,;:\\\"\[\]]+"
MAILBOX = rf"\s*(?:{ADDRESS}|(?:{WORD}(?:\s+{WORD})*\s*)?<{ADDRESS}>)\s*"
PLAIN_LIST = re.compile(rf"{MAILBOX}(?:,{MAILBOX})*")


def pairs():
    """Every message that loads, and whether both read it without complaint."""
    for file in FILES:
        data = file.read_bytes()
        ours = tallowbrook.CreateObject("Tallowbrook.Decoder")
        if ours.Load(data):
            theirs = email.message_from_bytes(re.sub(rb"\r(?!\n)", b"\n", data))
            header = re.split(rb"\n\r?\n", data)[0] + b"\n"
            usual = not theirs.defects and not re.search(rb"\n[ \t]+\r?\n", header)
            yield file.name, ours, theirs, usual


def decoded(text):
    """A header text with its encoded words decoded; None where that is not defined."""
    try:
        return str(email.header.make_header(email.header.decode_header(text)))
    except (LookupError, UnicodeError, email.errors.HeaderParseError):
        return None


def is_ascii(text):
    return isinstance(text, str) and text.isascii()


class Headers(TestCase):
    def test_subjects_and_addresses(self):
        subjects = addresses = 0
        for name, ours, theirs, usual in pairs():
            texts = theirs.get_all("Subject", [])
            wanted = decoded(texts[0]) if usual and len(texts) == 1 and is_ascii(texts[0]) else None
            if wanted is not None and not re.search(r'[\r\n"]', texts[0]):
                self.assertEqual(ours.Subject, wanted, name)
                subjects += 1
            for member in ("From", "To", "CC"):
                texts = theirs.get_all(member, [])
                if not usual or not all(is_ascii(t) and PLAIN_LIST.fullmatch(t) for t in texts):
                    continue
                wanted = {(decoded(n), a) for n, a in email.utils.getaddresses(texts)}
                if None not in dict(wanted):
                    got = {(a.Name, re.sub("^<(.*)>$", r"\1", a.Address.strip()))
                           for a in getattr(ours, member) or ()}
                    self.assertEqual(got, wanted, f"{name} {member}")
                    addresses += len(wanted)
        self.assertGreaterEqual(subjects, 150 if WITH_CORPUS else 6)
        self.assertGreaterEqual(addresses, 350 if WITH_CORPUS else 20)


def their_leaves(message):
    """The coded leaves by path: children from 0, "m" into an enclosed message."""
    found, pending = {}, [("", message)]
    while pending:
        path, part = pending.pop()
        if part.is_multipart():
            inside = part.get_content_maintype() == "message"
            pending += [(path + ("m" if inside else f".{i}"), child)
                        for i, child in enumerate(part.get_payload())]
        elif re.search("(?i)^ *(base64|quoted-printable) *$", part.get(CODING, "")):
            found[path] = part
    return found


def our_leaves(message):
    """Decoded bytes of the coded leaves by path."""
    found, pending = {}, [("", message.Body)]
    while pending:
        path, part = pending.pop()
        if part.EmbeddedMessage is not None:
            pending.append((path + "m", part.EmbeddedMessage.Body))
        elif part.MajorContentType == 0:
            pending += [(f"{path}.{i}", child) for i, child in enumerate(part)]
        elif part.Encoding in (1, 2):
            # As text of a charset they would go out as UTF-16, so the charset goes first.
            parameters = part.ContentType.Parameters
            for name in [name for name in parameters if name.lower() == "charset"]:
                del parameters[name]
            content = tallowbrook.blob()
            if part.Export(content):
                found[path] = tallowbrook.read(content)
    return found


class Leaves(TestCase):
    def test_coded_leaves(self):
        same, others = 0, []
        for name, ours, theirs, _ in pairs():
            mine, wanted = our_leaves(ours), their_leaves(theirs)
            for path in mine.keys() & wanted.keys():
                if mine[path] == wanted[path].get_payload(decode=True):
                    same += 1
                else:
                    others.append(f"{name} part {path}")
        self.assertGreaterEqual(same, 178 if WITH_CORPUS else 6, others)
