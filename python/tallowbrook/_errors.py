"""Failures as Python exceptions."""

import enum
import re


class Status(enum.IntEnum):
    """Status codes, as the component's documentation writes them."""

    S_OK = 0
    S_FALSE = 1
    E_NOTIMPL = 0x80004001
    E_NOINTERFACE = 0x80004002
    E_POINTER = 0x80004003
    E_ABORT = 0x80004004
    E_FAIL = 0x80004005
    E_UNEXPECTED = 0x8000FFFF
    E_ACCESSDENIED = 0x80070005
    E_OUTOFMEMORY = 0x8007000E
    E_INVALIDARG = 0x80070057
    DISP_E_MEMBERNOTFOUND = 0x80020003
    DISP_E_PARAMNOTFOUND = 0x80020004
    DISP_E_TYPEMISMATCH = 0x80020005
    DISP_E_UNKNOWNNAME = 0x80020006
    DISP_E_NONAMEDARGS = 0x80020007
    DISP_E_BADVARTYPE = 0x80020008
    DISP_E_EXCEPTION = 0x80020009
    DISP_E_OVERFLOW = 0x8002000A
    DISP_E_BADINDEX = 0x8002000B
    DISP_E_BADPARAMCOUNT = 0x8002000E
    DISP_E_PARAMNOTOPTIONAL = 0x8002000F
    CLASS_E_NOAGGREGATION = 0x80040110
    CLASS_E_CLASSNOTAVAILABLE = 0x80040111
    REGDB_E_CLASSNOTREG = 0x80040154
    CO_E_CLASSSTRING = 0x800401F3
    CO_E_DLLNOTFOUND = 0x800401F8
    CO_E_ERRORINDLL = 0x800401F9
    STG_E_INVALIDFUNCTION = 0x80030001
    STG_E_MEDIUMFULL = 0x80030070


_TEXTS = {
    Status.E_NOTIMPL: "not implemented",
    Status.E_NOINTERFACE: "the object has no such interface",
    Status.E_POINTER: "a pointer is null",
    Status.E_ABORT: "ended early",
    Status.E_FAIL: "failed",
    Status.E_ACCESSDENIED: "access denied",
    Status.E_OUTOFMEMORY: "out of memory",
    Status.E_INVALIDARG: "an argument is not valid",
    Status.DISP_E_MEMBERNOTFOUND: "the member cannot be used in this way",
    Status.DISP_E_TYPEMISMATCH: "an argument has the wrong type",
    Status.DISP_E_UNKNOWNNAME: "no such name",
    Status.DISP_E_OVERFLOW: "an argument is out of range",
    Status.DISP_E_BADINDEX: "there is no such item",
    Status.DISP_E_BADPARAMCOUNT: "wrong number of arguments",
    Status.DISP_E_PARAMNOTOPTIONAL: "an argument is missing",
    Status.CLASS_E_CLASSNOTAVAILABLE: "the component does not have this class",
    Status.REGDB_E_CLASSNOTREG: "no such class is known",
    Status.CO_E_CLASSSTRING: "no such class name is known",
    Status.CO_E_DLLNOTFOUND: "the component cannot be loaded",
    Status.CO_E_ERRORINDLL: "the library is no component",
    Status.STG_E_MEDIUMFULL: "the stream takes no more",
}

_LINE = re.compile(r"\bline (\d+)\b", re.IGNORECASE)


def status_of(hresult):
    """The member of Status, or the number itself when it has no name; always unsigned."""
    unsigned = hresult & 0xFFFFFFFF
    try:
        return Status(unsigned)
    except ValueError:
        return unsigned


class ComError(Exception):
    """A call answered with a failing status.

    hresult      the status, a number from 0x80000000 on; equal to a member of `tallowbrook.Status`
    description  the text of the error object, or what the status means when there is none
    source       what the error object names as its source; often empty
    member       the class and member that was called; may be empty
    line         the line number that the description tells, else None
    """

    def __init__(self, hresult, description="", source="", member=""):
        self.hresult = status_of(hresult)
        self.description = description or _TEXTS.get(self.hresult, "failed")
        self.source = source
        self.member = member
        lines = _LINE.findall(description)
        self.line = int(lines[-1]) if lines else None
        super().__init__(hresult, description, source, member)

    def __str__(self):
        code = "0x%08X" % self.hresult
        name = f"{self.hresult.name}, {code}" if isinstance(self.hresult, Status) else code
        where = f"{self.member}: " if self.member else ""
        return f"{where}{self.description} ({name})"
