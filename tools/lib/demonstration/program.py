"""The program running under Wine."""
import os
import subprocess
import time

import windows
from windows import Stuck


class Program:
    """One process of the program."""

    def __init__(self, screen, name="talvenor.exe", folder="build/windows/bin"):
        self.screen = screen
        self.seconds_in_boxes = 0.0  # the time that the dismissed message boxes were open
        self._process = subprocess.Popen([os.path.abspath("tools/run-windows"), name], cwd=folder,
                                         env={**os.environ, "TALVENOR_TIME_LIMIT": "0"})

    def wait_for(self, what, seconds, condition):
        end = time.monotonic() + seconds
        while True:
            self.screen.update()
            found = condition()
            if found:
                return found
            if self._process.poll() is not None:
                raise Stuck(f"the program ended (status {self._process.returncode}) while waiting for {what}")
            if time.monotonic() > end:
                raise Stuck(f"timed out after {seconds:.0f} s waiting for {what}")
            time.sleep(0.05)

    def wait_dismissing_boxes(self, what, seconds, condition):
        """Like wait_for, but presses Return in any open message box until the condition holds."""
        end = time.monotonic() + seconds
        while True:
            found = self.wait_for(what, end - time.monotonic(), lambda: condition() or self.screen.message_box())
            if found is not self.screen.message_box() or condition():
                return condition()
            self.dismiss(found)

    def dismiss(self, box):
        time.sleep(0.3)  # until the message box has the focus
        windows.press("Return")
        self.wait_for("the message box to go away", 10, lambda: box.handle not in self.screen.windows)
        self.seconds_in_boxes += time.time() - box.appeared

    def wait_for_end(self, seconds):
        try:
            self._process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Stuck("the program did not end when its window was closed") from None

    def stop(self):
        if self._process.poll() is None:
            self._process.terminate()
