"""What is drawn: from whatever library the frame comes, the sample of the program."""

import datetime
import decimal
import subprocess
import sys

import duckdb
import numpy as np
import pandas as pd
import polars as pl
import pyarrow as pa
import pyarrow.parquet
import pytest

import svselect as sv

N = 5003
RANDOM = np.random.default_rng(1)


def units():
    """A frame with a column of every kind, nulls in some, and texts of all lengths."""
    day = datetime.date(2026, 1, 1)
    return pa.table({
        "unit": pa.array(range(N), pa.int64()),
        "region": pa.array([f"{'a long name of region ' if i % 3 else 'r'}{i % 7}" for i in range(N)]),
        "size": pa.array(RANDOM.uniform(1, 9, N)),
        "small": pa.array([i % 11 - 5 if i % 13 else None for i in range(N)], pa.int8()),
        "flag": pa.array([bool(i % 2) if i % 5 else None for i in range(N)]),
        "note": pa.array(["n" + "ä" * (i % 30) if i % 4 else None for i in range(N)]),
        "day": pa.array([day + datetime.timedelta(i) for i in range(N)]),
        "time": pa.array([datetime.datetime(2026, 1, 1) + datetime.timedelta(hours=i) for i in range(N)], pa.timestamp("us")),
        "money": pa.array([decimal.Decimal(i) / 100 for i in range(N)], pa.decimal128(12, 2)),
    })


TABLE = units()
NARROW = TABLE.select(["unit", "region", "size", "small", "flag", "note"])


def sliced(table, length):
    """Batches of a length that divides nothing, each an offset into the whole."""
    return pa.Table.from_batches([batch for start in range(0, N, length)
                                  for batch in table.slice(start, length).combine_chunks().to_batches()]
                                 if length < 100 else
                                 [b.slice(at, length) for b in table.combine_chunks().to_batches()
                                  for at in range(0, N, length)], table.schema)


def recoded(table, type_, *names):
    return pa.table({name: table[name].dictionary_encode() if type_ is dict and name in names else
                     table[name].cast(type_) if name in names else table[name] for name in table.column_names})


FRAMES = {
    "pyarrow": lambda: TABLE,
    "slices": lambda: sliced(TABLE, 1001),
    "small batches": lambda: sliced(TABLE, 37),
    "reader": lambda: TABLE.to_reader(max_chunksize=2047),
    "dictionary": lambda: sliced(recoded(TABLE, dict, "region", "note", "small", "day"), 999),
    "views": lambda: sliced(recoded(TABLE, pa.string_view(), "region", "note"), 1500),
    "large texts": lambda: recoded(TABLE, pa.large_string(), "region", "note"),
    "polars": lambda: pl.from_arrow(TABLE),
    "polars categorical": lambda: pl.from_arrow(TABLE).with_columns(pl.col("region").cast(pl.Categorical)),
    "pandas of Arrow": lambda: TABLE.to_pandas(types_mapper=pd.ArrowDtype),
    "duckdb": lambda: duckdb.from_arrow(TABLE),
}


@pytest.fixture(scope="module")
def plan():
    return sv.Plan("units", [
        sv.Stage("pps_sampford", strata="region", clusters=["unit"], n=12, size="size", write={"probability": "p"})])


@pytest.fixture(scope="module")
def drawn(plan, program, tmp_path_factory):
    """Sample and joint probabilities that the program draws from a Parquet file, by the columns of a frame."""
    folder = tmp_path_factory.mktemp("drawn")
    plan.save(folder / "plan.json")
    files = {}
    for name, table in (("all", TABLE), ("narrow", NARROW)):
        pa.parquet.write_table(table, folder / f"{name}.parquet")
        subprocess.run([program, "run", "--quiet", "--seed", "4711", "--exact-design", "--data", folder / f"{name}.parquet",
                        "--plan", folder / "plan.json", "--sample", folder / f"{name}-s.parquet", "--joint",
                        folder / f"{name}-j.parquet"], check=True)
        files[name] = [pa.parquet.read_table(folder / f"{name}-{part}.parquet").replace_schema_metadata() for part in "sj"]
    files["path"] = folder / "all.parquet"
    return files


@pytest.mark.parametrize("kind", FRAMES)
def test_draws_what_the_program_draws(kind, plan, drawn):
    s = plan.draw(FRAMES[kind](), seed=4711, exact_design=True, joint=True, threads=1 + len(kind) % 3)
    assert s.sample.to_pyarrow().to_pylist() == drawn["all"][0].to_pylist()
    assert s.sample.to_pyarrow().schema == drawn["all"][0].schema
    assert s.joint().to_pyarrow().equals(drawn["all"][1])


def test_draws_from_numpy_columns_and_files(plan, drawn):
    # NumPy has no missing integer and truth value, so that pandas makes other types of those columns.
    frame = NARROW.drop_columns(["small", "flag"]).to_pandas()
    expected = drawn["narrow"][0].drop_columns(["small", "flag"]).to_pylist()
    assert plan.draw(frame, seed=4711, exact_design=True).sample.to_pyarrow().to_pylist() == expected
    of_file = plan.draw(drawn["path"], seed=4711, exact_design=True)
    assert of_file.sample.to_pyarrow().equals(drawn["all"][0])


