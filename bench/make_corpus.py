#!/usr/bin/env python3
"""Writes the messages that the benchmarks read: made anew, always the same for one seed.

    make_corpus.py FOLDER [--scale F] [--seed N]

FOLDER gets a sub-folder for each kind of mail:

    small    2 to 6 KB: one text, sometimes text and HTML; 5,000 messages
    attach   0.2 to 8 MB: a text and one to four base64 attachments; 60 messages
    qp       0.2 to 1 MB: one HTML text of many scripts, quoted-printable; 40 messages
    deep     5 to 30 multiparts and messages inside one another; 200 messages
    headers  200 to 2,000 addresses, fifty trace headers; 500 messages

and `truth.json`: per kind the messages, their bytes, the leaf parts, the bytes that those decode to
and the plain sum of these, and the number of `To` addresses, so that a benchmark can tell who
skipped work. Lines end in CR LF, none begins with a dot, none is longer than 998 bytes.
--scale multiplies the number of messages (at least one of each kind), not their size.
"""
import argparse
import base64
import binascii
import email.utils
import json
import pathlib
import random

PLAIN = """a about after again all also and any are as at back be because been before between both but by
can come could day did do down each even every few find first for from garden get give go good great had
has have he her here him his how if in into is it its just know last leave like line list little look made
make many may me meeting more most much must my name new no not now number of off old on one only or other
our out over own page part people place plan please post read right same say see seed set she should show
side small so some still such take tell than that the their them then there these they thing think this
those thread time to too two under up us use very want was water way we week well were what when where
which while who will with work world would year you your""".split()
LATIN = """Äpfel Brücke café crème défaut élan été façade forêt fête größer Grüße hübsch jalapeño König
leçon mañana Möhre naïve niño où über père prêt señal süß tôt Übung vérité Wörter zurück""".split()
CYRILLIC = "вода время город день дом друг завтра книга лес лист мир море окно письмо план река сад свет семя утро".split()
GREEK = "βιβλίο γράμμα δέντρο ημέρα θάλασσα κήπος λέξη νερό σπίτι φως χρόνος ώρα".split()
HAN = "会議 予定 庭園 手紙 明日 更新 植物 種子 連絡 資料".split()
FIRST = "Ada Ben Cleo Dan Eva Finn Gus Hanna Iris Jon Kim Lea Max Nele Otto Pia Quin Rosa Sam Tess".split()
FAMILY = "Alder Birch Cedar Dahl Elm Fern Gorse Hazel Iris Juniper Larch Maple Oak Pine Rowan Willow".split()
FAMILY_LATIN = "Bäcker Föhre Grün Lefèvre Müller Núñez Sørensen Weiß".split()
EOL = b"\r\n"


class Truth:
    def __init__(self):
        self.counts = dict.fromkeys(
            ("messages", "bytes", "leaves", "decoded_bytes", "decoded_sum", "to_addresses"), 0)

    def leaf(self, content):
        self.counts["leaves"] += 1
        self.counts["decoded_bytes"] += len(content)
        self.counts["decoded_sum"] += sum(content)


