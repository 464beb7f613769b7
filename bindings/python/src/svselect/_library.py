"""The C interface, svselect.h, by ctypes, which lets go of the interpreter lock during each call."""

from __future__ import annotations

import ctypes
import functools
import json
import os
import signal
import threading
from pathlib import Path
from typing import Any, Callable, NamedTuple, Optional

from ._errors import DrawError, FrameError, Message, PlanError

OK, ERROR_ARGUMENT, ERROR_PLAN, ERROR_FRAME, ERROR_DRAW, CANCELLED, ERROR_MEMORY = range(7)
SAMPLE, JOINT, STRATA = range(3)


class Progress(NamedTuple):
    """How far a call is; only as exact as a display needs.

    step:  "read", "draw" or "finish"
    pass_: over the cases of the frame, from 1; 0 before the first. A draw makes one for each stage and one more.
    cases: read so far, of the pass or of the stream
    total: cases of the frame; -1 if unknown
    """

    step: str
    pass_: int
    cases: int
    total: int


class _Progress(ctypes.Structure):
    _fields_ = [("step", ctypes.c_int32), ("pass_", ctypes.c_int32), ("cases", ctypes.c_int64),
                ("total", ctypes.c_int64)]


class ArrowArrayStream(ctypes.Structure):
    """Arrow's C stream interface; only `release` is ever called from here."""

    _fields_ = [("get_schema", ctypes.c_void_p), ("get_next", ctypes.c_void_p), ("get_last_error", ctypes.c_void_p),
                ("release", ctypes.c_void_p), ("private_data", ctypes.c_void_p)]


_Poll = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.POINTER(_Progress))
_Handle = ctypes.c_void_p
_Out = ctypes.POINTER(_Handle)
_Text = ctypes.c_char_p

_FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {
    "svs_version": (_Text, []),
    "svs_open": (ctypes.c_int, [ctypes.c_int, _Out]),
    "svs_close": (None, [_Handle]),
    "svs_messages": (_Text, [_Handle]),
    "svs_frame_arrow": (ctypes.c_int, [_Handle, ctypes.c_void_p, _Poll, ctypes.c_void_p, _Out]),
    "svs_frame_file": (ctypes.c_int, [_Handle, _Text, _Text, _Out]),
    "svs_frame_close": (None, [_Handle]),
    "svs_describe": (ctypes.c_int, [_Handle, _Handle, _Poll, ctypes.c_void_p, _Out]),
    "svs_check": (ctypes.c_int, [_Handle, _Text, ctypes.c_size_t, _Handle, _Text, _Poll, ctypes.c_void_p, _Out]),
    "svs_preview": (ctypes.c_int, [_Handle, _Text, ctypes.c_size_t, _Handle, _Text, _Poll, ctypes.c_void_p, _Out]),
    "svs_draw": (ctypes.c_int, [_Handle, _Text, ctypes.c_size_t, _Handle, _Text, _Poll, ctypes.c_void_p, _Out]),
    "svs_result_table": (ctypes.c_int, [_Handle, _Handle, ctypes.c_int, ctypes.c_void_p]),
    "svs_result_json": (_Text, [_Handle]),
    "svs_result_close": (None, [_Handle]),
}


@functools.lru_cache(maxsize=None)
def library() -> ctypes.CDLL:
    """The library, from this package. Its symbols stay its own (RTLD_LOCAL): another DuckDB in the process is another."""
    loaded = ctypes.CDLL(str(Path(__file__).parent / "lib" / "libsvselect_c.so"), mode=os.RTLD_LOCAL | os.RTLD_NOW)
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(loaded, name)
        function.restype, function.argtypes = result, arguments
    return loaded


def version() -> str:
    return library().svs_version().decode()


class Owned:
    """A handle of the library that is closed with this object, in the process that it was made in."""

    def __init__(self, handle: ctypes.c_void_p, close: str) -> None:
        self._handle, self._close, self._process = handle, close, os.getpid()

    def get(self) -> ctypes.c_void_p:
        if self._process != os.getpid():
            raise RuntimeError("a frame or sample can't be used in a process that was forked after it was made")
        return self._handle

    def __del__(self) -> None:
        if self._process == os.getpid():
            getattr(library(), self._close)(self._handle)

    def __reduce__(self):
        raise TypeError("a frame or sample can't be pickled; write it to a file")


class _Watcher:
    """Polls for a call: tells the progress, and keeps the exception that ends the call.

    An interrupt (Ctrl-C) could be raised at any place of the callback, also where nothing can catch it. So meanwhile it is only
    noted, and its handler is called from the poll.
    """

    def __init__(self, progress: Optional[Callable[[Progress], object]]) -> None:
        self._progress = progress
        self.thrown: Optional[BaseException] = None
        self._handler: Any = None
        self._noted: Optional[tuple[Any, Any]] = None
        self.poll = _Poll(self._ask)

    def _ask(self, _data: Any, progress: Any) -> int:
        try:
            if self._noted is not None:
                noted, self._noted = self._noted, None
                self._handler(*noted)
            if self._progress is not None:
                now = progress.contents
                self._progress(Progress(("read", "draw", "finish")[now.step], now.pass_, now.cases, now.total))
            return 0
        except BaseException as error:  # it must not leave a callback of C
            self.thrown = error
            return 1

    def __enter__(self) -> "_Watcher":
        if threading.current_thread() is threading.main_thread():
            handler = signal.getsignal(signal.SIGINT)
            if callable(handler):
                self._handler = handler
                signal.signal(signal.SIGINT, lambda number, frame: setattr(self, "_noted", (number, frame)))
        return self

    def __exit__(self, *_: Any) -> None:
        if self._handler is None:
            return
        signal.signal(signal.SIGINT, self._handler)
        if self._noted is not None and self.thrown is None:  # it came after the last poll
            self._handler(*self._noted)


class Session:
    """One call or a few of them, with their messages."""

    def __init__(self, threads: int = 0) -> None:
        handle = _Handle()
        if library().svs_open(threads, ctypes.byref(handle)) != OK:
            raise ValueError(f"threads: {threads} isn't a number of threads: 0 to 1024")
        self._owned = Owned(handle, "svs_close")

    @property
    def handle(self) -> ctypes.c_void_p:
        return self._owned.get()

    def messages(self) -> list[Message]:
        said = json.loads(library().svs_messages(self.handle).decode("utf-8", "replace"))
        return [Message(one["level"], one["text"]) for one in said]

    def call(self, function: str, *arguments: Any, progress: Optional[Callable[[Progress], object]] = None) -> "tuple[int, ctypes.c_void_p]":
        """Calls a function that polls and hands out a handle. What the polls throw is thrown here."""
        out = _Handle()
        with _Watcher(progress) as watcher:
            status = getattr(library(), function)(self.handle, *arguments, watcher.poll, None, ctypes.byref(out))
        if watcher.thrown is not None:
            raise watcher.thrown
        return status, out

    def raise_for(self, status: int) -> None:
        """Raises what a status stands for, unless it is good."""
        if status == OK:
            return
        messages = self.messages()
        kinds = {ERROR_PLAN: PlanError, ERROR_FRAME: FrameError, ERROR_DRAW: DrawError}
        if status in kinds:
            raise kinds[status](messages)
        if status == ERROR_MEMORY:
            raise MemoryError("svselect is out of memory")
        raise ValueError("\n".join(message.text for message in messages))
