"""A recipe over many scans, on Dask's distributed scheduler.

    from algorithmveld import batch

    if __name__ == "__main__":
        done = batch.run("recipe.json", "scans", "models", workers=3)
        for scan in done.failed:
            print(scan.name, scan.reason)

Each scan is a chain of tasks, one for each step of the recipe. Results appear whole or not at all,
under names that follow from what they were made of: a batch that is started again does only what is
missing. `python -m algorithmveld.batch --help` does the same from a shell.
"""

from __future__ import annotations

from ._results import BatchResult, ScanResult
from ._run import run
from ._tiles import merge_in_tiles

__all__ = ["BatchResult", "ScanResult", "merge_in_tiles", "run"]
