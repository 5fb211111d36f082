"""Calls through IDispatch: arguments in, result and out-arguments back, failures as exceptions."""

from ctypes import addressof, byref, c_char_p, c_int32, c_uint16, c_uint32, c_void_p

from . import _abi, _threads, _values
from ._abi import DISPPARAMS, EXCEPINFO, GUID, GUID_NULL, LOCALE_USER_DEFAULT, VARIANT, slot
from ._errors import ComError, Status
from ._library import load_failure, platform, take_bstr, wide
from ._values import MISSING

_get_type_info = slot(4, c_uint32, c_uint32, c_void_p)
_get_ids_of_names = slot(5, c_void_p, c_void_p, c_uint32, c_uint32, c_void_p)
_invoke = slot(6, c_int32, c_void_p, c_uint32, c_uint16, c_void_p, c_void_p, c_void_p,
               c_void_p)
_get_source = slot(4, c_void_p)
_get_description = slot(5, c_void_p)

_NULL = byref(GUID_NULL)
_NO_ARGUMENTS = DISPPARAMS()
_BY_REFERENCE = _abi.VT_BYREF | _abi.VT_VARIANT
_PUT_NAME = c_int32(_abi.DISPID_PROPERTYPUT)
_NOWHERE = 0xFFFFFFFF


def type_info(pointer):
    """The type information of an object, counted; 0 when it has none."""
    info = c_void_p()
    status = _get_type_info(pointer, 0, LOCALE_USER_DEFAULT, byref(info))
    return info.value or 0 if status >= 0 else 0


def id_of_name(pointer, name):
    """The id of a member, or None when the object has no such member."""
    text = wide(name)
    names = (c_char_p * 1)(text)
    found = c_int32()
    status = _get_ids_of_names(pointer, _NULL, names, 1, LOCALE_USER_DEFAULT, byref(found))
    return found.value if status >= 0 else None


def thread_error():
    """Takes the thread's error object away: its description and source; empty texts for none."""
    info = c_void_p()
    if platform().get_error_info(0, byref(info)) != Status.S_OK or not info.value:
        return "", ""
    text, source = c_void_p(), c_void_p()
    _get_description(info.value, byref(text))
    _get_source(info.value, byref(source))
    _abi.release(info.value)
    return take_bstr(text.value), take_bstr(source.value)


def bind(function, arguments, keywords):
    """The arguments in the declared order, MISSING for those left out."""
    inputs = function.inputs
    if len(arguments) > len(inputs):
        raise TypeError(f"{function.name}() takes {len(inputs)} arguments "
                        f"but {len(arguments)} were given")
    values = list(arguments) + [MISSING] * (len(inputs) - len(arguments))
    if keywords:
        places = {parameter.name.lower(): at for at, parameter in enumerate(inputs)}
        for name, value in keywords.items():
            at = places.get(name.lower())
            if at is None:
                raise TypeError(f"{function.name}() has no argument {name!r}")
            if values[at] is not MISSING:
                raise TypeError(f"{function.name}() got the argument {name!r} twice")
            values[at] = value
    for parameter, value in zip(inputs, values):
        if value is MISSING and not parameter.optional:
            raise TypeError(f"{function.name}() needs the argument {parameter.name!r}")
    return values


def call(target, function, arguments=(), keywords=None):
    """Calls a method or the get of a property. Returns the result and the out-arguments: nothing,
    the one value that there is, or a tuple of them."""
    values = bind(function, arguments, keywords) if function.parameters or arguments or keywords \
        else ()
    return invoke(target, function.id, function.kind, function.parameters, values,
                  f"{function.owner}.{function.name}", function.result is not None)


def put(target, function, arguments, value):
    """Calls the put of a property."""
    values = bind(function, arguments, None)
    parameters = (*function.parameters, function.result)
    invoke(target, function.id, function.kind, parameters, [*values, value],
           f"{function.owner}.{function.name}")


def invoke(target, member, kind, parameters, values, where, returns=True):
    """`parameters` are those of `values` and the out-arguments between them; None: all are VARIANT.
    Of a put, the last value is the new one."""
    arguments = _Arguments(parameters, values, kind) if values or parameters else None
    home = _threads.enter()
    around = home.raised  # of the call whose Python file makes this one
    try:
        target._use_at(home)
        home.raised = None
        value = _run(target._pointer, member, kind, arguments, home, where)
        if kind == _abi.DISPATCH_METHOD:
            home.error_text = thread_error()[0] if value is False else ""
        if arguments is not None and arguments.outs:
            return arguments.outcome([value] if returns else [])
        return value
    finally:
        home.raised = around
        home.calls -= 1
        if arguments is not None:
            arguments.forget()


