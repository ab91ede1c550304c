# SPDX-License-Identifier: MIT
"""Stores with many entries, made once and kept."""

import hashlib
import io
import shutil
import subprocess
import tempfile
from pathlib import Path

from PIL import Image

from server import BUILD, PROGRAMS

FILL_STORE = PROGRAMS / "bench/fill_store"
MEMORY_FOLDER = Path("/dev/shm")  # a commit costs nothing there


def store(entries):
    """A folder with the store, kept from an earlier run if the programs are the same."""
    version = hashlib.sha256(FILL_STORE.read_bytes()).hexdigest()[:12]
    kept = BUILD / f"store-{version}-{entries}"
    if kept.exists():
        return kept
    for old in BUILD.glob("store-*"):
        if not old.name.startswith(f"store-{version}-"):
            shutil.rmtree(old)
    with tempfile.TemporaryDirectory(prefix="sleevery-bench-", dir=MEMORY_FOLDER) as made:
        picture = Path(made) / "picture.png"
        picture.write_bytes(_tiny_png())
        with open(Path(made) / "fill.log", "w") as log:
            subprocess.run([FILL_STORE, made, str(entries), picture], stdout=log, check=True)
        shutil.copytree(made, BUILD / "store-half-made").rename(kept)
    return kept


def _tiny_png():
    file = io.BytesIO()
    Image.new("RGB", (1, 1), (128, 64, 32)).save(file, "PNG")
    return file.getvalue()
