"""Sending a message from Python to a mail server that runs in the same interpreter."""

import socket
import threading
import unittest

import tallowbrook
from support import TestCase, new_message


class Server(threading.Thread):
    """Takes sessions one after the other and remembers what was said."""

    def __init__(self, sessions):
        super().__init__(daemon=True)
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.sessions = sessions
        self.commands = []
        self.letters = []
        self.start()

    def run(self):
        with self.listener:
            for _ in range(self.sessions):
                connection, _ = self.listener.accept()
                with connection, connection.makefile("rwb") as file:
                    self.talk(file)

    def say(self, file, line):
        file.write(line + b"\r\n")
        file.flush()

    def talk(self, file):
        self.say(file, b"220 ready")
        for line in file:
            self.commands.append(line.strip().decode())
            word = line.split()[0].upper()
            self.say(file, {b"DATA": b"354 go on", b"QUIT": b"221 bye"}.get(word, b"250 fine"))
            if word == b"QUIT":
                return
            if word == b"DATA":
                lines = iter(file.readline, b".\r\n")
                self.letters.append(b"".join(line[line.startswith(b"."):] for line in lines))
                self.say(file, b"250 taken")


class Sending(TestCase):
    def test_a_session(self):
        server = Server(sessions=2)
        letter = new_message()
        letter.From, letter.To = "ada@example.org", ["grace@example.com", "bob@example.net"]
        letter.Subject, letter.Body = "Seeds", "first line\r\n.hidden\r\n"
        client = tallowbrook.CreateObject("Tallowbrook.ClientSocket")
        for arguments in (("127.0.0.1", server.port), (None,)):  # None: the same server again
            self.assertTrue(client.ConnectSMTP(*arguments))
            self.assertTrue(client.PrepareSMTP(letter))
            letter.Save(client)
            self.assertTrue(client.GetResultSMTP())
            self.assertTrue(client.DisconnectSMTP())
        server.join(60)
        self.assertEqual(sum(said.upper().startswith("RCPT") for said in server.commands), 4)
        self.assertEqual(len(server.letters), 2)
        got = new_message()
        self.assertTrue(got.Load(server.letters[0]))
        self.assertEqual(got.Body.Value, "first line\r\n.hidden\r\n")

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
        client = tallowbrook.CreateObject("Tallowbrook.ClientSocket")
        self.assertFalse(client.ConnectSMTP("127.0.0.1", nPort=port))


if __name__ == "__main__":
    unittest.main()
