"""Progress, cancel, Ctrl-C, threads, warnings, the log."""

import logging
import os
import signal
import subprocess
import sys
import threading
import warnings
from pathlib import Path

import algorithmveld as veld
import numpy as np
import pytest
from scans import grid, sphere_frames


def long_work(**options):
    """Seconds of work that can be ended at any time."""
    vertices, faces = grid(400)
    rng = np.random.default_rng(1)
    keep = rng.random(len(faces)) > 0.1
    mesh = veld.Mesh(vertices, faces[keep])
    return lambda: veld.fill(mesh, method="core", max_perimeter=0, **options)


def test_progress_grows_to_one():
    told = []
    veld.merge(sphere_frames(24), progress=lambda step, fraction: told.append((step, fraction)))
    fractions = [fraction for _, fraction in told]
    assert fractions == sorted(fractions)
    assert fractions[0] == 0.0
    assert fractions[-1] == 1.0
    assert len({step for step, _ in told}) > 1


def test_progress_true_shows_a_bar(capsys):
    veld.merge(sphere_frames(24), progress=True)
    assert "100%" in capsys.readouterr().err


def test_an_exception_of_the_listener_ends_the_step():
    def stop(step, fraction):
        raise LookupError("no more")

    with pytest.raises(LookupError, match="no more"):
        veld.merge(sphere_frames(24), progress=stop)


def test_a_listener_may_run_steps_on_the_same_mesh():
    mesh = veld.Mesh(*grid(30, hole=True))
    inner = []

    def look(step, fraction):
        if not inner:
            inner.append(veld.info(mesh).holes)
            inner.append(veld.info(mesh, progress=lambda *told: None).holes)
            inner.append(veld.fill(mesh).holes_after)

    assert veld.info(mesh, progress=look).holes == 2
    assert inner == [2, 2, 1]
    inner.clear()
    veld.fill(mesh, progress=look)
    assert inner == [2, 2, 1]


def test_a_cancelled_token_ends_the_step_before_it_begins():
    cancel = veld.Cancel()
    assert not cancel.cancelled
    cancel.cancel()
    assert cancel.cancelled
    with pytest.raises(veld.Cancelled):
        veld.fill(veld.Mesh(*grid(7)), cancel=cancel)


def test_cancel_from_another_thread_ends_the_step():
    cancel = veld.Cancel()
    begun = threading.Event()
    work = long_work(cancel=cancel, progress=lambda *told: begun.set())

    def stop():
        begun.wait()
        cancel.cancel()

    stopper = threading.Thread(target=stop)
    stopper.start()
    with pytest.raises(veld.Cancelled):
        work()
    stopper.join()


def test_other_threads_run_while_a_step_works():
    begun, ended = threading.Event(), threading.Event()
    cancel = veld.Cancel()
    work = long_work(cancel=cancel, progress=lambda *told: begun.set())

    def step():
        with pytest.raises(veld.Cancelled):
            work()
        ended.set()

    worker = threading.Thread(target=step)
    worker.start()
    begun.wait()
    turns = 0
    while turns < 1000:
        turns += 1
    assert not ended.is_set()
    cancel.cancel()
    worker.join()
    assert ended.is_set()


