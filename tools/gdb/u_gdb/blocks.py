"""The blocks of the heap, their slots and their names."""

import bisect
import sys

import gdb

from .memory import Unreadable, c_string, find_type, of_atomic, offset, read, variable, word

LONGEST_NAME = 63  # bytes, of a block
LIVE = 1  # a state of a record


class Slabs:
    """The slabs of the heap's slots."""

    def __init__(self):
        self.type = find_type("tolv::Slab")
        self.bytes = int(variable("tolv::kSlabBytes"))
        self.slots = self.type["mBlocks"].type.range()[1] + 1
        self.starts = []
        self.records = {}  # by slab
        place = int(of_atomic(variable("tolv::(anonymous namespace)::sFirstSlab")))
        seen = set()
        while place:
            if place % self.bytes or place in seen:
                raise Unreadable(f"the list of slabs is damaged: it leads to {place:#x}")
            seen.add(place)
            place = word(place + offset(self.type, "mNext"))
        self.starts = sorted(seen)

    def slot(self, address):
        """The slab and the index of a slot, None for another address."""
        place = bisect.bisect_right(self.starts, address) - 1
        if place < 0 or address % 8:
            return None
        index = (address - self.starts[place]) // 8
        return (self.starts[place], index) if index < self.slots else None

    def arrays(self, slab):
        """The blocks, sizes and heaps of a slab."""
        data = memoryview(read(slab, self.type.sizeof))
        for name, kind, size in (("mBlocks", "Q", 8), ("mSizes", "I", 4), ("mHeaps", "H", 2)):
            start = offset(self.type, name)
            yield data[start:start + self.slots * size].cast(kind)


    def record(self, slab, index):
        """The checked heap's record of a live block, None for a block that is not checked."""
        if slab not in self.records:
            kind = find_type("tolv::BlockRecord").pointer()
            place = of_atomic(gdb.Value(slab).cast(self.type.pointer())["mRecords"])
            self.records[slab] = place.cast(kind) if int(place) else None
        records = self.records[slab]
        return records[index] if records and int(records[index]["mState"]) == LIVE else None


class Names:
    """The names of blocks."""

    def __init__(self, slabs):
        self.slabs = slabs
        self.header = find_type("tolv::BlockHeader")
        self.names = variable("tolv::(anonymous namespace)::sNames")
        self.known = {0: "(no name)"}

    def name(self, number):
        if number not in self.known:
            self.known[number] = self.look_up(number)
        return self.known[number]

    def look_up(self, number):
        if number > self.names.type.range()[1] + 1:
            return "(further names)"
        place = int(of_atomic(self.names[number - 1]))
        if not place:
            raise Unreadable(f"no name has the number {number}")
        return c_string(place, LONGEST_NAME).decode("utf-8", "backslashreplace")

    def of_block(self, block, slot):
        try:
            record = self.slabs.record(*self.slabs.slot(slot))
            if record is not None:
                return self.name(int(record["mName"]))
            header = read(block - self.header.sizeof, self.header.sizeof)
            part = {member.name: header[member.bitpos // 8:][:member.type.sizeof]
                    for member in self.header.fields()}
            if int.from_bytes(part["mSlot"], sys.byteorder) == slot:
                return self.name(int.from_bytes(part["mName"], sys.byteorder))
        except Unreadable:
            pass
        return "(damaged header)"
