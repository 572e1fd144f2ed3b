"""The windows on the screen, read from the log of tools/lib/windowwatch; mouse, keyboard and screenshots."""
import collections
import re
import subprocess
import time

from sources import IDS

TOOL_TIMEOUT = 20  # seconds, for one call of a command-line tool

Control = collections.namedtuple("Control", "rect enabled text")
DIALOG_CONTROLS = {number for name, number in vars(IDS).items() if name.startswith("IDC_")}  # never in a message box


class Stuck(Exception):
    """Something did not happen in time, or a tool failed."""


def run_tool(*command):
    """Runs a command-line tool; returns its output."""
    try:
        return subprocess.run(command, check=True, capture_output=True, encoding="ascii", timeout=TOOL_TIMEOUT).stdout
    except subprocess.TimeoutExpired:
        raise Stuck(f"{' '.join(command)} did not end within {TOOL_TIMEOUT} s") from None
    except subprocess.CalledProcessError as error:
        raise Stuck(f"{' '.join(command)} failed: {error.stderr}") from None


class Window:
    def __init__(self, handle, appeared, title, rect):
        self.handle, self.title, self.rect, self.controls = handle, title, rect, {}
        self.appeared = appeared  # seconds since 1970

    def is_message_box(self):
        return bool(self.controls) and not any(number in DIALOG_CONTROLS for number in self.controls)

    def text(self):
        """The longest text in the window; for a message box, its message."""
        return max((control.text for control in self.controls.values()), key=len, default="")


class Screen:
    def __init__(self, log):
        self._log, self._read, self._last = log, 0, None
        self.windows = {}  # handle: Window; only existing windows
        self.box_texts = []  # the text of every message box so far

    def update(self):
        """Reads what windowwatch has written since the last call."""
        with open(self._log, "rb") as log:
            log.seek(self._read)
            lines = log.read().split(b"\n")
        self._read += sum(len(line) + 1 for line in lines[:-1])
        new = []
        for line in lines[:-1]:
            self._take(line.decode("utf-8").split("\t"), new)
        self.box_texts += [window.text() for window in new if window.is_message_box()]

    def _take(self, fields, new):
        seconds, what, handle = int(fields[0]) / 1000, fields[1], int(fields[2])
        if what == "gone":
            self.windows.pop(handle, None)
            return
        rect, enabled, text = tuple(map(int, fields[3].split(","))), fields[4] == "enabled", fields[6]
        text = re.sub(r"\\(.)", lambda escaped: {"n": "\n", "t": "\t"}.get(escaped.group(1), escaped.group(1)), text)
        if what == "control":
            # Several labels share the id -1. In a message box, the label with the longest text matters.
            number = int(fields[7])
            if number not in self._last.controls or len(text) >= len(self._last.controls[number].text):
                self._last.controls[number] = Control(rect, enabled, text)
            return
        appeared = self.windows[handle].appeared if handle in self.windows else seconds
        if handle not in self.windows:
            new.append(None)
        self._last = self.windows[handle] = Window(handle, appeared, text, rect)
        if new and new[-1] is None:
            new[-1] = self._last

    def message_box(self):
        return next((window for window in self.windows.values() if window.is_message_box()), None)

    def window_with_control(self, number):
        return next((window for window in self.windows.values() if number in window.controls), None)


def press(key):
    run_tool("xdotool", "key", "--clearmodifiers", key)


def type_text(text):
    run_tool("xdotool", "type", "--clearmodifiers", text)


def click_at(x, y):
    """Returns the time of the click, in seconds since 1970."""
    run_tool("xdotool", "mousemove", "--sync", str(x), str(y))
    time.sleep(0.2)
    clicked = time.time()
    run_tool("xdotool", "click", "1")
    return clicked


def click(window, number):
    left, top, right, bottom = window.controls[number].rect
    return click_at((left + right) // 2, (top + bottom) // 2)


def smallest_window(title):
    """The smallest X window with the title. A message box has the same title as its owner and is the smaller window."""
    found = run_tool("xdotool", "search", "--onlyvisible", "--name", f"^{title}$").split()

    def size(window):
        geometry = run_tool("xdotool", "getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in geometry.split())
        return int(values["WIDTH"]) * int(values["HEIGHT"])

    return min(found, key=size)


def resize(title, width, height):
    """Asks the window manager to resize the window. The window manager may choose another size."""
    run_tool("xdotool", "search", "--onlyvisible", "--name", f"^{title}$", "windowsize", str(width), str(height))


class Picture:
    """A screenshot of the whole screen, taken in the background. wait() waits until it is complete."""

    def __init__(self, path):
        self._path, self._tool = path, subprocess.Popen(["import", "-window", "root", path])

    def wait(self):
        try:
            status = self._tool.wait(TOOL_TIMEOUT)
        except subprocess.TimeoutExpired:
            self._tool.kill()
            raise Stuck(f"the screenshot {self._path} took longer than {TOOL_TIMEOUT} s") from None
        if status != 0:
            raise Stuck(f"the screenshot {self._path} failed (status {status})")
