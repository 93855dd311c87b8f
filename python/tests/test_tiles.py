"""A scan in tiles: step by step, in one call, and as tasks on workers that die."""

import itertools
import json
import os
import pickle
import shutil
import signal
import warnings
from dataclasses import replace

import algorithmveld as veld
import dask
import pytest
from algorithmveld import _calls, _core, batch
from algorithmveld.batch import _tiles
from algorithmveld.batch import tiles as command
from algorithmveld.batch._driver import Attempt
from algorithmveld.batch._places import Places
from algorithmveld.batch._tile_tasks import TileJob, take_tile_step
from distributed import Client, LocalCluster, WorkerPlugin
from scans import sphere_frames
from test_batch import Interleaved, StandIn, save_photo
from test_batch_cluster import Background, executing, wait_for

DIVISION = {"tile_points": 3000, "tile_margin": 12.0, "max_hole_edges": 12}


@pytest.fixture(scope="module")
def scan(tmp_path_factory):
    folder = tmp_path_factory.mktemp("scan") / "frames"
    veld.frames(sphere_frames(), folder)
    return folder


@pytest.fixture(scope="module")
def alone(scan, tmp_path_factory):
    """The bytes of the mesh that one process makes."""
    mesh = tmp_path_factory.mktemp("alone") / "mesh.ply"
    veld.merge_in_tiles(scan, mesh, **DIVISION)
    return mesh.read_bytes()


@pytest.fixture(scope="module")
def cluster():
    with LocalCluster(
        n_workers=2, threads_per_worker=1, dashboard_address="127.0.0.1:0", silence_logs=50,
        resources={"MEMORY": 1e9},
    ) as made:  # fmt: skip
        yield made


@pytest.fixture
def client(cluster):
    with Client(cluster, set_as_default=False) as made:
        made.wait_for_workers(2, timeout=60)
        yield made


def without_times(values):
    """Values of which two runs have the same."""
    if isinstance(values, dict):
        return {
            key: without_times(value)
            for key, value in values.items()
            if key not in ("seconds", "plan_seconds")
        }
    return [without_times(value) for value in values] if isinstance(values, list) else values


def steps_done(work):
    return sorted(line.split()[3] for line in (work / "batch.log").read_text().splitlines())


def all_steps(n):
    return sorted(
        ["join-00000", "plan-00000", *(f"{s}-{i:05}" for s in ("thin", "merge") for i in range(n))]
    )


def test_the_steps_one_by_one_give_the_mesh_of_all_at_once(scan, alone, tmp_path):
    work, mesh = tmp_path / "work", tmp_path / "mesh.ply"
    plan = veld.plan_tiles(scan, work, **DIVISION)
    assert len(plan.tiles) > 2
    assert sum(tile["points"] for tile in plan.tiles) == plan.points
    assert max(tile["points"] for tile in plan.tiles) <= 3000
    assert plan.settings["max_hole_edges"] == 12
    tiles = range(len(plan.tiles))
    thin = [veld.thin_tile(work, tile) for tile in tiles]
    assert [one.points for one in thin] == [t["points"] + t["margin"] for t in plan.tiles]
    merged = [veld.merge_tile(work, tile) for tile in reversed(tiles)]
    joined = veld.join_tiles(work, mesh)
    assert joined.faces > sum(one.faces for one in merged)  # and those over seams
    assert mesh.read_bytes() == alone
    assert veld.info(mesh).faces == joined.faces
    assert veld.plan_tiles(scan, work, **DIVISION).found
    assert veld.thin_tile(work, 0).found
    assert veld.merge_tile(work, 0).found


def test_all_at_once_tells_each_tile_and_keeps_what_it_is_asked_to(scan, alone, tmp_path):
    told, steps = [], []
    first = veld.merge_in_tiles(
        scan, tmp_path / "a.ply", folder=tmp_path / "work", done=lambda *of: told.append(of),
        progress=lambda step, fraction: steps.append(fraction), **DIVISION,
    )  # fmt: skip
    assert (tmp_path / "a.ply").read_bytes() == alone
    assert [tile for tile, _, _ in told] == list(range(len(first.tiles)))
    assert told[0][2].to_dict() == first.tiles[0]["merge"]
    assert told[0][1].to_dict() == first.tiles[0]["thin"]
    assert all(b > a - 1e-9 for a, b in itertools.pairwise(steps))
    assert steps[-1] == pytest.approx(1.0)
    again = veld.merge_in_tiles(scan, tmp_path / "b.ply", folder=tmp_path / "work", **DIVISION)
    assert all(tile["thin"]["found"] and tile["merge"]["found"] for tile in again.tiles)
    assert (tmp_path / "b.ply").read_bytes() == alone
    assert sorted(path.name for path in tmp_path.iterdir()) == ["a.ply", "b.ply", "work"]


