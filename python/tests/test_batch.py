"""A batch without its scheduler: which scans there are, what their tasks do, what the page has."""

import json
import os
import shutil
import subprocess
import sys
import threading
import time
import warnings
from collections import deque
from concurrent.futures import ThreadPoolExecutor
from contextlib import contextmanager, nullcontext
from dataclasses import replace
from pathlib import Path

import algorithmveld as veld
import numpy as np
import pytest
from algorithmveld import _calls, batch
from algorithmveld.batch import __main__ as command
from algorithmveld.batch import _driver, _run, _scheduler
from algorithmveld.batch._driver import Attempt
from algorithmveld.batch._page import write_summary
from algorithmveld.batch._places import Places, write_json
from algorithmveld.batch._results import result_at
from algorithmveld.batch._scans import Scan, content_of, find_scans, sizes_of
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


TEXTURING = {**RECIPE, "steps": [*RECIPE["steps"], {"step": "texture"}]}


def save_photo(folder, name, content):
    """What stands for a photograph, with a list of cameras that names it."""
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content)
    view = {
        "image": name, "width": 4, "height": 4, "fx": 1, "fy": 1, "cx": 0, "cy": 0,
        "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "t": [0, 0, 0],
    }  # fmt: skip
    (folder / "cameras.json").write_text(json.dumps({"views": [view]}))


def job_of(path, out, recipe=RECIPE, pictures=False, version=veld.__version__):
    scan = Scan(path.stem, str(path))
    whole = veld.check_recipe(recipe)  # as a batch takes it
    return Job(scan, str(out), whole, pictures=pictures, threads=1, batch="this", version=version)


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


def test_a_file_of_deep_brackets_is_no_scan(tmp_path):
    save_scan(tmp_path / "cup.ply")
    (tmp_path / "deep.json").write_text("[" * 100_000)
    assert list(found(tmp_path)) == ["cup"]
    assert list(found([tmp_path / "deep.json"])) == ["deep"]


def test_a_list_names_scans_relative_to_itself(tmp_path):
    save_scan(tmp_path / "scans" / "a.ply")
    listed = tmp_path / "list.txt"
    listed.write_text("# two scans\nscans/a.ply\n\n  scans/gone.ply\n")
    scans = found(listed)
    assert {name: scan.source for name, scan in scans.items()} == {
        "scans-a": str(tmp_path / "scans" / "a.ply"),
        "scans-gone": str(tmp_path / "scans" / "gone.ply"),
    }


@pytest.mark.parametrize(
    ("name", "text"),
    [
        ("points.txt", "0.5 1 2\n1 2 3\n"),
        ("points.txt", "0.5,1,2,7\n"),
        ("points.txt", "1 2 3 " * 100),  # longer than a name can be
        ("points.xyz", "2\n1 2 3\n4 5 6\n"),
    ],
)
def test_text_of_points_is_no_list(tmp_path, name, text):
    points = tmp_path / name
    points.write_text(text)
    assert list(found(points)) == ["points"]


@pytest.mark.parametrize("line", ["001", "2024 05/cup.ply", "1 2/3.ply", "1 2 cups.ply", "1 2 3"])
@pytest.mark.parametrize("encoding", ["utf-8", "utf-8-sig"])
def test_a_list_may_begin_with_a_number(tmp_path, line, encoding):
    save_scan(tmp_path / line / "cup.ply")
    listed = tmp_path / "list.txt"
    listed.write_text(f"{line}\n", encoding=encoding)
    assert [scan.source for scan in found(listed).values()] == [str(tmp_path / line)]


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
    first = look(job_of(path, tmp_path / "out")).key
    moved = save_scan(tmp_path / "two" / "cup.ply")
    assert look(job_of(moved, tmp_path / "out")).key == first
    keys = {first, look(job_of(path, tmp_path / "out", TEXTURING)).key}
    save_scan(path.parent / "other.ply")  # a neighbour is no part of it
    save_photo(path.parent / "photos", "a.jpg", b"a")
    assert look(job_of(path, tmp_path / "out")).key == first
    keys.add(look(job_of(path, tmp_path / "out", TEXTURING)).key)
    save_photo(path.parent / "photos", "a.jpg", b"b")
    keys.add(look(job_of(path, tmp_path / "out", TEXTURING)).key)
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


