"""A batch without its scheduler: which scans there are, what their tasks do, what the page has."""

import json
import shutil
import subprocess
import sys
import threading
import time
from collections import deque
from pathlib import Path

import algorithmveld as veld
import pytest
from algorithmveld import batch
from algorithmveld.batch import __main__ as command
from algorithmveld.batch import _run, _scheduler
from algorithmveld.batch._page import write_summary
from algorithmveld.batch._places import Places
from algorithmveld.batch._results import result_at
from algorithmveld.batch._scans import Scan, content_of, find_scans
from algorithmveld.batch._tasks import Job, State, look, take_step
from scans import grid, sphere_frames

RECIPE = {
    "veld_recipe": 1,
    "steps": [
        {"step": "clean", "settings": {"clean_ups": [{"kind": "non-manifold"}]}},
        {"step": "fill", "settings": {"max_edges": 8}},
    ],
}


def save_scan(path, n=9):
    path.parent.mkdir(parents=True, exist_ok=True)
    veld.save(veld.Mesh(*grid(n, hole=True)), path)
    return path


def job_of(path, out, recipe=RECIPE, pictures=False):
    scan = Scan(path.stem, str(path))
    return Job(scan, str(out), recipe, pictures=pictures, threads=1, batch="this")


def take_all(job):
    state = look(job)
    for number in range(1, len(job.steps) + 1):
        state = take_step(state, job, number)
    return state


def found(given, out="/nowhere", **named):
    return {
        s.name: s for s in find_scans(given, Path(out), named.get("markers"), named.get("photos"))
    }


def test_scans_are_found_in_a_tree(tmp_path):
    save_scan(tmp_path / "a.ply")
    save_scan(tmp_path / "day 1" / "cup.stl")
    save_scan(tmp_path / "day 1" / "cup.obj")
    (tmp_path / "day 1" / "markers.txt").write_text("0 0 0\n")
    save_scan(tmp_path / "photos" / "no-scan.ply")
    save_scan(tmp_path / "out" / "a-1" / "model.ply")
    (tmp_path / "out2" / "b-1").mkdir(parents=True)
    save_scan(tmp_path / "out2" / "b-1" / "model.ply")
    (tmp_path / "out2" / "b-1" / "run.json").write_text("{}")
    (tmp_path / "depth").mkdir()
    (tmp_path / "depth" / "cameras.json").write_text('{"views": [{"depth": "0.png"}]}')
    (tmp_path / "range").mkdir()
    (tmp_path / "range" / "bun.conf").write_text("bmesh bun.ply 0 0 0 0 0 0 1\n")
    save_scan(tmp_path / "range" / "bun.ply")
    scans = found(tmp_path, tmp_path / "out")
    assert sorted(scans) == ["a", "day_1-cup-obj", "day_1-cup-stl", "depth", "range"]
    assert scans["range"].source == str(tmp_path / "range")


def test_a_list_names_scans_relative_to_itself(tmp_path):
    save_scan(tmp_path / "scans" / "a.ply")
    listed = tmp_path / "list.txt"
    listed.write_text("# two scans\nscans/a.ply\n\n  scans/gone.ply\n")
    scans = found(listed)
    assert {name: scan.source for name, scan in scans.items()} == {
        "scans-a": str(tmp_path / "scans" / "a.ply"),
        "scans-gone": str(tmp_path / "scans" / "gone.ply"),
    }


def test_text_of_points_is_no_list(tmp_path):
    points = tmp_path / "points.txt"
    points.write_text("0.5 1 2\n1 2 3\n")
    assert list(found(points)) == ["points"]


def test_markers_and_photographs_are_named_by_a_pattern(tmp_path):
    path = save_scan(tmp_path / "day1" / "cup.ply")
    scan = found([path], markers="{folder}/m.txt", photos="/all/{name}")["cup"]
    assert scan.markers == str(tmp_path / "day1" / "m.txt")
    assert scan.photos == "/all/cup"


