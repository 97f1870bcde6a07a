"""Both descriptor file forms: byte-identical to the command line's, and round trips."""
import os
import tempfile
import unittest

import numpy as np

import lumisk
import support

OPTIONS = {"detector": "harrislaplace", "descriptor": "sift", "borderWidth": 180}


class FilesTest(unittest.TestCase):
    def setUp(self):
        self.work = tempfile.TemporaryDirectory()
        self.addCleanup(self.work.cleanup)

    def path(self, name):
        return os.path.join(self.work.name, name)

    def rewrite(self, data, binary):
        with open(self.path("cli"), "wb") as f:
            f.write(data)
        points, descriptors = lumisk.read_descriptors(self.path("cli"))
        lumisk.write_descriptors(self.path("module"), points, descriptors, binary=binary)
        with open(self.path("module"), "rb") as f:
            return points, descriptors, f.read()

    def test_command_line_files_read_and_written_again_are_identical(self):
        binary = support.run_cli(support.EXAMPLE, OPTIONS, "binary")
        text = support.run_cli(support.EXAMPLE, OPTIONS, "text")
        self.assertTrue(text.startswith(b"VESK1\n128\n"))
        points, descriptors, again = self.rewrite(binary, True)
        self.assertEqual(again, binary)
        expected = support.parse_bindesc1(binary)
        np.testing.assert_array_equal(points, expected[0])
        np.testing.assert_array_equal(descriptors, expected[1])
        text_points, text_descriptors, again = self.rewrite(text, False)
        self.assertEqual(again, text)
        np.testing.assert_allclose(text_points, points, rtol=1e-5)
        np.testing.assert_array_equal(text_descriptors, descriptors)

    def test_round_trip_of_both_forms(self):
        rng = np.random.default_rng(3)
        points = rng.uniform(1, 500, (7, 5))
        descriptors = rng.normal(size=(7, 11))
        lumisk.write_descriptors(self.path("b"), points, descriptors)
        back = lumisk.read_descriptors(self.path("b"))
        np.testing.assert_array_equal(back[0], points)
        np.testing.assert_array_equal(back[1], descriptors)
        lumisk.write_descriptors(self.path("t"), points, descriptors, binary=False)
        back = lumisk.read_descriptors(self.path("t"))
        np.testing.assert_allclose(back[0], points, rtol=1e-5)
        np.testing.assert_allclose(back[1], descriptors, rtol=1e-5, atol=1e-12)

    def test_points_without_descriptors(self):
        points = np.array([[10.0, 20.0, 1.5, 0.0, 0.25]])
        lumisk.write_descriptors(self.path("t"), points, binary=False)
        with open(self.path("t"), "rb") as f:
            self.assertEqual(f.read(), b"VESK1\n0\n1\n<CIRCLE 10 20 1.5 0 0.25>;;\n")
        lumisk.write_descriptors(self.path("b"), points)
        back_points, back_descriptors = lumisk.read_descriptors(self.path("b"))
        np.testing.assert_array_equal(back_points, points)
        self.assertEqual(back_descriptors.shape, (1, 0))

    def test_bad_shapes_raise(self):
        with self.assertRaises(ValueError):
            lumisk.write_descriptors(self.path("x"), np.zeros((3, 4)), np.zeros((3, 2)))
        with self.assertRaises(ValueError):
            lumisk.write_descriptors(self.path("x"), np.zeros((3, 5)), np.zeros((2, 2)))
        with self.assertRaises(OSError):
            lumisk.write_descriptors(self.path("no/such/dir/x"), np.zeros((3, 5)))


if __name__ == "__main__":
    unittest.main()
