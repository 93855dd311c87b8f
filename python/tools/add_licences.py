"""Puts the licences of everything that a repaired wheel holds into it.

Libraries that auditwheel copied belong to packages of the system, whose licence is
/usr/share/doc/PACKAGE/copyright; libraries of headers that were compiled in are listed here.
"""

from __future__ import annotations

import re
import subprocess
import sys
import tempfile
import zipfile
from collections.abc import Iterable
from pathlib import Path

# Compiled in: from packages of headers, or from archives.
COMPILED_IN = (
    "libopenmesh-dev", "libeigen3-dev", "libflann-dev", "nlohmann-json3-dev", "libvalijson-dev",
    "libxxhash-dev", "libtinygltf-dev",
)  # fmt: skip


def run(*command: str) -> str:
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def owner(library: str) -> str:
    """The package that a library in the wheel is from: libz-1a2b3c4d.so.1 was libz.so.1."""
    stem, _, rest = library.partition(".so")
    name = stem.rpartition("-")[0] + ".so" + rest
    for path in Path("/usr/lib").rglob(name):
        for place in (path, path.resolve(), Path("/", *path.parts[2:])):
            found = subprocess.run(
                ["dpkg-query", "-S", str(place)], stdout=subprocess.PIPE, text=True, check=False
            )
            if found.returncode == 0:
                return found.stdout.partition(":")[0]
    raise SystemExit(f"{library}: no package of the system has {name}")


def common_licences(files: Iterable[Path]) -> list[str]:
    """Licences that every Debian has once, and that the files only name."""
    texts = [file.read_text(encoding="utf-8", errors="replace") for file in files]
    names = {
        name.rstrip(".")
        for text in texts
        for name in re.findall(r"/usr/share/common-licenses/([\w.-]+)", text)
    }
    return sorted(name for name in names if Path("/usr/share/common-licenses", name).is_file())


def licences(wheel: Path) -> dict[str, Path]:
    """Files of licences by the name that they get."""
    with zipfile.ZipFile(wheel) as archive:
        libraries = [Path(name).name for name in archive.namelist() if ".libs/" in name]
    packages = {owner(library) for library in libraries if ".so" in library}
    files = {}
    for package in sorted({*packages, *COMPILED_IN}):
        file = Path("/usr/share/doc", package, "copyright")
        if not file.is_file():
            raise SystemExit(f"{package}: has no licence at {file}")
        files[f"{package}.txt"] = file
    for name in common_licences(files.values()):
        files[f"{name}.txt"] = Path("/usr/share/common-licenses", name)
    nanobind = Path(run(sys.executable, "-m", "nanobind", "--include_dir").strip()).parent
    files["nanobind.txt"] = next(nanobind.parent.glob("nanobind-*/**/LICENSE"))
    files["robin_map.txt"] = nanobind / "ext/robin_map/include/tsl/robin_map.h"
    files["pocketfft.txt"] = Path("third_party/pocketfft/LICENSE.md")
    return files


def main() -> None:
    wheel = Path(sys.argv[1])
    added = licences(wheel)
    with tempfile.TemporaryDirectory() as directory:
        run(sys.executable, "-m", "wheel", "unpack", "-d", directory, str(wheel))
        unpacked = next(Path(directory).iterdir())
        place = next(unpacked.glob("*.dist-info")) / "licenses" / "bundled"
        place.mkdir(parents=True)
        for name, file in added.items():
            (place / name).write_bytes(file.read_bytes())
        wheel.unlink()
        run(sys.executable, "-m", "wheel", "pack", "-d", str(wheel.parent), str(unpacked))


main()
