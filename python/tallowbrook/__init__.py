"""Tallowbrook: load, edit, write and send Internet mail.

    import tallowbrook

    message = tallowbrook.CreateObject("Tallowbrook.Decoder")
    message.LoadFromFile("letter.eml")
    print(message.Subject, [address.Address for address in message.To])

`help(message)` lists its members. The classes (IMimeDecoder, IMimeBody ...) are attributes of this
package, the enumerations are in `tallowbrook.constants`. A failing call raises `ComError`.
"""

from . import _objects, _streams, _threads, _types
from ._errors import ComError, Status

blob = _streams.blob
read = _streams.read

__all__ = ["ComError", "CreateObject", "Status", "blob", "constants", "last_error", "read"]


def CreateObject(name):
    """A new object of the class that a ProgID such as "Tallowbrook.Decoder", or "{class id}",
    names."""
    return _objects.new_object(name)


def last_error():
    """The error text that the calling thread's last failing call, or its last method that answered
    False, left; empty when a method was called since then that left none."""
    return _threads.current_home().error_text


def __getattr__(name):
    if name == "constants":
        import importlib

        return importlib.import_module("tallowbrook.constants")
    if not name.startswith("__"):
        for interface in _types.types().interfaces:
            if interface.name == name:
                return globals().setdefault(name, _objects.class_of_interface(interface))
    raise AttributeError(f"module 'tallowbrook' has no attribute {name!r}")


def __dir__():
    try:
        interfaces = _types.types().interfaces
    except (ComError, OSError):  # no component to ask
        interfaces = ()
    return sorted([*__all__, *(one.name for one in interfaces if not one.name.startswith("_"))])