class Writer:
    """One message; every choice comes from `rng`."""

    def __init__(self, rng, truth):
        self.rng = rng
        self.truth = truth

    # ---- texts ----

    def words(self, count, pool=PLAIN, other=(), share=0.0):
        rng = self.rng
        return " ".join(rng.choice(other) if other and rng.random() < share else rng.choice(pool)
                        for _ in range(count))

    def lines(self, size, other=(), share=0.0):
        """Wrapped paragraphs of about `size` characters, without the last line end."""
        out, total = [], 0
        while total < size:
            line = self.words(self.rng.randrange(8, 14), PLAIN, other, share)
            if self.rng.random() < 0.1:
                line = "> " + line
            out.append(line)
            total += len(line) + 2
            if self.rng.random() < 0.08:
                out.append("")
        return "\r\n".join(out)

    def html(self, size, dense):
        rng = self.rng
        out, total = ["<html><body><table>"], 0
        pools = (CYRILLIC, GREEK, HAN, LATIN, PLAIN)
        while total < size:
            pool = rng.choice(pools) if dense else PLAIN
            row = '<tr class="r%d" style="color:#%06x"><td width="%d%%">%s</td><td>%s</td></tr>' % (
                rng.randrange(9), rng.randrange(1 << 24), rng.randrange(100),
                self.words(rng.randrange(6, 14), pool, PLAIN, 0.3), self.words(2, pool))
            out.append(row)
            total += len(row.encode()) + 2
        out.append("</table></body></html>")
        return "\r\n".join(out)

    def token(self, size):
        return "".join(self.rng.choices("abcdefghijkmnpqrstuvwxyz23456789", k=size))

    def host(self):
        return "%s%d.example.%s" % (self.rng.choice(PLAIN), self.rng.randrange(100),
                                    self.rng.choice(("org", "net", "com")))

    # ---- header fields ----

    def encoded(self, text, charset):
        """RFC 2047 words of at most 75 bytes, folded between."""
        code = self.rng.choice("BQ")
        words, begun = [], ""

        def word(part):
            raw = part.encode(charset)
            if code == "B":
                body = base64.b64encode(raw).decode()
            else:
                body = "".join(chr(b) if chr(b).isalnum() and b < 128 else
                               "_" if b == 32 else "=%02X" % b for b in raw)
            return "=?%s?%s?%s?=" % (charset, code, body)

        for char in text:
            if len(word(begun + char)) > 72:
                words.append(word(begun))
                begun = ""
            begun += char
        return "\r\n ".join(words + [word(begun)])

    def mailbox(self):
        rng = self.rng
        first, family = rng.choice(FIRST), rng.choice(FAMILY)
        spec = "%s.%s%d@%s" % (first.lower(), family.lower(), rng.randrange(1000), self.host())
        form = rng.random()
        if form < 0.15:
            return spec
        if form < 0.55:
            return "%s %s <%s>" % (first, family, spec)
        if form < 0.80:
            return '"%s, %s" <%s>' % (family, first, spec)
        if form < 0.90:
            name = self.encoded("%s %s" % (first, rng.choice(FAMILY_LATIN)),
                                rng.choice(("iso-8859-1", "utf-8")))
            return "%s <%s>" % (name, spec)
        return "<%s>" % spec

    def mailboxes(self, count):
        out, column = [], 4
        for index in range(count):
            each = self.mailbox()
            if index:
                fold = column + len(each) > 76
                out.append(",\r\n " if fold else ", ")
                column = 1 if fold else column + 2
            out.append(each)
            column += len(each)
        return "".join(out)

    def date(self):
        return email.utils.formatdate(self.rng.randrange(946_684_800, 1_893_456_000))

    def message_id(self):
        return "<%s.%d@%s>" % (self.token(12), self.rng.randrange(10**9), self.host())

    def trace(self):
        name = self.host()
        return "Received: from %s (%s [192.0.2.%d])\r\n\tby %s with ESMTPS id %s\r\n\tfor <%s@%s>; %s" % (
            name, name, self.rng.randrange(256), self.host(), self.token(11), self.rng.choice(PLAIN),
            self.host(), self.date())

    def subject(self):
        kind = self.rng.random()
        if kind < 0.7:
            return self.rng.choice(("", "Re: ", "Fwd: ")) + self.words(self.rng.randrange(3, 10))
        if kind < 0.85:
            return self.encoded(self.words(6, PLAIN, LATIN, 0.5), "iso-8859-1")
        return self.encoded(self.words(5, self.rng.choice((CYRILLIC, GREEK, HAN))), "utf-8")

    def fields(self, traces, to, cc, counted=True):
        rng = self.rng
        if counted:
            self.truth.counts["to_addresses"] += to
        out = ["Return-Path: <%s@%s>" % (self.token(8), self.host()),
               "Delivered-To: %s@%s" % (self.token(8), self.host())]
        out += [self.trace() for _ in range(traces)]
        out += ["Message-ID: " + self.message_id(), "Date: " + self.date(),
                "From: " + self.mailbox(), "To: " + self.mailboxes(to)]
        if cc:
            out.append("Cc: " + self.mailboxes(cc))
        out += ["Subject: " + self.subject(), "MIME-Version: 1.0"]
        if rng.random() < 0.4:
            out.append("References: " + "\r\n ".join(self.message_id() for _ in range(rng.randrange(1, 5))))
        if rng.random() < 0.6:
            out.append("X-Spam-Status: No, score=%.1f required=5.0 tests=%s,%s,\r\n\t%s" % (
                -rng.random() * 5, self.token(8), self.token(10), self.token(9)))
        if rng.random() < 0.5:
            out.append("X-Mailer: Tallow Writer %d.%d" % (rng.randrange(1, 9), rng.randrange(10)))
        return "\r\n".join(out).encode("ascii") + EOL

    # ---- parts: (content fields, body without the line end that a delimiter owns) ----

    def leaf(self, content, kind, encoding, last=False):
        """`last`: the body ends the message and so in a line end of its own."""
        self.truth.leaf(content + (EOL if last else b""))
        if encoding == "base64":
            body = EOL.join(line.rstrip() for line in
                            (binascii.b2a_base64(content[i:i + 57]) for i in range(0, len(content), 57)))
        elif encoding == "quoted-printable":
            body = binascii.b2a_qp(content, istext=True).replace(b"\n.", b"\n=2E")
        else:
            body = content
        return ("Content-Type: %s\r\nContent-Transfer-Encoding: %s\r\n" % (kind, encoding)).encode(), body

    def text(self, size, last=False):
        kind = self.rng.random()
        if kind < 0.7:
            return self.leaf(self.lines(size).encode(), "text/plain; charset=us-ascii", "7bit", last)
        if kind < 0.88:
            return self.leaf(self.lines(size * 0.85, LATIN, 0.25).encode("latin-1"),
                             'text/plain; charset="iso-8859-1"', "quoted-printable", last)
        return self.leaf(self.lines(size * 0.6, CYRILLIC + GREEK + LATIN, 0.3).encode(),
                         'text/plain; charset="utf-8"', "quoted-printable", last)

    def multipart(self, kind, parts):
        boundary = ("----=_Part_%s" % self.token(20)).encode()
        out = [b"--" + boundary + EOL + fields + EOL + body + EOL for fields, body in parts]
        out.append(b"--" + boundary + b"--")
        fields = b"Content-Type: multipart/%s;\r\n\tboundary=\"%s\"\r\n" % (kind.encode(), boundary)
        return fields, b"".join(out)

    # ---- messages ----

    def small(self):
        rng = self.rng
        head = self.fields(rng.randrange(5, 9), rng.choice((1, 1, 1, 2, 3, 8)), rng.choice((0, 0, 1, 3)))
        room = max(150, rng.randrange(2300, 6000) - len(head))
        if rng.random() < 0.18:
            page = self.leaf(self.html(room * 0.45, False).encode(), "text/html; charset=utf-8",
                             rng.choice(("7bit", "quoted-printable")))
            return head, self.multipart("alternative", [self.text(room * 0.4), page])
        return head, self.text(room, last=True)

    def attach(self):
        rng = self.rng
        size = 200_000 * 40 ** rng.random() * 0.73
        cuts = sorted([0.0, 1.0] + [rng.random() for _ in range(rng.randrange(4))])
        parts = [self.text(rng.randrange(500, 4000))]
        for begin, end in zip(cuts, cuts[1:]):
            name = "%s-%d.bin" % (rng.choice(PLAIN), rng.randrange(1000))
            fields, body = self.leaf(rng.randbytes(max(3000, int((end - begin) * size))),
                                     'application/octet-stream; name="%s"' % name, "base64")
            disposition = 'Content-Disposition: attachment;\r\n\tfilename="%s"\r\n' % name
            parts.append((fields + disposition.encode(), body))
        return self.fields(rng.randrange(3, 7), rng.randrange(1, 4), rng.randrange(2)), \
            self.multipart("mixed", parts)

    def qp(self):
        page = self.html(self.rng.randrange(210_000, 960_000) * 0.58, True).encode()
        return self.fields(4, 1, 0), self.leaf(page, "text/html; charset=utf-8", "quoted-printable", last=True)

    def deep(self):
        rng = self.rng
        inner = self.text(rng.randrange(200, 900))
        depth = rng.randrange(5, 31)
        for level in range(depth):
            parts = [self.text(rng.randrange(100, 500))] if rng.random() < 0.8 else []
            parts.append(inner)
            if rng.random() < 0.25:
                parts.append(self.leaf(rng.randbytes(rng.randrange(100, 900)), 'image/png; name="p.png"', "base64"))
            inner = self.multipart(rng.choice(("mixed", "alternative", "related")), parts)
            if level < depth - 1 and rng.random() < 0.25:
                head = self.fields(rng.randrange(3), rng.randrange(1, 3), 0, counted=False)
                inner = b"Content-Type: message/rfc822\r\n", head + inner[0] + EOL + inner[1] + EOL
        return self.fields(rng.randrange(2, 6), rng.randrange(1, 3), 0), inner

    def headers(self):
        count = self.rng.randrange(200, 2001)
        to = max(1, int(count * self.rng.uniform(0.3, 0.9)))
        return self.fields(50, to, count - to), self.text(self.rng.randrange(300, 1500), last=True)


KINDS = {"small": 5000, "attach": 60, "qp": 40, "deep": 200, "headers": 500}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--scale", type=float, default=1.0)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    truths = {}
    for kind, count in KINDS.items():
        folder = arguments.folder / kind
        folder.mkdir(parents=True, exist_ok=True)
        truth = Truth()
        for index in range(max(1, round(count * arguments.scale))):
            writer = Writer(random.Random("%d %s %d" % (arguments.seed, kind, index)), truth)
            head, (fields, body) = getattr(writer, kind)()
            message = head + fields + EOL + body + EOL
            truth.counts["messages"] += 1
            truth.counts["bytes"] += len(message)
            (folder / ("%05d.eml" % index)).write_bytes(message)
        truths[kind] = truth.counts
    (arguments.folder / "truth.json").write_text(json.dumps(truths, indent=1) + "\n")


if __name__ == "__main__":
    main()