def frames_elsewhere(folder, kind):
    """A list of frames that names a file in another folder: the list, and that file."""
    other = folder / "other"
    other.mkdir(parents=True)
    scan = folder / "scan"
    scan.mkdir()
    if kind == "depth images":
        (scan / "cameras.json").write_text('{"views": [{"depth": "../other/0.png"}]}')
        return scan / "cameras.json", other / "0.png"
    if kind == "text":
        values = {"directory": "../other", "points": "p%d.txt", "poses": "m%d.txt", "rows": 2}
        (scan / "text.json").write_text(json.dumps(values))
        return scan / "text.json", other / "p0.txt"
    (scan / "bun.conf").write_text("bmesh ../other/bun.ply 0 0 0 0 0 0 1\n")
    return scan / "bun.conf", other / "bun.ply"


@pytest.mark.parametrize("given", ["list", "folder"])
@pytest.mark.parametrize("kind", ["depth images", "text", "range scans"])
def test_files_that_a_list_names_elsewhere_are_a_part_of_the_scan(tmp_path, kind, given):
    listed, file = frames_elsewhere(tmp_path, kind)
    scan = Scan("a", str(listed if given == "list" else listed.parent))
    file.write_bytes(b"one")
    before, size = content_of(scan, with_photos=False), sizes_of(scan)[0]
    file.write_bytes(b"another")
    assert content_of(scan, with_photos=False) != before
    assert sizes_of(scan) == (size + 4, 0)


def test_photographs_are_those_that_their_list_names(tmp_path):
    path = save_scan(tmp_path / "cup.ply")
    save_photo(tmp_path / "pictures", "../elsewhere.jpg", b"a")
    scan = Scan("cup", str(path), photos=str(tmp_path / "pictures"))
    before = content_of(scan, with_photos=True)
    assert content_of(scan, with_photos=False) != before
    (tmp_path / "pictures" / "notes.txt").write_text("not one of them")
    assert content_of(scan, with_photos=True) == before
    (tmp_path / "elsewhere.jpg").write_bytes(b"b")
    assert content_of(scan, with_photos=True) != before


def test_photographs_and_results_below_a_scan_are_no_part_of_it(tmp_path):
    scan = tmp_path / "ball"
    veld.frames(sphere_frames(24), scan)
    alone = look(job_of(scan, scan / "out")).key
    frames = sum(path.stat().st_size for path in scan.iterdir() if path.is_file())
    save_photo(scan / "photos", "a.jpg", b"123")
    (scan / "out" / "x-1").mkdir()
    (scan / "out" / "x-1" / "model.ply").write_bytes(b"made")
    assert look(job_of(scan, scan / "out")).key == alone
    listed = (scan / "photos" / "cameras.json").stat().st_size
    assert sizes_of(Scan("ball", str(scan))) == (frames, 3 + listed)


def test_linked_folders_are_looked_into_once(tmp_path):
    save_scan(tmp_path / "disk" / "cup.ply")
    (tmp_path / "scans").mkdir()
    (tmp_path / "scans" / "day").symlink_to(tmp_path / "disk")
    (tmp_path / "scans" / "same day").symlink_to(tmp_path / "disk")
    (tmp_path / "disk" / "back").symlink_to(tmp_path / "scans")
    assert list(found(tmp_path / "scans")) == ["day-cup"]


def locking(monkeypatch, locked):
    """Makes a folder one that cannot be read, also by those who can read all."""
    usual = os.scandir

    def scandir(path):
        if Path(path) == locked:
            raise PermissionError(13, "Permission denied", os.fspath(path))
        return usual(path)

    monkeypatch.setattr(os, "scandir", scandir)


