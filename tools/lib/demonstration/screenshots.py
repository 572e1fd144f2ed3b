"""Takes screenshots of the program's windows, menus and typical questions, and saves a report. Called by tools/screenshots,
which sets everything up.

  screenshots.py german|english SCALING FOLDER [about]

With "about", takes only the system menu and the about box; otherwise everything else. Before a call with "about", the caller
must turn off window management, as a window manager would show its own menu instead of the system menu. The call without
"about" must come first: it leaves a map file, and without one the program starts with a message.
"""
import glob
import os
import subprocess
import sys
import time

import windows
from program import Program, Stuck
from sources import IDS

EDIT_TEMPLATE_KEY = {"german": "b", "english": "m"}  # mnemonic in the column menus (ui/ColumnMenu.cpp)


class Gallery:
    """Runs the program and windowwatch, and saves screenshots of the program's windows."""

    def __init__(self, language, scaling, folder, selection="main"):
        self.scale, self._folder, self._selection = int(scaling) / 100, folder, selection
        self._count = len(glob.glob(f"{folder}/*.png"))
        self._edit_template_key = EDIT_TEMPLATE_KEY[language]
        name = f"talvenor_{language}.exe"
        self._log = os.path.abspath(os.path.join(folder, f"windows-{selection}.log"))
        subprocess.Popen([os.path.abspath("tools/run-windows"), "build/windowwatch/windowwatch.exe",
                          "Z:" + self._log.replace("/", "\\"), name])
        self._wait_for_log(60)
        self.screen = windows.Screen(self._log)
        self.program = Program(self.screen, name)

    def _wait_for_log(self, seconds):
        end = time.monotonic() + seconds
        while not os.path.exists(self._log):
            if time.monotonic() > end:
                raise Stuck(f"windowwatch created no log within {seconds} s")
            time.sleep(0.1)

    def end(self):
        self.program.stop()
        with open(self._log + ".stop", "w", encoding="utf-8"):
            pass

    def take(self, name, window=None):
        """Saves a screenshot of one window with its frame or, without `window`, of the smallest area that holds all windows.
        Saves nothing if there are no windows."""
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
        """Waits for the main window. Without a map file, as in the first call, a message comes before it: two parts of the
        library would get the same name."""
        if self._selection == "main":
            box = self.program.wait_for("the message about a taken name", 120, self.screen.message_box)
            self.take("name-taken")
            self.close(box, "Return")
        self.main_window()
        time.sleep(1)  # until it is in place

    def dialog_with(self, control, what):
        return self.program.wait_for(what, 30, lambda: self.screen.window_with_control(control))

    def wait_for_box(self):
        found = self.program.wait_for("a message box", 60, self.screen.message_box)
        time.sleep(0.3)  # until it has the focus
        return found

    def close(self, window, key="Escape"):
        """Presses the key, and once more if the window stays open: a key pressed before the window has the focus is lost."""
        def gone():
            return window.handle not in self.screen.windows
        windows.press(key)
        try:
            self.program.wait_for("a window to close", 3, gone)
        except Stuck:
            print(f"   {window.title!r} is still open: pressing {key} again")
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
        windows.press(self._edit_template_key)
        dialog = self.dialog_with(IDS.IDC_TEMPLATE_TEXT, "the template dialog")
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

    def take_finding(self):
        windows.press("ctrl+f")
        windows.type_text("M10")
        self.take("find")
        windows.press("Escape")

    def take_names_to_check(self):
        """Edits the new name of the row that the search found: it then differs from another only in case."""
        windows.press("F2")
        windows.type_text("n126_m10.changed.sldprt")
        windows.press("Return")
        time.sleep(0.5)  # until the button for names to check is there
        self.click(IDS.IDC_CHECK_NAMES)
        self.take("names-to-check")
        windows.press("ctrl+z")

    def take_further_commands(self):
        before = len(self.screen.windows)
        self.click(IDS.IDC_MORE)
        self.program.wait_for("the menu of further commands", 30, lambda: len(self.screen.windows) > before)
        self.take("further-commands")
        windows.press("Escape")

    def take_and_refuse(self, name):
        """Takes a screenshot of the question that is open or about to open, and answers No."""
        box = self.wait_for_box()
        self.take(name)
        windows.click(box, IDS.IDNO)

    def take_remove_all_question(self):
        self.click(IDS.IDC_REMOVE_ALL)
        self.take_and_refuse("remove-all-question")

    def take_about(self):
        left, top, _, _ = self.main_window().rect  # at 100 %, the system menu's icon is 14 px right of this corner and 12 px below
        windows.click_at(left + int(14 * self.scale), top + int(12 * self.scale))
        self.take("system-menu")
        windows.press("Up")  # the last entry
        windows.press("Return")
        box = self.wait_for_box()
        self.take("about")
        self.close(box)

    def take_run(self):
        self.click(IDS.IDC_START)
        progress = self.dialog_with(IDS.IDC_PROGRESS_OVERALL, "the progress dialog")
        time.sleep(3)  # into the call that tools/screenshots has made slow
        self.take("progress")
        windows.click(progress, IDS.IDCANCEL)
        question = self.wait_for_box()
        self.take("cancel-question", question)
        windows.click(question, IDS.IDNO)
        self.program.wait_for("the question to close", 30, lambda: question.handle not in self.screen.windows)
        finished = self.wait_for_box()
        self.take("finished")
        self.close(finished, "Return")

    def save_report(self):
        """Opens the report. tools/screenshots has registered a command that copies it to the folder of the pictures."""
        self.click(IDS.IDC_REPORT)
        self.program.wait_for("the report", 30, lambda: os.path.exists(f"{self._folder}/report.html"))

    def take_map_view(self):
        self.click(IDS.IDC_SHOW_MAP)
        self.take("map-view")
        self.click(IDS.IDC_START)
        self.take_and_refuse("overwrite-question")

    def take_large(self):
        """Takes the main window enlarged; it starts at its minimum size."""
        windows.resize("Talvenor", int(1400 * self.scale), int(760 * self.scale))
        self.take("large")

    def take_selection(self):
        self.wait_for_start()
        if self._selection == "about":
            self.take_about()
            self.click(IDS.IDCANCEL)
        else:
            self.take_main()
            windows.press("alt+F4")
        self.program.wait_for_end(20)

    def take_main(self):
        self.take_views()
        self.take_refusal(self.take_menu_and_template(1, "Menu"))
        self.close(self.take_menu_and_template(2, "ctrl+Menu"))
        self.take_finding()
        self.take_names_to_check()
        self.take_further_commands()
        self.take_remove_all_question()
        self.take_run()
        self.save_report()
        self.take_map_view()
        self.take_large()


def main():
    gallery = Gallery(*sys.argv[1:])
    try:
        gallery.take_selection()
    except Stuck as stuck:
        gallery.take("stuck")
        print(f"   Stuck: {stuck}. If a window was open, the last screenshot shows it.")
        return 1
    finally:
        gallery.end()
    return 0


if __name__ == "__main__":
    sys.exit(main())
