"""Writes the small models of the larod tests: NAME.tflite, and for those with one expected result NAME.in and NAME.out.

    make_test_models.py MODEL_FOLDER OUTPUT_FOLDER
"""

import os
import sys

import numpy as np

sys.path.insert(0, sys.argv[1])
from tflite_ops import ADD, CONV_2D, CONV_OPTIONS, DEPTHWISE_CONV_2D, DEPTHWISE_OPTIONS  # noqa: E402
from tflite_ops import GATHER, GATHER_OPTIONS, HARD_SWISH, MUL, RESHAPE, Ops  # noqa: E402
from tflite_writer import Options, TfliteWriter  # noqa: E402

OUTPUT = sys.argv[2]
SEED = 20240607
CASES = 40


def save(name, writer, inputs, outputs):
    data = writer.finish([t.index for t in inputs], [t.index for t in outputs], name)
    with open(os.path.join(OUTPUT, name + ".tflite"), "wb") as file:
        file.write(data)


def save_example(name, given, expected):
    given.astype(np.uint8).tofile(os.path.join(OUTPUT, name + ".in"))
    expected.astype(np.float32).tofile(os.path.join(OUTPUT, name + ".out"))


def multiples(count, inputs=1, shape=(1, 2, 2, 3)):
    """Output i is the picture times i + 1; further inputs are not used."""
    writer = TfliteWriter()
    ops = Ops(writer)
    pictures = [ops.placeholder(f"picture_{i}", shape, np.uint8) for i in range(inputs)]
    image = ops.cast("image", pictures[0], np.float32)
    outputs = [
        ops.binary(MUL, f"times_{i + 1}", image, ops.scalar(f"factor_{i + 1}", i + 1, np.float32))
        for i in range(count)
    ]
    return writer, pictures, outputs


def without_parameters():
    """A product that does not say whether it is clipped."""
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (1, 2, 2, 3), np.uint8)
    image = ops.cast("image", picture, np.float32)
    twice = ops.placeholder("twice", picture.shape, np.float32)
    writer.operator(MUL, [image.index, ops.scalar("two", 2, np.float32).index], [twice.index])
    save("without_parameters", writer, [picture], [twice])


def gathered():
    """The pixel's value is the number of the row to give."""
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (2,), np.uint8)
    rows = ops.constant("rows", np.arange(6, dtype=np.float32).reshape(3, 2))
    number = ops.cast("number", picture, np.int32)
    save("gather", writer, [picture], [ops.gather("row", rows, number)])

    row = ops.placeholder("row", (2,), np.float32)
    options = Options(GATHER_OPTIONS, (0, "int32", 1), (1, "int32", 1))
    writer.operator(GATHER, [rows.index, number.index], [row.index], options)
    save("gather_in_batches", writer, [picture], [row])


