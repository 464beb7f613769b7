"""Plans: how a sample is drawn."""

from __future__ import annotations

import json
import operator
import os
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Callable, Mapping, Optional, Sequence, Union

from ._errors import Message
from ._frame import frame_of
from ._library import CANCELLED, ERROR_ARGUMENT, ERROR_FRAME, ERROR_MEMORY, OK, Owned, Progress, Session, library
from ._preview import Preview
from ._sample import Sample


class _Cases:
    """The measure of size that is a unit's number of cases."""

    def __repr__(self) -> str:
        return "CASES"

    def __reduce__(self) -> str:
        return "CASES"


CASES = _Cases()

# A number for all strata; the name of a variable of the frame; or a number for each category, or tuple of categories, of
# the strata (or of the variables of `by`).
Request = Union[int, float, str, Mapping[Any, Union[int, float]]]


def _names(given: Union[str, Sequence[str]], what: str) -> list[str]:
    names = [given] if isinstance(given, str) else list(given)
    if not all(isinstance(name, str) for name in names):
        raise TypeError(f"{what}: a name or a list of names, not {given!r}")
    return names


@dataclass
class Stage:
    """A stage of a plan.

    method    how units are selected: "simple_wor", "simple_wr", "simple_systematic", "simple_chromy", "pps_wor", "pps_wr",
              "pps_systematic", "pps_chromy", "pps_brewer", "pps_murthy" or "pps_sampford"
    strata    variables; each combination of their categories is drawn from separately
    clusters  variables; each combination of their categories is a unit. Without them each case is one
    n         units to draw from each stratum: a number, the name of a variable, or a dict from category (or tuple of categories)
              to number
    rate      instead of n: the fraction of the units to draw
    by        the variables of such a dict, if they aren't the strata
    min, max  the fewest and most units that a rate gives
    size      for the pps_ methods the measure of size: the name of a variable, or CASES, a unit's number of cases
    size_min, size_max   smaller and larger sizes count as these
    order     variables that the units of each stratum are ordered by before the draw; "-income" in descending order
    serpentine True to reverse every second run of that order
    certainty True to take units with n x >= X for certain, x being the size and X the total of the stratum, before the others are
              drawn; or a share of that limit, as 0.8. For pps_ methods without replacement
    label     name of the stage in tables
    write     new variables of the sample, by what they hold: a dict from "probability", "weight", "cumulative_weight",
              "population", "sample_size", "rate", "index" or "certain" to a name

    Words and numbers are checked when the plan is used.
    """

    method: str
    strata: Union[str, Sequence[str]] = ()
    clusters: Union[str, Sequence[str]] = ()
    n: Optional[Request] = None
    rate: Optional[Request] = None
    by: Union[str, Sequence[str]] = ()
    min: Optional[int] = None
    max: Optional[int] = None
    size: Union[str, _Cases, None] = None
    size_min: Optional[float] = None
    size_max: Optional[float] = None
    label: Optional[str] = None
    order: Union[str, Sequence[str]] = ()
    serpentine: bool = False
    certainty: Union[bool, float] = False
    write: Mapping[str, str] = field(default_factory=dict)

    def _request(self, given: Request) -> Any:
        if isinstance(given, str):
            return {"variable": given}
        if not isinstance(given, Mapping):
            return _number(given)
        by = _names(self.by or self.strata, "by")
        rows = [[*_categories(key), _number(value)] for key, value in given.items()]
        if not by or any(len(row) != len(by) + 1 for row in rows):
            raise ValueError(f"{given!r} needs a category for each of {by} in each of its keys")
        return {"by": by, "rows": rows}

    def _json(self) -> dict[str, Any]:
        stage: dict[str, Any] = {}
        if self.label is not None:
            stage["label"] = self.label
        for name in ("strata", "clusters"):
            if names := _names(getattr(self, name), name):
                stage[name] = names
        stage["method"] = self.method
        for name in ("n", "rate"):
            if (given := getattr(self, name)) is not None:
                stage[name] = self._request(given)
        for name in ("min", "max"):
            if (given := getattr(self, name)) is not None:
                stage[name] = _number(given)
        bounds = {name: _number(given) for name, given in (("min", self.size_min), ("max", self.size_max))
                  if given is not None}
        if self.size is CASES:
            stage["size"] = {"cases": True, **bounds} if bounds else "cases"
        elif self.size is not None:
            stage["size"] = {"variable": self.size, **bounds}
        elif bounds:
            raise ValueError("size_min and size_max bound a size; there is none")
        if order := _names(self.order, "order"):
            stage["order"] = order
        if self.serpentine:
            stage["serpentine"] = True
        if self.certainty is not False:
            stage["certainty"] = self.certainty if self.certainty is True else _number(self.certainty)
        if self.write:
            stage["write"] = dict(self.write)
        return stage


