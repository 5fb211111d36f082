"""Sending a message from Python to a mail server that runs in the same interpreter."""

import socket
import socketserver
import threading

import tallowbrook
from support import TestCase, new_message


class Session(socketserver.StreamRequestHandler):
    """Takes what a client sends; the server remembers what was said."""

    def handle(self):
        self.wfile.write(b"220 ready\r\n")
        for line in self.rfile:
            word = line[:4].upper()
            self.server.words.append(word)
            replies = {b"DATA": b"354 go on", b"QUIT": b"221 bye"}
            self.wfile.write(replies.get(word, b"250 fine") + b"\r\n")
            if word == b"QUIT":
                return
            if word == b"DATA":
                lines = iter(self.rfile.readline, b".\r\n")
                self.server.letters.append(b"".join(line[line.startswith(b"."):] for line in lines))
                self.wfile.write(b"250 taken\r\n")


class Sending(TestCase):
    def test_a_session(self):
        letter = new_message()
        letter.From, letter.To = "ada@example.org", ["grace@example.com", "bob@example.net"]
        letter.Subject, letter.Body = "Seeds", "first line\r\n.hidden\r\n"
        client = tallowbrook.CreateObject("Tallowbrook.ClientSocket")
        with socketserver.TCPServer(("127.0.0.1", 0), Session) as server:
            server.words, server.letters = [], []
            threading.Thread(target=server.serve_forever, args=(0.01,)).start()
            # None: the same server again
            for arguments in (("127.0.0.1", server.server_address[1]), (None,)):
                self.assertTrue(client.ConnectSMTP(*arguments))
                self.assertTrue(client.PrepareSMTP(letter))
                letter.Save(client)
                self.assertTrue(client.GetResultSMTP())
                self.assertTrue(client.DisconnectSMTP())
            server.shutdown()
        self.assertEqual(server.words.count(b"RCPT"), 4)
        self.assertEqual(len(server.letters), 2)
        got = new_message()
        self.assertTrue(got.Load(server.letters[0]))
        self.assertEqual(got.Body.Value, "first line\r\n.hidden\r\n")

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
        client = tallowbrook.CreateObject("Tallowbrook.ClientSocket")
        self.assertFalse(client.ConnectSMTP("127.0.0.1", nPort=port))
