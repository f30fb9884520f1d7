"""Loads the printers and commands for the library. gdb runs this file when it loads libU."""

import os
import sys

FOLDER = os.path.dirname(os.path.abspath(__file__))
written = sys.dont_write_bytecode
sys.dont_write_bytecode = True  # no files beside those of the package
if FOLDER not in sys.path:
    sys.path.insert(0, FOLDER)
try:
    import u_gdb
finally:
    sys.dont_write_bytecode = written
u_gdb.register()
