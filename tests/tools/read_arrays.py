#!/usr/bin/python3
"""Prints what arrays hold, as JSON: read_arrays.py FILE...

NumPy reads the .npy files. The .pcd files are read here, by what their header says: each field becomes the last index
of an array of height x width x fields. Each file gets the type and the shape of its array, and its bytes in
hexadecimal; a .pcd file also the names of its fields.
"""
import json
import sys
from pathlib import Path

import numpy


def read_pcd(file):
    header, body = file.read_bytes().split(b"DATA binary\n", 1)
    lines = [line.split() for line in header.decode().splitlines() if not line.startswith("#")]
    entries = {key: values for key, *values in lines}
    types = {("F", "4"): "<f4", ("F", "8"): "<f8", ("U", "1"): "u1"}
    kinds = {types[kind, size] for kind, size in zip(entries["TYPE"], entries["SIZE"], strict=True)}
    width, height, points = (int(entries[key][0]) for key in ("WIDTH", "HEIGHT", "POINTS"))
    assert width * height == points and set(entries["COUNT"]) == {"1"} and len(kinds) == 1
    return numpy.frombuffer(body, kinds.pop()).reshape(height, width, -1), entries["FIELDS"]


def describe(file):
    array, fields = read_pcd(file) if file.suffix == ".pcd" else (numpy.load(file), None)
    return {"dtype": array.dtype.str, "shape": array.shape, "fields": fields, "bytes": array.tobytes().hex()}


print(json.dumps({file.name: describe(file) for file in map(Path, sys.argv[1:])}))
