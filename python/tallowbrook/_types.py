"""The component's type library, read once."""

import functools

from . import _abi, _calls, _objects, _typeinfo


@functools.lru_cache(maxsize=None)
def types():
    some_object = _objects.new_object("Tallowbrook.Collection")
    info = _calls.type_info(some_object._pointer)
    library = _typeinfo.library_of(info)
    try:
        return _typeinfo.read_library(library)
    finally:
        _abi.release(library)
        _abi.release(info)
