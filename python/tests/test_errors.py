"""Bad arguments raise Python exceptions and leave the interpreter running."""
import logging
import os
import tempfile
import unittest

import numpy as np

import lumisk
import support

SMALL = support.synthetic_image(48, 64)


class ErrorTest(unittest.TestCase):
    def assertStillWorks(self):
        points, _ = lumisk.extract(SMALL, detector="densesampling", descriptor="rgbhistogram", ds_spacing=16)
        self.assertGreater(len(points), 0)

    def test_unknown_names_raise_and_exit_on_error_is_never_taken(self):
        cases = [(ValueError, "Invalid descriptor name", dict(descriptor="nosuchdescriptor")),
                 (RuntimeError, "Unknown detector mode: nosuchdetector", dict(detector="nosuchdetector")),
                 (ValueError, "Unknown option --noSuchOption", dict(noSuchOption=3)),
                 (RuntimeError, "", dict(detector="nosuchdetector", exitOnErrorLogged=True))]
        for error, message, options in cases:
            with self.subTest(options=options):
                with self.assertRaisesRegex(error, message):
                    lumisk.extract(SMALL, **options)
                self.assertStillWorks()

    def test_wrong_shape_and_type(self):
        for bad in (SMALL[:, :, 0], SMALL[:, :, :2], SMALL.astype(np.float64), SMALL.astype(np.int32),
                    np.zeros((0, 4, 3), np.uint8), [[1, 2, 3]], 42):
            with self.subTest(shape=np.shape(bad)):
                with self.assertRaises(ValueError):
                    lumisk.extract(bad)
        self.assertStillWorks()

    def test_missing_file(self):
        with tempfile.TemporaryDirectory() as work:
            missing = os.path.join(work, "missing.jpg")
            with self.assertRaises(OSError):
                lumisk.extract(missing)
            with self.assertRaises(OSError):
                lumisk.read_descriptors(missing)
            garbage = os.path.join(work, "garbage.jpg")
            with open(garbage, "wb") as f:
                f.write(b"not an image at all")
            with self.assertRaisesRegex(ValueError, "garbage.jpg"):
                lumisk.extract(garbage)
            with self.assertRaisesRegex(ValueError, "Unknown format"):
                lumisk.read_descriptors(garbage)
        self.assertStillWorks()

    def test_codebook_of_wrong_width(self):
        with self.assertRaisesRegex(ValueError, "Dimensionality mismatch"):
            lumisk.project(SMALL, np.ones((4, 100)), detector="densesampling", ds_spacing=16)
        with self.assertRaises(ValueError):
            lumisk.project(SMALL, np.ones(128))
        self.assertStillWorks()

    def test_error_lines_reach_python_logging(self):
        with self.assertLogs("lumisk", logging.ERROR) as logs:
            with self.assertRaises(RuntimeError):
                lumisk.extract(SMALL, detector="nosuchdetector")
        self.assertTrue(any("nosuchdetector" in line for line in logs.output))


if __name__ == "__main__":
    unittest.main()
