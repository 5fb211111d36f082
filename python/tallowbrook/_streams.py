"""Bytes and Python files as the component's streams, and its streams as bytes.

A Python file is lent as an object of its own that answers to IDispatch (without members) and to
IStream. The object lives as long as somebody counts a reference to it, which may be longer than the
call: a part may go on reading the file that was imported by reference. What the file raises is kept
for the caller, who gets it in place of the component's answer.
"""

import ctypes
import io
from ctypes import byref, c_int32, c_int64, c_uint32, c_uint64, c_void_p, sizeof

from . import _abi, _objects, _threads
from ._abi import slot
from ._errors import ComError, Status

_FAR = 1 << 20  # bytes per block
_STGTY_STREAM = 2
_SIZE_OF_STAT = 80
_PLACE_OF_SIZE = 16  # of cbSize in STATSTG
_PLACE_OF_TYPE = 8

_stream_read = slot(3, c_void_p, c_uint32, c_void_p)
_stream_write = slot(4, c_void_p, c_uint32, c_void_p)
_stream_seek = slot(5, c_int64, c_uint32, c_void_p)


def is_bytes(value):
    return isinstance(value, (bytes, bytearray, memoryview))


def _check(status, member):
    if status < 0:
        raise ComError(status, member=member)


def _write_all(stream, data):
    data = bytes(data)
    done = c_uint32()
    for start in range(0, len(data), _FAR):
        block = data[start:start + _FAR]
        _check(_stream_write(stream, block, len(block), byref(done)), "IStream.Write")
        if done.value != len(block):
            raise ComError(Status.STG_E_MEDIUMFULL, member="IStream.Write")


def _seek_to(stream, place):
    _check(_stream_seek(stream, place, io.SEEK_SET, None), "IStream.Seek")


def _stream_of(source, iid=_abi.IID_ISTREAM):
    """The stream that an object answers to, as an object of its own; None when there is none."""
    source._use_at(_threads.current_home())
    pointer = _abi.query(source._pointer, iid)
    return _objects.Unknown._adopt(pointer) if pointer else None


def blob(data=b""):
    """A new Blob object that holds the bytes. Reading starts at its start, writing at its end."""
    if not is_bytes(data):
        raise TypeError(f"a blob holds bytes, not {type(data).__name__}")
    made = _objects.new_object("Tallowbrook.Blob")
    _write_all(_stream_of(made)._pointer, data)
    return made


def read(source):
    """All bytes of an object that answers to a stream, or of a Python file, from its start.

    A blob is then read from its start and written at its end again; other streams stand where they
    stood before.
    """
    if not isinstance(source, _objects.Object):
        return _read_file(source)
    stream = _stream_of(source)
    if stream is None:
        stream = _stream_of(source, _abi.IID_ISEQUENTIALSTREAM)
        if stream is None:
            raise ComError(Status.E_NOINTERFACE, member=f"{type(source).__name__} as a stream")
        return b"".join(_blocks(stream))
    before = c_uint64()
    _check(_stream_seek(stream._pointer, 0, io.SEEK_CUR, byref(before)), "IStream.Seek")
    _seek_to(stream._pointer, 0)
    data = b"".join(_blocks(stream))
    if type(source).__name__ == "IBlob":
        # It has two positions, which a seek makes one. Writing the same bytes parts them.
        _seek_to(stream._pointer, 0)
        _write_all(stream._pointer, data)
    else:
        _seek_to(stream._pointer, before.value)
    return data


def _read_file(file):
    if not hasattr(file, "read"):
        raise TypeError(f"{type(file).__name__!r} is no object with a stream")
    if _can_seek(file):
        file.seek(0)
    return file.read()


def _blocks(stream):
    buffer = ctypes.create_string_buffer(_FAR)
    done = c_uint32()
    while True:
        _check(_stream_read(stream._pointer, buffer, _FAR, byref(done)), "ISequentialStream.Read")
        if not done.value:
            return
        yield ctypes.string_at(buffer, done.value)


# --- files that the component uses ---------------------------------------------------------------

_live = {}  # by the address of each of an object's two interfaces


