"""Reads a tfjs graph-model: `NAME.json` (nodes in the order of execution) and `NAME.bin` (weights)."""

import base64
import json
import os

import numpy as np


class Node:
    """One node: `inputs` are names of nodes or weights; the attributes that the converter needs are decoded."""

    def __init__(self, description):
        attributes = description.get("attr", {})
        self.name = description["name"]
        self.op = description["op"]
        self.inputs = description.get("input", [])
        self.strides = _ints(attributes, "strides")
        self.dilations = _ints(attributes, "dilations")
        self.padding = _text(attributes["padding"]["s"]) if "padding" in attributes else None
        self.fused = [_text(op) for op in attributes.get("fused_ops", {}).get("list", {}).get("s", [])]
        self.align_corners = attributes.get("align_corners", {}).get("b", False)
        self.half_pixel_centers = attributes.get("half_pixel_centers", {}).get("b", False)


def read(json_path):
    """Gives (nodes, weights): nodes without constants in order of execution, weights by name as float32 or int32."""
    with open(json_path, encoding="utf-8") as file:
        model = json.load(file)
    nodes = [Node(node) for node in model["modelTopology"]["node"] if node["op"] != "Const"]
    weights = {}
    for group in model["weightsManifest"]:
        data = b""
        for path in group["paths"]:
            with open(os.path.join(os.path.dirname(json_path), path), "rb") as file:
                data += file.read()
        position = 0
        for weight in group["weights"]:
            stored = np.dtype(weight.get("quantization", weight)["dtype"]).newbyteorder("<")
            count = int(np.prod(weight["shape"], dtype=np.int64))
            values = np.frombuffer(data, dtype=stored, count=count, offset=position)
            weights[weight["name"]] = values.astype(weight["dtype"]).reshape(weight["shape"])
            position += values.nbytes
        if position != len(data):
            raise ValueError(f"{json_path}: the weights' list covers {position} of {len(data)} bytes")
    return nodes, weights


def _ints(attributes, name):
    return [int(value) for value in attributes.get(name, {}).get("list", {}).get("i", [])] or [1, 1, 1, 1]


def _text(base64_text):
    return base64.b64decode(base64_text).decode("ascii")
