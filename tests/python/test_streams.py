"""Blobs, and Python files where the component wants a stream."""

import gc
import gzip
import io
import os
import sys
import tempfile
import threading

import tallowbrook
from support import SAMPLES, TestCase, new_collection, new_message
from tallowbrook import ComError, _streams

WELCOME = (SAMPLES / "welcome.eml").read_bytes()


class Both(io.RawIOBase):
    """Gives and takes."""

    def readable(self):
        return True

    def writable(self):
        return True


class Raising(Both):
    """A file that gives or takes some bytes and then fails."""

    def __init__(self, bytes_before):
        self.left = bytes_before

    def write(self, data):
        if self.left <= 0:
            raise OSError("the disk is on fire")
        done = min(len(data), self.left)
        self.left -= done
        return done

    readinto = write


class Drops(Both):
    """A file that takes and gives one byte at a time."""

    def __init__(self, data=b""):
        self.data = bytearray(data)
        self.at = 0

    def readinto(self, buffer):
        data = self.data[self.at:self.at + 1]
        buffer[:len(data)] = data
        self.at += len(data)
        return len(data)

    def write(self, data):
        self.data += data[:1]
        return min(len(data), 1)


class Blobs(TestCase):
    def test_bytes_there_and_back(self):
        every = bytes(range(256)) * 5000
        for data in (b"", b"\0\1", every, bytearray(b"abc"), memoryview(every)[::2]):
            self.assertEqual(tallowbrook.read(tallowbrook.blob(data)), bytes(data))
        blob = tallowbrook.blob(b"twice")
        self.assertEqual([tallowbrook.read(blob), tallowbrook.read(blob)], [b"twice", b"twice"])
        for data in ("text", 5, None):
            with self.assertRaises(TypeError):
                tallowbrook.blob(data)

    def test_what_is_no_stream(self):
        with self.assertRaises(ComError):
            tallowbrook.read(new_collection())
        for value in (None, 5, "text"):
            with self.assertRaises(TypeError):
                tallowbrook.read(value)

    def test_a_blob_reads_from_the_start_and_writes_at_the_end(self):
        message, out = new_message("plain.eml"), tallowbrook.blob()
        message.Save(out)
        once = tallowbrook.read(out)
        self.assertTrue(message.Load(out))  # also when it was looked at
        message.Save(out)
        self.assertEqual(tallowbrook.read(out), once + once)

    def test_a_stream_without_members(self):
        data = tallowbrook.read(new_message().SmallImageList)
        self.assertGreater(len(data), 0)
        for way in (lambda icons: icons, lambda icons: new_collection(icons)[0], tallowbrook.read):
            part, content = new_message().Body, tallowbrook.blob()
            part.MajorContentType = "image"
            self.assertTrue(part.Import(way(new_message().SmallImageList)))
            self.assertTrue(part.Export(content))
            self.assertEqual(tallowbrook.read(content), data)


class Files(TestCase):
    def test_memory(self):
        message, target = new_message(), io.BytesIO()
        message.CollectRawStream = True
        self.assertTrue(message.Load(io.BytesIO(WELCOME)))
        self.assertTrue(message.Save(target))
        self.assertEqual(target.getvalue(), WELCOME)

    def test_every_kind_of_file(self):
        blob = tallowbrook.blob()
        self.assertTrue(new_message("welcome.eml").Save(blob))
        wanted = tallowbrook.read(blob)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "file")
            for opened in (open, gzip.open, lambda p, mode: open(p, mode, buffering=0)):
                with opened(path, "wb") as file:
                    file.write(WELCOME)
                message = new_message()
                with opened(path, "rb") as file:
                    self.assertTrue(message.Load(file))
                with opened(path, "wb") as file:
                    self.assertTrue(message.Save(file))
                with opened(path, "rb") as file:
                    self.assertEqual(file.read(), wanted)
        message = new_message()
        self.assertTrue(message.Load(WELCOME))  # bytes as they are
        self.assertTrue(message.Load(Drops(WELCOME)))
        drops = Drops()
        self.assertTrue(message.Save(drops))
        self.assertEqual(bytes(drops.data), wanted)

    def test_pipes(self):
        reader, writer = os.pipe()

        def feed():
            with open(writer, "wb", buffering=0) as file:
                for at in range(0, len(WELCOME), 100):
                    file.write(WELCOME[at:at + 100])

        feeder = threading.Thread(target=feed)
        feeder.start()
        message = new_message()
        with open(reader, "rb", buffering=0) as file:
            self.assertTrue(message.Load(file))
        feeder.join()
        self.assertEqual(message.Subject, "Welcome to the garden club")

    def test_a_file_is_used_from_where_it_stands(self):
        file = io.BytesIO(b"To: a@b\n\nfirst\n.\nTo: c@d\n\nsecond\n.\n")
        message = new_message()
        for place, address in ((0, "a@b"), (17, "c@d")):
            file.seek(place)
            self.assertTrue(message.Load(file))
            self.assertEqual(message.To[0].Address, address)

    def test_attachments(self):
        message = new_message()
        message.Body.MajorContentType = "multipart"
        part = message.Body.AddNew()
        part.MajorContentType, part.Encoding = "application", "base64"
        content = os.urandom(100000)
        self.assertTrue(part.Import(io.BytesIO(content)))
        exported = io.BytesIO()
        self.assertTrue(part.Export(exported))
        self.assertEqual(exported.getvalue(), content)

    def test_what_the_file_raises_reaches_the_caller(self):
        message = new_message()
        for bytes_before in (0, 500):
            with self.assertRaisesRegex(OSError, "the disk is on fire"):
                message.Load(Raising(bytes_before))
            with self.assertRaisesRegex(OSError, "the disk is on fire"):
                new_message("welcome.eml").Save(Raising(bytes_before))
        with self.assertRaisesRegex(TypeError, "binary mode"):
            message.Load(io.StringIO("To: a@b\n\n"))

        class Generous(io.BytesIO):
            def read(self, size=-1):
                return b"x" * (size + 1)

        with self.assertRaisesRegex(OSError, "8193 bytes where 8192 were asked for"):
            message.Load(Generous())
        closed = io.BytesIO()
        closed.close()
        with self.assertRaises(ValueError):
            message.Load(closed)
        self.assertTrue(message.Load(io.BytesIO(WELCOME)))  # and is forgotten

        class Calling(io.BytesIO):
            def read(self, size=-1):
                new_collection(1)
                return super().read(size)

        # Not by a call that another file makes meanwhile.
        parts = new_message()
        parts.Body.MajorContentType = "multipart"
        for file in (Raising(0), Calling(b"x")):
            parts.Body.AddNew().Import(file, True)
        with self.assertRaisesRegex(OSError, "the disk is on fire"):
            parts.Save(io.BytesIO())

    def test_references(self):
        file = io.BytesIO(b"content")
        references = sys.getrefcount(file)
        message = new_message()
        for _ in range(10):
            message.Load(file)
        self.assertEqual(sys.getrefcount(file), references)
        # By reference, the part goes on reading the file and keeps it.
        part = new_message().Body
        self.assertTrue(part.Import(file, True))
        self.assertGreater(sys.getrefcount(file), references)
        self.assertEqual(part.Value, "content")
        part = None
        gc.collect()
        self.assertEqual(sys.getrefcount(file), references)
        self.assertEqual(_streams._live, {})

    def test_a_file_comes_back_as_itself(self):
        file = io.BytesIO()
        collection = new_collection(file)
        self.assertIs(collection[0], file)
        del collection
        self.assertEqual(_streams._live, {})