def convolved(image, kernel, bias, stride, dilation, padding, depthwise):
    """The plain sum that a convolution is. `kernel` is stored as in the file."""
    _, height, width, channels_in = image.shape
    kernel_height, kernel_width = kernel.shape[1:3]
    reach = [(size - 1) * dilation + 1 for size in (kernel_height, kernel_width)]
    if padding == 0:
        sizes = [-(-size // stride) for size in (height, width)]
        before = [max((o - 1) * stride + r - i, 0) // 2 for o, r, i in zip(sizes, reach, (height, width))]
    else:
        sizes = [(size - r) // stride + 1 for size, r in zip((height, width), reach)]
        before = [0, 0]
    channels = kernel.shape[3] if depthwise else kernel.shape[0]
    result = np.zeros((1, *sizes, channels), dtype=np.float64)
    for y, x in np.ndindex(*sizes):
        for ky, kx in np.ndindex(kernel_height, kernel_width):
            row = y * stride - before[0] + ky * dilation
            column = x * stride - before[1] + kx * dilation
            if not (0 <= row < height and 0 <= column < width):
                continue
            pixel = image[0, row, column].astype(np.float64)
            if depthwise:
                result[0, y, x] += np.repeat(pixel, channels // channels_in) * kernel[0, ky, kx]
            else:
                result[0, y, x] += kernel[:, ky, kx, :] @ pixel
    return result + bias


def convolution_cases():
    """Convolutions of random shapes and options with what they must give."""
    random = np.random.default_rng(SEED)
    for case in range(CASES):
        depthwise = case % 2 == 1
        channels_in = int(random.integers(1, 10))
        kernel_size = [int(k) for k in random.integers(1, 6, 2)]
        stride, dilation, padding = int(random.integers(1, 4)), int(random.integers(1, 3)), int(random.integers(0, 2))
        # The engine's fast convolutions are wrong where a step leaves pixels out; the README tells their users.
        stride = min(stride, *kernel_size)
        dilation = 1 if stride > 1 else dilation
        least = [(k - 1) * dilation + 1 for k in kernel_size]
        height, width = (int(random.integers(size, size + 12)) for size in least)
        multiplier = int(random.integers(1, 4))
        channels = channels_in * multiplier if depthwise else int(random.integers(1, 20))
        shape = (1, *kernel_size, channels) if depthwise else (channels, *kernel_size, channels_in)
        kernel = random.standard_normal(shape).astype(np.float32)
        bias = random.standard_normal(channels).astype(np.float32)
        activation = int(random.integers(0, 4))
        picture = random.integers(0, 4, (1, height, width, channels_in))
        image = picture.astype(np.float32)
        expected = convolved(image, kernel, bias, stride, dilation, padding, depthwise)
        least_value, most_value = [(-np.inf, np.inf), (0, np.inf), (-1, 1), (0, 6)][activation]
        expected = np.clip(expected, least_value, most_value)

        writer = TfliteWriter()
        ops = Ops(writer)
        source = ops.placeholder("picture", picture.shape, np.uint8)
        common = [(0, "int8", padding), (1, "int32", stride), (2, "int32", stride)]
        inputs = [
            ops.cast("image", source, np.float32),
            ops.constant("weights", kernel),
            ops.constant("bias", bias),
        ]
        result = ops.placeholder("result", expected.shape, np.float32)
        if depthwise:
            fields = [(3, "int32", multiplier), (4, "int8", activation), (5, "int32", dilation), (6, "int32", dilation)]
            code, options = DEPTHWISE_CONV_2D, Options(DEPTHWISE_OPTIONS, *common, *fields)
        else:
            fields = [(3, "int8", activation), (4, "int32", dilation), (5, "int32", dilation)]
            code, options = CONV_2D, Options(CONV_OPTIONS, *common, *fields)
        writer.operator(code, [t.index for t in inputs], [result.index], options)
        name = f"convolution_{case}"
        save(name, writer, [source], [result])
        save_example(name, picture, expected)


def computed_weights():
    """A convolution whose weights are computed as it runs: the fast kernels refuse it, the engine's own serve it."""
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (1, 2, 2, 1), np.uint8)
    half = ops.constant("half", np.full((1, 1, 1, 1), 1.5, dtype=np.float32))
    weights = ops.binary(ADD, "weights", half, half)
    image = ops.cast("image", picture, np.float32)
    bias = ops.constant("bias", np.array([0.25], dtype=np.float32))
    result = ops.placeholder("result", (1, 2, 2, 1), np.float32)
    options = Options(CONV_OPTIONS, (0, "int8", 0), (1, "int32", 1), (2, "int32", 1))
    writer.operator(CONV_2D, [image.index, weights.index, bias.index], [result.index], options)
    save("computed_weights", writer, [picture], [result])
    given = np.array([1, 2, 3, 4])
    save_example("computed_weights", given, given * 3 + 0.25)


def sized_as_it_runs():
    """Shapes known only when the model runs: the fast kernels then read a tensor that has no room behind it."""
    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (12,), np.uint8)
    part = ops.constant("part", np.array([1, 1, 1, 1], dtype=np.int32))
    rest = ops.constant("rest", np.array([0, 1, 2, 0], dtype=np.int32))
    shape = ops.binary(ADD, "shape", part, rest)
    image = ops.cast("image", picture, np.float32)
    reshaped = ops.placeholder("reshaped", (1, 2, 3, 2), np.float32)
    writer.operator(RESHAPE, [image.index, shape.index], [reshaped.index])
    # 12 values do not fill 1 x 2 x 3 x 1: the shape asks for half of them and the engine says so as it runs.
    save("wrong_size_as_it_runs", writer, [picture], [ops.unary(HARD_SWISH, "result", reshaped)])

    writer = TfliteWriter()
    ops = Ops(writer)
    picture = ops.placeholder("picture", (6,), np.uint8)
    part = ops.constant("part", np.array([1, 1, 1, 1], dtype=np.int32))
    rest = ops.constant("rest", np.array([0, 1, 2, 0], dtype=np.int32))
    shape = ops.binary(ADD, "shape", part, rest)
    image = ops.cast("image", picture, np.float32)
    reshaped = ops.placeholder("reshaped", (1, 2, 3, 1), np.float32)
    writer.operator(RESHAPE, [image.index, shape.index], [reshaped.index])
    swished = ops.unary(HARD_SWISH, "swished", reshaped)
    kernel = np.array([[[[2]]], [[[-1]]]], dtype=np.float32)
    result = ops.placeholder("result", (1, 2, 3, 2), np.float32)
    inputs = [swished, ops.constant("kernel", kernel), ops.constant("bias", np.array([0, 1], dtype=np.float32))]
    options = Options(CONV_OPTIONS, (0, "int8", 0), (1, "int32", 1), (2, "int32", 1))
    writer.operator(CONV_2D, [t.index for t in inputs], [result.index], options)
    save("sized_as_it_runs", writer, [picture], [result])
    given = np.arange(6, dtype=np.float32)
    swish = given * np.clip(given + 3, 0, 6) / 6
    save_example("sized_as_it_runs", given, np.stack([2 * swish, 1 - swish], axis=-1))


def main():
    os.makedirs(OUTPUT, exist_ok=True)
    for outputs in (3, 4):
        save(f"outputs_{outputs}", *multiples(outputs))
    save("inputs_2", *multiples(4, inputs=2))
    save("detector_size", *multiples(4, shape=(1, 540, 960, 3)))
    save("detector_size_portrait", *multiples(4, shape=(1, 960, 540, 3)))
    save("detector_size_3_outputs", *multiples(3, shape=(1, 540, 960, 3)))
    writer, inputs, _ = multiples(0, shape=(1, 540, 960, 3))
    ops = Ops(writer)
    numbers = [ops.cast(f"number_{i}", inputs[0], np.int32) for i in range(4)]
    save("detector_size_integers", writer, inputs, numbers)
    without_parameters()
    gathered()
    convolution_cases()
    computed_weights()
    sized_as_it_runs()


if __name__ == "__main__":
    main()
