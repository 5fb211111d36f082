"""Values that go into the component and come back."""

import datetime
import decimal
import enum
import math
import os
import pathlib
import tempfile
import time
import unittest

import tallowbrook
from support import SAMPLES, TestCase, new_collection, new_message
from tallowbrook import _values


class Colour(enum.IntEnum):
    RED = 3


class Text(str):
    pass


class Values(TestCase):
    def test_there_and_back(self):
        values = [
            None, True, False, 0, -1, 0x7FFFFFFF, 0x80000000, -0x80000001, 2**63 - 1, -(2**63),
            2**64 - 1, 0.0, -1.5, 1e300, math.inf, "", "text", "zero\0inside", "Grüße \U0001F33B",
            "\ud800", datetime.datetime(1899, 12, 30), datetime.datetime(1899, 12, 29, 6),
            datetime.datetime(1850, 2, 28, 23, 59, 59), datetime.datetime(2024, 2, 29, 12, 30, 15),
            datetime.datetime(9999, 12, 31, 23, 59, 59), datetime.datetime(2026, 1, 2, 3, 4, 5, 678901),
            decimal.Decimal("-922337203685477.5808"), decimal.Decimal("0.0001"),
        ]
        collection = new_collection(*values)
        for given, got in zip(values, collection):
            self.assertEqual(got, given)
            self.assertIs(type(got), type(given))

    def test_what_becomes_something_else(self):
        aware = datetime.datetime(2024, 7, 1, 12, tzinfo=datetime.timezone.utc)
        for given, wanted in (
                (Colour.RED, 3), (Text("x"), "x"),
                (datetime.date(2024, 7, 1), datetime.datetime(2024, 7, 1)),
                (aware, datetime.datetime(*time.localtime(aware.timestamp())[:6]))):
            self.assertEqual(new_collection(given)[0], wanted)

    def test_every_second_of_a_date_comes_back(self):
        for year, step in ((100, 1000), (2079, 1), (2080, 1000), (9999, 1000)):
            start = datetime.datetime(year, 1, 1)
            for second in range(0, 86400, 17):
                date = start + datetime.timedelta(seconds=second, microseconds=second % 997 * step)
                self.assertEqual(_values.date_to_python(_values.date_from_python(date)), date)
        for number in (math.nan, math.inf, 1e9):
            self.assertIs(_values.date_to_python(number), number)

    def test_what_has_no_counterpart(self):
        collection = new_collection()
        for value in (object(), {1}, {"a": 1}, 1j, b"bytes"):
            with self.assertRaisesRegex(TypeError, "no counterpart"):
                collection.Add(value)
        for value in (datetime.datetime(99, 12, 31), 2**64, -(2**63) - 1, decimal.Decimal("0.00001"), decimal.Decimal("1e20")):
            with self.assertRaises(OverflowError):
                collection.Add(value)
        self.assertEqual(len(collection), 0)

    def test_lists_become_collections(self):
        message = new_message()
        address = tallowbrook.CreateObject("Tallowbrook.MailAddress")
        address.Address, address.Name = "carl@example.org", "Carl"
        message.To = [address, "dora@example.org"]
        message.CC = ("x@example.org",)
        self.assertEqual([(a.Name, a.RouteAddress) for a in message.To],
                         [("Carl", "<carl@example.org>"), ("", "<dora@example.org>")])
        nested = new_collection([1, ["two", (3.0, None)]])[0]
        self.assertEqual([nested[0], nested[1][0], list(nested[1][1])], [1, "two", [3.0, None]])

    def test_dates_of_messages_are_local(self):
        message = new_message("welcome.eml")
        sent = datetime.datetime(2024, 3, 5, 9, 15, tzinfo=datetime.timezone.utc)
        hours = -time.timezone // 3600
        self.assertEqual(message.Date, sent.replace(tzinfo=None) + datetime.timedelta(hours=hours))
        message.Date = datetime.datetime(2024, 5, 6, 7, 8, 9)
        self.assertEqual(message.Date, datetime.datetime(2024, 5, 6, 7, 8, 9))
        message.Date = None
        self.assertIsNone(message.Date)

    def test_paths(self):
        message = new_message()
        self.assertTrue(message.LoadFromFile(SAMPLES / "plain.eml"))
        with tempfile.TemporaryDirectory() as folder:
            target = pathlib.Path(folder, "Grüße \u4e16.eml")
            self.assertTrue(message.SaveToFile(target))
            self.assertTrue(target.stat().st_size)
            self.assertTrue(new_message().LoadFromFile(os.fspath(target)))


class Constants(unittest.TestCase):
    def test_enumerations(self):
        types = tallowbrook.constants.MajorMimeTypes
        self.assertTrue(issubclass(types, enum.IntEnum))
        self.assertEqual([one.name for one in types], [
            "Multipart", "Text", "Image", "Application", "Audio", "Video", "Message"])
        self.assertEqual(types.__doc__, "Major media types")
        body = new_message("plain.eml").Body
        self.assertEqual(body.MajorContentType, types.Text)
        body.Encoding = tallowbrook.constants.EncoderTypes.Base64
        self.assertEqual(body.Encoding, 2)
        from tallowbrook.constants import TextTypes
        self.assertEqual(TextTypes.Html, 1)
        self.assertEqual(len(tallowbrook.constants.__all__), 9)
