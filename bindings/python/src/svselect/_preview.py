"""Previews: what a draw is going to do, before anything is drawn."""

from __future__ import annotations

import html
from typing import Any, Callable, Mapping, Sequence

from ._errors import Message

Rows = Sequence[Sequence[str]]

_SAMPLE = {"cases_of_frame": "Cases of the frame", "expected_cases": "Cases of the sample",
           "expected_sum_of_weights": "Sum of the weights", "design_effect": "Design effect of unequal weights", "cost": "Cost"}
_STRATUM = ("units", "cases", "asked", "possible", "drawn")
_SHOWN = 60  # rows of a table


class Preview:
    """What a draw by a plan is going to do to a frame; true unless it fails whatever it draws.

    ok        the same
    messages  what a draw would say, and advice
    sample    the sample to expect over all stages: numbers of cases, sums of weights, the design effect. Empty if there are
              no numbers, and so is `stages`
    stages    a dict for each stage, with "strata" as a list of dicts; the names are those of ``svselect preview --json``
    """

    def __init__(self, ok: bool, messages: list[Message], found: Mapping[str, Any]) -> None:
        self.ok = ok
        self.messages = messages
        self.sample: dict[str, Any] = found.get("sample", {})
        self.stages: list[dict[str, Any]] = found.get("stages", [])

    def __bool__(self) -> bool:
        return self.ok

    def strata(self, stage: int = 1) -> dict[str, list]:
        """The strata of a stage as columns, which ``pandas.DataFrame()`` and ``polars.DataFrame()`` take: the variables that
        identify a stratum, its units and cases, the units asked for, possible and to be drawn, and the smallest and largest
        probability and weight of its units. KeyError if there is no such stage."""
        found = next((one for one in self.stages if one["stage"] == stage), None)
        if found is None:
            raise KeyError(f"the preview has no stage {stage}")
        columns: dict[str, list] = {name: [row["values"][name] for row in found["strata"]] for name in found["variables"]}
        for name in _STRATUM:
            columns[name] = [row.get(name) for row in found["strata"]]
        for name in ("probability", "weight"):
            for end in ("min", "max"):
                columns[f"{name}_{end}"] = [row.get(name, {}).get(end) for row in found["strata"]]
        return columns

    def _tables(self) -> list[tuple[str, Rows]]:
        if not self.sample:
            return []
        numbers = [[label, _text(self.sample[name])] for name, label in _SAMPLE.items() if name in self.sample]
        tables = [("Sample to be expected", [["", "Number"], *numbers])]
        for stage in self.stages:
            columns = self.strata(stage["stage"])
            rows = [[_text(value) for value in row] for row in zip(*columns.values())]
            more = [["…"] * len(columns)] if len(rows) > _SHOWN else []
            tables.append((f"Stage {stage['stage']}: {stage['method']}", [list(columns), *rows[:_SHOWN], *more]))
        return tables

    def _said(self) -> list[str]:
        return ["a draw can begin" if self.ok else "a draw fails", *map(str, self.messages)]

    def __repr__(self) -> str:
        parts = [f"{title}\n{_plain(rows)}" for title, rows in self._tables()]
        return "\n\n".join([*parts, "\n".join(self._said())])

    def _repr_html_(self) -> str:
        tables = "".join(f"<h4>{html.escape(title)}</h4><table>{_cells(rows)}</table>" for title, rows in self._tables())
        return tables + "".join(f"<p>{html.escape(line)}</p>" for line in self._said())


def _text(value: Any) -> str:
    return "" if value is None else f"{value:.6g}" if isinstance(value, float) else str(value)


def _plain(rows: Rows) -> str:
    widths = [max(map(len, column)) for column in zip(*rows)]
    justify: Callable[[int], Callable[..., str]] = lambda place: str.ljust if place == 0 else str.rjust
    return "\n".join("  ".join(justify(i)(cell, width) for i, (cell, width) in enumerate(zip(row, widths))).rstrip()
                     for row in rows)


def _cells(rows: Rows) -> str:
    return "".join("<tr>" + "".join(f"<{tag}>{html.escape(cell)}</{tag}>" for cell in row) + "</tr>"
                   for tag, row in (("th" if place == 0 else "td", row) for place, row in enumerate(rows)))
