#!/usr/bin/env python3
"""Turns NanoDet, as a TensorFlow.js graph model, into ONNX (opset 11).

usage: nanodet_to_onnx.py MODEL.json OUTPUT.onnx     (the weights lie beside MODEL.json)

Both formats are simple enough to be read and written by hand, so nothing but Python is needed.
The graph was a channels-first one before TensorFlow put a transpose around every convolution. Here
it becomes one again: transposes vanish, and each value remembers the axis order that the original
thought it had, so that axes and paddings are read in that order. Paddings and biases go into the
convolution that they belong to.

Input "input": 1x3x416x416. Outputs "head_8", "head_16", "head_32" (after their strides): raw values
of the cells, 80 class logits and then 4 x 11 distance bins in 124 channels.
"""

import array
import json
import math
import os
import struct
import sys

OPSET = 11
IR_VERSION = 6
FLOAT, INT64 = 1, 7  # TensorProto.DataType


# --- Protocol buffers, as far as ONNX needs them: varints, 32-bit floats, length-delimited fields.

def varint(value):
    value &= (1 << 64) - 1
    out = bytearray()
    while value > 0x7F:
        out.append(value & 0x7F | 0x80)
        value >>= 7
    out.append(value)
    return bytes(out)


def number(field, value):
    return varint(field << 3) + varint(value)


def real(field, value):
    return varint(field << 3 | 5) + struct.pack("<f", value)


def block(field, data):
    if isinstance(data, str):
        data = data.encode()
    return varint(field << 3 | 2) + varint(len(data)) + data


# --- ONNX messages. The field numbers are those of onnx.proto.

def tensor(name, kind, shape, raw):
    return b"".join(number(1, size) for size in shape) + number(2, kind) + block(8, name) + block(9, raw)


def value_info(name, shape):
    dims = b"".join(block(1, number(1, size)) for size in shape)
    return block(1, name) + block(2, block(1, number(1, FLOAT) + block(2, dims)))


def attribute(name, value):
    if isinstance(value, float):
        return block(1, name) + real(2, value) + number(20, 1)
    if isinstance(value, int):
        return block(1, name) + number(3, value) + number(20, 2)
    if isinstance(value, str):
        return block(1, name) + block(4, value) + number(20, 3)
    return block(1, name) + b"".join(number(8, item) for item in value) + number(20, 7)


def node(op, inputs, output, attributes):
    return (b"".join(block(1, name) for name in inputs) + block(2, output) + block(3, output)
            + block(4, op)
            + b"".join(block(5, attribute(*item)) for item in sorted(attributes.items())))


def model(graph):
    opset = block(1, "") + number(2, OPSET)
    return (number(1, IR_VERSION) + block(2, "nanodet_to_onnx") + block(7, graph)
            + block(8, opset))


# --- The TensorFlow.js model.

class Weight:
    """A constant: its shape, and its values as an array of floats or ints."""

    def __init__(self, shape, values):
        self.shape = shape
        self.values = values


def read_weights(manifest, folder):
    weights = {}
    for group in manifest:
        data = b"".join(open(os.path.join(folder, path), "rb").read() for path in group["paths"])
        at = 0
        for entry in group["weights"]:
            count = math.prod(entry["shape"])
            stored = entry.get("quantization", {}).get("dtype", entry["dtype"])
            code = {"float16": "e", "float32": "f", "int32": "i"}[stored]
            values = struct.unpack_from(f"<{count}{code}", data, at)
            at += struct.calcsize(f"<{count}{code}")
            kind = "i" if code == "i" else "f"
            weights[entry["name"]] = Weight(entry["shape"], array.array(kind, values))
        if at != len(data):
            raise ValueError(f"{group['paths']}: {len(data)} bytes where {at} were expected")
    return weights


class Value:
    """A tensor of the new graph.

    axes: the axis order that the original gives it, as indices into N, C, H, W
    shape: as it is here, in N, C, H, W
    pads: what a padding adds around it, kept for the convolution or pooling that follows
    """

    def __init__(self, name, shape, axes, pads=(0, 0, 0, 0)):
        self.name = name
        self.shape = shape
        self.axes = axes
        self.pads = pads  # top, left, bottom, right


