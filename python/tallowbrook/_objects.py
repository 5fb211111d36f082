"""Automation objects as Python objects.

Every interface becomes a class, made once from its type information: a property of it is a Python
property, a method a Python method with signature and help text, so that `dir`, `help` and editors
see the real members. Names that are written in another letter case are found as well.

A class whose default member takes one argument and which tells a count is a collection, and follows
Python's rules for indexes, slices, `len` and `in`; one that can tell whether a name exists is a map.
The named members keep the component's own rules.
"""

import datetime
import decimal
import inspect
import io
import threading
import typing
from ctypes import byref, c_uint32, c_void_p

from . import _abi, _calls, _streams, _threads, _typeinfo, _values
from ._abi import VARIANT, slot
from ._errors import ComError, Status

_next = slot(3, c_uint32, c_void_p, c_void_p)


class Object:
    """An object of the component, or of another one that answers to IDispatch.

    Objects are equal when they are the same object. They are true, whatever they hold.
    """

    __slots__ = ("_pointer", "_home", "__weakref__")
    _members = {}  # lower-case name: name

    def __new__(cls, *_, **__):
        raise TypeError("objects are made by tallowbrook.CreateObject")

    @classmethod
    def _adopt(cls, pointer):
        """The object of a counted interface pointer, whose reference it takes over."""
        self = object.__new__(cls)
        _set_pointer(self, pointer)
        _set_home(self, _threads.current_home())
        return self

    def _use_at(self, home):
        _set_home(self, home)

    def __del__(self, give_back=_threads.give_back):
        try:
            pointer, home = self._pointer, self._home
        except AttributeError:
            return  # it was never adopted
        give_back(pointer, home)

    def __getattr__(self, name):
        real = self._members.get(name.lower())
        if real is None:
            raise AttributeError(f"{type(self).__name__!r} object has no attribute {name!r}")
        if real == name:
            raise AttributeError(f"{type(self).__name__}.{name} can be set, not read")
        return getattr(self, real)

    def __setattr__(self, name, value):
        real = self._members.get(name.lower())
        if real is None:
            raise AttributeError(f"{type(self).__name__!r} object has no attribute {name!r}")
        object.__setattr__(self, real, value)

    def __dir__(self):
        return [name for name in super().__dir__() if not name.startswith("_")]

    def __bool__(self):
        return True

    def __eq__(self, other):
        if not isinstance(other, Object):
            return NotImplemented
        return self._pointer == other._pointer or self._identity() == other._identity()

    def __hash__(self):
        return hash(self._identity())

    def _identity(self):
        """The address of the object's IUnknown, which it has one of."""
        self._use_at(_threads.current_home())
        identity = _abi.query(self._pointer, _abi.IID_IUNKNOWN)
        _abi.release(identity)
        return identity

    def __repr__(self):
        return f"<tallowbrook.{type(self).__name__} at {self._pointer:#x}>"

    def __reduce_ex__(self, _):
        raise TypeError(f"a {type(self).__name__} object can be neither copied nor pickled")


_set_pointer = Object._pointer.__set__
_set_home = Object._home.__set__


class Unknown(Object):
    """An object without members of its own, such as a plain stream."""

    __slots__ = ()


# --- properties with arguments -------------------------------------------------------------------


def _as_arguments(key):
    return key if type(key) is tuple else (key,)


class Indexed:
    """A property that takes arguments: p(argument), p[argument] and p[argument] = value."""

    __slots__ = ("_target", "_member")
    __iter__ = None
    __contains__ = None

    def __init__(self, target, member):
        self._target = target
        self._member = member

    def __call__(self, *arguments, **keywords):
        if self._member.get is None:
            raise AttributeError(f"{self._member.name} can be set, not read")
        return _calls.call(self._target, self._member.get, arguments, keywords)

    def __getitem__(self, key):
        return self(*_as_arguments(key))

    def __setitem__(self, key, value):
        if self._member.put is None:
            raise AttributeError(f"{self._member.name} can be read, not set")
        _calls.put(self._target, self._member.put, _as_arguments(key), value)

    def __repr__(self):
        names = ", ".join(p.name for p in self._member.functions[0].inputs)
        return f"<property {type(self._target).__name__}.{self._member.name}({names})>"


