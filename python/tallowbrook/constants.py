"""The enumerations of the type library, each an enum.IntEnum."""

import enum as _enum

from ._types import types as _types

__all__ = []

for _one in _types().enumerations:
    _made = _enum.IntEnum(_one.name, [(value.name, value.value) for value in _one.values],
                          module=__name__)
    _made.__doc__ = _one.help
    globals()[_one.name] = _made
    __all__.append(_one.name)