class Converter:
    def __init__(self, description, folder):
        self.nodes = {item["name"]: item for item in description["modelTopology"]["node"]}
        self.weights = read_weights(description["weightsManifest"], folder)
        self.done = {}
        self.out_nodes = []
        self.out_tensors = []

    def convert(self):
        # What follows a head's split is arithmetic that the caller does only where it pays.
        heads = [self.inputs(item)[0] for item in self.nodes.values() if item["op"] == "SplitV"]
        size = self.input_shape()[2]
        names = []
        for head in heads:
            names.append(f"head_{size // head.shape[2]}")
            self.out_nodes.append(node("Identity", [head.name], names[-1], {}))
        order = sorted(range(len(heads)), key=lambda index: -heads[index].shape[2])
        return model(
            b"".join(block(1, item) for item in self.out_nodes) + block(2, "nanodet")
            + b"".join(block(5, item) for item in self.out_tensors)
            + block(11, value_info("input", self.input_shape()))
            + b"".join(block(12, value_info(names[i], heads[i].shape)) for i in order))

    def input_shape(self):
        item = next(item for item in self.nodes.values() if item["op"] == "Placeholder")
        return [int(dim["size"]) for dim in item["attr"]["shape"]["shape"]["dim"]]

    def value(self, name):
        if name not in self.done:
            item = self.nodes[name]
            self.done[name] = getattr(self, "on_" + item["op"])(item)
        return self.done[name]

    def inputs(self, item):
        """The inputs of an operation that knows no padding, constants left out."""
        values = [self.value(name) for name in item["input"] if name not in self.weights]
        if any(any(value.pads) for value in values):
            raise ValueError(f"{item['name']}: a padding before {item['op']}")
        return values

    def constant(self, item, index):
        return self.weights[item["input"][index]]

    def emit(self, op, inputs, shape, axes, attributes):
        name = f"{op.lower()}_{len(self.out_nodes)}"
        self.out_nodes.append(node(op, inputs, name, attributes))
        return Value(name, shape, axes)

    def add_tensor(self, kind, shape, raw):
        name = f"tensor_{len(self.out_tensors)}"
        self.out_tensors.append(tensor(name, kind, shape, raw))
        return name

    # One function per operation of the original; each gives the Value that stands for its result.

    def on_Placeholder(self, item):
        return Value("input", self.input_shape(), [0, 1, 2, 3])

    def on_Transpose(self, item):
        source = self.value(item["input"][0])
        order = self.constant(item, 1).values
        return Value(source.name, source.shape, [source.axes[axis] for axis in order], source.pads)

    def on_Pad(self, item):
        source = self.value(item["input"][0])
        pairs = self.constant(item, 1).values
        added = {source.axes[i]: (pairs[2 * i], pairs[2 * i + 1]) for i in range(4)}
        if any(added[0]) or any(added[1]):
            raise ValueError(f"{item['name']}: only height and width can be padded")
        (top, bottom), (left, right) = added[2], added[3]
        return Value(source.name, source.shape, source.axes, (top, left, bottom, right))

    def on_PadV2(self, item):
        # Before a pooling, which here pads with the lowest value on its own.
        if self.constant(item, 2).values[0] > -1e4:
            raise ValueError(f"{item['name']}: padded with something else than the lowest value")
        return self.on_Pad(item)

    def window(self, item, source, kernel):
        """Attributes and output size of what slides a window over height and width."""
        strides = self.spatial(item["attr"]["strides"])
        top, left, bottom, right = source.pads
        padded = (source.shape[2] + top + bottom, source.shape[3] + left + right)
        size = [(padded[i] - kernel[i]) // strides[i] + 1 for i in range(2)]
        attributes = {"kernel_shape": kernel, "strides": strides, "pads": list(source.pads)}
        return attributes, size

    @staticmethod
    def spatial(attr):
        return [int(step) for step in attr["list"]["i"]][1:3]

    def on_Conv2D(self, item):
        return self.convolve(item, None)

    def convolve(self, item, bias):
        source = self.value(item["input"][0])
        kernel = self.constant(item, 1)
        height, width, channels_in, channels_out = kernel.shape
        # Height, width, in, out becomes out, in, height, width.
        values = array.array("f")
        step = channels_in * channels_out
        for channel_out in range(channels_out):
            for channel_in in range(channels_in):
                values.extend(kernel.values[channel_in * channels_out + channel_out::step])
        inputs = [source.name, self.add_tensor(
            FLOAT, [channels_out, channels_in, height, width], little_endian(values))]
        if bias is not None:
            inputs.append(self.add_tensor(FLOAT, [channels_out], little_endian(bias.values)))
        attributes, size = self.window(item, source, [height, width])
        attributes["dilations"] = self.spatial(item["attr"]["dilations"])
        attributes["group"] = source.shape[1] // channels_in
        return self.emit("Conv", inputs, [1, channels_out] + size, source.axes, attributes)

    def on_MaxPool(self, item):
        source = self.value(item["input"][0])
        attributes, size = self.window(item, source, self.spatial(item["attr"]["ksize"]))
        return self.emit("MaxPool", [source.name], source.shape[:2] + size, source.axes, attributes)

    def on_Add(self, item):
        first = self.nodes[item["input"][0]]
        if first["op"] == "Conv2D" and item["input"][1] in self.weights:
            return self.convolve(first, self.constant(item, 1))
        left, right = self.inputs(item)
        if left.axes != right.axes or left.shape != right.shape:
            raise ValueError(f"{item['name']}: the two sides differ in shape")
        return self.emit("Add", [left.name, right.name], left.shape, left.axes, {})

    def on_LeakyRelu(self, item):
        source, = self.inputs(item)
        alpha = float(item["attr"]["alpha"]["f"])
        return self.emit("LeakyRelu", [source.name], source.shape, source.axes, {"alpha": alpha})

    def on_ConcatV2(self, item):
        parts = self.inputs(item)
        axis = parts[0].axes[self.constant(item, -1).values[0]]
        if any(part.axes != parts[0].axes for part in parts):
            raise ValueError(f"{item['name']}: the parts differ in axis order")
        shape = list(parts[0].shape)
        shape[axis] = sum(part.shape[axis] for part in parts)
        return self.emit("Concat", [part.name for part in parts], shape, parts[0].axes,
                         {"axis": axis})

    def on_ResizeBilinear(self, item):
        source, = self.inputs(item)
        size = list(self.constant(item, 1).values)
        shape = source.shape[:2] + size
        scales = array.array("f", [new / old for new, old in zip(shape, source.shape)])
        half_pixel = item["attr"]["half_pixel_centers"]["b"]
        inputs = [source.name, self.add_tensor(FLOAT, [0], b""),
                  self.add_tensor(FLOAT, [4], little_endian(scales))]
        return self.emit("Resize", inputs, shape, source.axes, {
            "mode": "linear",
            "coordinate_transformation_mode": "half_pixel" if half_pixel else "asymmetric"})


def little_endian(values):
    if sys.byteorder == "big":
        values = values[:]
        values.byteswap()
    return values.tobytes()


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    source, target = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        description = json.load(file)
    data = Converter(description, os.path.dirname(source)).convert()
    with open(target, "wb") as file:
        file.write(data)


if __name__ == "__main__":
    main()
