"""The module's extraction and projection equal the command line's files."""
import os
import tempfile
import unittest

import numpy as np

import lumisk
import support

# Cut to the middle of the photo, so that each run takes a fraction of a second.
CROP = {"borderWidth": 160}
CASES = [
    ("harrislaplace", "sift", dict(CROP)),
    ("densesampling", "rgbhistogram", dict(CROP, ds_spacing=12)),
    ("none", "opponentdift", dict(CROP, ds_scales="8-4+12-6")),
    ("harrislaplace", "opponentsift", dict(CROP, keepLimited=40, noRandomizeSeed=True)),
]


class ExtractTest(unittest.TestCase):
    def test_equals_command_line_on_the_photo(self):
        for detector, descriptor, options in CASES:
            with self.subTest(detector=detector, descriptor=descriptor):
                expected = support.parse_bindesc1(support.run_cli(
                    support.EXAMPLE, dict(options, detector=detector, descriptor=descriptor)))
                points, descriptors = lumisk.extract(support.EXAMPLE, detector, descriptor, **options)
                self.assertEqual(points.dtype, np.float64)
                self.assertEqual(points.shape[1], 5)
                self.assertGreater(len(points), 0)
                np.testing.assert_array_equal(points, expected[0])
                np.testing.assert_array_equal(descriptors, expected[1])

    def test_array_equals_command_line_on_the_same_pixels(self):
        pixels = support.synthetic_image()
        with tempfile.TemporaryDirectory() as work:
            name = os.path.join(work, "synthetic.png")
            with open(name, "wb") as f:
                f.write(support.png(pixels))
            expected = support.parse_bindesc1(support.run_cli(
                name, {"detector": "harrislaplace", "descriptor": "rgsift", "borderWidth": 3}))
        points, descriptors = lumisk.extract(pixels, descriptor="rgsift", borderWidth=3)
        self.assertGreater(len(points), 0)
        np.testing.assert_array_equal(points, expected[0])
        np.testing.assert_array_equal(descriptors, expected[1])
        # Coordinates are the file's: 1-based and with the border added back.
        self.assertGreaterEqual(points[:, :2].min(), 4.0)

    def test_non_contiguous_array_is_taken_as_its_values(self):
        pixels = support.synthetic_image()
        flipped = pixels[:, ::-1, :]
        a = lumisk.extract(flipped, detector="densesampling", descriptor="rgbhistogram", ds_spacing=16)
        b = lumisk.extract(np.ascontiguousarray(flipped), detector="densesampling",
                           descriptor="rgbhistogram", ds_spacing=16)
        np.testing.assert_array_equal(a[1], b[1])

    def test_projection_equals_command_line(self):
        codebook = np.random.default_rng(7).uniform(0, 60, (20, 128))
        options = dict(CROP, codebookMode="hard", pointSelector="pyramid-1x1-2x2")
        cli = support.run_cli(support.EXAMPLE, dict(options, detector="harrislaplace", descriptor="sift",
                                                    codebook="codebook.bin"),
                              extra_files={"codebook.bin": support.bindesc1(np.zeros((20, 5)), codebook)})
        expected = support.parse_bindesc1(cli)
        points, vectors = lumisk.project(support.EXAMPLE, codebook, **options)
        self.assertEqual(vectors.shape, (5, 20))
        np.testing.assert_array_equal(points, expected[0])
        np.testing.assert_array_equal(vectors, expected[1])


if __name__ == "__main__":
    unittest.main()
