"""The operators that the detector is made of: each adds itself to a writer and knows its output's shape.

Pictures are [1, height, width, channels]; `Tensor.index` is the tensor's number in the file.
"""

from dataclasses import dataclass

import numpy as np

from tflite_writer import Options

ADD, AVERAGE_POOL_2D, CONCATENATION, CONV_2D, DEPTHWISE_CONV_2D, LOGISTIC = 0, 1, 2, 3, 4, 14
MAX_POOL_2D, MUL, RELU, RELU6, RESHAPE, RESIZE_BILINEAR, PAD, GATHER, SUB = 17, 18, 19, 21, 22, 23, 34, 36, 41
TOPK_V2, CAST, LESS, FLOOR_DIV, FLOOR_MOD, HARD_SWISH, NON_MAX_SUPPRESSION_V4 = 48, 53, 58, 90, 95, 117, 120

# Numbers of the options' tables in the schema's union.
CONV_OPTIONS, DEPTHWISE_OPTIONS, POOL_OPTIONS, CONCATENATION_OPTIONS, RESIZE_OPTIONS = 1, 2, 5, 10, 15
ADD_OPTIONS, MUL_OPTIONS, GATHER_OPTIONS, SUB_OPTIONS = 11, 21, 23, 28
ARITHMETIC_OPTIONS = {ADD: ADD_OPTIONS, MUL: MUL_OPTIONS, SUB: SUB_OPTIONS}
NO_ACTIVATION, RELU_ACTIVATION = 0, 1
PADDINGS = {"SAME": 0, "VALID": 1}


@dataclass(frozen=True)
class Tensor:
    index: int
    shape: tuple
    dtype: type


