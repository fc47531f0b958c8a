#!/usr/bin/python3 -B
"""Writes networks of the detector's shapes that see the same car whatever they are shown: they take no time.

    package/toy_model.py FOLDER
"""

import sys
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "model"))
from tflite_ops import RELU, Ops  # noqa: E402
from tflite_writer import TfliteWriter  # noqa: E402

ROWS = 20
BOX = (0.45, 0.45, 0.7, 0.55)  # top, left, bottom, right: within the default area
CAR = 2


def toy(width, height):
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (1, height, width, 3), np.uint8)
    boxes = np.zeros((1, ROWS, 4), dtype=np.float32)
    classes = np.zeros((1, ROWS), dtype=np.float32)
    scores = np.zeros((1, ROWS), dtype=np.float32)
    boxes[0, 0], classes[0, 0], scores[0, 0] = BOX, CAR, 0.9
    values = {"boxes": boxes, "classes": classes, "scores": scores, "count": np.ones(1, dtype=np.float32)}
    outputs = [ops.unary(RELU, name, ops.constant(name + "/value", value)) for name, value in values.items()]
    return writer.finish([picture.index], [output.index for output in outputs], "toy")


if __name__ == "__main__":
    for width, height in ((960, 540), (540, 960)):
        (Path(sys.argv[1]) / f"detect_{width}_{height}.tflite").write_bytes(toy(width, height))
