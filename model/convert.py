"""Converts the CenterNet detector from its tfjs graph-model into a TensorFlow Lite file for one picture size.

    convert.py CENTERNET.json WIDTH HEIGHT OUTPUT.tflite [INNER_WIDTH INNER_HEIGHT]

Input: RGB, uint8 [1, HEIGHT, WIDTH, 3]. Outputs, 50 rows, best first: boxes [1, 50, 4] (top, left, bottom, right as
fractions of the picture), classes [1, 50], scores [1, 50] (0 after the last found object), number of objects [1].
With an inner size the network looks at the picture reduced to that: less work, and small objects are lost. The same input
gives the same bytes.
"""

import os
import sys

import numpy as np

import tfjs_graph
from tflite_ops import ADD, FLOOR_DIV, FLOOR_MOD, HARD_SWISH, LESS, LOGISTIC, MUL, RELU, RELU6, SUB, Ops
from tflite_writer import TfliteWriter

NETWORK_STEP = 32  # The network's deepest map is this much smaller than its input, whose sizes are multiples of it.
CELL = 4  # Pixels between two neighbouring cells of the heads' maps.
CLASSES = 9  # Person to boat, the network's first nine; leaving the other 71 out is faster, and their noise with them.
DISTANCE_SCALE = 16  # The network's unit of distance, in pixels.
CANDIDATES = 100
ROWS = 50
OVERLAP = 0.5
LEAST_SCORE = 0.2
NOT_A_PEAK = 1e6  # Multiplies how far a cell is below its best neighbour: any difference rules the cell out.

CLASS_HEAD = "tower_0/CenternetHead/centernet_cls_output/BiasAdd"
DISTANCE_HEAD = "tower_0/CenternetHead/centernet_wh_output/BiasAdd"
SIMPLE = {"Add": ADD, "Mul": MUL, "Relu": RELU, "Relu6": RELU6, "Sigmoid": LOGISTIC}
CONVOLUTIONS = ("_FusedConv2D", "Conv2D", "FusedDepthwiseConv2dNative", "DepthwiseConv2dNative")


