"""What goes wrong: an exception with the message, and the next draw is as good as ever."""

import os
import pickle
import signal
import subprocess
import sys
import threading

import polars as pl
import pyarrow as pa
import pytest

import svselect as sv

FRAME = pl.DataFrame({"unit": range(1000), "size": [1.0 + i % 7 for i in range(1000)]})
PLAN = sv.Plan("x", [sv.Stage("simple_wor", n=5)])


@pytest.fixture
def endless(tmp_path):
    """A plan that draws anew until no unit comes up twice, which is never."""
    (tmp_path / "p.xml").write_text(
        "<KORVSurveyPlans><SampleDesign><SampleStage selectionMethod='pps_sampford'><ClusterVarList><Variable name='unit'/>"
        "</ClusterVarList><InputSampleSize><SingleValue value='200'/></InputSampleSize><MOS fromData='no'>"
        "<Variable name='size'/></MOS></SampleStage><Weight><Variable name='w'/></Weight></SampleDesign></KORVSurveyPlans>")
    return sv.Plan.load(tmp_path / "p.xml")


def column(values):
    return pa.table({"unit": [1, 2], "odd": values})


@pytest.mark.parametrize("frame, said", [
    (column(pa.array([[1], [2]])), "column 'odd' is of a type that can't be a variable: list"),
    (column(pa.array([{"a": 1}, {"a": 2}])), "'odd' is of a type that can't be a variable: struct"),
    (column(pa.array([b"a", b"b"])), "binary"),
    (column(pa.array([1, 2], pa.timestamp("ns", "Europe/Berlin"))), "time zone"),
    (column(pa.array([1, 2], pa.decimal256(60, 2))), "decimal of more than 128 bits"),
    (column(pa.array([1, 2], pa.duration("s"))), "duration"),
    (pa.table([[1], [2]], names=["unit", "UNIT"]), 'two columns are named "unit" and "UNIT"'),
    (pa.table({}), "it has no column"),
    (pa.table({"unit": pa.array([], pa.int64())}), "no valid cases"),
    ("no-such-file.csv", "there is no such file"),
])
def test_frames_that_cannot_be_drawn_from(frame, said):
    with pytest.raises(sv.FrameError) as error:
        PLAN.draw(frame, seed=1)
    assert said in str(error.value)
    assert any(message.level == "error" for message in error.value.messages)


def test_a_stream_that_fails_in_the_middle():
    def batches():
        yield pa.record_batch({"unit": [1, 2]})
        raise RuntimeError("the network is down")

    with pytest.raises(sv.FrameError, match="the network is down"):
        PLAN.draw(pa.RecordBatchReader.from_batches(pa.schema({"unit": pa.int64()}), batches()), seed=1)


@pytest.mark.parametrize("plan, options, kind, said", [
    (sv.Plan("x", [sv.Stage("simple_war", n=5)]), {}, sv.PlanError, "simple_war"),
    (sv.Plan("x", [sv.Stage("simple_wor", n=5, strata="county")]), {}, sv.PlanError, "county"),
    (sv.Plan("x", [sv.Stage("simple_wor", n=1.5)]), {}, sv.SvselectError, ""),
    (PLAN, {"keep": ["unti"]}, sv.PlanError, "unti"),
    (PLAN, {"sort": ["unti"]}, sv.FrameError, 'no variable "unti" to sort by'),
    (PLAN, {"seed": 0}, ValueError, "isn't a seed"),
    (PLAN, {"stages": [4]}, ValueError, "a list of stages"),
    (PLAN, {"threads": -1}, ValueError, "a number of threads"),
    (PLAN, {"seed": "x"}, TypeError, ""),
    (PLAN, {"keep": [1]}, TypeError, "a name or a list of names"),
])
def test_plans_and_options_that_cannot_be_used(plan, options, kind, said):
    with pytest.raises(kind) as error:
        plan.draw(FRAME, **options)
    assert said in str(error.value)
    assert "/tmp" not in str(error.value)
    assert PLAN.draw(FRAME, seed=1).sample.to_polars().height == 5