@pytest.mark.parametrize("given", ["empty", "gone"])
def test_no_scan_is_told(tmp_path, given):
    (tmp_path / "empty").mkdir()
    with pytest.raises(veld.InputError, match=r"empty: there is no scan|gone: no such file"):
        find_scans(tmp_path / given, tmp_path / "out", None, None)


def test_the_name_of_a_result_follows_from_all_that_it_is_made_of(tmp_path):
    path = save_scan(tmp_path / "one" / "cup.ply")
    texturing = {**RECIPE, "steps": [*RECIPE["steps"], {"step": "texture"}]}
    first = look(job_of(path, tmp_path / "out")).key
    moved = save_scan(tmp_path / "two" / "cup.ply")
    assert look(job_of(moved, tmp_path / "out")).key == first
    keys = {first, look(job_of(path, tmp_path / "out", texturing)).key}
    save_scan(path.parent / "other.ply")  # a neighbour is no part of it
    (path.parent / "photos").mkdir()
    (path.parent / "photos" / "a.jpg").write_bytes(b"a")
    assert look(job_of(path, tmp_path / "out")).key == first
    keys.add(look(job_of(path, tmp_path / "out", texturing)).key)
    (path.parent / "photos" / "a.jpg").write_bytes(b"b")
    keys.add(look(job_of(path, tmp_path / "out", texturing)).key)
    (path.parent / "markers.txt").write_text("0 0 0\n")
    keys.add(look(job_of(path, tmp_path / "out")).key)
    save_scan(path, 11)
    keys.add(look(job_of(path, tmp_path / "out")).key)
    assert len(keys) == 6


def test_a_list_of_frames_consists_of_what_lies_beside_it(tmp_path):
    folder = tmp_path / "range"
    save_scan(folder / "bun.ply")
    (folder / "bun.conf").write_text("bmesh bun.ply 0 0 0 0 0 0 1\n")
    before = content_of(Scan("bun", str(folder / "bun.conf")), with_photos=False)
    save_scan(folder / "bun.ply", 11)
    assert content_of(Scan("bun", str(folder / "bun.conf")), with_photos=False) != before


@pytest.mark.filterwarnings("ignore::algorithmveld.VeldWarning")
def test_tasks_give_the_bytes_of_one_run(tmp_path):
    veld.frames(sphere_frames(24), tmp_path / "ball")
    recipe = {"veld_recipe": 1, "steps": [{"step": "merge"}, *RECIPE["steps"]]}
    state = take_all(job_of(tmp_path / "ball", tmp_path / "out", recipe))
    assert state == State(key=state.key, is_there=True)
    made = tmp_path / "out" / state.key
    veld.run(tmp_path / "ball", tmp_path / "one", recipe=recipe, pictures=False)
    for name in ("model.ply", "recipe.json"):
        assert (made / name).read_bytes() == (tmp_path / "one" / name).read_bytes()
    assert list((tmp_path / "out" / ".work").iterdir()) == []
    assert [step["name"] for step in result_at(Places(tmp_path / "out"), state.key, "").steps] == [
        "merge", "clean", "fill",
    ]  # fmt: skip


def steps_done(out):
    """What was done, in its order, by the list that is kept for people."""
    lines = (out / "batch.log").read_text().splitlines()
    return [(key, step.rstrip(":")) for key, step in (line.split()[3:5] for line in lines)]


def test_each_task_takes_one_step_and_only_once(tmp_path):
    job = job_of(save_scan(tmp_path / "cup.ply"), tmp_path / "out")
    state = look(job)
    for _ in range(2):
        assert not take_step(state, job, 1).is_there
    assert steps_done(tmp_path / "out") == [(state.key, "clean")]
    assert not (tmp_path / "out" / state.key).exists()
    for _ in range(2):
        assert take_step(state, job, 2).is_there
    assert steps_done(tmp_path / "out") == [(state.key, "clean"), (state.key, "fill")]
    assert look(job).is_there