def convert(json_path, width, height, inner_width, inner_height):
    """Gives the file's bytes."""
    nodes, weights = tfjs_graph.read(json_path)
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (1, height, width, 3), np.uint8)
    # The network wants 0..255 as they are; padding is black.
    padded_height, padded_width = (-(-size // NETWORK_STEP) * NETWORK_STEP for size in (inner_height, inner_width))
    image = ops.cast("image", picture, np.float32)
    if (inner_width, inner_height) != (width, height):
        image = ops.resize("reduced", image, inner_height, inner_width)
    image = ops.pad_bottom_right("padded", image, padded_height, padded_width)
    logits, offsets = add_network(ops, nodes, heads_for_us(weights, inner_width, inner_height), image)
    outputs = add_decoder(ops, logits, offsets, inner_width, inner_height)
    description = f"MobileNetV3-CenterNet, {inner_width}x{inner_height}, classes 0 to {CLASSES - 1}"
    return writer.finish([picture.index], [output.index for output in outputs], description)


def heads_for_us(weights, width, height):
    """The weights with two heads changed: nine classes, and distances that come out as the box's edges wants them.

    The network gives the distances left, top, right, bottom from the centre. Their order, sign and scale are moved into
    the last convolution, which then gives what must be added to the centre: top, left, bottom, right in fractions.
    """
    changed = dict(weights)
    for part in ("pointwise_weights", "biases"):
        name = "CenternetHead/centernet_cls_output/" + part
        changed[name] = weights[name][..., :CLASSES]
        name = "CenternetHead/centernet_wh_output/" + part
        left, top, right, bottom = (DISTANCE_SCALE * weights[name][..., side] for side in range(4))
        edges = [-top / height, -left / width, bottom / height, right / width]
        changed[name] = np.stack(edges, axis=-1).astype(np.float32)
    return changed


def add_network(ops, nodes, weights, image):
    """Adds the nodes up to the two heads; gives (class logits, edge offsets)."""
    done = {"tower_0/images": image}
    by_name = {node.name: node for node in nodes}

    def source(name):
        if name not in done:
            done[name] = ops.scalar(name, float(weights[name]), np.float32)
        return done[name]

    for node in nodes:
        first = node.inputs[0] if node.inputs else None
        if node.op in CONVOLUTIONS:
            done[node.name] = add_convolution(ops, node, weights, source(first))
        elif node.op == "Mean":
            done[node.name] = ops.global_mean(node.name, source(first))
        elif node.op == "ResizeBilinear":
            if node.align_corners or node.half_pixel_centers:
                raise ValueError(f"{node.name}: only the plain way of upsampling is converted")
            done[node.name] = ops.upsample_twice(node.name, source(first))
        elif node.op == "ConcatV2":
            done[node.name] = ops.concatenate(node.name, [source(name) for name in node.inputs[:-1]])
        elif "/hard_swish/" in node.name:
            # x * relu6(x + 3) / 6 is spelled out in four nodes; one operator takes their place.
            if node.name.endswith("/mul_1"):
                x = hard_swish_input(node, by_name)
                done[node.name] = ops.unary(HARD_SWISH, node.name, source(x))
        elif node.op in ("Add", "Mul"):
            done[node.name] = ops.binary(SIMPLE[node.op], node.name, *(source(name) for name in node.inputs))
        elif node.op in SIMPLE:
            done[node.name] = ops.unary(SIMPLE[node.op], node.name, source(first))
        elif node.op != "Placeholder":
            raise ValueError(f"{node.name}: the converter does not know the operation {node.op}")
        if CLASS_HEAD in done and DISTANCE_HEAD in done:
            return done[CLASS_HEAD], done[DISTANCE_HEAD]
    raise ValueError("the graph has no CenterNet heads")


def add_convolution(ops, node, weights, source):
    kernel = weights[node.inputs[1]]
    bias = weights[node.inputs[2]] if "BiasAdd" in node.fused else None
    if node.dilations != [1, 1, 1, 1] or node.strides[1] != node.strides[2]:
        raise ValueError(f"{node.name}: dilated or uneven convolutions are not converted")
    add = ops.depthwise_conv2d if "Depthwise" in node.op else ops.conv2d
    return add(node.name, source, kernel, bias, node.strides[1], node.padding, "Relu" in node.fused)


def hard_swish_input(last, by_name):
    relu6 = next(by_name[name] for name in last.inputs if by_name[name].op == "Relu6")
    return next(name for name in by_name[relu6.inputs[0]].inputs if name in by_name)


def add_decoder(ops, logits, offsets, width, height):
    """From the heads' maps to rows: boxes, classes, scores, number of objects."""
    _, rows, columns, _ = logits.shape
    # A cell counts only when no neighbour has more of the same class. Comparing logits instead of scores gives the
    # same winners and leaves the logistic function to the few that win.
    best_near = ops.max_pool_3x3("best_near", logits)
    behind = ops.binary(SUB, "behind", logits, best_near)
    penalty = ops.binary(MUL, "penalty", behind, ops.scalar("not_a_peak", NOT_A_PEAK, np.float32))
    peaks = ops.binary(ADD, "peaks", logits, penalty)
    peaks = ops.reshape("peaks_in_a_row", peaks, (rows * columns * CLASSES,))
    values, positions = ops.top_k("candidates", peaks, CANDIDATES)
    scores = ops.unary(LOGISTIC, "candidate_scores", values)

    classes_number = ops.scalar("classes_number", CLASSES, np.int32)
    columns_number = ops.scalar("columns_number", columns, np.int32)
    cells = ops.binary(FLOOR_DIV, "cells", positions, classes_number)
    classes = ops.cast("candidate_classes", ops.binary(FLOOR_MOD, "class_numbers", positions, classes_number), np.float32)
    row = ops.cast("row", ops.binary(FLOOR_DIV, "row_number", cells, columns_number), np.float32)
    column = ops.cast("column", ops.binary(FLOOR_MOD, "column_number", cells, columns_number), np.float32)
    row = ops.reshape("row_upright", row, (CANDIDATES, 1))
    column = ops.reshape("column_upright", column, (CANDIDATES, 1))
    cell_size = np.array([CELL / height, CELL / width] * 2, dtype=np.float32)
    cell_centres = ops.concatenate("cell_centres", [row, column, row, column])
    centres = ops.binary(MUL, "centres", cell_centres, ops.constant("cell_size", cell_size))
    offsets = ops.reshape("offsets_in_rows", offsets, (rows * columns, 4))
    boxes = ops.binary(ADD, "candidate_boxes", centres, ops.gather("candidate_offsets", offsets, cells))

    kept, count = ops.suppress_overlaps("objects", boxes, scores, ROWS, OVERLAP, LEAST_SCORE)
    # Behind the last object the suppression repeats candidate 0; score 0 marks those rows as empty.
    row_numbers = ops.constant("row_numbers", np.arange(ROWS, dtype=np.int32))
    filled = ops.cast("filled", ops.binary(LESS, "is_filled", row_numbers, count), np.float32)
    scores = ops.binary(MUL, "filled_scores", ops.gather("kept_scores", scores, kept), filled)
    return (
        ops.reshape("boxes", ops.gather("kept_boxes", boxes, kept), (1, ROWS, 4)),
        ops.reshape("classes", ops.gather("kept_classes", classes, kept), (1, ROWS)),
        ops.reshape("scores", scores, (1, ROWS)),
        ops.reshape("number_of_objects", ops.cast("count", count, np.float32), (1,)),
    )


def main(arguments):
    if len(arguments) not in (5, 7):
        sys.exit(__doc__)
    _, json_path, width, height, output_path, *inner = arguments
    size = [int(width), int(height)]
    data = convert(json_path, *size, *([int(side) for side in inner] or size))
    # Never a half-written model under the final name.
    partial = f"{output_path}.{os.getpid()}.partial"
    with open(partial, "wb") as file:
        file.write(data)
    os.replace(partial, output_path)


if __name__ == "__main__":
    main(sys.argv)