# --- collections ---------------------------------------------------------------------------------


class Collection(Object):
    """Items by position, as in a Python list."""

    __slots__ = ()
    _parts = {}  # lower-case member name: Member

    def _call(self, name, *arguments):
        member = self._parts[name]
        return _calls.call(self, member.method or member.get, arguments)

    def __len__(self):
        return self._call("count")

    def _position(self, key):
        """The position from the start that a Python index means."""
        index, count = key.__index__(), len(self)
        at = index + count if index < 0 else index
        if not 0 <= at < count:
            raise IndexError(f"{type(self).__name__} index out of range: {index} of {count}")
        return at

    def _place(self, key):
        """The position that a Python index means, or a name as it is."""
        if hasattr(key, "__index__"):
            return self._position(key)
        if isinstance(key, str):
            return key
        raise TypeError(f"{type(self).__name__} has items by integers, slices and names, "
                        f"not by {type(key).__name__}")

    def __getitem__(self, key):
        if isinstance(key, slice):
            return [self._call("item", at) for at in range(*key.indices(len(self)))]
        return self._call("item", self._place(key))

    def __iter__(self):
        if "_newenum" in self._parts:
            return _enumerate(self)
        return self._by_position()

    def _by_position(self):
        at = 0
        while at < len(self):
            yield self._call("item", at)
            at += 1

    def __reversed__(self):
        return (self._call("item", at) for at in reversed(range(len(self))))

    def __contains__(self, value):
        return any(item is value or item == value for item in self)

    def _require(self, name, action):
        if name not in self._parts:
            raise TypeError(f"{type(self).__name__} does not support {action} of items")

    def __setitem__(self, key, value):
        self._require("modify", "assignment")
        if isinstance(key, slice):
            raise TypeError(f"{type(self).__name__} does not support assignment to a slice")
        self._call("modify", self._place(key), value)

    def __delitem__(self, key):
        self._require("remove", "removal")
        if isinstance(key, slice):
            for at in sorted(range(*key.indices(len(self))), reverse=True):
                self._call("remove", at)
        else:
            self._call("remove", self._place(key))


class Map(Collection):
    """Values by name, as in a Python dictionary, and by position. Iterating gives the names."""

    __slots__ = ()

    def _name(self, key):
        return self._call("parametername", self._position(key)) if hasattr(key, "__index__") \
            else key

    def _known(self, key):
        if key not in self:
            raise KeyError(key)
        return key

    def __contains__(self, key):
        return self._call("exists", key)

    def __getitem__(self, key):
        # Asking for a missing name would add it.
        return super().__getitem__(self._known(key) if isinstance(key, str) else key)

    def __setitem__(self, key, value):
        super().__setitem__(self._name(key), value)

    def __delitem__(self, key):
        super().__delitem__(self._known(key) if isinstance(key, str) else key)

    def __iter__(self):
        at = 0
        while at < len(self):
            yield self._call("parametername", at)
            at += 1

    def __reversed__(self):
        return (self._call("parametername", at) for at in reversed(range(len(self))))

    def keys(self):
        return list(self)

    def values(self):
        return [self[name] for name in self]

    def items(self):
        return [(name, self[name]) for name in self]


def _enumerate(collection):
    """The items in the order of a new enumerator, which walks the live collection."""
    started = collection._call("_newenum")
    walker = _abi.query(started._pointer, _abi.IID_IENUMVARIANT)
    if not walker:
        raise ComError(Status.E_NOINTERFACE, member=f"{type(collection).__name__}._NewEnum")
    walker = Unknown._adopt(walker)
    return _walk(walker)


