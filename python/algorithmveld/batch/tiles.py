"""The same as `merge_in_tiles`, from a shell."""

from __future__ import annotations

import argparse
import json
import logging
import sys
import warnings
from typing import Any

from .._errors import InputError, OperationError
from .._run import check_recipe
from .._tiles import TILE_MARGIN, TILE_POINTS
from ._tiles import merge_in_tiles

DESCRIPTION = (
    "Merges a scan that is larger than a machine: its tiles are tasks on this machine or on any "
    "scheduler of Dask."
)
EXAMPLE = """example:
  python -m algorithmveld.batch.tiles scans/hall -o hall.ply --work tiles --workers 3

Started again with the same folder for its work it does only what is missing. The exit status is 1
where the scan, the arguments or a file in DIR are wrong, 2 where a step failed otherwise or the
scheduler was lost."""


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python -m algorithmveld.batch.tiles",
        description=DESCRIPTION,
        epilog=EXAMPLE,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    add = parser.add_argument
    add("scan", metavar="SCAN", help="frames of any kind, as veld merge takes them")
    add("-o", "--out", metavar="OUT", required=True, help="a .ply file for the mesh")
    add("--work", metavar="DIR", required=True, help="a folder for the tiles, which stay there")
    add("--scale", metavar="F", type=float, help="of all lengths, to millimetres (default: 1)")
    add(
        "--tile-points", metavar="N", type=int, default=TILE_POINTS,
        help="samples in a tile at most (default: %(default)s)",
    )  # fmt: skip
    add(
        "--tile-margin", metavar="M", type=float, default=TILE_MARGIN,
        help="width in spacings of what a tile sees around it (default: %(default).0f)",
    )  # fmt: skip
    add("--recipe", metavar="RECIPE", help="a JSON file whose merge has the settings")
    add("--scheduler", metavar="ADDRESS", help="of Dask (default: a cluster on this machine)")
    add("--workers", metavar="N", type=int, help="processes of that cluster (default: one a core)")
    add(
        "--memory-limit", metavar="SIZE",
        help="of each of them, as 4GB (default: an equal share of all)",
    )  # fmt: skip
    add("--json", action="store_true", help="the result as one JSON object on standard output")
    return parser


def _settings(given: argparse.Namespace) -> dict[str, Any]:
    """Those of the merge of a recipe, and the scale."""
    settings: dict[str, Any] = {}
    if given.recipe:
        steps = check_recipe(given.recipe)["steps"]
        merges = [step["settings"] for step in steps if step["step"] == "merge"]
        if not merges:
            raise InputError(f"{given.recipe}: there is no merge in it")
        settings = {key: value for key, value in merges[0].items() if value is not None}
    return settings if given.scale is None else {**settings, "scale": given.scale}


def main(arguments: list[str] | None = None) -> int:
    """Gives the exit status."""
    parser = _parser()
    try:
        given = parser.parse_args(arguments)
    except SystemExit as end:  # 2 of argparse is 1 here: the arguments are wrong
        return 1 if end.code else 0
    if given.scheduler and (given.workers or given.memory_limit):
        return _fail("--workers and --memory-limit are for a cluster on this machine", 1)
    try:
        with warnings.catch_warnings():
            warnings.showwarning = lambda message, *where: _say(f"warning: {message}")
            result = merge_in_tiles(
                given.scan,
                given.out,
                given.work,
                scheduler=given.scheduler,
                workers=given.workers,
                memory_limit=given.memory_limit,
                tile_points=given.tile_points,
                tile_margin=given.tile_margin,
                tell=_say,
                **_settings(given),
            )
    except (InputError, ImportError, OSError) as error:
        return _fail(str(error), 1)
    except OperationError as error:
        return _fail(str(error), 2)
    except KeyboardInterrupt:
        return _fail("stopped; a merge that is started again goes on", 130)
    if given.json:
        print(json.dumps(result.to_dict(), indent=2))
    return 0


def _say(line: str) -> None:
    print(line, file=sys.stderr, flush=True)


def _fail(reason: str, status: int) -> int:
    _say(f"error: {reason}")
    return status


if __name__ == "__main__":
    logging.disable(logging.ERROR)  # of Dask; one line tells the reason
    sys.exit(main())