def test_what_another_process_left_half_is_gone_on_with(tmp_path):
    job = job_of(save_scan(tmp_path / "cup.ply"), tmp_path / "out")
    state = take_step(look(job), job, 1)
    work = tmp_path / "out" / ".work" / state.key
    (work / "01-clean.ply").write_bytes(b"damaged")
    assert take_step(state, job, 2).is_there
    assert [step for _, step in steps_done(tmp_path / "out")] == ["clean", "clean", "fill"]


def test_a_failure_is_handed_on_with_its_reason(tmp_path):
    path = tmp_path / "cup.ply"
    path.write_text("no mesh")
    state = take_all(job_of(path, tmp_path / "out"))
    assert str(path) in state.reason
    assert not state.may_do_elsewhere
    gone = take_all(job_of(tmp_path / "gone.ply", tmp_path / "out"))
    assert gone.reason == f"{tmp_path / 'gone.ply'}: no such file or folder"


def test_where_nothing_can_be_written_another_worker_may_do_better(tmp_path):
    path = save_scan(tmp_path / "cup.ply")
    (tmp_path / "out").write_text("a file")
    state = take_all(job_of(path, tmp_path / "out"))
    assert state.may_do_elsewhere
    assert str(tmp_path / "out") in state.reason


def test_a_lock_goes_with_its_process(tmp_path):
    places = Places(tmp_path)
    places.make()
    code = f"""
import time
from algorithmveld.batch._places import Places
with Places({str(tmp_path)!r}).lock("a"):
    print("held", flush=True)
    time.sleep(60)
"""
    with subprocess.Popen([sys.executable, "-c", code], stdout=subprocess.PIPE) as holder:
        try:
            assert holder.stdout.readline() == b"held\n"
            got = threading.Event()
            waiter = threading.Thread(target=lambda: wait_for_lock(places, got), daemon=True)
            waiter.start()
            with places.lock("b"):
                assert not got.wait(0.5)
        finally:
            holder.kill()
        assert got.wait(20)
    waiter.join()


def wait_for_lock(places, got):
    with places.lock("a"):
        got.set()


