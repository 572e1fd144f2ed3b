"""Reads target and working folder of a Windows shortcut (.lnk).

Documentation: "[MS-SHLLINK]: Shell Link (.LNK) Binary File Format".
"""
import struct

HAS_ID_LIST, HAS_INFO, HAS_NAME, HAS_RELATIVE_PATH, HAS_WORKING_FOLDER, IS_UNICODE = 0x01, 0x02, 0x04, 0x08, 0x10, 0x80
HEADER = 0x4C


def text_at(data, offset):
    """The NUL-terminated 8-bit text at this offset."""
    end = data.index(0, offset)
    return data[offset:end].decode("cp1252")


def target_of(info):
    offset = struct.unpack_from("<I", info, 16)[0]
    return text_at(info, offset)


def read(path):
    """Returns target and working folder. Each is None if the shortcut lacks it."""
    with open(path, "rb") as file:
        data = file.read()
    size, flags = struct.unpack_from("<I", data, 0)[0], struct.unpack_from("<I", data, 20)[0]
    if size != HEADER:
        raise ValueError(f"{path} is not a shortcut")
    at, target, folder = HEADER, None, None
    if flags & HAS_ID_LIST:
        at += 2 + struct.unpack_from("<H", data, at)[0]
    if flags & HAS_INFO:
        length = struct.unpack_from("<I", data, at)[0]
        target = target_of(data[at:at + length])
        at += length
    for flag in (HAS_NAME, HAS_RELATIVE_PATH, HAS_WORKING_FOLDER):
        if flags & flag:
            letters, width = struct.unpack_from("<H", data, at)[0], 2 if flags & IS_UNICODE else 1
            text = data[at + 2:at + 2 + letters * width].decode("utf-16-le" if width == 2 else "cp1252")
            at += 2 + letters * width
            folder = text.rstrip("\0") if flag == HAS_WORKING_FOLDER else folder  # Wine counts the terminating NUL
    return target, folder
