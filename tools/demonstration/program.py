"""The program under Wine, waited for as a person waits."""
import os
import subprocess
import time

import windows
from windows import Stuck


class Program:
    """One start of the program, from its first window to its end."""

    def __init__(self, screen, name="talvenor.exe", folder="build/windows/bin"):
        self.screen = screen
        self.answering = 0.0  # seconds that message boxes stood there until they were answered
        self._process = subprocess.Popen([os.path.abspath("tools/run-windows"), name], cwd=folder,
                                         env={**os.environ, "TALVENOR_TIME_LIMIT": "0"})

    def wait_for(self, what, seconds, happened):
        end = time.monotonic() + seconds
        while True:
            self.screen.look()
            found = happened()
            if found:
                return found
            if self._process.poll() is not None:
                raise Stuck(f"the program ended (status {self._process.returncode}) before {what}")
            if time.monotonic() > end:
                raise Stuck(f"waited {seconds:.0f} s in vain for {what}")
            time.sleep(0.05)

    def wait_answering(self, what, seconds, happened):
        """As wait_for, but answers with Return every message box that comes up meanwhile."""
        end = time.monotonic() + seconds
        while True:
            found = self.wait_for(what, end - time.monotonic(), lambda: happened() or self.screen.box())
            if found is not self.screen.box() or happened():
                return happened()
            self.answer(found)

    def answer(self, box):
        time.sleep(0.3)  # a person reads; the window gets the focus
        windows.press("Return")
        self.wait_for("the message box to go away", 10, lambda: box.handle not in self.screen.windows)
        self.answering += time.time() - box.seconds

    def wait_for_end(self, seconds):
        try:
            self._process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Stuck("the program did not end when its window was closed") from None

    def stop(self):
        if self._process.poll() is None:
            self._process.terminate()
