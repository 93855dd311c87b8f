"""Where the scans of a batch are, and which files each consists of."""

from __future__ import annotations

import hashlib
import json
import os
from collections import Counter
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Union

from .._errors import InputError

PathLike = Union[str, "os.PathLike[str]"]
ScansLike = Union[PathLike, Sequence[PathLike]]

MESHES = {".ply", ".stl", ".obj", ".off", ".om"}
CLOUDS = {".xyz", ".asc"}
PHOTO_FOLDERS = ("photos", "photographs", "images")
PHOTO_FILES = {".json", ".txt", ".jpg", ".jpeg", ".png"}
RUN_RECORD = "run.json"
BLOCK = 1 << 20


@dataclass(frozen=True)
class Scan:
    """A scan and what was named beside it. Paths are absolute, for a worker has its own folder."""

    name: str
    source: str
    markers: str | None = None
    photos: str | None = None


def find_scans(
    given: ScansLike, out: Path, markers: PathLike | None, photos: PathLike | None
) -> list[Scan]:
    """The scans in a folder and in the folders within it, in a list file, or those of a list."""
    if not isinstance(given, (str, os.PathLike)):
        paths = [Path(path) for path in given]
        root = Path(os.path.commonpath([p.absolute().parent for p in paths])) if paths else Path()
    else:
        root = Path(given)
        if not root.exists():
            raise InputError(f"{root}: no such file or folder")
        if root.is_dir():
            paths = list(_scans_in(root, out.resolve()))
        else:
            paths = _listed(root) or [root]
            root = root.parent
    if not paths:
        raise InputError(f"{root}: there is no scan in it")
    return [
        Scan(name, os.fspath(path.absolute()), _of(markers, name, path), _of(photos, name, path))
        for name, path in zip(_names(paths, root.absolute()), paths)
    ]


def content_of(scan: Scan, with_photos: bool) -> str:
    """A checksum of all bytes that a scan consists of. It does not depend on where they lie."""
    digest = hashlib.blake2b(digest_size=16)
    for role, path in _files_of(scan, with_photos):
        digest.update(f"{role}\0{path.stat().st_size}\0".encode())
        with path.open("rb") as file:
            while block := file.read(BLOCK):
                digest.update(block)
    return digest.hexdigest()


def size_of(scan: Scan, with_photos: bool) -> int:
    """The bytes of the same files. What cannot be read is told of by the step that reads it."""
    try:
        return sum(path.stat().st_size for _, path in _files_of(scan, with_photos))
    except OSError:
        return 0


def _of(pattern: PathLike | None, name: str, path: Path) -> str | None:
    if pattern is None:
        return None
    filled = os.fspath(pattern).replace("{name}", name)
    folder = path if path.is_dir() else path.parent
    return os.fspath(Path(filled.replace("{folder}", os.fspath(folder))).absolute())


def _scans_in(root: Path, out: Path) -> Iterator[Path]:
    for folder, folders, names in os.walk(root):
        here = Path(folder)
        if here.resolve() == out or (RUN_RECORD in names and here != root):
            folders.clear()
            continue
        folders[:] = sorted(n for n in folders if n not in PHOTO_FOLDERS and not n.startswith("."))
        files = [here / name for name in sorted(names) if not name.startswith(".")]
        if any(_is_of_frames(file) for file in files):
            folders.clear()
            yield here
        else:
            yield from (file for file in files if file.suffix.lower() in MESHES | CLOUDS)


def _is_of_frames(file: Path) -> bool:
    suffix = file.suffix.lower()
    return suffix in (".rge", ".conf") or (suffix == ".json" and _describes_frames(file))


def _describes_frames(file: Path) -> bool:
    """Whether a file lists depth images or describes text frames."""
    try:
        values: Any = json.loads(file.read_text(encoding="utf-8"))
    except (OSError, ValueError):
        return False
    if not isinstance(values, dict):
        return False
    views = values.get("views")
    listed = views if isinstance(views, list) else []
    has_depths = any(isinstance(view, dict) and "depth" in view for view in listed)
    return has_depths or {"points", "poses", "rows"} <= values.keys()


def _listed(file: Path) -> list[Path]:
    """The paths in a list file, relative to it; none where the file is a scan itself."""
    if file.suffix.lower() in MESHES | {".conf", ".json", ".rge"}:
        return []
    try:
        text = file.read_text(encoding="utf-8")
    except UnicodeDecodeError:
        return []
    lines = [line.strip() for line in text.splitlines()]
    paths = [line for line in lines if line and not line.startswith("#")]
    if paths and _is_number(paths[0].split()[0].rstrip(",;")):
        return []  # text of points
    return [file.parent / path for path in paths]


def _is_number(word: str) -> bool:
    try:
        float(word)
    except ValueError:
        return False
    return True


def _names(paths: Iterable[Path], root: Path) -> list[str]:
    """Names that can be those of files: the path in the folder of all, without the extension."""
    relative = [Path(os.path.relpath(path.absolute(), root)) for path in paths]
    short = [_name(path if (root / path).is_dir() else path.with_suffix("")) for path in relative]
    count = Counter(short)
    return [
        name if count[name] == 1 else f"{name}-{path.suffix[1:] or 'folder'}"
        for name, path in zip(short, relative)
    ]


def _name(path: Path) -> str:
    text = "-".join(part for part in path.parts if part != "..") or path.absolute().name
    safe = "".join(c if c.isalnum() or c in "-_." else "_" for c in text).lstrip(".")
    return safe[:100] or "scan"


def _files_of(scan: Scan, with_photos: bool) -> list[tuple[str, Path]]:
    """Each file with what it is called in the scan. Rather one too many than one too few."""
    source = Path(scan.source)
    folder = source if source.is_dir() else source.parent
    places = [folder]
    if source.is_dir():
        files = _below("scan", folder)
        places.append(folder.parent)
    elif source.suffix.lower() in MESHES | CLOUDS | {".txt"}:
        files = [(f"scan/{source.name}", source)]
    else:  # a list of frames, which lie beside it
        files = [(f"scan/{path.name}", path) for path in _plain_files(folder)]
        files.insert(0, (f"scan={source.name}", source))
        places.append(folder.parent)
    files += _markers_of(scan, places)
    return files + _photos_of(scan, places) if with_photos else files


def _markers_of(scan: Scan, places: list[Path]) -> list[tuple[str, Path]]:
    if scan.markers is not None:
        return [("markers", Path(scan.markers))]
    found = [place / "markers.txt" for place in places if (place / "markers.txt").is_file()]
    return [("markers", path) for path in found[:1]]


def _photos_of(scan: Scan, places: list[Path]) -> list[tuple[str, Path]]:
    if scan.photos is not None:
        given = Path(scan.photos)
        return _below("photos", given if given.is_dir() else given.parent)
    beside = [path for path in _plain_files(places[0]) if path.suffix.lower() in PHOTO_FILES]
    files = [(f"beside/{path.name}", path) for path in beside]
    for place in places:
        for name in (*PHOTO_FOLDERS, "sparse"):
            files += _below(name, place / name)
    return files


def _plain_files(folder: Path) -> list[Path]:
    return sorted(path for path in folder.iterdir() if path.is_file())


def _below(role: str, folder: Path) -> list[tuple[str, Path]]:
    found = (path for path in folder.rglob("*") if path.is_file())
    return sorted((f"{role}/{path.relative_to(folder).as_posix()}", path) for path in found)
