"""A batch on workers of a real scheduler, and what becomes of it when these die."""

import json
import os
import resource
import signal
import subprocess
import sys
import threading
import time
from contextlib import ExitStack, contextmanager

import algorithmveld as veld
import dask
import pytest
from algorithmveld import batch
from algorithmveld.batch._places import Places, read_json
from algorithmveld.batch._tasks import look
from distributed import Client, LocalCluster, WorkerPlugin
from test_batch import RECIPE, job_of, save_scan, steps_done


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


@pytest.fixture
def scans(tmp_path):
    return [save_scan(tmp_path / "scans" / f"m{i}.ply", 9 + i) for i in range(4)]


def run(client, tmp_path, **options):
    options.setdefault("pictures", False)
    address = client.scheduler.address
    return batch.run(RECIPE, tmp_path / "scans", tmp_path / "out", scheduler=address, **options)


def keys_of(scans, tmp_path):
    return [look(job_of(path, tmp_path / "out")).key for path in scans]


def assert_each_step_once(scans, tmp_path, but=0):
    """All results are there, with the bytes of one process. `but`: steps that were cut off."""
    keys = keys_of(scans, tmp_path)
    done = steps_done(tmp_path / "out")
    assert set(done) == {(key, step) for key in keys for step in ("clean", "fill")}
    assert len(set(done)) <= len(done) <= len(set(done)) + but
    for path, key in zip(scans, keys, strict=True):
        alone = tmp_path / "alone" / key
        veld.run(path, alone, recipe=RECIPE, pictures=False)
        made = tmp_path / "out" / key
        assert (made / "model.ply").read_bytes() == (alone / "model.ply").read_bytes()
    assert not list((tmp_path / "out" / ".work").glob("m*"))


@contextmanager
def held_up(scans, tmp_path):
    """No step of these scans can begin meanwhile."""
    places = Places(tmp_path / "out")
    places.make()
    with ExitStack() as stack:
        for key in keys_of(scans, tmp_path):
            stack.enter_context(places.lock(key))
        yield


class Background:
    """A batch in a thread of its own."""

    def __init__(self, work):
        self.result = None
        self.error = None
        self._thread = threading.Thread(target=self._go, args=(work,))
        self._thread.start()

    def _go(self, work):
        try:
            self.result = work()
        except Exception as error:
            self.error = error

    def wait(self):
        """What it gave; what it raised goes on."""
        self._thread.join(240)
        assert not self._thread.is_alive()
        if self.error:
            raise self.error
        return self.result


def executing(client, step):
    """The workers in which a task of this step is at work."""
    found = client.run(lambda dask_worker: [task.key for task in dask_worker.state.executing])
    return [worker for worker, keys in found.items() if any(k.startswith(step) for k in keys)]


def wait_for(condition):
    deadline = time.monotonic() + 120
    while not (found := condition()):
        assert time.monotonic() < deadline
        time.sleep(0.05)
    return found


def test_a_failed_scan_stops_no_other_and_a_second_batch_does_what_is_missing(
    client, scans, tmp_path
):
    bad = tmp_path / "scans" / "bad.ply"
    bad.write_text("no mesh")
    lines = []
    first = run(client, tmp_path, tell=lines.append)
    assert first.summary == "5 scans: 4 made, 1 failed"
    assert [(scan.name, scan.state) for scan in first.scans] == [
        ("bad", "failed"), *((f"m{i}", "made") for i in range(4)),
    ]  # fmt: skip
    assert str(bad) in first.failed[0].reason
    assert len(lines) == 5
    assert_each_step_once(scans, tmp_path)
    assert first.scans[1].result.mesh.faces.shape == (128, 3)
    assert (
        str(bad)
        in json.loads((tmp_path / "out" / "batch.json").read_text())["failures"][0]["reason"]
    )

    save_scan(bad, 14)
    second = run(client, tmp_path)
    assert second.summary == "5 scans: 1 made, 4 there already"
    assert_each_step_once([*scans, bad], tmp_path)
    assert json.loads((tmp_path / "out" / "batch.json").read_text())["failures"] == []


def test_two_batches_share_a_folder(client, scans, tmp_path):
    with held_up(scans, tmp_path):
        both = [Background(lambda: run(client, tmp_path)) for _ in range(2)]
        wait_for(lambda: executing(client, "clean"))
    results = [one.wait() for one in both]
    made = [scan.name for result in results for scan in result.scans if scan.state == "made"]
    assert sorted(made) == ["m0", "m1", "m2", "m3"]
    assert_each_step_once(scans, tmp_path)


