"""Draws probability samples by a sampling plan.

A plan says how: stages, strata, clusters, methods and sizes. A frame says from what: a data frame of polars or pandas, a
table of pyarrow, a relation of DuckDB, whatever else hands out an Arrow stream, or the path of a data file.

    import svselect as sv

    plan = sv.Plan("Schools", [sv.Stage("simple_wor", strata=["type"], n=20)])
    sample = plan.draw(frame, seed=4711)
    sample.sample.to_pandas()

Same plan, frame, options and seed: the same sample, which is also the one that the program ``svselect`` draws.

Threads: draws of several threads take turns; the interpreter lock is free meanwhile. Processes: a frame or sample can't be
used in a process that was forked after it was made, nor pickled; a plan can.
"""

from ._errors import DrawError, FrameError, Message, PlanError, SvselectError
from ._frame import Frame
from ._library import Progress
from ._plan import CASES, Check, Plan, Stage
from ._preview import Preview
from ._sample import Sample
from ._table import Table

__all__ = [
    "CASES", "Check", "DrawError", "Frame", "FrameError", "Message", "Plan", "PlanError", "Preview", "Progress", "Sample",
    "Stage", "SvselectError", "Table",
]


def __getattr__(name: str) -> str:
    # Asked of the library, which is only loaded when it is needed.
    if name == "__version__":
        from ._library import version
        return version()
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
