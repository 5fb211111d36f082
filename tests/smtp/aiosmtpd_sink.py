"""A mail server for the tests: keeps each message in a file of its own.

Usage: aiosmtpd_sink.py PORT FOLDER. Runs until it is killed.
Each file holds the sender, the recipients, a line each, an empty line, and the text as it was
received with its dots undone.
"""

import itertools
import pathlib
import signal
import sys

from aiosmtpd.controller import Controller

NUMBERS = itertools.count()


class Keep:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)

    async def handle_DATA(self, server, session, envelope):
        lines = [envelope.mail_from, *envelope.rcpt_tos, ""]
        head = "\n".join(lines).encode() + b"\n"
        name = f"{next(NUMBERS):04}"
        partial = self.folder / (name + ".part")
        partial.write_bytes(head + envelope.original_content)
        partial.rename(self.folder / name)
        return "250 kept"


def main():
    controller = Controller(
        Keep(sys.argv[2]),
        hostname="127.0.0.1",
        port=int(sys.argv[1]),
        data_size_limit=0,
        decode_data=False,
    )
    controller.start()
    signal.pause()


main()