def test_defaults_are_those_of_the_library(scan, tmp_path):
    library = _core.plan_tiles(scan, tmp_path / "work", {}, {}, {}, _core.Call(None, None, 0))
    mine = veld.plan_tiles(scan, tmp_path / "work")
    assert mine.found
    assert (mine.tile_points, mine.margin) == (library["tile_points"], library["margin"])
    assert json.loads(mine.to_json())["tiles"] == library["tiles"]


@pytest.mark.parametrize(
    ("wrong", "reason"),
    [
        ({"tile_points": 0}, "'tile_points' has to be"),
        ({"tile_points": 1.5}, "'tile_points' has to be a whole number"),
        ({"tile_margin": 7}, "'tile_margin' has to be"),
        ({"scale": -1}, "'scale'"),
        ({"method": "outlier"}, "tiles are stitched"),
        ({"wrong": 1}, "'wrong'"),
    ],
)
def test_a_wrong_setting_is_refused_before_anything_is_made(scan, tmp_path, wrong, reason):
    with pytest.raises(veld.InputError, match=reason):
        veld.plan_tiles(scan, tmp_path / "work", **wrong)
    with pytest.raises(veld.InputError, match=reason):
        veld.merge_in_tiles(scan, tmp_path / "mesh.ply", **wrong)
    assert list(tmp_path.iterdir()) == []


def test_a_step_that_comes_too_early_names_the_file(scan, tmp_path):
    with pytest.raises(veld.InputError, match=r"plan\.json"):
        veld.thin_tile(tmp_path, 0)
    plan = veld.plan_tiles(scan, tmp_path / "work", **DIVISION)
    with pytest.raises(veld.InputError, match="thin"):
        veld.merge_tile(tmp_path / "work", 0)
    with pytest.raises(veld.InputError, match=r"mesh\.tile"):
        veld.join_tiles(tmp_path / "work", tmp_path / "mesh.ply")
    with pytest.raises(veld.InputError, match=f"there is no tile {len(plan.tiles)}"):
        veld.thin_tile(tmp_path / "work", len(plan.tiles))


def test_no_file_is_replaced_against_the_will_of_the_host(scan, tmp_path):
    mesh = tmp_path / "mesh.ply"
    mesh.write_text("mine")
    with pytest.raises(veld.Error, match=r"mesh\.ply"):
        veld.merge_in_tiles(scan, mesh, overwrite=False, **DIVISION)
    with pytest.raises(veld.InputError, match=r"\.ply"):
        veld.merge_in_tiles(scan, tmp_path / "mesh.stl", **DIVISION)
    assert mesh.read_text() == "mine"


def test_a_cancelled_merge_goes_on_where_it_was(scan, alone, tmp_path):
    cancel = veld.Cancel()
    with pytest.raises(veld.Cancelled):
        veld.merge_in_tiles(
            scan, tmp_path / "mesh.ply", folder=tmp_path / "work", cancel=cancel,
            done=lambda tile, thin, merged: cancel.cancel(), **DIVISION,
        )  # fmt: skip
    assert not (tmp_path / "mesh.ply").exists()
    result = veld.merge_in_tiles(scan, tmp_path / "mesh.ply", folder=tmp_path / "work", **DIVISION)
    assert all(tile["thin"]["found"] for tile in result.tiles)
    assert result.tiles[0]["merge"]["found"]
    assert not result.tiles[-1]["merge"]["found"]
    assert (tmp_path / "mesh.ply").read_bytes() == alone


def test_what_a_host_raises_for_a_tile_reaches_it(scan, tmp_path):
    def refuse(tile, thin, merged):
        raise RuntimeError("enough")

    with pytest.raises(RuntimeError, match="enough"):
        veld.merge_in_tiles(scan, tmp_path / "mesh.ply", done=refuse, **DIVISION)
    assert list(tmp_path.iterdir()) == []


def run(client, scan, tmp_path, **options):
    return batch.merge_in_tiles(
        scan, tmp_path / "mesh.ply", tmp_path / "work", scheduler=client.scheduler.address,
        **{**DIVISION, **options},
    )  # fmt: skip


