"""The commands: u live-blocks, u hogs, u threads, u posted."""

import gdb

from .blocks import Names, Slabs
from .memory import (FAILURES, NoDebugInformation, PAGE, Unreadable, c_string, find_type,
                     list_elements, of_atomic, reason, variable)
from .printers import NO_THREAD, posted_error
from .texts import shown

MASK = 0xFFFFFFFF


class Prefix(gdb.Command):
    """Commands for the library U: live-blocks, hogs, threads, posted.
Any other argument is passed to the command until, whose short form is u."""

    def __init__(self):
        super().__init__("u", gdb.COMMAND_DATA, gdb.COMPLETE_NONE, True)

    def invoke(self, argument, from_tty):
        try:
            gdb.execute("until " + argument, from_tty)
        except gdb.error as failure:
            raise gdb.GdbError(str(failure)) from failure


class Listing(gdb.Command):
    def __init__(self):
        super().__init__(self.NAME, gdb.COMMAND_DATA)

    def invoke(self, argument, _from_tty):
        try:
            if not gdb.selected_inferior().threads():
                raise Unreadable("there is no process and no core file")
            lines = list(self.lines(argument.strip()))
        except FAILURES as failure:
            raise gdb.GdbError(f"{self.NAME}: {reason(failure)}") from failure
        gdb.write("".join(line + "\n" for line in lines))


class LiveBlocks(Listing):
    """List the live blocks of the heaps: u live-blocks [NAME]
Without a name, the number of blocks and their bytes for each name, the largest sum first.
With a name, each block of that name with its size, its heap and its handle.
Recycled pointers are listed only if U_HEAP_CHECKS is set: otherwise they are no blocks of a heap."""

    NAME = "u live-blocks"

    def blocks(self):
        slabs = Slabs()
        names = Names(slabs)
        for slab in slabs.starts:
            for index, (block, size, heap) in enumerate(zip(*slabs.arrays(slab))):
                if block and not block & 1:
                    slot = slab + index * 8
                    yield names.of_block(block, slot), block, size, heap, slot

    def lines(self, argument):
        if argument:
            found = [block[1:] for block in self.blocks() if block[0] == argument]
            if not found:
                raise Unreadable(f"no live block has the name {shown(argument)}")
            yield f"{'address':>16} {'bytes':>10}  heap  handle"
            for block, size, heap, slot in sorted(found):
                yield f"{block:#16x} {size:10}  {heap:4}  {slot:#x}"
            return
        sums = {}
        for name, _, size, _, _ in self.blocks():
            blocks, total = sums.get(name, (0, 0))
            sums[name] = blocks + 1, total + size
        yield f"{'blocks':>8} {'bytes':>12}  name"
        for name, (blocks, total) in sorted(sums.items(), key=lambda item: (-item[1][1], item[0])):
            yield f"{blocks:8} {total:12}  {shown(name)}"
        yield (f"{sum(blocks for blocks, _ in sums.values()):8} "
               f"{sum(total for _, total in sums.values()):12}  in all")


class Hogs(Listing):
    """List the registered hogs with the number of their live handles and the bytes of these."""

    NAME = "u hogs"

    def lines(self, _argument):
        table = variable("(anonymous namespace)::sHogTable")
        if not int(table):
            raise Unreadable("the library is not alive")
        magic = int(variable("(anonymous namespace)::kTableMagic"))
        count = int(of_atomic(variable("(anonymous namespace)::sCount")))
        if int(table["mMagic"]) != magic or count > int(table["mCapacity"]):
            raise Unreadable("the table of hogs is damaged")
        entry = find_type("(anonymous namespace)::HogEntry").pointer()
        entries = table["mEntries"].dereference().cast(entry)
        counters = variable("(anonymous namespace)::sCounters")
        yield f"{'handles':>8} {'bytes':>12}  name"
        for index in range(count):
            live = int(of_atomic(self.counter(counters, index)["mLive"]))
            handles = ((live & MASK) ^ (1 << 31)) - (1 << 31)  # signed, as HogTable.h packs it
            name = c_string(int(entries[index]["mName"].dereference()), PAGE)
            yield (f"{handles:8} {(live - handles) >> 32 & MASK:12}  "
                   + shown(name.decode("utf-8", "backslashreplace")))

    def counter(self, counters, index):
        first = int(counters["mFirst"].type.range()[1]) + 1
        piece = (index // first + 1).bit_length() - 1
        return counters["mPieces"][piece][index - first * ((1 << piece) - 1)]


class Threads(Listing):
    """List the threads that are registered for a role."""

    NAME = "u threads"

    def lines(self, _argument):
        roles = {}
        for name in ("main", "render"):
            listed = f"(anonymous namespace)::s{name.capitalize()}Threads"
            for thread in list_elements(variable(listed)["mThreads"]):
                roles.setdefault(int(thread), []).append(name)
        for name in ("UI", "PSL", "PR"):
            thread = int(of_atomic(variable(f"(anonymous namespace)::s{name}Thread")))
            if thread != NO_THREAD:
                roles.setdefault(thread, []).append(name)
        alive = {thread.ptid[1]: thread for thread in gdb.selected_inferior().threads()}
        yield f"{'id':>8}  gdb  {'name':15}  roles"
        for thread, names in sorted(roles.items()):
            here = alive.get(thread)
            yield (f"{thread:8} {here.num if here else 'ended':>4}  "
                   f"{here and here.name or '':15}  {', '.join(names)}")


class PostedErrors(Listing):
    """List the posted errors that wait for U_DisplayPostedErrors."""

    NAME = "u posted"

    def lines(self, _argument):
        try:
            place = gdb.parse_and_eval("&'(anonymous namespace)::ThePosted()::posted'")
        except gdb.error as failure:
            raise NoDebugInformation() from failure
        immortal = find_type("platform::Immortal<(anonymous namespace)::Posted>").pointer()
        posted = find_type("(anonymous namespace)::Posted").pointer()
        storage = gdb.Value(int(place)).cast(immortal).dereference()["mStorage"].address
        errors = storage.cast(posted).dereference()["mErrors"]["_M_payload"]
        if not errors["_M_engaged"]:
            raise Unreadable("the library is not alive")
        waiting = list(list_elements(errors["_M_payload"]["_M_value"]))
        for error in waiting:
            yield posted_error(error)
        if not waiting:
            yield "No error is posted."
