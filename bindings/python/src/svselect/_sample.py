"""Samples: what a draw gives."""

from __future__ import annotations

import functools
import json
from typing import TYPE_CHECKING, Any, Union

from ._errors import Message
from ._library import JOINT, SAMPLE, STRATA, Owned, library
from ._table import Table

if TYPE_CHECKING:
    import numpy

_UNIT, _PROBABILITY = "Unit_No_", "Joint_Prob_{}_"


class Sample:
    """The outcome of a draw. ``messages`` are its warnings and remarks, which are worth reading."""

    def __init__(self, result: Owned, messages: list[Message]) -> None:
        self._result = result
        self.messages = messages

    @functools.cached_property
    def sample(self) -> Table:
        """The selected cases, one row each: the variables kept, those that the plan writes, and the final weight."""
        return Table(self._result, SAMPLE)

    @functools.cached_property
    def strata(self) -> Table:
        """One row for each stratum of each stage, ascending: ``stage``, the variables that identify the stratum, ``requested``
        and ``drawn`` (units, or hits), ``requested_rate`` and ``drawn_rate`` (of the stratum's units)."""
        return Table(self._result, STRATA)

    @functools.cached_property
    def report(self) -> dict[str, Any]:
        """The report of the run: status, messages, remarks, notes, tables, and the facts that it takes to repeat it."""
        return json.loads(library().svs_result_json(self._result.get()).decode("utf-8", "replace"))

    @functools.cached_property
    def _joint(self) -> Table:
        return Table(self._result, JOINT)

    def joint(self, **stratum: Any) -> "Union[Table, numpy.ndarray]":
        """The joint inclusion probabilities of the units selected in the first stage; a ValueError unless the draw was asked
        for them and the design has them.

        Without an argument the whole, a row for each unit: its stratum and cluster, its number in the stratum (``Unit_No_``,
        from 1), and its joint probabilities with unit k of the stratum (``Joint_Prob_k_``). With a value for each variable
        of the strata, as ``joint(region="north")``, the matrix of that stratum as joint_matrix() gives it.
        """
        return self.joint_matrix(**stratum) if stratum else self._joint

    def joint_matrix(self, **stratum: Any) -> "numpy.ndarray":
        """The joint probabilities of a stratum: an array of shape (n, n) for its n selected units in the order of their numbers,
        with the units' own probabilities on the diagonal. Needs NumPy, and polars or pyarrow. A design without strata takes no
        argument. KeyError if no unit was selected in that stratum, or there is no such variable."""
        import numpy
        columns = self._joint.columns()
        for name in stratum:
            if name not in columns:
                raise KeyError(f"the joint probabilities have no variable {name!r}")
        rows = [i for i in range(len(columns[_UNIT])) if all(columns[k][i] == v for k, v in stratum.items())]
        if not rows:
            raise KeyError(f"no unit was selected in the stratum {stratum}")
        if [columns[_UNIT][i] for i in rows] != list(range(1, len(rows) + 1)):
            raise ValueError(f"{stratum} isn't one stratum: give a value for each variable of the strata")
        matrix = [[columns[_PROBABILITY.format(k + 1)][i] for k in range(len(rows))] for i in rows]
        return numpy.array(matrix, dtype=float)

    def write(self, path: Any) -> None:
        """Writes the sample to a Parquet (.parquet) or CSV file (.csv)."""
        self.sample.write(path)

    def __repr__(self) -> str:
        return repr(self.sample)

    def _repr_html_(self) -> Any:
        return self.sample._repr_html_()
