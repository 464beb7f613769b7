"""Faults of a design: each function breaks one thing of a sound design. Some break nothing, by chance."""

from draws.plans import METHODS, OUTPUTS, PPS, WITH_REPLACEMENT, Measure, Name, Size, Stage, Table
from draws.sizes import Strata, table_for


def break_amount(rng, design):
    """A size or rate that is none, or more than there are units."""
    stage = rng.choice(design.stages)
    amounts = [0, -1, 2.5, "1e-300", "2,5", "", "many"]
    if stage.method not in WITH_REPLACEMENT:  # these would draw on and on
        amounts += [1000000, 2147483648, "1e300"]
    stage.size = Size(rng.random() < 0.5, rng.choice(amounts))


def break_amount_variable(rng, design):
    """Sizes or rates that miss, differ within a stratum or are no numbers."""
    values = rng.choice([[None], [1, 2], [0], [-1], [3, None], ["three"], [0.5, 0.7], [1e4]])
    design.frame.add_variable("odd", [rng.choice(values) for _ in design.frame.rows])
    rng.choice(design.stages).size = Size(rng.random() < 0.5, Name("odd"))


def break_bounds(rng, design):
    bounds = rng.choice([(5, 2), (-1, None), (0, 0), (1000, None), (None, 1), (1.5, None)])
    rng.choice(design.stages).size = Size(True, 0.5, bounds)


def break_table(rng, design):
    """A table that lacks a row, or has one that doesn't fit."""
    table = table_for(rng, False, Strata(design, len(design.stages) - 1)) or Table(["nowhere"], [((1,), 2)])
    design.stages[-1].size = Size(False, table)
    place = rng.randrange(len(table.rows))
    keys, value = table.rows[place]
    fault = rng.choice(["no row", "category", "value", "claimed", "long", "number"])
    if fault == "no row":
        del table.rows[place]
    elif fault == "claimed":
        table.claimed = rng.choice([0, 1, len(table.rows) + 1])
    else:
        table.rows[place] = {"category": (keys + (1,), value), "value": (keys, 0),
                             "number": (("1.5x",) * len(keys), value),
                             "long": (("much too long for any of the variables",) * len(keys), value)}[fault]


def break_measure(rng, design):
    stage = design.stages[0]
    if not stage.method.startswith("pps_"):
        stage.method = rng.choice(PPS)
    stage.measure = rng.choice([None, Measure("nowhere"), Measure("remark"), Measure("id"), Measure("cases"),
                                Measure("m", (9, 3)), Measure("m", (-1, None)), Measure("m", (0, 0))])


def break_cases(rng, design):
    """Leaves few cases that can be drawn from, or units without a size of their own."""
    name = rng.choice(design.stages[0].strata + design.stages[0].clusters + ["m", "m"])
    values = rng.choice([[None], [1, None], [0], [-1, 1], [1, 2, 3], [1e300]])
    if design.frame.is_text(name):
        values = [None]
    design.frame.add_variable(name, [rng.choice(values) for _ in design.frame.rows])


def break_variables(rng, design):
    stage = rng.choice(design.stages)
    names = ["nowhere", "c1a", "s1a", "two words", "", "m", "id", "remark", "x" * 65]
    rng.choice([stage.strata, stage.clusters]).append(rng.choice(names))


def break_output(rng, design):
    name = rng.choice(["2bad", "id", "final_weight", "m", "", "_", "ALL", "Å", "y" * 65])
    rng.choice(design.stages).outputs[rng.choice(OUTPUTS)] = name


def break_method(rng, design):
    """A method that there isn't, or that its stage doesn't allow."""
    rng.choice(design.stages).method = rng.choice(["other", "pps_wr", "simple_wr", rng.choice(METHODS)])


def break_weight(rng, design):
    design.final_weight, design.previous_weight = rng.choice(
        [(None, None), ("id", None), ("", None), ("final_weight", "remark"), ("final_weight", "nowhere")])


def add_stage(rng, design):
    design.stages.append(Stage(rng.choice(METHODS), [], [], size=Size(False, 1)))


def leave_part_out(rng, design):
    part, nothing = rng.choice([("size", None), ("clusters", []), ("measure", None)])
    setattr(rng.choice(design.stages), part, nothing)


def cut_plan(_rng, design):
    design.cut_plan = True


def break_files(rng, design):
    option, name = rng.choice([
        ("--sample", "frame.csv"), ("--sample", "sample.xlsx"), ("--sample", "no/sample.csv"),
        ("--joint", "sample.csv"), ("--joint", "no/joint.csv"), ("--rule", "plan.xml"), ("--rule", "no/rule.txt"),
        ("--data", "nowhere.csv"), ("--plan", "nowhere.xml"), ("--schema", "plan.xml"), ("--save", "sample.csv"),
        ("--report", "report.pdf")])
    design.options[option] = name


def break_lists(rng, design):
    option = rng.choice(["--keep", "--drop", "--sort", "--split", "--weight"])
    design.options[option] = rng.choice(["nowhere", "id,id", "id,,m", "remark", "id,nowhere", "all"])


def break_numbers(rng, design):
    option, values = rng.choice([("--seed", ["0", "-1", "x", "2147483648", "1.5"]), ("--threads", ["0", "-1", "many"]),
                                 ("--stages", ["2,1", "1,1", "1,3", "4", "x", "1,2", "2,3", "2", "3"]),
                                 ("--stages", ["2", "3", "1,2", "2,3"])])
    design.options[option] = rng.choice(values)
    design.first_stages = 0


COMMANDS = [
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=77 /SAMPLEFILE OUTFILE='sample.csv' KEEP=id m.",
    "svselect /plan file=plan.xml /criteria seed=5 /print selection cps cps.",
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=5 /CLASSMISSING INCLUDE EXCLUDE.",
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=5 /NOWHERE /SAMPLEFILE OUTFILE='sample.csv'.",
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=5 /DATA RENAMEVARS PRESORTED /SAMPLEFILE OUTFILE='sample.csv' "
    "/JOINTPROB OUTFILE=\"joint.csv\" /SELECTRULE OUTFILE='rule.txt' /CLASSMISSING INCLUDE.",
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=5 /SAMPLEFILE OUTFILE='sample.csv' DROP=ALL KEEP=id.",
    "SVSELECT /PLAN FILE='plan.xml' /CRITERIA SEED=0.", "SVSELECT /PLAN.", "SVSELECT", "SVSELECT /PLAN (FILE='plan.xml",
]


def give_command(rng, design):
    """The command as a text, good or bad, in place of its parts."""
    design.options = {"--report": "report.json", "--command": rng.choice(COMMANDS)}
    design.first_stages = 0


FAULTS = {
    "amount": break_amount,
    "amount by variable": break_amount_variable,
    "another stage": add_stage,
    "bounds": break_bounds,
    "cases": break_cases,
    "command": give_command,
    "files": break_files,
    "lists": break_lists,
    "measure": break_measure,
    "method": break_method,
    "numbers": break_numbers,
    "output": break_output,
    "part left out": leave_part_out,
    "plan cut": cut_plan,
    "table": break_table,
    "variables": break_variables,
    "weight": break_weight,
}
