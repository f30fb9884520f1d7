"""Runs the program named by the environment's ZDICT on files of a temporary folder."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import sys
import termios

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../support"))
from folder_case import FolderCase

ZDICT = os.environ["ZDICT"]
WINDOWS = os.environ.get("TESTED_SYSTEM") == "Windows"

TEXT = '"$$$/a=b"\n'

# The image of TEXT, by byte order.
IMAGE = {
    False: bytes.fromhex(
        "5A537472696E672042696E61727920466F726D6174"  # ZString Binary Format
        "02 07 00 00  05000000  656E5F5553"  # version, locale
        "00000000 59  01000000 01000000 01000000"  # base, keyed, count, live, buckets
        "02000000 02000000"  # pools
        "00000000 0200  00000000 0200"  # the key's offset and length, the text's
        "2F61  6200"
        "4402 01000000 00000000"  # bucket 580, its size, the slot
        "00000000"),  # no comments
    True: bytes.fromhex(
        "5A537472696E672042696E61727920466F726D6174"
        "02 07 00 01  00000005  656E5F5553"
        "00000000 59  00000001 00000001 00000001"
        "00000002 00000002"
        "00000000 0002  00000000 0002"
        "2F61  0062"
        "0244 00000001 00000000"
        "00000000"),
}

ENTRIES = [("/menu/file", "Datei"), ("/menu/edit", "Bearbeiten ^1"), ("/empty", ""),
           ("/path", "C:\\neu^^1 #{41}"), ("/mixed", 'Zeile 1\r\n\t"Zeile" \U0001F600\u2028'),
           ("/half", "\ud83d"), ("plain key", "日本語"), ("$dollar", "x"), ('q\\"', "y"),
           ("/control", "\0\x01\x7f\x85\ufeff\uffff"), ("/plain", "^2: #3 {4} (5 % @0) é")]


class Result:
    def __init__(self, done):
        self.status = done.returncode
        self.out = done.stdout
        self.err = done.stderr.decode()


class Case(FolderCase):
    def run_tool(self, *arguments, status=0, stdin=b"", **more):
        done = subprocess.run([ZDICT, *arguments], input=stdin, stderr=subprocess.PIPE,
                              stdout=more.pop("stdout", subprocess.PIPE), timeout=60, **more)
        result = Result(done)
        if status is not None:
            self.assertEqual(result.status, status, f"{arguments}: {result.err}")
        return result

    def shown(self, *arguments, stream="stdout"):
        """Runs the tool with the stream on a terminal. Returns the text that the terminal shows."""
        leader, follower = pty.openpty()
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("4H", 50, 200, 0, 0))
        shown = b""
        with subprocess.Popen([ZDICT, *arguments], stdin=subprocess.DEVNULL,
                              **{stream: follower}) as process:
            os.close(follower)
            try:
                while chunk := os.read(leader, 10000):
                    shown += chunk
            except OSError:
                pass  # the end of the terminal
            self.assertEqual(process.wait(60), 0)
        os.close(leader)
        if WINDOWS:  # Wine draws the console of the program on the terminal
            shown = re.sub(rb"\x1b\[[?0-9;]*[A-Za-z]", b"", shown).replace(b"\r\r", b"\r")
        return shown.decode().expandtabs()

    def compiled(self, text, *options, status=0):
        if isinstance(text, str):
            text = text.encode()
        return self.run_tool("compile", *options, "-", stdin=text, status=status).out

    def dumped(self, image, *options):
        return self.run_tool("dump", *options, "-", stdin=image).out

    def texts(self, image):
        """Returns the texts of an image by key."""
        lines = self.dumped(image, "--no-comments").decode().splitlines()
        return dict(re.fullmatch(r'"\$\$\$(.*?)=(.*)"', line).groups() for line in lines)
