"""A scan in one call."""

from __future__ import annotations

import os
from collections.abc import Callable
from typing import TYPE_CHECKING, Any

from . import _core
from ._calls import CallOptions, call
from ._mesh import PathLike
from ._results import RunResult

if TYPE_CHECKING:
    from typing_extensions import Unpack

RecipeLike = dict[str, Any] | PathLike | None


def run(
    scan: PathLike,
    directory: PathLike,
    *,
    markers: PathLike | None = None,
    photos: PathLike | None = None,
    recipe: RecipeLike = None,
    keep: bool = False,
    pictures: bool = True,
    overwrite: bool = True,
    tell: Callable[[str], Any] | None = None,
    **options: Unpack[CallOptions],
) -> RunResult:
    """Takes a scan through all steps that fit, and goes on where an earlier run was left off.

    The folder then has `model.ply`, `model.glb` if it was textured, `recipe.json`, `run.json` and
    `report.html`.

    Args:
        scan: frames of any kind, a mesh or a cloud, or a folder with one of these.
        directory: for all results.
        markers: a file of markers; None: looked for beside the scan.
        photos: what `load_photos` takes; None: looked for beside the scan.
        recipe: steps and settings, as a dictionary or the path of a JSON file; None: those that
            fit the scan.
        keep: whether the mesh of every step stays.
        pictures: whether each step gets a picture, for the page.
        overwrite: whether a run that is there and has ended is replaced.
        tell: gets a line for what was found and for each step, as the command prints them.
        **options: `progress`, `cancel`, `threads`.

    """
    values = call(
        lambda running: _core.run(
            scan, directory, markers, photos, recipe, keep, pictures, overwrite, tell, running
        ),
        **options,
    )
    return RunResult(values, directory=os.fspath(directory))


def check_recipe(recipe: dict[str, Any] | PathLike) -> dict[str, Any]:
    """Checks a recipe by itself, and gives it with every setting.

    Recipes that mean the same come out the same. What is None in it, or left out, is measured.

    Args:
        recipe: steps and settings, as a dictionary or the path of a JSON file.

    Raises:
        InputError: it is none; the reason has the line in the file and the key.

    """
    return _core.parsed_recipe(recipe)


def usual_recipe(
    scan: PathLike | None = None,
    *,
    markers: PathLike | None = None,
    photos: PathLike | None = None,
    **options: Unpack[CallOptions],
) -> dict[str, Any]:
    """The recipe that `run` would take for a scan; without a scan one of all steps.

    What is None in it is measured.
    """
    return call(lambda running: _core.usual_recipe(scan, markers, photos, running), **options)