class Ops:
    """One method an operator. Names are given to outputs for whoever inspects the file; nothing depends on them.

    Every operator whose kernel reads parameters gets them, the usual ones too: without them the engine reads whatever
    stands in its memory, and a product may be clipped to six.
    """

    def __init__(self, writer):
        self._writer = writer

    def placeholder(self, name, shape, dtype):
        return Tensor(self._writer.tensor(name, shape, dtype), tuple(shape), dtype)

    def constant(self, name, values):
        return Tensor(self._writer.constant(name, values), values.shape, values.dtype.type)

    def scalar(self, name, value, dtype):
        return Tensor(self._writer.scalar(name, value, dtype), (), dtype)

    def conv2d(self, name, source, kernel, bias, stride, padding, relu):
        """`kernel` is [height, width, in, out] as tfjs keeps it; `bias` may be None."""
        options = Options(
            CONV_OPTIONS,
            (0, "int8", PADDINGS[padding]),
            (1, "int32", stride),
            (2, "int32", stride),
            (3, "int8", RELU_ACTIVATION if relu else NO_ACTIVATION),
        )
        stored = np.transpose(kernel, (3, 0, 1, 2))
        return self._convolve(CONV_2D, name, source, stored, bias, stride, padding, kernel.shape[3], options)

    def depthwise_conv2d(self, name, source, kernel, bias, stride, padding, relu):
        """`kernel` is [height, width, channels, 1]; `bias` may be None."""
        options = Options(
            DEPTHWISE_OPTIONS,
            (0, "int8", PADDINGS[padding]),
            (1, "int32", stride),
            (2, "int32", stride),
            (3, "int32", 1),
            (4, "int8", RELU_ACTIVATION if relu else NO_ACTIVATION),
        )
        stored = np.transpose(kernel, (3, 0, 1, 2))
        return self._convolve(DEPTHWISE_CONV_2D, name, source, stored, bias, stride, padding, kernel.shape[2], options)

    def _convolve(self, code, name, source, stored_kernel, bias, stride, padding, channels, options):
        # The engine's convolutions insist on a bias.
        bias = np.zeros(channels, dtype=np.float32) if bias is None else bias
        inputs = [source, self.constant(name + "/weights", stored_kernel), self.constant(name + "/bias", bias)]
        _, height, width, _ = source.shape
        if padding == "VALID":
            height -= stored_kernel.shape[1] - 1
            width -= stored_kernel.shape[2] - 1
        shape = (1, -(-height // stride), -(-width // stride), channels)
        return self._add(code, name, inputs, shape, np.float32, options)

    def global_mean(self, name, source):
        _, height, width, channels = source.shape
        return self._pool(AVERAGE_POOL_2D, name, source, (1, 1, 1, channels), "VALID", height, width)

    def max_pool_3x3(self, name, source):
        return self._pool(MAX_POOL_2D, name, source, source.shape, "SAME", 3, 3)

    def _pool(self, code, name, source, shape, padding, height, width):
        options = Options(
            POOL_OPTIONS,
            (0, "int8", PADDINGS[padding]),
            (1, "int32", 1),
            (2, "int32", 1),
            (3, "int32", width),
            (4, "int32", height),
        )
        return self._add(code, name, [source], shape, np.float32, options)

    def upsample_twice(self, name, source):
        _, height, width, _ = source.shape
        return self._resize(name, source, 2 * height, 2 * width, half_pixel_centers=False)

    def resize(self, name, source, height, width):
        """Each new pixel from the old ones around its centre."""
        return self._resize(name, source, height, width, half_pixel_centers=True)

    def _resize(self, name, source, height, width, half_pixel_centers):
        size = self.constant(name + "/size", np.array([height, width], dtype=np.int32))
        options = Options(RESIZE_OPTIONS, (2, "bool", False), (3, "bool", half_pixel_centers))
        shape = (1, height, width, source.shape[3])
        return self._add(RESIZE_BILINEAR, name, [source, size], shape, np.float32, options)

    def concatenate(self, name, sources):
        """Joins along the last axis."""
        axis = len(sources[0].shape) - 1
        shape = sources[0].shape[:axis] + (sum(source.shape[axis] for source in sources),)
        options = Options(CONCATENATION_OPTIONS, (0, "int32", axis))
        return self._add(CONCATENATION, name, sources, shape, sources[0].dtype, options)

    def pad_bottom_right(self, name, source, height, width):
        _, had_height, had_width, channels = source.shape
        amounts = np.array([[0, 0], [0, height - had_height], [0, width - had_width], [0, 0]], dtype=np.int32)
        inputs = [source, self.constant(name + "/amounts", amounts)]
        return self._add(PAD, name, inputs, (1, height, width, channels), source.dtype)

    def reshape(self, name, source, shape):
        inputs = [source, self.constant(name + "/shape", np.array(shape, dtype=np.int32))]
        return self._add(RESHAPE, name, inputs, shape, source.dtype)

    def gather(self, name, source, indices):
        """Rows of `source` (its first axis) by number."""
        options = Options(GATHER_OPTIONS, (0, "int32", 0))
        return self._add(GATHER, name, [source, indices], indices.shape + source.shape[1:], source.dtype, options)

    def top_k(self, name, source, count):
        """The largest `count` of a row of numbers: (values, positions), largest first, of equals the earlier first."""
        values = self.placeholder(name + "/values", (count,), source.dtype)
        positions = self.placeholder(name + "/positions", (count,), np.int32)
        number = self.scalar(name + "/k", count, np.int32)
        self._writer.operator(TOPK_V2, [source.index, number.index], [values.index, positions.index])
        return values, positions

    def suppress_overlaps(self, name, boxes, scores, rows, overlap, least_score):
        """Greedy suppression: (positions [rows], count []), best first; positions after `count` are 0."""
        positions = self.placeholder(name + "/positions", (rows,), np.int32)
        count = self.placeholder(name + "/count", (), np.int32)
        inputs = [
            boxes,
            scores,
            self.scalar(name + "/rows", rows, np.int32),
            self.scalar(name + "/overlap", overlap, np.float32),
            self.scalar(name + "/least_score", least_score, np.float32),
        ]
        self._writer.operator(
            NON_MAX_SUPPRESSION_V4, [source.index for source in inputs], [positions.index, count.index]
        )
        return positions, count

    def unary(self, code, name, source):
        return self._add(code, name, [source], source.shape, source.dtype)

    def binary(self, code, name, left, right):
        """With the broadcasting that the detector needs: to the shape of the operand that has more elements."""
        larger = left if np.prod(left.shape) >= np.prod(right.shape) else right
        dtype = np.bool_ if code == LESS else left.dtype
        options = None
        if code in ARITHMETIC_OPTIONS:
            options = Options(ARITHMETIC_OPTIONS[code], (0, "int8", NO_ACTIVATION))
        return self._add(code, name, [left, right], larger.shape, dtype, options)

    def cast(self, name, source, dtype):
        return self._add(CAST, name, [source], source.shape, dtype)

    def _add(self, code, name, inputs, shape, dtype, options=None):
        output = self.placeholder(name, shape, dtype)
        self._writer.operator(code, [source.index for source in inputs], [output.index], options)
        return output
