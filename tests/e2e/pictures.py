# SPDX-License-Identifier: MIT
"""Pictures for tests, and what their pixels should be once they are shown."""

import io
import pathlib

from PIL import Image, ImageOps

FIXTURES = pathlib.Path(__file__).resolve().parents[1] / "fixtures" / "images"


def fixture(name):
    return (FIXTURES / name).read_bytes()


def content_type(name):
    return "image/png" if name.endswith(".png") else "image/jpeg"


def png(size=(8, 8), seed=0):
    """A small PNG whose pixels depend on `seed`."""
    image = Image.new("RGB", size)
    image.putdata([((x * 31 + seed) % 256, (seed // 256 + y * 17) % 256, (x + y + seed // 65536) % 256)
                   for y in range(size[1]) for x in range(size[0])])
    out = io.BytesIO()
    image.save(out, "PNG")
    return out.getvalue()


def upright(data):
    """The pixels that a viewer shows, with alpha."""
    with Image.open(io.BytesIO(data)) as image:
        return ImageOps.exif_transpose(image).convert("RGBA")
