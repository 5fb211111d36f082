"""Type information as plain descriptions: what classes, signatures, help and stubs are made of."""

import ctypes
import keyword
from ctypes import Structure, Union, byref, c_int16, c_int32, c_uint16, c_uint32, c_void_p
from typing import Any, NamedTuple, Optional, Tuple

from . import _abi, _values
from ._abi import GUID, VARIANT, slot
from ._errors import ComError
from ._library import bstr_text, take_bstr

TKIND_ENUM, TKIND_INTERFACE, TKIND_DISPATCH, TKIND_COCLASS = 0, 3, 4, 5
IMPLTYPEFLAG_DEFAULT, IMPLTYPEFLAG_SOURCE = 1, 2
_PARAM_IN, _PARAM_OUT, _PARAM_OPTIONAL, _PARAM_DEFAULT = 1, 2, 16, 32
_MEMBER_HIDDEN = 0x40
_MEMBER_OF_TYPE = -1  # asks GetDocumentation for the type itself
_MOST_NAMES = 64


class TYPEDESC(Structure):
    pass


class _Target(Union):
    _fields_ = [("pointed", ctypes.POINTER(TYPEDESC)), ("reference", c_uint32)]


TYPEDESC._anonymous_ = ["target"]
TYPEDESC._fields_ = [("target", _Target), ("vt", c_uint16)]


class PARAMDESCEX(Structure):
    _fields_ = [("size", c_uint32), ("value", VARIANT)]


class ELEMDESC(Structure):
    _fields_ = [("type", TYPEDESC), ("default", ctypes.POINTER(PARAMDESCEX)), ("flags", c_uint16)]


class FUNCDESC(Structure):
    _fields_ = [("member", c_int32), ("scodes", c_void_p),
                ("parameters", ctypes.POINTER(ELEMDESC)), ("function_kind", c_int32),
                ("invoke_kind", c_int32), ("call_convention", c_int32), ("count", c_int16),
                ("optional_count", c_int16), ("slot_offset", c_int16), ("scode_count", c_int16),
                ("result", ELEMDESC), ("flags", c_uint16)]


class VARDESC(Structure):
    _fields_ = [("member", c_int32), ("schema", c_void_p), ("value", ctypes.POINTER(VARIANT)),
                ("type", ELEMDESC), ("flags", c_uint16), ("kind", c_int32)]


class TYPEATTR(Structure):
    _fields_ = [("guid", GUID), ("lcid", c_uint32), ("reserved", c_uint32),
                ("constructor", c_int32), ("destructor", c_int32), ("schema", c_void_p),
                ("instance_size", c_uint32), ("kind", c_int32), ("function_count", c_uint16),
                ("variable_count", c_uint16), ("implemented_count", c_uint16),
                ("table_size", c_uint16), ("alignment", c_uint16), ("flags", c_uint16),
                ("major", c_uint16), ("minor", c_uint16), ("alias", TYPEDESC)]


_get_type_attr = slot(3, c_void_p)
_get_func_desc = slot(5, c_uint32, c_void_p)
_get_var_desc = slot(6, c_uint32, c_void_p)
_get_names = slot(7, c_int32, c_void_p, c_uint32, c_void_p)
_get_ref_type_of_impl_type = slot(8, c_uint32, c_void_p)
_get_impl_type_flags = slot(9, c_uint32, c_void_p)
_get_documentation = slot(12, c_int32, c_void_p, c_void_p, c_void_p, c_void_p)
_get_ref_type_info = slot(14, c_uint32, c_void_p)
_get_containing_library = slot(18, c_void_p, c_void_p)
_release_type_attr = slot(19, c_void_p, restype=None)
_release_func_desc = slot(20, c_void_p, restype=None)
_release_var_desc = slot(21, c_void_p, restype=None)

_library_count = slot(3, restype=c_uint32)
_library_type = slot(4, c_uint32, c_void_p)


class Parameter(NamedTuple):
    name: str
    vt: int  # VT_*, of the value behind a pointer
    type_name: str  # the interface or enumeration where the library has one, else ""
    is_in: bool
    is_out: bool
    optional: bool
    default: Any  # _values.MISSING for none


