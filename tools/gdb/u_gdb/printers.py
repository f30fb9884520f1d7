"""Printers of strings, variants, trees, handles, contexts and posted errors."""

import re

import gdb
import gdb.printing
import gdb.types

from .blocks import Names, Slabs
from .memory import FAILURES, Unreadable, damaged, field, find_type, map_elements, of_atomic, word
from .texts import immutable_string, shown, string, zstring

NO_THREAD = 0xFFFFFFFF


def any_value(value):
    kind = re.sub(r"^.*::", "", str(value["mType"]))
    if not re.fullmatch(r"kType_\w+", kind):
        raise Unreadable(f"the kind {int(value['mType'])}")
    held_type = re.sub(r"^.*::", "", str(value["mHeld"]))
    holder = value["mValue"]["content"]
    if held_type == "kAny" and not int(holder):
        return kind + ", no value"
    if kind == "kType_Tree":
        return kind  # its value has no meaning
    if held_type == "kBool":
        return f"{kind} {'true' if int(value['mInteger']) else 'false'}"
    if held_type in ("kInt", "kInt64"):
        return f"{kind} {int(value['mInteger'])}"
    if held_type == "kDouble":
        return f"{kind} {value['mDouble'].format_string()}"
    if held_type != "kAny":
        raise Unreadable(f"the held type {int(value['mHeld'])}")
    word(int(holder))
    held = holder.cast(holder.dynamic_type).dereference()
    if not gdb.types.has_field(held.type, "held"):
        return kind + ", a value of a type without debug information"
    return f"{kind} {held['held'].format_string()}"


def tree_children(tree):
    """The keys and subtrees of a node, in order."""
    name = str(gdb.types.get_basic_type(tree.type))
    container = find_type(name + "::subs::base_container").strip_typedefs()
    children = tree["m_children"].cast(container.pointer()).dereference()
    member = find_type(name + "::value_type").strip_typedefs().pointer()
    end = children[field(container, "header_holder", is_base=True)]["member"]
    links = field(end.type.target(), "sequenced_index_node", is_base=True)
    node = end
    for index in range(int(children["node_count"]) + 1):
        next_node = int(node.dereference()[links]["next_"]) - links.bitpos // 8
        if next_node == int(end):
            if index != int(children["node_count"]):
                break
            return
        node = gdb.Value(next_node).cast(end.type)
        pair = node.cast(member).dereference()
        yield pair["first"], pair["second"]
    raise Unreadable("the children of a tree do not match their count")


class TreePrinter:
    def __init__(self, tree):
        self.tree = tree

    def to_string(self):
        try:
            word(int(self.tree["m_children"]))
            return any_value(self.tree["m_data"])
        except FAILURES as failure:
            return damaged(failure)

    def children(self):
        try:
            word(int(self.tree["m_children"]))
        except FAILURES:
            return  # to_string names the reason
        try:
            for index, (key, child) in enumerate(tree_children(self.tree)):
                yield string(key, "u") if int(key["_M_string_length"]) else f"[{index}]", child
        except FAILURES as failure:
            yield "children", damaged(failure)


class WrapperPrinter(TreePrinter):
    """Prints the tree that a U_AnyTreeWrapper views."""

    def __init__(self, wrapper):
        super().__init__(wrapper["mTree"].dereference())


# Handles.


def handle_printer(value):
    """None for a void** that is no handle."""
    address = int(value)
    try:
        slabs = Slabs()
        found = slabs.slot(address)
        if not found:
            return None
        block = word(address)
        if not block or block & 1:
            return TextPrinter(value, lambda _: f"(handle) {address:#x}, free")
        sizes, heaps = list(slabs.arrays(found[0]))[1:]
        name = Names(slabs).of_block(block, address)
        size, heap = sizes[found[1]], heaps[found[1]]
    except FAILURES:
        return None
    return TextPrinter(
        value, lambda _: f"(handle) {address:#x}, {size} bytes, heap {heap}, {shown(name)}")


# Contexts and posted errors.


class ContextPrinter:
    def __init__(self, context):
        self.context = context

    def to_string(self):
        try:
            thread = int(of_atomic(self.context["mThreadID"]))
            return (f"context {int(self.context['mContextID'])}, "
                    f"active {int(of_atomic(self.context['mActiveCount']))}, "
                    + (f"thread {thread}" if thread != NO_THREAD else "no thread"))
        except FAILURES as failure:
            return damaged(failure)

    def children(self):
        try:
            for key, state in map_elements(self.context["mStates"]):
                pointer = state["px"].cast(find_type("U_State").pointer())
                yield immutable_string(key), (f"({pointer.dynamic_type}) {int(pointer):#x}"
                                              if int(pointer) else "null")
        except FAILURES as failure:
            yield "states", damaged(failure)


SEVERITIES = ["MESSAGE", "INFO", "WARNING", "PROBLEM", "FATAL", "DETAIL", "DEBUG", "LEAK"]


def posted_error(value):
    severity, location = int(value["mSeverity"]), int(value["mLocation"])
    names = [name for bit, name in enumerate(SEVERITIES) if severity == 1 << bit]
    name = "U_Sev_" + names[0] if names else f"severity {severity}"
    return f"{name} at {location >> 16} :: {location & 0xFFFF}: {string(value['mText'], 'u')}"


# The printers, and how gdb finds them.


class TextPrinter:
    def __init__(self, value, describe):
        self.value, self.describe = value, describe

    def to_string(self):
        try:
            return self.describe(self.value)
        except FAILURES as failure:
            return damaged(failure)


def text(describe):
    return lambda value: TextPrinter(value, describe)


def string_type(unit):
    return (rf"std::(\w+::)?basic_string<{unit}, std::char_traits<{unit}>, "
            rf"krobase::utility::SmallBlockAllocator::STLAllocator<{unit}> ?>")


class Printers(gdb.printing.PrettyPrinter):
    TYPES = [(re.compile(pattern), make) for pattern, make in [
        (string_type("unsigned short"), text(lambda value: string(value, "u"))),
        (string_type("unsigned char"), text(lambda value: string(value, "u8"))),
        (r"hollin::ZString", text(zstring)),
        (r"krobase::utility::ImmutableString", text(immutable_string)),
        (r"U_Any", text(any_value)),
        (rf"boost::property_tree::basic_ptree<{string_type('unsigned short')}, U_Any, .*>",
         TreePrinter),
        (r"U_AnyTreeWrapper", WrapperPrinter),
        (r"U_Context", ContextPrinter),
        (r"Up_PostedError", text(posted_error))]]

    def __init__(self):
        super().__init__("U")

    def __call__(self, value):
        try:
            return self.find(value)
        except FAILURES:
            return None  # of a type that is only declared

    def find(self, value):
        kind = gdb.types.get_basic_type(value.type)
        if kind.code == gdb.TYPE_CODE_PTR:
            return handle_printer(value) if str(kind) == "void **" else None
        if not kind.tag:
            return None
        for pattern, make in self.TYPES:
            if pattern.fullmatch(kind.tag):
                if value.type.strip_typedefs().code != kind.code:
                    value = value.referenced_value()
                return make(value)
        return None
