"""Members by name: calls, properties, arguments, help, errors."""

import copy
import inspect
import pickle
import pydoc

import tallowbrook
from support import SAMPLES, TestCase, new_collection, new_message
from tallowbrook import ComError, Status, _abi, _objects


class Names(TestCase):
    def test_letter_case_does_not_count(self):
        message = new_message("welcome.eml")
        self.assertEqual(message.SUBJECT, "Welcome to the garden club")
        message.subject = "other"
        self.assertEqual(message.Subject, "other")
        self.assertTrue(message.loadfromfile(PATH=str(SAMPLES / "plain.eml")))
        self.assertEqual(message.body.extfield["x-none"], "")

    def test_names_that_do_not_exist(self):
        message = new_message()
        with self.assertRaisesRegex(AttributeError, "'IMimeDecoder' object has no attribute 'Nope'"):
            message.Nope
        with self.assertRaisesRegex(AttributeError, "Nope"):
            message.Nope = 1
        self.assertFalse(hasattr(message, "__array__"))
        with self.assertRaisesRegex(AttributeError, "Charset can be set, not read"):
            message.Charset
        for name in ("Count", "Load"):
            with self.assertRaises(AttributeError, msg=name):
                setattr(message, name, 1)

    def test_dir_shows_the_members(self):
        names = dir(new_message())
        self.assertLessEqual({"Subject", "LoadFromFile", "CurrentValues", "Charset"}, set(names))
        self.assertFalse([name for name in names if name == "subject" or name[0] == "_"])
        self.assertLessEqual({"IMimeBody", "constants", "read"}, set(dir(tallowbrook)))

    def test_help_comes_from_the_type_information(self):
        text = pydoc.render_doc(new_message().Body, renderer=pydoc.plaintext)
        self.assertIn("class IMimeBody(", text)
        self.assertIn("Import(self, pStream: Any, StreamByReference: bool = False) -> bool", text)
        self.assertIn("ExtField(strName: str) -> Any", text)
        self.assertIn("Writes the decoded content to a file", text)
        self.assertEqual(str(inspect.signature(tallowbrook.IClientSocket.ConnectSMTP)),
                         "(self, strServer: str, nPort: int = 25) -> bool")
        self.assertIs(type(new_message()), tallowbrook.IMimeDecoder)

    def test_identity(self):
        message = new_message()
        collection = new_collection(message)
        self.assertEqual(collection[0], message)
        self.assertEqual(len({collection[0], message}), 1)
        self.assertNotEqual(message, new_message())
        self.assertNotEqual(message, 5)
        for attempt in (copy.copy, copy.deepcopy, pickle.dumps):
            with self.assertRaises(TypeError):
                attempt(message)
        with self.assertRaises(TypeError):
            tallowbrook.IMimeDecoder()


class Arguments(TestCase):
    def test_by_call_by_index_and_put(self):
        body = new_message().Body
        body.ExtField["X-Mark"] = "1"
        field = body.ExtField
        self.assertEqual([field["X-Mark"], field("X-Mark"), field(STRNAME="X-Mark")], ["1"] * 3)
        with self.assertRaisesRegex(AttributeError, "takes an argument"):
            body.ExtField = "1"
        with self.assertRaisesRegex(AttributeError, "can be read, not set"):
            body.Item[0] = 1
        with self.assertRaises(TypeError):
            list(body.ExtField)
        self.assertIn("ExtField(strName)", repr(body.ExtField))

    def test_optional_named_and_wrong_ones(self):
        parameters = new_message("plain.eml").Body.ContentType.Parameters
        parameters.Modify("a", "ä")
        parameters.Modify(item="ä", index="b", bquote=False)
        self.assertEqual((parameters.Item("a"), parameters("b")), ("ä", "ä"))  # Item is the default
        part = new_message().Body
        for arguments, keywords, text in (
                ((), {}, "needs the argument 'pStream'"),
                ((1, 2, 3), {}, "takes 2 arguments but 3 were given"),
                ((1,), {"pStream": 1}, "'pStream' twice"),
                ((1,), {"Nope": 1}, "no argument 'Nope'"),
                ((set(),), {}, "argument pStream: 'set'")):
            with self.assertRaisesRegex(TypeError, text):
                part.Import(*arguments, **keywords)

    def test_out_arguments_come_back(self):
        collection = tallowbrook.CreateObject("Tallowbrook.DialupCollection")
        message = new_message()
        collection.Clear()
        collection.Add(message)  # any object with a property "ID"
        self.assertEqual(collection.ItemID(0), ("email", message))
        self.assertEqual(collection["email"], message)
        self.assertRegex(str(inspect.signature(type(collection).ItemID)),
                         r"^\(self, Index: int\) -> .*Tuple\[.*Any, .*Any\]$")
        with self.assertRaises(ComError) as caught:
            new_collection(1).ItemID(0)
        self.assertEqual(caught.exception.hresult, Status.E_NOTIMPL)