def test_a_folder_that_cannot_be_read_is_a_scan_that_failed(tmp_path, monkeypatch):
    save_scan(tmp_path / "a.ply")
    locked = tmp_path / "day 1"
    save_scan(locked / "cup.ply")
    reason = f"{locked}: cannot be read: Permission denied"
    with monkeypatch.context() as patch:
        locking(patch, locked)
        scans = found(tmp_path)
        assert scans.keys() == {"a", "day_1"}
        assert sizes_of(scans["day_1"]) == (0, 0)
        state = take_all(replace(job_of(locked, tmp_path / "out"), scan=scans["day_1"]))
        assert state.reason == reason
        assert not state.may_do_elsewhere
        locking(patch, tmp_path)
        with pytest.raises(veld.InputError, match="cannot be read: Permission denied"):
            found(tmp_path)


def test_a_folder_that_can_be_read_again_is_no_failure_any_more(tmp_path, monkeypatch):
    locked = tmp_path / "scans" / "day 1"
    save_scan(locked / "cup.ply")
    places = Places(tmp_path / "out")
    places.make()
    write_json(places.failure(str(locked)), {"name": "day_1"})
    monkeypatch.setattr(_run, "connected", lambda *arguments: nullcontext(StandIn()))
    monkeypatch.setattr(_run._Driver, "go", lambda self, jobs: [])
    batch.run(RECIPE, tmp_path / "scans", tmp_path / "out")
    assert list(places.hidden.iterdir()) == []


def test_a_folder_of_scans_is_not_that_of_the_results(tmp_path):
    (tmp_path / "cameras.json").write_text('{"views": [{"depth": "0.png"}]}')
    for given in (tmp_path, [tmp_path], [tmp_path / "cameras.json"]):
        with pytest.raises(veld.InputError, match="is a folder of scans"):
            found(given, tmp_path)


def test_a_folder_that_is_one_scan_has_its_own_name(tmp_path, monkeypatch):
    veld.frames(sphere_frames(24), tmp_path / "ball")
    (tmp_path / "elsewhere").mkdir()
    monkeypatch.chdir(tmp_path / "elsewhere")
    assert list(found(tmp_path / "ball")) == ["ball"]
    assert list(found(Path("..", "ball"))) == ["ball"]
    monkeypatch.chdir(tmp_path / "ball")
    assert list(found(Path())) == ["ball"]


def test_names_of_files_may_be_of_any_bytes(tmp_path):
    folder = tmp_path / os.fsdecode(b"caf\xe9")
    for path in (
        save_scan(folder / os.fsdecode(b"cup\xe9.ply")),
        folder / os.fsdecode(b"x\xe9.ply"),
    ):
        path.touch()
        job = job_of(path, folder / "out", pictures=True)
        state = take_all(job)
        _run._Driver(StandIn(), Places(job.out), lambda line: None)._note(
            state, _run._Chain(job, 0, 0, 0)
        )
    write_summary(Places(folder / "out"))
    listed = json.loads((folder / "out" / "batch.json").read_text())
    assert listed["scans"][0]["source"] == str(folder / os.fsdecode(b"cup\xe9.ply"))
    assert str(folder / os.fsdecode(b"x\xe9.ply")) in listed["failures"][0]["reason"]
    assert "cup\\udce9.ply" in (folder / "out" / "index.html").read_text()


def test_a_long_name_is_cut_between_characters(tmp_path):
    """Names of files are counted in bytes. No folder of a result can have one of 301."""
    long = save_scan(tmp_path / ("\u6d4b" * 50) / ("x" + "\u91cf" * 49) / "cup.ply")
    [name] = found([long, save_scan(tmp_path / "cup.ply")]).keys() - {"cup"}
    assert name == "\u6d4b" * 50 + "-x" + "\u91cf" * 9
    [scan] = find_scans([long, tmp_path / "cup.ply"], tmp_path / "out", None, None)[:1]
    state = take_all(replace(job_of(long, tmp_path / "out"), scan=scan))
    assert state == State(key=state.key, is_there=True)


