# SPDX-License-Identifier: MIT
"""Stores with many entries. They are created once and kept."""

import hashlib
import io
import shutil
import subprocess
import tempfile
from pathlib import Path

from PIL import Image

from server import BUILD, PROGRAMS

FILL_STORE = PROGRAMS / "bench/fill_store"
MEMORY_FOLDER = Path("/dev/shm")  # commits are fast there


def store(entries):
    """The folder of a store. It is reused if fill_store has not changed since an earlier run."""
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