def _number(value: Any) -> Union[int, float]:
    """As JSON can have it, also of NumPy's types."""
    if isinstance(value, bool):
        raise TypeError(f"{value!r} isn't a number")
    try:
        return operator.index(value)
    except TypeError:
        return float(value)


def _categories(key: Any) -> list:
    parts = key if isinstance(key, tuple) else (key,)
    return [part if isinstance(part, str) else _number(part) for part in parts]


@dataclass(frozen=True)
class Check:
    """What a check of a plan has found; true if the plan can be used."""

    ok: bool
    messages: list[Message]

    def __bool__(self) -> bool:
        return self.ok

    def __repr__(self) -> str:
        return "\n".join(["the plan can be used" if self.ok else "the plan can't be used", *map(str, self.messages)])


class Plan:
    """A sampling plan of one to three stages.

    title            what the plan is for
    stages           the stages, the first one first; each draws within the units of the one before
    weight           the variable that the sample gets with the final weights
    previous_weight  a variable of the frame with the weights of an earlier sample, by which the weights are multiplied
    with_replacement_estimates   you will estimate as if the sample had been drawn with replacement; there are no joint
                     probabilities then
    """

    def __init__(self, title: str, stages: Sequence[Stage], *, weight: str = "sample_weight",
                 previous_weight: Optional[str] = None, with_replacement_estimates: bool = False) -> None:
        if not all(isinstance(stage, Stage) for stage in stages):
            raise TypeError("stages: a list of Stage")
        plan: dict[str, Any] = {"svselect_plan": 1, "title": title, "stages": [stage._json() for stage in stages]}
        if previous_weight is not None:
            plan["previous_weight"] = previous_weight
        plan["weight"] = weight
        if with_replacement_estimates:
            plan["with_replacement_estimates"] = True
        self._text = json.dumps(plan, indent=2, ensure_ascii=False) + "\n"

    @classmethod
    def load(cls, path: Union[str, os.PathLike]) -> "Plan":
        """Reads a plan from a file in JSON or XML. A table in a CSV file beside the plan isn't read: such a plan must have the
        rows in itself."""
        plan = cls.__new__(cls)
        plan._text = Path(path).read_text(encoding="utf-8")
        return plan

    @property
    def text(self) -> str:
        """The plan as JSON, or as the file had it."""
        return self._text

    def save(self, path: Union[str, os.PathLike]) -> None:
        """Writes the plan to a file, for this package or the program."""
        Path(path).write_text(self._text, encoding="utf-8")

    def check(self, frame: Any = None, *, strict: bool = False, exact_design: bool = False, threads: int = 0) -> Check:
        """Checks the plan, and with a frame whether a draw from it can begin. A frame that can't be read is a FrameError."""
        session = Session(threads)
        text = self._text.encode()
        options = _options(strict=strict or None, exact_design=exact_design or None)
        handle = None if frame is None else frame_of(frame, threads)
        status, out = session.call("svs_check", text, len(text), None if handle is None else handle._handle, options)
        if out:
            Owned(out, "svs_result_close")
        if status in (ERROR_ARGUMENT, ERROR_FRAME, CANCELLED, ERROR_MEMORY):
            session.raise_for(status)
        return Check(status == OK, session.messages())

    def preview(self, frame: Any, *, cost: Optional[Sequence[float]] = None, strict: bool = False, exact_design: bool = False,
                threads: int = 0, progress: Union[bool, Callable[[Progress], object]] = False) -> Preview:
        """Tells what a draw is going to do to a frame, which is read once: what is asked for and possible in each stratum,
        probabilities and weights, the sample to expect. ``cost`` is what the survey costs: for all, for each unit of the first
        stage, for each case. A frame that can't be read is a FrameError; `strict` and the others as in draw()."""
        options = _options(strict=strict or None, exact_design=exact_design or None,
                           cost=None if cost is None else [_number(part) for part in cost])
        with _Bar(progress) as tell:
            taken = frame_of(frame, threads, tell)
            session = Session(threads)
            text = self._text.encode()
            status, out = session.call("svs_preview", text, len(text), taken._handle, options, progress=tell)
        result = Owned(out, "svs_result_close") if out else None
        if status in (ERROR_ARGUMENT, ERROR_FRAME, CANCELLED, ERROR_MEMORY):
            session.raise_for(status)
        found = "{}" if result is None else library().svs_result_json(result.get()).decode("utf-8", "replace")
        return Preview(status == OK, session.messages(), json.loads(found))

    def draw(self, frame: Any, *, seed: Optional[int] = None, joint: bool = False,
             stages: Optional[Sequence[int]] = None, exact_design: bool = False, strict: bool = False,
             keep: Union[str, Sequence[str], None] = None, weight: Optional[str] = None,
             split: Union[str, Sequence[str]] = (), sort: Union[str, Sequence[str]] = (), serpentine: bool = False,
             threads: int = 0, progress: Union[bool, Callable[[Progress], object]] = False) -> Sample:
        """Draws a sample.

        frame         a Frame, or what one can be made of
        seed          1 to 2147483647; without it the draw is another one each time (``report`` has the seed that was used)
        joint         compute the joint inclusion probabilities of the first stage
        stages        those to draw, as [1, 2]; all if not given
        exact_design  draw with exactly the probabilities that are stated
        strict        what makes a probability or weight wrong or unclear is an error
        keep          variables of the frame in the sample; all if not given
        weight, split, sort    variable that weights the cases; variables whose changes split them into groups, and variables
                      to order them by, "-income" in descending order
        serpentine    reverse every second run of that order
        threads       0 for as many as there are processors; the sample is the same with any
        progress      a function that is called with a Progress about every 50 ms, or True for a bar of tqdm

        Raises PlanError, FrameError or DrawError, whose ``messages`` say why, and ValueError for an option that can't be. Ctrl-C ends
        a draw; so does an exception of `progress`, which is raised.
        """
        options = _options(
            seed=None if seed is None else operator.index(seed), joint=joint or None,
            stages=None if stages is None else [operator.index(stage) for stage in stages],
            exact_design=exact_design or None, strict=strict or None,
            keep=None if keep is None else _names(keep, "keep"), weight=weight,
            split=_names(split, "split") or None, sort=_names(sort, "sort") or None,
            serpentine=serpentine or None)
        with _Bar(progress) as tell:
            taken = frame_of(frame, threads, tell)
            session = Session(threads)
            text = self._text.encode()
            status, out = session.call("svs_draw", text, len(text), taken._handle, options, progress=tell)
        result = Owned(out, "svs_result_close") if out else None
        session.raise_for(status)
        assert result is not None
        return Sample(result, session.messages())

    def __repr__(self) -> str:
        return self._text


def _options(**given: Any) -> bytes:
    return json.dumps({name: value for name, value in given.items() if value is not None}).encode()


class _Bar:
    """What is told the progress: the caller's function, a bar of tqdm, or nobody."""

    def __init__(self, progress: Union[bool, Callable[[Progress], object]]) -> None:
        self._bar: Any = None
        self._tell: Optional[Callable[[Progress], object]] = None
        if progress is True:
            from tqdm.auto import tqdm
            self._bar = tqdm(unit=" cases", unit_scale=True)
            self._tell = self._show
        elif progress:
            self._tell = progress

    def _show(self, now: Progress) -> None:
        self._bar.set_description(f"pass {now.pass_}" if now.pass_ else now.step, refresh=False)
        self._bar.total = now.total if now.total >= 0 else None
        self._bar.n = now.cases
        self._bar.refresh()

    def __enter__(self) -> Optional[Callable[[Progress], object]]:
        return self._tell

    def __exit__(self, *_: Any) -> None:
        if self._bar is not None:
            self._bar.close()
