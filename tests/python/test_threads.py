"""Threads, references and memory."""

import concurrent.futures
import contextlib
import gc
import io
import os
import threading
import time
import unittest

import tallowbrook
from support import ENVIRONMENT, SAMPLES, SANITIZED, TestCase, memory, new_collection
from support import new_message, nothing_alive, run
from tallowbrook import _abi, _threads

HERE = os.path.dirname(os.path.abspath(__file__))
ROUNDS = 10_000 if SANITIZED else 100_000


def on_thread(work):
    """Runs it on a thread of its own and hands on what it raises or returns."""
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        return pool.submit(work).result()


@contextlib.contextmanager
def releases():
    """The thread of every release that goes through a home meanwhile."""
    threads = []
    real, defaults = _threads.release, _threads.give_back.__defaults__

    def release(pointer):
        threads.append(threading.get_ident())
        return real(pointer)

    _threads.release, _threads.give_back.__defaults__ = release, (*defaults[:-1], release)
    try:
        yield threads
    finally:
        _threads.release, _threads.give_back.__defaults__ = real, defaults


class OwnThread(TestCase):
    def test_a_foreign_drop_is_given_back_at_home(self):
        held = [new_message()]
        with releases() as threads:
            on_thread(held.clear)
            self.assertEqual(threads, [])
            self.assertEqual(len(_threads._local.home.dropped), 1)
            new_collection()
            self.assertEqual(set(threads), {threading.get_ident()})
        self.assertTrue(nothing_alive())

    def test_the_collector_on_a_foreign_thread(self):
        class Knot:
            pass

        knot = Knot()
        knot.self, knot.message = knot, new_message("welcome.eml")
        knot.body = knot.message.Body
        gc.disable()
        try:
            del knot
            with releases() as threads:
                on_thread(gc.collect)
                self.assertEqual(threads, [])
                tallowbrook.last_error()
                self.assertEqual(threads, [threading.get_ident()] * 2)
        finally:
            gc.enable()

    def test_an_object_belongs_to_the_thread_that_used_it_last(self):
        held = [new_message("welcome.eml")]

        def work():
            self.assertEqual(held[0].Subject, "Welcome to the garden club")
            with releases() as threads:
                held.clear()
            return threads

        self.assertEqual(len(on_thread(work)), 1)

    def test_a_thread_that_has_ended(self):
        held = on_thread(lambda: [new_message(), new_collection()])
        home = held[0]._home
        self.assertFalse(home.open)
        with releases() as threads:
            held.clear()
            self.assertEqual(threads, [threading.get_ident()] * 2)

    def test_what_waits_when_a_thread_ends(self):
        ready, go = threading.Event(), threading.Event()
        held = []

        def work():
            held.append(new_message())
            ready.set()
            go.wait()

        thread = threading.Thread(target=work)
        thread.start()
        ready.wait()
        held.clear()
        self.assertFalse(nothing_alive())
        go.set()
        thread.join()
        self.assertTrue(nothing_alive())


class Parallel(TestCase):
    def test_the_lock_is_free_while_the_component_waits(self):
        """Ten loads run at once. An eleventh waits inside of the component, which would stop all
        if it kept the interpreter's lock."""
        inside, go = threading.Semaphore(0), threading.Event()

        class Held(io.BytesIO):
            def read(self, size=-1):
                inside.release()
                go.wait(60)
                return super().read(size)

        with concurrent.futures.ThreadPoolExecutor(11) as pool:
            loads = [pool.submit(lambda: new_message().Load(Held(b"To: a@b\n\n")))
                     for _ in range(10)]
            for _ in loads:
                self.assertTrue(inside.acquire(timeout=60))
            loads.append(pool.submit(lambda: new_message().Load(b"To: a@b\n\n")))
            time.sleep(0.05)
            self.assertFalse(loads[-1].done())
            go.set()
            self.assertTrue(all(load.result() for load in loads))

    def test_many_threads_load(self):
        files = [file for file in SAMPLES.glob("*.eml") if file.stem != "broken"]

        def work(_):
            for file in files * 5:
                message = new_message(file)
                message.Subject, list(message.To or ()), message.Body.Count

        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            list(pool.map(work, range(16)))


class Ending(unittest.TestCase):
    def test_the_interpreter_ends_while_threads_load(self):
        script = """if True:
            import io, sys, threading, time, tallowbrook
            def work():
                while True:
                    message = tallowbrook.CreateObject("Tallowbrook.Decoder")
                    message.Load(io.BytesIO(b"To: a@b\\n\\nx\\n"))
                    message.Body.Import(io.BytesIO(b"content"), True)
            for _ in range(4):
                threading.Thread(target=work, daemon=True).start()
            last = tallowbrook.CreateObject("Tallowbrook.Decoder")
            last.Body.Import(io.BytesIO(b"content"), True)
            time.sleep(0.1)
            sys.exit(7)
        """
        if SANITIZED:
            script = script.replace("import io", f"import sys; sys.path.append({HERE!r})\n"
                                    "            import support, io")
        for _ in range(5):
            done = run("-c", script, **ENVIRONMENT)
            self.assertEqual((done.returncode, done.stderr), (7, ""))


class Leaks(TestCase):
    """Memory after many rounds is what it was after few."""

    def steady(self, work, rounds=ROUNDS):
        for _ in range(max(rounds // 20, 50)):
            work()
        gc.collect()
        before = memory()
        for _ in range(rounds):
            work()
        gc.collect()
        if not SANITIZED:  # which keeps freed memory apart for a while
            self.assertLess(memory() - before, 2 << 20)

    def test_create_and_release(self):
        self.steady(lambda: tallowbrook.CreateObject("Tallowbrook.MailAddress"))

    def test_arguments_results_and_errors(self):
        message = new_message("welcome.eml")
        file = SAMPLES / "broken.eml"

        def work():
            message.Subject = "text"
            message.To = ["a@b", message.From[0]]
            message.Body.ExtField["X"] = "y"
            with self.assertRaises(tallowbrook.ComError):
                new_message().LoadFromFile(file)
            with self.assertRaises(TypeError):
                message.Body.Import(io.BytesIO(b"x"), set())
            for part in message.Body:
                part.Export(io.BytesIO())
            tallowbrook.read(tallowbrook.blob(b"x"))

        self.steady(work, ROUNDS // 100)

    def test_counts_of_references(self):
        """A call changes the count of an object that it gets, and gives it back."""
        message = new_message()
        _abi.add_ref(message._pointer)
        before = _abi.release(message._pointer)
        collection = new_collection(message)
        got = collection[0]
        self.assertEqual(_abi.add_ref(message._pointer), before + 3)
        _abi.release(message._pointer)
        del got, collection
        _abi.add_ref(message._pointer)
        self.assertEqual(_abi.release(message._pointer), before)
