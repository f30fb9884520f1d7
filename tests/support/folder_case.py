"""The base of the tests of programs on files: each test has a folder of its own."""

import os
import shutil
import tempfile
import unittest


class FolderCase(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def file(self, name, content):
        """Writes a file of bytes, or of text in UTF-8, and returns its path."""
        with open(self.path(name), "wb") as file:
            file.write(content.encode() if isinstance(content, str) else content)
        return self.path(name)

    def content(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()