def test_many_threads_use_one_mesh():
    mesh = veld.Mesh(*grid(40, hole=True))
    answers = []

    def look():
        for _ in range(5):
            answers.append((veld.info(mesh).holes, veld.fill(mesh).holes_after))

    workers = [threading.Thread(target=look) for _ in range(4)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert answers == [(2, 1)] * 20


INTERRUPTED = """
import signal, sys
import algorithmveld as veld
from test_calls import long_work
{before}
work = long_work(progress=lambda step, fraction: print("begun", flush=True))
try:
    work()
except {expected}:
    print("ended")
    sys.exit(0)
sys.exit(3)
"""


@pytest.mark.skipif(os.name == "nt", reason="sends a signal")
@pytest.mark.parametrize(
    ("before", "expected"),
    [
        ("", "KeyboardInterrupt"),
        ("signal.signal(signal.SIGINT, lambda *told: None)", "veld.Cancelled"),
    ],
)
def test_ctrl_c_ends_a_step_in_the_main_thread(before, expected):
    code = INTERRUPTED.format(before=before, expected=expected)
    environment = {**os.environ, "PYTHONPATH": str(Path(__file__).parent)}
    child = subprocess.Popen(
        [sys.executable, "-c", code], stdout=subprocess.PIPE, text=True, env=environment
    )
    try:
        assert child.stdout.readline() == "begun\n"
        child.send_signal(signal.SIGINT)
        assert "ended" in child.communicate(timeout=120)[0]
        assert child.returncode == 0
    finally:
        child.kill()
        child.wait()


@pytest.mark.skipif(os.name == "nt", reason="sends a signal")
def test_ctrl_c_is_again_what_it_was_behind_a_step():
    code = (
        "import os, signal, time\n"
        "from scans import sphere_mesh\n"
        "import algorithmveld as veld\n"
        "before = signal.getsignal(signal.SIGINT)\n"
        "veld.info(sphere_mesh(8))\n"
        "assert signal.getsignal(signal.SIGINT) is before\n"
        "try:\n"
        "    os.kill(os.getpid(), signal.SIGINT)\n"
        "    time.sleep(60)\n"
        "except KeyboardInterrupt:\n"
        "    print('ended')\n"
    )
    environment = {**os.environ, "PYTHONPATH": str(Path(__file__).parent)}
    done = subprocess.run(
        [sys.executable, "-c", code], env=environment, text=True, capture_output=True, timeout=120
    )
    assert done.stdout == "ended\n", done.stderr


def test_warnings_have_a_code_and_the_line_of_the_host():
    with pytest.warns(veld.VeldWarning) as caught:
        veld.fill(veld.Mesh(*grid(3)), method="markers", markers=[[99, 99, 99]])
    warning = caught[0].message
    assert warning.code == "MARKER_WITHOUT_HOLE"
    assert str(warning).endswith("[MARKER_WITHOUT_HOLE]")
    assert caught[0].filename == __file__


def test_warnings_can_be_made_errors():
    with warnings.catch_warnings():
        warnings.simplefilter("error", veld.VeldWarning)
        with pytest.raises(veld.VeldWarning):
            veld.fill(veld.Mesh(*grid(3)), method="markers", markers=[[99, 99, 99]])


def test_errors_are_of_kinds_that_python_knows():
    assert issubclass(veld.InputError, ValueError)
    assert issubclass(veld.OperationError, RuntimeError)
    assert issubclass(veld.InputError, veld.Error)
    with pytest.raises(ValueError, match="no such file"):
        veld.load_mesh("nowhere.ply")


def test_an_error_names_the_setting_that_may_help():
    frames = sphere_frames(24)
    with pytest.raises(veld.OperationError) as caught:
        veld.merge(frames, min_component=10_000_000)
    assert caught.value.setting == "min_component"
    assert "min_component" in str(caught.value)
    assert caught.value.reason in str(caught.value)


def test_the_log_goes_where_it_is_sent(capfd):
    mesh = veld.Mesh(*grid(7, hole=True))
    lines = []
    veld.set_log(lines.append)
    try:
        veld.fill(mesh, method="core")
    finally:
        veld.set_log(None)
    assert "".join(lines).count("\n") > 1
    told = len(lines)
    veld.fill(mesh, method="core")
    assert len(lines) == told
    assert capfd.readouterr().out == ""


def test_the_log_goes_to_loggers(caplog):
    logger = logging.getLogger("test.veld")
    veld.set_log(logger)
    try:
        with caplog.at_level(logging.DEBUG, logger="test.veld"):
            veld.fill(veld.Mesh(*grid(7, hole=True)), method="core")
    finally:
        veld.set_log(None)
    assert len(caplog.records) > 1
    assert not any("\n" in record.getMessage() for record in caplog.records)