def test_tasks_give_the_bytes_of_one_process_and_a_second_run_does_nothing(
    client, scan, alone, tmp_path
):
    lines = []
    result = run(client, scan, tmp_path, tell=lines.append)
    n = len(result.tiles)
    assert (tmp_path / "mesh.ply").read_bytes() == alone
    assert steps_done(tmp_path / "work") == all_steps(n)
    assert len(lines) == 2 * n + 2
    other = veld.merge_in_tiles(scan, tmp_path / "other.ply", **DIVISION)
    assert without_times(result.to_dict()) == without_times(other.to_dict())

    lines.clear()
    (tmp_path / "mesh.ply").unlink()
    run(client, scan, tmp_path, tell=lines.append)
    assert all(line.endswith("there already") for line in lines[:-1])
    assert (tmp_path / "mesh.ply").read_bytes() == alone
    assert steps_done(tmp_path / "work") == sorted([*all_steps(n), "join-00000"])


def test_a_worker_that_is_killed_loses_nothing(client, scan, alone, tmp_path):
    plan = veld.plan_tiles(scan, tmp_path / "work", **DIVISION)
    places = Places(tmp_path / "work")
    places.make()
    pids = client.run(os.getpid)
    with places.lock("merge-00000"):
        at_work = Background(lambda: run(client, scan, tmp_path))
        victim = wait_for(lambda: executing(client, "merge-00000"))[0]
        os.kill(pids[victim], signal.SIGKILL)
        wait_for(lambda: pids[victim] not in client.run(os.getpid, on_error="ignore").values())
    at_work.wait()
    assert (tmp_path / "mesh.ply").read_bytes() == alone
    done = steps_done(tmp_path / "work")
    assert sorted({*done, "plan-00000"}) == all_steps(len(plan.tiles))
    assert len(done) == len(set(done))


def breaking(function):
    """For a worker: a step fails from now on."""

    def broken(*arguments, **options):
        raise OSError(28, "No space left on device", "/a/disk")

    def install():
        import algorithmveld

        setattr(algorithmveld, function, broken)

    return install


def mending(function):
    usual = getattr(veld, function)

    def mend():
        import algorithmveld

        setattr(algorithmveld, function, usual)

    return mend


def test_a_step_that_fails_is_tried_on_another_worker(client, scan, alone, tmp_path):
    victim = next(iter(client.run(os.getpid)))
    client.run(breaking("thin_tile"), workers=[victim])
    try:
        run(client, scan, tmp_path)
    finally:
        client.run(mending("thin_tile"))
    assert (tmp_path / "mesh.ply").read_bytes() == alone


def test_a_step_that_fails_everywhere_ends_the_merge_with_its_reason(client, scan, alone, tmp_path):
    client.run(breaking("merge_tile"))
    try:
        with pytest.raises(veld.OperationError, match="/a/disk: No space left on device"):
            run(client, scan, tmp_path)
    finally:
        client.run(mending("merge_tile"))
    assert not (tmp_path / "mesh.ply").exists()
    run(client, scan, tmp_path)
    assert (tmp_path / "mesh.ply").read_bytes() == alone


def tile_job(tmp_path):
    return TileJob(str(tmp_path), str(tmp_path), "mesh.ply", {}, 1, veld.__version__)


@pytest.mark.filterwarnings("error")
def test_each_thread_of_a_worker_gets_the_warnings_of_its_own_tile(tmp_path, monkeypatch):
    steps = Interleaved()
    before = list(warnings.filters)

    def thin_tile(folder, tile, **options):
        steps.enter(tile)
        return veld.Result({"seconds": 0.0})

    monkeypatch.setattr(veld, "thin_tile", thin_tile)
    answers = steps.take(lambda tile: take_tile_step(tile_job(tmp_path), "thin", tile))
    assert [[one.about for one in answer.warnings] for answer in answers] == [
        ["mesh 0"], ["mesh 1"],
    ]  # fmt: skip
    assert warnings.filters == before


def failing_thin_tile(folder, tile, **options):
    _calls.warn(veld.VeldWarning("MESH_MENDED", "tile", "mended", ""))
    raise OSError(28, "No space left on device", "/a/disk")


class Done(StandIn):
    """A future with an answer."""

    status = "finished"

    def __init__(self, answer):
        self._answer = answer

    def exception(self):
        return None

    def result(self):
        return self._answer