class _LentFile:
    """The two interface pointers are the addresses of two words, each of which points at its table
    of functions."""

    def __init__(self, file):
        self.file = file
        # Appending and popping are one step each, also where the collector runs between the lines.
        self.references = [None]
        self.words = (c_void_p * 2)(ctypes.addressof(_DISPATCH_TABLE) + _FIRST_SLOT,
                                    ctypes.addressof(_STREAM_TABLE) + _FIRST_SLOT)
        self.dispatch = ctypes.addressof(self.words)
        self.stream = self.dispatch + sizeof(c_void_p)
        _live[self.dispatch] = _live[self.stream] = self

    def add_ref(self):
        self.references.append(None)
        return len(self.references)

    def release(self):
        self.references.pop()
        left = len(self.references)
        if not left:
            _live.pop(self.dispatch, None)
            _live.pop(self.stream, None)
        return left


class _Lent:
    """The reference that a call holds on what it lends."""

    def __init__(self, lent):
        self.lent = lent

    def __del__(self):
        self.lent.release()


def lend(file, keep):
    """The IDispatch of a new object over the file, held by the list `keep`."""
    lent = _LentFile(file)
    keep.append(_Lent(lent))
    return lent.dispatch


def file_behind(pointer):
    """The Python file that an interface pointer was made for, or None."""
    lent = _live.get(pointer)
    return None if lent is None else lent.file


# Each function below gets the Python object for the pointer and returns a status.


def _query_interface(lent, iid, found):
    wanted = bytes(_abi.GUID.from_address(iid))
    if wanted in _DISPATCH_NAMES:
        pointer = lent.dispatch
    elif wanted in _STREAM_NAMES:
        pointer = lent.stream
    else:
        c_void_p.from_address(found).value = None
        return Status.E_NOINTERFACE
    lent.add_ref()
    c_void_p.from_address(found).value = pointer
    return Status.S_OK


_DISPATCH_NAMES = {bytes(_abi.IID_IUNKNOWN), bytes(_abi.IID_IDISPATCH)}
_STREAM_NAMES = {bytes(_abi.IID_ISEQUENTIALSTREAM), bytes(_abi.IID_ISTREAM)}


def _tell(place, kind, value):
    if place:
        kind.from_address(place).value = value


def _get_type_info_count(lent, count):
    _tell(count, c_uint32, 0)
    return Status.S_OK


def _get_type_info(lent, index, lcid, info):
    _tell(info, c_void_p, None)
    return Status.DISP_E_BADINDEX


def _get_ids_of_names(lent, reserved, names, count, lcid, ids):
    for at in range(count):
        c_int32.from_address(ids + 4 * at).value = _abi.DISPID_UNKNOWN
    return Status.DISP_E_UNKNOWNNAME


def _invoke(lent, *_):
    return Status.DISP_E_MEMBERNOTFOUND


def _fill(file, buffer, count):
    """Reads until `count` bytes are there or the file ends; returns how many came."""
    done = 0
    while done < count:
        data = _next_block(file, count - done)
        if not data:
            break
        ctypes.memmove(buffer + done, data, len(data))
        done += len(data)
    return done


def _next_block(file, most):
    """What one read gives, as bytes, and never more than the `most` that there is room for."""
    wanted = min(most, _FAR)
    data = file.read(wanted)
    if not data:
        return b""
    if not is_bytes(data):
        raise TypeError("the file gives text; it must be open in binary mode")
    data = bytes(data)
    if len(data) > wanted:
        raise OSError(f"the file gave {len(data)} bytes where {wanted} were asked for")
    return data


def _write_to(file, data):
    """Files without a buffer may take less than they are given."""
    view = memoryview(data)
    while view:
        taken = file.write(view)
        if taken is None or taken >= len(view):
            return
        view = view[taken:]


def _read(lent, buffer, count, done):
    got = _fill(lent.file, buffer, count)
    _tell(done, c_uint32, got)
    return Status.S_OK if got == count else Status.S_FALSE


def _write(lent, buffer, count, done):
    _write_to(lent.file, ctypes.string_at(buffer, count))
    _tell(done, c_uint32, count)
    return Status.S_OK


