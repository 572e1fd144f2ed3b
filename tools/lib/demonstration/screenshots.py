"""Takes screenshots of every window of the program. Called by tools/screenshots, which sets everything up.

  screenshots.py german|english SCALING FOLDER [about]

"about" takes only the system menu and the about box. It needs unmanaged windows, as a window manager shows a menu of its
own instead of the system menu.
"""
import glob
import os
import subprocess
import sys
import time

import windows
from program import Program, Stuck
from sources import IDS

EDIT_TEMPLATE = {"german": "b", "english": "m"}  # mnemonic in the menus of the list


class Gallery:
    """One process of the program, and the screenshots of its windows."""

    def __init__(self, language, scaling, folder, part="all"):
        self.scale, self._folder, self._part = int(scaling) / 100, folder, part
        self._count = len(glob.glob(f"{folder}/*.png"))
        self._edit_template = EDIT_TEMPLATE[language]
        name = f"talvenor_{language}.exe"
        self._log = os.path.abspath(os.path.join(folder, f"windows-{part}.log"))
        subprocess.Popen([os.path.abspath("tools/run-windows"), "build/windowwatch/windowwatch.exe",
                          "Z:" + self._log.replace("/", "\\"), name])
        self._wait_for_log(60)
        self.screen = windows.Screen(self._log)
        self.program = Program(self.screen, name)

    def _wait_for_log(self, seconds):
        end = time.monotonic() + seconds
        while not os.path.exists(self._log):
            if time.monotonic() > end:
                raise Stuck(f"windowwatch made no log within {seconds} s")
            time.sleep(0.1)

    def end(self):
        self.program.stop()
        with open(self._log + ".stop", "w", encoding="utf-8"):
            pass

    def take(self, name, window=None):
        """Takes one window with its frame, or the part of the screen that holds all windows."""
        time.sleep(0.5)  # until everything is painted
        self.screen.update()
        if window:
            windows.run_tool("import", "-frame", "-window", windows.smallest_window(window.title), self._next_path(name))
            return
        rects = [each.rect for each in self.screen.windows.values()]
        if not rects:
            return
        left, top = max(0, min(rect[0] for rect in rects)), max(0, min(rect[1] for rect in rects))
        right, bottom = max(rect[2] for rect in rects), max(rect[3] for rect in rects)
        path = self._next_path(name)
        windows.run_tool("import", "-window", "root", "-crop", f"{right - left}x{bottom - top}+{left}+{top}", "+repage", path)
        windows.run_tool("mogrify", "-bordercolor", "black", "-border", "1", "-trim", "+repage", path)

    def _next_path(self, name):
        self._count += 1
        return f"{self._folder}/{self._count:02}-{name}.png"

    def main_window(self):
        return self.program.wait_for("the main window", 30, lambda: self.screen.window_with_control(IDS.IDC_START))

    def wait_for_start(self):
        """Without a map file, the program starts with a message: two parts of the library would get the same name."""
        if self._part == "all":
            box = self.program.wait_for("the message about a taken name", 120, self.screen.message_box)
            self.take("name-taken")
            self.close(box, "Return")
        self.main_window()
        time.sleep(1)  # until the window manager has placed it

    def dialog_with(self, control):
        return self.program.wait_for(f"a dialog with {control}", 30, lambda: self.screen.window_with_control(control))

    def wait_for_box(self):
        found = self.program.wait_for("a message box", 60, self.screen.message_box)
        time.sleep(0.3)  # until it has the focus
        return found

    def close(self, window, key="Escape"):
        """Presses the key, and once more if the window stays open: a press before it has the focus is lost."""
        def gone():
            return window.handle not in self.screen.windows
        windows.press(key)
        try:
            self.program.wait_for("a window to close", 3, gone)
        except Stuck:
            print(f"   {key} had to be pressed twice to close {window.title!r}")
            windows.press(key)
            self.program.wait_for("a window to close", 30, gone)

    def click(self, control):
        windows.click(self.main_window(), control)

    def select_a_row(self):
        left, top, right, bottom = self.main_window().controls[IDS.IDC_LIST].rect
        windows.click_at(left + (right - left) // 10, (top + bottom) // 2)

    def take_views(self):
        self.take("folder-view")
        self.select_a_row()
        windows.press("F2")
        self.take("cell-editor")
        windows.press("Escape")
        windows.press("shift+F2")
        self.take("cell-editor-bom")
        windows.press("Escape")

    def take_menu_and_template(self, column, menu_key):
        before = len(self.screen.windows)
        windows.press(menu_key)
        self.program.wait_for("a menu", 30, lambda: len(self.screen.windows) > before)
        self.take(f"menu-{column}")
        windows.press(self._edit_template)
        dialog = self.dialog_with(IDS.IDC_TEMPLATE_TEXT)
        self.take(f"template-{column}", dialog)
        return dialog

    def take_refusal(self, dialog):
        windows.type_text("%5%3_%2")
        self.take("template-with-a-configuration-name")
        windows.press("Return")
        box = self.wait_for_box()
        self.take("refusal")
        self.close(box, "Return")
        self.close(dialog)

    def take_question(self):
        self.click(IDS.IDC_REMOVE_ALL)
        box = self.wait_for_box()
        self.take("question")
        windows.click(box, IDS.IDNO)

    def take_about(self):
        left, top, _, _ = self.main_window().rect
        windows.click_at(left + int(14 * self.scale), top + int(12 * self.scale))
        self.take("system-menu")
        windows.press("Up")
        windows.press("Return")
        box = self.wait_for_box()
        self.take("about")
        self.close(box)

    def take_run(self):
        self.click(IDS.IDC_START)
        progress = self.dialog_with(IDS.IDC_PROGRESS_OVERALL)
        time.sleep(3)
        self.take("progress")
        windows.click(progress, IDS.IDCANCEL)
        question = self.wait_for_box()
        self.take("cancel-question", question)
        windows.click(question, IDS.IDNO)
        self.program.wait_for("the question to close", 30, lambda: question.handle not in self.screen.windows)
        finished = self.wait_for_box()
        self.take("finished")
        self.close(finished, "Return")

    def take_map_view(self):
        self.click(IDS.IDC_SHOW_MAP)
        self.take("map-view")
        self.click(IDS.IDC_START)
        box = self.wait_for_box()
        self.take("overwrite-question")
        windows.click(box, IDS.IDNO)

    def take_large(self):
        """Takes the main window larger than at the start, which is its minimum size."""
        windows.resize("Talvenor", int(1400 * self.scale), int(760 * self.scale))
        self.take("large")

    def take_part(self):
        self.wait_for_start()
        if self._part == "about":
            self.take_about()
            self.click(IDS.IDCANCEL)
        else:
            self.take_all()
            windows.press("alt+F4")
        self.program.wait_for_end(20)

    def take_all(self):
        self.take_views()
        self.take_refusal(self.take_menu_and_template(1, "Menu"))
        self.close(self.take_menu_and_template(2, "ctrl+Menu"))
        self.take_question()
        self.take_run()
        self.take_map_view()
        self.take_large()


def main():
    gallery = Gallery(*sys.argv[1:])
    try:
        gallery.take_part()
    except Stuck as stuck:
        gallery.take("stuck")
        print(f"   Stuck: {stuck}. The last screenshot shows the screen at that moment.")
        return 1
    finally:
        gallery.end()
    return 0


if __name__ == "__main__":
    sys.exit(main())
