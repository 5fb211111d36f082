#!/usr/bin/env python3
"""Prints the senders and the names of the attachments of every message in a folder."""
import pathlib
import sys

import tallowbrook

if len(sys.argv) != 2 or not pathlib.Path(sys.argv[1]).is_dir():
    sys.exit("usage: attachments.py FOLDER")
message = tallowbrook.CreateObject("Tallowbrook.Decoder")
for file in sorted(pathlib.Path(sys.argv[1]).glob("*.eml")):
    try:
        message.LoadFromFile(file)
    except tallowbrook.ComError as error:
        print(f"{file.name}: {error.description}")
        continue
    print(f"{file.name}: {', '.join(author.Address for author in message.From or ())}")
    waiting = [message.Body]
    while waiting:
        part = waiting.pop()
        if part.FileName:
            print(f"    {part.FileName}")
        waiting.extend(reversed(part))
