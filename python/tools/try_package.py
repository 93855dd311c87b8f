"""Takes frames to a textured model with the installed package, and tells where it comes from.

With --bundled also that no compiler is found, and that all libraries which the extension module
brings come with the package and name their licences.
"""

from __future__ import annotations

import shutil
import sys
import warnings
from pathlib import Path

import algorithmveld as veld
from algorithmveld import _core
from scans import sphere_frames, sphere_photo

# Of every Linux that the wheel is for, see its tag, and what Python's own modules need.
SYSTEM = ("ld-linux", "libc.", "libm.", "libdl", "librt", "libpthread", "libgcc_s", "libstdc++",
          "libutil", "libz.", "libexpat", "libpython",
          "libffi", "liblzma", "libbz2", "libssl", "libcrypto", "libuuid")  # fmt: skip


def chain() -> None:
    """From frames to a textured model."""
    merged = veld.merge(sphere_frames())
    filled = veld.fill(merged.mesh, max_perimeter=1000)
    assert veld.info(filled.mesh).closed
    photos = [sphere_photo(azimuth, 20.0) for azimuth in range(0, 360, 60)]
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", veld.VeldWarning)
        textured = veld.texture(filled.mesh, photos)
    veld.save(textured, "model.glb")
    assert veld.render(textured.mesh, width=80, height=60).std() > 0
    assert Path("model.glb").stat().st_size > 10_000


def check_bundle() -> None:
    """Where the libraries of this process are from."""
    for compiler in ("cc", "c++", "gcc", "g++", "clang", "cmake", "ninja"):
        assert shutil.which(compiler) is None, compiler
    package = Path(_core.__file__).parent
    paths = {line.split()[-1] for line in Path("/proc/self/maps").read_text().splitlines()}
    shared = {Path(path) for path in paths if ".so" in path}
    site = package.parent
    foreign = {
        path.name
        for path in shared
        if site not in path.parents
        and "lib-dynload" not in path.parts
        and not path.name.startswith(SYSTEM)
    }
    assert not foreign, foreign
    bundled = sorted(path.name for path in (site / "algorithmveld.libs").iterdir())
    licences = list(next(site.glob("algorithmveld-*.dist-info")).rglob("bundled/*"))
    assert bundled
    assert licences
    assert not any("mkl" in name for name in bundled)
    print(f"{len(bundled)} libraries inside, {len(licences)} licences")


chain()
if "--bundled" in sys.argv:
    check_bundle()
print(f"algorithmveld {veld.__version__} of {Path(veld.__file__).parent}")
