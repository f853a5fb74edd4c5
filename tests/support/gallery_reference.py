#!/usr/bin/env python3
"""Prints the expected values of GalleryTilesTest, computed with OpenCV and NumPy. Versions are printed along."""

import cv2
import numpy as np

print("OpenCV", cv2.__version__, "NumPy", np.__version__)


def picture(width, height):
    y, x = np.mgrid[0:height, 0:width]
    return ((37 * x + 11 * y + x * y) % 251).astype(np.uint8)


def stretch(image, lo, hi):
    """What OpenCV's convertTo does for 8 bits: scale and shift, to the nearest, saturated."""
    scale = 255.0 / (hi - lo)
    target = np.empty_like(image)
    # addWeighted has the same arithmetic: image * scale + 0 + shift.
    return cv2.addWeighted(image, scale, image, 0.0, -lo * scale, dst=target)


def tile(image, cx, cy, w, h, lo, hi):
    left = int(np.floor(abs(cx) + 0.5) * np.sign(cx)) - w // 2
    top = int(np.floor(abs(cy) + 0.5) * np.sign(cy)) - h // 2
    height, width = image.shape
    x0, y0 = max(left, 0), max(top, 0)
    x1, y1 = min(left + w, width), min(top + h, height)
    if x0 >= x1 or y0 >= y1:
        return np.zeros((h, w), np.uint8)
    part = cv2.copyMakeBorder(
        image[y0:y1, x0:x1], y0 - top, top + h - y1, x0 - left, left + w - x1, cv2.BORDER_CONSTANT, value=0
    )
    return part if (lo, hi) == (0, 255) else stretch(part, lo, hi)


CASES = [
    (10.0, 7.0, 8, 6, 0, 255),
    (10.5, 6.5, 8, 6, 0, 255),
    (1.0, 1.0, 8, 6, 0, 255),
    (-0.5, 12.6, 7, 5, 0, 255),
    (19.4, 13.0, 10, 12, 0, 255),
    (10.0, 7.0, 40, 30, 0, 255),
    (-30.0, 7.0, 8, 6, 0, 255),
    (10.0, 7.0, 8, 6, 30, 200),
    (2.0, 2.0, 12, 12, 1, 254),
    (10.0, 7.0, 20, 14, 100, 103),
]


def checksum(values):
    """Tells the order of the pixels, too."""
    total = 0
    for value in values.ravel():
        total = (total * 31 + int(value)) % 1000000007
    return total


print("tiles of a picture 20 x 14: cx, cy, w, h, lo, hi, sum, checksum")
for case in CASES:
    cut = tile(picture(20, 14), *case)
    print(f"{{{', '.join(str(v) for v in case)}, {int(cut.sum())}, {checksum(cut)}}},")

print("contrast 30..200 of 29 30 31 100 115 199 200 201:")
print(stretch(np.array([[29, 30, 31, 100, 115, 199, 200, 201]], np.uint8), 30, 200).ravel().tolist())


def shuffled(count):
    """std::shuffle of 0, 1, ... in GCC's library with std::mt19937(12345), written from its description."""
    words = np.random.RandomState(12345)

    def below(bound):  # Lemire, Fast random integer generation in an interval (2019)
        product = int(words.randint(0, 2**32, dtype=np.uint64)) * bound
        while product % 2**32 < (-bound % 2**32) % bound:
            product = int(words.randint(0, 2**32, dtype=np.uint64)) * bound
        return product >> 32

    values = list(range(count))

    def swap(i, j):
        values[i], values[j] = values[j], values[i]

    if (2**32 - 1) // count < count:
        for i in range(1, count):
            swap(i, below(i + 1))
        return values
    i = 1
    if count % 2 == 0:
        swap(1, below(2))
        i = 2
    while i < count:  # two places from one number
        pair = below((i + 1) * (i + 2))
        swap(i, pair // (i + 2))
        swap(i + 1, pair % (i + 2))
        i += 2
    return values


for count in (3, 10, 1000, 1001, 70000):
    sample = shuffled(count)[:200]
    print(f"sample of {count}: begins {sample[:4]}, ends {sample[-2:]}, checksum {checksum(np.array(sample))}")


pattern = picture(20, 14).ravel().astype(int)
for events in ((0,), (0, 8)):
    pixels = np.sort(np.concatenate([np.minimum(pattern + event, 255)[::8] for event in events]))
    n = len(pixels)
    print(f"limits of events {events}: {pixels[int((n - 1) * 0.01)]}, {pixels[int((n - 1) * 0.99)]} of {n} pixels")
print("largest grey", pattern.max(), "all tile pixels of event 8:", (pattern + 8).max())
