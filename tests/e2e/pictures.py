# SPDX-License-Identifier: MIT
"""Pictures for tests, and the pixels that `show` should deliver."""

import io
import pathlib
import random

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


QUARTERS = ((224, 32, 32), (32, 224, 32), (32, 32, 224), (224, 224, 32))


def noise(side, format, **options):
    """A large image file: four quarters in different colours, with incompressible noise."""
    dark = Image.frombytes("RGB", (side, side), random.Random(side).randbytes(side * side * 3))
    colours = Image.new("RGB", (2, 2))
    colours.putdata(QUARTERS)
    out = io.BytesIO()
    Image.blend(colours.resize(dark.size, Image.Resampling.NEAREST), dark, 0.5).save(out, format, **options)
    return out.getvalue()


def has_the_quarters(picture):
    """True for a picture from `noise` that is upright."""
    small = picture.convert("RGB").resize((2, 2), Image.Resampling.BOX)
    half = [tuple(value // 2 + 64 for value in colour) for colour in QUARTERS]
    return all(abs(value - wanted) < 16 for found, expected in zip(small.getdata(), half) for value, wanted in zip(found, expected))
