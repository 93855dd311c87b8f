"""Where the scans of a batch are, and which files each consists of."""

from __future__ import annotations

import hashlib
import os
import re
from collections import Counter
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import asdict, dataclass
from pathlib import Path

from .. import _core
from .._calls import call
from .._errors import InputError
from ._places import read_json

PathLike = str | os.PathLike[str]
ScansLike = PathLike | Sequence[PathLike]

MESHES = {".ply", ".stl", ".obj", ".off", ".om"}
CLOUDS = {".xyz", ".asc"}
PHOTO_FOLDERS = ("photos", "photographs", "images")
RUN_RECORD = "run.json"
BLOCK = 1 << 20
NAME_BYTES = 180  # of the 255 that a file's name can have; a key follows


@dataclass(frozen=True)
class Scan:
    """A scan and what was named beside it. Paths are absolute, for a worker has its own folder."""

    name: str
    source: str
    markers: str | None = None
    photos: str | None = None
    trouble: str = ""
    """Why nobody can know what is in it; empty where that is not so."""


def find_scans(
    given: ScansLike, out: Path, markers: PathLike | None, photos: PathLike | None
) -> list[Scan]:
    """The scans in a folder and in the folders within it, in a list file, or those of a list.

    A folder that cannot be read is one of them, so that it is told and stops no other.
    """
    troubles: dict[Path, str] = {}
    if not isinstance(given, (str, os.PathLike)):
        paths = [Path(path) for path in given]
        root = Path(os.path.commonpath([p.absolute().parent for p in paths])) if paths else Path()
    else:
        root = Path(given)
        if not root.exists():
            raise InputError(f"{root}: no such file or folder")
        if root.is_dir():
            _refuse_as_scan(root, out)
            paths = list(_scans_in(root, out.resolve(), troubles))
        else:
            paths = _listed(root) or [root]
            root = root.parent
    if not paths:
        raise InputError(f"{root}: there is no scan in it")
    for path in paths:
        _refuse_as_scan(path, out)
    return [
        Scan(
            name,
            os.fspath(path.absolute()),
            _of(markers, name, path),
            _of(photos, name, path),
            troubles.get(path, ""),
        )
        for name, path in zip(_names(paths, root.absolute()), paths, strict=True)
    ]


@dataclass(frozen=True)
class ScanFiles:
    """All files of which something is made of a scan, as the library finds them."""

    scan: list[Path]
    markers: list[Path]
    photos: list[Path]


def files_of(scan: Scan) -> ScanFiles:
    """The files of a scan. Raises `InputError` where a run would refuse it."""
    lists = call(
        lambda running: _core.scan_files(scan.source, scan.markers, scan.photos, running),
    )
    return ScanFiles(*(list(dict.fromkeys(map(Path, paths))) for paths in lists))


def content_of(scan: Scan, with_photos: bool) -> str:
    """A checksum of all bytes that a scan consists of. It does not depend on where they lie."""
    files = files_of(scan)
    digest = hashlib.blake2b(digest_size=16)
    for role, paths in asdict(files).items():
        for path in paths if with_photos or role != "photos" else []:
            digest.update(os.fsencode(f"{role}/{path.name}\0{path.stat().st_size}\0"))
            with path.open("rb") as file:
                while block := file.read(BLOCK):
                    digest.update(block)
    return digest.hexdigest()


def sizes_of(scan: Scan) -> tuple[int, int]:
    """The bytes of a scan and of its photographs. The step that reads them tells of errors."""
    if scan.trouble:
        return 0, 0
    try:
        files = files_of(scan)
        scan_bytes, photo_bytes = (
            sum(path.stat().st_size for path in paths) for paths in (files.scan, files.photos)
        )
    except (InputError, OSError):
        return 0, 0
    return scan_bytes, photo_bytes


def _of(pattern: PathLike | None, name: str, path: Path) -> str | None:
    if pattern is None:
        return None
    filled = os.fspath(pattern).replace("{name}", name)
    folder = path if path.is_dir() else path.parent
    return os.fspath(Path(filled.replace("{folder}", os.fspath(folder))).absolute())