def test_what_a_step_that_fails_warned_of_is_told_before_its_reason(tmp_path, monkeypatch):
    monkeypatch.setattr(veld, "thin_tile", failing_thin_tile)
    answer = take_tile_step(tile_job(tmp_path), "thin", 0)
    answer = pickle.loads(pickle.dumps(answer))  # as it comes from a worker
    lines = []
    driver = _tiles._Driver(StandIn("worker"), tile_job(tmp_path), lines.append)
    attempt = Attempt(_tiles._Step("thin", 0, 0))
    with (
        pytest.warns(veld.VeldWarning, match="tile: mended"),
        pytest.raises(veld.OperationError, match="/a/disk: No space left"),
    ):
        driver._take(Done(replace(answer, worker="worker")), attempt)
    again = driver._take(Done(answer), attempt)  # where another worker may do better
    assert [one.work for one in again] == [attempt.work]
    assert lines == []


def killer_of(tile):
    """Takes a worker down whenever it gets this tile to stitch."""

    class Killer(WorkerPlugin):  # in here, so that workers get it as a value
        def setup(self, worker):
            usual = veld.merge_tile

            def merge_tile(folder, number, **options):
                if number == tile:
                    os._exit(1)
                return usual(folder, number, **options)

            veld.merge_tile = merge_tile

    return Killer()


def test_a_tile_that_takes_its_workers_down_is_told_of(client, scan, alone, tmp_path):
    with (
        dask.config.set({"distributed.scheduler.allowed-failures": 0}),
        LocalCluster(
            n_workers=2, threads_per_worker=1, dashboard_address="127.0.0.1:0", silence_logs=50
        ) as cluster,
        Client(cluster, set_as_default=False) as other,
    ):
        other.register_plugin(killer_of(1))
        with pytest.raises(veld.OperationError, match="merge tile 1: its worker was lost each"):
            run(other, scan, tmp_path)
    lines = []
    result = run(client, scan, tmp_path, tell=lines.append)
    [line] = [line for line in lines if " merge tile 1: " in line]
    assert not line.endswith("there already")
    assert (tmp_path / "mesh.ply").read_bytes() == alone
    assert steps_done(tmp_path / "work") == all_steps(len(result.tiles))


def test_tasks_declare_the_memory_of_their_tile(client, scan, tmp_path, monkeypatch):
    asked = []
    usual = _tiles.Scheduler.resources
    monkeypatch.setattr(
        _tiles.Scheduler, "resources", lambda self, need: asked.append(need) or usual(self, need)
    )
    result = run(client, scan, tmp_path)
    needs = [
        _tiles.LEAST_MEMORY + _tiles.POINT_MEMORY * (tile["points"] + tile["margin"])
        for tile in result.tiles
    ]
    assert asked[1:] == [*needs, *needs, max(needs)]


def test_what_would_fail_at_the_end_is_refused_at_once(scan, tmp_path):
    work = tmp_path / "work"
    with pytest.raises(veld.InputError, match=r"becomes a \.ply file"):
        batch.merge_in_tiles(scan, tmp_path / "mesh.stl", work)
    with pytest.raises(veld.InputError, match="no such folder"):
        batch.merge_in_tiles(scan, tmp_path / "nowhere" / "mesh.ply", work)
    with pytest.raises(veld.InputError, match="no such file or folder"):
        batch.merge_in_tiles(tmp_path / "nothing", tmp_path / "mesh.ply", work)
    with pytest.raises(veld.InputError, match="see `tell`"):
        batch.merge_in_tiles(scan, tmp_path / "mesh.ply", work, cancel=veld.Cancel())
    assert list(tmp_path.iterdir()) == []


def test_a_file_of_the_scan_is_no_output_by_any_name(tmp_path):
    scans = tmp_path / "scans"
    scans.mkdir()
    part = scans / "part.ply"
    part.write_text("kept")
    (scans / "all.conf").write_text("bmesh part.ply 0 0 0 0 0 0 1\n")
    (tmp_path / "link").symlink_to(scans)
    for output in (scans / ".." / "scans" / "part.ply", tmp_path / "link" / "part.ply"):
        with pytest.raises(veld.InputError, match="is a file of the scan"):
            batch.merge_in_tiles(scans / "all.conf", output, tmp_path / "work")
    assert part.read_text() == "kept"


def test_only_files_that_a_merge_reads_count(client, scan, alone, tmp_path):
    """OUT among the frames is none of them, nor are photographs beside them read."""
    frames = tmp_path / "frames"
    shutil.copytree(scan, frames)
    save_photo(frames / "photos", "gone.jpg", b"")
    (frames / "photos" / "gone.jpg").unlink()
    for _ in range(2):
        batch.merge_in_tiles(
            frames, frames / "frames.ply", tmp_path / "work",
            scheduler=client.scheduler.address, **DIVISION,
        )  # fmt: skip
        assert (frames / "frames.ply").read_bytes() == alone


