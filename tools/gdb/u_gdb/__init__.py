"""Pretty printers and commands of gdb for the library U.

All of them read the library's own data structures through its debug information, and call no
function of the process. So they also work on a core file. Damaged memory is shown as
<damaged: REASON>, or is the message of the command.
"""

import gdb
import gdb.printing

from .commands import Hogs, LiveBlocks, PostedErrors, Prefix, Threads
from .printers import Printers


def register():
    # The program's printers come before those of the C++ library, which print U_UTF16String as
    # numbers.
    gdb.printing.register_pretty_printer(next(iter(gdb.objfiles()), None), Printers(),
                                         replace=True)
    for command in (Prefix, LiveBlocks, Hogs, Threads, PostedErrors):
        command()