class Interfaces(TestCase):
    """The slots of a lent file, called as the component calls them."""

    def setUp(self):
        self.file = io.BytesIO(b"0123456789")
        keep = []
        dispatch = _streams.lend(self.file, keep)
        self.keep = keep
        self.pointer = _streams._abi.query(dispatch, _streams._abi.IID_ISTREAM)

    def tearDown(self):
        _streams._abi.release(self.pointer)
        self.keep.clear()
        self.assertEqual(_streams._live, {})
        super().tearDown()

    def call(self, index, types, *arguments):
        return _streams.slot(index, *types)(self.pointer, *arguments) & 0xFFFFFFFF

    def test_identity(self):
        abi = _streams._abi
        unknowns = set()
        for iid in (abi.IID_ISTREAM, abi.IID_ISEQUENTIALSTREAM, abi.IID_IDISPATCH):
            face = abi.query(self.pointer, iid)
            unknown = abi.query(face, abi.IID_IUNKNOWN)
            unknowns.add(unknown)
            abi.release(unknown)
            abi.release(face)
        self.assertEqual(len(unknowns), 1)
        self.assertEqual(abi.query(self.pointer, abi.IID_IENUMVARIANT), 0)

    def test_the_rest_of_the_stream(self):
        c = _streams
        size = c.c_uint64()
        self.assertEqual(self.call(5, (c.c_int64, c.c_uint32, c.c_void_p), -3, 2, c.byref(size)), 0)
        self.assertEqual(size.value, 7)
        self.assertEqual(self.call(6, (c.c_uint64,), 4), 0)  # SetSize
        self.assertEqual(self.file.getvalue(), b"0123")
        self.assertEqual(self.call(6, (c.c_uint64,), 6), 0)
        self.assertEqual(self.file.getvalue(), b"0123\0\0")
        self.assertEqual(self.file.tell(), 7)
        self.file.seek(1)
        blob = tallowbrook.blob()
        target = c._abi.query(blob._pointer, c._abi.IID_ISTREAM)
        done = c.c_uint64()
        copy = (c.c_void_p, c.c_uint64, c.c_void_p, c.c_void_p)
        self.assertEqual(self.call(7, copy, target, 3, None, c.byref(done)), 0)
        c._abi.release(target)
        self.assertEqual((tallowbrook.read(blob), done.value), (b"123", 3))
        self.assertEqual(self.call(8, (c.c_uint32,), 0), 0)  # Commit
        self.assertEqual(self.call(9, ()), tallowbrook.Status.E_NOTIMPL)  # Revert
        stat = (c.c_uint64 * 10)()
        self.assertEqual(self.call(12, (c.c_void_p, c.c_uint32), stat, 1), 0)
        self.assertEqual((stat[1] & 0xFFFFFFFF, stat[2]), (2, 6))
        found = c.c_void_p(1)
        self.assertEqual(self.call(13, (c.c_void_p,), c.byref(found)), tallowbrook.Status.E_NOTIMPL)
        self.assertIsNone(found.value)
