"""The same as `run`, from a shell."""

from __future__ import annotations

import argparse

from ._command import add_common, carry_out, cluster_of, parser_of, say, show, start
from ._run import run

DESCRIPTION = "Takes many scans through a recipe, on this machine or on any scheduler of Dask."
EXAMPLE = """example:
  python -c 'import json, algorithmveld as veld
print(json.dumps(veld.usual_recipe("scans/cup")))' > recipe.json
  python -m algorithmveld.batch recipe.json scans -o models --workers 3

models/index.html shows all results. Started again, a batch does only what is missing. The exit
status is 1 where a scan failed, the arguments are wrong or OUT cannot be written, 2 where the
scheduler was lost."""


def _parser() -> argparse.ArgumentParser:
    parser = parser_of("algorithmveld.batch", DESCRIPTION, EXAMPLE)
    add = parser.add_argument
    add("recipe", metavar="RECIPE", help="a JSON file with the steps and their settings")
    add(
        "scans", metavar="SCANS",
        help="a folder with scans, also in folders within it; or a file with a path a line",
    )  # fmt: skip
    add("-o", "--out", metavar="OUT", required=True, help="the folder for all results")
    add(
        "--markers", metavar="FILE",
        help="markers of each scan, with {name} for its name and {folder} for its folder (default: "
        "looked for beside it)",
    )  # fmt: skip
    add("--photos", metavar="SOURCE", help="the same for its photographs")
    add("--no-pictures", action="store_true", help="no picture of each step")
    add_common(parser)
    return parser


def _work(given: argparse.Namespace) -> int:
    result = run(
        given.recipe,
        given.scans,
        given.out,
        **cluster_of(given),
        markers=given.markers,
        photos=given.photos,
        pictures=not given.no_pictures,
        tell=say,
    )
    show(given, result)
    say(f"{result.summary} ({result.page})")
    return 1 if result.failed else 0


def main(arguments: list[str] | None = None) -> int:
    """Gives the exit status."""
    return carry_out(_parser(), arguments, _work, "a batch")


if __name__ == "__main__":
    start(main)
