"""Runs the examples over the simulated cameras:

    examples_test.py FOLDER-OF-EXAMPLES FOLDER-OF-PROGRAMS BROKEN-PRODUCER
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import unittest.mock

import numpy

EXAMPLES, PROGRAMS, BROKEN = sys.argv[1:4]
sys.path.insert(0, EXAMPLES)
import gentl  # noqa: E402


def first_frame(device, inspect, **features):
    """What `inspect` makes of the first frame of a camera with these features."""
    with gentl.Camera(device) as camera:
        for name, value in features.items():
            camera.features.set(name, value)
        for frame in camera.frames(1):
            return inspect(frame)


def shape(frame):
    return frame.image.shape, frame.image.dtype


class Images(unittest.TestCase):
    def test_have_a_layout_by_their_format(self):
        expected = {
            ("OVRA-F1", "Mono8"): ((480, 640), numpy.uint8),
            ("OVRA-F1", "Mono12"): ((480, 640), numpy.uint16),
            ("OVRA-C5", "RGB8"): ((2048, 2448, 3), numpy.uint8),
            ("OVRA-D1", "Coord3D_ABC32f"): ((480, 640, 3), numpy.float32),
        }
        for (device, pixel_format), layout in expected.items():
            with self.subTest(device=device, format=pixel_format):
                self.assertEqual(first_frame(device, shape, PixelFormat=pixel_format), layout)

    def test_are_none_of_packed_formats(self):
        with self.assertRaisesRegex(gentl.Error, "0x010C0047 has 12 bits, .* unpacked format, or take frame.data"):
            first_frame("OVRA-M1", shape, PixelFormat="Mono12p")
        data = first_frame("OVRA-M1", lambda frame: frame.data.copy(), PixelFormat="Mono12p")
        self.assertGreaterEqual(data.size, 1280 * 1024 * 3 // 2)
        self.assertEqual(data.dtype, numpy.uint8)

    def test_hold_the_pixels_of_their_frame(self):
        with gentl.Camera("OVRA-F1") as camera:
            camera.features.set("TestPattern", "FrameCounter")
            camera.features.set("PixelFormat", "Mono12")
            for frame in camera.frames(6):
                self.assertFalse(frame.incomplete)
                self.assertEqual((frame.image.min(), frame.image.max()), (frame.id, frame.id))

    def test_are_views_of_the_buffers(self):
        with gentl.Camera("OVRA-F1") as camera:
            images = [frame.image for frame in camera.frames(8, buffers=2)]
        self.assertLessEqual(len({image.ctypes.data for image in images}), 2)

    def test_are_the_parts_of_a_frame(self):
        with gentl.Camera("OVRA-D1") as camera:
            camera.features.set("ComponentSelector", "Intensity")
            camera.features.set("ComponentEnable", 1)
            for frame in camera.frames(1):
                points, intensity = frame.images
                self.assertEqual((points.shape, points.dtype), ((480, 640, 3), numpy.float32))
                self.assertEqual((intensity.shape, intensity.dtype), ((480, 640), numpy.uint8))
                self.assertGreater(intensity.max(), 0)
                has_depth = points[:, :, 2] != 0
                self.assertTrue(numpy.isfinite(points[has_depth]).all())
                self.assertTrue(numpy.isnan(points[~has_depth][:, :2]).all())


class Cameras(unittest.TestCase):
    def test_start_again_after_a_loop_that_ended_early(self):
        with gentl.Camera("OVRA-F1") as camera:
            for frame in camera.frames(100):
                break
            self.assertEqual([frame.image.shape for frame in camera.frames(2)], [(480, 640)] * 2)

    def test_are_found_by_serial_number(self):
        with gentl.Camera("SIM0006") as camera:
            self.assertEqual(camera.name, "SIM-SIM0006")

    def test_of_other_byte_order_and_behind_a_base_address_have_features(self):
        with unittest.mock.patch.dict(os.environ, {"QVR_SIM_WIDE": "1"}), gentl.Camera("WIDE-G2") as camera:
            camera.features.set("Width", 64)
            self.assertEqual(camera.features.get("Width"), 64)
            for frame in camera.frames(1):
                self.assertEqual(frame.image.shape[1], 64)

    def test_that_are_missing_are_named(self):
        there = r"no camera OVRA-X9 found; there is SIM-SIM0001 \(OVRA-M5\), .*SIM-SIM0007 \(OVRA-D1\)$"
        with self.assertRaisesRegex(gentl.Error, there):
            gentl.Camera("OVRA-X9")

    def test_tell_that_they_are_open_elsewhere(self):
        with gentl.Camera("OVRA-F1"), self.assertRaises(gentl.Error):
            gentl.Camera("OVRA-F1")


class Features(unittest.TestCase):
    def test_that_are_missing_are_named(self):
        with gentl.Camera("OVRA-F1") as camera:
            with self.assertRaisesRegex(gentl.Error, "no feature Wideness"):
                camera.features.set("Wideness", 3)
            with self.assertRaisesRegex(gentl.Error, "PixelFormat has no entry Mono99; it has Mono8, "):
                camera.features.set("PixelFormat", "Mono99")

    def test_that_are_enumerations_have_the_names_of_their_entries(self):
        with gentl.Camera("OVRA-F1") as camera:
            self.assertEqual(camera.features.get("PixelFormat"), "Mono8")
            camera.features.set("PixelFormat", "Mono12p")
            self.assertEqual(camera.features.get("PixelFormat"), "Mono12p")
            self.assertEqual(camera.features.get("ChunkSelector"), "Image")
            self.assertEqual(camera.features.get("ChunkModeActive"), 0)

    def test_that_hold_no_entry_tell_their_number(self):
        with gentl.Camera("OVRA-F1") as camera, unittest.mock.patch.object(camera.features, "_number", return_value=77):
            with self.assertRaisesRegex(gentl.Error, "PixelFormat has no entry with the value 77"):
                camera.features.get("PixelFormat")

    def test_that_the_camera_refuses_tell_its_reason(self):
        with gentl.Camera("OVRA-F1") as camera, self.assertRaisesRegex(gentl.Error, r"GCWritePort: .*\(-10"):
            camera.features.set("Width", 1_000_000)

    def test_behind_formulas_are_refused(self):
        refusal = self.assertRaisesRegex(gentl.Error, "Scan3dAxisMinConverter is no plain register")
        with gentl.Camera("OVRA-D1") as camera, refusal:
            camera.features.get("Scan3dAxisMinConverter")

    def test_are_floating_numbers_too(self):
        with gentl.Camera("OVRA-F1") as camera:
            camera.features.set("ExposureTime", 1234.5)
            self.assertEqual(camera.features.get("ExposureTime"), 1234.5)


class Programs(unittest.TestCase):
    def test_ask_the_camera_for_a_payload_size_that_the_producer_leaves_to_it(self):
        leaving = {"GENICAM_GENTL64_PATH": BROKEN, "BROKEN_DEFECT": "leaves payload size"}
        with unittest.mock.patch.dict(os.environ, leaving):
            self.assertEqual(self.run_program(f"{PROGRAMS}/example_grab_c").count("2448 x 2048, mean 1"), 10)
            self.assertEqual(self.run_program(f"{PROGRAMS}/example_grab", "OVRA-M1").count("1280 x 1024, mean 1"), 10)
            self.assertEqual(self.run_python("grab.py", "OVRA-M1").count(" (1024, 1280) uint8 mean 1"), 10)

    def run_program(self, *command):
        return subprocess.run(command, check=True, capture_output=True, text=True, timeout=60).stdout

    def check_points(self, output):
        valid = int(re.search(r"\d+(?= (of|points))", output)[0])
        self.assertTrue(0.9 * 640 * 480 < valid < 640 * 480, output)

    def test_in_python(self):
        self.assertIn(" (1024, 1280) uint8 mean ", self.run_python("grab.py", "OVRA-M1"))
        self.check_points(self.run_python("points.py"))

    def run_python(self, name, *arguments):
        return self.run_program(sys.executable, os.path.join(EXAMPLES, name), *arguments)

    def test_in_cpp(self):
        self.assertEqual(self.run_program(f"{PROGRAMS}/example_grab", "OVRA-M1").count("1280 x 1024, mean 1"), 10)
        self.check_points(self.run_program(f"{PROGRAMS}/example_points"))

    def test_in_cpp_tell_what_to_set_without_a_producer(self):
        with unittest.mock.patch.dict(os.environ, GENICAM_GENTL64_PATH="/nowhere"):
            self.assertEqual(self.failure(f"{PROGRAMS}/example_grab"),
                             "grab: GENICAM_GENTL64_PATH names no folder with a .cti file; set it to your producer's "
                             "folder\n")

    def test_in_cpp_name_the_cameras_that_there_are(self):
        self.assertRegex(self.failure(f"{PROGRAMS}/example_grab", "OVRA-X9"),
                         r"^grab: No camera OVRA-X9 found; there is SIM-SIM0001 \(OVRA-M5\), .*\(OVRA-D1\)$")

    def test_in_cpp_take_pixels_of_the_format_alone(self):
        self.assertEqual(self.failure(f"{PROGRAMS}/example_grab", "OVRA-D1"),
                         "grab: The pixels of this frame have 96 bits, and not the 8 of the type asked for: set "
                         "PixelFormat, or take another type\n")

    def failure(self, *command):
        done = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, 1, done)
        return done.stderr

    def test_in_c(self):
        grabbed = self.run_program(f"{PROGRAMS}/example_grab_c").splitlines()
        self.assertEqual(grabbed[0], "Opened SIM-SIM0001")
        self.assertEqual(len([line for line in grabbed if line.startswith("2448 x 2048, mean 1")]), 10)
        self.check_points(self.run_program(f"{PROGRAMS}/example_grab_c", "SIM-SIM0007"))

    def test_see_the_same_picture(self):
        means = {re.search(r"mean (\S+)", output)[1] for output in (
            self.run_program(f"{PROGRAMS}/example_grab_c"), self.run_program(f"{PROGRAMS}/example_grab"),
            self.run_python("grab.py"))}
        self.assertEqual(len(means), 1, means)

    def test_in_cpp_pass_over_an_entry_of_the_path_that_cannot_be_read(self):
        with tempfile.TemporaryDirectory() as folder:
            circle = os.path.join(folder, "circle")
            os.symlink(circle, circle)
            path = f"{circle}:{os.environ['GENICAM_GENTL64_PATH']}"
            with unittest.mock.patch.dict(os.environ, {"GENICAM_GENTL64_PATH": path}):
                self.run_program(f"{PROGRAMS}/example_grab")

    def test_say_what_to_set(self):
        empty = dict(os.environ, GENICAM_GENTL64_PATH="")
        for command in ([f"{PROGRAMS}/example_grab_c"], [f"{PROGRAMS}/example_grab"],
                        [sys.executable, os.path.join(EXAMPLES, "grab.py")]):
            failed = subprocess.run(command, env=empty, capture_output=True, text=True, check=False)
            self.assertEqual(failed.returncode, 1)
            self.assertIn("GENICAM_GENTL64_PATH", failed.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
