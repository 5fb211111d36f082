"""Collections in the Python manner, beside the component's own rules."""


from support import SAMPLES, TestCase, new_collection, new_message
from tallowbrook import ComError


class Lists(TestCase):
    def test_positions_as_in_a_list(self):
        values = ["a", "b", "c", "d", "e"]
        collection = new_collection(*values)
        self.assertEqual(len(collection), 5)
        for at in range(-5, 5):
            self.assertEqual(collection[at], values[at])
        for at in (5, -6, 2**40):
            with self.assertRaises(IndexError):
                collection[at]
        for part in (slice(None), slice(1, 3), slice(-2, None), slice(None, None, -2), slice(9, 20)):
            self.assertEqual(collection[part], values[part])
        self.assertEqual(list(reversed(collection)), values[::-1])
        self.assertEqual(collection.Item(-6), "a")  # the component's rule
        self.assertEqual(collection.Item[1], "b")
        with self.assertRaises(ComError):
            collection.Item(5)

    def test_change(self):
        collection = new_collection("a", "b", "c")
        collection[-1] = "z"
        del collection[0]
        self.assertEqual(list(collection), ["b", "z"])
        for at in (2, -3):
            with self.assertRaises(IndexError):
                collection[at] = "x"
            with self.assertRaises(IndexError):
                del collection[at]
        collection = new_collection(*range(8))
        for part, left in ((slice(1, 3), [0, 3, 4, 5, 6, 7]), (slice(None, None, -2), [0, 4, 6]),
                           (slice(9, 20), [0, 4, 6]), (slice(None), [])):
            del collection[part]
            self.assertEqual(list(collection), left)
        body = new_message("welcome.eml").Body
        for attempt in (lambda: body.__setitem__(0, 1), lambda: collection.__setitem__(slice(1), 1),
                        lambda: collection[1.5], lambda: collection[None], lambda: collection[0, 1]):
            self.assertRaises(TypeError, attempt)

    def test_membership(self):
        message = new_message()
        collection = new_collection(1, "x", message, None)
        for value in (1, "x", message, None):
            self.assertIn(value, collection)
        for value in (2, "X", new_message()):
            self.assertNotIn(value, collection)

    def test_each_loop_has_its_own_enumerator(self):
        collection = new_collection(*range(20))
        self.assertEqual([(a, b) for a in collection for b in collection],
                         [(a, b) for a in range(20) for b in range(20)])
        walker = iter(collection)
        self.assertEqual(next(walker), 0)
        collection.Clear()
        self.assertEqual(list(walker), [])

    def test_parts_and_traces_without_an_enumerator(self):
        message = new_message("welcome.eml")
        self.assertEqual(len(message.Body), 2)
        self.assertEqual([part.MajorContentType for part in message.Body], [0, 3])
        self.assertEqual(message.Body[-1].FileName, "seeds.csv")
        self.assertEqual(len(message.Received[1:]), 2)
        self.assertIn("by desk.example.org", message.Received[-1].Value)
        forwarded = new_message("forwarded.eml")
        part = next(part for part in forwarded.Body if part.EmbeddedMessage is not None)
        self.assertEqual(len(part), 1)
        with self.assertRaises(IndexError):
            part[1]

    def test_fields(self):
        fields = new_message("welcome.eml").Body.Fields
        self.assertIn("X-Mailer", fields)
        del fields["X-Mailer"]
        self.assertNotIn("X-Mailer", fields)
        before = len(fields)
        del fields[0]
        self.assertEqual(len(fields), before - 1)

    def test_a_count_of_nothing_is_still_true(self):
        message = new_message()
        self.assertEqual((len(message), list(message), bool(message)), (0, [], True))
        self.assertIsNone(message["no such child"])


class Maps(TestCase):
    def setUp(self):
        self.parameters = new_message(str(SAMPLES / "plain.eml")).Body.ContentType.Parameters
        self.parameters.Clear()
        self.parameters["b"] = "2"
        self.parameters["a"] = "1"

    def tearDown(self):
        del self.parameters
        super().tearDown()

    def test_names_and_values(self):
        present = [name in self.parameters for name in ("a", "A", "1", 0)]
        self.assertEqual(present, [True, False, False, False])  # and none is added
        self.assertEqual(list(self.parameters), ["a", "b"])
        self.assertEqual(list(reversed(self.parameters)), ["b", "a"])
        self.assertEqual(dict(self.parameters), {"a": "1", "b": "2"})
        self.assertEqual(self.parameters.items(), [("a", "1"), ("b", "2")])
        self.assertEqual(self.parameters.values(), ["1", "2"])
        self.assertEqual((self.parameters["b"], self.parameters[0], self.parameters[-1]),
                         ("2", "1", "2"))

    def test_a_missing_name_is_not_added_by_asking(self):
        for attempt in (self.parameters.__getitem__, self.parameters.__delitem__):
            with self.assertRaises(KeyError):
                attempt("c")
        with self.assertRaises(IndexError):
            self.parameters[2]
        self.assertEqual(len(self.parameters), 2)
        self.assertIsNone(self.parameters.Item("c"))  # the component's rule
        self.assertEqual(len(self.parameters), 3)

    def test_change(self):
        self.parameters[0] = "first"
        del self.parameters["b"]
        self.assertEqual(dict(self.parameters), {"a": "first"})
        del self.parameters[-1]
        self.assertEqual(len(self.parameters), 0)
