"""VARIANT to Python and back.

    VT_EMPTY, VT_NULL   None              None goes as VT_EMPTY
    VT_BOOL             bool
    integers            int               VT_I4 where it fits, else VT_I8, VT_UI8
    VT_R4, VT_R8        float
    VT_CY               decimal.Decimal
    VT_BSTR             str               lone surrogates stay what they are
    VT_DATE             datetime          naive, in local time; an aware one is converted first
    VT_DISPATCH         object, or None
    VT_UNKNOWN          object, or None
    VT_ERROR            int

A list or tuple goes as a new collection object with its items, and a Python file or bytes as a
stream object.
"""

import datetime
import decimal
import math
import operator
import os

from . import _abi, _objects
from ._library import alloc_bstr, platform, take_bstr

MISSING = object()  # an argument that was left out
_PARAMETER_NOT_FOUND = 0x80020004

_DAY_ZERO = datetime.datetime(1899, 12, 30)
_FIRST_YEAR = 100
_DAY = datetime.timedelta(days=1)
_MICROSECONDS = 86_400_000_000
# Up to here (the year 2079) a date's number tells microseconds, later only milliseconds.
_FINE_DAYS = 1 << 16


def date_to_python(days):
    """An automation date: whole days since 30 December 1899, and the time of day as the fraction,
    which counts forwards on days before that as well. A number that is no date stays one."""
    try:
        whole = math.trunc(days)
        time = round(abs(days - whole) * _MICROSECONDS)
        if abs(whole) >= _FINE_DAYS:
            time = round(time, -3)
        return _DAY_ZERO + datetime.timedelta(days=whole, microseconds=time)
    except (OverflowError, ValueError):
        return days


def date_from_python(value):
    if not isinstance(value, datetime.datetime):
        value = datetime.datetime(value.year, value.month, value.day)
    elif value.tzinfo is not None:
        value = value.astimezone().replace(tzinfo=None)
    if value.year < _FIRST_YEAR:
        raise OverflowError(f"automation dates begin with the year {_FIRST_YEAR}")
    since = value - _DAY_ZERO
    time = (since - since.days * _DAY) / _DAY
    return since.days + time if since.days >= 0 else since.days - time


# --- from VARIANT --------------------------------------------------------------------------------


def _take_text(variant):
    return take_bstr(variant.pointer)


def _take_object(variant):
    return _objects.take_object(variant.pointer)


def _take_field(name):
    return lambda variant: getattr(variant, name)


_TAKE = {
    _abi.VT_EMPTY: lambda variant: None,
    _abi.VT_NULL: lambda variant: None,
    _abi.VT_BOOL: lambda variant: variant.i2 != 0,
    _abi.VT_CY: lambda variant: decimal.Decimal(variant.i8).scaleb(-4),
    _abi.VT_DATE: lambda variant: date_to_python(variant.r8),
    _abi.VT_BSTR: _take_text,
    _abi.VT_DISPATCH: _take_object,
    _abi.VT_UNKNOWN: _take_object,
    _abi.VT_ERROR: _take_field("ui4"),
    _abi.VT_R4: _take_field("r4"),
    _abi.VT_R8: _take_field("r8"),
    _abi.VT_I1: _take_field("i1"),
    _abi.VT_I2: _take_field("i2"),
    _abi.VT_I4: _take_field("i4"),
    _abi.VT_INT: _take_field("i4"),
    _abi.VT_I8: _take_field("i8"),
    _abi.VT_UI1: _take_field("ui1"),
    _abi.VT_UI2: _take_field("ui2"),
    _abi.VT_UI4: _take_field("ui4"),
    _abi.VT_UINT: _take_field("ui4"),
    _abi.VT_UI8: _take_field("ui8"),
}


def take(variant):
    """The Python value of a VARIANT, which is used up."""
    convert = _TAKE.get(variant.vt)
    if convert is None:
        vt = variant.vt
        platform().variant_clear(variant)
        raise TypeError(f"a value of the automation type {vt} has no counterpart in Python")
    value = convert(variant)
    variant.vt = _abi.VT_EMPTY
    return value


# --- to VARIANT ----------------------------------------------------------------------------------


def put(variant, value, wanted, keep):
    """Makes the cleared `variant` hold the argument `value` for a parameter of type `wanted`.

    What it then refers to lives as long as the list `keep`, but for a text, which `forget` frees.
    """
    kind = type(value)
    if kind is str:
        variant.pointer = alloc_bstr(value)
        variant.vt = _abi.VT_BSTR
    elif kind is bool:
        variant.i2 = -1 if value else 0
        variant.vt = _abi.VT_BOOL
    elif kind is int:
        _put_integer(variant, value)
    elif value is None:
        # The null text, which a member can tell from the empty one.
        if wanted == _abi.VT_BSTR:
            variant.vt = _abi.VT_BSTR
    elif value is MISSING:
        variant.ui4 = _PARAMETER_NOT_FOUND
        variant.vt = _abi.VT_ERROR
    elif kind is float:
        variant.r8 = value
        variant.vt = _abi.VT_R8
    else:
        _put_other(variant, value, wanted, keep)


def forget(variant):
    """Frees the text of an argument; objects are only lent to it."""
    if variant.vt == _abi.VT_BSTR:
        platform().free_text(variant.pointer)


def _put_integer(variant, value):
    if -0x80000000 <= value <= 0x7FFFFFFF:
        variant.i4 = value
        variant.vt = _abi.VT_I4
    elif -(1 << 63) <= value < 1 << 63:
        variant.i8 = value
        variant.vt = _abi.VT_I8
    elif 0 <= value < 1 << 64:
        variant.ui8 = value
        variant.vt = _abi.VT_UI8
    else:
        raise OverflowError("the integer has more than 64 bits")


def _put_currency(variant, value):
    scaled = value.scaleb(4)
    if scaled != scaled.to_integral_value() or not -(1 << 63) <= scaled < 1 << 63:
        raise OverflowError("the decimal has more than four places or is too large")
    variant.i8 = int(scaled)
    variant.vt = _abi.VT_CY


def _put_other(variant, value, wanted, keep):
    lent = _objects.pointer_of(value, wanted, keep)
    if lent is not None:
        variant.vt, variant.pointer = lent
    elif isinstance(value, datetime.date):  # datetime.datetime is one
        variant.r8 = date_from_python(value)
        variant.vt = _abi.VT_DATE
    elif isinstance(value, decimal.Decimal):
        _put_currency(variant, value)
    elif isinstance(value, float):
        variant.r8 = value
        variant.vt = _abi.VT_R8
    elif isinstance(value, str):
        put(variant, str.__str__(value), wanted, keep)
    elif wanted == _abi.VT_BSTR and hasattr(value, "__fspath__"):
        variant.pointer = alloc_bstr(os.fsdecode(value))
        variant.vt = _abi.VT_BSTR
    elif hasattr(value, "__index__"):  # enumerations and the integers of other packages
        _put_integer(variant, operator.index(value))
    else:
        raise TypeError(f"{type(value).__name__!r} has no counterpart in automation")


def discard(variant):
    """Gives back what a VARIANT owns."""
    if variant.vt not in (_abi.VT_EMPTY, _abi.VT_BYREF | _abi.VT_VARIANT):
        platform().variant_clear(variant)


def own(variant):
    """Makes a VARIANT whose object is lent hold a reference of its own."""
    if variant.vt in (_abi.VT_DISPATCH, _abi.VT_UNKNOWN) and variant.pointer:
        _abi.add_ref(variant.pointer)