def _run(pointer, member, kind, arguments, home, where):
    """One IDispatch::Invoke; returns the result."""
    result, exception, wrong = VARIANT(), EXCEPINFO(), c_uint32(_NOWHERE)
    given = _NO_ARGUMENTS if arguments is None else arguments.given
    status = _invoke(pointer, member, _NULL, LOCALE_USER_DEFAULT, kind, byref(given),
                     byref(result), byref(exception), byref(wrong))
    raised, home.raised = home.raised, None
    if status >= 0 and raised is None:
        return _values.take(result)
    texts = [take_bstr(text)
             for text in (exception.source, exception.description, exception.help_file)]
    if raised is not None:
        _values.discard(result)
        raise raised
    if status & 0xFFFFFFFF == Status.DISP_E_EXCEPTION and exception.scode:
        status = exception.scode
    name = arguments.name_at(wrong.value) if arguments and wrong.value != _NOWHERE else ""
    error = ComError(status, texts[1], texts[0], f"{where}({name})" if name else where)
    home.error_text = error.description
    raise error


class _Arguments:
    """The arguments of one call, last one first, as IDispatch takes them."""

    def __init__(self, parameters, values, kind):
        self.parameters = parameters
        self.keep = []
        self.outs = []
        self.variants = ()
        slots = self._slots(parameters, values)
        while slots and slots[-1] is MISSING:
            slots.pop()
        count = len(slots)
        self.variants = (VARIANT * count)()
        try:
            for at, value in enumerate(slots):
                self._put(self.variants[count - 1 - at], at, value)
        except BaseException:
            self.forget()
            raise
        self.given = DISPPARAMS(addressof(self.variants), None, count, 0)
        if kind == _abi.DISPATCH_PROPERTYPUT:
            self.given.named = addressof(_PUT_NAME)
            self.given.named_count = 1

    @staticmethod
    def _slots(parameters, values):
        """What is passed: the values, and None where an out-argument stands between them."""
        if parameters is None or len(parameters) == len(values):
            return list(values)
        remaining = iter(values)
        return [next(remaining) if parameter.is_in else None for parameter in parameters]

    def _put(self, variant, at, value):
        parameter = None if self.parameters is None else self.parameters[at]
        try:
            if parameter is None or not parameter.is_out:
                _values.put(variant, value, parameter and parameter.vt, self.keep)
                return
            out = VARIANT()
            self.outs.append(out)
            if parameter.is_in:
                _values.put(out, value, parameter.vt, self.keep)
                _values.own(out)
            variant.pointer = addressof(out)
            variant.vt = _BY_REFERENCE
        except (TypeError, OverflowError) as error:
            name = parameter.name if parameter else at + 1
            raise type(error)(f"argument {name}: {error}") from None

    def name_at(self, place):
        """The name of the argument that stands at `place` in the call's order."""
        at = len(self.variants) - 1 - place
        if self.parameters is None or not 0 <= at < len(self.parameters):
            return ""
        return self.parameters[at].name

    def outcome(self, results):
        results += [_values.take(out) for out in self.outs]
        self.outs = []
        return results[0] if len(results) == 1 else tuple(results)

    def forget(self):
        for variant in self.variants:
            _values.forget(variant)
        for out in self.outs:
            _values.discard(out)


def create(name):
    """A counted pointer to the IDispatch of a new object of the class that a ProgID or "{class id}"
    names."""
    if not isinstance(name, str):
        raise TypeError(f"a class has a name, not {type(name).__name__}")
    home = _threads.current_home()
    clsid, pointer = GUID(), c_void_p()
    layer = platform()
    status = layer.class_from_text(wide(name), byref(clsid))
    if status >= 0:
        status = layer.create_instance(byref(clsid), None, _abi.CLSCTX_INPROC_SERVER,
                                       byref(_abi.IID_IDISPATCH), byref(pointer))
    if status < 0:
        error = ComError(status, member=f"CreateObject({name!r})")
        if load_failure():
            error = ComError(status, f"{error.description}; {load_failure()}", member=error.member)
        home.error_text = error.description
        raise error
    return pointer.value