def test_wrong_arguments():
    with pytest.raises(TypeError, match="no Arrow stream"):
        PLAN.draw({"unit": [1]})
    with pytest.raises(ValueError, match="a category for each"):
        sv.Plan("x", [sv.Stage("simple_wor", n={"a": 1})])
    check = sv.Plan("x", [sv.Stage("simple_wor", n=5, strata="county")]).check(FRAME)
    assert not check and "county" in repr(check)
    assert pickle.loads(pickle.dumps(PLAN)).draw(FRAME, seed=1).sample.to_polars().height == 5
    for unpicklable in (sv.Frame(FRAME), PLAN.draw(FRAME, seed=1)):
        with pytest.raises(TypeError, match="can't be pickled"):
            pickle.dumps(unpicklable)


def test_interrupt_ends_a_draw(endless):
    # The timer waits for the draw: its first report of a pass.
    begun = threading.Event()
    killer = threading.Thread(target=lambda: (begun.wait(), os.kill(os.getpid(), signal.SIGINT)), daemon=True)
    killer.start()
    handler = signal.getsignal(signal.SIGINT)
    with pytest.raises(KeyboardInterrupt):
        endless.draw(FRAME, progress=lambda now: begun.set() if now.step == "draw" else None)
    killer.join()
    assert signal.getsignal(signal.SIGINT) is handler
    assert PLAN.draw(FRAME, seed=1).sample.to_polars().height == 5


def test_progress(endless):
    seen = []

    def watch(now):
        seen.append(now)
        if now.pass_ > 0:
            raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"):
        endless.draw(FRAME, progress=watch)
    assert seen[-1].step == "draw" and seen[-1].total == 1000


def test_threads_take_turns():
    expected = PLAN.draw(FRAME, seed=1).sample.columns()
    frame = sv.Frame(FRAME)
    results = []
    threads = [threading.Thread(target=lambda: results.append(PLAN.draw(frame, seed=1).sample.columns())) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [expected] * 8


def test_a_forked_process(tmp_path):
    # In a process of its own: polars' threads don't survive a fork, and a fork warns of threads.
    script = tmp_path / "fork.py"
    script.write_text("""
import os, warnings
import pyarrow as pa
import svselect as sv
warnings.simplefilter("ignore")
plan = sv.Plan("x", [sv.Stage("simple_wor", n=5)])
frame = sv.Frame(pa.table({"unit": range(100)}))
s = plan.draw(frame, seed=1)
child = os.fork()
if child == 0:
    for used in (lambda: plan.draw(frame, seed=1), lambda: s.report):
        try:
            used()
            os._exit(1)
        except RuntimeError as error:
            if "forked" not in str(error):
                os._exit(2)
    del frame, s
    drawn = plan.draw(pa.table({"unit": range(100)}), seed=1).sample.to_pyarrow().num_rows
    os._exit(0 if drawn == 5 else 3)
assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
assert s.sample.to_pyarrow().num_rows == 5
""")
    subprocess.run([sys.executable, script], check=True)


@pytest.mark.parametrize("first", ["import duckdb, svselect as sv", "import svselect as sv; sv.__version__; import duckdb"])
def test_another_duckdb_in_the_process(first, tmp_path):
    script = f"""
{first}
plan = sv.Plan("x", [sv.Stage("simple_wor", n=5)])
relation = duckdb.sql("SELECT i AS unit, i / 7 AS size, 'text ' || i AS t FROM range(1000) r(i)")
for _ in range(3):
    s = plan.draw(relation, seed=1).sample
    assert duckdb.sql("SELECT count(*), round(sum(size * 7 - unit), 9) FROM s").fetchall() == [(5, 0.0)]
try:
    duckdb.sql("SELECT no_such_column FROM relation")
    raise SystemExit("no error")
except duckdb.Error:
    pass
"""
    subprocess.run([sys.executable, "-c", script], check=True, cwd=tmp_path)
