"""Which thread gives a reference back.

Some objects of the component count their references plainly: such a count may only be changed by
the thread that uses the object. Python's collector, though, drops objects on whatever thread it
happens to run. So every object knows the home (the `Home` of a thread) where it was used last. A
reference that is dropped elsewhere is laid into that home's queue, and the thread gives it back
with its next call of this package. When the thread has ended, whoever drops the reference gives it
back, one at a time.
"""

import atexit
import threading
from collections import deque

from ._abi import release


class Home:
    __slots__ = ("dropped", "open", "turn", "error_text", "raised")

    def __init__(self):
        self.dropped = deque()  # interface pointers to give back
        self.open = True
        self.turn = threading.RLock()  # who gives back for a thread that has ended
        self.error_text = ""  # what the thread's last method call left
        self.raised = None  # what a Python file raised while the component used it

    def settle(self):
        """Gives back what other threads dropped; on the home's own thread or after its end."""
        dropped = self.dropped
        while dropped:
            try:
                pointer = dropped.popleft()
            except IndexError:
                return
            release(pointer)

    def settle_after_end(self):
        with self.turn:
            self.settle()


class _Guard:
    """Lives in the thread's local storage, and dies on the thread when that ends."""

    def __init__(self, home):
        self.home = home

    def __del__(self):
        self.home.open = False
        self.home.settle_after_end()


class _Local(threading.local):
    def __init__(self):
        self.home = Home()
        self.guard = _Guard(self.home)


_local = _Local()
_process_ends = []


def current_home():
    """The calling thread's home, with what others dropped given back."""
    home = _local.home
    if home.dropped:
        home.settle()
    return home


def give_back(pointer, home, local=_local, process_ends=_process_ends, release=release):
    """Drops a reference whose object was used last at `home`; on any thread."""
    if process_ends:
        return  # the process gives back everything
    if local.home is home:
        release(pointer)
        return
    home.dropped.append(pointer)
    if not home.open:
        home.settle_after_end()


@atexit.register
def _end():
    _process_ends.append(True)