def _walk(walker):
    item, fetched = VARIANT(), c_uint32()
    while True:
        walker._use_at(_threads.current_home())
        status = _next(walker._pointer, 1, byref(item), byref(fetched))
        if status < 0:
            raise ComError(status, member="IEnumVARIANT.Next")
        if not fetched.value:
            return
        yield _values.take(item)


# --- classes from type information ---------------------------------------------------------------

_TYPES = {
    _abi.VT_BOOL: bool, _abi.VT_BSTR: str, _abi.VT_DATE: datetime.datetime, _abi.VT_R4: float,
    _abi.VT_R8: float, _abi.VT_CY: decimal.Decimal, _abi.VT_I1: int, _abi.VT_I2: int,
    _abi.VT_I4: int, _abi.VT_I8: int, _abi.VT_UI1: int, _abi.VT_UI2: int, _abi.VT_UI4: int,
    _abi.VT_UI8: int, _abi.VT_INT: int, _abi.VT_UINT: int,
}


def annotation(parameter):
    """How a parameter or result is typed: a class, or the name of one that is not made yet."""
    return parameter.type_name or _TYPES.get(parameter.vt, typing.Any)


def results(function):
    """The annotations of what a call returns; none for a function that returns nothing."""
    outs = [p for p in function.parameters if p.is_out]
    if function.result is not None and function.kind != _abi.DISPATCH_PROPERTYPUT:
        outs.insert(0, function.result)
    return [annotation(p) for p in outs]


def _result_annotation(function):
    types = results(function)
    if len(types) > 1:
        return typing.Tuple[tuple(types)]
    return types[0] if types else None


def signature(function, *leading):
    """As Python has it, behind parameters of these names."""
    kind = inspect.Parameter.POSITIONAL_OR_KEYWORD
    parameters = [inspect.Parameter(name, kind) for name in leading]
    optional = False
    for one in function.inputs:
        optional = optional or one.optional
        default = None if one.default is _values.MISSING else one.default
        parameters.append(inspect.Parameter(one.name, kind, annotation=annotation(one),
                                            default=default if optional else inspect.Parameter.empty))
    return inspect.Signature(parameters, return_annotation=_result_annotation(function))


def _make_method(function):
    def method(self, *arguments, **keywords):
        return _calls.call(self, function, arguments, keywords)

    method.__name__ = function.name
    method.__qualname__ = f"{function.owner}.{function.name}"
    method.__doc__ = function.help
    method.__signature__ = signature(function, "self")
    return method


def _make_indexed(member):
    first = member.get or member.put

    def refuse(self, value):
        raise AttributeError(f"{member.name} takes an argument: {member.name}[...] = value")

    return property(lambda self: Indexed(self, member), refuse,
                    doc=f"{member.name}{signature(first)}\n\n{first.help}")


def _make_property(member):
    get, put = member.get, member.put
    kind = annotation((get or put).result)
    text = (get or put).help + ("" if get else " (can be set, not read)")
    if kind is not typing.Any:
        text = f"{getattr(kind, '__name__', kind)}: {text}"
    return property(get and (lambda self: _calls.call(self, get)),
                    put and (lambda self, value: _calls.put(self, put, (), value)), doc=text)


def _make_descriptor(member):
    if member.method:
        return _make_method(member.method)
    return _make_indexed(member) if (member.get or member.put).inputs else _make_property(member)


def _call_default(self, *arguments, **keywords):
    """The default member."""
    default = self._default
    return _calls.call(self, default.method or default.get, arguments, keywords)


def _base_of(parts, default):
    """What an interface is in Python, by its members."""
    readable = default is not None and (default.get or default.method)
    if not readable or len(readable.inputs) != 1 or "count" not in parts:
        return Object
    return Map if "exists" in parts and "parametername" in parts else Collection


