"""Tables of a draw."""

from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Optional

from ._library import ArrowArrayStream, Owned, Session, library

if TYPE_CHECKING:
    import pandas
    import polars
    import pyarrow

_Release = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
_Destructor = ctypes.CFUNCTYPE(None, ctypes.c_void_p)  # not py_object: the capsule is dying
_NAME = b"arrow_array_stream"
_live: dict[int, ArrowArrayStream] = {}  # the streams of capsules, by their addresses

_new = ctypes.pythonapi.PyCapsule_New
_new.restype, _new.argtypes = ctypes.py_object, [ctypes.c_void_p, ctypes.c_char_p, _Destructor]
_pointer = ctypes.PYFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p, ctypes.c_char_p)(("PyCapsule_GetPointer", ctypes.pythonapi))


@_Destructor
def _destroy(capsule: int) -> None:
    stream = _live.pop(_pointer(capsule, _NAME), None)
    if stream is not None and stream.release:  # nobody has taken it
        _Release(stream.release)(ctypes.addressof(stream))


class Table:
    """A table that hands out Arrow streams, as often as wanted: ``polars.DataFrame(table)``, ``pyarrow.table(table)``."""

    def __init__(self, result: Owned, which: int) -> None:
        self._result, self._which = result, which
        self._capsule()  # raises if there is no such table

    def _capsule(self) -> Any:
        session = Session()
        stream = ArrowArrayStream()
        address = ctypes.addressof(stream)
        session.raise_for(library().svs_result_table(session.handle, self._result.get(), self._which, address))
        _live[address] = stream
        return _new(address, _NAME, _destroy)

    def __arrow_c_stream__(self, requested_schema: Optional[object] = None) -> Any:
        """A new Arrow stream. A requested schema is ignored, as the protocol allows."""
        return self._capsule()

    def to_pyarrow(self) -> "pyarrow.Table":
        import pyarrow
        return pyarrow.RecordBatchReader.from_stream(self).read_all()

    def to_polars(self) -> "polars.DataFrame":
        import polars
        return polars.DataFrame(self)

    def to_pandas(self) -> "pandas.DataFrame":
        """By pyarrow, which pandas takes Arrow in with."""
        return self.to_pyarrow().to_pandas()

    def _frame(self) -> Any:
        """A data frame of whichever library is there."""
        try:
            return self.to_polars()
        except ImportError:
            return self.to_pandas()

    def columns(self) -> dict[str, list]:
        """The values as lists of Python's own types, with None for what is missing. Needs polars or pyarrow."""
        try:
            return self.to_polars().to_dict(as_series=False)
        except ImportError:
            return self.to_pyarrow().to_pydict()

    def __repr__(self) -> str:
        try:
            return repr(self._frame())
        except ImportError:
            return "<svselect.Table: install polars or pandas to see it>"

    def _repr_html_(self) -> Optional[str]:
        try:
            return self._frame()._repr_html_()
        except ImportError:
            return None

    def write(self, path: Any) -> None:
        """Writes a Parquet (.parquet) or CSV file (.csv), by pyarrow or polars, whichever is there."""
        name = str(path)
        if name.endswith(".parquet"):
            try:
                import pyarrow.parquet
                pyarrow.parquet.write_table(self.to_pyarrow(), path)
            except ImportError:
                self.to_polars().write_parquet(path)
        elif name.endswith(".csv"):
            try:
                self.to_polars().write_csv(path)
            except ImportError:
                self.to_pandas().to_csv(path, index=False)
        else:
            raise ValueError(f"{name}: a table can be written as .parquet and .csv")
