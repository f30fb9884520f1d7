"""Reads the memory and the variables of a process, and containers of the standard library."""

import re
import sys

import gdb
import gdb.types

PAGE = 4096
LIBRARY = re.compile(r"/libU(platform)?\.so[.\d]*$")


class Unreadable(Exception):
    """The memory is damaged, or there is no process."""


class NoDebugInformation(Unreadable):
    def __init__(self):
        if any(LIBRARY.search(objfile.filename or "") for objfile in gdb.objfiles()):
            super().__init__("there is no debug information of the library: build it with -g, or "
                             "install libu1-dbgsym and libuplatform1-dbgsym")
        else:
            super().__init__("gdb finds no libU in the process: the core file is cut, or the "
                             "process has not loaded the library")


FAILURES = (Unreadable, gdb.error, UnicodeError, OverflowError)  # gdb.MemoryError is a gdb.error


def reason(failure):
    if str(failure).startswith("There is no member named"):  # the type is only declared
        failure = NoDebugInformation()
    return str(failure).split("\n", 1)[0]


def damaged(failure):
    """The text in place of a value. Errors of other types are not those of the memory, such as a
    member that only debug information names."""
    is_damage = (isinstance(failure, (Unreadable, gdb.MemoryError)) and
                 not isinstance(failure, NoDebugInformation))
    return f"<{'damaged' if is_damage else 'unreadable'}: {reason(failure)}>"


def read(address, size):
    try:
        return bytes(gdb.selected_inferior().read_memory(address, size))
    except (gdb.MemoryError, OverflowError) as failure:
        raise Unreadable(f"cannot read {size} bytes at {address:#x}") from failure


def word(address):
    return int.from_bytes(read(address, 8), sys.byteorder)


def c_string(address, longest):
    """The bytes before the terminator. Reads no page behind the terminator."""
    text = b""
    while len(text) <= longest:
        size = min(PAGE - (address + len(text)) % PAGE, longest + 1 - len(text))
        text += read(address + len(text), size)
        if 0 in text:
            return text[:text.index(0)]
    raise Unreadable(f"the text at {address:#x} has no end")


def find_type(name):
    try:
        return gdb.lookup_type(name)
    except gdb.error as failure:
        raise NoDebugInformation() from failure


def variable(name):
    """A static variable of the libraries. After link-time optimisation a symbol is no longer in the
    symbol table of its source file, and other symbols of its name have no value."""
    for symbol in gdb.lookup_static_symbols(name):
        objfile = symbol.symtab.objfile
        file = (objfile.owner or objfile).filename
        if LIBRARY.search(file) and symbol.addr_class != gdb.SYMBOL_LOC_OPTIMIZED_OUT:
            value = symbol.value()
            return value.referenced_value() if value.type.code == gdb.TYPE_CODE_REF else value
    raise NoDebugInformation()


def of_atomic(value):
    if gdb.types.has_field(value.type, "_M_i"):
        return value["_M_i"]
    return value["_M_b"]["_M_p"]


def field(structure, name, is_base=False):
    """The field of a type, or the base class whose name contains `name`."""
    for candidate in structure.strip_typedefs().fields():
        if is_base and candidate.is_base_class and name in candidate.name:
            return candidate
        if not is_base and candidate.name == name:
            return candidate
    raise NoDebugInformation()


def offset(structure, name):
    return field(structure, name).bitpos // 8


# Containers of the standard library.


def list_elements(values):
    """The elements of a std::list."""
    end = values["_M_impl"]["_M_node"]
    element = values.type.strip_typedefs().template_argument(0).pointer()
    node = end["_M_next"]
    seen = set()
    while int(node) != int(end.address):
        if int(node) in seen or len(seen) == int(end["_M_size"]):
            raise Unreadable("the nodes of a list do not lead to its end")
        seen.add(int(node))
        yield (node + 1).cast(element).dereference()  # behind the two links
        node = node["_M_next"]


def map_elements(values):
    """The keys and values of a std::map."""
    key, value = (values.type.strip_typedefs().template_argument(i) for i in range(2))
    header = values["_M_t"]["_M_impl"]["_M_header"]
    count = int(values["_M_t"]["_M_impl"]["_M_node_count"])
    waiting, node, seen = [], header["_M_parent"], 0
    while waiting or int(node):
        while int(node):
            seen += 1
            if seen > count:
                raise Unreadable("a map has more nodes than it counts")
            waiting.append(node)
            node = node["_M_left"]
        node = waiting.pop()
        place = int(node + 1)
        after = place + -(-key.sizeof // value.alignof) * value.alignof
        yield (gdb.Value(place).cast(key.pointer()).dereference(),
               gdb.Value(after).cast(value.pointer()).dereference())
        node = node["_M_right"]
