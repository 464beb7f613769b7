"""Frames: what is drawn from."""

from __future__ import annotations

import ctypes
import json
import os
from typing import Any, Callable, Optional, Union

from ._errors import FrameError, Message
from ._library import Owned, Progress, Session, library


class Frame:
    """A frame that is read once and drawn from many times.

    `data` is any object with an Arrow stream (``__arrow_c_stream__``: data frames of polars and pandas, tables and readers of
    pyarrow, relations of DuckDB), which is copied, or the path of a data file (.sav, .parquet, .csv, .tsv, .json, .ndjson),
    which is opened anew by each use. ``schema`` is the path of a Table Schema for such a file, in place of the one beside it.

    Columns can be truth values, numbers, decimals, texts, dates, times, timestamps without a time zone, and dictionaries or
    categories of these. Any other column is a FrameError, which names it.
    """

    def __init__(self, data: Any, *, schema: Union[str, os.PathLike, None] = None, threads: int = 0,
                 progress: Optional[Callable[[Progress], object]] = None) -> None:
        session = Session(threads)
        if isinstance(data, (str, os.PathLike)):
            out = ctypes.c_void_p()
            status = library().svs_frame_file(session.handle, os.fsencode(data),
                                              None if schema is None else os.fsencode(schema), ctypes.byref(out))
        elif schema is not None:
            raise TypeError("schema: only a data file can have one")
        else:
            capsule = _stream_of(data)
            status, out = session.call("svs_frame_arrow", _pointer(capsule, b"arrow_array_stream"), progress=progress)
        session.raise_for(status)
        self._owned = Owned(out, "svs_frame_close")

    @property
    def _handle(self) -> ctypes.c_void_p:
        return self._owned.get()

    def describe(self, *, threads: int = 0) -> dict[str, Any]:
        """What is in the frame: ``cases`` (their number) and ``variables``, a list with for each its ``name``, ``type`` ("number"
        or "string"), ``column_type``, ``label``, ``level``, the numbers of cases with a ``valid``, a ``missing`` and a
        ``user_missing`` value, of ``different`` values, the ``smallest`` and ``largest`` number, and the most ``frequent`` values.
        """
        session = Session(threads)
        status, out = session.call("svs_describe", self._handle)
        session.raise_for(status)
        result = Owned(out, "svs_result_close")
        return json.loads(library().svs_result_json(result.get()).decode("utf-8", "replace"))


def _stream_of(data: Any) -> Any:
    export = getattr(data, "__arrow_c_stream__", None)
    if export is None:
        raise TypeError(f"a frame can't be made of {type(data).__name__!r}: it has no Arrow stream (__arrow_c_stream__) "
                        "and is no path of a data file")
    try:
        return export()
    except Exception as error:  # of whichever library the object comes from
        raise FrameError([Message("error", f"frame: {type(data).__name__} has no Arrow stream: {error}")]) from error


def _pointer(capsule: Any, name: bytes) -> int:
    get = ctypes.pythonapi.PyCapsule_GetPointer
    get.restype, get.argtypes = ctypes.c_void_p, [ctypes.py_object, ctypes.c_char_p]
    return get(capsule, name)


def frame_of(data: Any, threads: int, progress: Optional[Callable[[Progress], object]] = None) -> Frame:
    """The frame itself, or a frame of the data."""
    return data if isinstance(data, Frame) else Frame(data, threads=threads, progress=progress)
