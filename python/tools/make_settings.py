"""Prints `_settings.py`: the settings of all steps, with their types and what they mean.

Names and defaults are those of the library; texts are those of the schema of recipes, and for what
no recipe has, those below.
"""

from __future__ import annotations

import json
import re
import sys
from pathlib import Path
from typing import Any

from algorithmveld import _core

POINT = "npt.ArrayLike"
MARKERS = "npt.ArrayLike | str | os.PathLike[str]"

# What no recipe has: the type, and the text.
OTHERS: dict[str, dict[str, tuple[str, str]]] = {
    "align": {
        "reach": (
            "float",
            "How far frames may be off each other, in mm; None: a fiftieth of the size of a frame.",
        ),
        "rounds": ("int", "Most rounds of the refinement."),
        "noise": (
            "float",
            "Standard deviation in mm of depths at 1 m, which grows with the square of the depth; "
            "None: measured.",
        ),
    },
    "holes": {
        "max_perimeter": ("float", "Only holes shorter than this in mm; None: any."),
        "near": (POINT, "Only the hole nearest to this point, x y z in mm."),
        "distance": ("float", "With `near`: its rim has to be nearer than this in mm."),
        "markers": (MARKERS, "Only holes that markers left: x y z [nx ny nz] a row, or a file."),
        "match": (
            "float",
            "With `markers`: a hole's centre has to be nearer to a marker than this in mm.",
        ),
        "marker_radius": (
            "float",
            "With `markers`: radius of a marker in mm; a longer rim than its circle is none of it.",
        ),
        "normals": ("bool", "With `markers`: a hole has to face like its marker."),
        "normal_dot": ("float", "With `normals`: their dot product has to exceed this; None: 0.5."),
    },
    "keyframes": {
        "method": (
            'Literal["select", "sort"]',
            "select: one view of each cell; sort: all, so that the first ones cover the space.",
        ),
        "cells": ("int", "So many cells lie along the longest side of the space of the cameras."),
    },
    "render": {
        "width": ("int", "Pixels."),
        "height": ("int", "Pixels."),
        "azimuth": ("float", "Degrees round the object, from its front to its right."),
        "elevation": ("float", "Degrees above the object."),
        "up": ('Literal["y", "z"]', "Axis that points up: y (front is +z) or z (front is -y)."),
        "line_width": ("float", "Width of the rims of holes in pixels; 0 draws none."),
        "unlit": ("bool", "Whether a texture is shown as it is, without light and shadow."),
        "plain": ("bool", "Whether colours of vertices are left out."),
    },
    "sticks": {"tips": ('Literal["down", "up"]', "Where their tips lie: towards -z or +z.")},
}
# Of steps that recipes have, too, what a file gives there or what means something else.
EXTRAS: dict[str, dict[str, tuple[str, str]]] = {
    "fill": {"markers": (MARKERS, "Places of markers: x y z [nx ny nz] a row, or a file.")},
    "texture": {
        "scale": ("float", "Factor on all lengths of mesh and poses, to mm: 1000 for metres."),
        "pose_scale": ("float", "Factor on the lengths of the poses alone, to those of the mesh."),
    },
}
# Options of `clean` are those of the command, in whose order they run.
CLEAN_UPS: dict[str, str] = {
    "min_faces": "int",
    "min_vertices": "int",
    "strong": "int",
    "rings": "int",
    "non_manifold": "bool",
    "peel": "int",
    "markers": MARKERS,
    "marker_radius": "float",
    "normals": "bool",
    "normal_dot": "float",
    "clean_ups": "Sequence[Mapping[str, Any]]",
}
UNSET = (0, 0.0, [], "", None)


def type_of(entry: dict[str, Any]) -> str:
    kinds = entry["type"] if isinstance(entry["type"], list) else [entry["type"]]
    kind = next(k for k in kinds if k != "null")
    if kind == "string" and "enum" in entry:
        names = [name for name in entry["enum"] if name is not None]
        return f"Literal[{', '.join(json.dumps(name) for name in names)}]"
    names = {"number": "float", "integer": "int", "boolean": "bool", "string": "str"}
    return names.get(kind, "npt.ArrayLike")


def of_schema(entries: dict[str, Any], defaults: dict[str, Any]) -> dict[str, tuple[str, str]]:
    settings = {}
    for name, entry in entries.items():
        text = entry["description"]
        if defaults.get(name) in UNSET:
            text = text.replace("null:", "None:")
        else:
            text = re.sub(r"[;,] null:[^.]*", "", text)
        settings[name] = (type_of(entry), text)
    return settings


def settings_of(step: str, schema: dict[str, Any]) -> dict[str, tuple[str, str]]:
    defaults = _core.defaults()[step]
    if step in OTHERS:
        settings = OTHERS[step]
    else:
        entries = {
            name: entry
            for name, entry in schema["definitions"][step]["properties"].items()
            if name in defaults or "null" in entry.get("type", [])
        }
        if step == "merge":
            entries.pop("scale", None)
        settings = {**of_schema(entries, defaults), **EXTRAS.get(step, {})}
    if missing := set(defaults) - set(settings):
        raise SystemExit(f"no text for {missing} of {step}")
    return settings


def class_of(name: str, settings: dict[str, tuple[str, str]]) -> str:
    lines = [
        f"class {name}(CallOptions, total=False):",
        f'    """Options of `{name[:-7].lower()}`."""',
        "",
    ]
    for key, (kind, text) in settings.items():
        lines.append(f"    {key}: {kind} | None")
        if text:
            lines += [
                f'    """{line}' if i == 0 else f"    {line}" for i, line in enumerate(wrap(text))
            ]
    return "\n".join(lines)


def wrap(text: str) -> list[str]:
    import textwrap

    lines = textwrap.wrap(text, 88)
    lines[-1] += '"""'
    return lines


def main() -> None:
    schema = json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))
    steps = [
        "merge", "align", "holes", "fill", "repair", "normals", "keyframes", "texture", "render",
        "sticks",
    ]  # fmt: skip
    tables = {step: settings_of(step, schema) for step in steps}
    print('"""The settings of the steps. Written by scripts/python-interface."""\n')
    print("from __future__ import annotations\n")
    print("import os\nfrom collections.abc import Mapping, Sequence")
    print("from typing import TYPE_CHECKING, Any, Literal\n")
    print("from ._calls import CallOptions\n")
    print("if TYPE_CHECKING:\n    import numpy.typing as npt\n\n")
    for step, settings in tables.items():
        print(class_of(f"{step.capitalize()}Options", settings) + "\n\n")
    print(class_of("CleanOptions", {name: (kind, "") for name, kind in CLEAN_UPS.items()}) + "\n\n")
    tables["check"] = tables["align"]
    print("SETTINGS: dict[str, dict[str, str]] = {")
    for step, settings in tables.items():
        print(f"    {step!r}: {{")
        for name, (_, text) in settings.items():
            print(f"        {name!r}: {text!r},")
        print("    },")
    print("}")


main()
