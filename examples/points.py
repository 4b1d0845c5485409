"""Prints the size of what a depth camera sees: points.py [DEVICE]"""

import sys

import gentl

with gentl.Camera(sys.argv[1] if len(sys.argv) > 1 else "OVRA-D1") as camera:
    camera.features.set("Scan3dOutputMode", "CalibratedABC_Grid")
    for frame in camera.frames(1):
        grid = frame.image                 # rows, columns, (x, y, z)
        points = grid[grid[:, :, 2] != 0]  # z is 0 where there is no depth
        print(f"{len(points)} of {grid.shape[0] * grid.shape[1]} pixels have a point")
        print("from", points.min(axis=0), "to", points.max(axis=0))