class WithoutTypeInformation(TestCase):
    """The same objects, asked for each name."""

    def untyped(self, typed):
        _abi.add_ref(typed._pointer)
        return _objects.Untyped._adopt(typed._pointer)

    def test_members(self):
        message = self.untyped(new_message("welcome.eml"))
        self.assertEqual(message.subject, "Welcome to the garden club")
        message.Subject = "other"
        self.assertEqual(message.SUBJECT, "other")
        self.assertTrue(message.LoadFromFile(str(SAMPLES / "plain.eml")))
        self.assertEqual(self.untyped(message.Body).ExtField("Nothing"), "")
        for attempt in (lambda: message.Nope, lambda: setattr(message, "Nope", 1),
                        lambda: message.__nope__):
            with self.assertRaisesRegex(AttributeError, "(?i)nope"):
                attempt()
        with self.assertRaises(ComError):
            message.LoadFromFile()


class Errors(TestCase):
    def test_a_failing_status(self):
        with self.assertRaises(ComError) as caught:
            new_message().LoadFromFile("/nowhere/to be found.eml")
        error = caught.exception
        self.assertIs(error.hresult, Status.E_FAIL)
        self.assertIsNone(error.line)
        text = 'File not found: "/nowhere/to be found.eml"'
        self.assertEqual((error.description, tallowbrook.last_error()), (text, text))
        self.assertEqual(str(error), f"IMimeDecoder.LoadFromFile: {text} (E_FAIL, 0x80004005)")

    def test_the_line_that_the_text_tells(self):
        with self.assertRaises(ComError) as caught:
            new_message("broken.eml")
        self.assertEqual(caught.exception.hresult, Status.E_ABORT)
        self.assertEqual(caught.exception.line, 2)
        for text, line in (("Line 3 of 5", 3), ("x in Line -1", None), ("online 3", None),
                           ('parse error "in Line 7" in Line 2', 2)):
            self.assertEqual(ComError(Status.E_FAIL, text).line, line, text)

    def test_an_argument_of_the_wrong_type_is_named(self):
        with self.assertRaisesRegex(ComError, r"IMimeBody.Item\(Index\).*DISP_E_TYPEMISMATCH"):
            new_message().Body.Item("x")

    def test_a_method_that_answers_false(self):
        message = new_message()
        self.assertFalse(message.Load(tallowbrook.blob(b"no message")))
        text = tallowbrook.last_error()
        self.assertRegex(text, "^parse error .* in Line 3$")
        self.assertIsNone(message.Body)
        self.assertEqual(tallowbrook.last_error(), text)  # reading a property changes nothing
        self.assertTrue(message.Load(tallowbrook.blob(b"To: a@b\n\nx\n")))
        self.assertEqual(tallowbrook.last_error(), "")
        self.assertFalse(message.SaveToFile("/nowhere/x.eml"))
        self.assertEqual(tallowbrook.last_error(), 'File not written: "/nowhere/x.eml"')

    def test_classes(self):
        name = "{C6A87D9D-09D2-4C84-8544-45EC94E45DCA}"
        self.assertIs(type(tallowbrook.CreateObject(name)), tallowbrook.IMimeDecoder)
        self.assertIs(type(tallowbrook.CreateObject("tallowbrook.blob.1")), tallowbrook.IBlob)
        with self.assertRaises(TypeError):
            tallowbrook.CreateObject(5)
        for name in ("Tallowbrook.Nothing", "", "{}"):
            with self.assertRaises(ComError) as caught:
                tallowbrook.CreateObject(name)
            self.assertIn(repr(name), str(caught.exception))
