"""What a call costs in Python beyond what it costs in C++. Prints a table.

Takes the path of the program that makes the same calls in C++.
"""

from __future__ import annotations

import json
import statistics
import subprocess
import sys
import time
from collections.abc import Callable
from typing import Any

import algorithmveld as veld
import numpy as np

SIDE = 708  # 999 698 faces
LARGE_TURNS = 7
SMALL_TURNS = 2000


def grid(n: int) -> tuple[np.ndarray[Any, Any], np.ndarray[Any, Any]]:
    y, x = np.mgrid[0:n, 0:n]
    vertices = np.stack([x, y, np.zeros_like(x)], axis=-1).reshape(-1, 3).astype(np.float32)
    corner = (np.arange(n - 1)[:, None] * n + np.arange(n - 1)).ravel()
    lower = np.stack([corner, corner + 1, corner + n + 1], axis=-1)
    upper = np.stack([corner, corner + n + 1, corner + n], axis=-1)
    return vertices, np.stack([lower, upper], axis=1).reshape(-1, 3).astype(np.int32)


def median(turns: int, work: Callable[[], Any]) -> float:
    seconds = []
    for _ in range(turns):
        begin = time.perf_counter()
        work()
        seconds.append(time.perf_counter() - begin)
    return statistics.median(seconds)


def main() -> None:
    arguments = [str(number) for number in (SIDE, LARGE_TURNS, SMALL_TURNS)]
    told = subprocess.run(
        [sys.argv[1], *arguments], check=True, stdout=subprocess.PIPE, text=True
    ).stdout
    library = {name: statistics.median(turns) for name, turns in json.loads(told).items()}
    vertices, faces = grid(SIDE)
    large, small = veld.Mesh(vertices, faces), veld.Mesh(*grid(3))
    python = {
        "make": median(LARGE_TURNS, lambda: veld.Mesh(vertices, faces)),
        "info_large": median(LARGE_TURNS, lambda: veld.info(large)),
        "info_small": median(SMALL_TURNS, lambda: veld.info(small)),
    }
    print(f"{len(faces)} faces; medians of {LARGE_TURNS} and of {SMALL_TURNS} turns\n")
    print("| call | C++ | Python | times |\n|---|---|---|---|")
    names = {
        "make": "a mesh of arrays, a million faces",
        "info_large": "`info` of a million faces",
        "info_small": "`info` of 8 faces",
    }
    for name, title in names.items():
        before, now = library[name], python[name]
        print(f"| {title} | {1e6 * before:.0f} us | {1e6 * now:.0f} us | {now / before:.3f} |")
    first = median(1, lambda: large.faces)
    print(f"\nfaces of a million for the first time: {1e6 * first:.0f} us")
    for name in ("vertices", "faces"):
        taken = median(SMALL_TURNS, lambda name=name: getattr(large, name))
        copied = median(LARGE_TURNS, lambda name=name: getattr(large, name).copy())
        print(
            f"`mesh.{name}` of a million faces: {1e6 * taken:.1f} us, "
            f"1/{copied / taken:.0f} of a copy"
        )


main()
