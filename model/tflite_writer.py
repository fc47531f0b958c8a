"""Writes a TensorFlow Lite file with the generic flatbuffers builder.

The tables are written by field number, so no generated schema code is needed. Equal calls give equal bytes: nothing in
the file depends on the time, the machine or the order of a hash.
"""

import flatbuffers
import numpy as np

FILE_IDENTIFIER = b"TFL3"
SCHEMA_VERSION = 3
# Kernels read weights with aligned loads.
BUFFER_ALIGNMENT = 16

TENSOR_TYPES = {np.dtype(np.float32): 0, np.dtype(np.int32): 2, np.dtype(np.uint8): 3, np.dtype(np.bool_): 6}


class Options:
    """An operator's parameters: the number of their table in the schema's union, and (field, kind, value) triples."""

    def __init__(self, union_type, *fields):
        self.union_type = union_type
        self.fields = fields


class TfliteWriter:
    """Collects tensors and operators in the order of execution, then gives the file's bytes."""

    def __init__(self):
        self._buffers = [b""]  # Buffer 0 is empty: it stands for "computed, not stored".
        self._tensors = []
        self._codes = []
        self._operators = []

    @property
    def operator_count(self):
        return len(self._operators)

    def tensor(self, name, shape, dtype):
        """Adds a computed tensor and returns its index."""
        self._tensors.append((name, list(shape), TENSOR_TYPES[np.dtype(dtype)], 0))
        return len(self._tensors) - 1

    def constant(self, name, values):
        """Adds a stored tensor and returns its index."""
        values = np.ascontiguousarray(values)
        little_endian = values.astype(values.dtype.newbyteorder("<"), copy=False)
        self._buffers.append(little_endian.tobytes())
        # ascontiguousarray makes a scalar one-dimensional; a stored tensor here always has at least one dimension.
        self._tensors.append((name, list(values.shape), TENSOR_TYPES[values.dtype], len(self._buffers) - 1))
        return len(self._tensors) - 1

    def scalar(self, name, value, dtype):
        """Adds a stored tensor without dimensions and returns its index."""
        index = self.constant(name, np.array([value], dtype=dtype))
        name, _, tensor_type, buffer = self._tensors[index]
        self._tensors[index] = (name, [], tensor_type, buffer)
        return index

    def operator(self, builtin_code, inputs, outputs, options=None):
        """Adds an operator of version 1; operators run in the order in which they are added."""
        if builtin_code not in self._codes:
            self._codes.append(builtin_code)
        self._operators.append((self._codes.index(builtin_code), list(inputs), list(outputs), options))

    def finish(self, inputs, outputs, description):
        """Gives the file's bytes. The builder writes backwards, so the weights, made first, end up last in the file."""
        builder = flatbuffers.Builder(sum(len(b) for b in self._buffers) + (1 << 20))
        buffers = [_buffer(builder, data) for data in self._buffers]
        tensors = [_tensor(builder, *fields) for fields in self._tensors]
        operators = [_operator(builder, *fields) for fields in self._operators]
        codes = [_operator_code(builder, code) for code in self._codes]
        subgraph = _table(
            builder,
            ("offset", _offsets(builder, tensors)),
            ("offset", _ints(builder, inputs)),
            ("offset", _ints(builder, outputs)),
            ("offset", _offsets(builder, operators)),
            ("offset", builder.CreateString("main")),
        )
        model = _table(
            builder,
            ("uint32", SCHEMA_VERSION),
            ("offset", _offsets(builder, codes)),
            ("offset", _offsets(builder, [subgraph])),
            ("offset", builder.CreateString(description)),
            ("offset", _offsets(builder, buffers)),
        )
        builder.Finish(model, file_identifier=FILE_IDENTIFIER)
        return bytes(builder.Output())


def _table(builder, *fields):
    """A table whose fields are (kind, value) in the order of their numbers; None leaves a field out."""
    return _sparse_table(builder, [(number, *field) for number, field in enumerate(fields) if field is not None])


def _sparse_table(builder, fields):
    builder.StartObject(max((number for number, _, _ in fields), default=-1) + 1)
    for number, kind, value in fields:
        # A default that no value equals: every field is stored, whatever the schema's own default is.
        if kind == "offset":
            builder.PrependUOffsetTRelativeSlot(number, value, 0)
        elif kind == "int32":
            builder.PrependInt32Slot(number, value, None)
        elif kind == "uint32":
            builder.PrependUint32Slot(number, value, None)
        elif kind == "int8":
            builder.PrependInt8Slot(number, value, None)
        elif kind == "uint8":
            builder.PrependUint8Slot(number, value, None)
        elif kind == "bool":
            builder.PrependBoolSlot(number, value, None)
        else:
            raise ValueError(f"unknown kind of field: {kind}")
    return builder.EndObject()


def _ints(builder, values):
    builder.StartVector(4, len(values), 4)
    for value in reversed(values):
        builder.PrependInt32(value)
    return builder.EndVector()


def _offsets(builder, offsets):
    builder.StartVector(4, len(offsets), 4)
    for offset in reversed(offsets):
        builder.PrependUOffsetTRelative(offset)
    return builder.EndVector()


def _buffer(builder, data):
    if not data:
        return _table(builder)
    builder.StartVector(1, len(data), BUFFER_ALIGNMENT)
    builder.head -= len(data)
    builder.Bytes[builder.head : builder.head + len(data)] = data
    return _table(builder, ("offset", builder.EndVector()))


def _tensor(builder, name, shape, tensor_type, buffer):
    shape_offset = _ints(builder, shape)
    name_offset = builder.CreateString(name)
    quantization = _table(builder)
    return _table(
        builder,
        ("offset", shape_offset),
        ("int8", tensor_type),
        ("uint32", buffer),
        ("offset", name_offset),
        ("offset", quantization),
    )


def _operator(builder, code_index, inputs, outputs, options):
    inputs_offset = _ints(builder, inputs)
    outputs_offset = _ints(builder, outputs)
    if options is None:
        return _table(builder, ("uint32", code_index), ("offset", inputs_offset), ("offset", outputs_offset))
    options_offset = _sparse_table(builder, options.fields)
    return _table(
        builder,
        ("uint32", code_index),
        ("offset", inputs_offset),
        ("offset", outputs_offset),
        ("uint8", options.union_type),
        ("offset", options_offset),
    )


def _operator_code(builder, builtin_code):
    # The code stands twice: in the old one-byte field, the only one that older engines read, and in the newer one.
    return _table(builder, ("int8", builtin_code), None, ("int32", 1), ("int32", builtin_code))