def test_recipes_that_mean_the_same_find_the_same_results(tmp_path):
    path = save_scan(tmp_path / "cup.ply")
    cleaning = {"step": "clean", "settings": {"clean_ups": [{"kind": "min-faces", "limit": 5}]}}
    plain = {"veld_recipe": 1, "steps": [cleaning, {"step": "fill"}]}
    file = tmp_path / "recipe.json"
    file.write_text(json.dumps({"$schema": "x", **plain}), encoding="utf-8-sig")
    limit = {"kind": "min-faces", "limit": np.int64(5)}
    odd = {
        "veld_recipe": 1,
        "steps": [
            {"step": "clean", "settings": {"clean_ups": [limit]}},
            {"step": "fill", "settings": {"max_perimeter": None}, "when": "always"},
        ],
    }
    keys = {look(job_of(path, tmp_path / "out", recipe)).key for recipe in (plain, file, odd)}
    assert len(keys) == 1
    other = {"veld_recipe": 1, "steps": [cleaning, {"step": "fill", "when": "open"}]}
    assert look(job_of(path, tmp_path / "out", other)).key not in keys


def test_a_worker_of_another_version_leaves_scans_to_others(tmp_path):
    job = job_of(save_scan(tmp_path / "cup.ply"), tmp_path / "out", version="0.0.1")
    for state in (look(job), take_step(State(key="cup-1"), job, 1)):
        assert f"has algorithmveld {veld.__version__}, and the batch 0.0.1" in state.reason
        assert state.may_do_elsewhere
    assert not (tmp_path / "out").exists()


def test_what_has_the_name_of_a_result_and_is_none_is_moved_aside(tmp_path):
    job = job_of(save_scan(tmp_path / "cup.ply"), tmp_path / "out")
    key = take_all(job).key
    (tmp_path / "out" / key / "scan.json").unlink()
    assert take_all(job) == State(key=key, is_there=True)
    aside = list((tmp_path / "out" / ".work").glob(f"{key}.aside-*"))
    assert [(path / "model.ply").is_file() for path in aside] == [True]


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


class Interleaved:
    """A step that warns, taken by two threads of which the one that begins first ends first."""

    def __init__(self):
        self._inside = [threading.Event() for _ in range(2)]
        self._go_on = [threading.Event() for _ in range(2)]

    def enter(self, number):
        self._inside[number].set()
        assert self._go_on[number].wait(60)
        _calls.warn(veld.VeldWarning("MESH_MENDED", f"mesh {number}", "mended", ""))

    def take(self, task):
        """What `task(number)` gave in each thread."""
        with ThreadPoolExecutor(2) as pool:
            answers = []
            for number, inside in enumerate(self._inside):
                answers.append(pool.submit(task, number))
                assert inside.wait(60)
            for answer, go_on in zip(answers, self._go_on, strict=True):
                go_on.set()
                answer.result(60)
        return [answer.result() for answer in answers]


@pytest.mark.filterwarnings("error")
def test_threads_of_a_worker_leave_the_warnings_of_the_process_alone(tmp_path, monkeypatch):
    steps = Interleaved()
    before = list(warnings.filters)
    jobs = [
        job_of(save_scan(tmp_path / f"{number}.ply", 9 + number), tmp_path / "out")
        for number in range(2)
    ]
    states = [look(job) for job in jobs]
    monkeypatch.setattr(veld, "run", lambda scan, *of, **options: steps.enter(int(Path(scan).stem)))
    taken = steps.take(lambda number: take_step(states[number], jobs[number], 1))
    assert taken == states
    assert warnings.filters == before


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
from algorithmveld.batch._places import Places, write_json
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


