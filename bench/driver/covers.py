# SPDX-License-Identifier: MIT
"""Made-up covers that compress like photographs. Every run makes the same ones."""

import io
import random
from typing import NamedTuple

from PIL import Image, ImageChops, ImageDraw, ImageFilter

JPEG_QUALITY = 92


class Cover(NamedTuple):
    """An image file for an upload."""

    name: str
    mime_type: str
    content: bytes


def photo(side, seed):
    """A picture with gradients of several sizes, blurred and sharp objects, and the grain of a sensor."""
    rng = random.Random(seed)
    picture = _noise(rng, 3, "RGB").resize((side, side), Image.BICUBIC)
    for cells, weight in ((9, 0.4), (40, 0.2), (160, 0.12)):
        layer = _noise(rng, cells, "RGB").resize((side, side), Image.BICUBIC)
        picture = Image.blend(picture, layer, weight)
    for blur in (side // 60, side // 400):
        _draw_objects(picture, rng)
        picture = picture.filter(ImageFilter.GaussianBlur(blur))
    grain = _noise(rng, side, "L").point(lambda value: 120 + value // 16)
    return ImageChops.add(picture, Image.merge("RGB", [grain] * 3), offset=-128)


def _noise(rng, cells, mode):
    return Image.frombytes(mode, (cells, cells), rng.randbytes(cells * cells * len(mode)))


def _draw_objects(picture, rng):
    draw = ImageDraw.Draw(picture)
    side = picture.width
    for _ in range(12):
        x, y, size = rng.randrange(side), rng.randrange(side), rng.randrange(side // 12, side // 4)
        colour = tuple(rng.randbytes(3))
        if rng.random() < 0.5:
            draw.ellipse((x - size, y - size, x + size, y + size), fill=colour)
        else:
            corners = [(x + rng.randrange(-size, size), y + rng.randrange(-size, size)) for _ in range(5)]
            draw.polygon(corners, fill=colour)


def jpeg(picture):
    return _encoded(picture, "JPEG", quality=JPEG_QUALITY)


def png(picture):
    return _encoded(picture, "PNG")


def _encoded(picture, file_format, **options):
    file = io.BytesIO()
    picture.save(file, file_format, **options)
    return file.getvalue()


def variant(picture, number):
    """The same picture with a small mark, so that all variants have different bytes."""
    marked = picture.copy()
    draw = ImageDraw.Draw(marked)
    for bit in range(16):
        if number >> bit & 1:
            draw.rectangle((8 * bit, 0, 8 * bit + 7, 7), fill=(255, 255, 255))
    return marked


def samples():
    """A smaller and a larger photograph, each as JPEG and as PNG."""
    photos = [photo(side, seed=side) for side in (600, 1000)]
    return [
        cover
        for picture in photos
        for cover in (
            Cover(f"{picture.width} x {picture.width} JPEG", "image/jpeg", jpeg(picture)),
            Cover(f"{picture.width} x {picture.width} PNG", "image/png", png(picture)),
        )
    ]
