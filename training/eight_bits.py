#!/usr/bin/python3
"""Stores the weights of convolutions in 8 bits: `eight_bits.py NETWORK.onnx FROM.onnx`.

A quarter of the size, computed as before: OpenCV 4.6 reads no half-precision weights, but whole
numbers that a Cast makes floats. Each output channel has a step of its own (the one with the least
squared error), which a Mul behind the convolution puts in; OpenCV merges it into the weights when it
reads the file.
"""

import argparse
from pathlib import Path

import numpy as np
import onnx
from onnx import TensorProto, helper, numpy_helper

LARGEST = 127


def step_of(weights):
    """Of one channel: steps that cut the few largest weights off may serve the others better."""
    largest = np.abs(weights).max() or 1.0

    def squared_error(step):
        kept = np.clip(np.round(weights / step), -LARGEST, LARGEST) * step
        return ((kept - weights) ** 2).sum()

    return min(largest / LARGEST * np.linspace(0.6, 1, 21), key=squared_error)


def store_in_8_bits(model):
    graph = model.graph
    constants = {tensor.name: tensor for tensor in graph.initializer}

    def replace(name, values, new_name=None):
        constants[name].CopyFrom(numpy_helper.from_array(values, new_name or name))

    def scaled(node):
        weights, *bias = node.input[1:]
        values = numpy_helper.to_array(constants[weights])
        steps = np.array([step_of(channel) for channel in values], np.float32)
        whole = np.round(values / steps.reshape(-1, 1, 1, 1))
        replace(weights, np.clip(whole, -LARGEST, LARGEST).astype(np.int8), weights + "_whole")
        for name in bias:
            replace(name, numpy_helper.to_array(constants[name]) / steps)
        factor = numpy_helper.from_array(steps.reshape(1, -1, 1, 1), weights + "_step")
        graph.initializer.append(factor)
        output = node.output[0]
        node.output[0] = output + "_whole"
        return [
            helper.make_node("Cast", [weights + "_whole"], [weights], to=TensorProto.FLOAT),
            node,
            helper.make_node("Mul", [node.output[0], factor.name], [output]),
        ]

    nodes = [new for node in graph.node for new in (scaled(node) if node.op_type == "Conv" else [node])]
    del graph.node[:]
    graph.node.extend(nodes)
    onnx.checker.check_model(model)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("network", type=Path)
    parser.add_argument("source", type=Path)
    args = parser.parse_args()
    model = onnx.load(args.source)
    store_in_8_bits(model)
    onnx.save(model, args.network)


if __name__ == "__main__":
    main()
