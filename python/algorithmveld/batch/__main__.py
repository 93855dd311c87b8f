"""The same as `run`, from a shell."""

from __future__ import annotations

import argparse
import json
import logging
import sys

from .._errors import InputError, OperationError
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
    parser = argparse.ArgumentParser(
        prog="python -m algorithmveld.batch",
        description=DESCRIPTION,
        epilog=EXAMPLE,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    add = parser.add_argument
    add("recipe", metavar="RECIPE", help="a JSON file with the steps and their settings")
    add(
        "scans", metavar="SCANS",
        help="a folder with scans, also in folders within it; or a file with a path a line",
    )  # fmt: skip
    add("-o", "--out", metavar="OUT", required=True, help="the folder for all results")
    add("--scheduler", metavar="ADDRESS", help="of Dask (default: a cluster on this machine)")
    add("--workers", metavar="N", type=int, help="processes of that cluster (default: one a core)")
    add(
        "--memory-limit", metavar="SIZE",
        help="of each of them, as 4GB (default: an equal share of all)",
    )  # fmt: skip
    add(
        "--markers", metavar="FILE",
        help="markers of each scan, with {name} for its name and {folder} for its folder (default: "
        "looked for beside it)",
    )  # fmt: skip
    add("--photos", metavar="SOURCE", help="the same for its photographs")
    add("--no-pictures", action="store_true", help="no picture of each step")
    add("--json", action="store_true", help="the result as one JSON object on standard output")
    return parser


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
        result = run(
            given.recipe,
            given.scans,
            given.out,
            scheduler=given.scheduler,
            workers=given.workers,
            memory_limit=given.memory_limit,
            markers=given.markers,
            photos=given.photos,
            pictures=not given.no_pictures,
            tell=lambda line: print(line, file=sys.stderr, flush=True),
        )
    except (InputError, ImportError, OSError) as error:
        return _fail(str(error), 1)
    except OperationError as error:
        return _fail(str(error), 2)
    except KeyboardInterrupt:
        return _fail("stopped; a batch that is started again goes on", 130)
    if given.json:
        print(json.dumps(result.to_dict(), indent=2))
    print(f"{result.summary} ({result.page})", file=sys.stderr)
    return 1 if result.failed else 0


def _fail(reason: str, status: int) -> int:
    print(f"error: {reason}", file=sys.stderr)
    return status


if __name__ == "__main__":
    logging.disable(logging.ERROR)  # of Dask; one line tells the reason
    sys.exit(main())
