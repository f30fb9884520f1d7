"""A screen of its own for a test, and pictures of the windows on it."""

import os
import shutil
import struct
import subprocess

PATIENCE = 30  # seconds


def missing():
    """Returns the programs that a screen needs and that are not installed."""
    return [name for name in ("Xvfb", "xdotool", "xwd") if not shutil.which(name)]


def has_font(language):
    """Returns whether a font has the letters of a language, or true if fc-list is missing."""
    if not shutil.which("fc-list"):
        return True
    return bool(subprocess.run(["fc-list", ":lang=" + language], capture_output=True).stdout)


class Picture:
    """Pixels by row, each (red, green, blue)."""

    def __init__(self, dump):
        header = struct.unpack(">25I", dump[:100])
        size, width, height, order, bits, stride, colours = (
            header[0], header[4], header[5], header[7], header[11], header[12], header[19])
        if bits != 32:
            raise AssertionError(f"a screen of {bits} bits a pixel")
        self.width, self.height = width, height
        data = dump[size + 12 * colours:]
        self.rows = []
        for y in range(height):
            row = data[y * stride:y * stride + 4 * width]
            channels = (row[2::4], row[1::4], row[0::4]) if order == 0 else (
                row[1::4], row[2::4], row[3::4])
            self.rows.append(list(zip(*channels)))

    def count(self, matches, left=0, top=0, right=None, bottom=None):
        """Returns the number of pixels of a region that match."""
        return sum(matches(pixel) for row in self.rows[top:bottom] for pixel in row[left:right])

    def __eq__(self, other):
        return self.rows == other.rows

    def write(self, path):
        with open(path, "wb") as file:
            file.write(b"P6 %d %d 255\n" % (self.width, self.height))
            file.write(bytes(value for row in self.rows for pixel in row for value in pixel))


class Screen:
    def __init__(self):
        end, own_end = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(own_end), "-screen", "0", "1280x800x24", "-noreset",
             "-nolisten", "tcp"],
            pass_fds=[own_end], stderr=subprocess.DEVNULL)
        os.close(own_end)
        with os.fdopen(end) as number:
            self.environment = dict(os.environ, DISPLAY=":" + number.readline().strip(),
                                    SDL_VIDEODRIVER="x11")
        # The libraries below SDL do not free all of their memory.
        self.environment["ASAN_OPTIONS"] = ":".join(
            filter(None, [os.environ.get("ASAN_OPTIONS"), "detect_leaks=0"]))

    def close(self):
        self.server.terminate()
        self.server.wait()

    def run(self, *arguments):
        return subprocess.run(arguments, env=self.environment, capture_output=True,
                              timeout=PATIENCE)

    def xdotool(self, *arguments):
        return self.run("xdotool", *map(str, arguments)).stdout.split()

    def picture(self, window):
        return Picture(self.run("xwd", "-silent", "-id", window).stdout)
