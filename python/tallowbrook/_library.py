"""Finding and loading the component, and the functions of its platform layer.

The component is looked for in this order; the first place that has it is taken:

1. the environment variable TALLOWBROOK_LIBRARY: the file itself, or the folder that holds it
2. the build tree that this package stands in: build/release/lib, else the newest build/*/lib
3. the library folders of the prefix that this package is installed under
4. wherever the system's loader finds it
5. the registration: then the platform layer loads the component when a class is wanted

Nothing is loaded before it is needed. What was loaded stays until the process ends.
"""

import ctypes
import os
import sysconfig
import threading
from ctypes import POINTER, c_char_p, c_int32, c_uint32, c_void_p
from pathlib import Path

from ._abi import GUID, UTF16, VARIANT
from ._errors import ComError

COMPONENT = "libtallowbrook.so"
PLATFORM = "libtallowbrook-platform.so"
VARIABLE = "TALLOWBROOK_LIBRARY"

# The layer's functions have C++ names. Such a name tells the types of the parameters as well: a
# layer of another shape is refused here and not met in a call.
_FUNCTIONS = {
    "load_component": ("_Z15CoLoadComponentPKcPPv", c_int32, [c_char_p, c_void_p]),
    "component_error": ("_Z16CoComponentErrorv", c_char_p, []),
    "class_from_text": ("_Z15CLSIDFromStringPKDsP4GUID", c_int32, [c_char_p, POINTER(GUID)]),
    "prog_id": ("_Z15ProgIDFromCLSIDRK4GUIDPPDs", c_int32, [POINTER(GUID), c_void_p]),
    "create_instance": ("_Z16CoCreateInstanceRK4GUIDP8IUnknownjS1_PPv", c_int32,
                        [POINTER(GUID), c_void_p, c_uint32, POINTER(GUID), c_void_p]),
    "free_memory": ("_Z13CoTaskMemFreePv", None, [c_void_p]),
    "variant_clear": ("_Z12VariantClearP7VARIANT", c_int32, [POINTER(VARIANT)]),
    "get_error_info": ("_Z12GetErrorInfojPP10IErrorInfo", c_int32, [c_uint32, c_void_p]),
}
# These never wait, and the interpreter's lock is kept.
_QUICK_FUNCTIONS = {
    "alloc_text": ("_Z17SysAllocStringLenPKDsj", c_void_p, [c_char_p, c_uint32]),
    "free_text": ("_Z13SysFreeStringPDs", None, [c_void_p]),
}


class _Platform:
    """The layer's functions, by the names of the tables above."""

    def __init__(self, path):
        for kind, table in ((ctypes.CDLL, _FUNCTIONS), (ctypes.PyDLL, _QUICK_FUNCTIONS)):
            library = kind(path)
            for name, (symbol, restype, argtypes) in table.items():
                function = getattr(library, symbol)
                function.restype = restype
                function.argtypes = argtypes
                setattr(self, name, function)


def _folders():
    """The folders where the libraries may lie, the best first."""
    setting = os.environ.get(VARIABLE)
    if setting:
        path = Path(setting).absolute()
        yield path if path.is_dir() else path.parent
        return
    package = Path(__file__).resolve().parent
    builds = package.parent.parent / "build"
    if (builds.parent / "CMakeLists.txt").is_file():
        built = [p for p in builds.glob("*/lib") if (p / COMPONENT).is_file()]
        yield from sorted(built, reverse=True, key=lambda p: (
            p.parent.name == "release", (p / COMPONENT).stat().st_mtime))
    multiarch = sysconfig.get_config_var("MULTIARCH") or ""
    for prefix in package.parents:
        for name in ("lib/" + multiarch, "lib64", "lib"):
            yield prefix / name
            yield prefix / name / "tallowbrook"


def _file_in(folder, name):
    """The library itself or, where only run-time files are installed, its newest version."""
    exact = folder / name
    if exact.is_file():
        return str(exact)
    versions = sorted(folder.glob(name + ".*"))
    return str(versions[-1]) if versions else None


def _find():
    """The paths of the layer and of the component; a bare name is left to the system's loader."""
    setting = os.environ.get(VARIABLE)
    if setting and os.path.isfile(setting):
        component = Path(setting).absolute()
        return _file_in(component.parent, PLATFORM) or PLATFORM, str(component)
    folders = list(_folders())
    for folder in folders:
        component = _file_in(folder, COMPONENT)
        if component:
            layer = _file_in(folder, PLATFORM) or _file_in(folder.parent, PLATFORM)
            return layer or PLATFORM, component
    if setting:
        raise OSError(f"{VARIABLE} is {setting!r}, and {COMPONENT} is not there")
    layers = (_file_in(folder, PLATFORM) for folder in folders)
    return next(filter(None, layers), PLATFORM), COMPONENT


def _load_layer(path):
    # Where the files for building are not installed, only the name with the version is there.
    for name in (path, path + ".1") if path == PLATFORM else (path,):
        try:
            return _Platform(name)
        except (OSError, AttributeError) as error:
            failure = error
    raise OSError(f"Tallowbrook's platform layer cannot be used: {failure}; set {VARIABLE} to the "
                  f"path of {COMPONENT}")


class _Loaded:
    """The layer and what became of the component."""

    def __init__(self):
        layer, self.component = _find()
        self.platform = _load_layer(layer)
        module = c_void_p()
        status = self.platform.load_component(os.fsencode(self.component), ctypes.byref(module))
        self.failure = ""
        if status < 0:
            text = os.fsdecode(self.platform.component_error() or b"") or self.component
            if self.component != COMPONENT:
                raise ComError(status, text)
            self.failure = text  # a registration may still know a component


_lock = threading.Lock()
_loaded = None


def _load_once():
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                _loaded = _Loaded()
    return _loaded


def platform():
    """The functions of the platform layer; loads it and the component on the first call."""
    return _load_once().platform


def component_path():
    """The file that the component was loaded from, or its bare name."""
    return _load_once().component


def load_failure():
    """Why the component could not be loaded; empty when it was."""
    return _load_once().failure


# --- texts ---------------------------------------------------------------------------------------


def alloc_bstr(text):
    data = text.encode(UTF16, "surrogatepass")
    pointer = platform().alloc_text(data, len(data) // 2)
    if not pointer:
        raise MemoryError
    return pointer


def bstr_text(pointer):
    """The text of a BSTR, whose length in bytes stands in front of it."""
    if not pointer:
        return ""
    size = c_uint32.from_address(pointer - 4).value
    return ctypes.string_at(pointer, size).decode(UTF16, "surrogatepass")


def take_bstr(pointer):
    """The text of a BSTR that is owned, and freed here."""
    if not pointer:
        return ""
    try:
        return bstr_text(pointer)
    finally:
        platform().free_text(pointer)


def wide(text):
    """A zero-ended wide text as an argument."""
    return text.encode(UTF16, "surrogatepass") + b"\0\0"