def test_locks_let_one_in_at_a_time(tmp_path):
    places = Places(tmp_path)
    places.make()
    inside, most = [], []

    def enter():
        for _ in range(5):
            with places.lock("a"):
                inside.append(1)
                most.append(len(inside))
                time.sleep(0.001)
                inside.pop()

    threads = [threading.Thread(target=enter) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert most == [1] * 20
    assert list((tmp_path / ".work").iterdir()) == []


def test_the_page_shows_what_is_there(tmp_path):
    out = tmp_path / "out"
    for name, pictures in (("cup10", False), ("cup9", True)):
        take_all(job_of(save_scan(tmp_path / f"{name}.ply"), out, pictures=pictures))
    places = Places(out)
    note = {"name": "<b>", "source": "/s", "reason": "a & b", "finished": "today"}
    places.failure("/s").write_text(json.dumps(note))
    write_summary(places)
    page = (out / "index.html").read_text()
    assert "&lt;b&gt;" in page
    assert "a &amp; b" in page
    assert page.index(">cup9<") < page.index(">cup10<")
    assert page.count("data:image/jpeg;base64,/9j/") == 1
    assert "http" not in page
    for result in out.glob("cup*"):
        assert f'href="{result.name}/report.html"' in page
        assert (result / "report.html").is_file()
    listed = json.loads((out / "batch.json").read_text())
    assert [scan["name"] for scan in listed["scans"]] == ["cup9", "cup10"]
    assert listed["failures"][0]["reason"] == "a & b"
    drawn = next(out.glob("cup9-*"))
    assert_thumbnail_is_of(drawn, "02-fill.png")
    shutil.rmtree(drawn)
    write_summary(places)
    assert ">cup9<" not in (out / "index.html").read_text()


def assert_thumbnail_is_of(folder, picture):
    views = [
        {"image": name, "width": w, "height": h, "fx": 1, "fy": 1, "cx": 0, "cy": 0,
         "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "t": [0, 0, 0]}
        for name, w, h in ((picture, 800, 600), ("thumbnail.jpg", 200, 150))
    ]  # fmt: skip
    (folder / "cameras.json").write_text(json.dumps({"views": views}))
    large, small = (photo.image.astype(float) for photo in veld.load_photos(folder))
    assert abs(large[2::4, 2::4] - small).mean() < 3


def test_a_task_declares_no_more_than_a_worker_has():
    scheduler = _scheduler.Scheduler(None, True, 1, memory=1000)
    assert scheduler.resources(400) == {"MEMORY": 400}
    assert scheduler.resources(4000) == {"MEMORY": 1000}
    scheduler.memory = 0
    assert scheduler.resources(400) == {}


class StandIn:
    """For a scheduler with these workers, and for the future of a scan."""

    def __init__(self, *workers):
        self.there = dict.fromkeys(workers)
        self.cancelled = False

    def workers(self, *, now=False):
        return self.there

    def cancel(self):
        self.cancelled = True


@pytest.mark.parametrize(
    ("there", "restart", "is_taken_back"),
    [
        (("bad", "good"), 0.0, False),
        (("bad", "another"), 60.0, True),
        (("bad",), 60.0, False),  # the good one may be starting again
        (("bad",), 0.0, True),
    ],
)
def test_a_scan_does_not_wait_for_workers_that_are_no_more(
    monkeypatch, there, restart, is_taken_back
):
    monkeypatch.setattr(_run, "RESTART", restart)
    driver = _run._Driver(StandIn(*there), None, None)
    job = job_of(Path("/scan.ply"), "/out")
    attempt = _run._Attempt(job, 0, 0, 0, without="bad", allowed=frozenset({"good"}))
    future, waiting = StandIn(), deque()
    running = {future: attempt}
    assert driver._take_back(running, waiting) == is_taken_back
    assert future.cancelled == is_taken_back
    assert list(waiting) == ([attempt] if is_taken_back else [])
    assert len(running) == (not is_taken_back)


def test_a_wrong_recipe_is_told_before_anything_is_made(tmp_path, capsys):
    save_scan(tmp_path / "scans" / "cup.ply")
    recipe = tmp_path / "recipe.json"
    recipe.write_text('{"veld_recipe": 1,\n "steps": [{"step": "glue"}]}')
    arguments = [str(recipe), str(tmp_path / "scans"), "-o", str(tmp_path / "out")]
    assert command.main(arguments) == 1
    assert "recipe.json:2: steps[0].step" in capsys.readouterr().err
    assert not (tmp_path / "out").exists()


def test_without_dask_the_reason_is_clear(tmp_path, monkeypatch, capsys):
    monkeypatch.setitem(sys.modules, "distributed", None)
    save_scan(tmp_path / "scans" / "cup.ply")
    (tmp_path / "r.json").write_text(json.dumps(RECIPE))
    with pytest.raises(ImportError, match=r"pip install 'algorithmveld\[batch\]'"):
        batch.run(RECIPE, tmp_path / "scans", tmp_path / "out")
    assert command.main([str(tmp_path / "r.json"), str(tmp_path / "scans"), "-o", "out"]) == 1
    assert "algorithmveld[batch]" in capsys.readouterr().err


def test_the_help_has_an_example(capsys):
    assert command.main(["--help"]) == 0
    assert "python -m algorithmveld.batch recipe.json scans -o models" in capsys.readouterr().out
    assert command.main([]) == 1
    assert command.main(["r", "s", "-o", "o", "--scheduler", "tcp://x:1", "--workers", "2"]) == 1
    assert "for a cluster on this machine" in capsys.readouterr().err
