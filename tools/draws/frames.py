"""Random frames, grown to fit the stages of a design."""

import csv
import io
import itertools
import json

WORDS = ["north", "South East", "Ålesund", "it's", 'the "old" town', "a,b", "x", "日本", "less<&more", "0", "007",
         "NA"]
USER_MISSING_NUMBER = 99
USER_MISSING_TEXT = "zz"


class Frame:
    """Cases as dictionaries, and what the schema says of the variables."""

    def __init__(self, names):
        self.names = names
        self.rows = []
        self.user_missing = {}  # name -> value
        self.labels = {}  # name -> label

    def add_variable(self, name, values):
        """Adds a variable with a value for each case, or new values of a variable that is there."""
        if name not in self.names:
            self.names.append(name)
        for row, value in zip(self.rows, values):
            row[name] = value

    def is_text(self, name):
        return any(isinstance(row[name], str) for row in self.rows)

    def text(self, kind):
        """The frame as a file of that kind: csv, tsv, json or ndjson."""
        if kind in ("json", "ndjson"):
            lines = [json.dumps({name: row[name] for name in self.names}, ensure_ascii=False) for row in self.rows]
            return "[" + ",\n".join(lines) + "]\n" if kind == "json" else "".join(line + "\n" for line in lines)
        text = io.StringIO()
        writer = csv.writer(text, delimiter="\t" if kind == "tsv" else ",", lineterminator="\n")
        writer.writerow(self.names)
        writer.writerows([row[name] for name in self.names] for row in self.rows)
        return text.getvalue()

    def schema(self):
        """The Table Schema, or None where the frame needs none."""
        fields = []
        for name in self.names:
            entry = {"name": name}
            if name in self.labels:
                entry["title"] = self.labels[name]
            if name in self.user_missing:
                if self.is_text(name):
                    entry["type"] = "string"  # a column of "0" alone would be one of numbers
                entry["missingValues"] = ["", {"value": str(self.user_missing[name]), "label": "no answer"}]
            fields.append(entry)
        is_needed = self.user_missing or self.labels
        return json.dumps({"fields": fields}, ensure_ascii=False, indent=1) if is_needed else None


def random_categories(rng, count):
    """Values of a strata variable: texts, whole numbers or numbers with fractions."""
    kind = rng.choice(["text", "text", "whole", "fraction"])
    if kind == "text":
        return rng.sample(WORDS, count)
    return rng.sample(range(-2, 12), count) if kind == "whole" else rng.sample([0.5, 1.25, 2, -3.75, 1e6, 0.1], count)


