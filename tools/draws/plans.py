"""The parts of a sampling plan, and how they are written in a plan file."""

from dataclasses import dataclass, field
from xml.sax.saxutils import quoteattr

SIMPLE = ["simple_wor", "simple_systematic", "simple_chromy"]
PPS = ["pps_wor", "pps_systematic", "pps_chromy", "pps_brewer", "pps_murthy", "pps_sampford"]  # first stage
WITH_REPLACEMENT = ["simple_wr", "pps_wr"]  # last stage; pps_wr only where it is the first as well
METHODS = SIMPLE + PPS + WITH_REPLACEMENT
WITH_JOINT = ["pps_wor", "pps_brewer", "pps_murthy", "pps_sampford"]  # need clusters
OF_TWO_UNITS = ["pps_brewer", "pps_murthy"]
OUTPUTS = ["Index", "IncProb", "PopulationSize", "OutputSampleSize", "OutputSampleRate", "Weight", "CumulativeWeight"]


def element(tag, inner="", **attributes):
    """An XML element. Attributes that are None are left out."""
    words = "".join(f" {key}={quoteattr(str(value))}" for key, value in attributes.items() if value is not None)
    return f"<{tag}{words}>{inner}</{tag}>" if inner else f"<{tag}{words}/>"


def variable_list(tag, names):
    inner = "".join(element("Variable", name=name) for name in names)
    return element(tag, inner, numberOfVariables=len(names)) if names else ""


def holding_variable(tag, name):
    return "" if name is None else element(tag, element("Variable", name=name))


def bounds_text(bounds):
    """MinSize and MaxSize; None is no bound."""
    return "".join(element(tag, element("SingleValue", value=bound))
                   for tag, bound in zip(("MinSize", "MaxSize"), bounds) if bound is not None)


@dataclass
class Table:
    """Sizes or rates by category."""
    variables: list
    rows: list  # (categories, value)
    claimed: int = None  # number of rows as the plan states it; None means the true one

    def text(self):
        rows = ""
        for keys, value in self.rows:
            row = "".join(element("Category", value="" if key is None else key) for key in keys)
            rows += element("MatrixValue", row, sizeValue=value)
        claimed = len(self.rows) if self.claimed is None else self.claimed
        return element("Matrix", variable_list("MatrixVarList", self.variables) + rows, numberOfValues=claimed)


class Name(str):
    """The name of a variable, apart from a text that is given as a number."""


@dataclass
class Size:
    """How many units a stage draws."""
    is_rate: bool
    amount: object  # a number, a Name or a Table
    bounds: tuple = (None, None)  # of a rate

    def text(self):
        if isinstance(self.amount, Table):
            amount = self.amount.text()
        elif isinstance(self.amount, Name):
            amount = element("Variable", name=self.amount)
        else:
            amount = element("SingleValue", value=self.amount)
        if not self.is_rate:
            return element("InputSampleSize", amount)
        return element("InputSampleRate", amount + bounds_text(self.bounds))


@dataclass
class Measure:
    """Measure of size: a variable, or without one the number of cases of a unit."""
    variable: str = None
    bounds: tuple = (None, None)

    def text(self):
        variable = element("Variable", name=self.variable) if self.variable else ""
        return element("MOS", variable + bounds_text(self.bounds), fromData="no" if self.variable else "yes")


@dataclass
class Stage:
    method: str
    strata: list
    clusters: list
    label: str = None
    size: Size = None
    measure: Measure = None
    outputs: dict = field(default_factory=dict)  # element -> name of the variable

    def text(self, number):
        parts = [variable_list("StrataVarList", self.strata), variable_list("ClusterVarList", self.clusters),
                 self.size.text() if self.size else "", self.measure.text() if self.measure else ""]
        parts += [holding_variable(output, self.outputs.get(output)) for output in OUTPUTS]
        return element("SampleStage", "\n".join(filter(None, parts)), stageNumber=number, label=self.label,
                       selectionMethod=self.method)
