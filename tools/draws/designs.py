"""Random sampling designs, each with its frame, options and commands.

Most designs can be drawn: the frame is grown to fit the stages, and sizes and rates to fit the frame. The others have a
fault.
"""

from dataclasses import dataclass, field

from draws.faults import FAULTS
from draws.frames import (FrameGrower, add_further_variables, add_measure, add_missing_values, order_cases,
                          random_number_of_cases)
from draws.plans import (OUTPUTS, PPS, SIMPLE, WITH_JOINT, WITH_REPLACEMENT, Measure, Stage, element,
                         holding_variable)
from draws.sizes import add_size

SHARE_OF_FAULTS = 0.2


@dataclass
class Design:
    stages: list
    frame: object = None
    frame_kind: str = "csv"
    schema_file: str = "frame.schema.json"
    previous_weight: str = None
    final_weight: str = "final_weight"
    wr_estimation: str = None
    options: dict = field(default_factory=dict)  # value None: an option without one; a list: given several times
    first_stages: int = 0  # drawn in a run of their own, whose sample is the frame of a second run
    first_sample: str = "first.csv"
    fault: str = None
    cut_plan: bool = False

    def title(self):
        count = len(self.stages)
        fault = f", fault: {self.fault}" if self.fault else ""
        return f"{self.stages[0].method}, {count} stage{'s' if count > 1 else ''}{fault}"

    def plan(self):
        inner = "\n".join(stage.text(number) for number, stage in enumerate(self.stages, 1))
        inner += holding_variable("PreviousWeight", self.previous_weight)
        inner += holding_variable("Weight", self.final_weight)
        design = element("SampleDesign", inner, numberOfStages=len(self.stages), wrEstimation=self.wr_estimation)
        text = '<?xml version="1.0" encoding="UTF-8"?>\n' + element("KORVSurveyPlans", design, version="1.0") + "\n"
        return text[:len(text) // 2] if self.cut_plan else text

    def commands(self):
        """The arguments of each run of the program."""
        source = {"--data": f"frame.{self.frame_kind}"}
        if self.schema_file != "frame.schema.json":
            source["--schema"] = self.schema_file
        if "--sql" in self.options:
            source = {}
        if not any(option.startswith("--command") for option in self.options):
            source["--plan"] = "plan.xml"
        if self.first_stages == 0:
            return [arguments(source | self.options)]
        return [arguments(source | self._first_options()), arguments({"--plan": "plan.xml"} | self._second_options())]

    def _first_options(self):
        kept = {"--sql", "--seed", "--include-user-missing", "--rename", "--threads", "--exact-design", "--joint",
                "--print"}
        options = {option: value for option, value in self.options.items() if option in kept}
        stages = ",".join(str(number) for number in range(1, self.first_stages + 1))
        return options | {"--stages": stages, "--sample": self.first_sample}

    def _second_options(self):
        dropped = {"--sql", "--joint"}
        options = {option: value for option, value in self.options.items() if option not in dropped}
        stages = ",".join(str(number) for number in range(self.first_stages + 1, len(self.stages) + 1))
        return options | {"--data": self.first_sample, "--stages": stages, "--rename": None}


def arguments(options):
    words = ["run"]
    for option, value in options.items():
        for each in value if isinstance(value, list) else [value]:
            words += [option] if each is None else [option, each]
    return words


def random_stages(rng):
    """One to three stages with their methods, strata and clusters."""
    count = rng.choices([1, 2, 3], weights=[5, 3, 2])[0]
    stages = []
    for number in range(1, count + 1):
        methods = (SIMPLE + PPS if number == 1 else SIMPLE) + (["simple_wr"] if number == count else [])
        methods += ["pps_wr"] if count == 1 else []
        method = rng.choice(methods)
        strata = rng.choices([0, 1, 2, 3], weights=[4, 5, 2, 1] if number == 1 else [6, 3, 1, 0])[0]
        needs_clusters = number < count or (method in WITH_JOINT and count == 1)
        clusters = rng.choice([1, 1, 1, 2]) if needs_clusters or rng.random() < 0.35 else 0
        label = rng.choice([None, f"Stage {number}", 'Wards & "towns"'])
        stages.append(Stage(method, [f"s{number}{letter}" for letter in "abc"[:strata]],
                            [f"c{number}{letter}" for letter in "ab"[:clusters]], label))
    return stages


def add_measure_of_size(rng, design):
    stage = design.stages[0]
    add_measure(rng, design.frame, stage)
    if not stage.method.startswith("pps_"):
        return
    is_counted = stage.clusters and rng.random() < 0.35
    stage.measure = Measure(None if is_counted else "m")
    if rng.random() < 0.25:
        least, most = rng.choice([1, 2, 3, 0.5]), rng.choice([4, 10, 40.5])
        stage.measure.bounds = rng.choice([(least, None), (None, most), (least, most)])


def add_outputs(rng, design):
    share = rng.choice([0, 0.3, 0.6, 1])
    for number, stage in enumerate(design.stages, 1):
        stage.outputs = {output: f"{output}{number}" for output in OUTPUTS if rng.random() < share}
    if rng.random() < 0.15:
        design.previous_weight = "previous"
    design.wr_estimation = rng.choice([None, None, None, "no", "yes"])


def add_options(rng, design):
    """Options of the command and the run, each with its own probability."""
    def maybe(probability, option, value=None):
        if rng.random() < probability:
            design.options[option] = value

    def data_file(stem):
        return f"{stem}.{rng.choice(['csv', 'csv', 'csv', 'tsv', 'parquet', 'sav'])}"

    def names(most):
        return ",".join(rng.sample(design.frame.names, rng.randint(1, min(most, len(design.frame.names)))))

    methods = {stage.method for stage in design.stages}
    maybe(1, "--seed", str(rng.choice([1, 4711, 2147483647, rng.randint(1, 2**31 - 1)])))
    maybe(0.99 if methods & set(WITH_REPLACEMENT) else 0.93, "--sample", data_file("sample"))
    maybe(0.8 if methods & set(WITH_JOINT) else 0.02, "--joint", data_file("joint"))
    maybe(0.1 if "--sample" in design.options else 0.7, "--save", data_file("saved"))
    maybe(0.4, "--rule", "rule.txt")
    maybe(0.5, "--print", rng.choice(["selection", "cps", "selection,cps"]))
    maybe(0.12, "--presorted")
    maybe(0.8, "--threads", rng.choice(["1", "2"]))
    maybe(0.06, "--weight", "cases")
    maybe(0.06, "--split", rng.choice(["half", "half,remark"]))
    maybe(0.12, "--sort", names(3))
    maybe(0.9, "--report", ["report.json"] + rng.choice([[], [], [], ["report.html"], ["report.txt"]]))
    maybe(0.03, "--quiet")
    if "--sample" in design.options and rng.random() < 0.25:
        option = rng.choice(["--keep", "--drop"])
        maybe(1, option, names(99) if option == "--keep" or rng.random() < 0.7 else "ALL")
    if rng.random() < 0.06:  # a variable of the frame has the name of a new one
        design.frame.add_variable("final_weight", [7] * len(design.frame.rows))
        maybe(0.8, "--rename")


def choose_files(rng, design):
    """The kind of the frame, where its schema is, and whether a query reads it."""
    kinds = ["csv"] * 5 + ["tsv", "json", "ndjson"] + (["parquet", "sav"] if design.frame.rows else [])
    design.frame_kind = rng.choice(kinds)
    if rng.random() < 0.1 and design.frame.schema() and design.frame_kind not in ("parquet", "sav"):
        design.schema_file = "labels.json"
    elif rng.random() < 0.08 and design.frame_kind == "csv":
        design.options["--sql"] = "SELECT * FROM 'frame.csv' WHERE id % 7 <> 3 ORDER BY id"


def draw_in_parts(rng, design):
    """Has some designs of several stages draw only the first of them, or all in two runs."""
    count = len(design.stages)
    if count == 1 or rng.random() < 0.7:
        return
    last = rng.randint(1, count - 1)
    if rng.random() < 0.35:
        design.options["--stages"] = ",".join(str(number) for number in range(1, last + 1))
        return
    design.stages[last - 1].outputs["CumulativeWeight"] = f"CumulativeWeight{last}"
    design.first_stages = last
    design.first_sample = f"first.{rng.choice(['csv', 'csv', 'parquet', 'sav'])}"


def random_design(rng):
    design = Design(random_stages(rng))
    frame = design.frame = FrameGrower(rng, design.stages, random_number_of_cases(rng)).grow()
    add_missing_values(rng, frame, [name for stage in design.stages for name in stage.strata + stage.clusters])
    if rng.random() < (0.5 if frame.user_missing else 0.05):
        design.options["--include-user-missing"] = None
    if rng.random() < 0.25:
        design.options["--exact-design"] = None
    order_cases(rng, frame)
    add_measure_of_size(rng, design)
    for number in range(len(design.stages)):
        add_size(rng, design, number)
    add_further_variables(rng, frame)
    add_outputs(rng, design)
    add_options(rng, design)
    draw_in_parts(rng, design)
    choose_files(rng, design)
    if rng.random() < SHARE_OF_FAULTS:
        design.fault = rng.choice(sorted(FAULTS))
        FAULTS[design.fault](rng, design)
    return design
