"""The tests that may be skipped (tests/allowed-skips.txt)."""
import fnmatch


def lines_of(path):
    """The lines of a list, without comments and empty lines."""
    with open(path, encoding="utf-8") as file:
        return [line.strip() for line in file if line.strip() and not line.startswith("#")]


def last_line(text):
    lines = [line.strip() for line in (text or "").splitlines() if line.strip()]
    return lines[-1] if lines else ""


class AllowedSkips:
    def __init__(self, path):
        self._entries = [tuple(field.strip() for field in line.split("|")) for line in lines_of(path)]

    def allows(self, program, case, reason):
        return any(fnmatch.fnmatchcase(program, entry[0]) and fnmatch.fnmatchcase(case, entry[1]) and reason == entry[2]
                   for entry in self._entries)
