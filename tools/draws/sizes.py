"""Sizes and rates that fit the strata of a frame, in each of their forms."""

import math

from draws.plans import OF_TWO_UNITS, PPS, WITH_REPLACEMENT, Name, Size, Table

MOST_UNITS_DRAWN = 150  # of a stratum: a joint probability file grows with its square
MOST_TABLE_ROWS = 150
MANY_DRAWS = 70000  # with replacement; more than are made at a time


class Strata:
    """The strata of a stage, with the sizes of their units.

    `keys` has the stratum of each case, or None where the value of a design variable is missing. A blank text is a
    category.
    """

    def __init__(self, design, number):
        frame, stage = design.frame, design.stages[number]
        self.design = design
        self.stage = stage
        self.names = [name for each in design.stages[:number] for name in each.strata + each.clusters] + stage.strata
        self.units = {}  # key of the stratum -> unit -> size
        self.keys = []
        names = self.names + stage.clusters
        unusable = [self._unusable_values(name) for name in names]
        for place, row in enumerate(frame.rows):
            values = tuple(row[name] for name in names)
            is_valid = not any(value in bad for value, bad in zip(values, unusable))
            key = values[:len(self.names)]
            self.keys.append(key if is_valid else None)
            if is_valid:
                self._add_to_unit(key, values[len(self.names):] or place, row)

    def _unusable_values(self, name):
        frame = self.design.frame
        values = set() if frame.is_text(name) else {None}
        if name in frame.user_missing and "--include-user-missing" not in self.design.options:
            values.add(frame.user_missing[name])
        return values

    def _add_to_unit(self, key, unit, row):
        units = self.units.setdefault(key, {})
        measure = self.stage.measure
        if measure is None or measure.variable is None:
            units[unit] = units.get(unit, 0) + 1
        else:
            units[unit] = row[measure.variable] or 0

    def _capacity(self, units):
        """Most units to draw of these: without replacement none may have a probability above 1."""
        count = len(units)
        if self.stage.method in OF_TWO_UNITS:
            return 2
        if self.stage.method in WITH_REPLACEMENT:
            count *= 3
        if self.stage.method in PPS:
            sizes = [self._bounded(size) for size in units.values()]
            count = min(count, int(sum(sizes) / max(sizes))) if max(sizes) > 0 else 1
        if self.stage.method == "pps_sampford":
            count = min(count, len(units) - 1)
            if "--exact-design" not in self.design.options:  # rejective: hardly ends when many of few units are wanted
                count = min(count, int(math.sqrt(6 * len(units))))
        return max(1, min(count, MOST_UNITS_DRAWN))

    def _bounded(self, size):
        least, most = self.stage.measure.bounds if self.stage.measure else (None, None)
        size = size if least is None else max(size, least)
        return size if most is None else min(size, most)

    def shares(self):
        """(key, number of units, most units that can be drawn) of each stratum."""
        return [(key, len(units), self._capacity(units)) for key, units in self.units.items()]


def amount_for(rng, is_rate, shares):
    """A size or rate that fits all the strata given."""
    if not is_rate:
        return rng.randint(1, min((capacity for _, _, capacity in shares), default=3))
    most = min((capacity / units for _, units, capacity in shares), default=0.5)
    return rng.choice([most, most * rng.uniform(0.2, 1), round(most * rng.uniform(0.3, 1), 3) or most])


def table_for(rng, is_rate, strata):
    """A table by some variables, with a row for each combination. None without variables or with too many rows."""
    if not strata.names:
        return None
    chosen = rng.sample(strata.names, rng.randint(1, min(3, len(strata.names))))
    places = [strata.names.index(name) for name in chosen]
    groups = {}
    for share in strata.shares():
        groups.setdefault(tuple(share[0][place] for place in places), []).append(share)
    if not groups or len(groups) > MOST_TABLE_ROWS:
        return None
    return Table(chosen, [(keys, amount_for(rng, is_rate, shares)) for keys, shares in groups.items()])


def variable_for(rng, is_rate, strata, name):
    """A new variable of the frame, with one value within each stratum."""
    amounts = {share[0]: amount_for(rng, is_rate, [share]) for share in strata.shares()}
    strata.design.frame.add_variable(name, [amounts.get(key) for key in strata.keys])
    return Name(name)


def random_bounds(rng, shares):
    """Bounds of a number of units, None for none."""
    most = min((capacity for _, _, capacity in shares), default=1)
    least = rng.randint(1, most)
    return (rng.choice([None, 1, 1, least]), rng.choice([None, None, rng.randint(least, most + 10)]))


def add_size(rng, design, number):
    """Gives a stage its size or rate in one of the three forms."""
    stage = design.stages[number]
    if stage.method in OF_TWO_UNITS and rng.random() < 0.9:
        return  # they draw two
    strata = Strata(design, number)
    shares = strata.shares()
    is_rate = rng.random() < 0.45
    form = rng.choice(["value", "variable", "table", "table"])
    amount = None
    if stage.method in WITH_REPLACEMENT and len(shares) == 1 and rng.random() < 0.05:
        is_rate, amount = False, MANY_DRAWS
    elif form == "variable":
        amount = variable_for(rng, is_rate, strata, f"{'rate' if is_rate else 'size'}{number + 1}")
    elif form == "table":
        amount = table_for(rng, is_rate, strata)
    stage.size = Size(is_rate, amount_for(rng, is_rate, shares) if amount is None else amount)
    if is_rate and rng.random() < 0.6:
        stage.size.bounds = random_bounds(rng, shares)
