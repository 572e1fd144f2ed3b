"""What stands on the screen, from the log of tools/windowwatch, and a person's hands: mouse, keys, pictures."""
import collections
import re
import subprocess
import time

HANDS = 20  # seconds after which a tool that moves the mouse, presses keys or takes a picture is given up

Control = collections.namedtuple("Control", "rect enabled text")
DIALOG_CONTROLS = range(1002, 1027)  # numbers that no message box uses


class Stuck(Exception):
    """What was waited for did not come."""


def use(*command):
    """Runs one of the person's tools; returns what it says."""
    try:
        return subprocess.run(command, check=True, capture_output=True, encoding="ascii", timeout=HANDS).stdout
    except subprocess.TimeoutExpired:
        raise Stuck(f"waited {HANDS} s in vain for: {' '.join(command)}") from None
    except subprocess.CalledProcessError as error:
        raise Stuck(f"failed: {' '.join(command)}: {error.stderr}") from None


class Window:
    def __init__(self, handle, seconds, title, rect):
        self.handle, self.seconds, self.title, self.rect, self.controls = handle, seconds, title, rect, {}

    def is_box(self):
        return bool(self.controls) and not any(number in DIALOG_CONTROLS for number in self.controls)

    def text(self):
        """The longest text in the window: that of a message box."""
        return max((control.text for control in self.controls.values()), key=len, default="")


class Screen:
    def __init__(self, log):
        self._log, self._read, self._last = log, 0, None
        self.windows = {}  # handle: Window, those that are there now
        self.boxes = []    # the text of every message box that has come up

    def look(self):
        """Takes in what the watcher has written since the last look."""
        with open(self._log, "rb") as log:
            log.seek(self._read)
            lines = log.read().split(b"\n")
        self._read += sum(len(line) + 1 for line in lines[:-1])
        new = []
        for line in lines[:-1]:
            self._take(line.decode("utf-8").split("\t"), new)
        self.boxes += [window.text() for window in new if window.is_box()]

    def _take(self, fields, new):
        seconds, what, handle = int(fields[0]) / 1000, fields[1], int(fields[2])
        if what == "gone":
            self.windows.pop(handle, None)
            return
        rect, enabled, text = tuple(map(int, fields[3].split(","))), fields[4] == "enabled", fields[6]
        text = re.sub(r"\\(.)", lambda escaped: {"n": "\n", "t": "\t"}.get(escaped.group(1), escaped.group(1)), text)
        if what == "control":
            # Several labels share the number -1; of a box only the one with the text matters.
            number = int(fields[7])
            if number not in self._last.controls or len(text) >= len(self._last.controls[number].text):
                self._last.controls[number] = Control(rect, enabled, text)
            return
        first_seen = self.windows[handle].seconds if handle in self.windows else seconds
        if handle not in self.windows:
            new.append(None)
        self._last = self.windows[handle] = Window(handle, first_seen, text, rect)
        if new and new[-1] is None:
            new[-1] = self._last

    def box(self):
        return next((window for window in self.windows.values() if window.is_box()), None)

    def with_control(self, number):
        return next((window for window in self.windows.values() if number in window.controls), None)


def press(key):
    use("xdotool", "key", "--clearmodifiers", key)


def type_text(text):
    use("xdotool", "type", "--clearmodifiers", text)


def click_at(x, y):
    """Returns the moment of the click, in seconds since 1970."""
    use("xdotool", "mousemove", "--sync", str(x), str(y))
    time.sleep(0.2)
    moment = time.time()
    use("xdotool", "click", "1")
    return moment


def click(window, number):
    left, top, right, bottom = window.controls[number].rect
    return click_at((left + right) // 2, (top + bottom) // 2)


def smallest(title):
    """The X window of that title; of several, as of the program and its message box, the smallest."""
    found = use("xdotool", "search", "--onlyvisible", "--name", f"^{title}$").split()

    def size(window):
        geometry = use("xdotool", "getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in geometry.split())
        return int(values["WIDTH"]) * int(values["HEIGHT"])

    return min(found, key=size)


def resize(title, width, height):
    """Asks the window manager for a size; the window may allow less."""
    use("xdotool", "search", "--onlyvisible", "--name", f"^{title}$", "windowsize", str(width), str(height))


class Picture:
    """A picture of the screen that is being taken; to be waited for."""

    def __init__(self, path):
        self._path, self._tool = path, subprocess.Popen(["import", "-window", "root", path])

    def wait(self):
        try:
            status = self._tool.wait(HANDS)
        except subprocess.TimeoutExpired:
            self._tool.kill()
            raise Stuck(f"waited {HANDS} s in vain for the picture {self._path}") from None
        if status != 0:
            raise Stuck(f"the picture {self._path} was not taken (status {status})")