def test_a_frame_and_a_result_serve_many_times(plan, drawn):
    frame = sv.Frame(pl.from_arrow(TABLE))
    described = frame.describe()
    assert described["cases"] == N
    assert {v["name"]: v["type"] for v in described["variables"]}["note"] == "string"
    for _ in range(3):
        s = plan.draw(frame, seed=4711, exact_design=True)
        s.sample.__arrow_c_stream__()  # that nobody takes
        assert pl.DataFrame(s.sample).equals(s.sample.to_polars())
        assert pa.table(s.sample).equals(drawn["all"][0])
    taken = s.sample.to_pyarrow()
    del s, frame
    assert taken.equals(drawn["all"][0])


def test_joint_matrix(plan):
    s = plan.draw(TABLE, seed=4711, exact_design=True, joint=True)
    matrix = s.joint(region="r0")
    assert matrix.shape == (12, 12)
    np.testing.assert_array_equal(matrix, matrix.T)
    selected = s.sample.to_polars().filter(region="r0").sort("unit")
    np.testing.assert_allclose(sorted(np.diag(matrix)), sorted(selected["p"]))
    # Sampford's design has a fixed size: the joint probabilities of all units with unit i add up to (n - 1) p_i, so that those
    # of the selected ones don't exceed it.
    assert all(matrix.sum(axis=1) - np.diag(matrix) <= 11 * np.diag(matrix))
    with pytest.raises(KeyError):
        s.joint(region="nowhere")
    with pytest.raises(KeyError):
        s.joint(county="x")
    with pytest.raises(ValueError):
        s.joint_matrix()
    with pytest.raises(ValueError, match="weren't asked for"):
        plan.draw(TABLE, seed=1, exact_design=True).joint()


def test_options(plan):
    def sample(**options):
        return plan.draw(TABLE, exact_design=True, **{"seed": 4711, **options}).sample.to_polars()

    assert sample(keep="unit").columns == ["unit", "p", "sample_weight"]
    assert not sample(seed=np.int64(4712)).equals(sample())
    assert not sample(sort=["size"])["unit"].equals(sample()["unit"])
    assert sample(keep=["unit", "flag"], weight="size").height == sample().height


def test_preview(plan, drawn):
    """Agrees with what is drawn, as far as it doesn't depend on the draw."""
    foreseen = plan.preview(TABLE, cost=[100, 0, 2.5])
    strata = plan.draw(TABLE, seed=4711).strata.columns()
    first = foreseen.strata()
    assert foreseen and first["region"] == sorted(first["region"])
    assert first["possible"] == [n for n, stage in zip(strata["drawn"], strata["stage"]) if stage == 1]
    assert foreseen.sample["cases_of_frame"] == N
    assert foreseen.sample["cost"] == pytest.approx(100 + 2.5 * foreseen.sample["expected_cases"])
    assert "region" in repr(foreseen) and "<td>" in foreseen._repr_html_()
    assert pd.DataFrame(first)["units"].sum() == N
    with pytest.raises(KeyError):
        foreseen.strata(3)
    bad = sv.Plan("none", [sv.Stage("simple_wor", strata="nowhere", n=1)]).preview(TABLE)
    assert not bad and "nowhere" in repr(bad) and bad.stages == []


def test_plans(tmp_path):
    """By hand: 2 of 4 units of h, 1 of 3 of l; as JSON, from a file, and in XML."""
    frame = pl.DataFrame({"h": ["h"] * 4 + ["l"] * 3, "n": [2] * 4 + [1] * 3})
    xml = tmp_path / "plan.xml"
    xml.write_text("<KORVSurveyPlans><SampleDesign><SampleStage selectionMethod='simple_wor'><StrataVarList><Variable name='h'/>"
                   "</StrataVarList><InputSampleSize><Variable name='n'/></InputSampleSize></SampleStage>"
                   "<Weight><Variable name='sample_weight'/></Weight></SampleDesign></KORVSurveyPlans>")
    plans = [sv.Plan("x", [sv.Stage("simple_wor", strata=["h"], n=n)]) for n in ("n", {"h": 2, "l": np.int64(1)})]
    plans.append(sv.Plan("x", [sv.Stage("simple_wor", strata=["h"], n={("h",): 2, ("l",): 1}, by="h")]))
    plans[0].save(tmp_path / "plan.json")
    for plan in [*plans, sv.Plan.load(tmp_path / "plan.json"), sv.Plan.load(xml)]:
        assert plan.check(frame)
        s = plan.draw(frame, seed=3)
        assert s.sample.columns()["sample_weight"] == [2, 2, 3]
        assert s.strata.columns()["drawn"] == [2, 1]
        assert s.report["status"] == "ok"
    s.write(tmp_path / "s.parquet")
    s.write(tmp_path / "s.csv")
    assert pl.read_parquet(tmp_path / "s.parquet").equals(pl.read_csv(tmp_path / "s.csv"))


def test_notebook(repository):
    """The notebook's code shows what the notebook has."""
    notebooks = repository / "bindings/python/notebooks"
    ran = subprocess.run([sys.executable, "run", "schools.ipynb"], cwd=notebooks, capture_output=True, text=True)
    assert ran.returncode == 0, ran.stderr


def test_readme(repository, monkeypatch, tmp_path):
    """The README's code, one block after the other."""
    monkeypatch.chdir(tmp_path)
    (tmp_path / "examples").symlink_to(repository / "examples")
    (tmp_path / "plan.xml").write_bytes((repository / "examples/plans/two-stages.xml").read_bytes())
    code = (repository / "bindings/python/README.md").read_text().split("```python\n")[1:]
    names = {}
    for block in code:
        exec(block.split("```")[0], names)
    assert names["sample"].sample.to_polars().height == 100
    assert names["s"].joint_matrix().shape == (4, 4)
    assert (tmp_path / "sample.parquet").exists()
