"""The GIL is released while an image is processed."""
import threading
import time
import unittest

import lumisk
import support


class ThreadTest(unittest.TestCase):
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
