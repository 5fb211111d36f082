"""The binary shape of automation: identities, VARIANT, and calls through interface slots.

An interface pointer is a plain integer here (0 for none). A `slot` calls one entry of the pointer's
table of functions; ctypes releases the interpreter's lock for the call.
"""

import ctypes
import sys
import uuid
from ctypes import Structure, Union, c_double, c_float, c_int16, c_int32, c_int64, c_uint8
from ctypes import c_int8, c_uint16, c_uint32, c_uint64, c_void_p, sizeof

UTF16 = "utf-16-le" if sys.byteorder == "little" else "utf-16-be"


class GUID(Structure):
    _fields_ = [("data1", c_uint32), ("data2", c_uint16), ("data3", c_uint16),
                ("data4", c_uint8 * 8)]


_GUID_ORDER = "bytes_le" if sys.byteorder == "little" else "bytes"


def guid(text):
    return GUID.from_buffer_copy(getattr(uuid.UUID(text), _GUID_ORDER))


def guid_text(value):
    return "{%s}" % str(uuid.UUID(**{_GUID_ORDER: bytes(value)})).upper()


GUID_NULL = GUID()
IID_IUNKNOWN = guid("00000000-0000-0000-C000-000000000046")
IID_IDISPATCH = guid("00020400-0000-0000-C000-000000000046")
IID_IENUMVARIANT = guid("00020404-0000-0000-C000-000000000046")
IID_ISEQUENTIALSTREAM = guid("0C733A30-2A1C-11CE-ADE5-00AA0044773D")
IID_ISTREAM = guid("0000000C-0000-0000-C000-000000000046")

VT_EMPTY, VT_NULL, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY, VT_DATE, VT_BSTR, VT_DISPATCH = range(10)
VT_ERROR, VT_BOOL, VT_VARIANT, VT_UNKNOWN = range(10, 14)
VT_I1, VT_UI1, VT_UI2, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT, VT_VOID = range(16, 25)
VT_PTR = 26
VT_USERDEFINED = 29
VT_BYREF = 0x4000

DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT = 1, 2, 4
DISPID_VALUE, DISPID_UNKNOWN, DISPID_PROPERTYPUT, DISPID_NEWENUM = 0, -1, -3, -4
LOCALE_USER_DEFAULT = 0x0400
CLSCTX_INPROC_SERVER = 1


class _Value(Union):
    _fields_ = [("i1", c_int8), ("ui1", c_uint8), ("i2", c_int16), ("ui2", c_uint16),
                ("i4", c_int32), ("ui4", c_uint32), ("i8", c_int64), ("ui8", c_uint64),
                ("r4", c_float), ("r8", c_double), ("pointer", c_void_p)]


class VARIANT(Structure):
    _anonymous_ = ["value"]
    _fields_ = [("vt", c_uint16), ("reserved", c_uint16 * 3), ("value", _Value)]


class DISPPARAMS(Structure):
    _fields_ = [("arguments", c_void_p), ("named", c_void_p), ("count", c_uint32),
                ("named_count", c_uint32)]


class EXCEPINFO(Structure):
    _fields_ = [("code", c_uint16), ("reserved", c_uint16), ("source", c_void_p),
                ("description", c_void_p), ("help_file", c_void_p), ("help_context", c_uint32),
                ("reserved_pointer", c_void_p), ("deferred", c_void_p), ("scode", c_int32)]


def slot(index, *argtypes, restype=c_int32):
    """A function that calls slot `index` of the interface pointer that is its first argument."""
    prototype = ctypes.CFUNCTYPE(restype, c_void_p, *argtypes)
    known = {}  # by the address of the table of functions
    offset = index * sizeof(c_void_p)

    def call(this, *arguments):
        table = c_void_p.from_address(this).value
        function = known.get(table)
        if function is None:
            function = known[table] = prototype(c_void_p.from_address(table + offset).value)
        return function(this, *arguments)

    return call


query_interface = slot(0, c_void_p, c_void_p)
add_ref = slot(1, restype=c_uint32)
release = slot(2, restype=c_uint32)


def query(this, iid):
    """The pointer's other interface, counted, or 0."""
    found = c_void_p()
    status = query_interface(this, ctypes.byref(iid), ctypes.byref(found))
    return found.value or 0 if status >= 0 else 0
