"""The same as `merge_in_tiles`, from a shell."""

from __future__ import annotations

import argparse
import warnings
from typing import Any

from .._errors import InputError
from .._run import check_recipe
from .._tiles import TILE_MARGIN, TILE_POINTS
from ._command import add_common, carry_out, cluster_of, parser_of, say, show, start
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
    parser = parser_of("algorithmveld.batch.tiles", DESCRIPTION, EXAMPLE)
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
    add_common(parser)
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


def _work(given: argparse.Namespace) -> int:
    with warnings.catch_warnings():
        warnings.showwarning = lambda message, *where: say(f"warning: {message}")
        result = merge_in_tiles(
            given.scan,
            given.out,
            given.work,
            **cluster_of(given),
            tile_points=given.tile_points,
            tile_margin=given.tile_margin,
            tell=say,
            **_settings(given),
        )
    show(given, result)
    return 0


def main(arguments: list[str] | None = None) -> int:
    """Gives the exit status."""
    return carry_out(_parser(), arguments, _work, "a merge")


if __name__ == "__main__":
    start(main)
