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

    def test_codebook_files_as_the_command_line_reads_them(self):
        pixels = support.synthetic_image()
        dense = {"detector": "densesampling", "descriptor": "sift", "ds_spacing": 8}
        _, descriptors = lumisk.extract(pixels, **dense)
        self.assertGreater(len(descriptors), 20)
        # Two trees over five leaves; thresholds at the means, so that every leaf gets points.
        m0, m5, m9 = descriptors[:, [0, 5, 9]].mean(axis=0)
        forest = support.forest_table([(-1, 0, m0), (0, -1, -1), (1, -1, -1),
                                       (-1, 5, m5), (-1, 9, m9), (2, -1, -1), (3, -1, -1), (4, -1, -1)])
        words = np.random.default_rng(5).uniform(0, 60, (12, 128))
        with tempfile.TemporaryDirectory() as work:
            image = os.path.join(work, "synthetic.png")
            with open(image, "wb") as f:
                f.write(support.png(pixels))
            files = {"forest.tab": forest, "words.bin": support.bindesc1(np.zeros((12, 5)), words)}
            for name, data in files.items():
                with open(os.path.join(work, name), "wb") as f:
                    f.write(data)

            options = dict(dense, codebookMode="forest", pointSelector="pyramid-1x1-2x2")
            expected = support.parse_bindesc1(support.run_cli(
                image, dict(options, codebook="forest.tab"), extra_files={"forest.tab": forest}))
            points, vectors = lumisk.project(pixels, os.path.join(work, "forest.tab"), **options)
            self.assertEqual(vectors.shape, (5, 5))
            np.testing.assert_array_equal(points, expected[0])
            np.testing.assert_array_equal(vectors, expected[1])
            # Each tree votes once per point: every row sums to one, every leaf has votes.
            np.testing.assert_allclose(vectors.sum(axis=1), 1.0, rtol=1e-12)
            self.assertTrue((vectors[0] > 0).all())

            # The forest needs its trees, which an array does not hold; a raw array file
            # is no table.
            with self.assertRaisesRegex(ValueError, "table file"):
                lumisk.project(pixels, words, **options)
            with self.assertRaisesRegex(ValueError, "table file"):
                lumisk.project(pixels, os.path.join(work, "words.bin"), **options)
            with self.assertRaises(OSError):
                lumisk.project(pixels, os.path.join(work, "missing.tab"), **options)

            # Any mode takes the file name as well as the array.
            hard = dict(dense, pointSelector="pyramid-1x1-2x2")
            from_file = lumisk.project(pixels, os.path.join(work, "words.bin"), **hard)
            from_array = lumisk.project(pixels, words, **hard)
            self.assertEqual(from_file[1].shape, (5, 12))
            np.testing.assert_array_equal(from_file[1], from_array[1])

    def test_quantizer_files_by_codebook_name(self):
        # "closestword5" loads its words as Codebooks/<codebookName>.codebook.raw from the
        # current directory, as the command line does.
        pixels = support.synthetic_image()
        words = np.random.default_rng(9).uniform(0, 60, (12, 128))
        raw = support.raw_array("real64", 128, 12, words.astype("<f8").tobytes())
        options = {"detector": "densesampling", "descriptor": "sift", "ds_spacing": 8,
                   "codebookMode": "closestword5", "codebookName": "words"}
        start = os.getcwd()
        with tempfile.TemporaryDirectory() as work:
            image = os.path.join(work, "synthetic.png")
            with open(image, "wb") as f:
                f.write(support.png(pixels))
            os.mkdir(os.path.join(work, "Codebooks"))
            with open(os.path.join(work, "Codebooks", "words.codebook.raw"), "wb") as f:
                f.write(raw)
            expected = support.parse_bindesc1(support.run_cli(
                image, dict(options, codebook="Codebooks/words.codebook.raw"),
                extra_files={"Codebooks/words.codebook.raw": raw}))
            os.chdir(work)
            try:
                points, vectors = lumisk.project(pixels, "Codebooks/words.codebook.raw", **options)
                with self.assertRaises(ValueError):
                    lumisk.project(pixels, words, **dict(options, codebookName="missing"))
            finally:
                os.chdir(start)
        self.assertEqual(vectors.shape[1], 5)
        self.assertGreater(len(vectors), 20)
        np.testing.assert_array_equal(points, expected[0])
        np.testing.assert_array_equal(vectors, expected[1])


if __name__ == "__main__":
    unittest.main()