def make_class(interface):
    parts = {member.name.lower(): member for member in interface.members}
    default = next((m for m in interface.members if m.id == _abi.DISPID_VALUE), None)
    namespace = {"__slots__": (), "__module__": "tallowbrook", "__doc__": interface.help,
                 "_members": {lower: member.name for lower, member in parts.items()},
                 "_parts": parts, "_default": default, "_iid": interface.iid}
    base = _base_of(parts, default)
    if base is not Object:
        parts.setdefault("item", default)
    if default is not None and (default.method or default.get):
        namespace["__call__"] = _call_default
    for member in interface.members:
        namespace[member.name] = _make_descriptor(member)
    return type(interface.name, (base,), namespace)


class Untyped(Object):
    """An object that tells nothing of its members: each name is asked for when it is used."""

    __slots__ = ()

    def _id(self, name):
        self._use_at(_threads.current_home())
        found = None if name.startswith("__") else _calls.id_of_name(self._pointer, name)
        if found is None:
            raise AttributeError(f"the object has no attribute {name!r}")
        return found

    def __getattr__(self, name):
        member = self._id(name)
        try:
            return _calls.invoke(self, member, _abi.DISPATCH_PROPERTYGET, None, (), name)
        except ComError as error:
            if error.hresult not in _WANTS_CALL:
                raise
        return lambda *arguments: _calls.invoke(
            self, member, _abi.DISPATCH_PROPERTYGET | _abi.DISPATCH_METHOD, None, arguments, name)

    def __setattr__(self, name, value):
        _calls.invoke(self, self._id(name), _abi.DISPATCH_PROPERTYPUT, None, (value,), name)


_WANTS_CALL = (Status.DISP_E_MEMBERNOTFOUND, Status.DISP_E_BADPARAMCOUNT,
               Status.DISP_E_PARAMNOTOPTIONAL)

_lock = threading.Lock()
_class_by_iid = {}


def class_of_interface(interface):
    with _lock:
        known = _class_by_iid.get(interface.iid)
        if known is None:
            known = _class_by_iid[interface.iid] = make_class(interface)
        return known


def _class_of(pointer):
    """The class of an object's own interface. Its type information is not kept: whoever holds that
    keeps the component in use."""
    info = _calls.type_info(pointer)
    if not info:
        return Untyped
    try:
        known = _class_by_iid.get(_typeinfo.iid_of(info))
        return known or class_of_interface(_typeinfo.read_interface(info))
    finally:
        _abi.release(info)


# --- pointers ------------------------------------------------------------------------------------


def take_object(pointer):
    """The Python object of a counted interface pointer, whose reference it takes over."""
    if not pointer:
        return None
    file = _streams.file_behind(pointer)
    if file is not None:
        _abi.release(pointer)
        return file
    dispatch = _abi.query(pointer, _abi.IID_IDISPATCH)
    if not dispatch:
        return Unknown._adopt(pointer)
    _abi.release(pointer)
    try:
        made = _class_of(dispatch)
    except BaseException:
        _abi.release(dispatch)
        raise
    return made._adopt(dispatch)


def pointer_of(value, wanted, keep):
    """The VT_* and the pointer of what stands for `value`, held by the list `keep`; None when there
    is nothing."""
    if isinstance(value, Object):
        value._use_at(_threads.current_home())
        keep.append(value)
        return (_abi.VT_UNKNOWN if isinstance(value, Unknown) else _abi.VT_DISPATCH), value._pointer
    if isinstance(value, (list, tuple)):
        collection = new_object("Tallowbrook.Collection")
        for item in value:
            collection.Add(item)
        keep.append(collection)
        return _abi.VT_DISPATCH, collection._pointer
    if hasattr(value, "read") or hasattr(value, "write"):
        return _abi.VT_DISPATCH, _streams.lend(value, keep)
    if wanted in (_abi.VT_DISPATCH, _abi.VT_UNKNOWN) and _streams.is_bytes(value):
        return _abi.VT_DISPATCH, _streams.lend(io.BytesIO(value), keep)
    return None


def new_object(name):
    return take_object(_calls.create(name))
