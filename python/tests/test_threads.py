"""Python threads run extractions side by side, each with its own options and the result
it gives alone."""
import concurrent.futures
import os
import random
import tempfile
import threading
import time
import unittest

import numpy as np

import lumisk
import support

IMAGES = [support.synthetic_image(96, 128), np.ascontiguousarray(support.synthetic_image(80, 112)[:, ::-1]),
          np.ascontiguousarray(np.roll(support.synthetic_image(90, 100), 17, axis=1))]
WORDS = np.random.default_rng(11).uniform(0, 60, (16, 128))

# Options that differ from call to call, some of them read by the core from its option
# table rather than from the call's settings (descriptorBinCount, descriptorPreSmoothing).
TASKS = [
    (0, None, "harrislaplace", "sift", {"borderWidth": 3}),
    (1, None, "densesampling", "rgbhistogram", {"ds_spacing": 8, "descriptorBinCount": 5}),
    (1, None, "densesampling", "rgbhistogram", {"ds_spacing": 8}),
    (2, None, "densesampling", "huehistogram", {"ds_spacing": 10, "descriptorPreSmoothing": True}),
    (2, None, "densesampling", "huehistogram", {"ds_spacing": 10}),
    (2, None, "harrislaplace", "opponentsift", {"keepLimited": 12, "noRandomizeSeed": True}),
    (0, None, "none", "opponentdift", {"ds_scales": "8-4"}),
    (1, WORDS, "densesampling", "sift", {"ds_spacing": 8, "pointSelector": "pyramid-1x1-2x2"}),
    (0, WORDS[:7], "harrislaplace", "sift", {"codebookMode": "unc", "codebookSigma": "90"}),
]


def run(task):
    image, words, detector, descriptor, options = task
    if words is None:
        return lumisk.extract(IMAGES[image], detector, descriptor, **options)
    return lumisk.project(IMAGES[image], words, detector, descriptor, **options)


def fds_on(path):
    """The number of this process's open files that are `path`."""
    target = os.stat(path)
    count = 0
    for name in os.listdir("/proc/self/fd"):
        try:
            st = os.stat("/proc/self/fd/" + name)
        except OSError:
            continue
        if (st.st_dev, st.st_ino) == (target.st_dev, target.st_ino):
            count += 1
    return count


class ThreadTest(unittest.TestCase):
    def test_thread_pool_gives_the_results_of_single_calls(self):
        alone = [run(task) for task in TASKS]
        for points, descriptors in alone:
            self.assertGreater(len(points), 0)
        # The option pairs differ, so a call that took another's options would show.
        self.assertEqual(alone[1][1].shape[1] * 3, alone[2][1].shape[1] * 1)
        self.assertFalse(np.array_equal(alone[3][1], alone[4][1]))
        self.assertEqual(len(alone[5][0]), 12)

        # Failing calls among them: each raises with its own message.
        failing = ["nosuchdetector%d" % k for k in range(3)]

        def attempt(i):
            if i < len(TASKS):
                return run(TASKS[i])
            try:
                lumisk.extract(IMAGES[0], failing[i - len(TASKS)])
            except RuntimeError as error:
                return str(error)
            return None

        order = list(range(len(TASKS) + len(failing))) * 3
        random.Random(4).shuffle(order)
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            results = list(pool.map(attempt, order))
        for i, result in zip(order, results):
            with self.subTest(task=i):
                if i >= len(TASKS):
                    self.assertEqual(result, "[ERROR] Unknown detector mode: " + failing[i - len(TASKS)])
                    continue
                np.testing.assert_array_equal(result[0], alone[i][0])
                np.testing.assert_array_equal(result[1], alone[i][1])

    def test_two_calls_are_in_the_core_at_once(self):
        # Every call reads lumisk.ini of the current directory while it sets up its
        # options. Made a pipe held open here, it keeps each call reading, inside the
        # core, until this end closes: two open readers are two calls in flight. Both
        # then go on from the same point, so options they shared would show in the
        # result of the one that reads them last.
        dense = {"detector": "densesampling", "descriptor": "rgbhistogram"}
        options = [dict(dense, ds_spacing=8, descriptorBinCount=5), dict(dense, ds_spacing=12)]
        alone = [lumisk.extract(IMAGES[0], **o) for o in options]
        self.assertNotEqual(alone[0][1].shape, alone[1][1].shape)
        start = os.getcwd()
        with tempfile.TemporaryDirectory() as work, concurrent.futures.ThreadPoolExecutor(2) as pool:
            ini = os.path.join(work, "lumisk.ini")
            os.mkfifo(ini)
            os.chdir(work)
            try:
                hold = os.open(ini, os.O_RDWR)
                futures = [pool.submit(lumisk.extract, IMAGES[0], **o) for o in options]
                deadline = time.monotonic() + 60
                readers = 0
                while readers < 2 and time.monotonic() < deadline:
                    time.sleep(0.002)
                    readers = fds_on(ini) - 1
                os.close(hold)
                # Calls that came one after another wait to open the pipe: let them through.
                while not all(f.done() for f in futures) and time.monotonic() < deadline + 60:
                    try:
                        os.close(os.open(ini, os.O_WRONLY | os.O_NONBLOCK))
                    except OSError:
                        pass
                    time.sleep(0.01)
                results = [f.result(timeout=1) for f in futures]
            finally:
                os.chdir(start)
        self.assertEqual(readers, 2)
        for result, expected in zip(results, alone):
            np.testing.assert_array_equal(result[0], expected[0])
            np.testing.assert_array_equal(result[1], expected[1])

    def test_python_threads_run_during_an_extraction(self):
        ticks = []
        done = threading.Event()
        span = []

        def work():
            start = time.monotonic()
            lumisk.extract(support.EXAMPLE, detector="harrislaplace", descriptor="sift", borderWidth=64)
            span.append((start, time.monotonic()))
            done.set()

        worker = threading.Thread(target=work)
        worker.start()
        while not done.is_set():
            ticks.append(time.monotonic())
            time.sleep(0.01)
        worker.join()
        start, end = span[0]
        if end - start < 0.3:
            self.skipTest("extraction too fast to tell")
        # With the GIL held for the whole call this thread could not wake up meanwhile.
        during = [t for t in ticks if start + 0.05 < t < end - 0.05]
        self.assertGreaterEqual(len(during), 3)


if __name__ == "__main__":
    unittest.main()