class Function(NamedTuple):
    """One way to call a member: a method, the get or the put of a property."""

    owner: str
    name: str
    id: int
    kind: int  # DISPATCH_METHOD, DISPATCH_PROPERTYGET or DISPATCH_PROPERTYPUT
    parameters: Tuple[Parameter, ...]  # without the result and without the value of a put
    result: Optional[Parameter]  # what it returns; of a put, the value that it takes
    help: str
    hidden: bool

    @property
    def inputs(self):
        return [p for p in self.parameters if p.is_in]


class Member(NamedTuple):
    name: str
    id: int
    method: Optional[Function]
    get: Optional[Function]
    put: Optional[Function]

    @property
    def functions(self):
        return [f for f in (self.method, self.get, self.put) if f is not None]


class Interface(NamedTuple):
    name: str
    help: str
    iid: bytes
    members: Tuple[Member, ...]


class Constant(NamedTuple):
    name: str
    value: int
    help: str


class Enumeration(NamedTuple):
    name: str
    help: str
    values: Tuple[Constant, ...]


class Coclass(NamedTuple):
    name: str
    help: str
    clsid: str
    interface: str  # the name of the default interface


def check(status):
    if status < 0:
        raise ComError(status, member="type information")


class _Owned:
    """A structure that type information lends until it is given back."""

    def __init__(self, info, structure, get, give_back, *arguments):
        self._give_back = lambda: give_back(info, self._pointer)
        self._pointer = c_void_p()
        self._structure = structure
        check(get(info, *arguments, byref(self._pointer)))

    def __enter__(self):
        return self._structure.from_address(self._pointer.value)

    def __exit__(self, *_):
        self._give_back()


def _attributes(info):
    return _Owned(info, TYPEATTR, _get_type_attr, _release_type_attr)


def iid_of(info):
    """The identity of the type, as bytes."""
    with _attributes(info) as attributes:
        return bytes(attributes.guid)


def documentation(info, member=_MEMBER_OF_TYPE):
    """Name and help text."""
    name, text = c_void_p(), c_void_p()
    check(_get_documentation(info, member, byref(name), byref(text), None, None))
    return take_bstr(name.value), take_bstr(text.value)


def _names(info, member):
    """The member's name and those of its parameters, fit for Python."""
    texts = (c_void_p * _MOST_NAMES)()
    count = c_uint32()
    check(_get_names(info, member, texts, _MOST_NAMES, byref(count)))
    names = [take_bstr(texts[at]) for at in range(count.value)]
    return [name + "_" if keyword.iskeyword(name) else name for name in names]


def _referred(info, reference):
    """The type that a reference names, as a pointer that the caller releases."""
    found = c_void_p()
    check(_get_ref_type_info(info, reference, byref(found)))
    return found.value


def _type_of(info, description):
    """VT_* and type name, pointers followed."""
    while description.vt == _abi.VT_PTR:
        description = description.pointed.contents
    if description.vt != _abi.VT_USERDEFINED:
        return description.vt, ""
    referred = _referred(info, description.reference)
    try:
        with _attributes(referred) as attributes:
            is_enum = attributes.kind == TKIND_ENUM
        return _abi.VT_I4 if is_enum else _abi.VT_DISPATCH, documentation(referred)[0]
    finally:
        _abi.release(referred)


def _default(element):
    if not element.flags & _PARAM_DEFAULT or not element.default:
        return _values.MISSING
    lent = element.default.contents.value
    if lent.vt == _abi.VT_BSTR:
        return bstr_text(lent.pointer)
    return _values.take(VARIANT.from_buffer_copy(lent))


def _parameter(info, element, name):
    vt, type_name = _type_of(info, element.type)
    flags = element.flags
    return Parameter(name=name, vt=vt, type_name=type_name,
                     is_in=bool(flags & _PARAM_IN) or not flags & _PARAM_OUT,
                     is_out=bool(flags & _PARAM_OUT), optional=bool(flags & _PARAM_OPTIONAL),
                     default=_default(element))


