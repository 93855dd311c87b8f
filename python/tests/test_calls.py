"""Progress, cancel, Ctrl-C, threads, warnings, the log."""

import logging
import os
import signal
import subprocess
import sys
import threading
import types
import warnings
from pathlib import Path

import algorithmveld as veld
import numpy as np
import pytest
from algorithmveld import _calls
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


def warning_of(*lines):
    """A call that warns of these and then returns, or raises the last line."""
    return types.SimpleNamespace(
        warnings=[
            types.SimpleNamespace(code="CODE", about="a", text=line, setting="") for line in lines
        ]
    )


def test_a_warning_that_is_an_error_replaces_no_other():
    def fail():
        raise KeyboardInterrupt

    with warnings.catch_warnings():
        warnings.simplefilter("error", veld.VeldWarning)
        with pytest.raises(KeyboardInterrupt):
            _calls._warning(warning_of("one"), fail)
    with pytest.warns(veld.VeldWarning, match="one"), pytest.raises(KeyboardInterrupt):
        _calls._warning(warning_of("one"), fail)


def test_all_warnings_are_given_before_the_first_that_is_an_error():
    given = []

    def show(message, *where):
        given.append(message.text)

    with warnings.catch_warnings():
        warnings.simplefilter("always")
        warnings.filterwarnings("error", message=".*(first|second)")
        warnings.showwarning = show
        with pytest.raises(veld.VeldWarning, match="first"):
            _calls._warning(warning_of("first", "second", "third"), int)
    assert given == ["third"]


def test_warnings_name_the_line_of_the_host_however_deep_the_package_is(tmp_path):
    path = tmp_path / "fin.off"
    path.write_text("OFF\n5 3 0\n0 0 0\n1 0 0\n0 1 0\n0 -1 0\n0 0 1\n3 0 1 2\n3 1 0 3\n3 0 1 4\n")
    for use in (veld.load_mesh, veld.info, veld.fill, veld.normals):
        with pytest.warns(veld.VeldWarning, match="MESH_MENDED") as caught:
            use(path)
        assert {warning.filename for warning in caught} == {__file__}


def test_reading_a_path_is_a_part_of_the_call(tmp_path, capsys):
    path = tmp_path / "mesh.ply"
    veld.save(veld.Mesh(*grid(30, hole=True)), path)
    told = []
    assert veld.fill(path, progress=lambda *step: told.append(step)).holes_after == 1
    fractions = [fraction for _, fraction in told]
    assert fractions == sorted(fractions)
    assert (fractions[0], fractions[-1]) == (0.0, 1.0)
    assert "read the mesh" in " ".join(step for step, fraction in told if fraction < 0.5)
    veld.render(path, compare=path, progress=True)
    assert capsys.readouterr().err.count("100%") == 1
    cancel = veld.Cancel()
    cancel.cancel()
    for step in (veld.load_mesh, veld.info):
        with pytest.raises(veld.Cancelled):
            step(path, cancel=cancel)
    with pytest.raises(veld.InputError, match="'threads' has to be"):
        veld.texture(path, tmp_path, threads=-1)


def test_arrays_are_looked_at_while_steps_own_the_mesh():
    vertices, faces = grid(60, hole=True)
    places = np.ascontiguousarray(vertices[faces][..., :2] / 60)
    image = np.zeros((4, 4, 3), np.uint8)
    mesh = veld.Mesh(vertices, faces, texcoords=places, image=image)
    expected = mesh.texcoords.tobytes()
    ended = threading.Event()
    answers = []

    def work():
        while not ended.is_set():
            answers.append((veld.info(mesh).holes, len(veld.holes(mesh).holes)))

    workers = [threading.Thread(target=work) for _ in range(2)]
    for worker in workers:
        worker.start()
    try:
        for _ in range(200):
            assert mesh.texcoords.tobytes() == expected
            assert mesh.vertices.shape == (3600, 3)
            assert mesh.normals is None
        picture = veld.render(mesh, compare=mesh, width=40, height=30)
    finally:
        ended.set()
        for worker in workers:
            worker.join()
    assert set(answers) == {(2, 2)}
    np.testing.assert_array_equal(picture, veld.render(mesh, width=40, height=30))


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