class FrameGrower:
    """Grows the cases as a tree: strata of a stage, units in them, strata of the next stage in these."""

    def __init__(self, rng, stages, target):
        self.rng = rng
        self.stages = stages
        self.target = target  # number of cases aimed at
        self.frame = Frame([name for stage in stages for name in stage.strata + stage.clusters])
        self.is_numbered_throughout = rng.random() < 0.5  # else the units of each stratum are numbered from 1
        self.has_text_units = rng.random() < 0.4
        self.most_strata = rng.choice([12, 12, 125])  # of a stage within one unit of the stage before
        self.most_units = rng.choice([60, 400, 3000])  # of the last stage in a stratum
        self.unit_count = 0
        self.combinations = [  # of the categories, by stage
            list(itertools.product(*(random_categories(rng, rng.randint(1, 5)) for _ in stage.strata)))
            for stage in stages]

    def grow(self):
        if self.target > 0:
            self._grow_stage(0, {}, self.target)
        return self.frame

    def _grow_stage(self, number, path, budget):
        if number == len(self.stages):
            self._add_cases(path, self.rng.randint(1, max(1, budget)))
            return
        combinations = self.combinations[number]
        count = self.rng.randint(1, max(1, min(len(combinations), budget // 3, self.most_strata)))
        for combination in self.rng.sample(combinations, count):
            stratum = path | dict(zip(self.stages[number].strata, combination))
            self._grow_units(number, stratum, max(1, int(budget / count * self.rng.uniform(0.6, 1.4))))

    def _grow_units(self, number, path, budget):
        stage = self.stages[number]
        if not stage.clusters:
            self._add_cases(path, budget)
            return
        is_last = number + 1 == len(self.stages)
        most = max(1, min(self.most_units, budget) if is_last else int(3 * budget ** 0.5))
        count = self.rng.randint(min(most, 4), most)
        for place in range(1, count + 1):
            unit = path | dict(zip(stage.clusters, self._unit_name(place, len(stage.clusters))))
            self._grow_stage(number + 1, unit, budget // count)

    def _unit_name(self, place, parts):
        self.unit_count += 1
        number = self.unit_count if self.is_numbered_throughout else place
        names = [number] if parts == 1 else [number // 4, number % 4]
        return [f"U{name:04d}" for name in names] if self.has_text_units else names

    def _add_cases(self, path, count):
        if len(self.frame.rows) < 2 * self.target:
            self.frame.rows += [dict(path) for _ in range(count)]


def random_number_of_cases(rng):
    """Some frames are empty, many tiny, few have thousands of cases."""
    least, most = rng.choices([(0, 0), (1, 6), (7, 40), (41, 400), (401, 2500), (2501, 5000)],
                              weights=[1, 8, 22, 44, 19, 6])[0]
    return rng.randint(least, most)


def add_missing_values(rng, frame, design_variables):
    """Gives some strata and cluster variables missing and user-missing values."""
    if not design_variables or rng.random() < 0.65:
        return
    for name in rng.sample(design_variables, rng.randint(1, len(design_variables))):
        frame.user_missing[name] = USER_MISSING_TEXT if frame.is_text(name) else USER_MISSING_NUMBER
        share = rng.choice([0, 0.02, 0.1])
        for row in frame.rows:
            if rng.random() < share:
                row[name] = rng.choice([None, frame.user_missing[name]])


def order_cases(rng, frame):
    """Leaves the cases in the order of their clusters, shuffles or reverses them."""
    order = rng.choice(["clusters", "clusters", "shuffled", "shuffled", "reversed"])
    if order == "shuffled":
        rng.shuffle(frame.rows)
    elif order == "reversed":
        frame.rows.reverse()


SIZES = {  # measures of size by kind
    "ties": lambda rng: rng.choice([1, 2, 2, 3, 5]),
    "whole": lambda rng: rng.randint(1, 300),
    "fraction": lambda rng: rng.choice([0.1, 0.7, 1.3, 2.25, rng.uniform(0.5, 9)]),
    "equal": lambda rng: 7,
    "skewed": lambda rng: round(rng.lognormvariate(3, 1), 1),
    "tiny": lambda rng: rng.uniform(1, 3) * 1e-9,
    "huge": lambda rng: rng.randint(10**13, 3 * 10**13),
}


def add_measure(rng, frame, first_stage):
    """Adds the measure of size `m`, one value for each unit of the first stage. Some frames have a few bad ones."""
    kind = rng.choice(sorted(SIZES))
    is_bad = rng.random() < 0.08
    sizes = {}
    for place, row in enumerate(frame.rows):
        key = tuple(row[name] for name in first_stage.strata + first_stage.clusters) if first_stage.clusters else place
        if key not in sizes:
            sizes[key] = SIZES[kind](rng)
            if is_bad and rng.random() < 0.05:
                sizes[key] = rng.choice([0, -2, None])
        row["m"] = sizes[key]
    frame.names.append("m")


def add_further_variables(rng, frame):
    """Adds an identifier, a previous weight, a case weight, a text and groups."""
    count = len(frame.rows)
    frame.add_variable("id", range(1, count + 1))
    frame.add_variable("previous", [rng.choice([1, 2.5, rng.uniform(1, 40)]) for _ in range(count)])
    if rng.random() < 0.15:
        for row in rng.sample(frame.rows, (count + 49) // 50):
            row["previous"] = rng.choice([None, 0, -1])
    frame.add_variable("cases", [rng.randint(0, 4) for _ in range(count)])
    frame.add_variable("remark", [rng.choice(WORDS + [None]) for _ in range(count)])
    frame.add_variable("half", [1 if 2 * place < count else 2 for place in range(count)])
    if rng.random() < 0.3:
        frame.labels = {"id": "Number of the case", "remark": "What was “said”"}