def test_a_worker_that_is_killed_loses_nothing(client, scans, tmp_path):
    pids = client.run(os.getpid)
    with held_up(scans, tmp_path):
        at_work = Background(lambda: run(client, tmp_path))
        victim = wait_for(lambda: executing(client, "clean"))[0]
        os.kill(pids[victim], signal.SIGKILL)
        wait_for(lambda: pids[victim] not in client.run(os.getpid, on_error="ignore").values())
    assert at_work.wait().summary == "4 scans: 4 made"
    assert_each_step_once(scans, tmp_path, but=1)


def limit_files(size):
    """For a worker: what it writes can only be so long."""

    def limit():
        hard = resource.getrlimit(resource.RLIMIT_FSIZE)[1]
        resource.setrlimit(resource.RLIMIT_FSIZE, (hard if size is None else size, hard))

    return limit


def test_a_worker_that_cannot_write_leaves_its_scans_to_others(client, tmp_path):
    scans = [save_scan(tmp_path / "scans" / f"m{i:02}.ply", 9 + i) for i in range(16)]
    with held_up(scans, tmp_path):
        at_work = Background(lambda: run(client, tmp_path))
        victim = wait_for(lambda: executing(client, "clean"))[0]
        client.run(limit_files(100), workers=[victim])
    try:
        assert at_work.wait().summary == "16 scans: 16 made"
    finally:
        client.run(limit_files(None), workers=[victim])
    assert_each_step_once(scans, tmp_path, but=len(scans))


def killer_of(name):
    """Takes a worker down whenever it gets this scan, also those that are started for it."""

    class Killer(WorkerPlugin):  # in here, so that workers get it as a value
        def setup(self, worker):
            usual = veld.run

            def run(scan, *arguments, **options):
                if scan.endswith(name):
                    os._exit(1)
                return usual(scan, *arguments, **options)

            veld.run = run

    return Killer()


def test_a_scan_that_takes_its_workers_down_is_told_of_and_stops_no_other(scans, tmp_path):
    with (
        dask.config.set({"distributed.scheduler.allowed-failures": 0}),
        LocalCluster(
            n_workers=2, threads_per_worker=1, dashboard_address="127.0.0.1:0", silence_logs=50
        ) as cluster,
        Client(cluster, set_as_default=False) as client,
    ):
        client.register_plugin(killer_of("m1.ply"))
        result = run(client, tmp_path)
    assert result.summary == "4 scans: 3 made, 1 failed"
    assert result.failed[0].name == "m1"
    assert (
        result.failed[0].reason == "clean: its worker was lost each time; it may need more memory"
    )


def test_a_batch_ends_with_its_scheduler_and_goes_on_with_another(client, scans, tmp_path):
    file = tmp_path / "scheduler.json"
    common = ["--scheduler-file", str(file), "--no-dashboard"]
    with ExitStack() as stack:

        def start(program, *more):
            command = [sys.executable, "-m", f"distributed.cli.dask_{program}", *common, *more]
            log = stack.enter_context((tmp_path / f"{program}.log").open("w"))
            process = stack.enter_context(subprocess.Popen(command, stderr=log, stdout=log))
            stack.callback(process.kill)
            return process

        scheduler = start("scheduler", "--port", "0", "--host", "127.0.0.1")
        address = wait_for(lambda: read_json(file))["address"]
        start("worker", "--no-nanny", "--nthreads", "1")
        lines = []
        with held_up(scans[2:], tmp_path):
            at_work = Background(
                lambda: batch.run(
                    RECIPE, tmp_path / "scans", tmp_path / "out",
                    scheduler=address, pictures=False, tell=lines.append,
                )
            )  # fmt: skip
            wait_for(lambda: len(lines) == 3)
            scheduler.kill()
            with pytest.raises(veld.OperationError, match="the scheduler was lost"):
                at_work.wait()
    assert "not all workers declare their memory" in lines[0]
    assert run(client, tmp_path).summary == "4 scans: 2 made, 2 there already"
    assert_each_step_once(scans, tmp_path)


def test_a_scheduler_that_is_not_there_is_told(tmp_path, scans, capsys):
    from algorithmveld.batch import __main__ as command

    (tmp_path / "recipe.json").write_text(json.dumps(RECIPE))
    arguments = [
        str(tmp_path / "recipe.json"),
        str(tmp_path / "scans"),
        "-o",
        str(tmp_path / "out"),
    ]
    assert command.main([*arguments, "--scheduler", "nothing://here"]) == 2
    assert "nothing://here: the scheduler cannot be reached" in capsys.readouterr().err