def save_text_frames(folder, form):
    """Two frames of two by two points: their poses in a file for all, or in one for each."""
    pose = "1 0 0 0 0 1 0 0 0 0 1 0\n"
    for number in (1, 2):
        points = "".join(f"{x} {y} {number} 0 0 0\n" for y in (0, 1) for x in (0, 1))
        (folder / f"p{number}.txt").write_text(points)
        (folder / f"m{number}.txt").write_text(pose)
    (folder / "m.txt").write_text("".join(f"frame {number}\n{pose}" for number in (1, 2)))
    description = {
        "rows": 2, "columns": 2, "points": {"prefix": "p", "suffix": ".txt"},
        "poses": {"form": form, "prefix": "m", "suffix": ".txt"}, "first": 1, "last": 2,
    }  # fmt: skip
    (folder / "text.json").write_text(json.dumps(description))
    return folder / "text.json"


@pytest.mark.parametrize("form", ["common", "twelve"])
def test_the_plan_declares_what_is_in_memory_at_a_time(tmp_path, form):
    source = save_text_frames(tmp_path, form)
    read = ["p1", "p2", "m"] if form == "common" else ["p1", "p2", "m1", "m2"]
    sizes = [(tmp_path / f"{name}.txt").stat().st_size for name in read]
    sizes.append(source.stat().st_size)
    size = sum(sizes) if form == "common" else max(sizes)
    expected = _tiles.LEAST_MEMORY + _tiles.SCAN_FACTOR * size
    assert _tiles._check_files(source, tmp_path / "mesh.ply") == expected


def test_the_command_merges_and_tells(client, scan, alone, tmp_path, capsys):
    recipe = {
        "veld_recipe": 1, "steps": [{"step": "merge", "settings": {"max_hole_edges": 12}}],
    }  # fmt: skip
    (tmp_path / "recipe.json").write_text(json.dumps(recipe))
    mesh = tmp_path / "mesh.ply"
    arguments = [
        str(scan), "-o", str(mesh), "--work", str(tmp_path / "work"), "--tile-points", "3000",
        "--recipe", str(tmp_path / "recipe.json"), "--scheduler", client.scheduler.address,
    ]  # fmt: skip
    assert command.main([*arguments, "--tile-margin", "12", "--json"]) == 0
    told = capsys.readouterr()
    values = json.loads(told.out)
    assert values["faces"] == veld.info(mesh).faces
    assert f"{len(values['tiles'])}/{len(values['tiles'])} merge tile" in told.err
    assert mesh.read_bytes() == alone
    assert command.main([*arguments, "--tile-margin", "13"]) == 1
    assert "holds the tiles of other files or settings" in capsys.readouterr().err
    assert command.main([*arguments, "--workers", "2"]) == 1
    assert command.main([str(scan)]) == 1


@pytest.mark.parametrize(
    ("name", "step"), [("piece-000000.rge", "thin"), ("thin.json", "merge"), ("mesh.tile", "join")]
)
def test_a_damaged_file_of_a_tile_is_wrong_for_every_worker(
    scan, tmp_path, monkeypatch, capsys, name, step
):
    """So it ends with the status that the help tells for what is wrong."""
    job = TileJob(str(scan), str(tmp_path), str(tmp_path / "m.ply"), DIVISION, 1, veld.__version__)
    tiles = len(take_tile_step(job, "plan", 0).values["tiles"])
    for before in ["thin", "merge"][: ["thin", "merge", "join"].index(step)]:
        for tile in range(tiles):
            assert take_tile_step(job, before, tile).error is None
    (tmp_path / "tile-00000" / name).write_text("damaged")
    answer = take_tile_step(job, step, 0)
    assert name in str(answer.error)
    assert not answer.may_do_elsewhere

    def refuse(*arguments, **options):
        raise answer.error

    monkeypatch.setattr(command, "merge_in_tiles", refuse)
    arguments = [str(scan), "-o", str(tmp_path / "m.ply"), "--work", str(tmp_path)]
    assert command.main(arguments) == 1
    assert name in capsys.readouterr().err
    assert command.main(["--help"]) == 0
    assert "1\nwhere the scan, the arguments or a file in DIR are wrong" in capsys.readouterr().out


def test_a_cluster_of_its_own_does_the_same(scan, alone, tmp_path):
    batch.merge_in_tiles(scan, tmp_path / "mesh.ply", tmp_path / "work", workers=2, **DIVISION)
    assert (tmp_path / "mesh.ply").read_bytes() == alone
