"""Prints what ten frames of a camera hold: grab.py [DEVICE]"""

import sys

import gentl

with gentl.Camera(sys.argv[1] if len(sys.argv) > 1 else None) as camera:
    for frame in camera.frames(10):
        image = frame.image  # a view of the buffer: image.copy() outlives the loop
        print(frame.id, image.shape, image.dtype, f"mean {image.mean():.1f}")
