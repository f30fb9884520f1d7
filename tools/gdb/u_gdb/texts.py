"""Texts in quotes, as gdb shows them."""

import sys

import gdb

from .memory import Unreadable, read, word

LONGEST_TEXT = 1 << 31  # bytes

SHORT = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\t": "\\t", "\r": "\\r", "\b": "\\b"}


def escaped(character, encoding):
    if character in SHORT:
        return SHORT[character]
    code = ord(character)
    if character.isprintable():
        try:
            character.encode(gdb.host_charset())
            return character
        except (UnicodeError, LookupError):
            pass
    if 0xDC80 <= code <= 0xDCFF and encoding == "utf-8":
        return f"\\x{code - 0xDC00:02x}"  # a byte that is no UTF-8
    return f"\\u{code:04x}" if code < 0x10000 else f"\\U{code:08x}"


def quoted(address, length, prefix):
    """A text of `length` code units in quotes, cut at gdb's limit."""
    encoding, unit, errors = (("utf-16", 2, "surrogatepass") if prefix == "u" else
                              ("utf-8", 1, "surrogateescape"))
    if length * unit >= LONGEST_TEXT:
        raise Unreadable(f"a text of {length} code units")
    limit = gdb.parameter("print elements") or length
    data = read(address, min(length, limit) * unit) if length else b""
    order = {"utf-16": "-le" if sys.byteorder == "little" else "-be"}.get(encoding, "")
    text = data.decode(encoding + order, errors)
    body = "".join(escaped(character, encoding) for character in text)
    return f'{prefix}"{body}"' + ("..." if length > limit else "")


def string(value, prefix):
    """A std::basic_string."""
    start, length = int(value["_M_dataplus"]["_M_p"]), int(value["_M_string_length"])
    local = value["_M_local_buf"]
    is_local = local.address is not None and int(local.address) == start
    capacity = local.type.sizeof // local.type.target().sizeof - 1 if is_local else int(
        value["_M_allocated_capacity"])
    if length > capacity:
        raise Unreadable(f"a string of {length} code units in room for {capacity}")
    return quoted(start, length, prefix)


def zstring(value):
    if not int(value["mText"]["px"]):
        return 'u""'
    run = value["mText"]["px"].dereference()
    size = int(run["mLength"])
    return quoted(word(int(run["mBytes"].address)) if size else 0, size // 2, "u")


def immutable_string(value):
    text = value["mText"]["px"]
    return string(text.dereference(), "") if int(text) else '""'


def shown(name):
    return "".join(escaped(c, "utf-8") if c != '"' else c for c in name)