def _function(info, owner, index):
    with _Owned(info, FUNCDESC, _get_func_desc, _release_func_desc, index) as description:
        names = _names(info, description.member)
        names += [f"value{at}" for at in range(len(names), description.count + 1)]
        kind = description.invoke_kind
        if kind > _abi.DISPATCH_PROPERTYPUT:  # a put of an object by reference
            kind = _abi.DISPATCH_PROPERTYPUT
        parameters = [_parameter(info, description.parameters[at], names[at + 1])
                      for at in range(description.count)]
        result = None
        if kind == _abi.DISPATCH_PROPERTYPUT:
            result = parameters.pop()._replace(name="value")
        elif description.result.type.vt != _abi.VT_VOID:
            result = _parameter(info, description.result, "result")
        return Function(owner=owner, name=names[0], id=description.member, kind=kind,
                        parameters=tuple(parameters), result=result,
                        help=documentation(info, description.member)[1],
                        hidden=bool(description.flags & _MEMBER_HIDDEN))


_FIELD_OF_KIND = {
    _abi.DISPATCH_METHOD: "method",
    _abi.DISPATCH_PROPERTYGET: "get",
    _abi.DISPATCH_PROPERTYPUT: "put",
}


def read_interface(info):
    name, text = documentation(info)
    with _attributes(info) as attributes:
        iid, count = bytes(attributes.guid), attributes.function_count
    members = {}
    for index in range(count):
        function = _function(info, name, index)
        member = members.get(function.id) or Member(function.name, function.id, None, None, None)
        members[function.id] = member._replace(**{_FIELD_OF_KIND[function.kind]: function})
    return Interface(name, text, iid, tuple(members.values()))


def _read_enumeration(info):
    name, text = documentation(info)
    with _attributes(info) as attributes:
        count = attributes.variable_count
    values = []
    for index in range(count):
        with _Owned(info, VARDESC, _get_var_desc, _release_var_desc, index) as description:
            constant, constant_text = documentation(info, description.member)
            values.append(Constant(constant, description.value.contents.i4, constant_text))
    return Enumeration(name, text, tuple(values))


def _read_coclass(info):
    name, text = documentation(info)
    with _attributes(info) as attributes:
        clsid, count = _abi.guid_text(attributes.guid), attributes.implemented_count
    for index in range(count):
        flags, reference = c_int32(), c_uint32()
        check(_get_impl_type_flags(info, index, byref(flags)))
        if flags.value & (IMPLTYPEFLAG_DEFAULT | IMPLTYPEFLAG_SOURCE) != IMPLTYPEFLAG_DEFAULT:
            continue
        check(_get_ref_type_of_impl_type(info, index, byref(reference)))
        interface = _referred(info, reference.value)
        try:
            return Coclass(name, text, clsid, documentation(interface)[0])
        finally:
            _abi.release(interface)
    return Coclass(name, text, clsid, "")


def library_of(info):
    """The library that type information belongs to, as a pointer that the caller releases."""
    library = c_void_p()
    check(_get_containing_library(info, byref(library), None))
    return library.value


class Types(NamedTuple):
    enumerations: Tuple[Enumeration, ...]
    interfaces: Tuple[Interface, ...]
    coclasses: Tuple[Coclass, ...]


def read_library(library):
    found = {TKIND_ENUM: [], TKIND_DISPATCH: [], TKIND_COCLASS: []}
    read = {TKIND_ENUM: _read_enumeration, TKIND_DISPATCH: read_interface,
            TKIND_COCLASS: _read_coclass}
    for index in range(_library_count(library)):
        info = c_void_p()
        check(_library_type(library, index, byref(info)))
        try:
            with _attributes(info.value) as attributes:
                kind = attributes.kind
            if kind in read:
                found[kind].append(read[kind](info.value))
        finally:
            _abi.release(info.value)
    return Types(tuple(found[TKIND_ENUM]), tuple(found[TKIND_DISPATCH]),
                 tuple(found[TKIND_COCLASS]))
