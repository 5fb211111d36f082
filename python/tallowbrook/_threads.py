"""Which thread gives a reference back.

Some objects of the component count their references plainly: such a count may only be changed by
the thread that uses the object. Python's collector, though, drops objects on whatever thread it
happens to run. So every object knows the home (the `Home` of a thread) where it was used last. A
reference that is dropped elsewhere is laid into that home's queue, and the thread gives it back
with its next call of this package. When the thread has ended, whoever drops the reference gives it
back, one at a time.

When the interpreter ends, a daemon thread may stand inside of the component, which may be about to
use a Python file; the interpreter would tear the thread down in the midst of it. So the end waits
for the calls that run, and other threads begin no new ones.
"""

import atexit
import threading
import time
from collections import deque

from ._abi import release


_homes = {}  # of the threads that have not ended, by id


class Home:
    __slots__ = ("dropped", "open", "turn", "error_text", "raised", "calls")

    def __init__(self):
        self.dropped = deque()  # interface pointers to give back
        self.open = True
        self.turn = threading.RLock()  # who gives back for a thread that has ended
        self.error_text = ""  # what the thread's last method call left
        self.raised = None  # what a Python file raised while the component used it
        self.calls = 0  # how many calls the thread is in
        _homes[id(self)] = self

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
        _homes.pop(id(self.home), None)
        self.home.open = False
        self.home.settle_after_end()


class _Local(threading.local):
    def __init__(self):
        self.home = Home()
        self.guard = _Guard(self.home)


_local = _Local()
_process_ends = []  # the home of the thread that ends the interpreter
_LONGEST_WAIT = 5.0  # seconds


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


def enter():
    """The calling thread's home, at the beginning of a call. At its end `calls` is one less."""
    home = current_home()
    home.calls += 1
    if _process_ends and _process_ends[0] is not home:
        home.calls -= 1
        threading.Event().wait()  # for the end
    return home


@atexit.register
def _end():
    ender = _local.home
    _process_ends.append(ender)
    last = time.monotonic() + _LONGEST_WAIT
    others = [home for home in list(_homes.values()) if home is not ender]
    while any(home.calls for home in others) and time.monotonic() < last:
        time.sleep(0.001)