def _can_seek(file):
    seekable = getattr(file, "seekable", None)
    return hasattr(file, "seek") if seekable is None else seekable()


def _seek(lent, move, origin, position):
    if not _can_seek(lent.file):
        return Status.STG_E_INVALIDFUNCTION
    lent.file.seek(move, origin)
    if position:
        _tell(position, c_uint64, lent.file.tell())
    return Status.S_OK


def _set_size(lent, size):
    file = lent.file
    if not _can_seek(file):
        return Status.STG_E_INVALIDFUNCTION
    at = file.tell()
    end = file.seek(0, io.SEEK_END)
    if end < size:  # a buffer in memory does not grow by truncate
        _write_to(file, bytes(size - end))
    else:
        file.truncate(size)
    file.seek(at)
    return Status.S_OK


def _copy_to(lent, target, count, read_count, written_count):
    done = 0
    while done < count:
        data = _next_block(lent.file, count - done)
        if not data:
            break
        _write_all(target, data)
        done += len(data)
    _tell(read_count, c_uint64, done)
    _tell(written_count, c_uint64, done)
    return Status.S_OK


def _commit(lent, flags):
    if hasattr(lent.file, "flush"):
        lent.file.flush()
    return Status.S_OK


def _stat(lent, stat, flags):
    ctypes.memset(stat, 0, _SIZE_OF_STAT)
    _tell(stat + _PLACE_OF_TYPE, c_uint32, _STGTY_STREAM)
    if _can_seek(lent.file):
        at = lent.file.tell()
        _tell(stat + _PLACE_OF_SIZE, c_uint64, lent.file.seek(0, io.SEEK_END))
        lent.file.seek(at)
    return Status.S_OK


def _refuse(lent, *_):
    return Status.E_NOTIMPL


def _clone(lent, found):
    _tell(found, c_void_p, None)
    return Status.E_NOTIMPL


def _callback(function, *argtypes, restype=c_int32):
    def run(this, *arguments):
        try:
            return function(_live[this], *arguments)
        except BaseException as error:  # none may cross into the component
            home = _threads.current_home()
            if home.raised is None:
                home.raised = error
            return Status.E_FAIL

    return ctypes.CFUNCTYPE(restype, c_void_p, *argtypes)(run)


_UNKNOWN = [_callback(_query_interface, c_void_p, c_void_p),
            _callback(_LentFile.add_ref, restype=c_uint32),
            _callback(_LentFile.release, restype=c_uint32)]
_DISPATCH = _UNKNOWN + [
    _callback(_get_type_info_count, c_void_p),
    _callback(_get_type_info, c_uint32, c_uint32, c_void_p),
    _callback(_get_ids_of_names, c_void_p, c_void_p, c_uint32, c_uint32, c_void_p),
    _callback(_invoke, c_int32, c_void_p, c_uint32, _abi.c_uint16, c_void_p, c_void_p, c_void_p,
              c_void_p),
]
_STREAM = _UNKNOWN + [
    _callback(_read, c_void_p, c_uint32, c_void_p),
    _callback(_write, c_void_p, c_uint32, c_void_p),
    _callback(_seek, c_int64, c_uint32, c_void_p),
    _callback(_set_size, c_uint64),
    _callback(_copy_to, c_void_p, c_uint64, c_void_p, c_void_p),
    _callback(_commit, c_uint32),
    _callback(_refuse),  # Revert
    _callback(_refuse, c_uint64, c_uint64, c_uint32),  # LockRegion
    _callback(_refuse, c_uint64, c_uint64, c_uint32),  # UnlockRegion
    _callback(_stat, c_void_p, c_uint32),
    _callback(_clone, c_void_p),
]


_FIRST_SLOT = 2 * sizeof(c_void_p)


def _table(callbacks):
    """A table of functions. It lives as long as the process: an object may outlive this module.

    In front of the first slot stand, as in the tables of C++, the offset of the object's start and
    the description of its type, which is none here.
    """
    addresses = [ctypes.cast(one, c_void_p).value for one in callbacks]
    return (c_void_p * (2 + len(addresses)))(None, None, *addresses)


_DISPATCH_TABLE = _table(_DISPATCH)
_STREAM_TABLE = _table(_STREAM)
