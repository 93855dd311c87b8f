"""The summary over all results in a folder: one file, and the same as values."""

from __future__ import annotations

import base64
import os
import re
from dataclasses import asdict
from html import escape
from pathlib import Path
from typing import Any
from urllib.parse import quote

from ._places import FAILED, RECORD, Places, read_json, write_json, write_text
from ._results import ScanResult, result_at
from ._tasks import THUMBNAIL

STYLE = """
:root { color-scheme: light dark; --line: #8884; --soft: #777; --bad: #b3261e; --warn: #8a5a00; }
@media (prefers-color-scheme: dark) { :root { --soft: #aaa; --bad: #ff8a80; --warn: #ffcf70; } }
body { font: 15px/1.5 system-ui, sans-serif; max-width: 70rem; margin: 2rem auto; padding: 0 1rem; }
table { border-collapse: collapse; width: 100%; }
th { text-align: left; font-weight: 600; }
th, td { padding: .5rem .75rem; border-bottom: 1px solid var(--line); vertical-align: top; }
td.number { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
td.picture { width: 200px; }
img { display: block; border-radius: 4px; }
ul { margin: 0; padding-left: 1.1rem; }
.soft { color: var(--soft); font-size: .87em; overflow-wrap: anywhere; }
.bad { color: var(--bad); }
.warn { color: var(--warn); }
"""


def write_summary(places: Places) -> None:
    """Makes `index.html` and `batch.json` of what is there. Batches take turns."""
    with places.lock("summary"):
        results = sorted(_results_in(places), key=_order)
        failures = sorted(_failures_in(places), key=_order)
        write_json(
            places.out / "batch.json",
            {
                "veld_batch": 1,
                "scans": [_as_listed(scan, finished) for scan, finished in results],
                "failures": [_as_listed(scan, finished) for scan, finished in failures],
            },
        )
        write_text(places.out / "index.html", _page(places, results, failures))


Listed = tuple[ScanResult, str]


def _results_in(places: Places) -> list[Listed]:
    folders = [record.parent for record in places.out.glob(f"*/{RECORD}")]
    return [
        (result_at(places, folder.name, ""), str(read_json(folder / RECORD).get("finished", "")))
        for folder in folders
    ]


def _failures_in(places: Places) -> list[Listed]:
    notes = [read_json(path) for path in places.hidden.glob(f"*{FAILED}")]
    return [
        (
            ScanResult(
                str(note["name"]), str(note["source"]), "failed", reason=str(note["reason"])
            ),
            str(note["finished"]),
        )
        for note in notes
        if {"name", "source", "reason", "finished"} <= note.keys()
    ]


def _order(listed: Listed) -> tuple[list[tuple[int, str]], str, str]:
    """By name, with 9 before 10."""
    scan, finished = listed
    parts = re.findall(r"\d+|\D+", scan.name)
    key = [(int(part), "") if part.isdecimal() else (-1, part) for part in parts]
    return key, finished, scan.source


def _as_listed(scan: ScanResult, finished: str) -> dict[str, Any]:
    values = asdict(scan)
    del values["state"]
    folder = values.pop("directory")
    if folder is not None:
        values["folder"] = Path(folder).name
        del values["reason"]
    return {**values, "finished": finished}


def _page(places: Places, results: list[Listed], failures: list[Listed]) -> str:
    warned = sum(bool(scan.warnings) for scan, _ in results)
    title = f"{len(results)} results"
    counts = [f"{len(failures)} failed"] if failures else []
    counts += [f"{warned} with warnings"] if warned else []
    parts = [
        "<!doctype html>",
        '<html lang="en"><head><meta charset="utf-8">',
        '<meta name="viewport" content="width=device-width, initial-scale=1">',
        f"<title>{title}</title><style>{STYLE}</style></head><body>",
        f"<h1>{title}</h1><p>{', '.join(counts)}</p>",
    ]
    if failures:
        parts.append("<h2>Failed</h2><table><thead><tr><th>Scan<th>Reason<th>Time</tr></thead>")
        parts += [_failure_row(scan, finished) for scan, finished in failures]
        parts.append("</table>")
    if results:
        parts.append(
            "<h2>Made</h2><table><thead><tr><th>Picture<th>Scan<th>Steps<th>Seconds<th>Warnings"
            "</tr></thead>"
        )
        parts += [_result_row(scan, finished) for scan, finished in results]
        parts.append("</table>")
    return "\n".join([*parts, "</body></html>", ""])


def _failure_row(scan: ScanResult, finished: str) -> str:
    return (
        f'<tr><td>{escape(scan.name)}<div class="soft">{escape(scan.source)}</div>'
        f'<td class="bad">{escape(scan.reason or "")}<td class="soft">{escape(finished)}</tr>'
    )


def _result_row(scan: ScanResult, finished: str) -> str:
    folder = Path(scan.directory or "")
    steps = "".join(
        f"<li>{escape(step['name'])} {step['seconds']:.2f} s</li>" for step in scan.steps
    )
    warnings = "".join(f"<li>{escape(warning)}</li>" for warning in scan.warnings)
    link = quote(os.fsencode(folder.name)) + "/report.html"
    return (
        f'<tr><td class="picture">{_picture(folder, link)}'
        f'<td><a href="{link}">{escape(scan.name)}</a><div class="soft">{escape(scan.source)}<br>'
        f"{escape(finished)}</div><td><ul>{steps}</ul>"
        f'<td class="number">{scan.seconds:.2f}<td class="warn"><ul>{warnings}</ul></tr>'
    )


def _picture(folder: Path, link: str) -> str:
    try:
        data = base64.b64encode((folder / THUMBNAIL).read_bytes()).decode()
    except OSError:
        return ""
    image = f'<img alt="" width="200" height="150" src="data:image/jpeg;base64,{data}">'
    return f'<a href="{link}">{image}</a>'