@pytest.mark.parametrize(
    "record",
    [
        "no JSON", "[]", "[" * 100_000, '{"steps": 3}', '{"steps": [7, {"name": 3}]}',
        '{"steps": [{"name": "fill", "seconds": "long", "warnings": [{"text": "a"}, "b"]}]}',
    ],
)  # fmt: skip
def test_a_damaged_record_spoils_no_page(tmp_path, record):
    out = tmp_path / "out"
    take_all(job_of(save_scan(tmp_path / "cup.ply"), out))
    (out / "old-1").mkdir()
    (out / "old-1" / "scan.json").write_text('{"name": 5}')
    (out / "old-1" / "run.json").write_text(record)
    (out / ".work" / "x.failed.json").write_text(
        '{"name": 5, "source": 5, "reason": 5, "finished": 5}'
    )
    write_summary(Places(out))
    listed = json.loads((out / "batch.json").read_text())["scans"]
    assert [scan["name"] for scan in listed] == ["cup", "5"]
    assert [step["name"] for step in listed[0]["steps"]] == ["clean", "fill"]
    assert listed[1]["seconds"] == 0


def on_full_disk(*arguments):
    raise OSError(28, "No space left on device")


def test_a_full_disk_takes_no_result_away(tmp_path, monkeypatch):
    job = job_of(tmp_path / "gone.ply", tmp_path / "out")
    lines = []
    driver = _run._Driver(StandIn(), Places(job.out), lines.append)
    monkeypatch.setattr(_run, "write_json", on_full_disk)
    driver._note(State(reason="no mesh"), _run._Chain(job, 0, 0, 0))
    assert [scan.reason for scan in driver._results] == ["no mesh"]
    assert "No space left" in lines[-1]


def test_what_ended_a_batch_is_told_also_where_the_disk_is_full(tmp_path, monkeypatch, capsys):
    @contextmanager
    def connected(*arguments):
        raise _scheduler.lost()
        yield

    save_scan(tmp_path / "scans" / "cup.ply")
    (tmp_path / "r.json").write_text(json.dumps(RECIPE))
    arguments = [str(tmp_path / "r.json"), str(tmp_path / "scans"), "-o", str(tmp_path / "out")]
    monkeypatch.setattr(_run, "connected", connected)
    monkeypatch.setattr(_run, "write_summary", on_full_disk)
    assert command.main(arguments) == 2
    told = capsys.readouterr().err.splitlines()
    assert "No space left" in told[-2]
    assert "the scheduler was lost" in told[-1]
    monkeypatch.setattr(_run, "connected", lambda *arguments: nullcontext(StandIn()))
    monkeypatch.setattr(_run._Driver, "go", lambda self, jobs: [])
    assert command.main(arguments) == 1
    assert "No space left" in capsys.readouterr().err


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
        self.threads = 1
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
    monkeypatch.setattr(_driver, "RESTART", restart)
    driver = _run._Driver(StandIn(*there), None, None)
    job = job_of(Path("/scan.ply"), "/out")
    attempt = Attempt(_run._Chain(job, 0, 0, 0), without="bad", allowed=frozenset({"good"}))
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
    with pytest.raises(ImportError, match="pip install 'distributed>="):
        batch.run(RECIPE, tmp_path / "scans", tmp_path / "out")
    arguments = [str(tmp_path / "r.json"), str(tmp_path / "scans"), "-o", str(tmp_path / "out")]
    assert command.main(arguments) == 1
    assert "pip install 'distributed>=" in capsys.readouterr().err
    assert not (tmp_path / "out").exists()


def test_the_help_has_an_example(capsys):
    assert command.main(["--help"]) == 0
    assert "python -m algorithmveld.batch recipe.json scans -o models" in capsys.readouterr().out
    assert command.main([]) == 1
    assert command.main(["r", "s", "-o", "o", "--scheduler", "tcp://x:1", "--workers", "2"]) == 1
    assert "for a cluster on this machine" in capsys.readouterr().err