def _scans_in(root: Path, out: Path, troubles: dict[Path, str]) -> Iterator[Path]:
    def note(error: OSError) -> None:
        troubles[Path(error.filename)] = f"{error.filename}: cannot be read: {error.strerror}"

    seen = {out}  # a link may lead back to where it lies
    for folder, folders, names in os.walk(root, followlinks=True, onerror=note):
        here = Path(folder)
        if here.resolve() in seen or (RUN_RECORD in names and here != root):
            folders.clear()
            continue
        seen.add(here.resolve())
        folders[:] = sorted(n for n in folders if n not in PHOTO_FOLDERS and not n.startswith("."))
        files = [here / name for name in sorted(names) if not name.startswith(".")]
        if any(_is_of_frames(file) for file in files):
            folders.clear()
            yield here
        else:
            yield from (file for file in files if file.suffix.lower() in MESHES | CLOUDS)
    if root in troubles:
        raise InputError(troubles[root])
    yield from troubles


def _refuse_as_scan(path: Path, out: Path) -> None:
    """Frames may be all files of a folder: what a batch writes there would change them."""
    is_list = path.suffix.lower() == ".json" and _describes_frames(path)
    folder = path.parent if is_list else path
    if folder.resolve() == out.resolve():
        raise InputError(f"{out}: is a folder of scans, and cannot be that of the results")


def _is_of_frames(file: Path) -> bool:
    suffix = file.suffix.lower()
    return suffix in (".rge", ".conf") or (suffix == ".json" and _describes_frames(file))


def _describes_frames(file: Path) -> bool:
    """Whether a file lists depth images or describes text frames."""
    values = read_json(file)
    views = values.get("views")
    listed = views if isinstance(views, list) else []
    has_depths = any(isinstance(view, dict) and "depth" in view for view in listed)
    return has_depths or {"points", "poses", "rows"} <= values.keys()


def _listed(file: Path) -> list[Path]:
    """The paths in a list file, relative to it; none where the file is a scan itself."""
    if file.suffix.lower() in MESHES | CLOUDS | {".conf", ".json", ".rge"}:
        return []
    try:
        text = file.read_text(encoding="utf-8-sig")
    except UnicodeDecodeError:
        return []
    lines = [line.strip() for line in text.splitlines()]
    paths = [line for line in lines if line and not line.startswith("#")]
    if paths and _is_point(paths[0]) and not _is_there(file.parent / paths[0]):
        return []
    return [file.parent / path for path in paths]


def _is_point(line: str) -> bool:
    """A name may begin with a number too, or be one."""
    words = re.split(r"[\s,;]+", line)
    return len(words) >= 3 and all(_is_number(word) for word in words[:3])


def _is_there(path: Path) -> bool:
    try:
        return path.exists()
    except OSError:  # a line of numbers may be longer than a name can be
        return False


def _is_number(word: str) -> bool:
    try:
        float(word)
    except ValueError:
        return False
    return True


def _names(paths: Iterable[Path], root: Path) -> list[str]:
    """Names that can be those of files: the path in the folder of all, without the extension."""
    relative = [Path(os.path.relpath(path.absolute(), root)) for path in paths]
    whole = Path(os.path.normpath(root)).name  # of a folder that is one scan
    named = [Path(whole) if path == Path() else path for path in relative]
    short = [
        _name(name if (root / path).is_dir() else name.with_suffix(""))
        for name, path in zip(named, relative, strict=True)
    ]
    count = Counter(short)
    return [
        name if count[name] == 1 else f"{name}-{path.suffix[1:] or 'folder'}"
        for name, path in zip(short, relative, strict=True)
    ]


def _name(path: Path) -> str:
    text = "-".join(part for part in path.parts if part != "..")
    safe = "".join(c if c.isalnum() or c in "-_." else "_" for c in text).lstrip(".")
    return safe.encode()[:NAME_BYTES].decode(errors="ignore") or "scan"
