"""What the tests of the Python binding share."""

import ctypes
import gc
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import tallowbrook
from tallowbrook import _library, _streams

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"
CORPUS = ROOT.parent / "shared" / "corpus"
SANITIZED = "asan" in os.environ.get("LD_PRELOAD", "")
ENVIRONMENT = {"PYTHONPATH": ROOT / "python", "TALLOWBROOK_LIBRARY": _library.component_path()}


def run(*arguments, **environment):
    """Runs the interpreter of the tests with this environment instead of theirs."""
    passed = {name: value for name, value in os.environ.items()
              if name not in ("PYTHONPATH", "TALLOWBROOK_LIBRARY")}
    passed.update({name: str(value) for name, value in environment.items()})
    return subprocess.run([sys.executable, *map(str, arguments)], env=passed, text=True,
                          capture_output=True, cwd=tempfile.gettempdir(), timeout=300)


def describe_lent_files():
    """Gives the objects that stand for Python files the type descriptions of C++ classes: in a
    sanitized build every call asks for them."""
    layer = ctypes.CDLL(_library.component_path())  # finds the names of the layer as well
    dispatch = ctypes.addressof(ctypes.c_void_p.in_dll(layer, "_ZTI9IDispatch"))
    base = ctypes.addressof(ctypes.c_void_p.in_dll(layer, "_ZTI17ISequentialStream"))
    # A class with one base: the kind of description, the mangled name, the base's description.
    kind = ctypes.c_void_p.from_address(dispatch).value
    name = ctypes.create_string_buffer(b"7IStream")
    stream = (ctypes.c_void_p * 3)(kind, ctypes.addressof(name), base)
    _streams._DISPATCH_TABLE[1] = dispatch
    _streams._STREAM_TABLE[1] = ctypes.addressof(stream)
    return name, stream


if SANITIZED:
    _kept = describe_lent_files()


def new_message(file=None):
    message = tallowbrook.CreateObject("Tallowbrook.Decoder")
    if file is not None:
        message.LoadFromFile(file if os.path.isabs(file) else str(SAMPLES / file))
    return message


def new_collection(*items):
    collection = tallowbrook.CreateObject("Tallowbrook.Collection")
    for item in items:
        collection.Add(item)
    return collection


def nothing_alive():
    """True when the component counts no object any more."""
    gc.collect()
    tallowbrook.last_error()  # gives back what other threads dropped
    return ctypes.CDLL(_library.component_path()).DllCanUnloadNow() == 0


def memory():
    """Bytes of this process in memory."""
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


class TestCase(unittest.TestCase):
    def tearDown(self):
        self.assertTrue(nothing_alive(), "an object was not given back")
